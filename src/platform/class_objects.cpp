#ifndef _WIN32
// Class objects of in-process servers.
//
// The platform finds a class through the registry's InprocServer32 key. Until
// Ostrel's platform keeps a registry, a class is found through the libraries
// already loaded into the process: each one that exports DllGetClassObject is
// asked in load order, and the first that knows the class serves it. A host
// links or loads Ostrel's library, so its classes are always found; what a
// host observes otherwise matches the platform: CO_E_NOTINITIALIZED before
// CoInitialize, REGDB_E_CLASSNOTREG for a class nobody serves or a context
// without in-process servers, out-pointers nulled on failure.
#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <mutex>
#include <vector>

#include <windows.h>

#include "com_init.h"

namespace {

using GetClassObjectFn = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, LPVOID*);

struct ServerList {
    std::mutex mutex;
    std::vector<GetClassObjectFn> servers;
    // The loader's counts of objects ever added and removed: the list is
    // rebuilt only when a library came or went since it was made.
    unsigned long long adds = ~0ull, subs = ~0ull;
};

ServerList& Servers() {
    static ServerList list;
    return list;
}

struct LoaderCounts {
    unsigned long long adds = 0, subs = 0;
};

int ReadCounts(dl_phdr_info* info, size_t size, void* data) {
    auto* counts = static_cast<LoaderCounts*>(data);
    if (size >= offsetof(dl_phdr_info, dlpi_subs) + sizeof(info->dlpi_subs)) {
        counts->adds = info->dlpi_adds;
        counts->subs = info->dlpi_subs;
    }
    return 1;  // every entry carries the same counts
}

int CollectServer(dl_phdr_info* info, size_t, void* data) {
    auto* servers = static_cast<std::vector<GetClassObjectFn>*>(data);
    const char* name = info->dlpi_name;
    void* handle = dlopen(name && *name ? name : nullptr, RTLD_LAZY | RTLD_NOLOAD);
    if (!handle) return 0;
    void* symbol = dlsym(handle, "DllGetClassObject");
    dlclose(handle);
    // dlsym also searches a library's dependencies, so one server may be
    // reached through several libraries; it is asked once.
    auto fn = reinterpret_cast<GetClassObjectFn>(symbol);
    if (fn && std::find(servers->begin(), servers->end(), fn) == servers->end()) servers->push_back(fn);
    return 0;
}

// A snapshot of the servers, so no lock is held while a server runs (it may
// create further objects).
std::vector<GetClassObjectFn> CurrentServers() {
    ServerList& list = Servers();
    LoaderCounts counts;
    dl_iterate_phdr(ReadCounts, &counts);
    std::lock_guard lock(list.mutex);
    if (counts.adds != list.adds || counts.subs != list.subs || counts.adds == 0) {
        list.servers.clear();
        dl_iterate_phdr(CollectServer, &list.servers);
        list.adds = counts.adds;
        list.subs = counts.subs;
    }
    return list.servers;
}

}  // namespace

HRESULT WINAPI CoGetClassObject(REFCLSID rclsid, DWORD dwClsContext, COSERVERINFO*, REFIID riid, LPVOID* ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (!ostrel_platform::ThreadInitialized()) return CO_E_NOTINITIALIZED;
    if (!(dwClsContext & CLSCTX_INPROC_SERVER)) return REGDB_E_CLASSNOTREG;
    try {
        for (GetClassObjectFn server : CurrentServers()) {
            HRESULT hr = server(rclsid, riid, ppv);
            if (hr != CLASS_E_CLASSNOTAVAILABLE) return hr;
            *ppv = nullptr;
        }
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return REGDB_E_CLASSNOTREG;
}

HRESULT WINAPI CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid,
                                LPVOID* ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    IClassFactory* factory = nullptr;
    HRESULT hr = CoGetClassObject(rclsid, dwClsContext, nullptr, IID_IClassFactory,
                                  reinterpret_cast<void**>(&factory));
    if (FAILED(hr)) return hr;
    hr = factory->CreateInstance(pUnkOuter, riid, ppv);
    factory->Release();
    if (FAILED(hr)) *ppv = nullptr;
    return hr;
}

#endif
