// Variants and dates as message text.
#include "foundation/value_text.h"

#include <comdef.h>

#include "foundation/vo_error.h"
#include "test_support.h"

namespace {

using ostrel::VarToW;

VARIANT Make(VARTYPE vt, LONGLONG bits = 0, double real = 0) {
    VARIANT v = {};
    v.vt = vt;
    v.llVal = bits;
    if (vt == VT_R8 || vt == VT_DATE) v.dblVal = real;
    if (vt == VT_I4) v.lVal = LONG(bits);
    return v;
}

TEST(VarToW, FormatsEachAcceptedType) {
    const OLECHAR withNul[] = {OLESTR('a'), OLESTR('\u00e9'), 0, OLESTR('z')};
    test::Var text;
    text.vt = VT_BSTR;
    text.bstrVal = SysAllocStringLen(withNul, 4);
    const struct {
        const char* name;
        VARIANT value;
        std::string expected;
    } cases[] = {
        {"empty", Make(VT_EMPTY), ""},
        {"null", Make(VT_NULL), ""},
        {"null string", Make(VT_BSTR), ""},
        {"string up to its first NUL, in Windows-1252", text, "a\xe9"},
        {"i4", Make(VT_I4, -42), "-42"},
        {"r8", Make(VT_R8, 0, 0.1), "0.100000000"},
        {"date is its raw number", Make(VT_DATE, 0, 38000.5), "38000.500000000"},
        // Deliberately only whole units: the currency's fraction is dropped.
        {"currency 1.5", Make(VT_CY, 15000), "1.000000000"},
        {"currency 12.3456", Make(VT_CY, 123456), "12.000000000"},
        {"negative currency truncates toward zero", Make(VT_CY, -15000), "-1.000000000"},
    };
    for (const auto& c : cases) EXPECT_EQ(VarToW(c.value), c.expected) << c.name;

    const std::string huge = VarToW(Make(VT_R8, 0, 1e300));  // long numbers keep their full text
    EXPECT_EQ(huge.size(), 301u + 10u);
    EXPECT_EQ(huge.substr(0, 2), "10");
    EXPECT_EQ(huge.substr(huge.size() - 10), ".000000000");
}

TEST(VarToW, OtherTypesAreRefused) {
    for (VARTYPE vt : {VARTYPE(VT_I2), VARTYPE(VT_R4), VARTYPE(VT_BOOL), VARTYPE(VT_UI1), VARTYPE(VT_BYREF | VT_I4),
                       VARTYPE(VT_ARRAY | VT_VARIANT)}) {
        try {
            VarToW(Make(vt));
            ADD_FAILURE() << "type " << vt << " was accepted";
        } catch (const ostrel::EVoError& e) {
            EXPECT_EQ(test::Utf8(e.Message), "Invalid datatype in VarToW");
            EXPECT_EQ(e.Code, ostrel::TEXT_ERROR_CODE);
        }
    }
}

TEST(DateToText, UsesThePlatformsStandardFormAndItsErrorObject) {
    EXPECT_EQ(ostrel::DateToText(38000.5), "1/14/2004 12:00:00 PM");
    EXPECT_EQ(ostrel::DateToText(38000.0), "1/14/2004");
    try {
        ostrel::DateToText(1e10);
        ADD_FAILURE() << "a date far past year 9999 converted";
    } catch (const _com_error& e) {
        EXPECT_TRUE(FAILED(e.Error())) << test::Hex(e.Error());
    }
}

}  // namespace
