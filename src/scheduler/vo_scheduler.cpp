#include "scheduler/vo_scheduler.h"

#include <cstdint>
#include <new>

#include "component/copying_enum.h"
#include "component/interface_ref.h"
#include "foundation/boundary.h"
#include "foundation/hresult.h"
#include "scheduler/schedule_events.h"

namespace ostrel {
namespace {

using ConnectionEnum =
    CopyingEnum<IEnumConnections, &IID_IEnumConnections, CONNECTDATA, AddRefCopy<CONNECTDATA>>;
using ConnectionPointEnum =
    CopyingEnum<IEnumConnectionPoints, &IID_IEnumConnectionPoints, IConnectionPoint*, AddRefCopy<IConnectionPoint*>>;

// An enumerator over items, each already holding its own reference; the
// enumerator takes them over. An empty list still gets an array, so that its
// enumerator answers S_FALSE rather than E_FAIL.
template <class Enum, class Item>
HRESULT HandOut(std::vector<Item>& items, Enum** out) {
    Enum* e = Enum::New();
    std::unique_ptr<Item[]> array(new (std::nothrow) Item[items.empty() ? 1 : items.size()]());
    if (!e || !array) {
        if (e) e->Release();
        for (Item& item : items) AddRefCopy<Item>::destroy(&item);
        return E_OUTOFMEMORY;
    }
    for (size_t i = 0; i < items.size(); ++i) array[i] = items[i];
    e->Init(std::move(array), ULONG(items.size()));
    *out = e;
    return S_OK;
}

// The interface from, when it offers one; null otherwise. A host's object
// that is absent or of the wrong kind is the engine's to judge.
template <class Itf>
InterfaceRef<Itf> QueryIfOffered(IUnknown* from, REFIID iid) {
    InterfaceRef<Itf> out;
    void* p = nullptr;
    if (from && SUCCEEDED(from->QueryInterface(iid, &p))) *out.Out() = static_cast<Itf*>(p);
    return out;
}

}  // namespace

// The connection point.

CScheduleEventsPoint::~CScheduleEventsPoint() {
    for (const Connection& connection : connections_)
        if (connection.sink) connection.sink->Release();
    for (IVoScheduleEvents* sink : dropped_) sink->Release();
}

STDMETHODIMP CScheduleEventsPoint::QueryInterface(REFIID riid, void** ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (!IsEqualGUID(riid, IID_IUnknown) && !IsEqualGUID(riid, IID_IConnectionPoint)) return E_NOINTERFACE;
    *ppv = static_cast<IConnectionPoint*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) CScheduleEventsPoint::AddRef() { return owner_.AddRef(); }
STDMETHODIMP_(ULONG) CScheduleEventsPoint::Release() { return owner_.Release(); }

STDMETHODIMP CScheduleEventsPoint::GetConnectionInterface(IID* pIID) {
    if (!pIID) return E_POINTER;
    *pIID = IID_IVoScheduleEvents;
    return S_OK;
}

STDMETHODIMP CScheduleEventsPoint::GetConnectionPointContainer(IConnectionPointContainer** ppCPC) {
    if (!ppCPC) return E_POINTER;
    *ppCPC = &owner_;
    owner_.AddRef();
    return S_OK;
}

DWORD CScheduleEventsPoint::CookieFor(IVoScheduleEvents* sink) const {
    // The cookie is the sink's address. Where an address is wider than a
    // cookie two sinks could share its low bits; the later one then moves
    // on to a value no other sink holds, so every cookie finds its own sink.
    DWORD cookie = DWORD(reinterpret_cast<std::uintptr_t>(sink));
    auto takenByOther = [&](DWORD value) {
        for (const Connection& connection : connections_)
            if (connection.sink && connection.sink != sink && connection.cookie == value) return true;
        return false;
    };
    while (cookie == 0 || takenByOther(cookie)) ++cookie;
    return cookie;
}

STDMETHODIMP CScheduleEventsPoint::Advise(IUnknown* pUnkSink, DWORD* pdwCookie) {
    if (!pdwCookie) return E_POINTER;
    *pdwCookie = 0;
    if (!pUnkSink) return E_POINTER;
    void* queried = nullptr;
    if (FAILED(pUnkSink->QueryInterface(IID_IVoScheduleEvents, &queried)) || !queried)
        return CONNECT_E_CANNOTCONNECT;
    auto* sink = static_cast<IVoScheduleEvents*>(queried);

    CriticalSectionLock hold(owner_.ObjectLock());
    size_t free = 0;
    while (free < connections_.size() && connections_[free].sink) ++free;
    if (free == connections_.size()) {
        try {
            connections_.resize(connections_.empty() ? 1 : connections_.size() * 2);
        } catch (const std::bad_alloc&) {
            sink->Release();
            return CONNECT_E_ADVISELIMIT;
        }
    }
    const DWORD cookie = CookieFor(sink);
    connections_[free] = {sink, cookie};
    *pdwCookie = cookie;
    return S_OK;
}

STDMETHODIMP CScheduleEventsPoint::Unadvise(DWORD dwCookie) {
    IVoScheduleEvents* sink = nullptr;
    {
        CriticalSectionLock hold(owner_.ObjectLock());
        for (Connection& connection : connections_) {
            if (connection.sink && connection.cookie == dwCookie) {
                sink = connection.sink;
                connection = {};
                break;
            }
        }
    }
    if (!sink) return CONNECT_E_NOCONNECTION;
    // Outside the lock: the sink's last release may run host code.
    sink->Release();
    return S_OK;
}

STDMETHODIMP CScheduleEventsPoint::EnumConnections(IEnumConnections** ppEnum) {
    if (!ppEnum) return E_POINTER;
    *ppEnum = nullptr;
    std::vector<CONNECTDATA> connected;
    {
        CriticalSectionLock hold(owner_.ObjectLock());
        try {
            for (const Connection& connection : connections_) {
                if (!connection.sink) continue;
                connected.push_back({connection.sink, connection.cookie});
                connection.sink->AddRef();
            }
        } catch (const std::bad_alloc&) {
            for (CONNECTDATA& data : connected) AddRefCopy<CONNECTDATA>::destroy(&data);
            return E_OUTOFMEMORY;
        }
    }
    ConnectionEnum* e = nullptr;
    HRESULT hr = HandOut(connected, &e);
    if (SUCCEEDED(hr)) *ppEnum = e;
    return hr;
}

template <class Call>
void CScheduleEventsPoint::Raise(Call&& call) noexcept {
    CriticalSectionLock hold(owner_.ObjectLock());
    try {
        // By index and re-read each time: a sink may connect or disconnect
        // sinks from inside its event (the lock is re-entrant).
        for (size_t i = 0; i < connections_.size(); ++i) {
            IVoScheduleEvents* sink = connections_[i].sink;
            if (!sink) continue;
            sink->AddRef();  // a sink that disconnects itself mid-call stays alive until it returns
            InterfaceRef<IVoScheduleEvents> keep(sink);
            if (SUCCEEDED(call(sink))) continue;
            if (i < connections_.size() && connections_[i].sink == sink) {
                // Deliberate: dropped without a release; the reference is given back when the scheduler goes.
                dropped_.push_back(sink);
                connections_[i] = {};
            }
        }
    } catch (...) {
        // The engine sees S_OK whatever happened among the sinks.
    }
}

// The scheduler.

std::span<const InterfaceEntry<CVoScheduler>> CVoScheduler::InterfaceTable() {
    // Deliberate: no IDispatch entry, although IVoScheduler is dual and late-bound calls work through it.
    static const InterfaceEntry<CVoScheduler> table[] = {
        Entry<CVoScheduler, IVoScheduler>(IID_IVoScheduler),
        Entry<CVoScheduler, ISupportErrorInfo>(IID_ISupportErrorInfo),
        Entry<CVoScheduler, IConnectionPointContainer>(IID_IConnectionPointContainer),
    };
    return table;
}

CVoScheduler::CVoScheduler() : point_(*this) {
    // The engine keeps the only reference to the events object.
    InterfaceRef<IVoScheduleEvents> events(CVoScheduleEvents::New(this));
    if (!events) throw std::bad_alloc();
    // The engine's events are the only other thing it can run out of; the
    // creation reports every shortage the same way, as E_OUTOFMEMORY.
    try {
        engine_ = std::make_unique<TVoScheduler>(events.Get());
    } catch (...) {
        throw std::bad_alloc();
    }
}

CVoScheduler::~CVoScheduler() {
    // Emptied as by Clear before it goes, so every profile it holds is
    // released while the object is still whole. Nobody is left to tell of
    // a failure at the final release.
    try {
        engine_->Clear();
    } catch (...) {
    }
    engine_.reset();
}

template <class Body>
HRESULT CVoScheduler::Guarded(Body&& body) noexcept {
    return Boundary(CLSID_VoScheduler, std::forward<Body>(body));
}

STDMETHODIMP CVoScheduler::AddScheduleData(IUnknown* pData, IUnknown* pAvailability, DATE dtStart, DATE dtStop,
                                           ULONG* pdwCookie) {
    return Guarded([&] {
        // Refused before the intake, so that no set is stored whose cookie
        // the host could never learn.
        if (!pdwCookie) throw HRESULT(E_POINTER);
        *pdwCookie = 0;
        auto records = QueryIfOffered<IEnumScheduleData>(pData, IID_IEnumScheduleData);
        auto profile = QueryIfOffered<IVoAvailability>(pAvailability, IID_IVoAvailability);
        *pdwCookie = engine_->AddScheduleData(records.Get(), profile.Get(), dtStart, dtStop);
    });
}

STDMETHODIMP CVoScheduler::Run(ULONG* pdwSRFlags) {
    return Guarded([&] {
        // The run reports its own failures through the flags and messages; a
        // missing out-pointer is refused before running instead of being
        // written through.
        if (!pdwSRFlags) throw HRESULT(E_POINTER);
        *pdwSRFlags = 0;
        engine_->Run();
        *pdwSRFlags = engine_->ResultFlags();
    });
}

STDMETHODIMP CVoScheduler::GetScheduleData(ULONG dwCookie, IUnknown** ppData) {
    return Guarded([&] {
        if (!ppData) throw HRESULT(E_POINTER);
        *ppData = nullptr;
        InterfaceRef<IUnknown> data;
        engine_->GetScheduleData(dwCookie, data.Out());
        ThrowIfFailed(data->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(ppData)));
    });
}

