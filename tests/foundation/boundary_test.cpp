// The boundary rule: what a caller sees for each kind of failure.
#include "foundation/boundary.h"

#include <stdexcept>

#include "foundation/message_numbers.h"
#include "foundation/vo_error.h"
#include "test_support.h"

namespace {

using ostrel::Boundary;
using ostrel::EVoError;
using ostrel::FormulaBoundary;

// Some class identifier that no registry knows.
const CLSID kClass = {0x1234, 0x5678, 0x9ABC, {1, 2, 3, 4, 5, 6, 7, 8}};

class BoundaryTest : public ::testing::Test {
protected:
    void SetUp() override { SetErrorInfo(0, nullptr); }
    void TearDown() override { SetErrorInfo(0, nullptr); }
};

TEST_F(BoundaryTest, SuccessAndOwnResultsPassThrough) {
    EXPECT_HR(S_OK, Boundary(kClass, [] {}));
    EXPECT_HR(S_FALSE, Boundary(kClass, [] { return S_FALSE; }));
    EXPECT_FALSE(test::TakeErrorInfo().present);
}

TEST_F(BoundaryTest, ErrorWithTextBecomesDispatchExceptionWithDescription) {
    EXPECT_HR(DISP_E_EXCEPTION, Boundary(kClass, [] { throw EVoError(OLESTR("Invalid operator")); }));
    auto info = test::TakeErrorInfo();
    ASSERT_TRUE(info.present);
    EXPECT_EQ(info.description, "Invalid operator");
    EXPECT_EQ(info.source, "") << "an unregistered class has no ProgID to name";
}

TEST_F(BoundaryTest, NumberedErrorNeverShowsItsNumber) {
    EXPECT_HR(DISP_E_EXCEPTION, Boundary(kClass, [] { throw EVoError(VOMSG_INDEX_OUT_OF_RANGE); }));
    EXPECT_EQ(test::TakeErrorInfo().description,
              "The index is out of range: it must be below the number of items.\r\n");
}

// Failures without text leave the caller's error information alone.
TEST_F(BoundaryTest, FailuresWithoutTextReturnTheirCodeOnly) {
    struct Case {
        const char* name;
        HRESULT expected;
        void (*body)();
    };
    const Case cases[] = {
        {"thrown HRESULT", E_POINTER, [] { throw HRESULT(E_POINTER); }},
        {"EVoError with empty text", HRESULT(0xC0020001), [] {
             EVoError e(OLESTR(""));
             e.Code = 0xC0020001;
             throw e;
         }},
        {"standard exception", RPC_E_SERVERFAULT, [] { throw std::length_error("too long"); }},
        {"anything else", RPC_E_SERVERFAULT, [] { throw 42.0; }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_HR(c.expected, Boundary(kClass, c.body));
        EXPECT_FALSE(test::TakeErrorInfo().present);
    }
}

TEST_F(BoundaryTest, FormulaIsAppendedToEveryFailure) {
    EXPECT_HR(DISP_E_EXCEPTION,
              FormulaBoundary(kClass, OLESTR("1/0"), [] { throw EVoError(OLESTR("Division by zero")); }));
    EXPECT_EQ(test::TakeErrorInfo().description, "Division by zero\nFormula: 1/0");

    // Even a failure that carried no text now has one.
    EXPECT_HR(DISP_E_EXCEPTION, FormulaBoundary(kClass, OLESTR("2+"), [] { throw std::runtime_error("?"); }));
    EXPECT_EQ(test::TakeErrorInfo().description, "\nFormula: 2+");

    EXPECT_HR(DISP_E_EXCEPTION, FormulaBoundary(kClass, OLESTR("x"), [] { return E_INVALIDARG; }));
    EXPECT_EQ(test::TakeErrorInfo().description, "\nFormula: x");

    EXPECT_HR(S_OK, FormulaBoundary(kClass, OLESTR("1"), [] {}));
    EXPECT_FALSE(test::TakeErrorInfo().present);
}

}  // namespace
