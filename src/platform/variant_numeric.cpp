// Conversions among the numeric variant types: integers of every width,
// R4/R8, DATE, currency, DECIMAL and BOOL.
//
// Values travel as exact integers, binary reals or exact decimals (currency is
// a decimal of scale 4), so that each target rounds only once. Rounding to an
// integer or to currency is half-to-even, as on the platform.
#ifndef _WIN32

#include <windows.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "variant_internal.h"

namespace ostrel::platform {

namespace {

using Kind = NumericValue::Kind;

constexpr int kMaxDecimalScale = 28;
const __int128 kDecimalLimit = static_cast<__int128>(1) << 96;

__int128 Pow10(int n) {
    __int128 r = 1;
    while (n-- > 0) r *= 10;
    return r;
}

// mantissa / 10^scale, rounded half to even.
__int128 RoundScaled(__int128 mantissa, int scale) {
    const __int128 divisor = Pow10(scale);
    __int128 quotient = mantissa / divisor;
    const __int128 remainder = mantissa % divisor;
    const __int128 twice = (remainder < 0 ? -remainder : remainder) * 2;
    if (twice > divisor || (twice == divisor && quotient % 2 != 0)) quotient += mantissa < 0 ? -1 : 1;
    return quotient;
}

double ToDouble(const NumericValue& v) {
    switch (v.kind) {
        case Kind::Integer:
            return static_cast<double>(v.integer);
        case Kind::Real:
            return v.real;
        case Kind::Scaled:
            break;
    }
    if (v.hasReal) return v.real;
    return static_cast<double>(v.integer) / std::pow(10.0, v.scale);
}

// The value rounded to an integer; false for NaN and values far outside any
// target's range.
bool ToInteger(const NumericValue& v, __int128* out) {
    switch (v.kind) {
        case Kind::Integer:
            *out = v.integer;
            return true;
        case Kind::Scaled:
            *out = RoundScaled(v.integer, v.scale);
            return true;
        case Kind::Real:
            break;
    }
    if (std::isnan(v.real)) return false;
    const double rounded = std::nearbyint(v.real);  // the default mode rounds half to even
    if (std::fabs(rounded) >= 1e38) return false;
    *out = static_cast<__int128>(rounded);
    return true;
}

struct IntegerType {
    int bits;
    bool isSigned;
};

bool IntegerTarget(VARTYPE vt, IntegerType* t) {
    switch (vt) {
        case VT_I1: *t = {8, true}; return true;
        case VT_UI1: *t = {8, false}; return true;
        case VT_I2: *t = {16, true}; return true;
        case VT_UI2: *t = {16, false}; return true;
        case VT_I4:
        case VT_INT: *t = {32, true}; return true;
        case VT_UI4:
        case VT_UINT: *t = {32, false}; return true;
        case VT_I8: *t = {64, true}; return true;
        case VT_UI8: *t = {64, false}; return true;
        default: return false;
    }
}

HRESULT StoreInteger(const NumericValue& v, IntegerType type, VARTYPE vt, VARIANT* out) {
    __int128 x;
    if (!ToInteger(v, &x)) return DISP_E_OVERFLOW;
    if (v.fromCurrency && vt == VT_I8 && v.integer < 0) {
        // Deliberate: the platform does not round a negative amount to I8,
        // it truncates and then steps one further down, whole amounts
        // included (-0.0001 becomes -1, -1 becomes -2). I4 and the others
        // round half to even.
        x = v.integer / 10000 - 1;
    }
    const unsigned __int128 mask = (static_cast<unsigned __int128>(1) << type.bits) - 1;
    bool asBits = false;
    if (v.kind == Kind::Integer) {
        // The platform converts between the signed and unsigned types of one
        // width by their bits (I2 -1 is UI2 65535), reads &H/&O text as a bit
        // pattern of the target's width, and gives VARIANT_TRUE all bits set
        // in every unsigned type.
        asBits = v.bits == type.bits || (v.radix && x >= 0 && static_cast<unsigned __int128>(x) <= mask) ||
                 (v.fromBool && !type.isSigned);
    }
    if (!asBits) {
        const __int128 min = type.isSigned ? -(static_cast<__int128>(1) << (type.bits - 1)) : 0;
        const __int128 max = type.isSigned ? (static_cast<__int128>(1) << (type.bits - 1)) - 1
                                           : static_cast<__int128>(mask);
        if (x < min || x > max) return DISP_E_OVERFLOW;
    }
    const uint64_t raw = static_cast<uint64_t>(static_cast<unsigned __int128>(x) & mask);
    out->vt = vt;
    switch (type.bits) {
        case 8: out->bVal = static_cast<BYTE>(raw); break;
        case 16: out->uiVal = static_cast<USHORT>(raw); break;
        case 32: out->ulVal = static_cast<ULONG>(raw); break;
        default: out->ullVal = raw; break;
    }
    return S_OK;
}

HRESULT StoreCurrency(const NumericValue& v, VARIANT* out) {
    __int128 scaled;
    // Scaling up never shrinks a value, so a mantissa past the 64-bit range
    // cannot fit (and must not be multiplied).
    if (v.kind != Kind::Real && (v.integer > INT64_MAX || v.integer < INT64_MIN))
        return DISP_E_OVERFLOW;
    switch (v.kind) {
        case Kind::Integer:
            scaled = v.integer * 10000;
            break;
        case Kind::Scaled:
            scaled = v.scale <= 4 ? v.integer * Pow10(4 - v.scale) : RoundScaled(v.integer, v.scale - 4);
            break;
        case Kind::Real: {
            if (std::isnan(v.real)) return DISP_E_OVERFLOW;
            const double rounded = std::nearbyint(v.real * 10000.0);
            if (!(std::fabs(rounded) < 1e38)) return DISP_E_OVERFLOW;
            scaled = static_cast<__int128>(rounded);
            break;
        }
        default:
            return DISP_E_TYPEMISMATCH;
    }
    if (scaled < INT64_MIN || scaled > INT64_MAX) return DISP_E_OVERFLOW;
    out->vt = VT_CY;
    out->cyVal.int64 = static_cast<LONGLONG>(scaled);
    return S_OK;
}

// A binary real as the decimal the platform shows for it: its 15 (or, from
// R4, 7) significant digits.
void DecimalFromReal(double real, int digits, __int128* mantissa, int* scale) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*E", digits - 1, real);
    __int128 m = 0;
    const char* p = buffer;
    const bool negative = *p == '-';
    if (negative) ++p;
    for (; *p && *p != 'E'; ++p)
        if (*p >= '0' && *p <= '9') m = m * 10 + (*p - '0');
    const int exponent = *p == 'E' ? std::atoi(p + 1) : 0;
    int s = digits - 1 - exponent;
    while (s > 0 && m % 10 == 0) {
        m /= 10;
        --s;
    }
    *mantissa = negative ? -m : m;
    *scale = s;
}

HRESULT StoreDecimal(const NumericValue& v, VARIANT* out) {
    __int128 m = v.integer;
    int scale = v.kind == Kind::Scaled ? v.scale : 0;
    if (v.kind == Kind::Real) {
        if (!std::isfinite(v.real) || std::fabs(v.real) >= 1e29) return DISP_E_OVERFLOW;
        DecimalFromReal(v.real, v.fromSingle ? 7 : 15, &m, &scale);
    }
    if (scale < 0) {
        m *= Pow10(-scale);
        scale = 0;
    }
    if (scale > kMaxDecimalScale) {
        m = RoundScaled(m, scale - kMaxDecimalScale);
        scale = kMaxDecimalScale;
    }
    const unsigned __int128 magnitude = m < 0 ? -static_cast<unsigned __int128>(m) : m;
    if (magnitude >= static_cast<unsigned __int128>(kDecimalLimit)) return DISP_E_OVERFLOW;
    std::memset(&out->decVal, 0, sizeof out->decVal);
    out->decVal.scale = static_cast<BYTE>(scale);
    out->decVal.sign = m < 0 ? DECIMAL_NEG : 0;
    out->decVal.Hi32 = static_cast<ULONG>(magnitude >> 64);
    out->decVal.Lo64 = static_cast<ULONGLONG>(magnitude);
    out->vt = VT_DECIMAL;  // after decVal, whose first field shares the tag
    return S_OK;
}

}  // namespace

