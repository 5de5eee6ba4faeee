// Small helpers shared by the tests: printable HRESULTs, owned variants and
// the system's own message texts.
#pragma once
#include <gtest/gtest.h>

#include <windows.h>
#include <ole2.h>
#include <ocidl.h>
#include <olectl.h>

#include <cstdio>
#include <string>

// A 16-bit text in the platform's own character type.
using OleString = std::basic_string<OLECHAR>;

namespace test {

// "0x80020009" style, so a failed check shows the code in hex.
inline std::string Hex(HRESULT hr) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%08X", unsigned(hr));
    return buf;
}

#define EXPECT_HR(expected, actual) EXPECT_EQ(test::Hex(expected), test::Hex(actual)) << "from " #actual
#define ASSERT_HR(expected, actual) ASSERT_EQ(test::Hex(expected), test::Hex(actual)) << "from " #actual

// Wine is the Windows runtime the cross build's tests run under. Where it is
// known to differ from the documented platform a test expects both, and asks
// this which one it is looking at. Our own layer has no ntdll.dll.
inline bool UnderWine() {
    static const bool wine = [] {
        const DWORD error = GetLastError();  // asking must not disturb a check of the caller's
        HMODULE ntdll = GetModuleHandleW(OLESTR("ntdll.dll"));
        const bool found = ntdll && GetProcAddress(ntdll, "wine_get_version");
        SetLastError(error);
        return found;
    }();
    return wine;
}

inline std::string Utf8(const OLECHAR* s) {
    std::string out;
    for (; s && *s; ++s) out += *s < 0x80 ? char(*s) : '?';
    return out;
}
inline std::string Utf8(const std::basic_string<OLECHAR>& s) { return Utf8(s.c_str()); }

// A variant that clears itself.
struct Var : VARIANT {
    Var() { VariantInit(this); }
    ~Var() { VariantClear(this); }
    Var(const Var&) = delete;
    Var& operator=(const Var&) = delete;
};

inline void SetI4(VARIANT& v, LONG x) { v.vt = VT_I4; v.lVal = x; }
inline void SetR8(VARIANT& v, double x) { v.vt = VT_R8; v.dblVal = x; }
inline void SetBstr(VARIANT& v, const OLECHAR* s) { v.vt = VT_BSTR; v.bstrVal = SysAllocString(s); }

// The text the system's message table has for a number, "" when none.
inline std::string SystemText(DWORD number) {
    char* buffer = nullptr;
    DWORD n = FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, number, 0x400,
                             reinterpret_cast<LPSTR>(&buffer), 0, nullptr);
    std::string text = n && buffer ? std::string(buffer, n) : std::string();
    if (buffer) LocalFree(buffer);
    return text;
}

// Takes the thread's error information and returns its description ("" when
// there is none) and source.
struct TakenErrorInfo {
    bool present = false;
    std::string description, source;
};
inline TakenErrorInfo TakeErrorInfo() {
    TakenErrorInfo out;
    IErrorInfo* info = nullptr;
    if (GetErrorInfo(0, &info) == S_OK && info) {
        out.present = true;
        BSTR d = nullptr, s = nullptr;
        info->GetDescription(&d);
        info->GetSource(&s);
        out.description = Utf8(d);
        out.source = Utf8(s);
        SysFreeString(d);
        SysFreeString(s);
        info->Release();
    }
    return out;
}

}  // namespace test
