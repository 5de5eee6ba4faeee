// Safe arrays: what creation records, bounds, locks and element copies.
#include <cstring>

#include "variant_test_support.h"

namespace {

DWORD StoredVartype(SAFEARRAY* psa) {
    DWORD vt;
    std::memcpy(&vt, reinterpret_cast<const char*>(psa) - sizeof vt, sizeof vt);
    return vt;
}

TEST(SafeArray, CreateRecordsTheElementTypeAsThePlatformDoes) {
    struct Case {
        VARTYPE vt;
        ULONG size;
        USHORT features;
    };
    const Case cases[] = {{VT_I2, 2, FADF_HAVEVARTYPE},          {VT_R8, 8, FADF_HAVEVARTYPE},
                          {VT_BSTR, 8, FADF_BSTR | FADF_HAVEVARTYPE}, {VT_VARIANT, 24, FADF_VARIANT | FADF_HAVEVARTYPE},
                          {VT_UNKNOWN, 8, FADF_UNKNOWN | FADF_HAVEIID}, {VT_DISPATCH, 8, FADF_DISPATCH | FADF_HAVEIID},
                          {VT_DECIMAL, 16, FADF_HAVEVARTYPE},       {VT_UI1, 1, FADF_HAVEVARTYPE}};
    SAFEARRAYBOUND bounds[2] = {{3, 1}, {2, -1}};
    for (const Case& c : cases) {
        SAFEARRAY* psa = SafeArrayCreate(c.vt, 2, bounds);
        ASSERT_NE(psa, nullptr) << "vt=" << c.vt;
        EXPECT_EQ(SafeArrayGetElemsize(psa), c.size) << "vt=" << c.vt;
        EXPECT_EQ(psa->fFeatures, c.features) << "vt=" << c.vt;
        VARTYPE vt = 0;
        EXPECT_HR(S_OK, SafeArrayGetVartype(psa, &vt));
        EXPECT_EQ(vt, c.vt);
        if (c.features & FADF_HAVEVARTYPE) { EXPECT_EQ(StoredVartype(psa), c.vt); }  // kept before the header
        if (c.vt == VT_DISPATCH) { EXPECT_TRUE(IsEqualGUID(reinterpret_cast<const GUID*>(psa)[-1], IID_IDispatch)); }
        EXPECT_HR(S_OK, SafeArrayDestroy(psa));
    }
}

TEST(SafeArray, CreateRefusesWhatItCannotHold) {
    SAFEARRAYBOUND bound = {4, 0};
    for (VARTYPE vt : {VARTYPE(VT_EMPTY), VARTYPE(VT_NULL), VARTYPE(VT_RECORD), VARTYPE(VT_VOID), VARTYPE(15)})
        EXPECT_EQ(SafeArrayCreate(vt, 1, &bound), nullptr) << "vt=" << vt;
    EXPECT_EQ(SafeArrayCreate(VT_I4, 0, &bound), nullptr);
    EXPECT_EQ(SafeArrayCreate(VT_I4, 1, nullptr), nullptr);
    // Data beyond the platform's 32-bit sizes. Wine differs from the
    // documented platform here: its size wraps at 32 bits, and it hands out
    // an array with a data block far too small for its bounds.
    SAFEARRAYBOUND huge[2] = {{0x10000, 0}, {0x10000, 0}};  // 32 GiB of doubles
    SAFEARRAY* tooBig[] = {SafeArrayCreate(VT_R8, 2, huge), SafeArrayCreateVector(VT_R8, 0, 0x40000000)};
    for (SAFEARRAY* psa : tooBig) {
        if (test::UnderWine()) {
            EXPECT_NE(psa, nullptr);
            SafeArrayDestroy(psa);
        } else {
            EXPECT_EQ(psa, nullptr);
        }
    }
}

TEST(SafeArray, BoundsPerDimension) {
    SAFEARRAYBOUND bounds[2] = {{3, 1}, {2, -1}};
    SAFEARRAY* psa = SafeArrayCreate(VT_I4, 2, bounds);
    LONG lo = 99, hi = 99;
    EXPECT_HR(S_OK, SafeArrayGetLBound(psa, 1, &lo));
    EXPECT_HR(S_OK, SafeArrayGetUBound(psa, 1, &hi));
    EXPECT_EQ(lo, 1);
    EXPECT_EQ(hi, 3);
    EXPECT_HR(S_OK, SafeArrayGetUBound(psa, 2, &hi));
    EXPECT_EQ(hi, 0);
    hi = 99;
    EXPECT_HR(DISP_E_BADINDEX, SafeArrayGetUBound(psa, 0, &hi));
    EXPECT_EQ(hi, 99);
    EXPECT_HR(E_INVALIDARG, SafeArrayGetUBound(nullptr, 1, &hi));

    // The first index varies fastest.
    LONG at[2] = {2, 0};
    LONG value = 42;
    ASSERT_HR(S_OK, SafeArrayPutElement(psa, at, &value));
    EXPECT_EQ(static_cast<LONG*>(psa->pvData)[4], 42);
    LONG outside[2] = {4, 0};
    EXPECT_HR(DISP_E_BADINDEX, SafeArrayPutElement(psa, outside, &value));
    EXPECT_HR(E_INVALIDARG, SafeArrayPutElement(psa, nullptr, &value));
    // Wine differs from the documented platform here: it reads through a
    // null value instead of answering E_INVALIDARG.
    if (!test::UnderWine()) { EXPECT_HR(E_INVALIDARG, SafeArrayPutElement(psa, at, nullptr)); }
    SafeArrayDestroy(psa);
}

TEST(SafeArray, LocksGuardDestruction) {
    SAFEARRAY* psa = SafeArrayCreateVector(VT_I4, 5, 3);
    void* data = nullptr;
    ASSERT_HR(S_OK, SafeArrayAccessData(psa, &data));
    EXPECT_EQ(data, psa->pvData);
    ASSERT_HR(S_OK, SafeArrayLock(psa));
    EXPECT_HR(DISP_E_ARRAYISLOCKED, SafeArrayDestroy(psa));
    EXPECT_HR(S_OK, SafeArrayUnlock(psa));
    EXPECT_HR(S_OK, SafeArrayUnaccessData(psa));
    EXPECT_HR(E_UNEXPECTED, SafeArrayUnaccessData(psa));
    EXPECT_HR(E_UNEXPECTED, SafeArrayUnlock(psa));
    EXPECT_HR(E_INVALIDARG, SafeArrayAccessData(psa, nullptr));
    EXPECT_HR(S_OK, SafeArrayDestroy(psa));
    EXPECT_HR(S_OK, SafeArrayDestroy(nullptr));
}

TEST(SafeArray, ElementsAreCopiedInAndOut) {
    SAFEARRAY* strings = SafeArrayCreateVector(VT_BSTR, 0, 2);
    BSTR text = SysAllocString(OLESTR("hi"));
    LONG i = 0;
    ASSERT_HR(S_OK, SafeArrayPutElement(strings, &i, text));
    BSTR stored = static_cast<BSTR*>(strings->pvData)[0];
    EXPECT_NE(stored, text);
    BSTR got = nullptr;
    ASSERT_HR(S_OK, SafeArrayGetElement(strings, &i, &got));
    EXPECT_NE(got, stored);
    EXPECT_EQ(SysStringLen(got), 2u);
    SysFreeString(got);
    SysFreeString(text);

    SAFEARRAY* copy = nullptr;
    ASSERT_HR(S_OK, SafeArrayCopy(strings, &copy));
    EXPECT_NE(static_cast<BSTR*>(copy->pvData)[0], stored);
    SafeArrayDestroy(copy);
    SafeArrayDestroy(strings);

    FakeObject object;
    SAFEARRAY* objects = SafeArrayCreateVector(VT_UNKNOWN, 0, 1);
    ASSERT_HR(S_OK, SafeArrayPutElement(objects, &i, static_cast<IUnknown*>(&object)));
    EXPECT_EQ(object.refs, 2u);
    IUnknown* out = nullptr;
    ASSERT_HR(S_OK, SafeArrayGetElement(objects, &i, &out));
    EXPECT_EQ(object.refs, 3u);
    out->Release();
    ASSERT_HR(S_OK, SafeArrayCopy(objects, &copy));
    EXPECT_EQ(object.refs, 3u);
    SafeArrayDestroy(copy);
    SafeArrayDestroy(objects);
    EXPECT_EQ(object.refs, 1u);

    SAFEARRAY* variants = SafeArrayCreateVector(VT_VARIANT, 0, 1);
    Var v;
    v.vt = 15;
    EXPECT_HR(DISP_E_BADVARTYPE, SafeArrayPutElement(variants, &i, &v));
    SetBstr(&v, OLESTR("vv"));
    ASSERT_HR(S_OK, SafeArrayPutElement(variants, &i, &v));
    Var back;
    ASSERT_HR(S_OK, SafeArrayGetElement(variants, &i, &back));
    EXPECT_EQ(Describe(back), "BSTR 'vv'");
    EXPECT_NE(back.bstrVal, v.bstrVal);
    SafeArrayDestroy(variants);

    copy = reinterpret_cast<SAFEARRAY*>(1);  // a copy of nothing is nothing
    EXPECT_HR(S_OK, SafeArrayCopy(nullptr, &copy));
    EXPECT_EQ(copy, nullptr);
    EXPECT_HR(E_INVALIDARG, SafeArrayCopy(nullptr, nullptr));
}

}  // namespace
