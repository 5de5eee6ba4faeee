#ifndef _WIN32
// Conversions between the platform's 16-bit wide strings and byte strings.
//
// The ANSI code page (CP_ACP) is Windows-1252, the page of a Western, US
// English installation of the platform: the byte strings hosts hand over
// (message inserts, file names typed by users of such hosts) are in it. The
// OEM page (CP_OEMCP) of such an installation is 437. The other page is
// CP_UTF8. Any other page is refused with ERROR_INVALID_PARAMETER, as the
// platform refuses a page it does not have installed.
//
// Best fit, as on the platform: with flags 0 a character the page lacks but
// that has a look-alike there becomes the look-alike (U+0100 becomes 'A', the
// fullwidth solidus '/'), and that does not count as using the default
// character. Callers that must not see text change its meaning that way pass
// WC_NO_BEST_FIT_CHARS. Our look-alikes are the Latin letters of Latin
// Extended-A without their marks and the fullwidth forms of ASCII, the ones
// text from hosts carries; the platform's own table has a few hundred more.
#include <windows.h>

#include <cstdint>
#include <cstring>

namespace {

constexpr UINT kAnsiCodePage = 1252;
constexpr UINT kOemCodePage = 437;
constexpr char16_t kReplacement = 0xFFFD;

// Bytes 0x80-0xFF of Windows-1252. The five bytes the page leaves undefined
// (0x81, 0x8D, 0x8F, 0x90, 0x9D) map to the C1 controls of the same value, as
// on the platform, so that every byte string survives a round trip. From 0xA0
// on every byte is its own code point.
constexpr char16_t kHigh1252[128] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  //
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  //
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  //
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  //
    0x00A0, 0x00A1, 0x00A2, 0x00A3, 0x00A4, 0x00A5, 0x00A6, 0x00A7,  //
    0x00A8, 0x00A9, 0x00AA, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x00AF,  //
    0x00B0, 0x00B1, 0x00B2, 0x00B3, 0x00B4, 0x00B5, 0x00B6, 0x00B7,  //
    0x00B8, 0x00B9, 0x00BA, 0x00BB, 0x00BC, 0x00BD, 0x00BE, 0x00BF,  //
    0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C6, 0x00C7,  //
    0x00C8, 0x00C9, 0x00CA, 0x00CB, 0x00CC, 0x00CD, 0x00CE, 0x00CF,  //
    0x00D0, 0x00D1, 0x00D2, 0x00D3, 0x00D4, 0x00D5, 0x00D6, 0x00D7,  //
    0x00D8, 0x00D9, 0x00DA, 0x00DB, 0x00DC, 0x00DD, 0x00DE, 0x00DF,  //
    0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5, 0x00E6, 0x00E7,  //
    0x00E8, 0x00E9, 0x00EA, 0x00EB, 0x00EC, 0x00ED, 0x00EE, 0x00EF,  //
    0x00F0, 0x00F1, 0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00F7,  //
    0x00F8, 0x00F9, 0x00FA, 0x00FB, 0x00FC, 0x00FD, 0x00FE, 0x00FF};

