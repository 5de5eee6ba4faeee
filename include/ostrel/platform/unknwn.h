// The root interfaces: IUnknown and IClassFactory.
//
// Interfaces are pure abstract structs with no state, laid out as the
// platform's vtables (one pointer, methods in declaration order), so an
// object built here can be handed to code compiled against the real headers.
#pragma once
#include "guiddef.h"
#include "winerror.h"

OSTREL_PLATFORM_GUID(IID_IUnknown);
OSTREL_PLATFORM_GUID(IID_IClassFactory);

struct IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

    template <class Q>
    HRESULT QueryInterface(Q** pp) {
        return QueryInterface(__uuidof(Q), reinterpret_cast<void**>(pp));
    }
};
__CRT_UUID_DECL(IUnknown, 0x00000000, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
typedef IUnknown* LPUNKNOWN;

struct IClassFactory : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppvObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL fLock) = 0;
};
__CRT_UUID_DECL(IClassFactory, 0x00000001, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
typedef IClassFactory* LPCLASSFACTORY;
