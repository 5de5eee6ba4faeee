// One class of the library as its class factory sees it.
#pragma once
#include <windows.h>

namespace ostrel {

struct ClassEntry {
    const CLSID* clsid;
    // Creates an object, stand-alone or aggregated, and hands out riid.
    HRESULT (*create)(IUnknown* outer, REFIID riid, void** ppv);
};

}  // namespace ostrel
