// The library's exported entry points for the component runtime.
#include <Ostrel.h>

#include "component/class_factory.h"
#include "component/class_table.h"
#include "component/module_state.h"

using namespace ostrel;

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    const ClassEntry* entry = FindClass(rclsid);
    if (!entry) return CLASS_E_CLASSNOTAVAILABLE;
    IClassFactory* factory = CachedClassFactory(*entry);
    if (!factory) return E_OUTOFMEMORY;
    return factory->QueryInterface(riid, ppv);
}

STDAPI DllCanUnloadNow() { return ModuleLockCount() == 0 ? S_OK : S_FALSE; }
