// The formula evaluator behind the calculator component: a one-line formula
// of infix operators, parentheses, quoted texts and built-in functions,
// evaluated to a number or a text.
//
// It does not tokenize. It evaluates a range of the working text by finding
// the operator that binds loosest (the rightmost of them), evaluating the
// text on either side as ranges of their own and combining the two values.
// The compact design has hard edges that hosts' formulas rely on; each is
// kept on purpose and marked where it is made.
#pragma once
#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

#include "calculator/res_marks.h"
#include "foundation/text.h"

namespace ostrel {

// The value that says "the result is a text": the text itself is then the
// range the evaluation left in pos and end, read back with GetText. A number
// that happens to equal it is a text too; that is accepted.
inline constexpr double FORMULA_TEXT = std::numeric_limits<double>::max();

// One evaluation: SetFormula, Evaluate, and GetText when the value is
// FORMULA_TEXT. Failures are EVoError with the calculator's message numbers;
// the first one ends the evaluation, and the left operand is always evaluated
// before the right, so the leftmost error wins.
class TFormula {
public:
    // The deepest nesting of parentheses, function arguments and operands
    // (each tighter operator level on a right side is one more) that a
    // formula may have. Deeper formulas fail with VOMSG_FORMULA_TOO_DEEP
    // instead of exhausting the caller's stack; the bound also caps how often
    // one character can be rescanned, which keeps long formulas near linear.
    static constexpr int MaxNesting = 256;

    // The formula up to its first NUL character, as the component loads it.
    // Fails with a text error for formulas too long for 32-bit indexes.
    void SetFormula(std::basic_string_view<OLECHAR> formula);

    // The value of the formula: a number, or FORMULA_TEXT.
    double Evaluate();

    // The text of a FORMULA_TEXT result: the working text from pos, with end
    // - 1 (an index) as its length, clamped at the text's end. Deliberate: for
    // a lone quoted text this is exactly its content, but a text that starts
    // later runs on past it: ("abc") gives abc followed by a double quote.
    WString GetText() const;

private:
    class Nesting;
    struct Span {
        int32_t pos, end;
    };

    // The working text's character at i, NUL outside it. Ranges can point
    // past the text in the odd cases the splitting allows; they read NUL.
    OLECHAR At(int32_t i) const { return i >= 0 && i < Length() ? text_[size_t(i)] : OLECHAR(0); }
    int32_t Length() const { return int32_t(text_.size()); }
    void Put(int32_t i, OLECHAR c);
    std::basic_string_view<OLECHAR> View(int32_t start, int32_t length) const;
    int32_t ClosingQuote(int32_t from, int32_t end) const;

    // formula.cpp: splitting a range, operands.
    void FindSplits();
    double EvaluateSplits(size_t first);
    double EvaluateOperand(OLECHAR c);
    double EvaluateRange(int32_t pos, int32_t end);

    // formula_operators.cpp
    double Combine(OLECHAR op, OLECHAR second, double left, double right, Span leftText);
    double Concatenate(Span leftText);
    int CompareTexts(Span leftText) const;

    // formula_functions.cpp
    double CallFunction(OLECHAR c);
    double SearchRes(int32_t a, int32_t b);

    WString text_;     // the working copy; concatenation rewrites it in place
    int32_t pos_ = 0;  // start of the range; after a text value, the text's first character
    int32_t end_ = 0;  // end of the range (exclusive); after a text value, just past it
    int nesting_ = 0;
    // The operators a range splits at, innermost first, for every range
    // being evaluated; each range keeps its own stretch at the top.
    std::vector<int32_t> splits_;
    ResMarks marks_;  // built on the first RES
};

}  // namespace ostrel
