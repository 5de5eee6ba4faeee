// Preparing a task for the run: what its summary ancestors carry flows down
// into it, constraint dates it cannot honour are dropped, its resources get
// their profiles, and links to summary tasks become links to their leaves.
#include <cmath>
#include <cstring>
#include <vector>

#include "foundation/hresult.h"
#include "foundation/key_order.h"
#include "foundation/message_loader.h"
#include "foundation/value_text.h"
#include "scheduler/outline.h"
#include "scheduler/scheduler.h"
#include "foundation/empty_variant.h"

namespace ostrel {
namespace {

// The parent a task names, found by key in its set; none for a top-level
// task.
tagScheduleData* ParentOf(std::vector<tagScheduleData>& tasks, KeyFinder& keys, tagScheduleData& task) {
    if (IsNone(task.tkParent.Value)) return nullptr;
    return &tasks[keys.Find(task.tkParent)];
}

// Grows a task-memory array by one zeroed entry.
template <class Item>
Item& AppendZeroed(Item*& items, ULONG& count, ULONG used) {
    void* grown = CoTaskMemRealloc(items, (size_t(used) + 1) * sizeof(Item));
    if (!grown) throw HRESULT(E_OUTOFMEMORY);
    items = static_cast<Item*>(grown);
    count = used + 1;
    std::memset(static_cast<void*>(&items[used]), 0, sizeof(Item));
    return items[used];
}

// Predecessor entries being built; their key values are freed unless they
// were handed over.
struct PredecessorEntries {
    std::vector<tagSchedulePredecessor> entries;
    ~PredecessorEntries() {
        for (auto& entry : entries) VariantClear(&entry.tkPred.Value);
    }
    void Append(const task_key& key, const tagSchedulePredecessor& like) {
        tagSchedulePredecessor& entry = entries.emplace_back();
        std::memset(static_cast<void*>(&entry), 0, sizeof entry);
        entry.tkPred.Level = key.Level;
        std::memcpy(&entry.ptType, &like.ptType, sizeof entry.ptType);
        entry.dblLag = like.dblLag;
        ThrowIfFailed(CopyVariant(&entry.tkPred.Value, &key.Value));
    }
};

}  // namespace

void TVoScheduler::PrepareTask(ULONG setIndex, size_t index, KeyFinder& keys) {
    CTaskSet& set = sets_.At(setIndex);
    std::vector<tagScheduleData>& tasks = set.Tasks();
    tagScheduleData& task = tasks[index];
    TaskState& state = taskStates_.Add(task, setIndex);

    // Parents are found by key, so a set can name them in a circle; a chain
    // longer than the set has tasks is one.
    size_t steps = 0;
    for (tagScheduleData* ancestor = ParentOf(tasks, keys, task); ancestor;
         ancestor = ParentOf(tasks, keys, *ancestor)) {
        if (++steps > tasks.size()) {
            EVoScheduleError error(FormatVoMessage(VOMSG_CIRCULAR_RELATION, VarToW(task.tkKey.Value).c_str(),
                                                   VarToW(ancestor->tkKey.Value).c_str()));
            error.Code = VOMSG_CIRCULAR_RELATION;
            throw error;
        }
        InheritFromAncestor(task, *ancestor);
    }
    CheckConstraintDate(task, set);
    state.largestAssignment = CheckResources(task);
    ExpandPredecessors(task, set, keys);

    keyIndex_.emplace(&task.tkKey, &task);
    EnterInSchedulingOrder(task);
}

// A nearer ancestor is merged before a farther one; the smallest constraint
// value and the smallest priority number along the chain win.
void TVoScheduler::InheritFromAncestor(tagScheduleData& task, tagScheduleData& ancestor) {
    for (ULONG r = 0; r < ResourceCount(ancestor); ++r) {
        tagScheduleResource& inherited = ancestor.psr[r];
        bool duplicate = false;
        for (ULONG own = 0; own < ResourceCount(task) && !duplicate; ++own)
            duplicate = VariantEqual(inherited.rkResource, task.psr[own].rkResource);
        if (duplicate) {
            AddMessage(&task, FormatVoMessage(VOMSG_DUPLICATE_INHERITED_RESOURCE, VarToW(task.tkKey.Value).c_str(),
                                              VarToW(inherited.rkResource).c_str()));
            continue;
        }
        tagScheduleResource& entry = AppendZeroed(task.psr, task.dwResources, ResourceCount(task));
        entry.dblAssigned = inherited.dblAssigned;
        ThrowIfFailed(CopyVariant(&entry.rkResource, &inherited.rkResource));
    }
    for (ULONG p = 0; p < PredecessorCount(ancestor); ++p) {
        tagSchedulePredecessor& inherited = ancestor.psp[p];
        bool duplicate = false;
        for (ULONG own = 0; own < PredecessorCount(task) && !duplicate; ++own)
            duplicate = TaskKeyEqual(inherited.tkPred, task.psp[own].tkPred);
        if (duplicate) {
            // The predecessor's key comes first in this message.
            AddMessage(&task, FormatVoMessage(VOMSG_DUPLICATE_INHERITED_PREDECESSOR,
                                              VarToW(inherited.tkPred.Value).c_str(), VarToW(task.tkKey.Value).c_str()));
            continue;
        }
        tagSchedulePredecessor& entry = AppendZeroed(task.psp, task.dwPredecessors, PredecessorCount(task));
        entry.tkPred.Level = inherited.tkPred.Level;
        std::memcpy(&entry.ptType, &inherited.ptType, sizeof entry.ptType);
        entry.dblLag = inherited.dblLag;
        ThrowIfFailed(CopyVariant(&entry.tkPred.Value, &inherited.tkPred.Value));
    }
    if (ConstraintOf(ancestor) < ConstraintOf(task)) {
        SetConstraint(task, ConstraintOf(ancestor));
        task.dtConstraint = ancestor.dtConstraint;
    }
    if (ancestor.dwPriority < task.dwPriority) task.dwPriority = ancestor.dwPriority;
}

// Only the dated constraints are checked; a date equal to either end of the
// set's range is accepted. The date itself is kept.
void TVoScheduler::CheckConstraintDate(tagScheduleData& task, const CTaskSet& set) {
    const LONG constraint = ConstraintOf(task);
    if (constraint < cnMSO || constraint > cnFNLT) return;
    // A date that is not a number is as good as none; left open by the
    // design, refused here as a careful host would expect.
    if (task.dtConstraint == 0.0 || std::isnan(task.dtConstraint))
        AddMessage(&task, FormatVoMessage(VOMSG_CONSTRAINT_DATE_MISSING, VarToW(task.tkKey.Value).c_str()));
    else if (task.dtConstraint < set.Start())
        AddMessage(&task, FormatVoMessage(VOMSG_CONSTRAINT_BEFORE_RANGE));
    else if (task.dtConstraint > set.Stop())
        AddMessage(&task, FormatVoMessage(VOMSG_CONSTRAINT_AFTER_RANGE));
    else
        return;
    SetConstraint(task, cnASAP);
}

double TVoScheduler::CheckResources(tagScheduleData& task) {
    double largest = 0.0;
    for (ULONG r = 0; r < ResourceCount(task); ++r) {
        const tagScheduleResource& entry = task.psr[r];
        if (IsNone(entry.rkResource))
            throw EVoScheduleError(OLESTR("Task can't be scheduled because resourcekey is empty"));
        EnsureResourceProfiles(entry.rkResource);
        if (!(entry.dblAssigned < largest)) largest = entry.dblAssigned;
    }
    return largest;
}

// Predecessors must lie in the task's own set.
void TVoScheduler::ExpandPredecessors(tagScheduleData& task, CTaskSet& set, KeyFinder& keys) {
    std::vector<tagScheduleData>& tasks = set.Tasks();
    PredecessorEntries expanded;
    for (ULONG p = 0; p < PredecessorCount(task); ++p) {
        tagSchedulePredecessor& entry = task.psp[p];
        const size_t found = keys.Find(entry.tkPred);
        const size_t last = found + DescendantCount(tasks, found);
        for (size_t j = found; j <= last; ++j)
            if (!IsSummary(tasks, j)) expanded.Append(tasks[j].tkKey, entry);
    }
    for (ULONG p = 0; p < PredecessorCount(task); ++p) ThrowIfFailed(VariantClear(&task.psp[p].tkPred.Value));
    const size_t count = expanded.entries.size();
    if (count == 0) {
        CoTaskMemFree(task.psp);
        task.psp = nullptr;
        task.dwPredecessors = 0;
        return;
    }
    if (count > 0xFFFFFFFFu / sizeof(tagSchedulePredecessor)) throw HRESULT(E_OUTOFMEMORY);
    void* grown = CoTaskMemRealloc(task.psp, count * sizeof(tagSchedulePredecessor));
    if (!grown) {
        // The old entries' values are already cleared; keep the array
        // consistent with them.
        task.dwPredecessors = 0;
        throw HRESULT(E_OUTOFMEMORY);
    }
    task.psp = static_cast<tagSchedulePredecessor*>(grown);
    // The values move into the record's array; nothing is left to free.
    std::memcpy(static_cast<void*>(task.psp), expanded.entries.data(), count * sizeof(tagSchedulePredecessor));
    task.dwPredecessors = ULONG(count);
    expanded.entries.clear();
}

}  // namespace ostrel
