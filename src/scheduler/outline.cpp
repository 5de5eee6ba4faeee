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

// A key as index text: its level, then its value. Text values end at their
// first NUL, as their comparison does.
std::u16string Packed(const task_key& key) {
    std::u16string packed(2, u'\0');
    packed[0] = char16_t(ULONG(key.Level) >> 16);
    packed[1] = char16_t(ULONG(key.Level) & 0xFFFF);
    if (key.Value.vt == VT_I4) {
        packed.push_back(char16_t(ULONG(key.Value.lVal) >> 16));
        packed.push_back(char16_t(ULONG(key.Value.lVal) & 0xFFFF));
    } else if (key.Value.bstrVal) {
        for (const OLECHAR* c = key.Value.bstrVal; *c; ++c) packed.push_back(char16_t(*c));
    }
    return packed;
}

}  // namespace

KeyFinder::KeyFinder(std::vector<tagScheduleData>& tasks) : tasks_(tasks) {
    if (tasks.empty()) return;
    const VARTYPE type = tasks.front().tkKey.Value.vt;
    if (type != VT_I4 && type != VT_BSTR) return;
    for (const tagScheduleData& task : tasks) {
        if (task.tkKey.Value.vt != type) return;
        if (!IsNone(task.tkParent.Value) && task.tkParent.Value.vt != type) return;
    }
    first_.reserve(tasks.size());
    for (size_t i = 0; i < tasks.size(); ++i) first_.emplace(Packed(tasks[i].tkKey), i);
    indexed_ = type;
}

size_t KeyFinder::Find(task_key& key) {
    if (indexed_ != VT_EMPTY && key.Value.vt == indexed_) {
        // A comparison with another set's keys may have converted a stored
        // key since it was indexed; the slow search then decides, and a key
        // that is missing fails the run once, so its search costs little.
        const auto found = first_.find(Packed(key));
        if (found != first_.end() && TaskKeyEqual(tasks_[found->second].tkKey, key)) return found->second;
    }
    return FindByKey(tasks_, key);
}

}  // namespace ostrel
