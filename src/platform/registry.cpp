#ifndef _WIN32
// The registry API over Ostrel's registry file. Opened keys are handles that
// name a key's path; every call reads the file afresh under its lock, so
// changes by other processes are seen at once. Names are compared without
// regard to case and keep the case they were created with; subkeys are
// enumerated in that order. The codes are the platform's.
#include <windows.h>

#include <cstring>
#include <mutex>
#include <unordered_map>

#include "registry_store.h"

namespace registry = ostrel::platform::registry;
using registry::Key;
using registry::Path;

namespace {

struct OpenKeys {
    std::mutex mutex;
    std::unordered_map<ULONG_PTR, Path> paths;
    ULONG_PTR next = 0x1000;
};

OpenKeys& Keys() {
    static OpenKeys keys;
    return keys;
}

const char16_t* RootName(HKEY key) {
    if (key == HKEY_CLASSES_ROOT) return u"HKCR";
    if (key == HKEY_CURRENT_USER) return u"HKCU";
    if (key == HKEY_LOCAL_MACHINE) return u"HKLM";
    return nullptr;
}

// The path of an open or predefined key; false for anything else.
bool PathOf(HKEY key, Path& path) {
    if (const char16_t* root = RootName(key)) {
        path = {root};
        return true;
    }
    OpenKeys& keys = Keys();
    std::lock_guard lock(keys.mutex);
    auto found = keys.paths.find(reinterpret_cast<ULONG_PTR>(key));
    if (found == keys.paths.end()) return false;
    path = found->second;
    return true;
}

HKEY NewHandle(Path path) {
    OpenKeys& keys = Keys();
    std::lock_guard lock(keys.mutex);
    const ULONG_PTR handle = keys.next;
    keys.next += 4;
    keys.paths.emplace(handle, std::move(path));
    return reinterpret_cast<HKEY>(handle);
}

Path Below(Path path, LPCWSTR subKey) {
    for (auto& name : registry::SplitSubKey(subKey)) path.push_back(std::move(name));
    return path;
}

// The key an open handle names, which may have been deleted meanwhile.
Key* Existing(Key& top, const Path& path) { return registry::Find(top, path); }

// Runs body on the key behind hKey (a predefined root always exists).
template <class Body>
LSTATUS OnKey(HKEY hKey, bool write, Body body) {
    Path path;
    if (!PathOf(hKey, path)) return ERROR_INVALID_HANDLE;
    const bool root = path.size() == 1;
    return registry::Transact(write, [&](Key& top) -> LSTATUS {
        Key* key = Existing(top, path);
        if (!key && root) {
            auto& slot = top.subkeys[path[0]];
            slot = std::make_unique<Key>();
            slot->name = path[0];
            key = slot.get();
        }
        if (!key) return ERROR_KEY_DELETED;
        return body(*key);
    });
}

}  // namespace

LSTATUS WINAPI RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD, LPWSTR, DWORD, REGSAM,
                               const LPSECURITY_ATTRIBUTES, PHKEY phkResult, LPDWORD lpdwDisposition) {
    if (!phkResult) return ERROR_INVALID_PARAMETER;
    Path path;
    if (!PathOf(hKey, path)) return ERROR_INVALID_HANDLE;
    const Path below = registry::SplitSubKey(lpSubKey);
    DWORD disposition = REG_OPENED_EXISTING_KEY;
    const LSTATUS status = OnKey(hKey, true, [&](Key& key) -> LSTATUS {
        Key* at = &key;
        for (const auto& name : below) {
            auto& slot = at->subkeys[name];
            if (!slot) {
                slot = std::make_unique<Key>();
                slot->name = name;
                disposition = REG_CREATED_NEW_KEY;
            }
            at = slot.get();
        }
        return ERROR_SUCCESS;
    });
    if (status != ERROR_SUCCESS) return status;
    *phkResult = NewHandle(Below(path, lpSubKey));
    if (lpdwDisposition) *lpdwDisposition = disposition;
    return ERROR_SUCCESS;
}

LSTATUS WINAPI RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD, REGSAM, PHKEY phkResult) {
    if (!phkResult) return ERROR_INVALID_PARAMETER;
    Path path;
    if (!PathOf(hKey, path)) return ERROR_INVALID_HANDLE;
    const Path below = registry::SplitSubKey(lpSubKey);
    const LSTATUS status = OnKey(hKey, false, [&](Key& key) -> LSTATUS {
        return registry::Find(key, below) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
    });
    if (status != ERROR_SUCCESS) return status;
    *phkResult = NewHandle(Below(path, lpSubKey));
    return ERROR_SUCCESS;
}

