#ifndef _WIN32
// Conversions between the platform's 16-bit wide strings and byte strings.
//
// The ANSI code page (CP_ACP) is Windows-1252, the page of a Western, US
// English installation of the platform: the byte strings hosts hand over
// (message inserts, file names typed by users of such hosts) are in it. The
// other page is CP_UTF8. Any other page, the OEM page included, is refused
// with ERROR_INVALID_PARAMETER, as the platform refuses a page it does not
// have installed.
//
// No best fit. With flags 0 the platform maps characters 1252 lacks onto
// look-alikes (U+0100 becomes 'A', the fullwidth solidus becomes '/') and does
// not report the default character as used. We always convert as if
// WC_NO_BEST_FIT_CHARS were given: an unmappable character becomes the
// default character and lpUsedDefaultChar says so. A silent look-alike turns
// harmless wide text into path or quoting syntax after it was checked, and
// the caller cannot tell the text changed.
#include <windows.h>

#include <cstdint>
#include <cstring>

namespace {

constexpr UINT kAnsiCodePage = 1252;
constexpr char16_t kReplacement = 0xFFFD;

// Bytes 0x80-0x9F of Windows-1252; every other byte is its own code point.
// The five bytes the page leaves undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) map
// to the C1 controls of the same value, as on the platform, so that every
// byte string survives a round trip.
constexpr char16_t kHigh1252[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  //
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  //
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  //
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t AnsiToWide(unsigned char byte) {
    return byte >= 0x80 && byte <= 0x9F ? kHigh1252[byte - 0x80] : char16_t(byte);
}

// The 1252 byte for a UTF-16 unit, or -1 when the page has none.
int WideToAnsi(char16_t unit) {
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return unit;
    for (int i = 0; i < 32; ++i) {
        if (kHigh1252[i] == unit) return 0x80 + i;
    }
    return -1;
}

enum class Page { Ansi, Utf8, Unknown };

Page PageOf(UINT codePage) {
    if (codePage == CP_ACP || codePage == kAnsiCodePage) return Page::Ansi;
    if (codePage == CP_UTF8) return Page::Utf8;
    return Page::Unknown;
}

// Collects output: counts everything, stores what fits. A size query has no
// room at all and only counts.
template <typename T>
class Output {
public:
    Output(T* buffer, int capacity) : buffer_(buffer), capacity_(capacity) {}
    void Put(T value) {
        if (count_ < capacity_) buffer_[count_] = value;
        ++count_;
    }
    int64_t Count() const { return count_; }

private:
    T* buffer_;
    int64_t capacity_;
    int64_t count_ = 0;
};

// The converted length, or 0 with the last error when it does not fit.
template <typename T>
int Finish(const Output<T>& out, int capacity) {
    if (out.Count() > INT32_MAX || (capacity != 0 && out.Count() > capacity)) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    return int(out.Count());
}

// Decodes one UTF-8 sequence starting at s[0]. Returns how many bytes it
// takes; a malformed sequence gives ok = false and takes its longest valid
// beginning (at least one byte), so each broken piece becomes exactly one
// replacement character, the way Unicode recommends.
size_t DecodeUtf8(const unsigned char* s, size_t available, char32_t& codePoint, bool& ok) {
    const unsigned char lead = s[0];
    ok = false;
    if (lead < 0x80) {
        codePoint = lead;
        ok = true;
        return 1;
    }
    size_t trailing;
    unsigned char low = 0x80, high = 0xBF;  // the range of the next byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        trailing = 1;
        codePoint = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        trailing = 2;
        codePoint = lead & 0x0F;
        if (lead == 0xE0) low = 0xA0;   // no overlong forms
        if (lead == 0xED) high = 0x9F;  // no surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        trailing = 3;
        codePoint = lead & 0x07;
        if (lead == 0xF0) low = 0x90;   // no overlong forms
        if (lead == 0xF4) high = 0x8F;  // nothing above U+10FFFF
    } else {
        return 1;
    }
    for (size_t i = 1; i <= trailing; ++i) {
        if (i >= available || s[i] < low || s[i] > high) return i;
        codePoint = codePoint << 6 | (s[i] & 0x3F);
        low = 0x80;
        high = 0xBF;
    }
    ok = true;
    return trailing + 1;
}

void PutUtf16(Output<WCHAR>& out, char32_t codePoint) {
    if (codePoint < 0x10000) {
        out.Put(char16_t(codePoint));
    } else {
        codePoint -= 0x10000;
        out.Put(char16_t(0xD800 + (codePoint >> 10)));
        out.Put(char16_t(0xDC00 + (codePoint & 0x3FF)));
    }
}

void PutUtf8(Output<CHAR>& out, char32_t codePoint) {
    if (codePoint < 0x80) {
        out.Put(char(codePoint));
    } else if (codePoint < 0x800) {
        out.Put(char(0xC0 | codePoint >> 6));
        out.Put(char(0x80 | (codePoint & 0x3F)));
    } else if (codePoint < 0x10000) {
        out.Put(char(0xE0 | codePoint >> 12));
        out.Put(char(0x80 | (codePoint >> 6 & 0x3F)));
        out.Put(char(0x80 | (codePoint & 0x3F)));
    } else {
        out.Put(char(0xF0 | codePoint >> 18));
        out.Put(char(0x80 | (codePoint >> 12 & 0x3F)));
        out.Put(char(0x80 | (codePoint >> 6 & 0x3F)));
        out.Put(char(0x80 | (codePoint & 0x3F)));
    }
}

bool IsHighSurrogate(char16_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool IsLowSurrogate(char16_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

size_t WideLength(const WCHAR* s) {
    size_t n = 0;
    while (s[n]) ++n;
    return n;
}

int Fail(DWORD error) {
    SetLastError(error);
    return 0;
}

}  // namespace

INT WINAPI MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr, INT cbMultiByte,
                               LPWSTR lpWideCharStr, INT cchWideChar) {
    const Page page = PageOf(CodePage);
    if (page == Page::Unknown || !lpMultiByteStr || cbMultiByte == 0 || cchWideChar < 0 ||
        (cchWideChar > 0 && !lpWideCharStr)) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    // UTF-8 takes no flag but MB_ERR_INVALID_CHARS, as on the platform.
    const DWORD allowed = page == Page::Utf8 ? MB_ERR_INVALID_CHARS : MB_PRECOMPOSED | MB_ERR_INVALID_CHARS;
    if (dwFlags & ~allowed) return Fail(ERROR_INVALID_FLAGS);

    const auto* source = reinterpret_cast<const unsigned char*>(lpMultiByteStr);
    // A negative length means "up to and including the terminating NUL".
    const size_t length = cbMultiByte < 0 ? std::strlen(lpMultiByteStr) + 1 : size_t(cbMultiByte);
    Output<WCHAR> out(lpWideCharStr, cchWideChar);

    if (page == Page::Ansi) {
        // Every 1252 byte has a character, so MB_ERR_INVALID_CHARS never fails.
        for (size_t i = 0; i < length; ++i) out.Put(AnsiToWide(source[i]));
        return Finish(out, cchWideChar);
    }
    for (size_t i = 0; i < length;) {
        char32_t codePoint = 0;
        bool ok = false;
        i += DecodeUtf8(source + i, length - i, codePoint, ok);
        if (!ok) {
            if (dwFlags & MB_ERR_INVALID_CHARS) return Fail(ERROR_NO_UNICODE_TRANSLATION);
            codePoint = kReplacement;
        }
        PutUtf16(out, codePoint);
    }
    return Finish(out, cchWideChar);
}

INT WINAPI WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr, INT cchWideChar,
                               LPSTR lpMultiByteStr, INT cbMultiByte, LPCSTR lpDefaultChar,
                               LPBOOL lpUsedDefaultChar) {
    const Page page = PageOf(CodePage);
    if (page == Page::Unknown || !lpWideCharStr || cchWideChar == 0 || cbMultiByte < 0 ||
        (cbMultiByte > 0 && !lpMultiByteStr)) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    // UTF-8 can encode everything, so the platform refuses a default
    // character (or a question about it) there.
    if (page == Page::Utf8 && (lpDefaultChar || lpUsedDefaultChar)) return Fail(ERROR_INVALID_PARAMETER);
    const DWORD allowed = page == Page::Utf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS;
    if (dwFlags & ~allowed) return Fail(ERROR_INVALID_FLAGS);

    const size_t length = cchWideChar < 0 ? WideLength(lpWideCharStr) + 1 : size_t(cchWideChar);
    Output<CHAR> out(lpMultiByteStr, cbMultiByte);

    if (page == Page::Ansi) {
        const char defaultChar = lpDefaultChar ? lpDefaultChar[0] : '?';
        bool usedDefault = false;
        for (size_t i = 0; i < length; ++i) {
            // A surrogate pair is two unmappable units: two default characters.
            int byte = WideToAnsi(lpWideCharStr[i]);
            if (byte < 0) usedDefault = true;
            out.Put(byte < 0 ? defaultChar : char(byte));
        }
        if (lpUsedDefaultChar) *lpUsedDefaultChar = usedDefault ? TRUE : FALSE;
        return Finish(out, cbMultiByte);
    }
    for (size_t i = 0; i < length; ++i) {
        char32_t codePoint = lpWideCharStr[i];
        if (IsHighSurrogate(lpWideCharStr[i]) && i + 1 < length && IsLowSurrogate(lpWideCharStr[i + 1])) {
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (lpWideCharStr[i + 1] - 0xDC00);
            ++i;
        } else if (IsHighSurrogate(lpWideCharStr[i]) || IsLowSurrogate(lpWideCharStr[i])) {
            if (dwFlags & WC_ERR_INVALID_CHARS) return Fail(ERROR_NO_UNICODE_TRANSLATION);
            codePoint = kReplacement;
        }
        PutUtf8(out, codePoint);
    }
    return Finish(out, cbMultiByte);
}

UINT WINAPI GetACP(void) { return kAnsiCodePage; }

#endif
