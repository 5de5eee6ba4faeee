// The run: its events, the handler that turns every escaping failure into
// result flags and a message, and the passes it drives.

#include "foundation/hresult.h"
#include "foundation/message_loader.h"
#include "foundation/message_numbers.h"
#include "foundation/value_text.h"
#include "scheduler/outline.h"
#include "scheduler/scheduler.h"

namespace ostrel {
namespace {

// The description a failing call into another component left behind, as the
// insert of the unexpected-failure message; false when there is no such
// information or it has no description.
bool PendingErrorDescription(std::string& description, bool& hadInfo) {
    IErrorInfo* info = nullptr;
    hadInfo = GetErrorInfo(0, &info) == S_OK && info;
    if (!hadInfo) return false;
    BSTR text = nullptr;
    const bool described = SUCCEEDED(info->GetDescription(&text)) && text;
    if (described) description = Narrow(text, SysStringLen(text));
    SysFreeString(text);
    info->Release();
    return described;
}

}  // namespace

void TVoScheduler::Stop() { ResetEvent(running_); }

bool TVoScheduler::Running() const { return WaitForSingleObject(running_, 0) == WAIT_OBJECT_0; }

void TVoScheduler::Run() {
    SetEvent(running_);
    try {
        try {
            RunPasses();
        } catch (const EVoError& error) {
            resultFlags_ = srFail;
            AddMessage(nullptr, error.Message);
        } catch (HRESULT hr) {
            resultFlags_ = srFail;
            std::string description;
            bool hadInfo = false;
            if (PendingErrorDescription(description, hadInfo))
                AddMessage(nullptr, FormatVoMessage(VOMSG_UNEXPECTED_FAILURE, description.c_str()));
            else if (!hadInfo)
                AddMessage(nullptr, FormatVoMessage(DWORD(hr)));
        } catch (...) {
            resultFlags_ = srFail;
            AddMessage(nullptr, FormatVoMessage(VOMSG_UNEXPECTED_FAILURE, "Unhandled exception thrown in TVoScheduler"));
        }
    } catch (...) {
        // Even the failure could not be recorded (no memory for its message):
        // the flags still say the run failed.
        resultFlags_ = srFail;
    }
    if (!(resultFlags_ & srFail)) {
        resultFlags_ |= srIsScheduled;
        if (!messages_->Empty()) resultFlags_ |= srTasksFailed;
    }
    ResetEvent(running_);
    SetEvent(idle_);
}

void TVoScheduler::RunPasses() {
    PreparationPass();
    BuildSuccessorNetwork();
    SchedulingPass();
}

// Summary tasks are never prepared or scheduled: what they carry flows into
// their descendants.
void TVoScheduler::PreparationPass() {
    for (size_t s = 0; s < sets_.Size(); ++s) {
        std::vector<tagScheduleData>& tasks = sets_.At(s).Tasks();
        KeyFinder keys(tasks);
        for (size_t i = 0; i < tasks.size(); ++i) {
            // Deliberate spelling: hosts match this text.
            if (!Running()) throw EVoScheduleError(OLESTR("Scheduler stoped externally"));
            if (!IsSummary(tasks, i)) PrepareTask(ULONG(s), i, keys);
        }
    }
}

void TVoScheduler::BuildSuccessorNetwork() {
    for (tagScheduleData* task : order_) {
        for (ULONG p = 0; p < PredecessorCount(*task); ++p) {
            const tagSchedulePredecessor& entry = task->psp[p];
            tagScheduleData& predecessor = IndexedTask(task->psp[p].tkPred);
            if (&predecessor == task) {
                EVoScheduleError error(FormatVoMessage(VOMSG_CIRCULAR_RELATION, VarToW(task->tkKey.Value).c_str(),
                                                       VarToW(predecessor.tkKey.Value).c_str()));
                error.Code = VOMSG_CIRCULAR_RELATION;
                throw error;
            }
            StateOf(predecessor).successors.push_back(SuccessorLink{task, RawEnum(entry.ptType), entry.dblLag});
            StateOf(*task).predecessors.push_back(&predecessor);
        }
    }
}

// One task's failure does not end the pass: the task is marked scheduled and
// failed (so nothing takes it up again), its message is kept, and the pass
// goes on with the next task.
void TVoScheduler::SchedulingPass() {
    // Deferred tasks that keep deferring each other without ever placing one
    // would cycle for ever; more deferrals in a row than this many tasks
    // could need are taken for such a cycle.
    const size_t deferralsAllowed = 4 * taskStates_.Size() + 16;
    for (tagScheduleData* walked : order_) {
        if (!Running()) return;
        if (IsScheduled(*walked)) continue;
        tagScheduleData* current = walked;
        try {
            ScheduleOneTask(*walked);
            size_t deferrals = 0;
            while (!workQueue_.empty()) {
                current = workQueue_.front();
                workQueue_.pop_front();
                deferrals = ScheduleOneTask(*current) ? 0 : deferrals + 1;
                if (deferrals > deferralsAllowed) {
                    EVoScheduleError error(FormatVoMessage(VOMSG_CIRCULAR_RELATION, VarToW(current->tkKey.Value).c_str(),
                                                           VarToW(walked->tkKey.Value).c_str()));
                    error.Code = VOMSG_CIRCULAR_RELATION;
                    error.Task = current;
                    error.Severity = msError;
                    throw error;
                }
            }
        } catch (const EVoScheduleError& error) {
            resultFlags_ |= srTasksFailed;
            current->dwSRFlags = srIsScheduled | srFail;
            workQueue_.clear();
            AddMessage(error);
        }
    }
}

}  // namespace ostrel
