// Placing a task's intervals between its limits on an availability profile:
// the set's calendar, the resources' default availability, or what is left
// of the resources after earlier allocations. A placement that finds no time
// fails the task with the reasons for its limits.
#include <cmath>
#include <limits>

#include "foundation/hresult.h"
#include "foundation/key_order.h"
#include "foundation/message_loader.h"
#include "foundation/value_text.h"
#include "scheduler/scheduler.h"

namespace ostrel {
namespace {

// Two dates closer than half a second are the same date to the run.
constexpr DATE kHalfSecond = 5.787037037037037e-6;

// Resources that keep moving each other's timespans would restart the walk
// of the actual profiles for ever; past this many restarts they are taken
// never to agree.
constexpr unsigned kActualRestartsAllowed = 100000;

// The span of a placement: the start of its first timespan and the stop of
// its last. False for a placement of no timespan at all, which leaves the
// caller's span as it was (left open by the design; the previous interval's
// span is what a host would see anyway).
bool ReadPlacedSpan(IUnknown& placed, TaskSpan& span) {
    InterfaceRef<IEnumTimespans> spans = QueryOrThrow<IEnumTimespans>(&placed, IID_IEnumTimespans);
    tagTIMESPAN timespan{};
    ULONG fetched = 0;
    bool any = false;
    while (spans->Next(1, &timespan, &fetched) == S_OK && fetched == 1) {
        if (!any) span.start = timespan.dtStart;
        span.finish = timespan.dtStop;
        any = true;
    }
    spans->Reset();
    return any;
}

// One ScheduleTask call that hands the caller's placement in and takes the
// (possibly new) one back. Its HRESULT is returned, not thrown.
HRESULT Place(IVoAvailability& profile, const DateBounds& bounds, double duration, double units,
              InterfaceRef<IUnknown>& placed, ULONG& result) {
    IUnknown* inOut = placed.Detach();
    tagSCHEDULERESULT flags = srNone;
    const HRESULT hr =
        profile.ScheduleTask(bounds.start, bounds.finish, duration, units, bounds.Direction(), &inOut, &flags);
    *placed.Out() = inOut;
    result = RawEnum(flags);
    return hr;
}

bool SameDate(DATE a, DATE b) { return std::fabs(a - b) < kHalfSecond; }

}  // namespace

void TVoScheduler::PlaceIntervals(tagScheduleData& task, DateBounds& bounds) {
    const bool hasResources = ResourceCount(task) > 0;
    const LONG constraint = ConstraintOf(task);
    TaskSpan span{0.0, 0.0};
    for (ULONG i = 0; i < IntervalCount(task); ++i) {
        tagScheduleInterval& interval = task.psi[i];
        const ULONG flags = interval.dwFlags;
        // Resources are needed for any placement on resource profiles.
        if (!hasResources || (flags & ifProjectCalendar))
            span = PlaceOnSetProfile(task, bounds, interval, span);
        else if ((flags & ifResourceDefaultAvailability) || constraint == cnMSO || constraint == cnMFO)
            span = PlaceOnDefaultProfiles(task, bounds, interval);
        else if (flags & ifResourceActualAvailability)
            span = PlaceOnActualProfiles(task, bounds, interval, span);
        else
            AddMessage(&task, FormatVoMessage(VOMSG_INTERVAL_WITHOUT_PROFILE));

        if (hasResources && !(flags & ifProjectCalendar) && (flags & ifAllocateInterval))
            Allocate(task, span.start, span.finish);

        if (!SameDate(span.start, interval.dtStart) || !SameDate(span.finish, interval.dtStop)) {
            interval.dtStart = span.start;
            interval.dtStop = span.finish;
            task.dwSRFlags |= srDataChanged;
        }
    }
}

TaskSpan TVoScheduler::PlaceOnSetProfile(tagScheduleData& task, const DateBounds& bounds,
                                         const tagScheduleInterval& interval, TaskSpan span) {
    IVoAvailability* profile = sets_.At(StateOf(task).setIndex).Profile();
    InterfaceRef<IUnknown> placed;
    ULONG result = srNone;
    // The answer is in the result flags, not in the HRESULT.
    Place(*profile, bounds, interval.dblDuration, 1.0, placed, result);
    if (result == srFail) ExplainFailedPlacement(task, bounds);
    if (placed) ReadPlacedSpan(*placed.Get(), span);
    return span;
}

// Each resource is placed on its own default availability, starting from
// the previous resource's timespans; the span covers them all.
TaskSpan TVoScheduler::PlaceOnDefaultProfiles(tagScheduleData& task, const DateBounds& bounds,
                                              const tagScheduleInterval& interval) {
    TaskSpan combined{std::numeric_limits<double>::max(), 0.0};
    InterfaceRef<IUnknown> placed;
    for (ULONG r = 0; r < ResourceCount(task); ++r) {
        const tagScheduleResource& entry = task.psr[r];
        ULONG result = srNone;
        Place(*ProfilesOf(entry.rkResource).defaultProfile.Get(), bounds, interval.dblDuration, entry.dblAssigned,
              placed, result);
        if (result == srFail) ExplainFailedPlacement(task, bounds);
        TaskSpan span{};
        if (placed && ReadPlacedSpan(*placed.Get(), span)) {
            if (span.start <= combined.start) combined.start = span.start;
            if (span.finish >= combined.finish) combined.finish = span.finish;
        }
    }
    return combined;
}

// All resources must agree on one set of timespans: a resource that moves
// them moves the driving limit there, and every other resource is placed
// again on the new timespans.
TaskSpan TVoScheduler::PlaceOnActualProfiles(tagScheduleData& task, DateBounds bounds,
                                             const tagScheduleInterval& interval, TaskSpan span) {
    constexpr ULONG kNoMarker = std::numeric_limits<ULONG>::max();
    InterfaceRef<IUnknown> placed;
    ULONG marker = kNoMarker;
    unsigned restarts = 0;
    for (ULONG r = 0; r < ResourceCount(task);) {
        if (r == marker) {
            ++r;
            continue;
        }
        const tagScheduleResource& entry = task.psr[r];
        ULONG result = srNone;
        ThrowIfFailed(Place(*ProfilesOf(entry.rkResource).actualProfile.Get(), bounds, interval.dblDuration,
                            entry.dblAssigned, placed, result));
        if (!(result & srIsScheduled)) ExplainFailedPlacement(task, bounds);
        if (result & srDataChanged) {
            if (++restarts > kActualRestartsAllowed) ExplainFailedPlacement(task, bounds);
            TaskSpan moved{};
            if (placed && ReadPlacedSpan(*placed.Get(), moved)) {
                if (bounds.drive == Drive::Forward) bounds.start = moved.start;
                else bounds.finish = moved.finish;
            }
            marker = r;
            r = 0;
            continue;
        }
        if (marker == kNoMarker) marker = r;
        ++r;
    }
    if (placed) ReadPlacedSpan(*placed.Get(), span);
    return span;
}

void TVoScheduler::ExplainFailedPlacement(tagScheduleData& task, const DateBounds& bounds) {
    DWORD header = VOMSG_PLACEMENT_NO_RESOURCE_TIME;
    DWORD detail = VOMSG_PLACEMENT_NO_RESOURCE_TIME_DETAIL;
    if (!(bounds.start < bounds.finish)) {
        header = VOMSG_PLACEMENT_BOUNDS_CROSSED;
        detail = VOMSG_PLACEMENT_BOUNDS_CROSSED_DETAIL;
    } else if (ResourceCount(task) == 0) {
        header = VOMSG_PLACEMENT_NO_TIME;
        detail = VOMSG_PLACEMENT_NO_TIME_DETAIL;
    }
    EVoScheduleError error(FormatVoMessage(header));
    error.Code = header;
    error.Task = &task;
    error.Severity = msError;
    error.LongMessage = FormatVoMessage(detail);

    const std::string start = DateToText(bounds.start);
    if (!bounds.startSource)
        error.LongMessage += FormatVoMessage(VOMSG_START_FROM_RANGE, start.c_str());
    else if (bounds.startSource == &task)
        error.LongMessage += FormatVoMessage(VOMSG_START_FROM_TASK, VarToW(task.tkKey.Value).c_str(), start.c_str());
    else
        error.LongMessage +=
            FormatVoMessage(VOMSG_START_FROM_LINK, VarToW(bounds.startSource->tkKey.Value).c_str(), start.c_str());

    const std::string finish = DateToText(bounds.finish);
    if (!bounds.finishSource) {
        error.LongMessage += FormatVoMessage(VOMSG_FINISH_FROM_RANGE, finish.c_str());
    } else if (bounds.finishSource == &task) {
        error.LongMessage += FormatVoMessage(VOMSG_FINISH_FROM_TASK, VarToW(task.tkKey.Value).c_str(), finish.c_str());
    } else {
        bool predecessor = false;
        for (ULONG p = 0; p < PredecessorCount(task) && !predecessor; ++p)
            predecessor = TaskKeyEqual(bounds.finishSource->tkKey, task.psp[p].tkPred);
        error.LongMessage += FormatVoMessage(predecessor ? VOMSG_FINISH_FROM_PREDECESSOR : VOMSG_FINISH_FROM_SUCCESSOR,
                                             VarToW(bounds.finishSource->tkKey.Value).c_str(), finish.c_str());
    }
    throw error;
}

}  // namespace ostrel
