// Wide (16-bit) and narrow (ANSI code page) text as the engines keep it, and
// the conversions between them.
#pragma once
#include <string>

#include <windows.h>

namespace ostrel {

using WString = std::basic_string<OLECHAR>;

// ANSI code page to wide; bytes that do not convert are dropped by the
// platform's rules, never an exception.
WString Widen(const char* text, size_t length);
inline WString Widen(const std::string& text) { return Widen(text.data(), text.size()); }

// Wide to the ANSI code page with no flags and no default character, as every
// message insert and key text is produced. A null text gives "".
std::string Narrow(const OLECHAR* text, size_t length);
inline std::string Narrow(const WString& text) { return Narrow(text.data(), text.size()); }

// A BSTR as wide text; null is the empty string.
inline WString FromBstr(BSTR s) { return s ? WString(s, SysStringLen(s)) : WString(); }

}  // namespace ostrel
