#include "scheduler/date_bounds.h"

#include <limits>

#include "scheduler/task_state.h"

namespace ostrel {

void DateBounds::StartAtLeast(DATE date, tagScheduleData* source) {
    if (date > start) {
        start = date;
        startSource = source;
    }
}

void DateBounds::FinishAtMost(DATE date, tagScheduleData* source) {
    if (date < finish) {
        finish = date;
        finishSource = source;
    }
}

void DateBounds::Raise(Drive kind) {
    switch (drive) {
    case Drive::None:
        drive = kind;
        break;
    case Drive::Forward:
        if (kind == Drive::Backward) drive = Drive::Both;
        break;
    case Drive::Backward:
        if (kind == Drive::Forward) drive = Drive::Both;
        break;
    default:
        // Both stays both; an undefined drive stays undefined.
        break;
    }
}

tagSCHEDULEDIRECTION DateBounds::Direction() const {
    switch (drive) {
    case Drive::Forward: return sdForward;
    case Drive::Backward: return sdBackward;
    case Drive::Both: return sdBoth;
    default: return sdUndefined;
    }
}

TaskSpan SpanOf(const tagScheduleData& task) {
    TaskSpan span{std::numeric_limits<double>::max(), 0.0};
    if (!task.psi) return span;
    for (ULONG i = 0; i < task.dwIntervals; ++i) {
        // Ties take the later interval; with equal values that changes nothing.
        if (task.psi[i].dtStart <= span.start) span.start = task.psi[i].dtStart;
        if (task.psi[i].dtStop >= span.finish) span.finish = task.psi[i].dtStop;
    }
    return span;
}

void ApplyOwnConstraint(tagScheduleData& task, DateBounds& bounds) {
    switch (ConstraintOf(task)) {
    case cnMSO:
        bounds.start = task.dtConstraint;
        bounds.startSource = &task;
        bounds.drive = Drive::Forward;
        break;
    case cnMFO:
        bounds.finish = task.dtConstraint;
        bounds.finishSource = &task;
        bounds.drive = Drive::Backward;
        break;
    case cnSNET:
        if (task.dtConstraint > bounds.start) {
            bounds.start = task.dtConstraint;
            bounds.startSource = &task;
            bounds.drive = Drive::Forward;
        }
        break;
    case cnFAB:
        if (task.dtConstraint < bounds.finish) {
            bounds.finish = task.dtConstraint;
            bounds.finishSource = &task;
            bounds.drive = Drive::Backward;
        }
        break;
    default:
        break;
    }
}

namespace {

// A link of a type outside the four named ones imposes nothing; it only
// leaves a task that had no drive with an undefined one.
void NoRelation(DateBounds& bounds) {
    if (bounds.drive == Drive::None) bounds.drive = Drive::Undefined;
}

}  // namespace

// Deliberate: start-finish and finish-finish both end the successor before a
// date of its predecessor, and a task's own duration never enters a link.
void ApplyPredecessorLink(DateBounds& bounds, tagScheduleData& predecessor, ULONG type, double lag) {
    const TaskSpan span = SpanOf(predecessor);
    switch (type) {
    case ptFinishStart:
        bounds.StartAtLeast(span.finish + lag, &predecessor);
        bounds.Raise(Drive::Forward);
        break;
    case ptStartFinish:
        bounds.FinishAtMost(span.start - lag, &predecessor);
        bounds.Raise(Drive::Backward);
        break;
    case ptStartStart:
        bounds.StartAtLeast(span.start + lag, &predecessor);
        bounds.Raise(Drive::Forward);
        break;
    case ptFinishFinish:
        bounds.FinishAtMost(span.finish - lag, &predecessor);
        bounds.Raise(Drive::Backward);
        break;
    default:
        NoRelation(bounds);
        break;
    }
}

// Deliberate: seen from the successor, a start-start link limits the
// predecessor's finish, not its start.
void ApplySuccessorLink(DateBounds& bounds, tagScheduleData& successor, ULONG type, double lag) {
    const TaskSpan span = SpanOf(successor);
    switch (type) {
    case ptFinishStart:
    case ptStartStart:
        bounds.FinishAtMost(span.start - lag, &successor);
        bounds.Raise(Drive::Backward);
        break;
    case ptStartFinish:
    case ptFinishFinish:
        bounds.StartAtLeast(span.finish + lag, &successor);
        bounds.Raise(Drive::Forward);
        break;
    default:
        NoRelation(bounds);
        break;
    }
}

}  // namespace ostrel
