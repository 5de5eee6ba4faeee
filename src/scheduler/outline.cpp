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

namespace {

unsigned long long Packed(LONG level, LONG value) {
    return (static_cast<unsigned long long>(static_cast<ULONG>(level)) << 32) | static_cast<ULONG>(value);
}

}  // namespace

KeyFinder::KeyFinder(std::vector<tagScheduleData>& tasks) : tasks_(tasks) {
    for (const tagScheduleData& task : tasks) {
        if (task.tkKey.Value.vt != VT_I4) return;
        if (!IsNone(task.tkParent.Value) && task.tkParent.Value.vt != VT_I4) return;
    }
    first_.reserve(tasks.size());
    for (size_t i = 0; i < tasks.size(); ++i) first_.emplace(Packed(tasks[i].tkKey.Level, tasks[i].tkKey.Value.lVal), i);
    indexed_ = true;
}

size_t KeyFinder::Find(task_key& key) {
    if (indexed_ && key.Value.vt == VT_I4) {
        const auto found = first_.find(Packed(key.Level, key.Value.lVal));
        if (found == first_.end()) throw EVoError(OLESTR("Key not found"));
        // A comparison elsewhere may have converted the stored key since;
        // the slow search then decides.
        if (TaskKeyEqual(tasks_[found->second].tkKey, key)) return found->second;
    }
    return FindByKey(tasks_, key);
}

}  // namespace ostrel
