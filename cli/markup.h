// Building HTML and SVG text quickly: raw markup, numbers with at most one
// decimal (a tenth of a pixel is finer than any screen), and text escaped
// wherever it came from the project.
#pragma once
#include <string>
#include <string_view>
#include <type_traits>

namespace cli {

// Text from the project: written escaped, fit for element content and for
// attribute values in either quotes.
struct Text {
    std::string_view value;
};

// Engine texts end in line breaks and use CR LF; a page wants neither.
std::string Tidy(std::string_view text);

class Markup {
public:
    Markup& operator<<(std::string_view raw) {
        out_.append(raw);
        return *this;
    }
    Markup& operator<<(const char* raw) { return *this << std::string_view(raw); }
    Markup& operator<<(const std::string& raw) { return *this << std::string_view(raw); }
    Markup& operator<<(char raw) {
        out_.push_back(raw);
        return *this;
    }
    Markup& operator<<(double number);
    template <class Integer, std::enable_if_t<std::is_integral_v<Integer>, int> = 0>
    Markup& operator<<(Integer number) {
        return *this << double(number);
    }
    Markup& operator<<(Text text);

    std::string& str() { return out_; }

private:
    std::string out_;
};

}  // namespace cli
