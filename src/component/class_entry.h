// The library's classes, in the order of its class table, which is also the
// order of registration.
#pragma once
#include <span>

#include <windows.h>

namespace ostrel {

struct ClassEntry {
    const CLSID* clsid;
    // Creates an object, stand-alone or aggregated, and hands out riid.
    HRESULT (*create)(IUnknown* outer, REFIID riid, void** ppv);
};

std::span<const ClassEntry> ClassTable();

// The entry for a class identifier, or null when the library has no such class.
const ClassEntry* FindClass(REFCLSID clsid);

}  // namespace ostrel
