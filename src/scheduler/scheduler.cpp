#include "scheduler/scheduler.h"

#include <stdexcept>

#include "foundation/hresult.h"
#include "foundation/message_numbers.h"
#include "scheduler/default_calendar.h"
#include "scheduler/schedule_enums.h"
#include "foundation/empty_variant.h"

namespace ostrel {
namespace {

InterfaceRef<IVoAvailability> NewReference(IVoAvailability* profile) {
    profile->AddRef();
    return InterfaceRef<IVoAvailability>(profile);
}

UINT Length(const WString& text) { return UINT(text.size()); }

}  // namespace

TVoScheduler::TVoScheduler(IVoScheduleEvents* events, CalendarFactory makeCalendar)
    : makeCalendar_(makeCalendar ? std::move(makeCalendar) : CalendarFactory(MakeDefaultCalendar)),
      messages_(std::make_shared<MessageList>()) {
    running_ = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    idle_ = CreateEventA(nullptr, TRUE, TRUE, nullptr);
    if (!running_ || !idle_) {
        if (running_) CloseHandle(running_);
        if (idle_) CloseHandle(idle_);
        throw HRESULT(E_OUTOFMEMORY);
    }
    if (events) {
        events->AddRef();
        *events_.Out() = events;
    }
}

// Message enumerators still out keep the list itself; they see it emptied.
TVoScheduler::~TVoScheduler() {
    messages_->Clear();
    CloseHandle(running_);
    CloseHandle(idle_);
}

DWORD TVoScheduler::AddScheduleData(IEnumScheduleData* records, IVoAvailability* profile, DATE start, DATE stop) {
    // Written so that a NaN date is refused too.
    if (!(stop > start)) throw EVoError(VOMSG_SCHEDULE_RANGE_EMPTY);
    auto set = std::make_unique<CTaskSet>(start, stop, profile ? NewReference(profile) : DefaultCalendar());
    // Deliberate: a missing enumerator is not one of the failures the
    // interface names; the caller sees RPC_E_SERVERFAULT, as for any fault
    // nobody expected.
    if (!records) throw std::invalid_argument("AddScheduleData without task records");
    set->ReadTasks(*records);
    return sets_.Add(std::move(set));
}

InterfaceRef<IVoAvailability> TVoScheduler::DefaultCalendar() {
    if (!defaultCalendar_) {
        *defaultCalendar_.Out() = makeCalendar_().Detach();
        if (!defaultCalendar_) throw HRESULT(E_POINTER);
    }
    return NewReference(defaultCalendar_.Get());
}

void TVoScheduler::AddMessage(const tagScheduleData* task, const WString& text) {
    CScheduleMessage& message = messages_->Append();
    try {
        message.SetMessage(text.c_str(), Length(text));
        if (task) {
            message.tk.Level = task->tkKey.Level;
            ThrowIfFailed(CopyVariant(&message.tk.Value, &task->tkKey.Value));
            // A prepared task names its set by index; a record the run has
            // not prepared is looked for among the sets.
            const TaskState* state = taskStates_.Of(*task);
            const CTaskSet* set = state ? &sets_.At(state->setIndex) : sets_.Holding(task);
            message.dwCookie = set ? set->Cookie() : 0;
            message.Severity = msError;
        }
    } catch (...) {
        messages_->DropLast();
        throw;
    }
}

void TVoScheduler::AddMessage(const EVoScheduleError& error) {
    AddMessage(error.Task, error.Message);
    CScheduleMessage& message = messages_->Last();
    message.Severity = MESSAGE_SEVERITY(error.Severity);
    try {
        message.SetLongMessage(error.LongMessage.c_str(), Length(error.LongMessage));
    } catch (...) {
        messages_->DropLast();
        throw;
    }
}

void TVoScheduler::GetScheduleData(DWORD cookie, IUnknown** ppData) {
    if (!ppData) throw HRESULT(E_POINTER);
    *ppData = nullptr;
    SetByCookie(cookie);
    // Every changed record of every set, whichever set the cookie names; a
    // task the order holds twice (two runs without Reset) comes twice.
    std::vector<const tagScheduleData*> changed;
    for (const tagScheduleData* task : order_)
        if (task->dwSRFlags & srDataChanged) changed.push_back(task);
    *ppData = NewScheduleDataEnum(changed);
}

void TVoScheduler::GetScheduleMessages(IUnknown** ppvMessages) {
    if (!ppvMessages) throw HRESULT(E_POINTER);
    *ppvMessages = nullptr;
    *ppvMessages = NewScheduleMessageEnum(messages_);
}

void TVoScheduler::DropRunState() {
    order_.clear();
    keyIndex_.clear();
    taskStates_.Clear();
    workQueue_.clear();
    pending_.clear();
    visited_.clear();
    defaultCalendar_.Reset();
    messages_->Clear();
}

void TVoScheduler::Clear() {
    resultFlags_ = 0;
    sets_.Clear();
    resources_.Clear();
    DropRunState();
}

void TVoScheduler::Reset() {
    resultFlags_ = 0;
    const HRESULT emptied = resources_.ClearActualProfiles();
    sets_.Clear();
    DropRunState();
    ThrowIfFailed(emptied);
}

}  // namespace ostrel
