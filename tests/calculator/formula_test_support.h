// Evaluating a formula in one call: its value, its text or its error.
#pragma once
#include <string>
#include <string_view>

#include "calculator/formula.h"
#include "foundation/vo_error.h"
#include "test_support.h"

namespace formula_test {

struct Outcome {
    double value = 0.0;
    std::string text;  // of a text value, or the error's message
    DWORD code = 0;    // 0 when evaluation succeeded
};

inline Outcome Evaluate(std::basic_string_view<OLECHAR> formula) {
    ostrel::TFormula f;
    try {
        f.SetFormula(formula);
        const double value = f.Evaluate();
        return {value, value == ostrel::FORMULA_TEXT ? test::Utf8(f.GetText()) : std::string(), 0};
    } catch (const ostrel::EVoError& e) {
        return {0.0, test::Utf8(e.Message), e.Code};
    }
}

}  // namespace formula_test
