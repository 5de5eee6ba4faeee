// Ostrel: the one header a host includes.
//
// It brings the component platform's API (on Windows the platform's own
// headers; on Linux Ostrel's platform layer, found through the include path
// the Ostrel package sets up) and the type library's declarations:
// interfaces, records, enumerations and identifiers.
#pragma once

#include <windows.h>
#include <ole2.h>
#include <ocidl.h>
#include <olectl.h>

#include "OstrelLib.h"

// The library's entry points for the component runtime.
#ifdef _WIN32
#define OSTREL_ENTRY_POINT
#else
#define OSTREL_ENTRY_POINT __attribute__((visibility("default")))
#endif
EXTERN_C OSTREL_ENTRY_POINT HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv);
EXTERN_C OSTREL_ENTRY_POINT HRESULT STDAPICALLTYPE DllCanUnloadNow(void);
EXTERN_C OSTREL_ENTRY_POINT HRESULT STDAPICALLTYPE DllRegisterServer(void);
EXTERN_C OSTREL_ENTRY_POINT HRESULT STDAPICALLTYPE DllUnregisterServer(void);
