#include "component/type_info.h"

#include <Ostrel.h>

#include <new>
#include <vector>

#include "component/module_state.h"

namespace ostrel {
namespace {

struct Loaded {
    IID iid;
    ITypeInfo* info;
};

// Released when the library is unloaded.
struct TypeInfoCache {
    std::vector<Loaded> entries;
    ~TypeInfoCache() {
        for (const Loaded& entry : entries) entry.info->Release();
    }
};

TypeInfoCache& Cache() {
    static TypeInfoCache cache;
    return cache;
}

}  // namespace

HRESULT InterfaceTypeInfo(REFIID iid, LCID lcid, ITypeInfo** info) noexcept {
    *info = nullptr;
    ModuleGuard guard;
    TypeInfoCache& cache = Cache();
    for (const Loaded& entry : cache.entries) {
        if (IsEqualGUID(entry.iid, iid)) {
            *info = entry.info;
            return S_OK;
        }
    }
    ITypeLib* library = nullptr;
    HRESULT hr = LoadRegTypeLib(LIBID_OSTRELLib, kDispatchTypeLibMajor, kDispatchTypeLibMinor, lcid, &library);
    // Script engines ask in the neutral locale (0), which finds no library
    // registered under English; the type information is the same in every
    // locale, so any caller gets the library's own.
    if (hr == TYPE_E_LIBNOTREGISTERED && lcid != kTypeLibLocale)
        hr = LoadRegTypeLib(LIBID_OSTRELLib, kDispatchTypeLibMajor, kDispatchTypeLibMinor, kTypeLibLocale, &library);
    if (FAILED(hr)) return hr;
    ITypeInfo* loaded = nullptr;
    hr = library->GetTypeInfoOfGuid(iid, &loaded);
    library->Release();
    if (FAILED(hr)) return hr;
    try {
        cache.entries.push_back({iid, loaded});
    } catch (const std::bad_alloc&) {
        loaded->Release();
        return E_OUTOFMEMORY;
    }
    *info = loaded;
    return S_OK;
}

}  // namespace ostrel
