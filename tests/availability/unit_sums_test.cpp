// Sources, the stored operator, and the sums that book units into a profile.
#include <memory>

#include "availability_test_support.h"
#include "test_profile.h"

namespace {

using avl_test::Caught;
using avl_test::Flags;
using avl_test::PointEnum;
using avl_test::Points;
using avl_test::Read;
using avl_test::TestProfile;
using avl_test::Write;
using ostrel::dtOpenEnd;
using ostrel::TVoAvailability;

constexpr ULONG kMarked = ostrel::POINT_EXHAUSTED;

// An enumeration of points, as a profile's EnumPoints hands them out.
IUnknown* Listed(const Points& points, ULONG flags = 0) {
    auto items = std::make_unique<tagAVAILABILITYPOINT[]>(points.size());
    for (size_t i = 0; i < points.size(); ++i) items[i] = {points[i].first, points[i].second, flags};
    PointEnum* e = PointEnum::New();
    e->Init(std::move(items), ULONG(points.size()));
    return static_cast<IEnumAvPoints*>(e);
}

// n points a day apart from day 10, each holding 1 unit.
Points Steps(int n) {
    Points out;
    for (int i = 0; i < n; ++i) out.emplace_back(10 + i, 1);
    return out;
}

TEST(UnitSums, SumUnitsSplitsAddsAndJoins) {
    const struct {
        Points before;
        double start, stop, units;
        ULONG flags;
        Points after;
        double lowest;
    } cases[] = {
        {{{0, 1}}, 2, 4, -1, 0, {{0, 1}, {2, 0}, {4, 1}}, 0.0},
        {{{0, 1}}, 2, 4, -2, 0, {{0, 1}, {2, -1}, {4, 1}}, -1.0},
        {{{0, 1}}, 4, 4, 5, 0, {{0, 1}}, 0.0},
        {{{0, 1}}, 4, 2, 5, 0, {{0, 1}}, 0.0},
        {{{0, 1}, {2, 0}, {4, 1}}, 2, 4, 1, 0, {{0, 1}}, 0.0},  // joined at both ends
        {{{0, 1}, {3, 2}, {5, 0}}, 1, 6, 1, 0, {{0, 1}, {1, 2}, {3, 3}, {5, 1}, {6, 0}}, 0.0},
        {{{0, 1}, {3, 2}}, 1, 6, -1.5, 0, {{0, 1}, {1, -0.5}, {3, 0.5}, {6, 2}}, -0.5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.start << ".." << c.stop << " += " << c.units);
        TVoAvailability profile(1.0);
        Write(profile, c.before);
        EXPECT_EQ(profile.SumUnits(c.start, c.stop, c.units, c.flags, false), c.lowest);
        EXPECT_EQ(Read(profile), c.after);
    }
}

TEST(UnitSums, AnExhaustedMarkKeepsItsPointFromJoining) {
    TVoAvailability profile(1.0);
    EXPECT_EQ(profile.SumUnits(2, 4, -1, ostrel::SUM_MARK_EXHAUSTED, true), 0.0);
    EXPECT_EQ(Flags(profile), (std::vector<ULONG>{0, kMarked, 0}));
    profile.SumUnits(2, 4, +1, 0, true);
    EXPECT_EQ(Read(profile), (Points{{0, 1}, {2, 1}, {4, 1}}));
    EXPECT_EQ(Flags(profile), (std::vector<ULONG>{0, kMarked, 0}));
    // Units still above zero are not marked.
    profile.SumUnits(6, 7, -0.5, ostrel::SUM_MARK_EXHAUSTED, true);
    EXPECT_EQ(Flags(profile), (std::vector<ULONG>{0, kMarked, 0, 0, 0}));
}

TEST(UnitSums, SumRangeSubtractsAnEnumeratedProfile) {
    TVoAvailability profile(1.0);
    IUnknown* listed = Listed({{5, 1}, {6, 0}});
    double result = 0;
    profile.SumRange(listed, 10, opSubstract, &result);
    listed->Release();
    EXPECT_EQ(Read(profile), (Points{{0, 1}, {5, 0}, {6, 1}}));
    EXPECT_EQ(result, 0.0);

    listed = Listed({{5, 3}}, ostrel::SUM_MARK_EXHAUSTED);
    profile.SumRange(listed, 7, opSubstract, &result);
    listed->Release();
    EXPECT_EQ(Read(profile), (Points{{0, 1}, {5, -3}, {6, -2}, {7, 1}}));
    EXPECT_EQ(Flags(profile), (std::vector<ULONG>{0, kMarked, kMarked, 0}));
    EXPECT_EQ(result, -3.0) << "over-booked";

    listed = Listed({{5, 3}, {7, 0}});
    profile.SumRange(listed, 7, opAdd, &result);
    listed->Release();
    EXPECT_EQ(Read(profile), (Points{{0, 1}, {5, 0}, {6, 1}, {7, 1}}));
}

TEST(UnitSums, SumRangeSkipsTheLastStretchOfEveryLaterChunk) {
    // Deliberate: the first chunk is read 10 at a time, later ones 9 at a
    // time behind the carried point, and the pair closing a later chunk is
    // never summed.
    const struct {
        int points;
        Points skipped;  // stretches left at 1.0 unit, as (from, to)
    } cases[] = {{9, {}},
                 {10, {}},
                 {15, {{23, 24}}},
                 {19, {{27, 28}}},
                 {20, {{27, 29}}},  // a last chunk of one point closes with its only pair
                 {29, {{27, 28}, {36, 38}}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.points << " points");
        TVoAvailability profile(1.0);
        IUnknown* listed = Listed(Steps(c.points));
        double result = 0;
        profile.SumRange(listed, 50, opSubstract, &result);
        listed->Release();
        Points expected{{0, 1}, {10, 0}};
        for (auto [from, to] : c.skipped) expected.insert(expected.end(), {{from, 1}, {to, 0}});
        expected.emplace_back(50, 1);
        EXPECT_EQ(Read(profile), expected);
        EXPECT_EQ(result, 0.0);
    }
}

TEST(UnitSums, SumRangeRefusals) {
    TVoAvailability profile(1.0);
    double result = 7;
    IUnknown* listed = Listed({{5, 1}});
    for (ULONG op : {ULONG(opNone), ULONG(opAnd), ULONG(opOr), ULONG(opXor), ULONG(6)})
        EXPECT_EQ(Caught([&] { profile.SumRange(listed, 10, op, &result); }).text, "Invalid operator");
    EXPECT_EQ(result, 7.0);
    // Nothing was read before the refusal.
    IEnumAvPoints* e = nullptr;
    ASSERT_HR(S_OK, listed->QueryInterface(IID_IEnumAvPoints, reinterpret_cast<void**>(&e)));
    tagAVAILABILITYPOINT first;
    EXPECT_HR(S_OK, e->Next(1, &first, nullptr));
    e->Release();
    listed->Release();

    EXPECT_EQ(Caught([&] { profile.SumRange(nullptr, 10, opAdd, &result); }).code, DWORD(E_POINTER));
    // An enumeration of no points sums nothing and leaves the open end.
    listed = Listed({});
    profile.SumRange(listed, 10, opAdd, &result);
    listed->Release();
    EXPECT_EQ(result, dtOpenEnd);
    EXPECT_EQ(Read(profile), (Points{{0, 1}}));
}

TEST(UnitSums, OneSourceHeldByCountedReference) {
    TVoAvailability* profile = new TVoAvailability(1.0);
    TestProfile* source = TestProfile::Make();
    profile->AddSource(static_cast<IVoAvailability*>(source));
    EXPECT_EQ(Caught([&] { profile->AddSource(static_cast<IVoAvailability*>(source)); }).text,
              "Only one source can be set at a time");

    IUnknown* got = nullptr;
    profile->GetSource(0, &got);
    IUnknown* identity = nullptr;
    source->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&identity));
    EXPECT_EQ(got, identity);
    got->Release();
    identity->Release();
    EXPECT_EQ(Caught([&] { profile->GetSource(1, &got); }).code, VOMSG_INDEX_OUT_OF_RANGE);
    EXPECT_TRUE(profile->RequiresPrepare());

    // The engine holds one reference, given back when it goes.
    EXPECT_EQ(source->AddRef(), 3u);
    source->Release();
    delete profile;
    EXPECT_EQ(source->Release(), 0u);
}

TEST(UnitSums, OnlyProfilesAreSources) {
    TVoAvailability profile(1.0);
    auto* notAProfile = PointEnum::New();
    EXPECT_EQ(Caught([&] { profile.AddSource(static_cast<IEnumAvPoints*>(notAProfile)); }).text, "Invalid interface");
    EXPECT_EQ(Caught([&] { profile.AddSource(nullptr); }).text, "Invalid interface");
    notAProfile->Release();
    EXPECT_FALSE(profile.RequiresPrepare());
}

}  // namespace
