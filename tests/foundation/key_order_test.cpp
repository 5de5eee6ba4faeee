// Ordering and equality of keys: these rules decide which keys collide.
#include "foundation/key_order.h"

#include <vector>

#include "test_support.h"

namespace {

using ostrel::VariantEqual;
using ostrel::VariantLess;

VARIANT I4(LONG x) {
    VARIANT v = {};
    test::SetI4(v, x);
    return v;
}
VARIANT None(VARTYPE vt) {
    VARIANT v = {};
    v.vt = vt;
    return v;
}
VARIANT Bool(bool b) {
    VARIANT v = {};
    v.vt = VT_BOOL;
    v.boolVal = b ? VARIANT_TRUE : VARIANT_FALSE;
    return v;
}
VARIANT Cy(LONGLONG units) {
    VARIANT v = {};
    v.vt = VT_CY;
    v.cyVal.int64 = units;
    return v;
}

// An owned one-dimensional array of variants.
struct Array : test::Var {
    explicit Array(const std::vector<VARIANT>& items) {
        vt = VT_ARRAY | VT_VARIANT;
        parray = SafeArrayCreateVector(VT_VARIANT, 0, ULONG(items.size()));
        for (LONG i = 0; i < LONG(items.size()); ++i) {
            VARIANT item = items[size_t(i)];
            SafeArrayPutElement(parray, &i, &item);
        }
    }
};

TEST(VariantOrder, ScalarsOfOneType) {
    struct Case {
        const char* name;
        VARIANT a, b;
        bool less, equal;
    };
    const Case cases[] = {
        {"i4 less", I4(1), I4(2), true, false},
        {"i4 equal", I4(3), I4(3), false, true},
        {"i4 signed", I4(-1), I4(0), true, false},
        {"bool: true sorts first", Bool(true), Bool(false), true, false},
        {"bool: false after true", Bool(false), Bool(true), false, false},
        {"currency signed 64-bit", Cy(-1), Cy(0x100000000LL), true, false},
        {"currency equal", Cy(5), Cy(5), false, true},
        {"null vs empty: each is less than the other", None(VT_NULL), None(VT_EMPTY), true, false},
    };
    for (Case c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(VariantLess(c.a, c.b), c.less);
        EXPECT_EQ(VariantEqual(c.a, c.b), c.equal);
    }
}

TEST(VariantOrder, EmptyAndNullSortAfterEverything) {
    VARIANT five = I4(5), empty = None(VT_EMPTY), null = None(VT_NULL);
    EXPECT_FALSE(VariantLess(empty, five));
    EXPECT_TRUE(VariantLess(five, empty));
    EXPECT_TRUE(VariantLess(five, null));
    // Each of empty and null counts as less than the other.
    EXPECT_TRUE(VariantLess(empty, null));
    EXPECT_TRUE(VariantLess(null, empty));
    EXPECT_FALSE(VariantEqual(empty, five));
    EXPECT_FALSE(VariantEqual(five, null));
    EXPECT_TRUE(VariantEqual(empty, empty));
}

TEST(VariantOrder, TwoEmptyKeysCannotBeOrdered) {
    for (VARTYPE vt : {VT_EMPTY, VT_NULL}) {
        VARIANT a = None(vt), b = None(vt);
        try {
            VariantLess(a, b);
            ADD_FAILURE() << "ordered two values of type " << vt;
        } catch (HRESULT hr) {
            EXPECT_HR(DISP_E_BADVARTYPE, hr);
        }
    }
}

TEST(VariantOrder, SecondOperandIsConvertedInPlaceAndStaysSo) {
    VARIANT five = I4(5);
    test::Var seven;
    test::SetBstr(seven, OLESTR("7"));
    EXPECT_TRUE(VariantLess(five, seven));
    EXPECT_EQ(seven.vt, VT_I4);
    EXPECT_EQ(seven.lVal, 7);

    test::Var word;
    test::SetBstr(word, OLESTR("seven"));
    try {
        VariantEqual(five, word);
        ADD_FAILURE() << "a word compared as a number";
    } catch (HRESULT hr) {
        EXPECT_HR(DISP_E_TYPEMISMATCH, hr);
        EXPECT_EQ(word.vt, VT_BSTR) << "a failed conversion leaves the operand as it was";
    }
}

TEST(VariantOrder, StringsCompareByCodeUnitAndNullIsEmpty) {
    test::Var a, b, lower, nullString, emptyString;
    test::SetBstr(a, OLESTR("Abc"));
    test::SetBstr(b, OLESTR("Abd"));
    test::SetBstr(lower, OLESTR("abc"));
    nullString.vt = VT_BSTR;
    nullString.bstrVal = nullptr;
    test::SetBstr(emptyString, OLESTR(""));
    EXPECT_TRUE(VariantLess(a, b));
    EXPECT_TRUE(VariantLess(a, lower)) << "case-sensitive, no locale: 'A' < 'a'";
    EXPECT_FALSE(VariantEqual(a, lower));
    EXPECT_TRUE(VariantEqual(nullString, emptyString));
    EXPECT_TRUE(VariantLess(nullString, a));
}

TEST(VariantOrder, ReferencesCompareThroughThePointer) {
    LONG x = 1, y = 2;
    VARIANT a = {}, b = {};
    a.vt = b.vt = VT_BYREF | VT_I4;
    a.plVal = &x;
    b.plVal = &y;
    EXPECT_TRUE(VariantLess(a, b));
    EXPECT_FALSE(VariantEqual(a, b));
    y = 1;
    EXPECT_TRUE(VariantEqual(a, b));
}

TEST(VariantOrder, OneElementArraysNeverOrderYetMayDiffer) {
    Array one({I4(1)}), two({I4(2)});
    EXPECT_FALSE(VariantLess(one, two));
    EXPECT_FALSE(VariantLess(two, one));
    EXPECT_FALSE(VariantEqual(one, two));
    Array alsoOne({I4(1)});
    EXPECT_TRUE(VariantEqual(one, alsoOne));
}

TEST(VariantOrder, ArraysCompareElementByElement) {
    Array a({I4(1), I4(2)}), b({I4(1), I4(3)}), same({I4(1), I4(2)});
    EXPECT_TRUE(VariantLess(a, b));
    EXPECT_FALSE(VariantLess(b, a));
    EXPECT_TRUE(VariantEqual(a, same));
    EXPECT_FALSE(VariantLess(a, same));
}

TEST(VariantOrder, ArraysOfDifferentLengthsHaveADefinedOrder) {
    // Positions past the shorter array count as empty, and empty sorts last:
    // the longer array orders first when the shorter one is its prefix.
    Array shorter({I4(1), I4(2)}), longer({I4(1), I4(2), I4(3)});
    EXPECT_TRUE(VariantLess(longer, shorter));
    EXPECT_FALSE(VariantLess(shorter, longer));
    EXPECT_FALSE(VariantEqual(shorter, longer));
    // A difference before the end still decides.
    Array early({I4(0), I4(9)});
    EXPECT_TRUE(VariantLess(early, longer));
}

TEST(TaskKeyOrder, LevelDecidesBeforeTheValueAndReservedIsIgnored) {
    task_key a = {}, b = {};
    a.Level = 1;
    b.Level = 2;
    a.Value = None(VT_EMPTY);
    b.Value = None(VT_EMPTY);
    // Different levels never reach the value comparison, which would throw.
    EXPECT_TRUE(ostrel::TaskKeyLess(a, b));
    EXPECT_FALSE(ostrel::TaskKeyEqual(a, b));

    task_key c = {}, d = {};
    c.Level = d.Level = 3;
    c.dwReserved = 1;
    d.dwReserved = 99;
    c.Value = I4(4);
    d.Value = I4(4);
    EXPECT_TRUE(ostrel::TaskKeyEqual(c, d));
    EXPECT_FALSE(ostrel::TaskKeyLess(c, d));
    d.Value = I4(5);
    EXPECT_TRUE(ostrel::TaskKeyLess(c, d));
}

}  // namespace
