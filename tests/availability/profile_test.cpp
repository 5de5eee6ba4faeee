// The point store and its queries, sources, and the sums that book units into
// a profile; profiles without rules.
#include <cstring>
#include <functional>
#include <limits>
#include <tuple>

#include "availability_test_support.h"

namespace {

using namespace avl_test;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(ProfileQueries, AClearedProfileHoldsItsDefaultUnitsEverywhere) {
    TVoAvailability profile(0.5);
    Write(profile, {{0, 1}, {2, 0}});
    profile.Clear();
    EXPECT_EQ(Read(profile), (Points{{0, 0.5}}));
    EXPECT_EQ(profile.Count(0.0, std::numeric_limits<double>::max()), 1u);
    for (double at : {0.0, 1e6, -5.0, kNaN}) EXPECT_EQ(profile.GetUnits(at), 0.5) << at;
    DATE start = -1, stop = -1;
    profile.GetPreparedRange(&start, &stop);
    EXPECT_EQ(std::pair(start, stop), std::pair(0.0, dtOpenEnd));
}

TEST(ProfileQueries, SetTimeSpanKeepsTheStoreFreeOfRedundantPoints) {
    const struct {
        Points before;
        double start, stop, units;
        Points after;
    } cases[] = {
        {{{0, 1}}, 10, 12, 0, {{0, 1}, {10, 0}, {12, 1}}},
        {{{0, 1}, {10, 0}, {12, 1}}, 12, 14, 0, {{0, 1}, {10, 0}, {14, 1}}},
        {{{0, 1}, {10, 0}, {12, 1}}, 5, 5, 3, {{0, 1}, {10, 0}, {12, 1}}},
        {{{0, 1}, {10, 0}, {14, 1}}, -1, 20, 2, {{-1, 2}}},  // covering every point: the units hold on
        {{{0, 1}}, 3, 5, 1, {{0, 1}}},
        {{{0, 1}, {10, 0}}, 5, 20, 3, {{0, 1}, {5, 3}, {20, 0}}},
        {{{0, 1}, {4, 7}, {6, 0}}, 2, 4, 7, {{0, 1}, {2, 7}, {6, 0}}},
        // Before the first point: the span gets its own point.
        {{{0, 1}}, -5, -3, 2, {{-5, 2}, {-3, 1}, {0, 1}}},
        {{{0, 1}, {8, 0}}, -5, 3, 0, {{-5, 0}, {3, 1}, {8, 0}}},
    };
    for (const auto& c : cases) {
        TVoAvailability profile(1.0);
        Write(profile, c.before);
        profile.SetTimeSpan(c.start, c.stop, c.units);
        EXPECT_EQ(Read(profile), c.after) << c.start << ".." << c.stop << " = " << c.units;
    }
}

TEST(ProfileQueries, RefusedArgumentsChangeNothing) {
    TVoAvailability profile(1.0);
    Write(profile, {{0, 1}, {10, 0}});
    const std::pair<std::function<void()>, std::string> cases[] = {
        {[&] { profile.SetTimeSpan(5, 3, 4); }, "Invalid date range"},
        {[&] { profile.SetTimeSpan(kNaN, 3, 4); }, "Invalid date range"},
        {[&] { profile.SetTimeSpan(3, kNaN, 4); }, "Invalid date range"},
        {[&] { profile.AddPoint(kNaN, 4); }, "Invalid date range"},
        {[&] { profile.Count(2, 1); }, "Invalid date range"},
        {[&] { profile.CalcWorkingHours(kNaN, 1); }, "Invalid date range"},
        {[&] { profile.PackData(2, 1); }, "Invalid date range in TVoAvailability::PackData"},
    };
    for (const auto& [operation, text] : cases) EXPECT_EQ(Caught(operation).text, text);
    for (ULONG bad : {2u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Caught([&] { profile.Index2Date(bad); }).code, VOMSG_INDEX_OUT_OF_RANGE);
        EXPECT_EQ(Caught([&] { profile.GetUnitsAt(bad); }).code, VOMSG_INDEX_OUT_OF_RANGE);
    }
    EXPECT_EQ(Read(profile), (Points{{0, 1}, {10, 0}}));
}

TEST(ProfileQueries, PositionsOfFloorPoints) {
    TVoAvailability profile(1.0);
    Write(profile, {{0, 1}, {2, 0}, {5, 3}});
    profile.AddPoint(-0.0, 1);  // the same date as 0.0: replaced, nothing added
    const double dates[] = {0, 2, 5};
    const struct {
        double at;
        ULONG index;
        double units;
    } cases[] = {{-4, 0, 1}, {1.999, 0, 1}, {2, 1, 0}, {5, 2, 3}, {std::numeric_limits<double>::infinity(), 2, 3}};
    for (const auto& c : cases) {
        EXPECT_EQ(profile.Date2Index(c.at), c.index) << c.at;
        EXPECT_EQ(profile.GetUnits(c.at), c.units) << c.at;
        EXPECT_EQ(profile.Index2Date(c.index), dates[c.index]);
        EXPECT_EQ(profile.GetUnitsAt(c.index), c.units);
    }
}

// Over a range: the working hours, which deliberately count the last segment
// with its sign and skip every earlier one below zero, and the packed points
// in effect from start (before the first point, that point's units).
TEST(ProfileQueries, WorkingHoursAndPackedPointsOfARange) {
    const struct {
        Points profile;
        double start, stop, hours;
        Points packed;
    } cases[] = {
        {{{0, 1}, {1, -1}}, 0.5, 2, -0.5, {{0.5, 1}, {1, -1}}},
        {{{0, -1}, {1, 1}}, 0.5, 2, 1.0, {{0.5, -1}, {1, 1}}},
        {{{0, -1}}, 0.5, 2, 0.0, {{0.5, -1}}},
        {{{0, 2}, {1, 0}, {3, 0.5}}, 0.75, 4, 1.0, {{0.75, 2}, {1, 0}, {3, 0.5}}},
        {{{0, 1}, {2, 0}, {4, 2}, {6, 1}}, 1, 6, 5.0, {{1, 1}, {2, 0}, {4, 2}}},
        {{{0, 1}, {2, 0}, {4, 2}}, 2, 10, 12.0, {{2, 0}, {4, 2}}},
        {{{0, 1}, {3, 0}}, 2.5, 2.5, 0.0, {{2.5, 1}}},
        {{{0, 1}, {2.5, 0}}, 2.5, 2.5, 0.0, {}},
        {{{0, 1}, {1, 0}}, 1, 1, 0.0, {}},
        {{{0, 2}}, -3, -1, 4.0, {{-3, 2}}},
        {{{0, 3}, {1, 0}}, -2, 5, 9.0, {{-2, 3}, {1, 0}}},
    };
    for (const auto& c : cases) {
        TVoAvailability profile(1.0);
        Write(profile, c.profile);
        EXPECT_EQ(profile.CalcWorkingHours(c.start, c.stop), c.hours) << c.start << ".." << c.stop;
        const ostrel::PointArray packed = profile.PackData(c.start, c.stop);
        ASSERT_NE(packed.points, nullptr) << "an empty stretch is an empty array, not none";
        Points got;
        for (ULONG i = 0; i < packed.count; ++i) got.emplace_back(packed.points[i].dtDate, packed.points[i].dblUnits);
        EXPECT_EQ(got, c.packed) << c.start << ".." << c.stop;
        EXPECT_EQ(profile.Count(c.start, c.stop), c.packed.size());
    }
}

TEST(UnitSums, SumUnitsSplitsAddsAndJoins) {
    const struct {
        Points before;
        double start, stop, units;
        Points after;
        double lowest;
    } cases[] = {
        {{{0, 1}}, 2, 4, -2, {{0, 1}, {2, -1}, {4, 1}}, -1.0},
        {{{0, 1}}, 4, 4, 5, {{0, 1}}, 0.0},
        {{{0, 1}}, 4, 2, 5, {{0, 1}}, 0.0},
        {{{0, 1}, {2, 0}, {4, 1}}, 2, 4, 1, {{0, 1}}, 0.0},  // joined at both ends
        {{{0, 1}, {3, 2}, {5, 0}}, 1, 6, 1, {{0, 1}, {1, 2}, {3, 3}, {5, 1}, {6, 0}}, 0.0},
        {{{0, 1}, {3, 2}}, 1, 6, -1.5, {{0, 1}, {1, -0.5}, {3, 0.5}, {6, 2}}, -0.5},
    };
    for (const auto& c : cases) {
        TVoAvailability profile(1.0);
        Write(profile, c.before);
        EXPECT_EQ(profile.SumUnits(c.start, c.stop, c.units, 0, false), c.lowest);
        EXPECT_EQ(Read(profile), c.after) << c.start << ".." << c.stop << " += " << c.units;
    }
}

// A point that an allocation brings to zero or below is marked when the caller
// asks (SumRange asks with each enumerated point's flags), and never joins an
// unmarked neighbour again.
TEST(UnitSums, ExhaustedPointsAreMarkedAndKeptApart) {
    TVoAvailability profile(1.0);
    EXPECT_EQ(profile.SumUnits(2, 4, -1, ostrel::SUM_MARK_EXHAUSTED, true), 0.0);
    profile.SumUnits(6, 7, -0.5, ostrel::SUM_MARK_EXHAUSTED, true);  // still above zero
    for (auto [points, op, lowest] : {std::tuple{Points{{5, 3}}, opSubstract, -2.5}, {Points{{5, 3}, {7, 0}}, opAdd, 0.0}}) {
        IUnknown* listed = Listed(points, ostrel::SUM_MARK_EXHAUSTED);
        double got = 1;
        profile.SumRange(listed, 7, op, &got);
        listed->Release();
        EXPECT_EQ(got, lowest) << "the lowest units reached";
    }
    profile.SumUnits(2, 4, +1, 0, true);
    EXPECT_EQ(Read(profile), (Points{{0, 1}, {2, 1}, {4, 1}, {5, 1}, {6, 0.5}, {7, 1}}));
    constexpr ULONG M = ostrel::POINT_EXHAUSTED;
    EXPECT_EQ(Flags(profile), (std::vector<ULONG>{0, M, 0, M, M, 0}));
}

TEST(UnitSums, SumRangeSkipsTheLastStretchOfEveryLaterChunk) {
    // Deliberate: the first chunk is read 10 at a time, later ones 9 at a time
    // behind the carried point, and the pair closing a later chunk is never summed.
    const struct {
        int points;
        Points skipped;  // stretches left at 1.0 unit, as (from, to)
    } cases[] = {{9, {}}, {10, {}}, {15, {{23, 24}}}, {19, {{27, 28}}},
                 {20, {{27, 29}}},  // a last chunk of one point closes with its only pair
                 {29, {{27, 28}, {36, 38}}}};
    for (const auto& c : cases) {
        TVoAvailability profile(1.0);
        Points steps;  // a point a day from day 10, each of 1 unit
        for (int i = 0; i < c.points; ++i) steps.emplace_back(10 + i, 1);
        IUnknown* listed = Listed(steps);
        double lowest = 7;
        profile.SumRange(listed, 50, opSubstract, &lowest);
        listed->Release();
        Points expected{{0, 1}, {10, 0}};
        for (auto [from, to] : c.skipped) expected.insert(expected.end(), {{from, 1}, {to, 0}});
        expected.emplace_back(50, 1);
        EXPECT_EQ(Read(profile), expected) << c.points << " points";
        EXPECT_EQ(lowest, 0.0);
    }
}

// SumRange refuses operators it cannot sum with; the stored operator is kept
// as the raw 32-bit values sent, named or not.
TEST(UnitSums, OperatorsSumRangeRefusalsAndAnEmptyEnumeration) {
    TVoAvailability profile(1.0);
    profile.SetOperator(77, 78);
    tagOPERATOR op;
    tagOPERATORBOUND bound;
    profile.GetOperator(&op, &bound);
    ULONG raw[2];
    std::memcpy(&raw[0], &op, sizeof op);  // read as numbers: 77 is no value of the enumeration
    std::memcpy(&raw[1], &bound, sizeof bound);
    EXPECT_EQ(std::pair(raw[0], raw[1]), (std::pair<ULONG, ULONG>(77, 78)));
    double lowest = 7;
    IUnknown* listed = Listed({{5, 1}});
    for (ULONG op : {ULONG(opNone), ULONG(opAnd), ULONG(opOr), ULONG(opXor), ULONG(6)})
        EXPECT_EQ(Caught([&] { profile.SumRange(listed, 10, op, &lowest); }).text, "Invalid operator");
    EXPECT_EQ(lowest, 7.0);
    listed->Release();
    EXPECT_EQ(Caught([&] { profile.SumRange(nullptr, 10, opAdd, &lowest); }).code, DWORD(E_POINTER));
    listed = Listed({});
    profile.SumRange(listed, 10, opAdd, &lowest);
    listed->Release();
    EXPECT_EQ(lowest, dtOpenEnd);
    EXPECT_EQ(Read(profile), (Points{{0, 1}}));
}

TEST(UnitSums, OneProfileSourceHeldByCountedReference) {
    auto* profile = new TVoAvailability(1.0);
    IVoAvailability* source = Profile({});
    IUnknown* notAProfile = Listed({});
    for (IUnknown* bad : {notAProfile, static_cast<IUnknown*>(nullptr)})
        EXPECT_EQ(Caught([&] { profile->AddSource(bad); }).text, "Invalid interface");
    notAProfile->Release();
    EXPECT_FALSE(profile->RequiresPrepare());
    profile->AddSource(source);
    EXPECT_TRUE(profile->RequiresPrepare());
    EXPECT_EQ(Caught([&] { profile->AddSource(source); }).text, "Only one source can be set at a time");
    IUnknown* got = nullptr;
    EXPECT_EQ(Caught([&] { profile->GetSource(1, &got); }).code, VOMSG_INDEX_OUT_OF_RANGE);
    profile->GetSource(0, &got);
    EXPECT_EQ(got->Release(), 2u) << "the caller's and the engine's references";
    delete profile;
    EXPECT_EQ(source->Release(), 0u);
}

}  // namespace
