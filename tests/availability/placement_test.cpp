// Placing work forward and backward, and comparing with an earlier placement.
#include <limits>

#include "availability/timespan_enum.h"
#include "availability_test_support.h"

namespace {

using namespace avl_test;

struct Placement {
    tagSCHEDULERESULT result = srNone;
    Points spans;
};
// From scratch, or against the earlier placement `unknown` holds, which the
// call may swap for a new one.
Placement Place(TVoAvailability& profile, double start, double end, double duration, double units, ULONG direction,
                IUnknown** unknown = nullptr) {
    IUnknown* fresh = nullptr;
    Placement out;
    profile.ScheduleTask(start, end, duration, units, direction, unknown ? unknown : &fresh, &out.result);
    out.spans = SpansOf(unknown ? *unknown : fresh);
    if (fresh) fresh->Release();
    return out;
}

TEST(Placement, ForwardAndBackwardOnFixedProfiles) {
    const struct {
        const char* what;
        Points profile;
        double start, end, duration, units;
        ULONG direction;
        tagSCHEDULERESULT result;
        Points spans;
    } cases[] = {
        {"gaps", {{0, 0}, {1, 1}, {1.25, 0}, {2, 1}}, 0.5, 100, 0.5, 1, sdForward, srIsScheduled, {{1, 1.25}, {2, 2.25}}},
        {"touching segments join", {{0, 1}, {1, 2}, {2, 1}}, 0.5, 100, 2, 1, sdForward, srIsScheduled, {{0.5, 2.5}}},
        {"never enough units", {{0, 1}, {5, 1.5}}, 0, 100, 1, 2, sdForward, srFail, {}},
        {"a second is enough", {{0, 1}}, 0, 100, ostrel::dblSecond, 2, sdForward, srIsScheduled, {}},
        {"the last span may pass the end", {{0, 1}}, 2, 2.5, 1, 1, sdForward, srIsScheduled, {{2, 3}}},
        {"no segment may begin at the end", {{0, 0}, {3, 1}}, 1, 3, 1, 1, sdForward, srFail, {}},
        {"zero duration forward", {{0, 0}, {3, 1}}, 1, 100, 0, 1, sdForward, srIsScheduled, {{3, 3}}},
        {"zero duration, nothing usable", {{0, 0}}, 1, 100, 0, 1, sdForward, srIsScheduled, {}},
        {"before the first point its units hold", {{0, 1}}, -5, 100, 1, 1, sdForward, srIsScheduled, {{-5, -4}}},
        // Deliberate: backward never uses the segment holding the start.
        {"backward, start in the only segment", {{0, 1}}, 5, 10, 1, 1, sdBackward, srFail, {}},
        {"backward over a gap", {{0, 0}, {6, 1}, {8, 0}, {9, 1}}, 5, 10, 2, 1, sdBackward, srIsScheduled,
         {{7, 8}, {9, 10}}},
        {"backward zero duration", {{0, 0}, {6, 1}, {8, 0}}, 5, 10, 0, 1, sdBackward, srIsScheduled, {{8, 8}}},
        {"backward zero duration, nothing usable", {{0, 0}, {6, 0.5}}, 5, 10, 0, 1, sdBackward, srIsScheduled, {}},
        {"anything but forward is backward", {{0, 0}, {6, 1}}, 5, 10, 2, 1, 7, srIsScheduled, {{8, 10}}},
    };
    for (const auto& c : cases) {
        TVoAvailability profile(1.0);
        Write(profile, c.profile);
        const Placement got = Place(profile, c.start, c.end, c.duration, c.units, c.direction);
        EXPECT_EQ(got.result, c.result) << c.what;
        EXPECT_EQ(got.spans, c.spans) << c.what;
    }
}

TEST(Placement, AnExhaustedPointRestartsTheWorkAndAnUnmarkedOneLeavesAGap) {
    for (bool marked : {false, true}) {
        TVoAvailability profile(1.0);
        profile.SumUnits(2, 3, -1, marked ? ostrel::SUM_MARK_EXHAUSTED : 0, true);
        EXPECT_EQ(Place(profile, 0, 100, 3, 1, sdForward).spans, (marked ? Points{{3, 6}} : Points{{0, 2}, {3, 4}}));
        profile.SetTimeSpan(-1, 0, 0);  // a first segment after the backward walk's start
        // Backward the later spans are discarded, and what is left is too short.
        const Placement backward = Place(profile, -1, 5, 3, 1, sdBackward);
        EXPECT_EQ(backward.result, marked ? srFail : srIsScheduled);
        EXPECT_EQ(backward.spans, marked ? Points{} : (Points{{1, 2}, {3, 5}}));
    }
}

TEST(Placement, AnUnchangedPlacementKeepsTheEarlierEnumerator) {
    TVoAvailability profile(1.0);
    IUnknown* earlier = nullptr;
    Place(profile, 2, 100, 1, 1, sdForward, &earlier);
    IEnumTimespans* e = nullptr;
    ASSERT_HR(S_OK, earlier->QueryInterface(IID_IEnumTimespans, reinterpret_cast<void**>(&e)));
    tagTIMESPAN span;
    e->Next(1, &span, nullptr);  // part read: the comparison leaves it back at its start
    IUnknown* passed = earlier;
    tagSCHEDULERESULT result;
    profile.ScheduleTask(2, 100, 1, 1, sdForward, &passed, &result);
    EXPECT_EQ(result, srIsScheduled);
    EXPECT_EQ(passed, earlier);
    EXPECT_HR(S_OK, e->Next(1, &span, nullptr));
    EXPECT_EQ(span.dtStart, 2.0);
    e->Release();
    // Deliberate: an earlier placement that is a leading part of the new one
    // counts as unchanged, and the new spans are not reported.
    profile.SetTimeSpan(3, 4, 0);
    EXPECT_EQ(Place(profile, 2, 100, 2, 1, sdForward, &passed).spans, (Points{{2, 3}}));
    // A failed placement leaves the caller's enumerator as it was.
    EXPECT_EQ(Place(profile, 2, 100, 2, 5, sdForward, &passed).result, srFail);
    EXPECT_EQ(passed, earlier);
    EXPECT_EQ(earlier->Release(), 0u);
}

TEST(Placement, AChangedPlacementRestartsAndSaysSo) {
    const struct {
        ULONG direction;
        double start, end;
        double gapFrom, gapTo;
        Points before, after;
    } cases[] = {
        // New spans {2, 2.5} {2.75, 3.25} against {2, 3}: restart from 2.75.
        {sdForward, 2, 100, 2.5, 2.75, {{2, 3}}, {{2.75, 3.75}}},
        // New spans {3.75, 4.5} {4.75, 5} against {4, 5}: restart back from
        // 4.5, which is not forward's rule mirrored (deliberate).
        {sdBackward, 0.5, 5, 4.5, 4.75, {{4, 5}}, {{3.5, 4.5}}},
    };
    for (const auto& c : cases) {
        TVoAvailability profile(1.0);
        Write(profile, {{0, 0}, {1, 1}});
        IUnknown* unknown = nullptr;
        EXPECT_EQ(Place(profile, c.start, c.end, 1, 1, c.direction, &unknown).spans, c.before);
        profile.SetTimeSpan(c.gapFrom, c.gapTo, 0);
        IUnknown* earlier = unknown;
        earlier->AddRef();
        const Placement got = Place(profile, c.start, c.end, 1, 1, c.direction, &unknown);
        EXPECT_EQ(got.result, srIsScheduled | srDataChanged);
        EXPECT_EQ(got.spans, c.after);
        EXPECT_EQ(earlier->Release(), 0u) << "the caller's reference was given back";
        unknown->Release();
    }
}

TEST(Placement, ARestartThatFailsIsReportedAsBoth) {
    TVoAvailability profile(1.0);
    profile.AddPoint(15, 1);
    // Any enumerator of spans may stand for the earlier placement.
    auto* made = ostrel::TimespanEnum::New();
    auto spans = std::make_unique<tagTIMESPAN[]>(1);
    spans[0] = {20, 21};
    made->Init(std::move(spans), 1);
    IUnknown* unknown = static_cast<IEnumTimespans*>(made);
    // Placed at {2, 3}, it differs; the restart from 20 finds no segment
    // beginning before the end at 10.
    EXPECT_EQ(Place(profile, 2, 10, 1, 1, sdForward, &unknown).result, srFail | srDataChanged);
    EXPECT_EQ(unknown, nullptr);
}

TEST(Placement, Refusals) {
    TVoAvailability profile(1.0);
    tagSCHEDULERESULT result = srFail;
    IUnknown* unknown = nullptr;
    EXPECT_EQ(Caught([&] { profile.ScheduleTask(0, 1, 1, 1, sdForward, nullptr, &result); }).code, DWORD(E_POINTER));
    EXPECT_EQ(result, srNone);
    EXPECT_EQ(Caught([&] { profile.ScheduleTask(0, 1, 1, 1, sdForward, &unknown, nullptr); }).code, DWORD(E_POINTER));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Caught([&] { Place(profile, nan, 1, 1, 1, sdForward); }).text, "Invalid date range");
    // The backward walk prepares its range, which must be one.
    EXPECT_EQ(Caught([&] { Place(profile, 5, 1, 1, 1, sdBackward); }).text, "Invalid date range");
}

}  // namespace
