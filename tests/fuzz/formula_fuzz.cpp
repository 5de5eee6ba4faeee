// Fuzzes the formula engine: any input must give a value (and, for a text,
// its text) or fail cleanly with an EVoError or a thrown HRESULT. Anything
// else escaping, a crash, a hang or a leak is a finding.
//
// Each input byte is one character of the formula, so the fuzzer reaches the
// ASCII syntax quickly; the byte 0x01 followed by two more bytes is one
// character from those two (high byte first), so characters whose low 8 bits
// look like syntax are reached too.
#include <cstddef>
#include <cstdint>
#include <string>

#include "calculator/formula.h"
#include "foundation/vo_error.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::basic_string<OLECHAR> formula;
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == 0x01 && i + 2 < size) {
            formula += OLECHAR((data[i + 1] << 8) | data[i + 2]);
            i += 2;
        } else {
            formula += OLECHAR(data[i]);
        }
    }
    ostrel::TFormula f;
    try {
        f.SetFormula(formula);
        if (f.Evaluate() == ostrel::FORMULA_TEXT) (void)f.GetText().size();
    } catch (const ostrel::EVoError&) {
    } catch (HRESULT) {
    }
    return 0;
}
