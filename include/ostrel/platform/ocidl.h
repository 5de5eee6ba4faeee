// Connection points: how an object hands events to its host's sinks.
#pragma once
#include "oaidl.h"

struct IConnectionPoint;
struct IConnectionPointContainer;

typedef struct tagCONNECTDATA {
    IUnknown* pUnk;
    DWORD dwCookie;
} CONNECTDATA, *LPCONNECTDATA;

OSTREL_PLATFORM_GUID(IID_IEnumConnections);
OSTREL_PLATFORM_GUID(IID_IConnectionPoint);
OSTREL_PLATFORM_GUID(IID_IEnumConnectionPoints);
OSTREL_PLATFORM_GUID(IID_IConnectionPointContainer);

struct IEnumConnections : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG cConnections, CONNECTDATA* rgcd, ULONG* pcFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG cConnections) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumConnections** ppEnum) = 0;
};
__CRT_UUID_DECL(IEnumConnections, 0xB196B287, 0xBAB4, 0x101A, 0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07)

struct IConnectionPoint : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* pIID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** ppCPC) = 0;
    virtual HRESULT STDMETHODCALLTYPE Advise(IUnknown* pUnkSink, DWORD* pdwCookie) = 0;
    virtual HRESULT STDMETHODCALLTYPE Unadvise(DWORD dwCookie) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** ppEnum) = 0;
};
__CRT_UUID_DECL(IConnectionPoint, 0xB196B286, 0xBAB4, 0x101A, 0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07)

struct IEnumConnectionPoints : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG cConnections, IConnectionPoint** ppCP, ULONG* pcFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG cConnections) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumConnectionPoints** ppEnum) = 0;
};
__CRT_UUID_DECL(IEnumConnectionPoints, 0xB196B285, 0xBAB4, 0x101A, 0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D,
                0x07)

struct IConnectionPointContainer : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** ppEnum) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID riid, IConnectionPoint** ppCP) = 0;
};
__CRT_UUID_DECL(IConnectionPointContainer, 0xB196B284, 0xBAB4, 0x101A, 0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D,
                0x07)
