// The built-in functions: MAX, MIN, SUM, AVG, CNT, CEIL, FLOOR, ROUND, IF
// and RES, called by name (@MAX(...)) or by their one-letter code (X(...)).
// All yield numbers; a text argument takes part as the text marker's value.
#include <cmath>
#include <string_view>

#include "calculator/formula.h"
#include "calculator/number_reading.h"
#include "foundation/vo_error.h"

namespace ostrel {
namespace {

struct FunctionName {
    OLECHAR code;
    std::basic_string_view<OLECHAR> rest;  // the letters after the first
};

// In the order names are tried.
constexpr FunctionName kNames[] = {
    {'X', OLESTR("AX")}, {'N', OLESTR("IN")},  {'S', OLESTR("UM")}, {'A', OLESTR("VG")},   {'C', OLESTR("NT")},
    {'E', OLESTR("EIL")}, {'F', OLESTR("F")}, {'R', OLESTR("ES")}, {'O', OLESTR("OUND")}, {'L', OLESTR("LOOR")},
};

// Where trying starts for a name's first letter, or -1.
int FirstCandidate(OLECHAR c) {
    switch (c) {
    case 'M': return 0;
    case 'S': return 2;
    case 'A': return 3;
    case 'C': return 4;
    case 'I': return 6;
    case 'R': return 7;
    case 'F': return 9;
    default: return -1;
    }
}

bool IsCode(OLECHAR c) { return std::basic_string_view<OLECHAR>(OLESTR("XNSACEFROL")).find(c) != std::basic_string_view<OLECHAR>::npos; }

[[noreturn]] void UnknownFunction() { throw EVoError(VOMSG_FORMULA_UNKNOWN_FUNCTION); }

// floor(v) + 1 when v's part after the point is at least one half, floor(v)
// otherwise. Deliberate: that part is negative for negative v, so they go
// down: -2.3 and -2.7 both round to -3, while 2.5 rounds to 3.
double Round(double v) { return v - std::trunc(v) >= 0.5 ? std::floor(v) + 1.0 : std::floor(v); }

}  // namespace

// c is the operand's first character by its low 8 bits: '@' or a letter
// followed by '('.
double TFormula::CallFunction(OLECHAR c) {
    OLECHAR code = 0;
    int32_t open = 0;  // the character taken as the opening parenthesis
    if (c == '@') {
        // Deliberate: the first letter only chooses where trying starts and
        // is not compared again, so @MUM is SUM and @CF is IF.
        const int start = FirstCandidate(At(pos_ + 1));
        if (start < 0) UnknownFunction();
        for (int k = start; k < int(std::size(kNames)) && !code; ++k) {
            const auto rest = kNames[k].rest;
            bool same = true;
            for (size_t j = 0; j < rest.size() && same; ++j) same = At(pos_ + 2 + int32_t(j)) == rest[j];
            if (same) {
                code = kNames[k].code;
                open = pos_ + 2 + int32_t(rest.size());  // not checked to be '('
            }
        }
        if (!code) UnknownFunction();
    } else {
        if (!IsCode(c)) UnknownFunction();
        code = c;
        open = pos_ + 1;
    }

    double accumulator = 0.0;  // also what CEIL, FLOOR and ROUND give without arguments
    double count = 0.0;        // AVG's count; IF's state
    if (code == 'X') accumulator = -FORMULA_TEXT;
    if (code == 'N') accumulator = FORMULA_TEXT;

    // An argument ends at a comma at depth 1 or at any character after which
    // the depth is 0; an argument left open at the range's end is not taken.
    const int32_t rangeEnd = end_;
    int depth = 1;
    int32_t a = open + 1;
    for (int32_t i = open + 1; i < rangeEnd && i < Length(); ++i) {
        const OLECHAR ch = At(i);
        if (ch == '"') {
            i = ClosingQuote(i + 1, rangeEnd);
            if (i < 0) throw EVoError(VOMSG_FORMULA_UNTERMINATED_TEXT);
        } else if (ch == '(') {
            ++depth;
        } else if (ch == ')') {
            --depth;
        }
        if (!((ch == ',' && depth == 1) || depth == 0)) continue;
        const int32_t b = i;
        switch (code) {
        case 'X':
            if (const double v = EvaluateRange(a, b); v > accumulator) accumulator = v;
            break;
        case 'N':
            if (const double v = EvaluateRange(a, b); v < accumulator) accumulator = v;
            break;
        case 'S': accumulator += EvaluateRange(a, b); break;
        case 'A':
            accumulator += EvaluateRange(a, b);
            count += 1.0;
            break;
        case 'C':
            if (b > a) accumulator += 1.0;  // counted, never evaluated
            break;
        case 'E': accumulator = std::ceil(EvaluateRange(a, b)); break;
        case 'L': accumulator = std::floor(EvaluateRange(a, b)); break;
        case 'O': accumulator = Round(EvaluateRange(a, b)); break;
        case 'F':
            // The condition, then only the chosen branch is evaluated.
            if (count == 0.0) {
                count = EvaluateRange(a, b) == 0.0 ? 2.0 : 1.0;
            } else if (count == 1.0) {
                accumulator = EvaluateRange(a, b);
                count = -1.0;
            } else if (count >= 2.0) {
                count -= 1.0;
            }
            break;
        default:  // 'R'
            if (b > a) accumulator += SearchRes(a, b);
            break;
        }
        a = i + 1;
    }
    pos_ = end_ = a;  // past the last argument taken

    // An average of no arguments (an argument list never closed) is 0/0, NaN,
    // as floating-point division gives it.
    return code == 'A' ? accumulator / count : accumulator;
}

// A head count: an argument written as name*count counts count times.
// Deliberate: the search runs on past the argument to the formula's end, and
// the set of marks it looks for grows with the argument's length (the first n
// entries of the list in ResMarks), so @RES(a,b*2) is 4: the first argument
// already finds the '*' of the second.
double TFormula::SearchRes(int32_t a, int32_t b) {
    if (!marks_.Built()) marks_.Build(text_);
    const int32_t k = marks_.Find(a, b - a);
    return k < 0 ? 1.0 : ReadNumber(text_, size_t(k) + 1);
}

}  // namespace ostrel