// Bytes 0x80-0xFF of the US OEM page 437: letters, box drawing, Greek and
// mathematical signs.
constexpr char16_t kHigh437[128] = {
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7,  //
    0x00EA, 0x00EB, 0x00E8, 0x00EF, 0x00EE, 0x00EC, 0x00C4, 0x00C5,  //
    0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2, 0x00FB, 0x00F9,  //
    0x00FF, 0x00D6, 0x00DC, 0x00A2, 0x00A3, 0x00A5, 0x20A7, 0x0192,  //
    0x00E1, 0x00ED, 0x00F3, 0x00FA, 0x00F1, 0x00D1, 0x00AA, 0x00BA,  //
    0x00BF, 0x2310, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB,  //
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x2561, 0x2562, 0x2556,  //
    0x2555, 0x2563, 0x2551, 0x2557, 0x255D, 0x255C, 0x255B, 0x2510,  //
    0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F,  //
    0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x2567,  //
    0x2568, 0x2564, 0x2565, 0x2559, 0x2558, 0x2552, 0x2553, 0x256B,  //
    0x256A, 0x2518, 0x250C, 0x2588, 0x2584, 0x258C, 0x2590, 0x2580,  //
    0x03B1, 0x00DF, 0x0393, 0x03C0, 0x03A3, 0x03C3, 0x00B5, 0x03C4,  //
    0x03A6, 0x0398, 0x03A9, 0x03B4, 0x221E, 0x03C6, 0x03B5, 0x2229,  //
    0x2261, 0x00B1, 0x2265, 0x2264, 0x2320, 0x2321, 0x00F7, 0x2248,  //
    0x00B0, 0x2219, 0x00B7, 0x221A, 0x207F, 0x00B2, 0x25A0, 0x00A0};

// U+0100-U+017F without their marks (and strokes); '?' where a letter has no
// plain Latin look-alike (the Kra, the Eng, the long s).
constexpr char kLatinExtendedA[129] =
    "AaAaAaCcCcCcCcDd\xD0"
    "dEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiIi??JjKk?LlLlLl??LlNnNnNn???OoOoOo??RrRrRrSsSsSsSsTtTtTtUuUuUuUuUuUuWwYyYZzZzZz?";

// A byte page: what each byte above 0x7F is; bytes below are ASCII.
using HighTable = const char16_t (&)[128];

char16_t ByteToWide(HighTable high, unsigned char byte) { return byte < 0x80 ? char16_t(byte) : high[byte - 0x80]; }

// The page's byte for a UTF-16 unit, or -1 when the page has none.
int WideToByte(HighTable high, char16_t unit) {
    if (unit < 0x80) return unit;
    for (int i = 0; i < 128; ++i) {
        if (high[i] == unit) return 0x80 + i;
    }
    return -1;
}

// The look-alike the page has for a unit it lacks, or -1.
int BestFit(HighTable high, char16_t unit) {
    char16_t like = 0;
    if (unit >= 0x100 && unit < 0x180 && kLatinExtendedA[unit - 0x100] != '?') {
        like = char16_t(static_cast<unsigned char>(kLatinExtendedA[unit - 0x100]));
    } else if (unit >= 0xFF01 && unit <= 0xFF5E) {
        like = char16_t(unit - 0xFEE0);  // the fullwidth forms mirror ASCII
    }
    return like ? WideToByte(high, like) : -1;
}

enum class Page { Ansi, Oem, Utf8, Unknown };

Page PageOf(UINT codePage) {
    if (codePage == CP_ACP || codePage == kAnsiCodePage) return Page::Ansi;
    if (codePage == CP_OEMCP || codePage == kOemCodePage) return Page::Oem;
    if (codePage == CP_UTF8) return Page::Utf8;
    return Page::Unknown;
}

HighTable HighOf(Page page) { return page == Page::Oem ? kHigh437 : kHigh1252; }

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

    if (page != Page::Utf8) {
        // Every byte of either page has a character, so MB_ERR_INVALID_CHARS never fails.
        for (size_t i = 0; i < length; ++i) out.Put(ByteToWide(HighOf(page), source[i]));
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

    if (page != Page::Utf8) {
        const char defaultChar = lpDefaultChar ? lpDefaultChar[0] : '?';
        const bool bestFit = !(dwFlags & WC_NO_BEST_FIT_CHARS);
        bool usedDefault = false;
        for (size_t i = 0; i < length; ++i) {
            // A surrogate pair is two unmappable units: two default characters.
            int byte = WideToByte(HighOf(page), lpWideCharStr[i]);
            if (byte < 0 && bestFit) byte = BestFit(HighOf(page), lpWideCharStr[i]);
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
