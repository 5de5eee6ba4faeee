// ostrel calc FORMULA: the calculator's answer, a number or a text.
#include "commands.h"
#include "engine_run.h"

namespace cli {

int RunCalc(const std::string& formula, std::ostream& out, std::ostream& err) {
    try {
        ComSession session;
        Ref<IVoCalculator> calculator;
        HRESULT hr = CoCreateInstance(CLSID_VoCalculator, nullptr, CLSCTX_INPROC_SERVER, IID_IVoCalculator,
                                      calculator.OutVoid());
        if (FAILED(hr)) throw RunError("creating the calculator: " + ErrorText(hr));
        Bstr text(formula);
        VARIANT value;
        VariantInit(&value);
        hr = calculator->Evaluate(text.Get(), &value);
        if (FAILED(hr)) {
            err << "ostrel calc: " << ErrorText(hr) << '\n';
            return kExitBadInput;
        }
        if (value.vt == VT_BSTR) {
            out << Utf8(value.bstrVal) << '\n';
        } else {
            VARIANT number;
            VariantInit(&number);
            if (SUCCEEDED(VariantChangeType(&number, &value, 0, VT_R8)))
                out << FormatNumber(number.dblVal) << '\n';
            else
                out << "(a value of type " << value.vt << ")\n";
            VariantClear(&number);
        }
        VariantClear(&value);
        return kExitOk;
    } catch (const RunError& e) {
        err << "ostrel: " << e.what() << '\n';
    }
    return kExitBadInput;
}

}  // namespace cli
