// One counted interface reference, released on every way out of the engine's
// operations, including the thrown ones.
#pragma once
#include <windows.h>

#include "foundation/hresult.h"

namespace ostrel {

template <class Itf>
class InterfaceRef {
public:
    InterfaceRef() = default;
    explicit InterfaceRef(Itf* owned) : p_(owned) {}
    ~InterfaceRef() { Reset(); }
    InterfaceRef(const InterfaceRef&) = delete;
    InterfaceRef& operator=(const InterfaceRef&) = delete;
    InterfaceRef(InterfaceRef&& other) noexcept : p_(other.Detach()) {}

    Itf* Get() const { return p_; }
    Itf* operator->() const { return p_; }
    explicit operator bool() const { return p_ != nullptr; }

    // Where an out-parameter writes the reference it hands over.
    Itf** Out() {
        Reset();
        return &p_;
    }
    void** OutVoid() { return reinterpret_cast<void**>(Out()); }
    Itf* Detach() {
        Itf* p = p_;
        p_ = nullptr;
        return p;
    }
    void Reset() {
        if (p_) p_->Release();
        p_ = nullptr;
    }

private:
    Itf* p_ = nullptr;
};

// from queried for Itf; a failed query is thrown as its HRESULT.
template <class Itf>
InterfaceRef<Itf> QueryOrThrow(IUnknown* from, REFIID iid) {
    InterfaceRef<Itf> out;
    if (!from) throw HRESULT(E_POINTER);
    HRESULT hr = from->QueryInterface(iid, out.OutVoid());
    ThrowIfFailed(hr);
    if (!out) throw HRESULT(E_NOINTERFACE);
    return out;
}

}  // namespace ostrel
