// Component runtime services: apartments, object creation, task memory.
#pragma once
#include "ocidl.h"

typedef enum tagCOINIT {
    COINIT_APARTMENTTHREADED = 0x2,
    COINIT_MULTITHREADED = 0x0,
    COINIT_DISABLE_OLE1DDE = 0x4,
    COINIT_SPEED_OVER_MEMORY = 0x8
} COINIT;

typedef enum tagCLSCTX {
    CLSCTX_INPROC_SERVER = 0x1,
    CLSCTX_INPROC_HANDLER = 0x2,
    CLSCTX_LOCAL_SERVER = 0x4,
    CLSCTX_REMOTE_SERVER = 0x10,
    CLSCTX_ALL = 0x17
} CLSCTX;
#define CLSCTX_INPROC (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER)
#define CLSCTX_SERVER (CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER)

OSTREL_PLATFORM_FN HRESULT WINAPI CoInitialize(LPVOID pvReserved);
OSTREL_PLATFORM_FN HRESULT WINAPI CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit);
OSTREL_PLATFORM_FN void WINAPI CoUninitialize(void);

OSTREL_PLATFORM_FN LPVOID WINAPI CoTaskMemAlloc(SIZE_T cb);
OSTREL_PLATFORM_FN LPVOID WINAPI CoTaskMemRealloc(LPVOID pv, SIZE_T cb);
OSTREL_PLATFORM_FN void WINAPI CoTaskMemFree(LPVOID pv);

// Where a remote server runs; only null is meaningful in-process.
typedef struct _COSERVERINFO COSERVERINFO;

// Class objects of in-process servers: found through the exported
// DllGetClassObject of the libraries loaded in the process.
OSTREL_PLATFORM_FN HRESULT WINAPI CoGetClassObject(REFCLSID rclsid, DWORD dwClsContext, COSERVERINFO* pServerInfo,
                                                   REFIID riid, LPVOID* ppv);
OSTREL_PLATFORM_FN HRESULT WINAPI CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext,
                                                   REFIID riid, LPVOID* ppv);

// ProgIDs and in-process servers registered under HKEY_CLASSES_ROOT.
OSTREL_PLATFORM_FN HRESULT WINAPI ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* lplpszProgID);
OSTREL_PLATFORM_FN HRESULT WINAPI CLSIDFromProgID(LPCOLESTR lpszProgID, LPCLSID lpclsid);
OSTREL_PLATFORM_FN HRESULT WINAPI StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, INT cchMax);
OSTREL_PLATFORM_FN HRESULT WINAPI CLSIDFromString(LPCOLESTR lpsz, LPCLSID pclsid);
