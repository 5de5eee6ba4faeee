// VariantChangeType / VariantChangeTypeEx: which conversions exist, and the
// handling of references, arrays, objects, text and booleans around the
// numeric core.
//
// The result is built completely before the destination is touched, so a
// failed conversion leaves the destination as it was and a variant may be
// converted in place.
#ifndef _WIN32

#include <windows.h>

#include <cstring>

#include "variant_internal.h"

using namespace ostrel::platform;

namespace {

bool IsNumericType(VARTYPE vt) {
    switch (vt) {
        case VT_I1: case VT_UI1: case VT_I2: case VT_UI2: case VT_I4: case VT_UI4:
        case VT_INT: case VT_UINT: case VT_I8: case VT_UI8:
        case VT_R4: case VT_R8: case VT_CY: case VT_DATE: case VT_DECIMAL: case VT_BOOL:
            return true;
        default:
            return false;
    }
}

// Types a conversion may be asked for; anything else is DISP_E_BADVARTYPE
// even where the conversion would be refused anyway.
bool IsKnownTarget(VARTYPE vt) {
    if (vt & (VT_VECTOR | VT_RESERVED)) return false;
    const VARTYPE base = vt & VT_TYPEMASK;
    return base == VT_RECORD || (base <= VT_UINT && base != 15);
}

// A shallow, non-owning view of what a reference points at, one level deep
// through VT_BYREF|VT_VARIANT.
HRESULT Dereference(const VARIANT& source, VARIANT* view) {
    std::memcpy(view, &source, sizeof(VARIANT));
    if (!(source.vt & VT_BYREF)) return S_OK;
    // The platform reports a null reference as a type mismatch.
    if (!source.byref) return DISP_E_TYPEMISMATCH;
    const VARTYPE base = source.vt & VT_TYPEMASK;
    if (source.vt & VT_ARRAY) {
        view->vt = source.vt & ~VT_BYREF;
        view->parray = *source.pparray;
        return S_OK;
    }
    if (base == VT_VARIANT) {
        const VARIANT& inner = *source.pvarVal;
        if (inner.vt == (VT_BYREF | VT_VARIANT)) return E_INVALIDARG;
        if (!IsValidVariantType(inner.vt)) return DISP_E_BADVARTYPE;
        return Dereference(inner, view);
    }
    if (base == VT_DECIMAL) {
        view->decVal = *source.pdecVal;
        view->vt = VT_DECIMAL;
        return S_OK;
    }
    view->vt = base;
    std::memcpy(&view->llVal, source.byref, VarTypeSize(base));
    return S_OK;
}

HRESULT StoreText(const std::u16string& text, VARIANT* out) {
    out->bstrVal = AllocBstr(text);
    if (!out->bstrVal) return E_OUTOFMEMORY;
    out->vt = VT_BSTR;
    return S_OK;
}

HRESULT TextToBool(BSTR text, VARIANT* out) {
    const std::u16string s(text ? text : u"", SysStringLen(text));
    auto sameLetters = [&](const char16_t* word) {
        size_t i = 0;
        for (; word[i]; ++i)
            if (i >= s.size() || (s[i] | 0x20) != word[i]) return false;
        return i == s.size();
    };
    // "True"/"False" in any case, and the platform's own upper-case
    // "#TRUE#"/"#FALSE#"; anything else is read as a number.
    if (sameLetters(u"true") || s == u"#TRUE#") {
        out->vt = VT_BOOL;
        out->boolVal = VARIANT_TRUE;
        return S_OK;
    }
    if (sameLetters(u"false") || s == u"#FALSE#") {
        out->vt = VT_BOOL;
        out->boolVal = VARIANT_FALSE;
        return S_OK;
    }
    NumericValue value;
    const HRESULT hr = ParseNumber(text, SysStringLen(text), &value);
    return FAILED(hr) ? hr : StoreNumeric(value, VT_BOOL, out);
}

HRESULT ToText(const VARIANT& source, LCID lcid, USHORT flags, VARIANT* out) {
    if (source.vt == VT_EMPTY) return StoreText(u"", out);
    if (source.vt == VT_DATE) {
        std::u16string text;
        const HRESULT hr = FormatDate(source.date, lcid, &text);
        return FAILED(hr) ? hr : StoreText(text, out);
    }
    // Without VARIANT_ALPHABOOL or VARIANT_LOCALBOOL the platform writes a
    // boolean as its number, "-1" or "0".
    if (source.vt == VT_BOOL && (flags & (VARIANT_ALPHABOOL | VARIANT_LOCALBOOL)))
        return StoreText(source.boolVal ? u"True" : u"False", out);
    NumericValue value;
    const HRESULT hr = NumericFromVariant(source, &value);
    return FAILED(hr) ? hr : StoreText(FormatNumeric(value, source.vt), out);
}

HRESULT FromText(BSTR text, VARTYPE target, VARIANT* out) {
    if (target == VT_BOOL) return TextToBool(text, out);
    if (target == VT_DATE) {
        DATE date;
        const HRESULT hr = ParseDate(text, SysStringLen(text), &date);
        if (FAILED(hr)) return hr;
        out->vt = VT_DATE;
        out->date = date;
        return S_OK;
    }
    if (!IsNumericType(target)) return DISP_E_TYPEMISMATCH;
    NumericValue value;
    const HRESULT hr = ParseNumber(text, SysStringLen(text), &value);
    return FAILED(hr) ? hr : StoreNumeric(value, target, out);
}

HRESULT ConvertScalar(const VARIANT& source, LCID lcid, USHORT flags, VARTYPE target, VARIANT* out);

// An object converts to a plain value through its value property
// (DISPID_VALUE), unless the caller forbids it with VARIANT_NOVALUEPROP.
HRESULT FromObject(const VARIANT& source, LCID lcid, USHORT flags, VARTYPE target, VARIANT* out) {
    if (target == VT_UNKNOWN || target == VT_DISPATCH) {
        out->vt = target;
        out->punkVal = nullptr;
        if (!source.punkVal) return S_OK;
        const IID& iid = target == VT_DISPATCH ? IID_IDispatch : IID_IUnknown;
        const HRESULT hr = source.punkVal->QueryInterface(iid, reinterpret_cast<void**>(&out->punkVal));
        if (FAILED(hr)) out->vt = VT_EMPTY;
        return hr;
    }
    if (source.vt == VT_UNKNOWN || (!IsNumericType(target) && target != VT_BSTR)) return DISP_E_TYPEMISMATCH;
    // The platform answers a null object with DISP_E_BADVARTYPE.
    if (!source.pdispVal) return DISP_E_BADVARTYPE;
    if (flags & VARIANT_NOVALUEPROP) return DISP_E_TYPEMISMATCH;
    DISPPARAMS none = {nullptr, nullptr, 0, 0};
    VARIANT value;
    VariantInit(&value);
    HRESULT hr = source.pdispVal->Invoke(DISPID_VALUE, IID_NULL, lcid, DISPATCH_PROPERTYGET, &none, &value,
                                         nullptr, nullptr);
    if (FAILED(hr)) return DISP_E_TYPEMISMATCH;
    // A value property that is itself an object, an array or a reference is
    // not followed further.
    if (value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN || (value.vt & (VT_ARRAY | VT_BYREF)))
        hr = DISP_E_TYPEMISMATCH;
    else
        hr = ConvertScalar(value, lcid, flags, target, out);
    VariantClear(&value);
    return hr;
}

// source is neither a reference nor an array; target carries no flags.
HRESULT ConvertScalar(const VARIANT& source, LCID lcid, USHORT flags, VARTYPE target, VARIANT* out) {
    const VARTYPE vt = source.vt;
    if (target == VT_EMPTY || target == VT_NULL) {
        // Everything but an error code may become empty or null, except that
        // the platform does not turn null back into empty.
        if (vt == VT_ERROR || (vt == VT_NULL && target == VT_EMPTY)) return DISP_E_TYPEMISMATCH;
        out->vt = target;
        return S_OK;
    }
    if (vt == target) {
        VariantInit(out);
        return VariantCopy(out, &source);
    }
    if (vt == VT_DISPATCH || vt == VT_UNKNOWN) return FromObject(source, lcid, flags, target, out);
    if (vt == VT_BSTR) return FromText(source.bstrVal, target, out);
    if (vt != VT_EMPTY && !IsNumericType(vt)) return DISP_E_TYPEMISMATCH;  // VT_NULL, VT_ERROR, ...
    if (target == VT_BSTR) return ToText(source, lcid, flags, out);
    if (!IsNumericType(target)) return DISP_E_TYPEMISMATCH;
    NumericValue value;
    const HRESULT hr = NumericFromVariant(source, &value);
    return FAILED(hr) ? hr : StoreNumeric(value, target, out);
}

// The platform keeps a string's bytes in a byte array and back.
HRESULT BytesToText(SAFEARRAY* bytes, VARIANT* out) {
    if (!bytes) return DISP_E_TYPEMISMATCH;
    if (SafeArrayGetDim(bytes) != 1) return E_INVALIDARG;
    out->bstrVal = SysAllocStringByteLen(static_cast<LPCSTR>(bytes->pvData), bytes->rgsabound[0].cElements);
    if (!out->bstrVal) return E_OUTOFMEMORY;
    out->vt = VT_BSTR;
    return S_OK;
}

HRESULT TextToBytes(BSTR text, VARIANT* out) {
    const UINT length = SysStringByteLen(text);
    SAFEARRAYBOUND bound = {length, 0};
    SAFEARRAY* bytes = SafeArrayCreate(VT_UI1, 1, &bound);
    if (!bytes) return E_OUTOFMEMORY;
    if (length) std::memcpy(bytes->pvData, text, length);
    out->vt = VT_ARRAY | VT_UI1;
    out->parray = bytes;
    return S_OK;
}

HRESULT Convert(const VARIANT& source, LCID lcid, USHORT flags, VARTYPE target, VARIANT* out) {
    if (target & VT_BYREF) return DISP_E_TYPEMISMATCH;
    if (source.vt & VT_ARRAY) {
        if (target == source.vt) {
            out->vt = target;
            return SafeArrayCopy(source.parray, &out->parray);
        }
        if (source.vt == (VT_ARRAY | VT_UI1) && target == VT_BSTR) return BytesToText(source.parray, out);
        return DISP_E_TYPEMISMATCH;
    }
    if (target & VT_ARRAY) {
        if (source.vt == VT_BSTR && target == (VT_ARRAY | VT_UI1)) return TextToBytes(source.bstrVal, out);
        return DISP_E_TYPEMISMATCH;
    }
    if (target == VT_RECORD || source.vt == VT_RECORD) return DISP_E_TYPEMISMATCH;
    return ConvertScalar(source, lcid, flags, target, out);
}

}  // namespace

