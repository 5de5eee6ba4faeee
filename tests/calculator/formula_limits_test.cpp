// Deep and long formulas: a clear error instead of an exhausted stack, and
// long formulas evaluated without rescanning them over and over.
#include <string>

#include "formula_test_support.h"

namespace {

using formula_test::Evaluate;
using WString = std::basic_string<OLECHAR>;

WString Repeat(const OLECHAR* piece, int times) {
    WString out;
    for (int i = 0; i < times; ++i) out += piece;
    return out;
}

WString Nested(const OLECHAR* open, int depth, const OLECHAR* close) {
    return Repeat(open, depth) + OLESTR("1") + Repeat(close, depth);
}

TEST(FormulaLimits, NestingUpToTheLimitWorks) {
    EXPECT_EQ(Evaluate(Nested(OLESTR("("), 200, OLESTR(")"))).value, 1);
    EXPECT_EQ(Evaluate(Nested(OLESTR("@SUM(1,"), 100, OLESTR(")"))).value, 101);
    EXPECT_EQ(Evaluate(Nested(OLESTR("1+("), 100, OLESTR(")"))).value, 101);
}

TEST(FormulaLimits, DeeperNestingFailsWithItsOwnMessage) {
    for (const auto& formula : {Nested(OLESTR("("), 100000, OLESTR(")")), Nested(OLESTR("X("), 5000, OLESTR(")")),
                                Nested(OLESTR("1-("), 5000, OLESTR(")")), Nested(OLESTR("@IF(1,"), 300, OLESTR(")"))}) {
        SCOPED_TRACE(formula.size());
        const auto got = Evaluate(formula);
        EXPECT_HR(HRESULT(VOMSG_FORMULA_TOO_DEEP), HRESULT(got.code));
        EXPECT_NE(got.text.find("256"), std::string::npos) << got.text;
    }
}

TEST(FormulaLimits, LongFormulasStayFast) {
    // Each is several hundred thousand characters; evaluating any of them by
    // rescanning per operator would take minutes.
    const int n = 100000;
    EXPECT_EQ(Evaluate(OLESTR("0") + Repeat(OLESTR("+1"), n)).value, n);
    EXPECT_EQ(Evaluate(OLESTR("0") + Repeat(OLESTR("+2*3-5"), n)).value, n);
    EXPECT_EQ(Evaluate(OLESTR("@SUM(0") + Repeat(OLESTR(",1"), n) + OLESTR(")")).value, n);
    EXPECT_EQ(Evaluate(OLESTR("0") + Repeat(OLESTR("+@RES(a)"), n)).value, n);
    EXPECT_EQ(Evaluate(OLESTR("\"\"") + Repeat(OLESTR("+\"a\""), n)).text, std::string(n, 'a'));
    EXPECT_EQ(Evaluate(OLESTR("(") + Repeat(OLESTR("1,"), n) + OLESTR("1)")).value, 1);
}

}  // namespace
