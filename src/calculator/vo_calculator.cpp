#include "calculator/vo_calculator.h"

#include <string_view>

#include "calculator/formula.h"
#include "foundation/boundary.h"

namespace ostrel {

std::span<const InterfaceEntry<CVoCalculator>> CVoCalculator::InterfaceTable() {
    static const InterfaceEntry<CVoCalculator> table[] = {
        Entry<CVoCalculator, IVoCalculator>(IID_IVoCalculator),
        Entry<CVoCalculator, IDispatch, IVoCalculator>(IID_IDispatch),
        Entry<CVoCalculator, ISupportErrorInfo>(IID_ISupportErrorInfo),
    };
    return table;
}

STDMETHODIMP CVoCalculator::Evaluate(BSTR Formula, VARIANT* pvResult) {
    // A null text is how an empty formula usually arrives: it is refused
    // with a plain code and no error information.
    if (!Formula || !pvResult) return E_INVALIDARG;
    return FormulaBoundary(CLSID_VoCalculator, Formula, [&] {
        TFormula formula;
        formula.SetFormula(std::basic_string_view<OLECHAR>(Formula));  // up to the first NUL
        const double value = formula.Evaluate();
        // Only the type and the value are written, and only once the value
        // is known: whatever the variant held is neither released nor
        // touched by a failure.
        if (value == FORMULA_TEXT) {
            const WString text = formula.GetText();
            BSTR result = SysAllocStringLen(text.data(), UINT(text.size()));
            if (!result) throw HRESULT(E_OUTOFMEMORY);
            pvResult->vt = VT_BSTR;
            pvResult->bstrVal = result;
        } else {
            pvResult->vt = VT_R8;
            pvResult->dblVal = value;
        }
    });
}

HRESULT CreateVoCalculator(IUnknown* outer, REFIID riid, void** ppv) {
    return CVoCalculator::CreateInstance(outer, riid, ppv);
}

}  // namespace ostrel
