#ifndef _WIN32
// Registered type libraries, in the platform's layout under
// HKEY_CLASSES_ROOT:
//
//   TypeLib\{LIBID}\<major>.<minor>            (hex) = help string
//     <lcid>\<win16|win32|win64|mac>           (hex) = the file's full path
//     FLAGS                                          = library flags, decimal
//     HELPDIR                                        = help folder
//   Interface\{IID}                                  = interface name
//     ProxyStubClsid, ProxyStubClsid32               = the automation marshaler
//     TypeLib = {LIBID}, value Version = <major>.<minor>
//
// Interface keys are written for the interfaces automation can marshal:
// dispatch interfaces (dual ones included) and [oleautomation] interfaces.
#include <cstdio>
#include <new>
#include <string>
#include <vector>

#include <windows.h>

namespace {

// The automation marshaler every registered interface names.
constexpr const char16_t* kAutomationProxy = u"{00020424-0000-0000-C000-000000000046}";

std::u16string Ascii(const char* text) {
    std::u16string wide;
    for (; *text; ++text) wide += char16_t(*text);
    return wide;
}

std::u16string Hex(unsigned value) {
    char text[16];
    std::snprintf(text, sizeof text, "%x", value);
    return Ascii(text);
}

std::u16string GuidText(REFGUID guid) {
    OLECHAR text[40] = {};
    StringFromGUID2(guid, text, 40);
    return text;
}

std::u16string VersionText(WORD major, WORD minor) { return Hex(major) + u"." + Hex(minor); }

const char16_t* SysKindName(SYSKIND kind) {
    switch (kind) {
    case SYS_WIN16: return u"win16";
    case SYS_WIN32: return u"win32";
    case SYS_WIN64: return u"win64";
    case SYS_MAC: return u"mac";
    }
    return nullptr;
}

// A key that closes itself.
class Key {
public:
    Key() = default;
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key() {
        if (key_) RegCloseKey(key_);
    }
    bool Create(HKEY parent, const std::u16string& path) {
        return RegCreateKeyExW(parent, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr,
                               &key_, nullptr) == ERROR_SUCCESS;
    }
    bool Open(HKEY parent, const std::u16string& path) {
        return RegOpenKeyExW(parent, path.c_str(), 0, KEY_ALL_ACCESS, &key_) == ERROR_SUCCESS;
    }
    bool Set(const char16_t* name, const std::u16string& value) {
        return RegSetValueExW(key_, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                              DWORD((value.size() + 1) * sizeof(char16_t))) == ERROR_SUCCESS;
    }
    bool SetSub(const std::u16string& sub, const std::u16string& value) {
        Key child;
        return child.Create(key_, sub) && child.Set(nullptr, value);
    }
    // A string value; false when absent or not a string.
    bool Get(const char16_t* name, std::u16string& value) const {
        DWORD type = 0;
        DWORD size = 0;
        if (RegQueryValueExW(key_, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS || type != REG_SZ) {
            return false;
        }
        std::u16string text(size / sizeof(char16_t) + 1, u'\0');
        size = DWORD(text.size() * sizeof(char16_t));
        if (RegQueryValueExW(key_, name, nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &size) !=
            ERROR_SUCCESS) {
            return false;
        }
        text.resize(text.find(u'\0') == std::u16string::npos ? text.size() : text.find(u'\0'));
        value = text;
        return true;
    }
    std::vector<std::u16string> SubKeys() const {
        std::vector<std::u16string> names;
        for (DWORD i = 0;; ++i) {
            OLECHAR name[256];
            DWORD length = 256;
            if (RegEnumKeyExW(key_, i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
            names.emplace_back(name, length);
        }
        return names;
    }
    HKEY get() const { return key_; }
    void Close() {
        if (key_) RegCloseKey(key_);
        key_ = nullptr;
    }

private:
    HKEY key_ = nullptr;
};

std::u16string LibKeyPath(REFGUID guid) { return u"TypeLib\\" + GuidText(guid); }

// "<major>.<minor>" in hex, as registrations spell versions.
bool ParseVersion(const std::u16string& text, unsigned& major, unsigned& minor) {
    const size_t dot = text.find(u'.');
    if (dot == std::u16string::npos || dot == 0 || dot + 1 == text.size() || text.size() > 9) return false;
    auto parse = [](const std::u16string& part, unsigned& value) {
        value = 0;
        for (char16_t c : part) {
            unsigned digit;
            if (c >= u'0' && c <= u'9') digit = c - u'0';
            else if (c >= u'a' && c <= u'f') digit = c - u'a' + 10;
            else if (c >= u'A' && c <= u'F') digit = c - u'A' + 10;
            else return false;
            value = value * 16 + digit;
        }
        return value <= 0xFFFF;
    };
    return parse(text.substr(0, dot), major) && parse(text.substr(dot + 1), minor);
}

// The platform's version rule: the version asked for if it is registered;
// otherwise the same major version with the highest minor version above the
// one asked for.
bool FindVersion(REFGUID guid, WORD major, WORD minor, std::u16string& version) {
    Key lib;
    if (!lib.Open(HKEY_CLASSES_ROOT, LibKeyPath(guid))) return false;
    int best = -1;
    for (const std::u16string& name : lib.SubKeys()) {
        unsigned keyMajor, keyMinor;
        if (!ParseVersion(name, keyMajor, keyMinor) || keyMajor != major || keyMinor < minor) continue;
        if (keyMinor == minor) {
            version = name;
            return true;
        }
        if (int(keyMinor) > best) {
            best = int(keyMinor);
            version = name;
        }
    }
    return best >= 0;
}

// The registered path of a library: the locale asked for, then its primary
// language, then the neutral one; the 64-bit entry, then the 32-bit one.
HRESULT RegisteredPath(REFGUID guid, WORD major, WORD minor, LCID lcid, std::u16string& path) {
    std::u16string version;
    if (!FindVersion(guid, major, minor, version)) return TYPE_E_LIBNOTREGISTERED;
    Key versionKey;
    if (!versionKey.Open(HKEY_CLASSES_ROOT, LibKeyPath(guid) + u"\\" + version)) return TYPE_E_LIBNOTREGISTERED;
    for (LCID candidate : {lcid, LCID(lcid & 0x3FF), LCID(0)}) {
        for (const char16_t* kind : {u"win64", u"win32"}) {
            Key entry;
            if (entry.Open(versionKey.get(), Hex(candidate) + u"\\" + kind) && entry.Get(nullptr, path)) return S_OK;
        }
    }
    return TYPE_E_LIBNOTREGISTERED;
}

// The interfaces a registration lists under Interface\{IID}.
bool Marshalable(const TYPEATTR& attr) {
    return attr.typekind == TKIND_DISPATCH ||
           (attr.typekind == TKIND_INTERFACE && (attr.wTypeFlags & TYPEFLAG_FOLEAUTOMATION));
}

template <typename Visit>
void ForEachMarshalable(ITypeLib* lib, Visit visit) {
    const UINT count = lib->GetTypeInfoCount();
    for (UINT i = 0; i < count; ++i) {
        ITypeInfo* info = nullptr;
        if (FAILED(lib->GetTypeInfo(i, &info))) continue;
        TYPEATTR* attr = nullptr;
        if (SUCCEEDED(info->GetTypeAttr(&attr))) {
            if (Marshalable(*attr)) {
                BSTR name = nullptr;
                info->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr);
                visit(attr->guid, name ? std::u16string(name) : std::u16string());
                SysFreeString(name);
            }
            info->ReleaseTypeAttr(attr);
        }
        info->Release();
    }
}

HRESULT Register(ITypeLib* ptlib, const std::u16string& fullPath, const OLECHAR* helpDir) {
    TLIBATTR* attr = nullptr;
    HRESULT hr = ptlib->GetLibAttr(&attr);
    if (FAILED(hr)) return hr;
    const TLIBATTR lib = *attr;
    ptlib->ReleaseTLibAttr(attr);
    const char16_t* kind = SysKindName(lib.syskind);
    if (!kind) return E_INVALIDARG;
    BSTR doc = nullptr;
    ptlib->GetDocumentation(-1, nullptr, &doc, nullptr, nullptr);
    const std::u16string helpString = doc ? doc : u"";
    SysFreeString(doc);

    // Without a help folder the file's own folder serves, as the platform
    // records it.
    std::u16string help;
    if (helpDir) {
        help = helpDir;
    } else {
        help = fullPath;
        const size_t slash = help.find_last_of(u"/");
        help = slash == std::u16string::npos ? std::u16string() : help.substr(0, slash);
    }
    const std::u16string version = VersionText(lib.wMajorVerNum, lib.wMinorVerNum);
    Key versionKey;
    if (!versionKey.Create(HKEY_CLASSES_ROOT, LibKeyPath(lib.guid) + u"\\" + version) ||
        !versionKey.Set(nullptr, helpString) || !versionKey.SetSub(Hex(lib.lcid) + u"\\" + kind, fullPath) ||
        // The disk-image bit describes a loaded library, not a registration.
        !versionKey.SetSub(u"FLAGS", Ascii(std::to_string(lib.wLibFlags & ~LIBFLAG_FHASDISKIMAGE).c_str())) ||
        !versionKey.SetSub(u"HELPDIR", help)) {
        return TYPE_E_REGISTRYACCESS;
    }
    const std::u16string libid = GuidText(lib.guid);
    hr = S_OK;
    ForEachMarshalable(ptlib, [&](REFGUID iid, const std::u16string& name) {
        Key itf;
        if (!itf.Create(HKEY_CLASSES_ROOT, u"Interface\\" + GuidText(iid)) || !itf.Set(nullptr, name) ||
            !itf.SetSub(u"ProxyStubClsid", kAutomationProxy) || !itf.SetSub(u"ProxyStubClsid32", kAutomationProxy)) {
            hr = TYPE_E_REGISTRYACCESS;
            return;
        }
        Key typeLib;
        if (!typeLib.Create(itf.get(), u"TypeLib") || !typeLib.Set(nullptr, libid) ||
            !typeLib.Set(u"Version", version)) {
            hr = TYPE_E_REGISTRYACCESS;
        }
    });
    return hr;
}

HRESULT Unregister(REFGUID libID, WORD major, WORD minor, LCID lcid, SYSKIND syskind) {
    const char16_t* kind = SysKindName(syskind);
    const std::u16string libPath = LibKeyPath(libID);
    const std::u16string version = VersionText(major, minor);
    const std::u16string entryPath = Hex(lcid) + u"\\" + kind;
    std::u16string file;
    {
        Key versionKey;
        Key entry;
        if (!kind || !versionKey.Open(HKEY_CLASSES_ROOT, libPath + u"\\" + version) ||
            !entry.Open(versionKey.get(), entryPath) || !entry.Get(nullptr, file)) {
            return E_INVALIDARG;
        }
    }
    // The interface keys go wherever they name this library, whichever of
    // its versions registered them last: as on the platform, unregistering
    // an old version takes them from a newer one registered after it too.
    ITypeLib* lib = nullptr;
    if (SUCCEEDED(LoadTypeLibEx(file.c_str(), REGKIND_NONE, &lib))) {
        const std::u16string libid = GuidText(libID);
        ForEachMarshalable(lib, [&](REFGUID iid, const std::u16string&) {
            const std::u16string path = u"Interface\\" + GuidText(iid);
            Key typeLib;
            std::u16string owner;
            if (!typeLib.Open(HKEY_CLASSES_ROOT, path + u"\\TypeLib") || !typeLib.Get(nullptr, owner)) return;
            if (owner == libid) {
                typeLib.Close();
                RegDeleteTreeW(HKEY_CLASSES_ROOT, path.c_str());
            }
        });
        lib->Release();
    }
    {
        Key versionKey;
        if (versionKey.Open(HKEY_CLASSES_ROOT, libPath + u"\\" + version)) {
            RegDeleteTreeW(versionKey.get(), entryPath.c_str());
            Key lcidKey;
            if (lcidKey.Open(versionKey.get(), Hex(lcid)) && lcidKey.SubKeys().empty()) {
                lcidKey.Close();
                RegDeleteKeyW(versionKey.get(), Hex(lcid).c_str());
            }
            // With no locale left, the version goes with its FLAGS and HELPDIR.
            bool localesLeft = false;
            for (const std::u16string& sub : versionKey.SubKeys()) {
                if (sub != u"FLAGS" && sub != u"HELPDIR") localesLeft = true;
            }
            if (!localesLeft) {
                versionKey.Close();
                RegDeleteTreeW(HKEY_CLASSES_ROOT, (libPath + u"\\" + version).c_str());
            }
        }
    }
    Key libKey;
    if (libKey.Open(HKEY_CLASSES_ROOT, libPath) && libKey.SubKeys().empty()) {
        libKey.Close();
        RegDeleteKeyW(HKEY_CLASSES_ROOT, libPath.c_str());
    }
    return S_OK;
}

}  // namespace

HRESULT WINAPI RegisterTypeLib(ITypeLib* ptlib, LPCOLESTR szFullPath, LPCOLESTR szHelpDir) {
    if (!ptlib || !szFullPath) return E_INVALIDARG;
    try {
        return Register(ptlib, szFullPath, szHelpDir);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT WINAPI UnRegisterTypeLib(REFGUID libID, WORD wVerMajor, WORD wVerMinor, LCID lcid, SYSKIND syskind) {
    try {
        return Unregister(libID, wVerMajor, wVerMinor, lcid, syskind);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT WINAPI QueryPathOfRegTypeLib(REFGUID guid, USHORT wMaj, USHORT wMin, LCID lcid, BSTR* lpbstrPathName) {
    if (!lpbstrPathName) return E_INVALIDARG;
    *lpbstrPathName = nullptr;
    try {
        std::u16string path;
        const HRESULT hr = RegisteredPath(guid, wMaj, wMin, lcid, path);
        if (FAILED(hr)) return hr;
        *lpbstrPathName = SysAllocStringLen(path.data(), UINT(path.size()));
        return *lpbstrPathName ? S_OK : E_OUTOFMEMORY;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT WINAPI LoadRegTypeLib(REFGUID rguid, WORD wVerMajor, WORD wVerMinor, LCID lcid, ITypeLib** pptlib) {
    if (!pptlib) return E_INVALIDARG;
    *pptlib = nullptr;
    try {
        std::u16string path;
        const HRESULT hr = RegisteredPath(rguid, wVerMajor, wVerMinor, lcid, path);
        if (FAILED(hr)) return hr;
        return LoadTypeLibEx(path.c_str(), REGKIND_NONE, pptlib);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

#endif
