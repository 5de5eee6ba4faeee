// How a formula reads a number: from a position of the working text, as far
// as the characters can belong to a number.
#pragma once
#include <string_view>

#include <windows.h>

namespace ostrel {

// Reads [sign] digits [. digits] [exponent] in the classic locale, where the
// digits before or after the point may be missing but not both, and an
// exponent (E or e, [sign], digits) counts only with at least one digit.
// Reading stops at the first character that cannot continue the number,
// wherever that is; nothing readable gives 0. Hexadecimal, infinity and NaN
// spellings are not numbers in a formula, so "-inf" reads as 0 like any other
// sign without digits. Magnitudes beyond a double give infinity, below it 0.
double ReadNumber(std::basic_string_view<OLECHAR> text, size_t start);

}  // namespace ostrel
