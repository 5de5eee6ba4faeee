#include "scheduler/schedule_events.h"

#include "scheduler/vo_scheduler.h"

namespace ostrel {

std::span<const InterfaceEntry<CVoScheduleEvents>> CVoScheduleEvents::InterfaceTable() {
    static const InterfaceEntry<CVoScheduleEvents> table[] = {
        Entry<CVoScheduleEvents, IVoScheduleEvents>(IID_IVoScheduleEvents)};
    return table;
}

STDMETHODIMP CVoScheduleEvents::GetAvailabilityProfile(ULONG dwIntervalFlags, VARIANT gk, IUnknown** ppUnk) {
    return scheduler_->FireGetAvailabilityProfile(dwIntervalFlags, gk, ppUnk);
}

STDMETHODIMP CVoScheduleEvents::Progress(LONG Done) { return scheduler_->FireProgress(Done); }

}  // namespace ostrel