LSTATUS WINAPI RegCloseKey(HKEY hKey) {
    if (RootName(hKey)) return ERROR_SUCCESS;
    OpenKeys& keys = Keys();
    std::lock_guard lock(keys.mutex);
    return keys.paths.erase(reinterpret_cast<ULONG_PTR>(hKey)) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS WINAPI RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD, DWORD dwType, const BYTE* lpData,
                              DWORD cbData) {
    if (!lpData && cbData) return ERROR_NOACCESS;
    registry::Value value;
    value.name = lpValueName ? lpValueName : u"";
    value.type = dwType;
    if (cbData) value.data.assign(lpData, lpData + cbData);
    return OnKey(hKey, true, [&](Key& key) -> LSTATUS {
        key.values[value.name] = value;
        return ERROR_SUCCESS;
    });
}

LSTATUS WINAPI RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD, LPDWORD lpType, LPBYTE lpData,
                                LPDWORD lpcbData) {
    if (lpData && !lpcbData) return ERROR_INVALID_PARAMETER;
    const registry::Name name = lpValueName ? lpValueName : u"";
    return OnKey(hKey, false, [&](Key& key) -> LSTATUS {
        auto found = key.values.find(name);
        if (found == key.values.end()) return ERROR_FILE_NOT_FOUND;
        const registry::Value& value = found->second;
        const DWORD size = DWORD(value.data.size());
        if (lpType) *lpType = value.type;
        if (!lpcbData) return ERROR_SUCCESS;
        if (lpData && *lpcbData < size) {
            *lpcbData = size;
            return ERROR_MORE_DATA;
        }
        if (lpData && size) std::memcpy(lpData, value.data.data(), size);
        *lpcbData = size;
        return ERROR_SUCCESS;
    });
}

LSTATUS WINAPI RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName) {
    const registry::Name name = lpValueName ? lpValueName : u"";
    return OnKey(hKey, true,
                 [&](Key& key) -> LSTATUS { return key.values.erase(name) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND; });
}

LSTATUS WINAPI RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD, LPWSTR lpClass,
                             LPDWORD lpcchClass, PFILETIME lpftLastWriteTime) {
    if (!lpName || !lpcchName) return ERROR_INVALID_PARAMETER;
    return OnKey(hKey, false, [&](Key& key) -> LSTATUS {
        if (dwIndex >= key.subkeys.size()) return ERROR_NO_MORE_ITEMS;
        auto it = key.subkeys.begin();
        std::advance(it, dwIndex);
        const registry::Name& name = it->second->name;
        if (*lpcchName <= name.size()) return ERROR_MORE_DATA;
        std::memcpy(lpName, name.c_str(), (name.size() + 1) * sizeof(char16_t));
        *lpcchName = DWORD(name.size());
        if (lpClass && lpcchClass && *lpcchClass) {
            *lpClass = 0;
            *lpcchClass = 0;
        }
        if (lpftLastWriteTime) *lpftLastWriteTime = FILETIME{0, 0};
        return ERROR_SUCCESS;
    });
}

LSTATUS WINAPI RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey) {
    const Path below = registry::SplitSubKey(lpSubKey);
    if (below.empty()) return RootName(hKey) ? ERROR_ACCESS_DENIED : ERROR_INVALID_PARAMETER;
    return OnKey(hKey, true, [&](Key& key) -> LSTATUS {
        Path parentPath(below.begin(), below.end() - 1);
        Key* parent = registry::Find(key, parentPath);
        auto found = parent ? parent->subkeys.find(below.back()) : decltype(parent->subkeys.end()){};
        if (!parent || found == parent->subkeys.end()) return ERROR_FILE_NOT_FOUND;
        // Only a key without subkeys may go; a whole tree needs RegDeleteTreeW.
        if (!found->second->subkeys.empty()) return ERROR_ACCESS_DENIED;
        parent->subkeys.erase(found);
        return ERROR_SUCCESS;
    });
}

LSTATUS WINAPI RegDeleteTreeW(HKEY hKey, LPCWSTR lpSubKey) {
    const Path below = registry::SplitSubKey(lpSubKey);
    return OnKey(hKey, true, [&](Key& key) -> LSTATUS {
        if (below.empty()) {
            // The key itself stays, emptied of its values and subkeys.
            key.values.clear();
            key.subkeys.clear();
            return ERROR_SUCCESS;
        }
        Key* parent = registry::Find(key, Path(below.begin(), below.end() - 1));
        if (!parent || !parent->subkeys.erase(below.back())) return ERROR_FILE_NOT_FOUND;
        return ERROR_SUCCESS;
    });
}

#endif
