// The library's exported entry points for the component runtime.
#include <Ostrel.h>

#include <string>

#include "component/class_factory.h"
#include "component/class_table.h"
#include "component/module_state.h"
#include "component/self_registration.h"

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

// Registers every class from the library's own scripts, then the type
// library from the library's own file. The first failure ends it.
STDAPI DllRegisterServer() {
    HMODULE module = nullptr;
    WString path;
    HRESULT hr = OwnModule(module, path);
    if (FAILED(hr)) return hr;
    hr = RunClassScripts(
        ClassTable(), [module](unsigned id, WString& script) { return ModuleScript(module, id, script); }, path,
        true);
    if (FAILED(hr)) return hr;
    return RegisterTypeLibraryOf(path);
}

// Removes what registration made, as far as it can; never fails.
STDAPI DllUnregisterServer() {
    HMODULE module = nullptr;
    WString path;
    if (FAILED(OwnModule(module, path))) return S_OK;
    RunClassScripts(
        ClassTable(), [module](unsigned id, WString& script) { return ModuleScript(module, id, script); }, path,
        false);
    UnregisterTypeLibraryOf(path);
    return S_OK;
}
