// VoCalculator, the component through which a host evaluates a formula. It
// keeps nothing between calls (each builds its own evaluator), so it is safe
// from any number of threads at once.
#pragma once
#include <Ostrel.h>

#include "component/com_object.h"
#include "component/dispatch.h"

namespace ostrel {

class CVoCalculator final : public ComObject<CVoCalculator, Dispatch<IVoCalculator>, SupportErrorInfo<CVoCalculator>> {
public:
    static std::span<const InterfaceEntry<CVoCalculator>> InterfaceTable();
    static const IID& ErrorInfoInterface() { return IID_IVoCalculator; }

    STDMETHODIMP Evaluate(BSTR Formula, VARIANT* pvResult) override;
};

// The class table's creation function for VoCalculator.
HRESULT CreateVoCalculator(IUnknown* outer, REFIID riid, void** ppv);

}  // namespace ostrel
