#include "component/class_factory.h"

#include <new>

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
    // One slot per class of the table, filled under the library's lock.
    static IClassFactory* cache[16] = {};
    auto table = ClassTable();
    size_t index = size_t(&entry - table.data());
    if (index >= table.size() || index >= std::size(cache)) return nullptr;
    ModuleGuard guard;
    if (!cache[index]) cache[index] = new (std::nothrow) ClassFactory(entry);
    return cache[index];
}

}  // namespace ostrel
