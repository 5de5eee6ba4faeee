#include "calculator/number_reading.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace ostrel {
namespace {

bool IsDigit(OLECHAR c) { return c >= '0' && c <= '9'; }

// Far beyond any double's decimal exponent, and far from overflowing a long.
constexpr long kExponentCap = 1000000000;

}  // namespace

double ReadNumber(std::basic_string_view<OLECHAR> text, size_t start) {
    size_t i = start;
    const size_t n = text.size();
    bool negative = false;
    if (i < n && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';

    // The mantissa goes to from_chars as ASCII; it takes no leading '+'.
    std::string ascii;
    size_t digits = 0;
    long pointShift = 0;  // decimal places of the first non-zero digit, for out-of-range results
    bool seenNonZero = false;
    for (; i < n && IsDigit(text[i]); ++i, ++digits) {
        ascii += char(text[i]);
        if (seenNonZero || text[i] != '0') {
            seenNonZero = true;
            if (pointShift < kExponentCap) ++pointShift;
        }
    }
    if (i < n && text[i] == '.') {
        ascii += '.';
        for (++i; i < n && IsDigit(text[i]); ++i, ++digits) {
            ascii += char(text[i]);
            if (!seenNonZero && text[i] == '0' && pointShift > -kExponentCap) --pointShift;
            seenNonZero = seenNonZero || text[i] != '0';
        }
    }
    if (digits == 0) return 0.0;

    long exponent = 0;
    if (i < n && (text[i] == 'E' || text[i] == 'e')) {
        size_t j = i + 1;
        bool negativeExponent = false;
        if (j < n && (text[j] == '+' || text[j] == '-')) negativeExponent = text[j++] == '-';
        if (j < n && IsDigit(text[j])) {
            for (; j < n && IsDigit(text[j]); ++j)
                exponent = std::min(exponent * 10 + (text[j] - '0'), kExponentCap);
            if (negativeExponent) exponent = -exponent;
            ascii += 'e';
            ascii += std::to_string(exponent);
        }
    }

    double value = 0.0;
    const auto [end, error] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), value);
    (void)end;
    if (error == std::errc::result_out_of_range)
        value = pointShift + exponent > 0 ? std::numeric_limits<double>::infinity() : 0.0;
    return negative ? -value : value;
}

}  // namespace ostrel
