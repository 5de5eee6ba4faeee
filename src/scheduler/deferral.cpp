// Scheduling one task: its limits from its constraint and its scheduled
// neighbours, and deferral when a neighbour it depends on has no dates yet.
// Deferral puts the blocking tasks in the work queue ahead of the task they
// block, so the pass gives them dates first.
#include <utility>

#include "foundation/hresult.h"
#include "foundation/message_loader.h"
#include "foundation/value_text.h"
#include "scheduler/scheduler.h"

namespace ostrel {
namespace {

// Start-driven tasks take their start from their own constraint; a successor
// of this kind can always be given dates, so a task waits for it.
bool IsStartDriven(const tagScheduleData& task) { return ConstraintOf(task) < cnSNLT; }

}  // namespace

TaskState& TVoScheduler::StateOf(const tagScheduleData& task) {
    TaskState* state = taskStates_.Of(task);
    // Every task the run links or schedules was prepared.
    if (!state) throw HRESULT(E_UNEXPECTED);
    return *state;
}

// Preparation resolved every predecessor key within its set; the index keeps
// the first task entered under a key.
tagScheduleData& TVoScheduler::IndexedTask(task_key& key) {
    const auto found = keyIndex_.find(&key);
    if (found == keyIndex_.end()) throw EVoError(OLESTR("Key not found"));
    return *found->second;
}

// The successor network looked every entry up in the key index, in entry
// order; the walks reuse what it found rather than searching again.
tagScheduleData& TVoScheduler::PredecessorOf(tagScheduleData& task, ULONG entry) {
    const std::vector<tagScheduleData*>& found = StateOf(task).predecessors;
    return entry < found.size() ? *found[entry] : IndexedTask(task.psp[entry].tkPred);
}

void TVoScheduler::Visit(tagScheduleData& task) {
    if (!visited_.insert(&task).second) {
        ECircularPredecessorRelation cycle(OLESTR(""));
        cycle.Task = &task;
        cycle.Severity = msError;
        throw cycle;
    }
}

bool TVoScheduler::ScheduleOneTask(tagScheduleData& task) {
    const CTaskSet& set = sets_.At(StateOf(task).setIndex);
    DateBounds bounds(set.Start(), set.Stop());
    const LONG constraint = ConstraintOf(task);
    if (constraint == cnDNL) {
        // The task keeps its dates; only its resources are taken.
        const TaskSpan span = SpanOf(task);
        Allocate(task, span.start, span.finish);
        MarkScheduled(task);
        return true;
    }
    if (constraint <= cnMFO) {
        // Fixed dates ignore every link. A value below the named ones lands
        // here too and sets no limit.
        ApplyOwnConstraint(task, bounds);
    } else {
        pending_.clear();
        if (MustDefer(task, bounds)) {
            workQueue_.insert(workQueue_.end(), pending_.begin(), pending_.end());
            pending_.clear();
            return false;
        }
        if (bounds.drive == Drive::None || bounds.drive == Drive::Both) bounds.drive = Drive::Forward;
    }
    PlaceIntervals(task, bounds);
    if (!HasFailed(task)) MarkScheduled(task);
    return true;
}

// A task given dates ends every blocking search that reaches it, so a search
// found fruitless before must be made again from every task that reaches it
// through unscheduled ones. By the link rules this cannot happen while such
// a task still waits (the newly scheduled task would itself have waited for
// its unscheduled predecessor on the way), but the marks are cleared all the
// same, so that they never rest on that argument. The tasks to clear are all
// marked (a search marks everything it passes), so the walk back stops at
// the first unmarked task and costs next to nothing.
void TVoScheduler::MarkScheduled(tagScheduleData& task) {
    task.dwSRFlags |= srIsScheduled;
    if (HasFailed(task)) return;
    std::vector<tagScheduleData*> stack{&task};
    while (!stack.empty()) {
        tagScheduleData* reached = stack.back();
        stack.pop_back();
        for (tagScheduleData* predecessor : StateOf(*reached).predecessors) {
            TaskState& state = StateOf(*predecessor);
            if (!state.fruitless) continue;
            state.fruitless = false;
            stack.push_back(predecessor);
        }
    }
}

bool TVoScheduler::MustDefer(tagScheduleData& task, DateBounds& bounds) {
    try {
        visited_.clear();
        bool successorLimits = false;
        // The successor links do not change while the pass runs.
        const std::vector<SuccessorLink>& successors = StateOf(task).successors;
        for (size_t i = 0; i < successors.size() && pending_.empty(); ++i) {
            tagScheduleData& successor = *successors[i].task;
            if (IsScheduled(successor)) {
                if (HasFailed(successor)) continue;
                ApplySuccessorLink(bounds, successor, successors[i].type, successors[i].lag);
                successorLimits = true;
            } else if (IsStartDriven(successor) || BlockingTask(successor)) {
                pending_.push_back(&successor);
                pending_.push_back(&task);
            }
        }
        if (!pending_.empty()) return true;
        if (IsStartDriven(task)) {
            ApplyOwnConstraint(task, bounds);
            successorLimits = true;
        }

        // Walk the predecessors; an unscheduled one (when nothing after the
        // task limits it) is queued and its own predecessors are walked
        // instead, so the queue ends with the task the chain starts from.
        visited_.clear();
        bool queued = false;
        tagScheduleData* walking = &task;
        for (ULONG p = 0; p < PredecessorCount(*walking);) {
            tagSchedulePredecessor& entry = walking->psp[p];
            tagScheduleData& predecessor = PredecessorOf(*walking, p);
            Visit(predecessor);
            if (IsScheduled(predecessor)) {
                // Deliberate: a failed predecessor is met again on the same
                // entry, so its successors fail as if linked in a cycle.
                if (HasFailed(predecessor)) continue;
                ApplyPredecessorLink(bounds, predecessor, RawEnum(entry.ptType), entry.dblLag);
                ++p;
            } else if (successorLimits) {
                ++p;
            } else {
                if (!queued) workQueue_.push_back(&task);
                queued = true;
                workQueue_.push_back(&predecessor);
                walking = &predecessor;
                p = 0;
            }
        }
        return queued;
    } catch (const ECircularPredecessorRelation& cycle) {
        EVoScheduleError error(FormatVoMessage(VOMSG_CIRCULAR_RELATION, VarToW(task.tkKey.Value).c_str(),
                                               VarToW(cycle.Task->tkKey.Value).c_str()));
        error.Code = VOMSG_CIRCULAR_RELATION;
        error.Task = &task;
        error.Severity = msError;
        throw error;
    }
}

// Whether an unscheduled successor that is not start-driven can be given
// dates soon: the first task after it (depth first) that is scheduled or
// start-driven. The tasks on the way to a start-driven one are appended to
// the pending list, deepest first. Written with its own stack so that a long
// chain cannot exhaust the thread's.
//
// A task searched in vain is marked and not searched again until a task it
// reaches is given dates (MarkScheduled). The answer cannot have changed
// meanwhile, and a cycle through it would have been met the first time.
// Without the mark, tasks linked in many layers would be searched once per
// path, exponentially often, and every task of a long chain would search the
// rest of the chain again: quadratic in the chain's length.
tagScheduleData* TVoScheduler::BlockingTask(tagScheduleData& from) {
    if (StateOf(from).fruitless) return nullptr;
    std::vector<std::pair<tagScheduleData*, size_t>> stack;
    Visit(from);
    stack.emplace_back(&from, 0);
    tagScheduleData* result = nullptr;
    while (!stack.empty()) {
        tagScheduleData* searched = stack.back().first;
        size_t& next = stack.back().second;
        const std::vector<SuccessorLink>& links = StateOf(*searched).successors;
        tagScheduleData* deeper = nullptr;
        while (!result && !deeper && next < links.size() && pending_.empty()) {
            tagScheduleData& successor = *links[next++].task;
            if (!IsScheduled(successor)) {
                if (IsStartDriven(successor)) {
                    pending_.push_back(&successor);
                    result = &successor;
                } else if (!StateOf(successor).successors.empty() && !StateOf(successor).fruitless) {
                    deeper = &successor;
                }
            } else if (!HasFailed(successor)) {
                result = &successor;
            }
        }
        if (deeper) {
            Visit(*deeper);
            stack.emplace_back(deeper, 0);
            continue;
        }
        visited_.erase(searched);
        if (!result) StateOf(*searched).fruitless = true;
        stack.pop_back();
        // The search a level up appends the task it searched from.
        if (result && !stack.empty()) pending_.push_back(searched);
    }
    return result;
}

}  // namespace ostrel
