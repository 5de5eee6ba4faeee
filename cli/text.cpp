#include "text.h"

#include <cstdio>

namespace cli {

OleText Utf16(std::string_view utf8) {
    OleText out;
    out.reserve(utf8.size());
    for (size_t i = 0; i < utf8.size();) {
        const auto c = static_cast<unsigned char>(utf8[i]);
        char32_t cp = 0xFFFD;
        size_t extra = c < 0x80 ? 0 : (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : 99;
        if (extra == 0) {
            cp = c;
        } else if (extra <= 3) {
            cp = c & (0x3F >> extra);
            size_t k = 1;
            for (; k <= extra; ++k) {
                if (i + k >= utf8.size() || (static_cast<unsigned char>(utf8[i + k]) & 0xC0) != 0x80) break;
                cp = (cp << 6) | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
            }
            if (k <= extra) {  // a cut sequence becomes one replacement character
                cp = 0xFFFD;
                extra = k - 1;
            }
        } else {
            extra = 0;  // a stray byte becomes one replacement character
        }
        i += extra + 1;
        if (cp >= 0x10000 && cp <= 0x10FFFF) {
            cp -= 0x10000;
            out.push_back(OLECHAR(0xD800 + (cp >> 10)));
            out.push_back(OLECHAR(0xDC00 + (cp & 0x3FF)));
        } else {
            out.push_back(cp > 0x10FFFF ? OLECHAR(0xFFFD) : OLECHAR(cp));
        }
    }
    return out;
}

std::string Utf8(const OLECHAR* text, size_t length) {
    std::string out;
    out.reserve(length);
    for (size_t i = 0; i < length; ++i) {
        char32_t cp = text[i];
        if (cp >= 0xD800 && cp < 0xDC00 && i + 1 < length && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000)
            cp = 0x10000 + ((cp - 0xD800) << 10) + (text[++i] - 0xDC00);
        if (cp < 0x80) {
            out.push_back(char(cp));
        } else if (cp < 0x800) {
            out.push_back(char(0xC0 | (cp >> 6)));
            out.push_back(char(0x80 | (cp & 0x3F)));
        } else if (cp < 0x10000) {
            out.push_back(char(0xE0 | (cp >> 12)));
            out.push_back(char(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(char(0x80 | (cp & 0x3F)));
        } else {
            out.push_back(char(0xF0 | (cp >> 18)));
            out.push_back(char(0x80 | ((cp >> 12) & 0x3F)));
            out.push_back(char(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(char(0x80 | (cp & 0x3F)));
        }
    }
    return out;
}

Bstr::Bstr(std::string_view utf8) {
    const OleText wide = Utf16(utf8);
    value_ = SysAllocStringLen(wide.data(), UINT(wide.size()));
}

std::string FormatNumber(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

std::string ErrorText(HRESULT hr) {
    IErrorInfo* info = nullptr;
    std::string text;
    if (GetErrorInfo(0, &info) == S_OK && info) {
        Bstr description;
        if (SUCCEEDED(info->GetDescription(description.Out()))) text = Utf8(description.Get());
        info->Release();
    }
    if (text.empty()) {
        char code[32];
        std::snprintf(code, sizeof code, "error 0x%08X", unsigned(hr));
        text = code;
    }
    return text;
}

}  // namespace cli
