// Helpers for the automation value tests: readable descriptions of variants
// and status codes, so that a failed check shows the value and the HRESULT.
#pragma once
#include <cstdio>
#include <string>

#include "test_support.h"

using test::Hex;
using test::Var;

inline std::string Narrow(const OLECHAR* s, UINT length) {
    std::string out;
    for (UINT i = 0; i < length; ++i) out += s[i] < 128 ? static_cast<char>(s[i]) : '?';
    return out;
}

// "I4 42", "BSTR '1.5'", "R8 0.10000000000000001", ...
inline std::string Describe(const VARIANT& v) {
    char b[96];
    switch (v.vt) {
        case VT_EMPTY: return "EMPTY";
        case VT_NULL: return "NULL";
        case VT_I1: std::snprintf(b, sizeof b, "I1 %d", static_cast<signed char>(v.cVal)); break;
        case VT_UI1: std::snprintf(b, sizeof b, "UI1 %u", v.bVal); break;
        case VT_I2: std::snprintf(b, sizeof b, "I2 %d", v.iVal); break;
        case VT_UI2: std::snprintf(b, sizeof b, "UI2 %u", v.uiVal); break;
        case VT_I4: std::snprintf(b, sizeof b, "I4 %d", int(v.lVal)); break;
        case VT_UI4: std::snprintf(b, sizeof b, "UI4 %u", unsigned(v.ulVal)); break;
        case VT_INT: std::snprintf(b, sizeof b, "INT %d", v.intVal); break;
        case VT_UINT: std::snprintf(b, sizeof b, "UINT %u", v.uintVal); break;
        case VT_I8: std::snprintf(b, sizeof b, "I8 %lld", static_cast<long long>(v.llVal)); break;
        case VT_UI8: std::snprintf(b, sizeof b, "UI8 %llu", static_cast<unsigned long long>(v.ullVal)); break;
        case VT_R4: std::snprintf(b, sizeof b, "R4 %.9g", v.fltVal); break;
        case VT_R8: std::snprintf(b, sizeof b, "R8 %.17g", v.dblVal); break;
        case VT_DATE: std::snprintf(b, sizeof b, "DATE %.17g", v.date); break;
        case VT_CY: std::snprintf(b, sizeof b, "CY %lld", static_cast<long long>(v.cyVal.int64)); break;
        case VT_BOOL: std::snprintf(b, sizeof b, "BOOL %d", v.boolVal); break;
        case VT_ERROR: std::snprintf(b, sizeof b, "ERROR %s", Hex(v.scode).c_str()); break;
        case VT_BSTR:
            if (!v.bstrVal) return "BSTR null";
            return "BSTR '" + Narrow(v.bstrVal, SysStringLen(v.bstrVal)) + "'";
        case VT_DECIMAL:
            std::snprintf(b, sizeof b, "DEC %s%llu/10^%u", v.decVal.sign ? "-" : "",
                          static_cast<unsigned long long>(v.decVal.Lo64), v.decVal.scale);
            break;
        default: std::snprintf(b, sizeof b, "vt=0x%X", v.vt); break;
    }
    return b;
}

inline void SetBstr(VARIANT* v, const OLECHAR* text) {
    v->vt = VT_BSTR;
    v->bstrVal = SysAllocString(text);
}

// An object that counts its references and answers its value property.
struct FakeObject : IDispatch {
    ULONG refs = 1;
    LONG value = 0;
    HRESULT invokeResult = S_OK;
    int invokes = 0;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
        if (!IsEqualGUID(riid, IID_IUnknown) && !IsEqualGUID(riid, IID_IDispatch)) {
            *ppv = nullptr;
            return E_NOINTERFACE;
        }
        *ppv = this;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs; }
    ULONG STDMETHODCALLTYPE Release() override { return --refs; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                     EXCEPINFO*, UINT*) override {
        ++invokes;
        if (id != DISPID_VALUE || flags != DISPATCH_PROPERTYGET || params->cArgs != 0) return DISP_E_MEMBERNOTFOUND;
        if (FAILED(invokeResult)) return invokeResult;
        result->vt = VT_I4;
        result->lVal = value;
        return S_OK;
    }
};
