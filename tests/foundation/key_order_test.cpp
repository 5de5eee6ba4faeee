// Ordering and equality of keys: these rules decide which keys collide.
#include "foundation/key_order.h"

#include <vector>

#include "test_support.h"

namespace {

using ostrel::VariantEqual;
using ostrel::VariantLess;

VARIANT Make(VARTYPE vt, LONGLONG bits = 0) {
    VARIANT v = {};
    v.vt = vt;
    v.llVal = bits;
    if (vt == VT_I4) v.lVal = LONG(bits);  // sign-extended into the upper half too
    if (vt == VT_BOOL) v.boolVal = bits ? VARIANT_TRUE : VARIANT_FALSE;
    return v;
}
VARIANT I4(LONG x) { return Make(VT_I4, x); }

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

TEST(VariantOrder, LessAndEqual) {
    test::Var abc, abd, lower, nullString, emptyString;
    test::SetBstr(abc, OLESTR("Abc"));
    test::SetBstr(abd, OLESTR("Abd"));
    test::SetBstr(lower, OLESTR("abc"));
    test::SetBstr(emptyString, OLESTR(""));
    nullString.vt = VT_BSTR, nullString.bstrVal = nullptr;
    LONG one = 1, two = 2, alsoOne = 1;
    VARIANT refOne = Make(VT_BYREF | VT_I4), refTwo = refOne, refAlsoOne = refOne;
    refOne.plVal = &one, refTwo.plVal = &two, refAlsoOne.plVal = &alsoOne;
    Array a1({I4(1)}), a2({I4(2)}), b1({I4(1)}), a12({I4(1), I4(2)}), a13({I4(1), I4(3)}), b12({I4(1), I4(2)}),
        a123({I4(1), I4(2), I4(3)}), a09({I4(0), I4(9)});
    const VARIANT empty = Make(VT_EMPTY), null = Make(VT_NULL), five = I4(5);
    const struct {
        const char* name;
        VARIANT a, b;
        bool less, equal;
    } cases[] = {
        {"i4 less", I4(1), I4(2), true, false},
        {"i4 equal", I4(3), I4(3), false, true},
        {"i4 signed", I4(-1), I4(0), true, false},
        {"bool: true sorts first", Make(VT_BOOL, 1), Make(VT_BOOL, 0), true, false},
        {"bool: false after true", Make(VT_BOOL, 0), Make(VT_BOOL, 1), false, false},
        {"currency signed 64-bit", Make(VT_CY, -1), Make(VT_CY, 0x100000000LL), true, false},
        {"currency equal", Make(VT_CY, 5), Make(VT_CY, 5), false, true},
        {"empty sorts after a value", empty, five, false, false},
        {"a value before empty", five, empty, true, false},
        {"a value before null", five, null, true, false},
        {"null and empty: each is less than the other", null, empty, true, false},
        {"empty and null", empty, null, true, false},
        {"strings by code unit", abc, abd, true, false},
        {"case-sensitive, no locale: 'A' < 'a'", abc, lower, true, false},
        {"a null string is the empty one", nullString, emptyString, false, true},
        {"a null string before text", nullString, abc, true, false},
        {"references through the pointer", refOne, refTwo, true, false},
        {"references to equal values", refOne, refAlsoOne, false, true},
        {"one-element arrays never order", a1, a2, false, false},
        {"... either way", a2, a1, false, false},
        {"... yet may be equal", a1, b1, false, true},
        {"arrays element by element", a12, a13, true, false},
        {"... and back", a13, a12, false, false},
        {"equal arrays", a12, b12, false, true},
        {"past the shorter end is empty, so the longer orders first", a123, a12, true, false},
        {"... and the shorter does not", a12, a123, false, false},
        {"a difference before the end decides", a09, a123, true, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        VARIANT b = c.b;  // same types: never converted, so the copy is safe
        EXPECT_EQ(VariantLess(c.a, b), c.less);
        EXPECT_EQ(VariantEqual(c.a, b), c.equal);
    }
    VARIANT alsoEmpty = empty;
    EXPECT_TRUE(VariantEqual(empty, alsoEmpty));
}

TEST(VariantOrder, TwoEmptyKeysCannotBeOrderedAndFailedConversionsThrow) {
    for (VARTYPE vt : {VT_EMPTY, VT_NULL}) {
        VARIANT a = Make(vt), b = Make(vt);
        try {
            VariantLess(a, b);
            ADD_FAILURE() << "ordered two values of type " << vt;
        } catch (HRESULT hr) {
            EXPECT_HR(DISP_E_BADVARTYPE, hr);
        }
    }
    // The second operand is converted in place and stays so.
    const VARIANT five = I4(5);
    test::Var seven, word;
    test::SetBstr(seven, OLESTR("7"));
    EXPECT_TRUE(VariantLess(five, seven));
    EXPECT_EQ(seven.vt, VT_I4);
    EXPECT_EQ(seven.lVal, 7);
    test::SetBstr(word, OLESTR("seven"));
    try {
        VariantEqual(five, word);
        ADD_FAILURE() << "a word compared as a number";
    } catch (HRESULT hr) {
        EXPECT_HR(DISP_E_TYPEMISMATCH, hr);
        EXPECT_EQ(word.vt, VT_BSTR) << "a failed conversion leaves the operand as it was";
    }
}

TEST(TaskKeyOrder, LevelDecidesBeforeTheValueAndReservedIsIgnored) {
    // Different levels never reach the value comparison, which would throw.
    task_key a = {1, 0, Make(VT_EMPTY)}, b = {2, 0, Make(VT_EMPTY)};
    EXPECT_TRUE(ostrel::TaskKeyLess(a, b));
    EXPECT_FALSE(ostrel::TaskKeyEqual(a, b));
    task_key c = {3, 1, I4(4)}, d = {3, 99, I4(4)};
    EXPECT_TRUE(ostrel::TaskKeyEqual(c, d));
    EXPECT_FALSE(ostrel::TaskKeyLess(c, d));
    d.Value = I4(5);
    EXPECT_TRUE(ostrel::TaskKeyLess(c, d));
}

}  // namespace
