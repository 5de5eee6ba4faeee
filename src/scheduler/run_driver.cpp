// The run: its events, the handler that turns every escaping failure into
// result flags and a message, and the passes it drives.

#include "foundation/hresult.h"
#include "foundation/message_loader.h"
#include "foundation/message_numbers.h"
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
    for (const auto& set : sets_) {
        const auto& tasks = set->Tasks();
        for (size_t i = 0; i < tasks.size(); ++i) {
            // Deliberate spelling: hosts match this text.
            if (!Running()) throw EVoScheduleError(OLESTR("Scheduler stoped externally"));
        }
    }
}

}  // namespace ostrel