STDMETHODIMP CVoScheduler::GetScheduleMessages(IUnknown** ppvMessages) {
    return Guarded([&] {
        if (!ppvMessages) throw HRESULT(E_POINTER);
        *ppvMessages = nullptr;
        InterfaceRef<IUnknown> messages;
        engine_->GetScheduleMessages(messages.Out());
        ThrowIfFailed(messages->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(ppvMessages)));
    });
}

STDMETHODIMP CVoScheduler::Clear() {
    return Guarded([&] { engine_->Clear(); });
}

STDMETHODIMP CVoScheduler::Reset() {
    return Guarded([&] { engine_->Reset(); });
}

STDMETHODIMP CVoScheduler::EnumConnectionPoints(IEnumConnectionPoints** ppEnum) {
    if (!ppEnum) return E_POINTER;
    *ppEnum = nullptr;
    std::vector<IConnectionPoint*> points;
    try {
        points.push_back(&point_);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    point_.AddRef();
    ConnectionPointEnum* e = nullptr;
    HRESULT hr = HandOut(points, &e);
    if (SUCCEEDED(hr)) *ppEnum = e;
    return hr;
}

STDMETHODIMP CVoScheduler::FindConnectionPoint(REFIID riid, IConnectionPoint** ppCP) {
    if (!ppCP) return E_POINTER;
    *ppCP = nullptr;
    if (!IsEqualGUID(riid, IID_IVoScheduleEvents)) return CONNECT_E_NOCONNECTION;
    *ppCP = &point_;
    point_.AddRef();
    return S_OK;
}

HRESULT CVoScheduler::FireGetAvailabilityProfile(ULONG dwIntervalFlags, VARIANT gk, IUnknown** ppUnk) noexcept {
    // Every sink is asked with the same out-pointer; the last one to write
    // it decides what the engine receives.
    point_.Raise([&](IVoScheduleEvents* sink) { return sink->GetAvailabilityProfile(dwIntervalFlags, gk, ppUnk); });
    return S_OK;
}

HRESULT CVoScheduler::FireProgress(LONG done) noexcept {
    point_.Raise([&](IVoScheduleEvents* sink) { return sink->Progress(done); });
    return S_OK;
}

HRESULT CreateVoScheduler(IUnknown* outer, REFIID riid, void** ppv) {
    return CVoScheduler::CreateInstance(outer, riid, ppv);
}

}  // namespace ostrel
