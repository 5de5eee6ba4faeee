// Failed platform calls are thrown as their bare HRESULT and caught at the
// component boundary, which returns them to the caller unchanged.
#pragma once
#include <windows.h>

namespace ostrel {

inline void ThrowIfFailed(HRESULT hr) {
    if (FAILED(hr)) throw hr;
}

// The check after an allocation that reports failure by returning nothing.
template <class T>
inline T* ThrowIfNull(T* p) {
    if (!p) throw HRESULT(E_OUTOFMEMORY);
    return p;
}

}  // namespace ostrel
