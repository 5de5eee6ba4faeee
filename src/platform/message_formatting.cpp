#ifndef _WIN32
// Message expansion: inserts, escapes, line breaks and line width, following
// what the platform's FormatMessageA does with each.
#include "message_formatting.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace ostrel::platform {
namespace {

// The insert values, numbered from 1: an array of DWORD_PTR, or a va_list
// read in order as far as the highest number asked for. Every value is read
// pointer-sized, as the platform reads them on 64-bit targets; an int passed
// through "..." fills a whole 8-byte slot on the ABIs we build for, and the
// insert's format narrows the value back to its size.
class Arguments {
public:
    Arguments(void* arguments, bool isArray)
        : array_(isArray ? static_cast<const DWORD_PTR*>(arguments) : nullptr),
          list_(isArray ? nullptr : static_cast<va_list*>(arguments)) {}

    DWORD_PTR Get(unsigned number) {
        if (array_) return array_[number - 1];
        while (read_.size() < number) read_.push_back(va_arg(*list_, DWORD_PTR));
        return read_[number - 1];
    }

private:
    const DWORD_PTR* array_;
    va_list* list_;
    std::vector<DWORD_PTR> read_;
};

// Widths and precisions may come from arguments; a wild one must not turn a
// message into gigabytes.
constexpr int kMaxWidth = 1 << 16;

int Clamp(long long v) { return v > kMaxWidth ? kMaxWidth : v < -kMaxWidth ? -kMaxWidth : int(v); }

template <typename T>
std::string Printf(const std::string& format, int width, int precision, T value) {
    int length = std::snprintf(nullptr, 0, format.c_str(), width, precision, value);
    if (length <= 0) return std::string();
    std::string text(size_t(length), '\0');
    std::snprintf(text.data(), text.size() + 1, format.c_str(), width, precision, value);
    return text;
}

std::string Narrow(const WCHAR* text, size_t length) {
    if (length == 0) return std::string();
    int size = WideCharToMultiByte(CP_ACP, 0, text, int(length), nullptr, 0, nullptr, nullptr);
    std::string out(size_t(size), '\0');
    WideCharToMultiByte(CP_ACP, 0, text, int(length), out.data(), size, nullptr, nullptr);
    return out;
}

enum class Size { Char, Short, Int, LongLong };

// Formats insert `number` by its format, "[flags][width][.precision][size]
// conversion" as in printf, where '*' takes the width or precision from the
// insert's own number and the value from the next one. Sizes follow the
// platform's model: "l" is 32 bits, "ll", "I64" and "I" are 64. Floating-point
// conversions are not supported (nor are they on the platform) and give an
// empty insert, as does a format without a conversion.
void FormatInsert(std::string_view format, unsigned number, Arguments& arguments, std::string& out) {
    size_t i = 0;
    auto at = [&format](size_t k) { return k < format.size() ? format[k] : '\0'; };
    auto isDigit = [](char c) { return c >= '0' && c <= '9'; };

    std::string flags;
    while (at(i) != '\0' && std::strchr("-+ #0", at(i))) flags += format[i++];
    int width = 0;
    if (at(i) == '*') {
        width = Clamp(LONG(arguments.Get(number++)));
        ++i;
    } else {
        while (isDigit(at(i))) width = Clamp(width * 10LL + (format[i++] - '0'));
    }
    int precision = -1;  // none
    if (at(i) == '.') {
        ++i;
        precision = 0;
        if (at(i) == '*') {
            precision = Clamp(LONG(arguments.Get(number++)));
            ++i;
        } else {
            while (isDigit(at(i))) precision = Clamp(precision * 10LL + (format[i++] - '0'));
        }
    }
    Size size = Size::Int;
    bool wide = false;
    const std::string_view rest = format.substr(i);
    if (rest.starts_with("I64") || rest.starts_with("ll")) {
        size = Size::LongLong;
        i += rest[0] == 'I' ? 3 : 2;
    } else if (rest.starts_with("I32")) {
        i += 3;
    } else if (rest.starts_with("hh")) {
        size = Size::Char;
        i += 2;
    } else if (at(i) == 'I' || at(i) == 'z' || at(i) == 't' || at(i) == 'j') {
        size = Size::LongLong;
        ++i;
    } else if (at(i) == 'l' || at(i) == 'w') {
        wide = true;  // for integers "l" keeps the 32 bits of the platform's long
        ++i;
    } else if (at(i) == 'h') {
        size = Size::Short;
        ++i;
    }

    const char conversion = at(i);
    const DWORD_PTR value = arguments.Get(number);
    const std::string justify = flags.find('-') != std::string::npos ? "-" : "";
    switch (conversion) {
    case 'd':
    case 'i': {
        long long v = size == Size::Char    ? int8_t(value)
                      : size == Size::Short ? int16_t(value)
                      : size == Size::Int   ? int32_t(value)
                                            : int64_t(value);
        out += Printf("%" + flags + "*.*lld", width, precision, v);
        return;
    }
    case 'u':
    case 'o':
    case 'x':
    case 'X': {
        unsigned long long v = size == Size::Char    ? uint8_t(value)
                               : size == Size::Short ? uint16_t(value)
                               : size == Size::Int   ? uint32_t(value)
                                                     : uint64_t(value);
        out += Printf("%" + flags + "*.*ll" + conversion, width, precision, v);
        return;
    }
    case 'c':
    case 'C': {
        const WCHAR wideChar = WCHAR(value);
        std::string text = (conversion == 'C' || wide) ? Narrow(&wideChar, 1) : std::string(1, char(value));
        out += Printf("%" + justify + "*.*s", width, -1, text.c_str());
        return;
    }
    case 's':
    case 'S': {
        std::string text;
        if (value == 0) {
            text = "(null)";
        } else if (conversion == 'S' || wide) {
            const auto* s = reinterpret_cast<const WCHAR*>(value);
            size_t length = 0;
            while ((precision < 0 || length < size_t(precision)) && s[length]) ++length;
            text = Narrow(s, length);
        } else {
            const auto* s = reinterpret_cast<const char*>(value);
            text.assign(s, precision < 0 ? std::strlen(s) : strnlen(s, size_t(precision)));
        }
        out += Printf("%" + justify + "*.*s", width, -1, text.c_str());
        return;
    }
    case 'p': {
        // The platform prints a pointer as 16 upper-case hex digits.
        char digits[17];
        std::snprintf(digits, sizeof digits, "%016llX", static_cast<unsigned long long>(value));
        out += Printf("%" + justify + "*.*s", width, -1, digits);
        return;
    }
    default:
        return;
    }
}

// Fills lines as the platform does, without looking ahead: once a line has
// width characters it is broken at its last blank (the blanks at the break
// are dropped), or cut there when it has none. So a line never reaches width
// with a word that ends right at it ("jumps over" at width 10 is broken
// before "over"), and a text ending in a blank that fills its line ends with
// a line break. Existing "\r\n" are kept: by now they are all hard breaks.
std::string Wrap(const std::string& text, size_t width) {
    std::string out;
    size_t lineStart = 0;
    while (lineStart <= text.size()) {
        size_t lineEnd = text.find("\r\n", lineStart);
        const bool last = lineEnd == std::string::npos;
        if (last) lineEnd = text.size();
        std::string line;
        bool broken = false;  // the line continues one the wrapping broke
        for (size_t i = lineStart; i < lineEnd; ++i) {
            if (broken && line.empty() && text[i] == ' ') continue;
            line += text[i];
            if (line.size() < width) continue;
            const size_t blank = line.rfind(' ');
            std::string rest;
            if (blank != std::string::npos) {
                rest = line.substr(blank + 1);
                const size_t kept = line.find_last_not_of(' ', blank);
                line.resize(kept == std::string::npos ? 0 : kept + 1);
            }
            out += line;
            out += "\r\n";
            line = rest;
            broken = true;
        }
        out += line;
        if (last) break;
        out += "\r\n";
        lineStart = lineEnd + 2;
    }
    return out;
}

}  // namespace

