// UTF-8 command-line text as the UTF-16 the platform's resources hold.
#pragma once
#include <string>

namespace rc {

// Malformed bytes become U+FFFD rather than stopping the build.
inline std::u16string Utf16(const std::string& text) {
    std::u16string out;
    for (size_t i = 0; i < text.size();) {
        const unsigned char lead = static_cast<unsigned char>(text[i]);
        const int extra = lead < 0x80 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : -1;
        if (extra < 0 || i + size_t(extra) >= text.size()) {
            out += u'\uFFFD';
            ++i;
            continue;
        }
        char32_t c = extra == 0 ? lead : lead & (0x3F >> extra);
        bool ok = true;
        for (int k = 1; k <= extra; ++k) {
            const unsigned char next = static_cast<unsigned char>(text[i + size_t(k)]);
            ok = ok && (next & 0xC0) == 0x80;
            c = (c << 6) | (next & 0x3F);
        }
        i += size_t(extra) + 1;
        if (!ok || c > 0x10FFFF) {
            out += u'\uFFFD';
        } else if (c >= 0x10000) {
            c -= 0x10000;
            out += char16_t(0xD800 + (c >> 10));
            out += char16_t(0xDC00 + (c & 0x3FF));
        } else {
            out += char16_t(c);
        }
    }
    return out;
}

}  // namespace rc