HRESULT NumericFromVariant(const VARIANT& source, NumericValue* out) {
    *out = NumericValue{};
    auto integer = [&](__int128 value, int bits) {
        out->kind = Kind::Integer;
        out->integer = value;
        out->bits = bits;
    };
    switch (source.vt) {
        case VT_EMPTY: integer(0, 0); break;
        case VT_I1: integer(static_cast<signed char>(source.cVal), 8); break;
        case VT_UI1: integer(source.bVal, 8); break;
        case VT_I2: integer(source.iVal, 16); break;
        case VT_UI2: integer(source.uiVal, 16); break;
        case VT_I4: integer(source.lVal, 32); break;
        case VT_INT: integer(source.intVal, 32); break;
        case VT_UI4: integer(source.ulVal, 32); break;
        case VT_UINT: integer(source.uintVal, 32); break;
        case VT_I8: integer(source.llVal, 64); break;
        case VT_UI8: integer(source.ullVal, 64); break;
        case VT_BOOL:
            integer(source.boolVal, 16);
            out->fromBool = true;
            break;
        case VT_R4:
            out->kind = Kind::Real;
            out->real = source.fltVal;
            out->fromSingle = true;
            break;
        case VT_R8:
        case VT_DATE:
            out->kind = Kind::Real;
            out->real = source.dblVal;
            break;
        case VT_CY:
            out->kind = Kind::Scaled;
            out->integer = source.cyVal.int64;
            out->scale = 4;
            out->fromCurrency = true;
            break;
        case VT_DECIMAL: {
            if (source.decVal.scale > kMaxDecimalScale) return E_INVALIDARG;
            const __int128 magnitude = (static_cast<__int128>(source.decVal.Hi32) << 64) | source.decVal.Lo64;
            out->kind = Kind::Scaled;
            out->integer = (source.decVal.sign & DECIMAL_NEG) ? -magnitude : magnitude;
            out->scale = source.decVal.scale;
            break;
        }
        default:
            return DISP_E_TYPEMISMATCH;
    }
    return S_OK;
}

