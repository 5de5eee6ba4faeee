#pragma once
#ifndef _WIN32
// Expanding a message text the way FormatMessageA does, whatever its source.
#include <windows.h>

#include <string>
#include <string_view>

namespace ostrel::platform {

// Expands text into out: numbered inserts (%1 to %99, with an optional
// !printf format!, read from arguments as FormatMessageA's flags say), the
// escapes (%0 %n %r %t %% and %<char>), line breaks, and the line width held
// in the low byte of flags. Returns ERROR_SUCCESS, or ERROR_INVALID_PARAMETER
// for a text with a dangling '%' or an unterminated insert format.
DWORD ExpandMessage(std::string_view text, DWORD flags, void* arguments, std::string& out);

}  // namespace ostrel::platform

#endif
