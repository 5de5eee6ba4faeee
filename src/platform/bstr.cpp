// Length-prefixed strings (BSTR).
//
// The layout is the platform's, because callers rely on it: a 32-bit byte
// count sits immediately before the first character, and a 16-bit NUL follows
// the last byte, so a BSTR is also a terminated OLECHAR string.
#ifndef _WIN32

#include <windows.h>

#include <cstdlib>
#include <cstring>

#include "variant_internal.h"

namespace {

constexpr uint64_t kPrefix = sizeof(DWORD);
constexpr uint64_t kTerminator = sizeof(OLECHAR);

DWORD* Header(BSTR s) { return reinterpret_cast<DWORD*>(s) - 1; }

// Allocates room for byteLength bytes of content; the content is left as it
// is, the length prefix and the terminator are written.
BSTR AllocateBytes(uint64_t byteLength) {
    // The prefix is 32 bits, so the whole block must be describable in 32 bits.
    if (byteLength + kPrefix + kTerminator > UINT32_MAX) return nullptr;
    auto* block = static_cast<unsigned char*>(std::malloc(byteLength + kPrefix + kTerminator));
    if (!block) return nullptr;
    const DWORD length = static_cast<DWORD>(byteLength);
    std::memcpy(block, &length, sizeof length);
    block[kPrefix + byteLength] = 0;
    block[kPrefix + byteLength + 1] = 0;
    return reinterpret_cast<BSTR>(block + kPrefix);
}

size_t TerminatedLength(const OLECHAR* s) {
    size_t n = 0;
    while (s[n]) ++n;
    return n;
}

}  // namespace

OSTREL_PLATFORM_FN BSTR WINAPI SysAllocStringByteLen(LPCSTR psz, UINT len) {
    BSTR result = AllocateBytes(len);
    if (result && psz) std::memcpy(result, psz, len);
    return result;
}

OSTREL_PLATFORM_FN BSTR WINAPI SysAllocStringLen(const OLECHAR* strIn, UINT ui) {
    const uint64_t bytes = uint64_t{ui} * sizeof(OLECHAR);
    BSTR result = AllocateBytes(bytes);
    if (!result) return nullptr;
    if (strIn) {
        std::memcpy(result, strIn, bytes);
    } else {
        // The content stays uninitialised, as on the platform, but a string
        // read as terminated must still stop at its length.
        result[ui] = 0;
    }
    return result;
}

OSTREL_PLATFORM_FN BSTR WINAPI SysAllocString(const OLECHAR* psz) {
    if (!psz) return nullptr;
    const size_t length = TerminatedLength(psz);
    if (length > UINT32_MAX) return nullptr;
    return SysAllocStringLen(psz, static_cast<UINT>(length));
}

OSTREL_PLATFORM_FN void WINAPI SysFreeString(BSTR bstrString) {
    if (bstrString) std::free(Header(bstrString));
}

OSTREL_PLATFORM_FN UINT WINAPI SysStringByteLen(BSTR bstr) { return bstr ? *Header(bstr) : 0; }

OSTREL_PLATFORM_FN UINT WINAPI SysStringLen(BSTR pbstr) { return SysStringByteLen(pbstr) / sizeof(OLECHAR); }

OSTREL_PLATFORM_FN INT WINAPI SysReAllocStringLen(BSTR* pbstr, const OLECHAR* psz, UINT len) {
    if (!pbstr) return FALSE;
    // The source may point into the old string, so the new one is built first.
    BSTR fresh = SysAllocStringLen(psz, len);
    if (!fresh) return FALSE;
    if (!psz && *pbstr) {
        // Without a source the platform keeps the old content, as realloc does.
        const UINT keep = SysStringLen(*pbstr) < len ? SysStringLen(*pbstr) : len;
        std::memcpy(fresh, *pbstr, keep * sizeof(OLECHAR));
    }
    SysFreeString(*pbstr);
    *pbstr = fresh;
    return TRUE;
}

OSTREL_PLATFORM_FN INT WINAPI SysReAllocString(BSTR* pbstr, const OLECHAR* psz) {
    if (!pbstr) return FALSE;
    // A null source leaves a null string behind, as SysAllocString(NULL) gives.
    if (!psz) {
        SysFreeString(*pbstr);
        *pbstr = nullptr;
        return TRUE;
    }
    BSTR fresh = SysAllocString(psz);
    if (!fresh) return FALSE;
    SysFreeString(*pbstr);
    *pbstr = fresh;
    return TRUE;
}

namespace ostrel::platform {

BSTR CopyBstr(BSTR source) {
    return SysAllocStringByteLen(reinterpret_cast<LPCSTR>(source), SysStringByteLen(source));
}

BSTR AllocBstr(const std::u16string& text) {
    return SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

}  // namespace ostrel::platform

#endif
