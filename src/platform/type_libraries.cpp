#ifndef _WIN32
// Registered type libraries.
//
// No type library is registered with this platform yet, so every lookup
// answers as the platform does for an identifier it has no entry for.
#include <windows.h>

HRESULT WINAPI LoadRegTypeLib(REFGUID, WORD, WORD, LCID, ITypeLib** pptlib) {
    if (!pptlib) return E_INVALIDARG;
    *pptlib = nullptr;
    return TYPE_E_LIBNOTREGISTERED;
}

#endif
