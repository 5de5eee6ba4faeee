#include "host_objects.h"

#include <cstring>

#include "engine_records.h"

namespace cli {

RecordSource::RecordSource(std::vector<tagScheduleData> records)
    : HostObject(IID_IEnumScheduleData), records_(std::move(records)) {}

RecordSource::~RecordSource() {
    // Records never handed over are still ours to free.
    for (size_t i = next_; i < records_.size(); ++i) FreeRecord(records_[i]);
}

STDMETHODIMP RecordSource::Next(ULONG celt, tagScheduleData* rgcd, ULONG* pcFetched) {
    if (!rgcd && celt) return E_POINTER;
    ULONG n = 0;
    for (; n < celt && next_ < records_.size(); ++n, ++next_) {
        std::memcpy(static_cast<void*>(&rgcd[n]), &records_[next_], sizeof(tagScheduleData));
        std::memset(static_cast<void*>(&records_[next_]), 0, sizeof(tagScheduleData));
    }
    if (pcFetched) *pcFetched = n;
    return n == celt ? S_OK : S_FALSE;
}

STDMETHODIMP RecordSource::Skip(ULONG) { return E_NOTIMPL; }

WatchedProfile::WatchedProfile(IVoAvailability* inner, RunWatch& watch)
    : HostObject(IID_IVoAvailability, &IID_IDispatch), inner_(inner), watch_(watch) {
    inner_->AddRef();
}

HRESULT WatchedProfile::Stopped() {
    if (!watch_.refused) {
        watch_.refused = true;
        if (watch_.onFirstRefusal) watch_.onFirstRefusal();
    }
    // The run takes this text into its message about the refusal.
    ICreateErrorInfo* create = nullptr;
    if (SUCCEEDED(CreateErrorInfo(&create))) {
        Bstr text("Scheduler stoped externally");
        create->SetDescription(text.Get());
        IErrorInfo* info = nullptr;
        if (SUCCEEDED(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)))) {
            SetErrorInfo(0, info);
            info->Release();
        }
        create->Release();
    }
    return E_ABORT;
}

STDMETHODIMP WatchedProfile::ScheduleTask(DATE start, DATE end, double duration, double units,
                                          tagSCHEDULEDIRECTION direction, IUnknown** ppUnk,
                                          tagSCHEDULERESULT* result) {
    if (watch_.Stopping()) {
        if (result) *result = srFail;
        return Stopped();
    }
    const unsigned long calls = ++watch_.calls;
    if (watch_.onCall) watch_.onCall(calls);
    return inner_->ScheduleTask(start, end, duration, units, direction, ppUnk, result);
}

STDMETHODIMP WatchedProfile::EnumPoints(DATE start, DATE stop, IUnknown** ppUnk) {
    if (watch_.Stopping()) {
        if (ppUnk) *ppUnk = nullptr;
        return Stopped();
    }
    return inner_->EnumPoints(start, stop, ppUnk);
}

ResourceCalendars::~ResourceCalendars() {
    for (auto& [id, profile] : profiles_) profile->Release();
}

void ResourceCalendars::Add(const std::string& resourceId, IUnknown* profile) {
    profile->AddRef();
    IUnknown*& slot = profiles_[Utf16(resourceId)];
    if (slot) slot->Release();
    slot = profile;
}

STDMETHODIMP ResourceCalendars::GetAvailabilityProfile(ULONG, VARIANT gk, IUnknown** ppUnk) {
    if (!ppUnk) return E_POINTER;
    *ppUnk = nullptr;
    if (gk.vt != VT_BSTR || !gk.bstrVal) return S_OK;
    const auto found = profiles_.find(OleText(gk.bstrVal, SysStringLen(gk.bstrVal)));
    if (found != profiles_.end()) {
        found->second->AddRef();
        *ppUnk = found->second;
    }
    return S_OK;
}

}  // namespace cli
