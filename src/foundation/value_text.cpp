#include "foundation/value_text.h"

#include <comdef.h>

#include <cstdio>

#include "foundation/text.h"
#include "foundation/vo_error.h"

namespace ostrel {
namespace {

// printf-style, whatever the length of the result (a huge double printed with
// nine decimals runs to hundreds of characters).
template <class T>
std::string Printf(const char* format, T value) {
    char small[64];
    int n = std::snprintf(small, sizeof small, format, value);
    if (n < 0) return std::string();
    if (size_t(n) < sizeof small) return std::string(small, size_t(n));
    std::string out(size_t(n) + 1, '\0');
    std::snprintf(out.data(), out.size(), format, value);
    out.resize(size_t(n));
    return out;
}

size_t LengthToNul(const OLECHAR* s, size_t length) {
    size_t i = 0;
    while (i < length && s[i] != 0) ++i;
    return i;
}

}  // namespace

std::string VarToW(const VARIANT& value) {
    switch (value.vt) {
        case VT_EMPTY:
        case VT_NULL:
            return std::string();
        case VT_I4:
            return Printf("%d", int(value.lVal));
        case VT_R8:
            return Printf("%.9f", value.dblVal);
        case VT_DATE:
            return Printf("%.9f", value.date);
        case VT_CY:
            // Deliberately only the whole units: the fraction is dropped, so
            // 12.3456 prints as 12.000000000.
            return Printf("%.9f", double(value.cyVal.int64 / 10000));
        case VT_BSTR: {
            if (!value.bstrVal) return std::string();
            return Narrow(value.bstrVal, LengthToNul(value.bstrVal, SysStringLen(value.bstrVal)));
        }
        default:
            throw EVoError(OLESTR("Invalid datatype in VarToW"));
    }
}

std::string DateToText(DATE date) {
    VARIANT v;
    VariantInit(&v);
    v.vt = VT_DATE;
    v.date = date;
    HRESULT hr = VariantChangeType(&v, &v, 0, VT_BSTR);
    if (FAILED(hr)) throw _com_error(hr);
    std::string text;
    try {
        text = Narrow(v.bstrVal, SysStringLen(v.bstrVal));
    } catch (...) {
        VariantClear(&v);
        throw;
    }
    VariantClear(&v);
    return text;
}

}  // namespace ostrel
