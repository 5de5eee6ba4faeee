// The outline of a task set: its records come in outline order, each summary
// task followed by all its descendants, and a task names its parent by key.
#pragma once
#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include <Ostrel.h>

namespace ostrel {

// Whether task i is a summary task: the next task names it as its parent.
// The last task never is.
bool IsSummary(std::vector<tagScheduleData>& tasks, size_t i);

// How many tasks right after task i descend from it.
size_t DescendantCount(std::vector<tagScheduleData>& tasks, size_t i);

// The index of the first task with the key; EVoError("Key not found") when
// there is none.
size_t FindByKey(std::vector<tagScheduleData>& tasks, task_key& key);

// FindByKey for every parent and predecessor of a set. When every key and
// parent of the set is a 32-bit integer, or every one is a text, an index
// answers at once; keys of mixed or other types are searched for one by one,
// since their equality converts between types in ways no index can follow.
class KeyFinder {
public:
    explicit KeyFinder(std::vector<tagScheduleData>& tasks);
    size_t Find(task_key& key);

private:
    std::vector<tagScheduleData>& tasks_;
    VARTYPE indexed_ = VT_EMPTY;  // the one type of every key, when indexed
    std::unordered_map<std::u16string, size_t> first_;  // packed key -> first index
};

}  // namespace ostrel
