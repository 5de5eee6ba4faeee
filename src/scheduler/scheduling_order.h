// The order in which the run schedules its tasks: constraint, then priority,
// then constraint date (for the dated constraints), then largest assignment;
// equal tasks keep the order they were entered in.
#pragma once
#include <set>

#include <Ostrel.h>

#include "scheduler/task_state.h"

namespace ostrel {

class SchedulingOrderLess {
public:
    // The largest assignments come from states; a task without a state (not
    // prepared) counts as assigning nothing.
    explicit SchedulingOrderLess(const TaskStates* states) : states_(states) {}
    bool operator()(const tagScheduleData* a, const tagScheduleData* b) const;

private:
    double LargestAssignment(const tagScheduleData& task) const;
    const TaskStates* states_;
};

// A multiset puts a task after the equal ones already in it, which keeps
// equal tasks in preparation order.
using SchedulingOrder = std::multiset<tagScheduleData*, SchedulingOrderLess>;

}  // namespace ostrel
