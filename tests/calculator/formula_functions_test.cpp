// The built-in functions: names, argument cutting and what each computes.
#include <cmath>

#include "formula_test_support.h"

namespace {

using formula_test::Evaluate;

TEST(FormulaFunctions, Values) {
    const struct {
        const OLECHAR* formula;
        double want;
    } cases[] = {
        {OLESTR("@MAX(1,5,3)"), 5}, {OLESTR("X(1,5,3)"), 5}, {OLESTR("@MIN(4,2)"), 2}, {OLESTR("N(4,2)"), 2},
        {OLESTR("@SUM(1,2,3)"), 6}, {OLESTR("S(1,2)"), 3}, {OLESTR("@AVG(1,2,3,6)"), 3}, {OLESTR("A(2,4)"), 3},
        {OLESTR("@CNT(1,,3)"), 2}, {OLESTR("C(a,b)"), 2}, {OLESTR("@CNT(1,\"a,b\")"), 2},
        {OLESTR("@CEIL(1.2)"), 2}, {OLESTR("E(1.2)"), 2}, {OLESTR("@FLOOR(0-1.2)"), -2}, {OLESTR("L(1.8)"), 1},
        {OLESTR("@ROUND(2.5)"), 3}, {OLESTR("@ROUND(2.4)"), 2}, {OLESTR("O(2.5)"), 3},
        // Floor-based: negative values whose fraction is negative go down.
        {OLESTR("@ROUND(0-2.3)"), -3}, {OLESTR("@ROUND(0-2.7)"), -3},
        {OLESTR("@SUM(@MAX(1,2),@MIN(3,4))*2"), 10}, {OLESTR("1+@MAX(2,3)*2"), 7},
        // Names: the first letter only chooses where trying starts.
        {OLESTR("@MUM(1,2)"), 3}, {OLESTR("@CF(1,5,6)"), 5}, {OLESTR("@MEIL(1.2)"), 2},
        // The character after the name is taken as '(' unseen.
        {OLESTR("@MAX[1,2)"), 2},
        // Cutting: the inner comma is at depth 2, so the argument is (2,3),
        // read as 2; an argument still open at the end is not taken.
        {OLESTR("@MAX(1,(2,3))"), 2}, {OLESTR("@MAX(1,2"), 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(test::Utf8(c.formula));
        const auto got = Evaluate(c.formula);
        EXPECT_EQ(got.code, 0u) << got.text;
        EXPECT_DOUBLE_EQ(got.value, c.want);
    }
}

TEST(FormulaFunctions, IfEvaluatesOnlyTheChosenBranch) {
    const struct {
        const OLECHAR* formula;
        double want;
    } cases[] = {
        {OLESTR("@IF(1,10,1/0)"), 10}, {OLESTR("@IF(0,10)"), 0},       {OLESTR("@IF(0,10,20)"), 20},
        {OLESTR("@IF(0,1/0,20)"), 20}, {OLESTR("F(1,10,20,1/0)"), 10}, {OLESTR("@IF(0,1/0,2,1/0)"), 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(test::Utf8(c.formula));
        EXPECT_EQ(Evaluate(c.formula).value, c.want);
    }
}

TEST(FormulaFunctions, ResSearchesOnPastItsArgument) {
    const struct {
        const OLECHAR* formula;
        double want;
    } cases[] = {
        {OLESTR("@RES(a)"), 1}, {OLESTR("R(a,b)"), 2}, {OLESTR("@RES(b*3)"), 3},
        // The first argument already finds the second's '*'.
        {OLESTR("@RES(a,b*2)"), 4},
        // The marks grow with the argument's length: 'E' from 3, 'e' from 4.
        {OLESTR("@RES(aE3)"), 3}, {OLESTR("@RES(ae3)"), 1}, {OLESTR("@RES(axe3)"), 3},
        {OLESTR("@RES(,,)"), 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(test::Utf8(c.formula));
        EXPECT_EQ(Evaluate(c.formula).value, c.want);
    }
    // It reads on into quoted texts and other expressions too.
    EXPECT_EQ(Evaluate(OLESTR("@RES(a)+(\"*9\"==\"\")")).value, 9);
}

TEST(FormulaFunctions, TextsAndEmptyLists) {
    // A text argument takes part as the marker, so MIN over texts is a text,
    // with no text of its own.
    const auto min = Evaluate(OLESTR("@MIN(\"b\",\"a\")"));
    EXPECT_EQ(min.value, ostrel::FORMULA_TEXT);
    EXPECT_EQ(min.text, "");
    EXPECT_TRUE(std::isnan(Evaluate(OLESTR("@AVG(1")).value));
    EXPECT_EQ(Evaluate(OLESTR("@CEIL")).value, 0);
}

TEST(FormulaFunctions, Errors) {
    const struct {
        const OLECHAR* formula;
        DWORD code;
    } cases[] = {
        {OLESTR("@max(1,2)"), VOMSG_FORMULA_UNKNOWN_FUNCTION},  {OLESTR("x(1,2)"), VOMSG_FORMULA_UNKNOWN_FUNCTION},
        {OLESTR("@MXA(1)"), VOMSG_FORMULA_UNKNOWN_FUNCTION},
        {OLESTR("@Z(1)"), VOMSG_FORMULA_UNKNOWN_FUNCTION},       {OLESTR("Q(1)"), VOMSG_FORMULA_UNKNOWN_FUNCTION},
        {OLESTR("@MAX(-1,2)"), VOMSG_FORMULA_EMPTY_OPERAND},     {OLESTR("@SUM(1,)"), VOMSG_FORMULA_EMPTY_OPERAND},
        {OLESTR("@MAX(1)2"), VOMSG_FORMULA_EMPTY_OPERAND},       {OLESTR("@CNT(\"a)"), VOMSG_FORMULA_UNTERMINATED_TEXT},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(test::Utf8(c.formula));
        EXPECT_HR(HRESULT(c.code), HRESULT(Evaluate(c.formula).code));
    }
}

}  // namespace
