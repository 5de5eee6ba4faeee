#include "scheduler/scheduling_order.h"

namespace ostrel {

double SchedulingOrderLess::LargestAssignment(const tagScheduleData& task) const {
    const TaskState* state = states_ ? states_->Of(task) : nullptr;
    return state ? state->largestAssignment : 0.0;
}

bool SchedulingOrderLess::operator()(const tagScheduleData* a, const tagScheduleData* b) const {
    const LONG ca = ConstraintOf(*a);
    const LONG cb = ConstraintOf(*b);
    if (ca != cb) return ca < cb;
    if (a->dwPriority != b->dwPriority) return a->dwPriority < b->dwPriority;
    if (ca < cnASAP) {
        // Written as two tests so that a NaN date falls through to the
        // assignment test instead of making the order inconsistent.
        if (a->dtConstraint < b->dtConstraint) return true;
        if (b->dtConstraint < a->dtConstraint) return false;
    }
    return LargestAssignment(*a) < LargestAssignment(*b);
}

}  // namespace ostrel
