#ifndef _WIN32
// Class objects of in-process servers.
//
// A registered class is found as the platform finds it: the library named by
// its InprocServer32 key is loaded and asked through its DllGetClassObject.
// A class that is not registered is still found when a library already
// loaded into the process serves it (each one exporting DllGetClassObject is
// asked in load order), so a host that links Ostrel's library can create its
// classes without registering them first. What a host observes otherwise
// matches the platform: CO_E_NOTINITIALIZED before CoInitialize,
// REGDB_E_CLASSNOTREG for a class nobody serves or a context without
// in-process servers, out-pointers nulled on failure.
#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <mutex>
#include <vector>

#include <windows.h>

#include "class_registration.h"
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
        std::u16string path;
        if (ostrel_platform::ClassesRootText(ostrel_platform::ClassKey(rclsid, u"InprocServer32"), path)) {
            char narrow[4096];
            if (!WideCharToMultiByte(CP_UTF8, 0, path.c_str(), -1, narrow, sizeof narrow, nullptr, nullptr))
                return HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);
            // Kept loaded: its objects may outlive this call by far.
            HMODULE server = LoadLibraryExA(narrow, nullptr, 0);
            if (!server) return HRESULT_FROM_WIN32(GetLastError());
            auto entry = reinterpret_cast<GetClassObjectFn>(
                reinterpret_cast<void*>(GetProcAddress(server, "DllGetClassObject")));
            if (!entry) return CO_E_ERRORINDLL;
            return entry(rclsid, riid, ppv);
        }
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
