// The one base of every object the library hands out: component classes,
// enumerators, class factories and internal event objects.
//
// It gives reference counting, QueryInterface over the class's interface
// table (the first entry also answers IUnknown), aggregation with an outer
// unknown, and the library's live-object count. A class derives from
// ComObject<Class, Interfaces...> and lists its table:
//
//   class Foo final : public ComObject<Foo, IFoo, SupportErrorInfo<Foo>> {
//   public:
//       static std::span<const InterfaceEntry<Foo>> InterfaceTable() {
//           static const InterfaceEntry<Foo> table[] = {
//               Entry<Foo, IFoo>(IID_IFoo),
//               Entry<Foo, IDispatch, IFoo>(IID_IDispatch),
//               Entry<Foo, ISupportErrorInfo>(IID_ISupportErrorInfo)};
//           return table;
//       }
//   };
#pragma once
#include <new>
#include <span>

#include <windows.h>

#include "component/module_state.h"

namespace ostrel {

template <class Object>
struct InterfaceEntry {
    const IID* iid;
    void* (*cast)(Object*);
};

// The entry for interface Itf, reached through base Via (for the dispatch
// half of a dual interface: Entry<Foo, IDispatch, IFoo>).
template <class Object, class Itf, class Via = Itf>
constexpr InterfaceEntry<Object> Entry(const IID& iid) {
    return {&iid, [](Object* o) -> void* { return static_cast<Itf*>(static_cast<Via*>(o)); }};
}

template <class Object, class... Interfaces>
class ComObject : public Interfaces... {
public:
    // The class factory's work: make an object, stand-alone or aggregated
    // (then only IUnknown may be asked for), and hand out one interface.
    template <class... Args>
    static HRESULT CreateInstance(IUnknown* outer, REFIID riid, void** ppv, Args&&... args) {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (outer && !IsEqualGUID(riid, IID_IUnknown)) return CLASS_E_NOAGGREGATION;
        Object* object = nullptr;
        try {
            object = new Object(std::forward<Args>(args)...);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        object->outer_ = outer;
        object->inner_.AddRef();
        HRESULT hr = object->inner_.QueryInterface(riid, ppv);
        object->inner_.Release();
        return hr;
    }

    // A new stand-alone object holding one reference, for the library's own
    // use (enumerators, internal objects); null when memory ran out.
    template <class... Args>
    static Object* New(Args&&... args) {
        Object* object = new (std::nothrow) Object(std::forward<Args>(args)...);
        if (object) object->inner_.AddRef();
        return object;
    }

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
        return outer_ ? outer_->QueryInterface(riid, ppv) : inner_.QueryInterface(riid, ppv);
    }
    STDMETHODIMP_(ULONG) AddRef() override { return outer_ ? outer_->AddRef() : inner_.AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return outer_ ? outer_->Release() : inner_.Release(); }

protected:
    ComObject() noexcept {
        inner_.self = this;
        LockModule();
    }
    virtual ~ComObject() { UnlockModule(); }
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    // The controlling unknown: the outer object when aggregated.
    IUnknown* ControllingUnknown() { return outer_ ? outer_ : &inner_; }

private:
    // The object's own IUnknown, which never delegates: an outer object holds
    // this one and reaches the object's interfaces through it.
    struct Inner final : IUnknown {
        STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
            if (!ppv) return E_POINTER;
            *ppv = nullptr;
            ComObject* self = Self();
            auto table = Object::InterfaceTable();
            if (IsEqualGUID(riid, IID_IUnknown)) {
                *ppv = self->outer_ ? static_cast<IUnknown*>(this)
                                    : static_cast<IUnknown*>(table[0].cast(static_cast<Object*>(self)));
            } else {
                for (const auto& entry : table) {
                    if (IsEqualGUID(riid, *entry.iid)) {
                        *ppv = entry.cast(static_cast<Object*>(self));
                        break;
                    }
                }
            }
            if (!*ppv) return E_NOINTERFACE;
            static_cast<IUnknown*>(*ppv)->AddRef();
            return S_OK;
        }
        STDMETHODIMP_(ULONG) AddRef() override { return ULONG(InterlockedIncrement(&refs)); }
        STDMETHODIMP_(ULONG) Release() override {
            LONG left = InterlockedDecrement(&refs);
            if (left == 0) delete static_cast<Object*>(Self());
            return ULONG(left);
        }
        ComObject* Self() { return self; }
        ComObject* self = nullptr;
        LONG refs = 0;
    };

    Inner inner_;
    IUnknown* outer_ = nullptr;
};

// ISupportErrorInfo for the one interface a class declares
// (Object::ErrorInfoInterface()).
template <class Object>
class SupportErrorInfo : public ISupportErrorInfo {
public:
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID riid) override {
        return IsEqualGUID(riid, Object::ErrorInfoInterface()) ? S_OK : S_FALSE;
    }
};

}  // namespace ostrel
