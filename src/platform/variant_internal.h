// Shared pieces of the automation value layer: strings, variants, safe arrays
// and the conversions between variant types. Private to src/platform.
#pragma once
#ifndef _WIN32

#include <windows.h>

#include <cstdint>
#include <string>

namespace ostrel::platform {

// The platform copies a null string as an allocated empty one (VariantCopy,
// SafeArrayPutElement), so every copy inside the layer goes through here.
BSTR CopyBstr(BSTR source);

// A string of exactly these UTF-16 code units, or null when out of memory.
BSTR AllocBstr(const std::u16string& text);

// The storage size of one value of a base variant type, 0 for types that have
// no fixed-size storage (VT_EMPTY, VT_NULL, unknown types).
ULONG VarTypeSize(VARTYPE base);

// Whether a type tag may sit in a VARIANT at all (VariantClear's rule).
bool IsValidVariantType(VARTYPE vt);

// ---- numbers ---------------------------------------------------------------

// The value of a scalar variant, in the form that converts without loss.
struct NumericValue {
    enum class Kind { Integer, Real, Scaled };
    Kind kind = Kind::Integer;
    __int128 integer = 0;  // Integer: the value; Scaled: the mantissa
    int scale = 0;         // Scaled: the value is integer / 10^scale
    double real = 0;       // Real: the value; also set for Scaled read from text
    bool hasReal = false;  // real holds the correctly rounded value of a Scaled
    int bits = 0;          // Integer: width of the source type, 0 if none
    bool fromBool = false;
    bool fromSingle = false;  // read from VT_R4: 7 significant digits, not 15
    bool fromCurrency = false;
    bool radix = false;    // written as &H.../&O... in text: a bit pattern
};

// The numeric reading of a plain scalar variant (no references, no arrays):
// DISP_E_TYPEMISMATCH for types that are not numbers.
HRESULT NumericFromVariant(const VARIANT& source, NumericValue* out);

// Stores value into *out as the numeric type target (VT_I1 ... VT_DECIMAL,
// VT_BOOL, VT_DATE): S_OK, DISP_E_OVERFLOW or DISP_E_TYPEMISMATCH.
HRESULT StoreNumeric(const NumericValue& value, VARTYPE target, VARIANT* out);

// The en-US text of a numeric variant; sourceType picks the precision.
std::u16string FormatNumeric(const NumericValue& value, VARTYPE sourceType);

// ---- numbers and text --------------------------------------------------------

// A number read from text the way the platform reads it in en-US: S_OK,
// DISP_E_TYPEMISMATCH (not a number) or DISP_E_OVERFLOW.
HRESULT ParseNumber(const OLECHAR* text, UINT length, NumericValue* out);

std::u16string FormatDouble(double value, int significantDigits);
std::u16string FormatScaled(__int128 mantissa, int scale);

// ---- dates and text --------------------------------------------------------

// E_INVALIDARG when the date is outside the platform's calendar range.
HRESULT FormatDate(DATE value, LCID lcid, std::u16string* out);
// S_OK or DISP_E_TYPEMISMATCH.
HRESULT ParseDate(const OLECHAR* text, UINT length, DATE* out);

// Days from 1899-12-30 (day 0) to a civil date of the proleptic Gregorian
// calendar, and back.
int64_t DaysFromCivil(int64_t year, unsigned month, unsigned day);
void CivilFromDays(int64_t days, int64_t* year, unsigned* month, unsigned* day);

// A day and a time of day as a DATE, summed the way the platform sums them so
// that the results agree to the last bit. Times past 24 hours carry over.
DATE DateFromParts(int64_t days, int64_t hour, int64_t minute, int64_t second);

}  // namespace ostrel::platform

#endif