OSTREL_PLATFORM_FN HRESULT WINAPI VariantChangeTypeEx(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc, LCID lcid,
                                                      USHORT wFlags, VARTYPE vt) {
    if (!pvargDest || !pvarSrc) return E_INVALIDARG;
    if (!IsValidVariantType(pvarSrc->vt) || !IsKnownTarget(vt)) return DISP_E_BADVARTYPE;
    // Converting a variant in place to the type it has still makes a copy:
    // the platform gives back a new string or array and frees the old one.
    VARIANT view;
    HRESULT hr = Dereference(*pvarSrc, &view);
    if (FAILED(hr)) return hr;
    VARIANT result;
    std::memset(&result, 0, sizeof result);
    hr = Convert(view, lcid, wFlags, vt, &result);
    if (FAILED(hr)) {
        VariantClear(&result);
        return hr;
    }
    // Only now is the destination (which may be the source) released.
    hr = VariantClear(pvargDest);
    if (FAILED(hr)) {
        VariantClear(&result);
        return hr;
    }
    std::memcpy(pvargDest, &result, sizeof result);
    return S_OK;
}

OSTREL_PLATFORM_FN HRESULT WINAPI VariantChangeType(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc, USHORT wFlags,
                                                    VARTYPE vt) {
    return VariantChangeTypeEx(pvargDest, pvarSrc, LOCALE_USER_DEFAULT, wFlags, vt);
}

#endif
