#include "calculator/formula.h"

#include <algorithm>
#include <string>

#include "calculator/formula_characters.h"
#include "calculator/number_reading.h"
#include "foundation/vo_error.h"

namespace ostrel {

using namespace formula;

// Counts the levels a range is nested in for as long as its evaluation runs.
class TFormula::Nesting {
public:
    explicit Nesting(TFormula& formula) : formula_(formula), saved_(formula.nesting_) { Deepen(); }
    ~Nesting() { formula_.nesting_ = saved_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

    void Deepen() {
        if (++formula_.nesting_ > MaxNesting) throw EVoError(VOMSG_FORMULA_TOO_DEEP, std::to_string(MaxNesting).c_str());
    }

private:
    TFormula& formula_;
    int saved_;
};

void TFormula::SetFormula(std::basic_string_view<OLECHAR> formula) {
    formula = formula.substr(0, std::min(formula.find(OLECHAR(0)), formula.size()));
    // Indexes are 32-bit and sums of two of them must not overflow.
    if (formula.size() > 0x3FFFFFFF) throw EVoError(OLESTR("Formula too long"));
    text_.assign(formula);
    pos_ = 0;
    end_ = Length();
    nesting_ = 0;
    splits_.clear();
    marks_.Clear();
}

WString TFormula::GetText() const { return WString(View(pos_, end_ - 1)); }

double TFormula::Evaluate() {
    Nesting nesting(*this);
    for (;;) {
        if (pos_ == end_) throw EVoError(VOMSG_FORMULA_EMPTY_OPERAND);
        const size_t first = splits_.size();
        FindSplits();
        if (splits_.size() > first) return EvaluateSplits(first);
        const OLECHAR c = At(pos_) & 0xFF;
        // Only the first and last characters are looked at: they need not be
        // a matching pair, so (1)(2) becomes 1)(2, which reads as 1.
        if (c == '(' && At(end_ - 1) == ')') {
            ++pos_;
            --end_;
            nesting.Deepen();
            continue;
        }
        return EvaluateOperand(c);
    }
}

// Pushes the positions where the choice of split operator moved while
// scanning [pos, end), so the last one pushed is where the range splits. The
// scan of a left side is a prefix of its range's scan, so the earlier
// positions are where the left sides split in turn: one scan serves the whole
// left-associative chain, and long chains need neither rescans nor stack.
void TFormula::FindSplits() {
    int depth = 0;
    int32_t choice = -1;
    const int32_t end = std::min(end_, Length());
    for (int32_t i = std::max(pos_, 0); i < end; ++i) {
        const OLECHAR c = text_[size_t(i)];
        if (c == '"') {
            i = ClosingQuote(i + 1, end);
            if (i < 0) throw EVoError(VOMSG_FORMULA_UNTERMINATED_TEXT);
        } else if (c == '(') {
            ++depth;
        } else if (c == ')') {
            --depth;
        } else if (i != 0 && depth == 0 && IsOperator(c) && !IsExponentLetter(text_[size_t(i) - 1])) {
            // Index 0 of the whole formula is never an operator; that is the
            // only place a negative literal can stand.
            if (choice < 0 || Level(c) >= Level(text_[size_t(choice)])) {
                choice = i;
                splits_.push_back(i);
            }
            // Deliberate: the character after the chosen operator decides,
            // even when the choice stayed behind, and the one after the
            // candidate is skipped unseen.
            if (IsOperator(At(choice + 1))) ++i;
        }
    }
}

// Evaluates the chain of splits pushed since `first`: the innermost left side,
// then each right side combined in order, as the nested left sides would.
double TFormula::EvaluateSplits(size_t first) {
    const size_t count = splits_.size() - first;
    const int32_t rangeEnd = end_;
    end_ = splits_[first];
    double value = Evaluate();
    for (size_t k = 0; k < count; ++k) {
        const int32_t choice = splits_[first + k];
        const Span leftText{pos_, end_};
        pos_ = choice + 1;
        OLECHAR second = 0;
        if (IsOperator(At(pos_))) second = At(pos_++);
        end_ = k + 1 < count ? splits_[first + k + 1] : rangeEnd;
        const double right = Evaluate();
        value = Combine(At(choice), second, value, right, leftText);
    }
    splits_.resize(first);
    return value;
}

// c is the operand's first character by its low 8 bits.
double TFormula::EvaluateOperand(OLECHAR c) {
    if (c == '@' || (IsLetter(c) && At(pos_ + 1) == '(')) return CallFunction(c);
    if (c == '"') {
        // No escape and no check of the last character: the content is what
        // lies between the range's first and last characters.
        ++pos_;
        --end_;
        return FORMULA_TEXT;
    }
    // Deliberate: reading runs on past the range and stops early, so 12abc
    // is 12 and -(2+3) is 0, and a space may follow a number but not lead it.
    if (IsDigit(c) || c == '+' || c == '-') return ReadNumber(text_, size_t(pos_));
    throw EVoError(VOMSG_FORMULA_BAD_OPERAND);
}

double TFormula::EvaluateRange(int32_t pos, int32_t end) {
    pos_ = pos;
    end_ = end;
    return Evaluate();
}

void TFormula::Put(int32_t i, OLECHAR c) {
    if (i < 0 || i >= Length()) return;
    text_[size_t(i)] = c;
    if (marks_.Built()) marks_.Update(i, c);
}

std::basic_string_view<OLECHAR> TFormula::View(int32_t start, int32_t length) const {
    if (start < 0 || start >= Length() || length <= 0) return {};
    return std::basic_string_view<OLECHAR>(text_).substr(size_t(start), size_t(length));
}

// The index of the first double quote in [from, end), or -1.
int32_t TFormula::ClosingQuote(int32_t from, int32_t end) const {
    end = std::min(end, Length());
    if (from >= end) return -1;
    const auto first = text_.begin() + from, last = text_.begin() + end;
    const auto quote = std::find(first, last, OLECHAR('"'));
    return quote == last ? -1 : int32_t(quote - text_.begin());
}

}  // namespace ostrel
