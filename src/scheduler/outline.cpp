#include "scheduler/outline.h"

#include "foundation/key_order.h"
#include "foundation/vo_error.h"
#include "scheduler/task_state.h"

namespace ostrel {

bool IsSummary(std::vector<tagScheduleData>& tasks, size_t i) {
    return i + 1 < tasks.size() && TaskKeyEqual(tasks[i + 1].tkParent, tasks[i].tkKey);
}

size_t DescendantCount(std::vector<tagScheduleData>& tasks, size_t i) {
    std::vector<task_key*> ancestors{&tasks[i].tkKey};
    size_t j = i + 1;
    for (; j < tasks.size(); ++j) {
        tagScheduleData& task = tasks[j];
        if (IsNone(task.tkParent.Value)) break;
        bool descends = false;
        for (task_key* key : ancestors)
            if (TaskKeyEqual(task.tkParent, *key)) {
                descends = true;
                break;
            }
        if (!descends) break;
        ancestors.push_back(&task.tkKey);
    }
    return j - i - 1;
}

size_t FindByKey(std::vector<tagScheduleData>& tasks, task_key& key) {
    for (size_t i = 0; i < tasks.size(); ++i)
        if (TaskKeyEqual(tasks[i].tkKey, key)) return i;
    throw EVoError(OLESTR("Key not found"));
}

}  // namespace ostrel
