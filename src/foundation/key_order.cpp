#include "foundation/key_order.h"

#include <algorithm>
#include <exception>

#include "foundation/empty_variant.h"
#include "foundation/hresult.h"

namespace ostrel {
namespace {

bool IsNone(VARTYPE vt) { return vt == VT_EMPTY || vt == VT_NULL; }

// A null BSTR compares as the empty string. Strings compare as NUL-ended
// texts, code unit by code unit, with no locale.
int CompareStrings(BSTR a, BSTR b) {
    const OLECHAR* p = a ? a : OLESTR("");
    const OLECHAR* q = b ? b : OLESTR("");
    while (*p && *p == *q) {
        ++p;
        ++q;
    }
    return int(*p) - int(*q);
}

// Read access to an array's elements for the life of the object.
class ArrayAccess {
public:
    explicit ArrayAccess(SAFEARRAY* array) : array_(array) {
        ThrowIfFailed(SafeArrayGetUBound(array_, 1, &upper_));
        void* data = nullptr;
        ThrowIfFailed(SafeArrayAccessData(array_, &data));
        data_ = static_cast<VARIANT*>(data);
    }
    // Failing to release is reported only when nothing else is on its way.
    ~ArrayAccess() noexcept(false) {
        HRESULT hr = SafeArrayUnaccessData(array_);
        if (FAILED(hr) && std::uncaught_exceptions() == 0) throw hr;
    }
    ArrayAccess(const ArrayAccess&) = delete;
    ArrayAccess& operator=(const ArrayAccess&) = delete;

