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

// Some class identifier that no registry knows: no ProgID to name as source.
const CLSID kClass = {0x1234, 0x5678, 0x9ABC, {1, 2, 3, 4, 5, 6, 7, 8}};

TEST(Boundary, WhatTheCallerSeesForEachOutcome) {
    const struct {
        const char* name;
        HRESULT expected;
        void (*body)();
        const char* description;  // nullptr: the error information is left alone
    } cases[] = {
        {"success", S_OK, [] {}, nullptr},
        {"an error with text", DISP_E_EXCEPTION, [] { throw EVoError(OLESTR("Invalid operator")); },
         "Invalid operator"},
        {"a numbered error never shows its number", DISP_E_EXCEPTION,
         [] { throw EVoError(VOMSG_INDEX_OUT_OF_RANGE); },
         "The index is out of range: it must be below the number of items.\r\n"},
        {"thrown HRESULT", E_POINTER, [] { throw HRESULT(E_POINTER); }, nullptr},
        {"EVoError with empty text", HRESULT(0xC0020001), [] {
             EVoError e(OLESTR(""));
             e.Code = 0xC0020001;
             throw e;
         }, nullptr},
        {"standard exception", RPC_E_SERVERFAULT, [] { throw std::length_error("too long"); }, nullptr},
        {"anything else", RPC_E_SERVERFAULT, [] { throw 42.0; }, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SetErrorInfo(0, nullptr);
        EXPECT_HR(c.expected, Boundary(kClass, c.body));
        IErrorInfo* info = nullptr;
        if (GetErrorInfo(0, &info) == S_OK) SetErrorInfo(0, info), info->Release();
        if (!c.description) {
            EXPECT_EQ(info, nullptr);
            continue;
        }
        GUID guid = IID_IUnknown;  // the interface is deliberately not recorded
        ASSERT_NE(info, nullptr);
        EXPECT_HR(S_OK, info->GetGUID(&guid));
        EXPECT_TRUE(IsEqualGUID(guid, GUID_NULL));
        const auto taken = test::TakeErrorInfo();
        EXPECT_EQ(taken.description, c.description);
        EXPECT_EQ(taken.source, "");
    }
    EXPECT_HR(S_FALSE, Boundary(kClass, [] { return S_FALSE; }));  // own results pass through
}

TEST(Boundary, FormulaIsAppendedToEveryFailure) {
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
