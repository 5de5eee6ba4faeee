// Variants and dates as message text.
#include "foundation/value_text.h"

#include <comdef.h>

#include "foundation/vo_error.h"
#include "test_support.h"

namespace {

using ostrel::VarToW;

TEST(VarToW, FormatsEachAcceptedType) {
    struct Case {
        const char* name;
        VARIANT value;
        std::string expected;
    };
    auto make = [](VARTYPE vt, auto setter) {
        VARIANT v;
        VariantInit(&v);
        v.vt = vt;
        setter(v);
        return v;
    };
    const Case cases[] = {
        {"empty", make(VT_EMPTY, [](VARIANT&) {}), ""},
        {"null", make(VT_NULL, [](VARIANT&) {}), ""},
        {"i4", make(VT_I4, [](VARIANT& v) { v.lVal = -42; }), "-42"},
        {"r8", make(VT_R8, [](VARIANT& v) { v.dblVal = 0.1; }), "0.100000000"},
        {"date is its raw number", make(VT_DATE, [](VARIANT& v) { v.date = 38000.5; }), "38000.500000000"},
        {"currency drops its fraction", make(VT_CY, [](VARIANT& v) { v.cyVal.int64 = 15000; }), "1.000000000"},
        {"currency 12.3456", make(VT_CY, [](VARIANT& v) { v.cyVal.int64 = 123456; }), "12.000000000"},
        {"negative currency truncates toward zero", make(VT_CY, [](VARIANT& v) { v.cyVal.int64 = -15000; }),
         "-1.000000000"},
    };
    for (const Case& c : cases) EXPECT_EQ(VarToW(c.value), c.expected) << c.name;
}

TEST(VarToW, LongNumbersKeepTheirFullText) {
    test::Var v;
    test::SetR8(v, 1e300);
    std::string text = VarToW(v);
    EXPECT_EQ(text.size(), 301u + 10u);
    EXPECT_EQ(text.substr(0, 2), "10");
    EXPECT_EQ(text.substr(text.size() - 10), ".000000000");
}

TEST(VarToW, StringsAreNarrowedUpToTheirFirstNul) {
    test::Var v;
    v.vt = VT_BSTR;
    const OLECHAR withNul[] = {u'a', u'\u00e9', 0, u'z'};
    v.bstrVal = SysAllocStringLen(withNul, 4);
    EXPECT_EQ(VarToW(v), "a\xe9");  // the ANSI code page is Windows-1252

    test::Var null;
    null.vt = VT_BSTR;
    null.bstrVal = nullptr;
    EXPECT_EQ(VarToW(null), "");
}

TEST(VarToW, OtherTypesAreRefused) {
    for (VARTYPE vt : {VARTYPE(VT_I2), VARTYPE(VT_R4), VARTYPE(VT_BOOL), VARTYPE(VT_UI1), VARTYPE(VT_BYREF | VT_I4),
                       VARTYPE(VT_ARRAY | VT_VARIANT)}) {
        VARIANT v = {};
        v.vt = vt;
        try {
            VarToW(v);
            ADD_FAILURE() << "type " << vt << " was accepted";
        } catch (const ostrel::EVoError& e) {
            EXPECT_EQ(test::Utf8(e.Message), "Invalid datatype in VarToW");
            EXPECT_EQ(e.Code, ostrel::TEXT_ERROR_CODE);
        }
    }
}

TEST(DateToText, UsesThePlatformsStandardForm) {
    EXPECT_EQ(ostrel::DateToText(38000.5), "1/14/2004 12:00:00 PM");
    EXPECT_EQ(ostrel::DateToText(38000.0), "1/14/2004");
}

TEST(DateToText, RefusedDateThrowsThePlatformsErrorObject) {
    try {
        ostrel::DateToText(1e10);
        ADD_FAILURE() << "a date far past year 9999 converted";
    } catch (const _com_error& e) {
        EXPECT_TRUE(FAILED(e.Error())) << test::Hex(e.Error());
    }
}

}  // namespace
