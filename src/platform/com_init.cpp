#ifndef _WIN32
// Component runtime initialisation, counted per thread.
//
// There is no marshalling here, so the apartment a thread enters changes
// nothing about how calls are made; what is kept is the bookkeeping callers
// can observe: the first call succeeds with S_OK, later ones with S_FALSE,
// a call asking for the other threading model fails with RPC_E_CHANGED_MODE
// without being counted, and every counted call needs its CoUninitialize.
#include <windows.h>

#include "com_init.h"

namespace {

struct ThreadApartment {
    ULONG initializations = 0;
    bool singleThreaded = false;  // meaningful while initializations > 0
};
thread_local ThreadApartment apartment;

}  // namespace

// Reserved pointers and flags other than the threading model are accepted and
// ignored, as the platform does.
HRESULT WINAPI CoInitializeEx(LPVOID, DWORD dwCoInit) {
    const bool singleThreaded = (dwCoInit & COINIT_APARTMENTTHREADED) != 0;
    if (apartment.initializations == 0) {
        apartment.singleThreaded = singleThreaded;
        apartment.initializations = 1;
        return S_OK;
    }
    if (apartment.singleThreaded != singleThreaded) return RPC_E_CHANGED_MODE;
    ++apartment.initializations;
    return S_FALSE;
}

HRESULT WINAPI CoInitialize(LPVOID pvReserved) { return CoInitializeEx(pvReserved, COINIT_APARTMENTTHREADED); }

bool ostrel_platform::ThreadInitialized() { return apartment.initializations > 0; }

void WINAPI CoUninitialize(void) {
    // An unbalanced call is ignored rather than driving the count negative.
    if (apartment.initializations > 0) --apartment.initializations;
}

#endif
