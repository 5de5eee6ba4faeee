// VARIANT lifetime: initialise, clear, copy and copy-through-reference.
#ifndef _WIN32

#include <windows.h>

#include <cstring>

#include "variant_internal.h"

namespace ostrel::platform {

ULONG VarTypeSize(VARTYPE base) {
    switch (base) {
        case VT_I1:
        case VT_UI1:
            return 1;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL:
            return 2;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_R4:
        case VT_ERROR:
            return 4;
        case VT_I8:
        case VT_UI8:
        case VT_R8:
        case VT_CY:
        case VT_DATE:
        case VT_INT_PTR:
        case VT_UINT_PTR:
            return 8;
        case VT_BSTR:
        case VT_UNKNOWN:
        case VT_DISPATCH:
            return sizeof(void*);
        case VT_DECIMAL:
            return sizeof(DECIMAL);
        case VT_VARIANT:
            return sizeof(VARIANT);
        default:
            return 0;
    }
}

bool IsValidVariantType(VARTYPE vt) {
    if (vt & (VT_VECTOR | VT_RESERVED)) return false;
    const VARTYPE base = vt & VT_TYPEMASK;
    const bool decorated = (vt & (VT_BYREF | VT_ARRAY)) != 0;
    switch (base) {
        case VT_EMPTY:
        case VT_NULL:
            // An empty or null value has nothing to point at or to collect.
            return !decorated;
        case VT_RECORD:
            return true;
        default:
            return base <= VT_UINT && base != 15;
    }
}

}  // namespace ostrel::platform

using namespace ostrel::platform;

namespace {

// Releases what a non-reference value owns. The caller has validated the tag.
HRESULT ReleaseContents(VARIANT* v) {
    const VARTYPE vt = v->vt;
    if (vt & VT_BYREF) return S_OK;
    if (vt & VT_ARRAY) {
        if (v->parray) {
            const HRESULT hr = SafeArrayDestroy(v->parray);
            if (FAILED(hr)) return hr;
        }
        return S_OK;
    }
    switch (vt) {
        case VT_BSTR:
            SysFreeString(v->bstrVal);
            break;
        case VT_UNKNOWN:
        case VT_DISPATCH:
            if (v->punkVal) v->punkVal->Release();
            break;
        case VT_RECORD:
            if (v->pRecInfo) {
                v->pRecInfo->RecordClear(v->pvRecord);
                v->pRecInfo->Release();
            }
            break;
        default:
            break;
    }
    return S_OK;
}

// A deep copy of a validated value into *out, which holds nothing.
HRESULT CopyContents(VARIANT* out, const VARIANT* src) {
    std::memcpy(out, src, sizeof(VARIANT));
    const VARTYPE vt = src->vt;
    if (vt & VT_BYREF) return S_OK;  // a reference is copied as the pointer
    if (vt & VT_ARRAY) {
        out->parray = nullptr;
        const HRESULT hr = SafeArrayCopy(src->parray, &out->parray);
        if (FAILED(hr)) out->vt = VT_EMPTY;
        return hr;
    }
    switch (vt) {
        case VT_BSTR:
            out->bstrVal = CopyBstr(src->bstrVal);
            if (!out->bstrVal) {
                out->vt = VT_EMPTY;
                return E_OUTOFMEMORY;
            }
            break;
        case VT_UNKNOWN:
        case VT_DISPATCH:
            if (out->punkVal) out->punkVal->AddRef();
            break;
        case VT_RECORD:
            if (src->pRecInfo) {
                out->pvRecord = nullptr;
                const HRESULT hr = src->pRecInfo->RecordCreateCopy(src->pvRecord, &out->pvRecord);
                if (FAILED(hr)) {
                    out->vt = VT_EMPTY;
                    return hr;
                }
                out->pRecInfo->AddRef();
            }
            break;
        default:
            break;
    }
    return S_OK;
}

// Replaces *dest with the already-built value *fresh, keeping dest untouched
// when dest cannot be cleared.
HRESULT Install(VARIANT* dest, VARIANT* fresh) {
    if (!IsValidVariantType(dest->vt)) {
        ReleaseContents(fresh);
        return DISP_E_BADVARTYPE;
    }
    const HRESULT hr = ReleaseContents(dest);
    if (FAILED(hr)) {
        ReleaseContents(fresh);
        return hr;
    }
    std::memcpy(dest, fresh, sizeof(VARIANT));
    return S_OK;
}

// The value a reference points at, as a plain (non-reference) deep copy.
HRESULT CopyReferenced(VARIANT* out, const VARIANT* src) {
    const VARTYPE base = src->vt & VT_TYPEMASK;
    if (src->vt & VT_ARRAY) {
        out->vt = src->vt & ~VT_BYREF;
        out->parray = nullptr;
        const HRESULT hr = SafeArrayCopy(*src->pparray, &out->parray);
        if (FAILED(hr)) out->vt = VT_EMPTY;
        return hr;
    }
    if (base == VT_VARIANT) {
        const VARIANT* inner = src->pvarVal;
        // One level of indirection is followed; a reference to a reference
        // to a variant is refused, as the platform does.
        if (inner->vt == (VT_BYREF | VT_VARIANT)) return E_INVALIDARG;
        if (!IsValidVariantType(inner->vt)) return DISP_E_BADVARTYPE;
        if (inner->vt & VT_BYREF) return CopyReferenced(out, inner);
        return CopyContents(out, inner);
    }
    VARIANT plain;
    std::memset(&plain, 0, sizeof plain);
    plain.vt = base;
    if (base == VT_DECIMAL) {
        // DECIMAL overlays the whole variant, tag included.
        plain.decVal = *src->pdecVal;
        plain.vt = VT_DECIMAL;
    } else {
        std::memcpy(&plain.llVal, src->byref, VarTypeSize(base));
    }
    return CopyContents(out, &plain);
}

}  // namespace

