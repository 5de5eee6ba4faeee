// What each operator makes of its two values. Both sides are always
// evaluated first; there is no short-circuit.
#include <cmath>
#include <cstdint>

#include "calculator/formula.h"
#include "foundation/vo_error.h"

namespace ostrel {
namespace {

[[noreturn]] void WrongKinds() { throw EVoError(VOMSG_FORMULA_OPERAND_TYPE); }
[[noreturn]] void DivisionByZero() { throw EVoError(VOMSG_FORMULA_DIVISION_BY_ZERO); }

double Truth(bool b) { return b ? 1.0 : 0.0; }

// Toward zero into 32 bits. Whatever does not fit, NaN included, becomes
// -2147483648, as the processor's own conversion gives; that is what a text
// operand of % counts as.
int32_t Truncate32(double x) {
    if (!(x > -2147483649.0 && x < 2147483648.0)) return INT32_MIN;
    return int32_t(x);
}

// Deliberate: the operand kinds are not checked, so a text takes part as
// -2147483648. A zero divisor still fails, whatever the kinds, rather than
// fault the processor.
double Remainder(double l, double r) {
    const int32_t a = Truncate32(l), b = Truncate32(r);
    if (b == 0) DivisionByZero();
    if (b == -1) return 0.0;  // INT32_MIN % -1 would trap; the remainder is 0
    return double(a % b);
}

}  // namespace

double TFormula::Combine(OLECHAR op, OLECHAR second, double l, double r, Span leftText) {
    const bool leftIsText = l == FORMULA_TEXT, rightIsText = r == FORMULA_TEXT;
    const bool numbers = !leftIsText && !rightIsText, texts = leftIsText && rightIsText;
    // A second operator character counts only for <=, >=, ==, !=, && and
    // ||; elsewhere it is dropped on purpose, so 2*-3 is 6 and 2+-3 is 5.
    switch (op) {
    case '^':
        if (!numbers) WrongKinds();
        return std::pow(l, r);
    case '%':
        return Remainder(l, r);
    case '*':
        if (!numbers) WrongKinds();
        return r * l;
    case '/':
        // Deliberate: with a text on either side nothing is checked, and the
        // marker value is divided as the number it is.
        if (numbers && r == 0.0) DivisionByZero();
        return l / r;
    case '+':
        if (numbers) return r + l;
        if (texts) return Concatenate(leftText);
        WrongKinds();
    case '-':
        if (!numbers) WrongKinds();
        return l - r;
    case '<':  // <> is simply <
        if (numbers) return Truth(second == '=' ? l <= r : l < r);
        if (texts) return Truth(second == '=' ? CompareTexts(leftText) <= 0 : CompareTexts(leftText) < 0);
        WrongKinds();
    case '>':
        if (numbers) return Truth(second == '=' ? l >= r : l > r);
        if (texts) return Truth(second == '=' ? CompareTexts(leftText) >= 0 : CompareTexts(leftText) > 0);
        WrongKinds();
    case '=':
        if (second != '=') WrongKinds();
        if (numbers) return Truth(l == r);
        if (texts) return Truth(CompareTexts(leftText) == 0);
        WrongKinds();
    case '!':
        if (second != '=') WrongKinds();
        if (numbers) return Truth(l != r);
        if (texts) return Truth(CompareTexts(leftText) != 0);
        WrongKinds();
    case '&':
        if (second != '&' || !numbers) WrongKinds();
        return Truth(l != 0.0 && r != 0.0);
    default:  // '|'
        if (second != '|' || !numbers) WrongKinds();
        return Truth(l != 0.0 || r != 0.0);
    }
}

// Joins the right text (the current range) onto the left one by copying it,
// first character first, over what follows the left text: its closing quote,
// the operator and the right text's opening quote. The joined text is then a
// range of the working text like any literal.
double TFormula::Concatenate(Span leftText) {
    const int32_t count = end_ - pos_;
    for (int32_t k = 0; k < count; ++k)
        if (const OLECHAR c = At(pos_ + k)) Put(leftText.end + k, c);  // NUL: outside the text
    pos_ = leftText.pos;
    end_ = leftText.end + count;
    return FORMULA_TEXT;
}

// Deliberate: each span starts at its text and takes the index just past it
// as its length, so both run on into the quotes, operators and the rest of
// the formula after them; "ab"<"ab " is 0, because after ab the left span
// goes on with a double quote and the right one with a space.
int TFormula::CompareTexts(Span leftText) const {
    return View(leftText.pos, leftText.end).compare(View(pos_, end_));
}

}  // namespace ostrel
