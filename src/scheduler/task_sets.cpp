#include "scheduler/task_sets.h"

#include <algorithm>
#include <functional>

#include "foundation/hresult.h"
#include "foundation/vo_error.h"
#include "scheduler/schedule_records.h"

namespace ostrel {
namespace {

constexpr ULONG kChunk = 100;

// Records a call handed over but the set does not take; a zeroed record
// destroys to nothing.
void Drop(tagScheduleData* records, ULONG count) {
    for (ULONG i = 0; i < count; ++i) copy_t<tagScheduleData>::destroy(&records[i]);
}

}  // namespace

CTaskSet::CTaskSet(DATE start, DATE stop, InterfaceRef<IVoAvailability> profile)
    : start_(start), stop_(stop), profile_(std::move(profile)) {}

CTaskSet::~CTaskSet() {
    for (tagScheduleData& task : tasks_) copy_t<tagScheduleData>::destroy(&task);
}

void CTaskSet::ReadTasks(IEnumScheduleData& records) {
    tagScheduleData chunk[kChunk];
    for (;;) {
        for (tagScheduleData& record : chunk) copy_t<tagScheduleData>::init(&record);
        ULONG fetched = 0;
        const HRESULT hr = records.Next(kChunk, chunk, &fetched);
        // After a failure the records are the enumerator's business: it
        // undoes what it handed out.
        ThrowIfFailed(hr);
        const ULONG delivered = std::min(fetched, kChunk);
        if (hr != S_OK && hr != S_FALSE) {
            // An unknown success code ends the reading; what it delivered is
            // not taken, and freed rather than lost.
            Drop(chunk, delivered);
            return;
        }
        try {
            tasks_.insert(tasks_.end(), chunk, chunk + delivered);
        } catch (...) {
            Drop(chunk, delivered);
            throw;
        }
        // S_OK with fewer records than asked is taken at its word for the
        // count and, like S_FALSE, ends the reading: an enumerator that
        // answers S_OK without delivering would otherwise be read forever.
        if (hr == S_FALSE || delivered < kChunk) return;
    }
}

bool CTaskSet::Holds(const tagScheduleData* task) const {
    if (tasks_.empty()) return false;
    std::less<const tagScheduleData*> before;
    return !before(task, tasks_.data()) && before(task, tasks_.data() + tasks_.size());
}

bool CTaskSets::InUse(DWORD cookie) const {
    return std::any_of(sets_.begin(), sets_.end(), [&](const auto& set) { return set->cookie_ == cookie; });
}

DWORD CTaskSets::Add(std::unique_ptr<CTaskSet> set) {
    // Only after 2^32 sets does the count come round; it then passes over 0
    // and the cookies still held.
    do ++lastCookie_;
    while (lastCookie_ == 0 || InUse(lastCookie_));
    set->cookie_ = lastCookie_;
    sets_.push_back(std::move(set));
    return lastCookie_;
}

CTaskSet& CTaskSets::At(size_t index) const {
    if (index >= sets_.size()) throw EVoError(OLESTR("Index out of range"));
    return *sets_[index];
}

CTaskSet& CTaskSets::ByCookie(DWORD cookie) const {
    for (const auto& set : sets_)
        if (set->cookie_ == cookie) return *set;
    throw EVoError(OLESTR("Cookie not recognized"));
}

CTaskSet* CTaskSets::Holding(const tagScheduleData* task) const {
    for (const auto& set : sets_)
        if (set->Holds(task)) return set.get();
    return nullptr;
}

}  // namespace ostrel
