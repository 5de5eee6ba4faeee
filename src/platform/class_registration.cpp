#ifndef _WIN32
#include "class_registration.h"

#include <cstring>
#include <vector>

namespace ostrel_platform {

bool ClassesRootText(const std::u16string& subKey, std::u16string& text) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, subKey.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
    DWORD type = 0, size = 0;
    bool found = RegQueryValueExW(key, nullptr, nullptr, &type, nullptr, &size) == ERROR_SUCCESS &&
                 (type == REG_SZ || type == REG_EXPAND_SZ);
    std::vector<BYTE> data(size);
    if (found && size)
        found = RegQueryValueExW(key, nullptr, nullptr, &type, data.data(), &size) == ERROR_SUCCESS;
    RegCloseKey(key);
    if (!found) return false;
    text.assign(size / sizeof(char16_t), u'\0');
    if (!text.empty()) std::memcpy(text.data(), data.data(), text.size() * sizeof(char16_t));
    while (!text.empty() && text.back() == u'\0') text.pop_back();
    return true;
}

std::u16string ClassKey(REFCLSID clsid, const char16_t* leaf) {
    OLECHAR text[40];
    StringFromGUID2(clsid, text, 40);
    return std::u16string(u"CLSID\\") + text + u"\\" + leaf;
}

}  // namespace ostrel_platform

using ostrel_platform::ClassesRootText;
using ostrel_platform::ClassKey;

HRESULT WINAPI ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* lplpszProgID) {
    if (!lplpszProgID) return E_INVALIDARG;
    *lplpszProgID = nullptr;
    std::u16string progId;
    try {
        if (!ClassesRootText(ClassKey(clsid, u"ProgID"), progId) || progId.empty()) return REGDB_E_CLASSNOTREG;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    auto* out = static_cast<LPOLESTR>(CoTaskMemAlloc((progId.size() + 1) * sizeof(OLECHAR)));
    if (!out) return E_OUTOFMEMORY;
    std::memcpy(out, progId.c_str(), (progId.size() + 1) * sizeof(OLECHAR));
    *lplpszProgID = out;
    return S_OK;
}

HRESULT WINAPI CLSIDFromProgID(LPCOLESTR lpszProgID, LPCLSID lpclsid) {
    if (!lpszProgID || !lpclsid) return E_INVALIDARG;
    *lpclsid = GUID_NULL;
    std::u16string text;
    try {
        if (!ClassesRootText(std::u16string(lpszProgID) + u"\\CLSID", text)) return CO_E_CLASSSTRING;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return SUCCEEDED(CLSIDFromString(text.c_str(), lpclsid)) ? S_OK : CO_E_CLASSSTRING;
}

#endif
