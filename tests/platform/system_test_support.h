// Helpers for the system-services tests: last-error numbers and other codes
// shown in hex when a check fails, and the test modules' paths.
#pragma once
#include <string>

#include "test_support.h"

// Compares GetLastError() with the expected number, both shown in hex.
#define EXPECT_LAST_ERROR(expected) \
    EXPECT_EQ(test::Hex(HRESULT(expected)), test::Hex(HRESULT(GetLastError()))) << "last error"

namespace test {

// A byte string as C source, so control and high bytes are visible.
inline std::string Escaped(const std::string& s) {
    std::string out;
    char b[8];
    for (unsigned char c : s) {
        if (c == '\r') out += "\\r";
        else if (c == '\n') out += "\\n";
        else if (c == '\t') out += "\\t";
        else if (c < 0x20 || c >= 0x7F) std::snprintf(b, sizeof b, "\\x%02X", c), out += b;
        else out += char(c);
    }
    return out;
}

}  // namespace test
