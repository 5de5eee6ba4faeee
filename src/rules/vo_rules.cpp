#include "rules/vo_rules.h"

#include <new>

#include "foundation/boundary.h"
#include "foundation/caller_error.h"
#include "foundation/message_numbers.h"
#include "foundation/raw_enum.h"
#include "foundation/vo_error.h"

namespace ostrel {

std::span<const InterfaceEntry<CVoRules>> CVoRules::InterfaceTable() {
    static const InterfaceEntry<CVoRules> table[] = {
        Entry<CVoRules, IVoRules>(IID_IVoRules),
        Entry<CVoRules, IDispatch, IVoRules>(IID_IDispatch),
        Entry<CVoRules, ISupportErrorInfo>(IID_ISupportErrorInfo),
    };
    return table;
}

TVoRules& CVoRules::GetRuleStore() {
    if (!store_) {
        store_.reset(new (std::nothrow) TVoRules);
        if (!store_) throw EVoError(VOMSG_OUT_OF_MEMORY);
    }
    return *store_;
}

STDMETHODIMP CVoRules::LoadRule(DATE dtStart, DATE dtStop, BOOL bWorking) {
    return Boundary(CLSID_VoRules, [&] { GetRuleStore().LoadRule(dtStart, dtStop, bWorking); });
}

STDMETHODIMP CVoRules::AddRule(DATE dtStart, DATE dtStop, BOOL bWorking, tagRULETYPE crRule) {
    return Boundary(CLSID_VoRules, [&] { GetRuleStore().AddRule(dtStart, dtStop, bWorking, RawEnum(crRule)); });
}

STDMETHODIMP CVoRules::AddRuleEx(DATE* dtStart, DATE* dtStop, BOOL* bWorking, tagRULETYPE* crRule) {
    // The reference dereferences these unchecked; a null one is refused here
    // rather than followed.
    if (!dtStart || !dtStop || !bWorking || !crRule) return E_POINTER;
    return Boundary(CLSID_VoRules, [&] {
        const DWORD callerWorking = DWORD(*bWorking);
        const tagRULE stored =
            GetRuleStore().AddRule(*dtStart, *dtStop, BOOL(callerWorking & 0xFFFF), RawEnum(*crRule));
        *dtStart = stored.dtStart;
        *dtStop = stored.dtStop;
        *crRule = stored.crRule;
        // Only the low half of the caller's BOOL is written; deliberate.
        *bWorking = BOOL((callerWorking & 0xFFFF0000u) | (DWORD(stored.bWorking) & 0xFFFFu));
    });
}

STDMETHODIMP CVoRules::DeleteRule(DATE dtStart, DATE dtStop, tagRULETYPE crRule) {
    return Boundary(CLSID_VoRules, [&] { GetRuleStore().DeleteRule(dtStart, dtStop, RawEnum(crRule)); });
}

template <class Enumeration>
HRESULT CVoRules::Enumerate(IUnknown** ppEnum, Enumeration&& enumeration) noexcept {
    if (!ppEnum) return E_POINTER;
    *ppEnum = nullptr;
    RuleEnum* enumerator = RuleEnum::New();
    if (!enumerator) return E_OUTOFMEMORY;
    try {
        TVoRules& store = GetRuleStore();
        CriticalSectionLock hold(lock_);
        RuleArray rules = enumeration(store);
        enumerator->Init(std::move(rules.records), rules.count);
    } catch (const EVoError& e) {
        enumerator->Release();
        return ReportCallerError(CLSID_VoRules, e.Message.c_str());
    } catch (...) {
        // Only rule errors are expected here; anything else (an array that
        // could not be allocated) is still turned into a code, never let
        // through to the caller.
        enumerator->Release();
        return BoundaryFailure(CLSID_VoRules, nullptr);
    }
    HRESULT hr = enumerator->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(ppEnum));
    enumerator->Release();
    return hr;
}

STDMETHODIMP CVoRules::EnumRules(DATE dt, ULONG dwFilter, IUnknown** ppEnum) {
    return Enumerate(ppEnum, [&](const TVoRules& store) { return store.EnumRules(dt, dwFilter); });
}

STDMETHODIMP CVoRules::EnumRulesEx(DATE dtStart, DATE dtStop, ULONG dwFilter, IUnknown** ppEnum) {
    return Enumerate(ppEnum, [&](const TVoRules& store) { return store.EnumRulesEx(dtStart, dtStop, dwFilter); });
}

HRESULT CreateVoRules(IUnknown* outer, REFIID riid, void** ppv) { return CVoRules::CreateInstance(outer, riid, ppv); }

}  // namespace ostrel
