#include "markup.h"

#include <charconv>
#include <cmath>

namespace cli {

std::string Tidy(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : text)
        if (c != '\r') out.push_back(c);
    while (!out.empty() && (out.back() == '\n' || out.back() == ' ' || out.back() == '\t')) out.pop_back();
    return out;
}

Markup& Markup::operator<<(double number) {
    if (!std::isfinite(number)) number = 0;
    long long tenths = std::llround(number * 10);
    if (tenths < 0) {
        out_.push_back('-');
        tenths = -tenths;
    }
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, tenths / 10).ptr;
    out_.append(digits, end);
    if (tenths % 10) {
        out_.push_back('.');
        out_.push_back(char('0' + tenths % 10));
    }
    return *this;
}

Markup& Markup::operator<<(Text text) {
    for (const char c : text.value) {
        switch (c) {
        case '&': out_ += "&amp;"; break;
        case '<': out_ += "&lt;"; break;
        case '>': out_ += "&gt;"; break;
        case '"': out_ += "&quot;"; break;
        case '\'': out_ += "&#39;"; break;
        default:
            // Control characters other than tab and line breaks have no
            // place in a page; they show as the replacement character.
            if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r')
                out_ += "\xEF\xBF\xBD";
            else
                out_.push_back(c);
        }
    }
    return *this;
}

}  // namespace cli
