// VoRules, the component through which a host builds a calendar: a thin
// shell over the rule store, which it creates on first use and owns.
#pragma once
#include <memory>

#include <Ostrel.h>

#include "component/com_object.h"
#include "component/copying_enum.h"
#include "component/dispatch.h"
#include "foundation/critical_section.h"
#include "rules/rule_store.h"

namespace ostrel {

using RuleEnum = CopyingEnum<IEnumRules, &IID_IEnumRules, tagRULE>;

class CVoRules final : public ComObject<CVoRules, Dispatch<IVoRules>, SupportErrorInfo<CVoRules>> {
public:
    static std::span<const InterfaceEntry<CVoRules>> InterfaceTable();
    static const IID& ErrorInfoInterface() { return IID_IVoRules; }

    STDMETHODIMP LoadRule(DATE dtStart, DATE dtStop, BOOL bWorking) override;
    STDMETHODIMP AddRule(DATE dtStart, DATE dtStop, BOOL bWorking, tagRULETYPE crRule) override;
    STDMETHODIMP AddRuleEx(DATE* dtStart, DATE* dtStop, BOOL* bWorking, tagRULETYPE* crRule) override;
    STDMETHODIMP DeleteRule(DATE dtStart, DATE dtStop, tagRULETYPE crRule) override;
    STDMETHODIMP EnumRules(DATE dt, ULONG dwFilter, IUnknown** ppEnum) override;
    STDMETHODIMP EnumRulesEx(DATE dtStart, DATE dtStop, ULONG dwFilter, IUnknown** ppEnum) override;

    // The store, created on first use.
    TVoRules& GetRuleStore();

private:
    template <class Enumeration>
    HRESULT Enumerate(IUnknown** ppEnum, Enumeration&& enumeration) noexcept;

    std::unique_ptr<TVoRules> store_;
    // Held only while an enumeration reads the store; the editing methods
    // rely on the apartment to serialise them.
    CriticalSection lock_;
};

// The class table's creation function for VoRules.
HRESULT CreateVoRules(IUnknown* outer, REFIID riid, void** ppv);

}  // namespace ostrel