OSTREL_PLATFORM_FN void WINAPI VariantInit(VARIANTARG* pvarg) {
    // Only the tag: the platform leaves the rest of the variant as it was.
    if (pvarg) pvarg->vt = VT_EMPTY;
}

OSTREL_PLATFORM_FN HRESULT WINAPI VariantClear(VARIANTARG* pvarg) {
    if (!pvarg) return E_INVALIDARG;
    if (!IsValidVariantType(pvarg->vt)) return DISP_E_BADVARTYPE;
    const HRESULT hr = ReleaseContents(pvarg);
    if (FAILED(hr)) return hr;
    // The platform resets the tag and leaves the value bits as they were.
    pvarg->vt = VT_EMPTY;
    return S_OK;
}

OSTREL_PLATFORM_FN HRESULT WINAPI VariantCopy(VARIANTARG* pvargDest, const VARIANTARG* pvargSrc) {
    if (!pvargDest || !pvargSrc) return E_INVALIDARG;
    if (!IsValidVariantType(pvargSrc->vt)) return DISP_E_BADVARTYPE;
    if (pvargDest == pvargSrc) return S_OK;
    if (!IsValidVariantType(pvargDest->vt)) return DISP_E_BADVARTYPE;
    VARIANT fresh;
    const HRESULT hr = CopyContents(&fresh, pvargSrc);
    if (FAILED(hr)) return hr;
    return Install(pvargDest, &fresh);
}

namespace {

HRESULT ClearAndRefuse(VARIANT* dest) {
    VariantClear(dest);
    return E_INVALIDARG;
}

}  // namespace

OSTREL_PLATFORM_FN HRESULT WINAPI VariantCopyInd(VARIANT* pvarDest, const VARIANTARG* pvargSrc) {
    if (!pvarDest || !pvargSrc) return E_INVALIDARG;
    if (!(pvargSrc->vt & VT_BYREF)) return VariantCopy(pvarDest, pvargSrc);
    // The platform answers a malformed reference with E_INVALIDARG rather
    // than DISP_E_BADVARTYPE. A bad tag is seen before anything is touched; a
    // reference to a reference only once the destination has been cleared.
    if (!IsValidVariantType(pvargSrc->vt) || !pvargSrc->byref) return E_INVALIDARG;
    VARIANT fresh;
    std::memset(&fresh, 0, sizeof fresh);
    const HRESULT hr = CopyReferenced(&fresh, pvargSrc);
    if (hr == E_INVALIDARG && pvarDest != pvargSrc) return ClearAndRefuse(pvarDest);
    if (FAILED(hr)) return hr;
    // Built before dest is cleared, so copying a variant onto itself works.
    return Install(pvarDest, &fresh);
}

#endif