DWORD ExpandMessage(std::string_view text, DWORD flags, void* arguments, std::string& out) {
    const size_t width = flags & FORMAT_MESSAGE_MAX_WIDTH_MASK;
    const bool ignoreInserts = flags & FORMAT_MESSAGE_IGNORE_INSERTS;
    // With no arguments and without IGNORE_INSERTS an insert fails the call
    // with ERROR_INVALID_PARAMETER, as on the platform: even the system's own
    // texts with inserts (ERROR_MR_MID_NOT_FOUND, ERROR_BAD_EXE_FORMAT) then
    // have no text. A text without inserts is formatted as usual.
    const bool keepInserts = ignoreInserts;
    if (!ignoreInserts && !arguments) {
        for (size_t i = 0; i + 1 < text.size(); ++i) {
            if (text[i] != '%') continue;
            if (text[i + 1] >= '1' && text[i + 1] <= '9') return ERROR_INVALID_PARAMETER;
            ++i;  // an escape: "%%1" is no insert
        }
    }
    Arguments values(arguments, flags & FORMAT_MESSAGE_ARGUMENT_ARRAY);

    for (size_t i = 0; i < text.size();) {
        const char c = text[i];
        if (c == '\r' || c == '\n') {
            // A line break of the text: "\r\n", "\n" or "\r". With a width
            // the text's own breaks give way to the wrapping.
            i += (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ? 2 : 1;
            out += width == 0 ? "\r\n" : " ";
            continue;
        }
        if (c != '%') {
            out += c;
            ++i;
            continue;
        }
        if (i + 1 == text.size()) return ERROR_INVALID_PARAMETER;  // a '%' that ends the text
        const char next = text[i + 1];
        if (next >= '1' && next <= '9') {
            // %1 to %99: at most two digits, so "%100" is insert 10 then "0".
            size_t end = i + 2;
            unsigned number = unsigned(next - '0');
            if (end < text.size() && text[end] >= '0' && text[end] <= '9') number = number * 10 + unsigned(text[end++] - '0');
            std::string_view format = "s";
            if (end < text.size() && text[end] == '!') {
                size_t close = text.find('!', end + 1);
                if (close != std::string_view::npos) {
                    format = text.substr(end + 1, close - end - 1);
                    end = close + 1;
                } else if (!keepInserts) {
                    return ERROR_INVALID_PARAMETER;
                }
            }
            if (keepInserts) out.append(text.substr(i, end - i));
            else FormatInsert(format, number, values, out);
            i = end;
            continue;
        }
        i += 2;
        switch (next) {
        case '0':  // ends the message, without a final line break
            i = text.size();
            break;
        case 'n':  // a hard line break, kept even when lines are wrapped
            out += "\r\n";
            break;
        case 'r':
            out += '\r';
            break;
        case 't':
            out += '\t';
            break;
        default:  // "%%", "%.", "%!", "% " and the like stand for the character
            if (ignoreInserts) out += '%';
            out += next;
            break;
        }
    }
    if (width != 0 && width != FORMAT_MESSAGE_MAX_WIDTH_MASK) out = Wrap(out, width);
    return ERROR_SUCCESS;
}

}  // namespace ostrel::platform

#endif
