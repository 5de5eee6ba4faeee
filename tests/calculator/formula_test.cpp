// Operators, operands and errors of the formula evaluator.
#include <cfloat>
#include <cmath>

#include "formula_test_support.h"

namespace {

using formula_test::Evaluate;

struct NumberCase {
    const OLECHAR* formula;
    double want;
};

void ExpectNumbers(std::initializer_list<NumberCase> cases) {
    for (const NumberCase& c : cases) {
        SCOPED_TRACE(test::Utf8(c.formula));
        const auto got = Evaluate(c.formula);
        EXPECT_EQ(got.code, 0u) << got.text;
        EXPECT_DOUBLE_EQ(got.value, c.want);
    }
}

TEST(Formula, PrecedenceAndAssociativity) {
    ExpectNumbers({
        {OLESTR("1+2*3"), 7}, {OLESTR("(1+2)*3"), 9}, {OLESTR("2^3^2"), 64}, {OLESTR("10-4-3"), 3},
        {OLESTR("8/4/2"), 1}, {OLESTR("2*3%2"), 2}, {OLESTR("1+1<3"), 1}, {OLESTR("2<1+2==1"), 0},
        // Logical operators bind tighter than comparisons: 1 == (1&&2) == 2.
        {OLESTR("1==1&&2==2"), 0}, {OLESTR("1<2"), 1}, {OLESTR("2<>1"), 0}, {OLESTR("1<=1"), 1},
        {OLESTR("2>=3"), 0}, {OLESTR("1==1"), 1}, {OLESTR("1!=1"), 0}, {OLESTR("3&&0"), 0}, {OLESTR("0||2"), 1},
    });
}

TEST(Formula, SignsAndSecondOperatorCharacters) {
    ExpectNumbers({
        {OLESTR("-3*2"), -6}, {OLESTR("2*-3"), 6}, {OLESTR("2+-3"), 5}, {OLESTR("2--3"), -1},
        {OLESTR("1E+2*2"), 200}, {OLESTR("1e-2*100"), 1},
        // Any operator after an exponent letter is none, so this is one operand.
        {OLESTR("2e*3"), 2},
        // The character after a chosen '*' is '-', read as its second
        // character though it lies past the left side: (1+(2*3))-3.
        {OLESTR("1+2*-3"), 4},
    });
}

TEST(Formula, NumberReadingStopsEarly) {
    ExpectNumbers({
        {OLESTR("12abc"), 12}, {OLESTR("-(2+3)"), 0}, {OLESTR("2 +3"), 5}, {OLESTR("2 "), 2}, {OLESTR("+.5*2"), 1},
        {OLESTR("5.*2"), 10}, {OLESTR("-inf"), 0}, {OLESTR("0x10"), 0}, {OLESTR("1e"), 1}, {OLESTR("1e-999"), 0},
        // Parentheses are dropped by their first and last characters alone.
        {OLESTR("(1)(2)"), 1},
    });
    EXPECT_EQ(Evaluate(OLESTR("1e999")).value, HUGE_VAL);
    EXPECT_EQ(Evaluate(OLESTR("-1e999")).value, -HUGE_VAL);
}

TEST(Formula, RemainderTruncatesTo32Bits) {
    ExpectNumbers({
        {OLESTR("7%3"), 1}, {OLESTR("-7%3"), -1}, {OLESTR("7.9%2.9"), 1},
        // Out of 32-bit range counts as -2147483648, a text too.
        {OLESTR("4294967296%3"), -2}, {OLESTR("\"a\"%3"), -2}, {OLESTR("-2147483648%(0-1)"), 0},
    });
}

TEST(Formula, TextValues) {
    const struct {
        const OLECHAR* formula;
        const char* text;
    } cases[] = {
        {OLESTR("\"abc\""), "abc"},
        {OLESTR("\"\""), ""},
        {OLESTR("\"ab\"+\"cd\""), "abcd"},
        {OLESTR("\"ab\"+\"cd\"+\"ef\""), "abcdef"},
        {OLESTR("\"a\"+\"\""), "a"},
        {OLESTR("\"1+2\""), "1+2"},
        // A text that starts after index 1 reads on past its end.
        {OLESTR("(\"abc\")"), "abc\""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(test::Utf8(c.formula));
        const auto got = Evaluate(c.formula);
        EXPECT_EQ(got.code, 0u) << got.text;
        EXPECT_EQ(got.value, ostrel::FORMULA_TEXT);
        EXPECT_EQ(got.text, c.text);
    }
    // A number equal to the marker is a text.
    EXPECT_EQ(Evaluate(OLESTR("1.7976931348623157E308")).value, ostrel::FORMULA_TEXT);
}

TEST(Formula, TextsCompareWithWhatFollowsThem) {
    ExpectNumbers({
        {OLESTR("\"b\">\"a\""), 1}, {OLESTR("\"ab\"==\"ab\""), 1}, {OLESTR("\"a\"!=\"b\""), 1},
        {OLESTR("\"a\"<=\"a\""), 1},
        // After ab the left span goes on with a quote (0x22), the right with a space.
        {OLESTR("\"ab\"<\"ab \""), 0},
        {OLESTR("\"abc\"/2"), DBL_MAX / 2},
    });
}

TEST(Formula, Errors) {
    const struct {
        const OLECHAR* formula;
        DWORD code;
    } cases[] = {
        {OLESTR(""), VOMSG_FORMULA_EMPTY_OPERAND},        {OLESTR("(-3)"), VOMSG_FORMULA_EMPTY_OPERAND},
        {OLESTR("()"), VOMSG_FORMULA_EMPTY_OPERAND},      {OLESTR("2*"), VOMSG_FORMULA_EMPTY_OPERAND},
        {OLESTR("\"abc"), VOMSG_FORMULA_UNTERMINATED_TEXT}, {OLESTR(" 1"), VOMSG_FORMULA_BAD_OPERAND},
        {OLESTR("2+ 3"), VOMSG_FORMULA_BAD_OPERAND},       {OLESTR(".5"), VOMSG_FORMULA_BAD_OPERAND},
        {OLESTR("a"), VOMSG_FORMULA_BAD_OPERAND},          {OLESTR("1=1"), VOMSG_FORMULA_OPERAND_TYPE},
        {OLESTR("1!2"), VOMSG_FORMULA_OPERAND_TYPE},       {OLESTR("1&2"), VOMSG_FORMULA_OPERAND_TYPE},
        {OLESTR("1|2"), VOMSG_FORMULA_OPERAND_TYPE},       {OLESTR("\"a\"+1"), VOMSG_FORMULA_OPERAND_TYPE},
        {OLESTR("\"a\"*\"b\""), VOMSG_FORMULA_OPERAND_TYPE}, {OLESTR("\"a\"&&\"b\""), VOMSG_FORMULA_OPERAND_TYPE},
        {OLESTR("1/0"), VOMSG_FORMULA_DIVISION_BY_ZERO},    {OLESTR("5%0.5"), VOMSG_FORMULA_DIVISION_BY_ZERO},
        {OLESTR("\"a\"%0"), VOMSG_FORMULA_DIVISION_BY_ZERO},
        // The scan of the whole range comes first, then the leftmost error.
        {OLESTR("1/0+\"a"), VOMSG_FORMULA_UNTERMINATED_TEXT},
        {OLESTR("1/0+@Q(1)"), VOMSG_FORMULA_DIVISION_BY_ZERO},
        {OLESTR("@Q(1)+1/0"), VOMSG_FORMULA_UNKNOWN_FUNCTION},
        {OLESTR("1=1/0"), VOMSG_FORMULA_DIVISION_BY_ZERO},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(test::Utf8(c.formula));
        const auto got = Evaluate(c.formula);
        EXPECT_HR(HRESULT(c.code), HRESULT(got.code));
        EXPECT_FALSE(got.text.empty());
    }
}

TEST(Formula, OperandsAreClassifiedByTheirLow8Bits) {
    // U+0130 looks like '0' and reads as no number; U+0122 opens a text.
    EXPECT_EQ(Evaluate(OLESTR("\u0130")).value, 0);
    EXPECT_EQ(Evaluate(OLESTR("\u0122abc)")).text, "abc");
    EXPECT_EQ(Evaluate(OLESTR("\u0158(1,2)")).value, 2);
    // The scan itself compares whole characters: U+0128 opens no group.
    EXPECT_EQ(Evaluate(OLESTR("\u01281+2)")).code, DWORD(VOMSG_FORMULA_BAD_OPERAND));
}

TEST(Formula, StopsAtTheFirstNul) {
    const OLECHAR formula[] = OLESTR("1+2\0+5");
    EXPECT_EQ(Evaluate(std::basic_string_view<OLECHAR>(formula, std::size(formula) - 1)).value, 3);
}

}  // namespace
