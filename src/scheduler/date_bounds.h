// Between which dates a task may lie and from which end it is placed: the
// set's range narrowed by the task's own constraint and by its scheduled
// neighbours' links. Lags are calendar days, added to dates as they are.
#pragma once
#include <Ostrel.h>

namespace ostrel {

// Which limit drives the placement: none, forward (from the start),
// backward (from the finish), or both limits set.
enum class Drive : ULONG { None = 0, Forward = 1, Backward = 2, Both = 3, Undefined = 4 };

struct DateBounds {
    tagScheduleData* startSource = nullptr;   // the task that set the start
    tagScheduleData* finishSource = nullptr;  // the task that set the finish
    DATE start;                               // earliest start
    DATE finish;                              // latest finish
    Drive drive = Drive::None;

    DateBounds(DATE setStart, DATE setStop) : start(setStart), finish(setStop) {}

    // At least / at most: only a later start or an earlier finish moves the
    // limit (a NaN never does).
    void StartAtLeast(DATE date, tagScheduleData* source);
    void FinishAtMost(DATE date, tagScheduleData* source);
    // A link raises the drive by its kind whether or not it moved a limit.
    void Raise(Drive kind);
    // The direction handed to the profile. An undefined drive places
    // backward, as sdUndefined does; it is passed as that named value.
    tagSCHEDULEDIRECTION Direction() const;
};

// The dates of a scheduled task as its neighbours see them: the earliest
// dtStart and latest dtStop of its intervals; without intervals, (largest
// finite double, 0.0).
struct TaskSpan {
    DATE start;
    DATE finish;
};
TaskSpan SpanOf(const tagScheduleData& task);

// The task's own constraint (raw value): cnMSO, cnMFO, cnSNET and cnFAB set
// a limit with the task itself as its source; the others set none.
void ApplyOwnConstraint(tagScheduleData& task, DateBounds& bounds);

// What a scheduled predecessor, respectively successor, of the bounds' task
// imposes through a link of the given type (raw tagPRED_TYPE bits) and lag.
void ApplyPredecessorLink(DateBounds& bounds, tagScheduleData& predecessor, ULONG type, double lag);
void ApplySuccessorLink(DateBounds& bounds, tagScheduleData& successor, ULONG type, double lag);

}  // namespace ostrel
