// Placing work forward and backward, and comparing with an earlier placement.
#include <limits>
#include <memory>

#include "availability/timespan_enum.h"
#include "availability_test_support.h"

namespace {

using avl_test::Caught;
using avl_test::Write;
using ostrel::TVoAvailability;
using Spans = std::vector<std::pair<double, double>>;

Spans Read(IUnknown* unknown) {
    Spans out;
    if (!unknown) return out;
    IEnumTimespans* e = nullptr;
    EXPECT_HR(S_OK, unknown->QueryInterface(IID_IEnumTimespans, reinterpret_cast<void**>(&e)));
    tagTIMESPAN span;
    while (e->Next(1, &span, nullptr) == S_OK) out.emplace_back(span.dtStart, span.dtStop);
    e->Reset();
    e->Release();
    return out;
}

struct Placement {
    tagSCHEDULERESULT result = srNone;
    Spans spans;
};

// One placement from scratch; the enumerator is read and released.
Placement Place(TVoAvailability& profile, double start, double end, double duration, double units,
                ULONG direction) {
    IUnknown* unknown = nullptr;
    Placement out;
    profile.ScheduleTask(start, end, duration, units, direction, &unknown, &out.result);
    out.spans = Read(unknown);
    if (unknown) unknown->Release();
    return out;
}

TEST(Placement, ForwardAndBackwardOnFixedProfiles) {
    const struct {
        const char* what;
        avl_test::Points profile;
        double start, end, duration, units;
        ULONG direction;
        tagSCHEDULERESULT result;
        Spans spans;
    } cases[] = {
        {"one segment", {{0, 1}}, 2, 100, 1.5, 1, sdForward, srIsScheduled, {{2, 3.5}}},
        {"gaps", {{0, 0}, {1, 1}, {1.25, 0}, {2, 1}}, 0.5, 100, 0.5, 1, sdForward, srIsScheduled, {{1, 1.25}, {2, 2.25}}},
        {"touching segments join", {{0, 1}, {1, 2}, {2, 1}}, 0.5, 100, 2, 1, sdForward, srIsScheduled, {{0.5, 2.5}}},
        {"never enough units", {{0, 1}, {5, 1.5}}, 0, 100, 1, 2, sdForward, srFail, {}},
        {"a second is enough", {{0, 1}}, 0, 100, ostrel::dblSecond, 2, sdForward, srIsScheduled, {}},
        {"the last span may pass the end", {{0, 1}}, 2, 2.5, 1, 1, sdForward, srIsScheduled, {{2, 3}}},
        {"no segment may begin at the end", {{0, 0}, {3, 1}}, 1, 3, 1, 1, sdForward, srFail, {}},
        {"zero duration forward", {{0, 0}, {3, 1}}, 1, 100, 0, 1, sdForward, srIsScheduled, {{3, 3}}},
        {"zero duration, nothing usable", {{0, 0}}, 1, 100, 0, 1, sdForward, srIsScheduled, {}},
        // Before the first point its units hold, as for every query.
        {"before the first point", {{0, 1}}, -5, 100, 1, 1, sdForward, srIsScheduled, {{-5, -4}}},
        {"the segment holding the start is never used", {{0, 1}}, 5, 10, 1, 1, sdBackward, srFail, {}},
        {"backward", {{0, 0}, {6, 1}}, 5, 10, 2, 1, sdBackward, srIsScheduled, {{8, 10}}},
        {"backward over a gap", {{0, 0}, {6, 1}, {8, 0}, {9, 1}}, 5, 10, 2, 1, sdBackward, srIsScheduled,
         {{7, 8}, {9, 10}}},
        {"backward zero duration", {{0, 0}, {6, 1}, {8, 0}}, 5, 10, 0, 1, sdBackward, srIsScheduled, {{8, 8}}},
        {"backward zero duration, nothing usable", {{0, 0}, {6, 0.5}}, 5, 10, 0, 1, sdBackward, srIsScheduled, {}},
        {"anything but forward is backward", {{0, 0}, {6, 1}}, 5, 10, 2, 1, 7, srIsScheduled,
         {{8, 10}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TVoAvailability profile(1.0);
        Write(profile, c.profile);
        const Placement got = Place(profile, c.start, c.end, c.duration, c.units, c.direction);
        EXPECT_EQ(got.result, c.result);
        EXPECT_EQ(got.spans, c.spans);
    }
}

TEST(Placement, AnExhaustedPointRestartsTheWorkAndAnUnmarkedOneLeavesAGap) {
    for (bool marked : {false, true}) {
        SCOPED_TRACE(marked ? "marked" : "unmarked");
        TVoAvailability profile(1.0);
        profile.SumUnits(2, 3, -1, marked ? ostrel::SUM_MARK_EXHAUSTED : 0, true);
        const Spans forward = marked ? Spans{{3, 6}} : Spans{{0, 2}, {3, 4}};
        EXPECT_EQ(Place(profile, 0, 100, 3, 1, sdForward).spans, forward);
        profile.SetTimeSpan(-1, 0, 0);  // give the backward walk a first segment after its limit
        // Backward the discarded spans are the later ones, and what is left
        // before the mark is too short.
        const Placement backward = Place(profile, -1, 5, 3, 1, sdBackward);
        EXPECT_EQ(backward.result, marked ? srFail : srIsScheduled);
        EXPECT_EQ(backward.spans, marked ? Spans{} : (Spans{{1, 2}, {3, 5}}));
    }
}

TEST(Placement, AnUnchangedPlacementKeepsTheEarlierEnumerator) {
    TVoAvailability profile(1.0);
    IUnknown* earlier = nullptr;
    tagSCHEDULERESULT result;
    profile.ScheduleTask(2, 100, 1, 1, sdForward, &earlier, &result);
    ASSERT_NE(earlier, nullptr);
    // Read part of it: the comparison leaves it back at its start.
    IEnumTimespans* e = nullptr;
    ASSERT_HR(S_OK, earlier->QueryInterface(IID_IEnumTimespans, reinterpret_cast<void**>(&e)));
    tagTIMESPAN span;
    EXPECT_HR(S_OK, e->Next(1, &span, nullptr));

    IUnknown* passed = earlier;
    profile.ScheduleTask(2, 100, 1, 1, sdForward, &passed, &result);
    EXPECT_EQ(result, srIsScheduled);
    EXPECT_EQ(passed, earlier);
    EXPECT_HR(S_OK, e->Next(1, &span, nullptr));
    EXPECT_EQ(span.dtStart, 2.0);
    e->Release();

    // Deliberate: an earlier placement that is only a leading part of the new
    // one counts as unchanged; the new spans are not reported.
    profile.SetTimeSpan(3, 4, 0);
    profile.ScheduleTask(2, 100, 2, 1, sdForward, &passed, &result);
    EXPECT_EQ(result, srIsScheduled);
    EXPECT_EQ(Read(passed), (Spans{{2, 3}}));

    // A failed placement leaves the caller's enumerator as it was.
    profile.ScheduleTask(2, 100, 2, 5, sdForward, &passed, &result);
    EXPECT_EQ(result, srFail);
    EXPECT_EQ(passed, earlier);
    EXPECT_EQ(earlier->Release(), 0u);
}

TEST(Placement, AChangedPlacementRestartsAndSaysSo) {
    const struct {
        const char* what;
        ULONG direction;
        double start, end, duration;
        double gapFrom, gapTo;
        Spans before, after;
    } cases[] = {
        // The new spans {2, 2.5} {2.75, 3.25} against {2, 3}: restart from 2.75.
        {"forward", sdForward, 2, 100, 1, 2.5, 2.75, {{2, 3}}, {{2.75, 3.75}}},
        // The new spans {3.75, 4.5} {4.75, 5} against {4, 5}: restart back from 4.5.
        {"backward", sdBackward, 0.5, 5, 1, 4.5, 4.75, {{4, 5}}, {{3.5, 4.5}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TVoAvailability profile(1.0);
        Write(profile, {{0, 0}, {1, 1}});
        IUnknown* unknown = nullptr;
        tagSCHEDULERESULT result;
        profile.ScheduleTask(c.start, c.end, c.duration, 1, c.direction, &unknown, &result);
        EXPECT_EQ(Read(unknown), c.before);

        profile.SetTimeSpan(c.gapFrom, c.gapTo, 0);
        IUnknown* earlier = unknown;
        earlier->AddRef();
        profile.ScheduleTask(c.start, c.end, c.duration, 1, c.direction, &unknown, &result);
        EXPECT_EQ(result, srIsScheduled | srDataChanged);
        EXPECT_NE(unknown, earlier);
        EXPECT_EQ(Read(unknown), c.after);
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
    tagSCHEDULERESULT result;
    // Placed at {2, 3}, it differs; the restart from 20 finds no segment
    // beginning before the end at 10.
    profile.ScheduleTask(2, 10, 1, 1, sdForward, &unknown, &result);
    EXPECT_EQ(result, srFail | srDataChanged);
    EXPECT_EQ(unknown, nullptr);
}

TEST(Placement, Refusals) {
    TVoAvailability profile(1.0);
    tagSCHEDULERESULT result = srFail;
    EXPECT_EQ(Caught([&] { profile.ScheduleTask(0, 1, 1, 1, sdForward, nullptr, &result); }).code, DWORD(E_POINTER));
    EXPECT_EQ(result, srNone);
    IUnknown* unknown = nullptr;
    EXPECT_EQ(Caught([&] { profile.ScheduleTask(0, 1, 1, 1, sdForward, &unknown, nullptr); }).code, DWORD(E_POINTER));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Caught([&] { profile.ScheduleTask(nan, 1, 1, 1, sdForward, &unknown, &result); }).text,
              "Invalid date range");
    // The backward walk prepares its range, which must be one.
    EXPECT_EQ(Caught([&] { profile.ScheduleTask(5, 1, 1, 1, sdBackward, &unknown, &result); }).text,
              "Invalid date range");
    EXPECT_EQ(unknown, nullptr);
}

}  // namespace
