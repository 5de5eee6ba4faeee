#ifndef _WIN32
// GUIDs as text, "{0123ABCD-4567-89AB-CDEF-0123456789AB}", and the ProgID of
// a class.
#include <windows.h>

namespace {

constexpr int kGuidTextLength = 38;  // without the terminating NUL

int HexValue(OLECHAR c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Reads `digits` hex digits at text[at]; false if any is not one.
bool ReadHex(LPCOLESTR text, int at, int digits, uint64_t& value) {
    value = 0;
    for (int i = 0; i < digits; ++i) {
        int v = HexValue(text[at + i]);
        if (v < 0) return false;
        value = value << 4 | unsigned(v);
    }
    return true;
}

bool ParseGuid(LPCOLESTR text, GUID& guid) {
    // Checking the fixed characters first also guarantees that no read goes
    // past the terminator: every position before it is non-zero.
    for (int i = 0; i < kGuidTextLength; ++i) {
        if (text[i] == 0) return false;
    }
    if (text[kGuidTextLength] != 0 || text[0] != '{' || text[9] != '-' || text[14] != '-' || text[19] != '-' ||
        text[24] != '-' || text[37] != '}') {
        return false;
    }
    uint64_t v;
    if (!ReadHex(text, 1, 8, v)) return false;
    guid.Data1 = ULONG(v);
    if (!ReadHex(text, 10, 4, v)) return false;
    guid.Data2 = USHORT(v);
    if (!ReadHex(text, 15, 4, v)) return false;
    guid.Data3 = USHORT(v);
    static const int kByteAt[8] = {20, 22, 25, 27, 29, 31, 33, 35};
    for (int i = 0; i < 8; ++i) {
        if (!ReadHex(text, kByteAt[i], 2, v)) return false;
        guid.Data4[i] = BYTE(v);
    }
    return true;
}

}  // namespace

INT WINAPI StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, INT cchMax) {
    if (!lpsz || cchMax < kGuidTextLength + 1) return 0;
    static const char kDigits[] = "0123456789ABCDEF";
    OLECHAR* out = lpsz;
    auto put = [&out](uint64_t value, int digits) {
        for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) *out++ = OLECHAR(kDigits[(value >> shift) & 0xF]);
    };
    *out++ = '{';
    put(rguid.Data1, 8);
    *out++ = '-';
    put(rguid.Data2, 4);
    *out++ = '-';
    put(rguid.Data3, 4);
    *out++ = '-';
    put(rguid.Data4[0], 2);
    put(rguid.Data4[1], 2);
    *out++ = '-';
    for (int i = 2; i < 8; ++i) put(rguid.Data4[i], 2);
    *out++ = '}';
    *out = 0;
    return kGuidTextLength + 1;
}

HRESULT WINAPI CLSIDFromString(LPCOLESTR lpsz, LPCLSID pclsid) {
    if (!pclsid) return E_INVALIDARG;
    // A null string is the null class, as on the platform.
    if (!lpsz) {
        *pclsid = GUID_NULL;
        return S_OK;
    }
    GUID guid;
    if (!ParseGuid(lpsz, guid)) {
        // Text that is not a GUID would be looked up as a ProgID; with no
        // registry there is none to find.
        *pclsid = GUID_NULL;
        return CO_E_CLASSSTRING;
    }
    *pclsid = guid;
    return S_OK;
}

#endif
