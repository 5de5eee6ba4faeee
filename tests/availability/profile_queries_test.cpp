// The point store: direct writes, floor lookups, positions, working hours and
// packing, on profiles without a source or rules.
#include <cmath>
#include <limits>

#include "availability_test_support.h"

namespace {

using avl_test::Caught;
using avl_test::Points;
using avl_test::Read;
using avl_test::Write;
using ostrel::dtOpenEnd;
using ostrel::TVoAvailability;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(ProfileQueries, NewProfileHoldsItsDefaultUnitsEverywhere) {
    TVoAvailability profile(2.5);
    EXPECT_EQ(Read(profile), (Points{{0, 2.5}}));
    EXPECT_EQ(profile.Count(0.0, dtOpenEnd), 1u);
    EXPECT_EQ(profile.Count(0.0, std::numeric_limits<double>::max()), 1u);
    // Before the first point its units answer too.
    for (double at : {0.0, 1e6, -5.0, kNaN}) EXPECT_EQ(profile.GetUnits(at), 2.5) << at;
}

TEST(ProfileQueries, SetTimeSpanKeepsTheStoreFreeOfRedundantPoints) {
    const struct {
        Points before;
        double start, stop, units;
        Points after;
    } cases[] = {
        {{{0, 1}}, 10, 12, 0, {{0, 1}, {10, 0}, {12, 1}}},
        // The point at 12 goes and none is written there: units before it are 0 already.
        {{{0, 1}, {10, 0}, {12, 1}}, 12, 14, 0, {{0, 1}, {10, 0}, {14, 1}}},
        {{{0, 1}, {10, 0}, {12, 1}}, 5, 5, 3, {{0, 1}, {10, 0}, {12, 1}}},
        // Covering every point: the units hold after the stop as well.
        {{{0, 1}, {10, 0}, {14, 1}}, -1, 20, 2, {{-1, 2}}},
        {{{0, 1}}, 3, 5, 1, {{0, 1}}},
        {{{0, 1}, {10, 0}}, 5, 20, 3, {{0, 1}, {5, 3}, {20, 0}}},
        // A point exactly at stop: removed, its units survive from stop on.
        {{{0, 1}, {4, 7}, {6, 0}}, 2, 4, 7, {{0, 1}, {2, 7}, {6, 0}}},
        // Before the first point: the span gets its own point and the first
        // point's units follow it.
        {{{0, 1}}, -5, -3, 2, {{-5, 2}, {-3, 1}, {0, 1}}},
        {{{0, 1}, {8, 0}}, -5, 3, 0, {{-5, 0}, {3, 1}, {8, 0}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "span " << c.start << ".." << c.stop << " = " << c.units);
        TVoAvailability profile(1.0);
        Write(profile, c.before);
        profile.SetTimeSpan(c.start, c.stop, c.units);
        EXPECT_EQ(Read(profile), c.after);
    }
}

TEST(ProfileQueries, SpansThatAreNoSpansAreRefusedAndChangeNothing) {
    TVoAvailability profile(1.0);
    Write(profile, {{0, 1}, {10, 0}});
    for (auto [start, stop] : {std::pair{5.0, 3.0}, {kNaN, 3.0}, {3.0, kNaN}}) {
        EXPECT_EQ(Caught([&] { profile.SetTimeSpan(start, stop, 4); }).text, "Invalid date range");
    }
    EXPECT_EQ(Caught([&] { profile.AddPoint(kNaN, 4); }).text, "Invalid date range");
    EXPECT_EQ(Read(profile), (Points{{0, 1}, {10, 0}}));
}

TEST(ProfileQueries, AddPointReplacesByDateAndMergesNothing) {
    TVoAvailability profile(1.0);
    profile.AddPoint(3, 1);
    profile.AddPoint(-0.0, 4);  // the same key as 0.0
    EXPECT_EQ(Read(profile), (Points{{0, 4}, {3, 1}}));
    EXPECT_EQ(profile.Count(0.0, dtOpenEnd), 2u);
}

TEST(ProfileQueries, PositionsOfFloorPoints) {
    TVoAvailability profile(1.0);
    Write(profile, {{0, 1}, {2, 0}, {5, 3}});
    const struct {
        double at;
        ULONG index;
        double units;
    } cases[] = {{-4, 0, 1}, {0, 0, 1}, {1.999, 0, 1}, {2, 1, 0}, {4.5, 1, 0}, {5, 2, 3}, {1e300, 2, 3},
                 {std::numeric_limits<double>::infinity(), 2, 3}};
    for (const auto& c : cases) {
        EXPECT_EQ(profile.Date2Index(c.at), c.index) << c.at;
        EXPECT_EQ(profile.GetUnits(c.at), c.units) << c.at;
        EXPECT_EQ(profile.Index2Date(c.index), (Points{{0, 1}, {2, 0}, {5, 3}})[c.index].first);
        EXPECT_EQ(profile.GetUnitsAt(c.index), c.units);
    }
    for (ULONG bad : {3u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Caught([&] { profile.Index2Date(bad); }).code, VOMSG_INDEX_OUT_OF_RANGE);
        EXPECT_EQ(Caught([&] { profile.GetUnitsAt(bad); }).code, VOMSG_INDEX_OUT_OF_RANGE);
    }
}

TEST(ProfileQueries, WorkingHoursSkipNegativeSegmentsExceptTheLast) {
    const struct {
        Points profile;
        double start, stop, hours;
    } cases[] = {
        {{{0, 1}}, 0.5, 2, 1.5},
        {{{0, 1}, {1, -1}}, 0.5, 2, -0.5},  // the last segment counts with its sign
        {{{0, -1}, {1, 1}}, 0.5, 2, 1.0},   // an earlier negative one adds nothing
        {{{0, -1}}, 0.5, 2, 0.0},           // within one segment: nothing below zero
        {{{0, 2}, {1, 0}, {3, 0.5}}, 0.75, 4, 0.5 + 0.5},
        {{{0, 1}, {1, 0}}, 1, 1, 0.0},
        {{{0, 2}}, -3, -1, 4.0},  // before the first point
    };
    for (const auto& c : cases) {
        TVoAvailability profile(1.0);
        Write(profile, c.profile);
        EXPECT_EQ(profile.CalcWorkingHours(c.start, c.stop), c.hours) << c.start << ".." << c.stop;
    }
    TVoAvailability profile(1.0);
    EXPECT_EQ(Caught([&] { profile.CalcWorkingHours(2, 1); }).text, "Invalid date range");
    EXPECT_EQ(Caught([&] { profile.Count(2, 1); }).text, "Invalid date range");
    EXPECT_EQ(Caught([&] { profile.CalcWorkingHours(kNaN, 1); }).text, "Invalid date range");
}

TEST(ProfileQueries, PackDataDeliversThePointsInEffectFromStart) {
    const struct {
        Points profile;
        double start, stop;
        Points packed;
    } cases[] = {
        {{{0, 1}, {3, 0}}, 2.5, 2.5, {{2.5, 1}}},
        {{{0, 1}, {2.5, 0}}, 2.5, 2.5, {}},
        {{{0, 1}, {2, 0}, {4, 2}, {6, 1}}, 1, 6, {{1, 1}, {2, 0}, {4, 2}}},
        {{{0, 1}, {2, 0}, {4, 2}}, 2, dtOpenEnd, {{2, 0}, {4, 2}}},
        // Before the first point its units are described from start.
        {{{0, 3}}, -2, -1, {{-2, 3}}},
        {{{0, 3}, {1, 0}}, -2, 5, {{-2, 3}, {1, 0}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.start << ".." << c.stop);
        TVoAvailability profile(1.0);
        Write(profile, c.profile);
        const ostrel::PointArray packed = profile.PackData(c.start, c.stop);
        ASSERT_NE(packed.points, nullptr) << "an empty stretch is an empty array, not none";
        Points got;
        for (ULONG i = 0; i < packed.count; ++i) got.emplace_back(packed.points[i].dtDate, packed.points[i].dblUnits);
        EXPECT_EQ(got, c.packed);
        EXPECT_EQ(profile.Count(c.start, c.stop), c.packed.size());
    }
    TVoAvailability profile(1.0);
    EXPECT_EQ(Caught([&] { profile.PackData(2, 1); }).text, "Invalid date range in TVoAvailability::PackData");
}

TEST(ProfileQueries, ClearPutsBackTheDefaultPoint) {
    TVoAvailability profile(0.5);
    Write(profile, {{0, 1}, {2, 0}});
    profile.Clear();
    EXPECT_EQ(Read(profile), (Points{{0, 0.5}}));
    DATE start = -1, stop = -1;
    profile.GetPreparedRange(&start, &stop);
    EXPECT_EQ(start, 0.0);
    EXPECT_EQ(stop, dtOpenEnd);
}

}  // namespace
