// What a run keeps about each prepared task besides its record: the set it
// belongs to, its largest assignment and the links to its successors; and
// the index of prepared tasks by key.
#pragma once
#include <cstring>
#include <deque>
#include <map>
#include <vector>

#include <Ostrel.h>

#include "foundation/key_order.h"
#include "foundation/raw_enum.h"

namespace ostrel {

// A link from a task to one of its successors, as the successor's
// predecessor entry gave it: type (raw tagPRED_TYPE bits) and lag in
// calendar days.
struct SuccessorLink {
    tagScheduleData* task;
    ULONG type;
    double lag;
};

struct TaskState {
    tagScheduleData* task;     // the record whose dwInternal names this state
    ULONG setIndex;            // position of the task's set among the sets
    double largestAssignment;  // units; at least 0.0
    std::vector<SuccessorLink> successors;
    // The task each predecessor entry names, in entry order: the tasks whose
    // successor links name this one.
    std::vector<tagScheduleData*> predecessors;
    // A blocking search from this task found nothing, and nothing it could
    // reach has been given dates since (see TVoScheduler::BlockingTask).
    bool fruitless = false;
};

// The states of every prepared task, in preparation order. A record's
// dwInternal holds the position of its state: the field is 32-bit, so it
// cannot hold an address on every platform.
class TaskStates {
public:
    // A new state for task; its dwInternal is set to name it.
    TaskState& Add(tagScheduleData& task, ULONG setIndex);
    // The state task's dwInternal names, or null when it names none of this
    // task's (a record the run has not prepared keeps the host's value).
    TaskState* Of(const tagScheduleData& task);
    const TaskState* Of(const tagScheduleData& task) const;
    size_t Size() const { return states_.size(); }
    void Clear() { states_.clear(); }

private:
    // A deque never moves a state, so references held during a run stay.
    std::deque<TaskState> states_;
};

// Keys compared as every keyed index of the scheduler compares them; the
// compared key may be converted in place.
struct KeyIndexLess {
    bool operator()(task_key* a, task_key* b) const { return TaskKeyLess(*a, *b); }
};

// Every prepared task by its key; the first task entered under a key keeps it.
using KeyIndex = std::map<task_key*, tagScheduleData*, KeyIndexLess>;

// The constraint is compared signed, and hosts may store any 32 bits in it.
inline LONG ConstraintOf(const tagScheduleData& task) { return LONG(RawEnum(task.coConstraint)); }
inline void SetConstraint(tagScheduleData& task, LONG value) {
    std::memcpy(&task.coConstraint, &value, sizeof value);
}

// Status bits of a task's dwSRFlags.
inline bool IsScheduled(const tagScheduleData& task) { return task.dwSRFlags & srIsScheduled; }
inline bool HasFailed(const tagScheduleData& task) { return task.dwSRFlags & srFail; }

// A key value that names nothing: empty or null.
inline bool IsNone(const VARIANT& value) { return value.vt == VT_EMPTY || value.vt == VT_NULL; }

}  // namespace ostrel

namespace ostrel {

// A null array holds nothing, whatever its count says.
inline ULONG IntervalCount(const tagScheduleData& task) { return task.psi ? task.dwIntervals : 0; }
inline ULONG ResourceCount(const tagScheduleData& task) { return task.psr ? task.dwResources : 0; }
inline ULONG PredecessorCount(const tagScheduleData& task) { return task.psp ? task.dwPredecessors : 0; }

}  // namespace ostrel
