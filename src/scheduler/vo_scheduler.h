// VoScheduler, the component through which a host schedules: a shell over
// the engine, which it creates with itself and owns, and the one connection
// point through which the engine's events reach the host's sinks.
#pragma once
#include <memory>
#include <vector>

#include <Ostrel.h>

#include "component/com_object.h"
#include "component/dispatch.h"
#include "foundation/critical_section.h"
#include "scheduler/scheduler.h"

namespace ostrel {

class CVoScheduler;

// The counted pointer an enumerator record holds.
inline IUnknown* HeldUnknown(const CONNECTDATA& data) { return data.pUnk; }
inline IUnknown* HeldUnknown(IConnectionPoint* point) { return point; }

// Copy policy of the connection enumerators: every copy holds a reference of
// its own, so a record read from an enumerator outlives the enumerator.
template <class Item>
struct AddRefCopy {
    static HRESULT copy(Item* to, const Item* from) {
        *to = *from;
        if (IUnknown* held = HeldUnknown(*to)) held->AddRef();
        return S_OK;
    }
    static void init(Item* item) { *item = Item{}; }
    static void destroy(Item* item) {
        if (IUnknown* held = HeldUnknown(*item)) held->Release();
        *item = Item{};
    }
};

// The connection point for IVoScheduleEvents. It lives inside its scheduler
// and counts its references there, so a host holding the point keeps the
// scheduler alive; it answers only IUnknown and IConnectionPoint itself.
class CScheduleEventsPoint final : public IConnectionPoint {
public:
    explicit CScheduleEventsPoint(CVoScheduler& owner) noexcept : owner_(owner) {}
    // Releases the sinks still connected and those dropped by a failing
    // event: hosts that forget to disconnect do not leak their sinks.
    ~CScheduleEventsPoint();
    CScheduleEventsPoint(const CScheduleEventsPoint&) = delete;
    CScheduleEventsPoint& operator=(const CScheduleEventsPoint&) = delete;

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP GetConnectionInterface(IID* pIID) override;
    STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** ppCPC) override;
    STDMETHODIMP Advise(IUnknown* pUnkSink, DWORD* pdwCookie) override;
    STDMETHODIMP Unadvise(DWORD dwCookie) override;
    STDMETHODIMP EnumConnections(IEnumConnections** ppEnum) override;

    // Calls call(sink) for every connected sink in list order, under the
    // scheduler's lock; a sink whose call fails is dropped from the list.
    template <class Call>
    void Raise(Call&& call) noexcept;

private:
    struct Connection {
        IVoScheduleEvents* sink = nullptr;  // null: an empty entry, free for the next Advise
        DWORD cookie = 0;
    };

    DWORD CookieFor(IVoScheduleEvents* sink) const;

    CVoScheduler& owner_;
    std::vector<Connection> connections_;
    std::vector<IVoScheduleEvents*> dropped_;
};

class CVoScheduler final : public ComObject<CVoScheduler, Dispatch<IVoScheduler>, SupportErrorInfo<CVoScheduler>,
                                            IConnectionPointContainer> {
public:
    static std::span<const InterfaceEntry<CVoScheduler>> InterfaceTable();
    static const IID& ErrorInfoInterface() { return IID_IVoScheduler; }

    // The engine and the events object it raises events through; running
    // out of memory for either fails the creation with E_OUTOFMEMORY.
    CVoScheduler();
    ~CVoScheduler() override;

    STDMETHODIMP AddScheduleData(IUnknown* pData, IUnknown* pAvailability, DATE dtStart, DATE dtStop,
                                 ULONG* pdwCookie) override;
    STDMETHODIMP Run(ULONG* pdwSRFlags) override;
    STDMETHODIMP GetScheduleData(ULONG dwCookie, IUnknown** ppData) override;
    STDMETHODIMP GetScheduleMessages(IUnknown** ppvMessages) override;
    STDMETHODIMP Clear() override;
    STDMETHODIMP Reset() override;

    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** ppEnum) override;
    STDMETHODIMP FindConnectionPoint(REFIID riid, IConnectionPoint** ppCP) override;

    // Hand an event to every connected sink. Always S_OK: what the sinks
    // answer is theirs to decide, and a failing sink is dropped.
    HRESULT FireGetAvailabilityProfile(ULONG dwIntervalFlags, VARIANT gk, IUnknown** ppUnk) noexcept;
    HRESULT FireProgress(LONG done) noexcept;

    // The object's lock, held while the sink list is read or changed.
    CriticalSection& ObjectLock() { return lock_; }

private:
    template <class Body>
    HRESULT Guarded(Body&& body) noexcept;

    CriticalSection lock_;
    CScheduleEventsPoint point_;
    std::unique_ptr<TVoScheduler> engine_;
};

// The class table's creation function for VoScheduler.
HRESULT CreateVoScheduler(IUnknown* outer, REFIID riid, void** ppv);

}  // namespace ostrel