    LONG Upper() const { return upper_; }
    // Positions past the end read as empty, so arrays of different lengths
    // still have a defined order.
    VARIANT& At(LONG i, VARIANT& pastEnd) const { return i <= upper_ ? data_[i] : pastEnd; }

private:
    SAFEARRAY* array_;
    LONG upper_ = -1;
    VARIANT* data_ = nullptr;
};

bool IsVariantArray(VARTYPE vt) { return vt == (VT_ARRAY | VT_VARIANT); }

bool ArrayLess(const VARIANT& a, VARIANT& b) {
    if (!IsVariantArray(a.vt)) throw HRESULT(DISP_E_BADVARTYPE);
    LONG ua = 0, ub = 0;
    ThrowIfFailed(SafeArrayGetUBound(a.parray, 1, &ua));
    ThrowIfFailed(SafeArrayGetUBound(b.parray, 1, &ub));
    LONG m = std::max(ua, ub);
    // Deliberately without looking at the elements: two one-element arrays
    // never order before each other.
    if (m == 0) return ua < ub;

    ArrayAccess left(a.parray);
    ArrayAccess right(b.parray);
    for (LONG i = 0; i <= m; ++i) {
        VARIANT emptyLeft = vtEmpty, emptyRight = vtEmpty;
        VARIANT& x = left.At(i, emptyLeft);
        VARIANT& y = right.At(i, emptyRight);
        if (!VariantEqual(x, y)) return VariantLess(x, y);
    }
    return ua < ub;
}

bool ArrayEqual(const VARIANT& a, VARIANT& b) {
    if (!IsVariantArray(a.vt)) throw HRESULT(DISP_E_BADVARTYPE);
    LONG ua = 0, ub = 0;
    ThrowIfFailed(SafeArrayGetUBound(a.parray, 1, &ua));
    ThrowIfFailed(SafeArrayGetUBound(b.parray, 1, &ub));
    if (ua != ub) return false;

    ArrayAccess left(a.parray);
    ArrayAccess right(b.parray);
    for (LONG i = 0; i <= ua; ++i) {
        VARIANT unused = vtEmpty;
        if (!VariantEqual(left.At(i, unused), right.At(i, unused))) return false;
    }
    return true;
}

// Makes b comparable with a: a value of a's type, or a reason to stop.
void CoerceSecond(const VARIANT& a, VARIANT& b) { ThrowIfFailed(VariantChangeType(&b, &b, 0, a.vt)); }

}  // namespace

bool VariantLess(const VARIANT& a, VARIANT& b) {
    if (a.vt != b.vt) {
        bool aNone = IsNone(a.vt), bNone = IsNone(b.vt);
        if (aNone) return bNone;  // empty and null each count as less than the other
        if (bNone) return true;
        CoerceSecond(a, b);
    }
    if (a.vt & VT_ARRAY) return ArrayLess(a, b);

    switch (a.vt) {
        case VT_I2: return a.iVal < b.iVal;
        case VT_I4: return a.lVal < b.lVal;
        case VT_UI1: return a.bVal < b.bVal;
        case VT_BOOL: return a.boolVal < b.boolVal;  // signed: true (-1) sorts before false
        case VT_R4: return a.fltVal < b.fltVal;
        case VT_R8: return a.dblVal < b.dblVal;
        case VT_DATE: return a.date < b.date;
        case VT_CY: return a.cyVal.int64 < b.cyVal.int64;
        case VT_BSTR: return CompareStrings(a.bstrVal, b.bstrVal) < 0;
        case VT_BYREF | VT_I2: return *a.piVal < *b.piVal;
        case VT_BYREF | VT_I4: return *a.plVal < *b.plVal;
        case VT_BYREF | VT_UI1: return *a.pbVal < *b.pbVal;
        case VT_BYREF | VT_BOOL: return *a.pboolVal < *b.pboolVal;
        case VT_BYREF | VT_R4: return *a.pfltVal < *b.pfltVal;
        case VT_BYREF | VT_R8: return *a.pdblVal < *b.pdblVal;
        case VT_BYREF | VT_DATE: return *a.pdate < *b.pdate;
        case VT_BYREF | VT_CY: return a.pcyVal->int64 < b.pcyVal->int64;
        case VT_BYREF | VT_BSTR: return CompareStrings(*a.pbstrVal, *b.pbstrVal) < 0;
        default: throw HRESULT(DISP_E_BADVARTYPE);  // two empty keys cannot be ordered
    }
}

bool VariantEqual(const VARIANT& a, VARIANT& b) {
    if (a.vt != b.vt) {
        if (IsNone(a.vt) || IsNone(b.vt)) return false;
        CoerceSecond(a, b);
    }
    if (a.vt & VT_ARRAY) return ArrayEqual(a, b);

    switch (a.vt) {
        case VT_EMPTY:
        case VT_NULL: return true;
        case VT_I2: return a.iVal == b.iVal;
        case VT_I4: return a.lVal == b.lVal;
        case VT_UI1: return a.bVal == b.bVal;
        case VT_BOOL: return a.boolVal == b.boolVal;
        case VT_R4: return a.fltVal == b.fltVal;
        case VT_R8: return a.dblVal == b.dblVal;
        case VT_DATE: return a.date == b.date;
        case VT_CY: return a.cyVal.int64 == b.cyVal.int64;
        case VT_BSTR: return CompareStrings(a.bstrVal, b.bstrVal) == 0;
        case VT_BYREF | VT_I2: return *a.piVal == *b.piVal;
        case VT_BYREF | VT_I4: return *a.plVal == *b.plVal;
        case VT_BYREF | VT_UI1: return *a.pbVal == *b.pbVal;
        case VT_BYREF | VT_BOOL: return *a.pboolVal == *b.pboolVal;
        case VT_BYREF | VT_R4: return *a.pfltVal == *b.pfltVal;
        case VT_BYREF | VT_R8: return *a.pdblVal == *b.pdblVal;
        case VT_BYREF | VT_DATE: return *a.pdate == *b.pdate;
        case VT_BYREF | VT_CY: return a.pcyVal->int64 == b.pcyVal->int64;
        case VT_BYREF | VT_BSTR: return CompareStrings(*a.pbstrVal, *b.pbstrVal) == 0;
        default: throw HRESULT(DISP_E_BADVARTYPE);
    }
}

bool TaskKeyLess(const task_key& a, task_key& b) {
    if (a.Level != b.Level) return a.Level < b.Level;
    return VariantLess(a.Value, b.Value);
}

bool TaskKeyEqual(const task_key& a, task_key& b) {
    if (a.Level != b.Level) return false;
    return VariantEqual(a.Value, b.Value);
}

}  // namespace ostrel