HRESULT StoreNumeric(const NumericValue& value, VARTYPE target, VARIANT* out) {
    IntegerType type;
    if (IntegerTarget(target, &type)) return StoreInteger(value, type, target, out);
    switch (target) {
        case VT_R8:
            out->vt = VT_R8;
            out->dblVal = ToDouble(value);
            return S_OK;
        case VT_R4: {
            const double d = ToDouble(value);
            if (!std::isnan(d) && std::fabs(d) > FLT_MAX) return DISP_E_OVERFLOW;
            out->vt = VT_R4;
            out->fltVal = static_cast<float>(d);
            return S_OK;
        }
        case VT_DATE: {
            const double d = ToDouble(value);
            if (!(d > VTDATEGRE_MIN - 1.0 && d < VTDATEGRE_MAX + 1.0)) return DISP_E_OVERFLOW;
            out->vt = VT_DATE;
            out->date = d;
            return S_OK;
        }
        case VT_CY:
            return StoreCurrency(value, out);
        case VT_DECIMAL:
            return StoreDecimal(value, out);
        case VT_BOOL: {
            const bool nonzero = value.kind == Kind::Real ? value.real != 0 : value.integer != 0;
            out->vt = VT_BOOL;
            out->boolVal = nonzero ? VARIANT_TRUE : VARIANT_FALSE;
            return S_OK;
        }
        default:
            return DISP_E_TYPEMISMATCH;
    }
}

std::u16string FormatNumeric(const NumericValue& value, VARTYPE sourceType) {
    switch (value.kind) {
        case Kind::Integer:
            return FormatScaled(value.integer, 0);
        case Kind::Scaled:
            return FormatScaled(value.integer, value.scale);
        case Kind::Real:
            break;
    }
    return FormatDouble(value.real, sourceType == VT_R4 ? 7 : 15);
}

}  // namespace ostrel::platform

#endif
