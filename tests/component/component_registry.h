// The library's own keys under HKEY_CLASSES_ROOT, for tests that need it
// unregistered. Only what its registration writes is touched: on Windows
// HKEY_CLASSES_ROOT is the machine's, shared with every other program.
#pragma once
#include <Ostrel.h>

#include <string>
#include <vector>

#include "test_support.h"

namespace test {

struct LibraryClass {
    const CLSID* clsid;
    const OLECHAR* progId;
    const OLECHAR* independentProgId;
};

inline const LibraryClass kLibraryClasses[] = {
    {&CLSID_VoAvailability, OLESTR("VoAvl.VoAvailability.1"), OLESTR("VoAvl.VoAvailability")},
    {&CLSID_VoRules, OLESTR("VoAvl.VoRules.1"), OLESTR("VoAvl.VoRules")},
    {&CLSID_VoCalculator, OLESTR("VoService.VoCalculator.1"), OLESTR("VoService.VoCalculator")},
    {&CLSID_ReadWriteLock, OLESTR("VoObjects.ReadWriteLock.1"), OLESTR("VoObjects.ReadWriteLock")},
    {&CLSID_VoScheduler, OLESTR("VoSchedule.VoScheduler.1"), OLESTR("VoSchedule.VoScheduler")},
};

// "{GUID}", in the platform's own spelling.
inline OleString GuidText(REFGUID guid) {
    OLECHAR text[40];
    StringFromGUID2(guid, text, 40);
    return text;
}

// "parent\{GUID}".
inline OleString GuidKey(const OLECHAR* parent, REFGUID guid) {
    return OleString(parent) + OLESTR("\\") + GuidText(guid);
}

// The default text of HKEY_CLASSES_ROOT\path, upper-cased; "" when there is none.
inline OleString DefaultTextUpper(const OleString& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return OleString();
    OLECHAR text[128] = {};
    DWORD size = sizeof text - sizeof(OLECHAR);
    const LSTATUS status = RegQueryValueExW(key, nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    RegCloseKey(key);
    if (status != ERROR_SUCCESS) return OleString();
    OleString out(text);
    for (OLECHAR& c : out) {
        if (c >= OLESTR('a') && c <= OLESTR('z')) c = OLECHAR(c - OLESTR('a') + OLESTR('A'));
    }
    return out;
}

// The Interface keys that name the library's type library: those its
// registration (of either version) wrote.
inline std::vector<OleString> LibraryInterfaceKeys() {
    std::vector<OleString> keys;
    HKEY interfaces = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, OLESTR("Interface"), 0, KEY_READ, &interfaces) != ERROR_SUCCESS) return keys;
    const OleString library = GuidText(LIBID_OSTRELLib);
    for (DWORD i = 0;; ++i) {
        OLECHAR name[64];
        DWORD length = 64;
        const LSTATUS status = RegEnumKeyExW(interfaces, i, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (status == ERROR_NO_MORE_ITEMS) break;
        if (status != ERROR_SUCCESS) continue;  // a name too long for an identifier
        const OleString key = OLESTR("Interface\\") + OleString(name, length);
        if (DefaultTextUpper(key + OLESTR("\\TypeLib")) == library) keys.push_back(key);
    }
    RegCloseKey(interfaces);
    return keys;
}

// Removes every key the library's registration writes - its ProgIDs, its
// classes, its type library and that library's interfaces - and nothing else.
inline void RemoveLibraryKeys() {
    for (const LibraryClass& c : kLibraryClasses) {
        RegDeleteTreeW(HKEY_CLASSES_ROOT, c.progId);
        RegDeleteTreeW(HKEY_CLASSES_ROOT, c.independentProgId);
        RegDeleteTreeW(HKEY_CLASSES_ROOT, GuidKey(OLESTR("CLSID"), *c.clsid).c_str());
    }
    for (const OleString& key : LibraryInterfaceKeys()) RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
    RegDeleteTreeW(HKEY_CLASSES_ROOT, GuidKey(OLESTR("TypeLib"), LIBID_OSTRELLib).c_str());
}

// The library unregistered for the life of a test. A registration found at
// the start (an installed library, as in the Wine prefix the cross build's
// tests run in) is made again at the end, so later tests still find it; it
// then names the library this program loaded.
class LibraryUnregistered {
public:
    LibraryUnregistered() {
        wasRegistered_ = !DefaultTextUpper(GuidKey(OLESTR("CLSID"), CLSID_VoRules) + OLESTR("\\InprocServer32")).empty();
        RemoveLibraryKeys();
    }
    ~LibraryUnregistered() {
        RemoveLibraryKeys();
        if (wasRegistered_) DllRegisterServer();
    }
    LibraryUnregistered(const LibraryUnregistered&) = delete;
    LibraryUnregistered& operator=(const LibraryUnregistered&) = delete;

private:
    bool wasRegistered_ = false;
};

}  // namespace test
