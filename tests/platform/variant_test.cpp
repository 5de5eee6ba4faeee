#include "platform/variant_test_support.h"

namespace {

TEST(Variant, ClearReleasesWhatTheVariantOwns) {
    FakeObject object;
    VARIANT v;
    v.vt = VT_DISPATCH;
    v.pdispVal = &object;
    object.AddRef();
    EXPECT_EQ(Hex(VariantClear(&v)), Hex(S_OK));
    EXPECT_EQ(object.refs, 1u);
    EXPECT_EQ(v.vt, VT_EMPTY);

    v.vt = VT_ARRAY | VT_BSTR;
    v.parray = SafeArrayCreateVector(VT_BSTR, 0, 2);
    EXPECT_EQ(Hex(VariantClear(&v)), Hex(S_OK));  // the sanitizer build sees any leak

    LONG target = 7;
    v.vt = VT_BYREF | VT_I4;
    v.plVal = &target;
    EXPECT_EQ(Hex(VariantClear(&v)), Hex(S_OK));
    EXPECT_EQ(target, 7);
}

TEST(Variant, ClearRefusesTagsThatCannotBeInAVariant) {
    const VARTYPE bad[] = {15, VT_VOID, VT_HRESULT, VT_LPSTR, VT_INT_PTR, VT_BYREF | VT_EMPTY,
                           VT_BYREF | VT_NULL, VT_ARRAY | VT_EMPTY, VT_VECTOR | VT_I4, VT_RESERVED | VT_I4};
    for (VARTYPE vt : bad) {
        VARIANT v;
        v.vt = vt;
        v.lVal = 5;
        EXPECT_EQ(Hex(VariantClear(&v)), Hex(DISP_E_BADVARTYPE)) << "vt=0x" << std::hex << vt;
        EXPECT_EQ(v.vt, vt) << "a refused variant keeps its tag";
    }
    EXPECT_EQ(Hex(VariantClear(nullptr)), Hex(E_INVALIDARG));
}

TEST(Variant, CopyIsDeep) {
    Var src, dst;
    SetBstr(&src, OLESTR("text"));
    ASSERT_EQ(Hex(VariantCopy(&dst, &src)), Hex(S_OK));
    EXPECT_NE(dst.bstrVal, src.bstrVal);
    EXPECT_EQ(Describe(dst), "BSTR 'text'");

    FakeObject object;
    Var holder;
    holder.vt = VT_UNKNOWN;
    holder.punkVal = &object;
    object.AddRef();
    ASSERT_EQ(Hex(VariantCopy(&dst, &holder)), Hex(S_OK));  // also frees the string dst held
    EXPECT_EQ(object.refs, 3u);

    // The platform copies a null string as an empty one.
    src.bstrVal = (SysFreeString(src.bstrVal), nullptr);
    ASSERT_EQ(Hex(VariantCopy(&dst, &src)), Hex(S_OK));
    ASSERT_NE(dst.bstrVal, nullptr);
    EXPECT_EQ(SysStringLen(dst.bstrVal), 0u);
}

TEST(Variant, CopyKeepsReferencesAsPointersAndRefusesBadTypes) {
    LONG target = 77;
    Var src, dst;
    src.vt = VT_BYREF | VT_I4;
    src.plVal = &target;
    ASSERT_EQ(Hex(VariantCopy(&dst, &src)), Hex(S_OK));
    EXPECT_EQ(dst.plVal, &target);

    Var good;
    good.vt = VT_I4;
    good.lVal = 3;
    VARIANT bad;
    bad.vt = 15;
    EXPECT_EQ(Hex(VariantCopy(&good, &bad)), Hex(DISP_E_BADVARTYPE));
    EXPECT_EQ(Describe(good), "I4 3") << "destination untouched";
    EXPECT_EQ(Hex(VariantCopy(&bad, &good)), Hex(DISP_E_BADVARTYPE));
    EXPECT_EQ(bad.vt, 15);
    EXPECT_EQ(Hex(VariantCopy(nullptr, &good)), Hex(E_INVALIDARG));
    EXPECT_EQ(Hex(VariantCopy(&good, nullptr)), Hex(E_INVALIDARG));
}

TEST(Variant, CopyIndFollowsOneReference) {
    LONG number = 42;
    Var ref, out;
    ref.vt = VT_BYREF | VT_I4;
    ref.plVal = &number;
    ASSERT_EQ(Hex(VariantCopyInd(&out, &ref)), Hex(S_OK));
    EXPECT_EQ(Describe(out), "I4 42");

    Var inner;
    SetBstr(&inner, OLESTR("in"));
    ref.vt = VT_BYREF | VT_VARIANT;
    ref.pvarVal = &inner;
    ASSERT_EQ(Hex(VariantCopyInd(&out, &ref)), Hex(S_OK));
    EXPECT_EQ(Describe(out), "BSTR 'in'");
    EXPECT_NE(out.bstrVal, inner.bstrVal);

}

TEST(Variant, CopyIndRefusesMalformedReferencesAndWorksInPlace) {
    Var inner, middle, outer, out;
    SetBstr(&inner, OLESTR("x"));
    middle.vt = VT_BYREF | VT_VARIANT;
    middle.pvarVal = &inner;
    outer.vt = VT_BYREF | VT_VARIANT;
    outer.pvarVal = &middle;
    out.vt = VT_I4;
    out.lVal = 5;
    EXPECT_EQ(Hex(VariantCopyInd(&out, &outer)), Hex(E_INVALIDARG));
    EXPECT_EQ(Describe(out), "I4 5");

    VARIANT bad;
    bad.vt = VT_BYREF | VT_EMPTY;
    bad.byref = &inner;
    EXPECT_EQ(Hex(VariantCopyInd(&out, &bad)), Hex(E_INVALIDARG));

    // middle is a reference to inner: copying it onto itself leaves a copy.
    ASSERT_EQ(Hex(VariantCopyInd(&middle, &middle)), Hex(S_OK));
    EXPECT_EQ(Describe(middle), "BSTR 'x'");
    EXPECT_NE(middle.bstrVal, inner.bstrVal);
}

}  // namespace
