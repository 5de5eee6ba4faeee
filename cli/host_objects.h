// The host's own component objects: the task records handed to the
// scheduler, the sink that answers its questions about resources, and the
// profiles through which the run's progress is seen and a stop is asked for.
#pragma once
#include <Ostrel.h>

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "text.h"

namespace cli {

// The shared plumbing of a reference-counted object with one interface.
template <class Itf>
class HostObject : public Itf {
public:
    HostObject(const IID& iid, const IID* alsoIid = nullptr) : iid_(iid), also_(alsoIid) {}
    virtual ~HostObject() = default;
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
        if (!ppv) return E_POINTER;
        if (IsEqualGUID(riid, IID_IUnknown) || IsEqualGUID(riid, iid_) || (also_ && IsEqualGUID(riid, *also_))) {
            *ppv = static_cast<Itf*>(this);
            this->AddRef();
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++refs_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --refs_;
        if (left == 0) delete this;
        return left;
    }

private:
    std::atomic<ULONG> refs_{1};
    const IID& iid_;
    const IID* also_;
};

// IEnumScheduleData over records the host built. Next hands them over:
// what it fills in becomes the scheduler's, so nothing is copied.
class RecordSource final : public HostObject<IEnumScheduleData> {
public:
    explicit RecordSource(std::vector<tagScheduleData> records);
    ~RecordSource() override;
    STDMETHODIMP Next(ULONG celt, tagScheduleData* rgcd, ULONG* pcFetched) override;
    STDMETHODIMP Skip(ULONG celt) override;
    STDMETHODIMP Reset() override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IEnumScheduleData**) override { return E_NOTIMPL; }

private:
    std::vector<tagScheduleData> records_;
    size_t next_ = 0;
};

// Watches a run from the inside: every placement and allocation reaches one
// of the host's profiles, so they count the work done and, once a stop is
// asked for, refuse to go on.
struct RunWatch {
    std::atomic<bool>* stop = nullptr;       // set from outside (Ctrl-C)
    std::atomic<unsigned long> calls{0};
    std::function<void(unsigned long)> onCall;  // progress display
    std::function<void()> onFirstRefusal;       // the moment the stop takes hold
    bool refused = false;
    bool Stopping() const { return stop && stop->load(); }
};

// A calendar profile of the host: a real VoAvailability inside, every call
// passed on, placements and point reads counted and refused after a stop.
class WatchedProfile final : public HostObject<IVoAvailability> {
public:
    WatchedProfile(IVoAvailability* inner, RunWatch& watch);
    ~WatchedProfile() override { inner_->Release(); }

    STDMETHODIMP GetTypeInfoCount(UINT* n) override { return inner_->GetTypeInfoCount(n); }
    STDMETHODIMP GetTypeInfo(UINT i, LCID l, ITypeInfo** t) override { return inner_->GetTypeInfo(i, l, t); }
    STDMETHODIMP GetIDsOfNames(REFIID r, LPOLESTR* n, UINT c, LCID l, DISPID* d) override {
        return inner_->GetIDsOfNames(r, n, c, l, d);
    }
    STDMETHODIMP Invoke(DISPID d, REFIID r, LCID l, WORD f, DISPPARAMS* p, VARIANT* v, EXCEPINFO* e, UINT* a) override {
        return inner_->Invoke(d, r, l, f, p, v, e, a);
    }
    STDMETHODIMP Clear() override { return inner_->Clear(); }
    STDMETHODIMP get_Count(ULONG* n) override { return inner_->get_Count(n); }
    STDMETHODIMP CalcWorkingHours(DATE a, DATE b, double* h) override { return inner_->CalcWorkingHours(a, b, h); }
    STDMETHODIMP Date2Index(DATE d, ULONG* i) override { return inner_->Date2Index(d, i); }
    STDMETHODIMP Index2Date(ULONG i, DATE* d) override { return inner_->Index2Date(i, d); }
    STDMETHODIMP GetUnitsAt(ULONG i, double* u) override { return inner_->GetUnitsAt(i, u); }
    STDMETHODIMP GetUnits(DATE d, double* u) override { return inner_->GetUnits(d, u); }
    STDMETHODIMP SetTimeSpan(DATE a, DATE b, double u) override { return inner_->SetTimeSpan(a, b, u); }
    STDMETHODIMP AddPoint(DATE d, double u) override { return inner_->AddPoint(d, u); }
    STDMETHODIMP PrepareDateRange(DATE a, DATE b) override { return inner_->PrepareDateRange(a, b); }
    STDMETHODIMP GetPreparedRange(DATE* a, DATE* b) override { return inner_->GetPreparedRange(a, b); }
    STDMETHODIMP GetOperator(tagOPERATOR* o, tagOPERATORBOUND* b) override { return inner_->GetOperator(o, b); }
    STDMETHODIMP SetOperator(tagOPERATOR o, tagOPERATORBOUND b) override { return inner_->SetOperator(o, b); }
    STDMETHODIMP AddSource(IUnknown* s) override { return inner_->AddSource(s); }
    STDMETHODIMP GetSource(ULONG i, IUnknown** s) override { return inner_->GetSource(i, s); }
    STDMETHODIMP SumUnits(DATE a, DATE b, double u, ULONG f, BOOL n) override { return inner_->SumUnits(a, b, u, f, n); }
    STDMETHODIMP SumRange(IUnknown* p, DATE d, tagOPERATOR o, double* m) override { return inner_->SumRange(p, d, o, m); }
    STDMETHODIMP ScheduleTask(DATE start, DATE end, double duration, double units, tagSCHEDULEDIRECTION direction,
                              IUnknown** ppUnk, tagSCHEDULERESULT* result) override;
    STDMETHODIMP EnumPoints(DATE start, DATE stop, IUnknown** ppUnk) override;
    STDMETHODIMP SetRules(IUnknown* r) override { return inner_->SetRules(r); }
    STDMETHODIMP GetRules(IUnknown** r) override { return inner_->GetRules(r); }
    STDMETHODIMP get_RequiresPrepare(BOOL* v) override { return inner_->get_RequiresPrepare(v); }

private:
    HRESULT Stopped();
    IVoAvailability* inner_;
    RunWatch& watch_;
};

// The sink the scheduler asks for each resource's calendar: the profile
// kept under the resource's id, or nothing (the scheduler's own default).
class ResourceCalendars final : public HostObject<IVoScheduleEvents> {
public:
    ResourceCalendars() : HostObject(IID_IVoScheduleEvents) {}
    ~ResourceCalendars() override;
    // Takes a reference of its own.
    void Add(const std::string& resourceId, IUnknown* profile);
    STDMETHODIMP GetAvailabilityProfile(ULONG dwIntervalFlags, VARIANT gk, IUnknown** ppUnk) override;
    STDMETHODIMP Progress(LONG) override { return S_OK; }

private:
    std::map<OleText, IUnknown*> profiles_;
};

}  // namespace cli
