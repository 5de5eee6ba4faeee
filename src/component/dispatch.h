// The dispatch half of a dual interface, served from the registered type
// library. A class lists Dispatch<IFoo> among its bases instead of IFoo:
//
//   class Foo final : public ComObject<Foo, Dispatch<IFoo>, SupportErrorInfo<Foo>> ...
#pragma once
#include <windows.h>

#include "component/type_info.h"

namespace ostrel {

template <class Itf>
class Dispatch : public Itf {
public:
    // One type information per dual interface, whether or not the library
    // is registered: the count describes the interface, not the machine.
    STDMETHODIMP GetTypeInfoCount(UINT* pctinfo) override {
        if (!pctinfo) return E_POINTER;
        *pctinfo = 1;
        return S_OK;
    }

    STDMETHODIMP GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo) override {
        if (!ppTInfo) return E_POINTER;
        *ppTInfo = nullptr;
        if (iTInfo != 0) return DISP_E_BADINDEX;
        ITypeInfo* info = nullptr;
        HRESULT hr = InterfaceTypeInfo(__uuidof(Itf), lcid, &info);
        if (FAILED(hr)) return hr;
        info->AddRef();
        *ppTInfo = info;
        return S_OK;
    }

    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* rgszNames, UINT cNames, LCID lcid, DISPID* rgDispId) override {
        ITypeInfo* info = nullptr;
        HRESULT hr = InterfaceTypeInfo(__uuidof(Itf), lcid, &info);
        if (FAILED(hr)) return hr;
        return info->GetIDsOfNames(rgszNames, cNames, rgDispId);
    }

    STDMETHODIMP Invoke(DISPID dispIdMember, REFIID, LCID lcid, WORD wFlags, DISPPARAMS* pDispParams,
                        VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr) override {
        ITypeInfo* info = nullptr;
        HRESULT hr = InterfaceTypeInfo(__uuidof(Itf), lcid, &info);
        if (FAILED(hr)) return hr;
        return info->Invoke(static_cast<Itf*>(this), dispIdMember, wFlags, pDispParams, pVarResult, pExcepInfo,
                            puArgErr);
    }
};

}  // namespace ostrel
