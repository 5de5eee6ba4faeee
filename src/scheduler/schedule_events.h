// CVoScheduleEvents, the engine's own IVoScheduleEvents: the engine raises
// every event through it, and it hands each one to the connection point of
// the VoScheduler object it was made for.
#pragma once
#include <Ostrel.h>

#include "component/com_object.h"

namespace ostrel {

class CVoScheduler;

class CVoScheduleEvents final : public ComObject<CVoScheduleEvents, IVoScheduleEvents> {
public:
    static std::span<const InterfaceEntry<CVoScheduleEvents>> InterfaceTable();

    // scheduler: a plain back reference. The engine holds the only reference
    // to this object and is destroyed with the scheduler, so this object
    // never outlives it; a counted reference would keep the scheduler alive
    // through its own engine.
    explicit CVoScheduleEvents(CVoScheduler* scheduler) noexcept : scheduler_(scheduler) {}

    STDMETHODIMP GetAvailabilityProfile(ULONG dwIntervalFlags, VARIANT gk, IUnknown** ppUnk) override;
    STDMETHODIMP Progress(LONG Done) override;

private:
    CVoScheduler* scheduler_;
};

}  // namespace ostrel
