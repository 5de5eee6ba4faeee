#include "scheduler/task_state.h"

#include "foundation/hresult.h"

namespace ostrel {

TaskState& TaskStates::Add(tagScheduleData& task, ULONG setIndex) {
    // dwInternal holds 32 bits; the state count must stay below them.
    if (states_.size() >= 0xFFFFFFFFu) throw HRESULT(E_OUTOFMEMORY);
    task.dwInternal = ULONG(states_.size());
    return states_.emplace_back(TaskState{&task, setIndex, 0.0, {}, {}, false});
}

const TaskState* TaskStates::Of(const tagScheduleData& task) const {
    if (task.dwInternal >= states_.size()) return nullptr;
    const TaskState& state = states_[task.dwInternal];
    return state.task == &task ? &state : nullptr;
}

TaskState* TaskStates::Of(const tagScheduleData& task) {
    return const_cast<TaskState*>(static_cast<const TaskStates*>(this)->Of(task));
}

}  // namespace ostrel
