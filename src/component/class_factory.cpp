#include "component/class_factory.h"

#include <new>
#include <vector>

#include "component/module_state.h"

namespace ostrel {
namespace {

class ClassFactory final : public IClassFactory {
public:
    explicit ClassFactory(const ClassEntry& entry) : entry_(entry) {}

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (!IsEqualGUID(riid, IID_IUnknown) && !IsEqualGUID(riid, IID_IClassFactory)) return E_NOINTERFACE;
        *ppv = static_cast<IClassFactory*>(this);
        AddRef();
        return S_OK;
    }
    // The cache holds the first reference; every further one keeps the
    // library loaded.
    STDMETHODIMP_(ULONG) AddRef() override {
        LONG n = InterlockedIncrement(&refs_);
        if (n == 2) LockModule();
        return ULONG(n);
    }
    STDMETHODIMP_(ULONG) Release() override {
        LONG n = InterlockedDecrement(&refs_);
        if (n == 1) UnlockModule();
        if (n == 0) delete this;
        return ULONG(n);
    }

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override {
        return entry_.create(outer, riid, ppv);
    }
    STDMETHODIMP LockServer(BOOL lock) override {
        if (lock) LockModule();
        else UnlockModule();
        return S_OK;
    }

private:
    const ClassEntry& entry_;
    LONG refs_ = 1;
};

}  // namespace

IClassFactory* CachedClassFactory(const ClassEntry& entry) {
    // One factory per class, kept from its first request until the library
    // is unloaded; a handful of classes, so a list is the whole index.
    struct Cached {
        const ClassEntry* entry;
        IClassFactory* factory;
    };
    struct Cache {
        std::vector<Cached> entries;
        ~Cache() {
            for (const Cached& cached : entries) cached.factory->Release();
        }
    };
    static Cache cache;
    ModuleGuard guard;
    for (const Cached& cached : cache.entries)
        if (cached.entry == &entry) return cached.factory;
    try {
        cache.entries.reserve(cache.entries.size() + 1);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    IClassFactory* factory = new (std::nothrow) ClassFactory(entry);
    if (factory) cache.entries.push_back({&entry, factory});
    return factory;
}

}  // namespace ostrel
