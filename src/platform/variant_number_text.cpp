// Numbers <-> en-US text, as the platform's conversions read and write them.
#ifndef _WIN32

#include <windows.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <string>

#include "variant_internal.h"

namespace ostrel::platform {

namespace {

constexpr int kMaxExactDigits = 36;  // well inside __int128

bool IsSpace(OLECHAR c) { return c == u' ' || (c >= u'\t' && c <= u'\r') || c == 0x00A0; }
bool IsDigit(OLECHAR c) { return c >= u'0' && c <= u'9'; }

std::u16string Widen(const char* text) {
    std::u16string wide;
    for (; *text; ++text) wide.push_back(static_cast<char16_t>(*text));
    return wide;
}

// The &H (hexadecimal) and &O (octal) forms; the value is a bit pattern that
// callers may read as a negative number of the target's width.
HRESULT ParseRadix(const OLECHAR* p, const OLECHAR* end, NumericValue* out) {
    const unsigned base = (*p == u'H' || *p == u'h') ? 16 : 8;
    ++p;
    unsigned __int128 value = 0;
    int digits = 0;
    for (; p < end; ++p, ++digits) {
        unsigned d;
        if (IsDigit(*p)) {
            d = *p - u'0';
        } else if (base == 16 && ((*p >= u'a' && *p <= u'f') || (*p >= u'A' && *p <= u'F'))) {
            d = (*p | 0x20) - u'a' + 10;
        } else {
            break;
        }
        if (d >= base) return DISP_E_TYPEMISMATCH;
        value = value * base + d;
        if (value > UINT64_MAX) return DISP_E_OVERFLOW;
    }
    while (p < end && IsSpace(*p)) ++p;
    if (digits == 0 || p != end) return DISP_E_TYPEMISMATCH;
    out->kind = NumericValue::Kind::Integer;
    out->integer = static_cast<__int128>(value);
    out->radix = true;
    return S_OK;
}

}  // namespace

// Accepted, as the platform accepts them in en-US: surrounding white space, a
// leading or trailing sign, parentheses for negative, a currency sign on
// either side, thousands separators after the first digit, a decimal point
// and an exponent.
HRESULT ParseNumber(const OLECHAR* text, UINT length, NumericValue* out) {
    const OLECHAR* p = text;
    const OLECHAR* end = text;
    if (text)
        while (end < text + length && *end) ++end;  // an embedded NUL ends the text
    *out = NumericValue{};
    bool negative = false, signSeen = false, open = false, closed = false, currency = false;
    auto skipSpace = [&] {
        while (p < end && IsSpace(*p)) ++p;
    };
    for (skipSpace(); p < end; skipSpace()) {
        if ((*p == u'-' || *p == u'+') && !signSeen) {
            negative = *p == u'-';
            signSeen = true;
        } else if (*p == u'(' && !open) {
            open = true;
        } else if (*p == u'$' && !currency) {
            currency = true;
        } else {
            break;
        }
        ++p;
    }
    if (p + 1 < end && *p == u'&') {
        ++p;
        if (*p == u'H' || *p == u'h' || *p == u'O' || *p == u'o') return ParseRadix(p, end, out);
        return DISP_E_TYPEMISMATCH;
    }

    std::string mantissa;  // the digits, without separators or point
    int fractionDigits = 0;
    for (; p < end && (IsDigit(*p) || (*p == u',' && !mantissa.empty())); ++p)
        if (*p != u',') mantissa.push_back(static_cast<char>(*p));
    if (p < end && *p == u'.') {
        for (++p; p < end && IsDigit(*p); ++p, ++fractionDigits) mantissa.push_back(static_cast<char>(*p));
    }
    if (mantissa.empty()) return DISP_E_TYPEMISMATCH;
    long exponent = 0;
    if (p < end && (*p == u'e' || *p == u'E')) {
        ++p;
        bool negativeExponent = false;
        if (p < end && (*p == u'+' || *p == u'-')) negativeExponent = *p++ == u'-';
        if (p == end || !IsDigit(*p)) return DISP_E_TYPEMISMATCH;
        for (; p < end && IsDigit(*p); ++p)
            if (exponent < 100000) exponent = exponent * 10 + (*p - u'0');
        if (negativeExponent) exponent = -exponent;
    }
    for (skipSpace(); p < end; skipSpace()) {
        if (*p == u'-' && !signSeen) {
            negative = signSeen = true;
        } else if (*p == u')' && open && !closed) {
            closed = true;
        } else if (*p == u'$' && !currency) {
            currency = true;
        } else {
            break;
        }
        ++p;
    }
    if (p != end || open != closed) return DISP_E_TYPEMISMATCH;
    negative = negative || open;

    // The correctly rounded binary value.
    const size_t first = mantissa.find_first_not_of('0');
    const std::string significant = first == std::string::npos ? "0" : mantissa.substr(first);
    // Position of the decimal point relative to the significant digits.
    const long magnitude = static_cast<long>(mantissa.size()) - fractionDigits - static_cast<long>(first == std::string::npos ? mantissa.size() : first) + exponent;
    std::string scientific = significant + "e" + std::to_string(exponent - fractionDigits);
    double value = 0;
    const auto parsed = std::from_chars(scientific.data(), scientific.data() + scientific.size(), value);
    if (parsed.ec == std::errc::result_out_of_range) {
        if (magnitude > 0) return DISP_E_OVERFLOW;
        value = 0;  // too small to represent: the platform reads zero
    }
    out->real = negative ? -value : value;
    out->hasReal = true;
    out->kind = NumericValue::Kind::Real;

    // The exact decimal, when it fits, so that rounding to integers and
    // currency is decided on the written digits.
    long scale = fractionDigits - exponent;
    std::string digits = significant;
    if (scale < 0 && significant != "0") {
        if (static_cast<long>(digits.size()) - scale > kMaxExactDigits) return S_OK;
        digits.append(static_cast<size_t>(-scale), '0');
    }
    if (scale < 0) scale = 0;
    if (static_cast<long>(digits.size()) > kMaxExactDigits || scale > kMaxExactDigits) return S_OK;
    __int128 exact = 0;
    for (char c : digits) exact = exact * 10 + (c - '0');
    out->kind = NumericValue::Kind::Scaled;
    out->integer = negative ? -exact : exact;
    out->scale = static_cast<int>(scale);
    return S_OK;
}

// %G with the platform's precision (15 digits for R8, 7 for R4): exponent
// form below 1E-04 and from 1E+precision on, trailing zeros dropped.
std::u16string FormatDouble(double value, int significantDigits) {
    if (std::isnan(value)) return u"NAN";
    if (std::isinf(value)) return value < 0 ? u"-INF" : u"INF";
    if (value == 0) return u"0";  // no "-0"
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*G", significantDigits, value);
    return Widen(buffer);
}

// An exact decimal with its trailing fraction zeros dropped (currency 1.5000
// reads "1.5", as on the platform).
std::u16string FormatScaled(__int128 mantissa, int scale) {
    const bool negative = mantissa < 0;
    unsigned __int128 magnitude = negative ? -static_cast<unsigned __int128>(mantissa) : mantissa;
    std::string digits;
    do {
        digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(magnitude % 10)));
        magnitude /= 10;
    } while (magnitude);
    if (static_cast<int>(digits.size()) <= scale) digits.insert(0, static_cast<size_t>(scale) + 1 - digits.size(), '0');
    std::string text = digits.substr(0, digits.size() - static_cast<size_t>(scale));
    std::string fraction = digits.substr(digits.size() - static_cast<size_t>(scale));
    while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
    if (!fraction.empty()) {
        text += '.';
        text += fraction;
    }
    std::string sign = negative && text != "0" ? "-" : "";
    sign.append(text);
    return Widen(sign.c_str());
}

}  // namespace ostrel::platform

#endif
