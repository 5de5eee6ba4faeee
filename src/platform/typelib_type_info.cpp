#ifndef _WIN32
// ITypeInfo over one type of a library read into memory.
#include "typelib_objects.h"

namespace ostrel::platform::typelib {
namespace {

// The member kinds a dispatch call with these flags may reach.
bool Allows(WORD dispatchFlags, INVOKEKIND kind) {
    switch (kind) {
    case INVOKE_FUNC: return dispatchFlags & DISPATCH_METHOD;
    case INVOKE_PROPERTYGET: return dispatchFlags & DISPATCH_PROPERTYGET;
    case INVOKE_PROPERTYPUT: return dispatchFlags & DISPATCH_PROPERTYPUT;
    case INVOKE_PROPERTYPUTREF: return dispatchFlags & DISPATCH_PROPERTYPUTREF;
    }
    return false;
}

}  // namespace

const TypeData& TypeInfoObject::Data() const { return lib_.Data().types[size_t(index_)]; }

const FuncData* TypeInfoObject::FindFunc(MEMBERID memid, WORD dispatchFlags) const {
    for (const FuncData& f : Data().funcs) {
        if (f.desc.memid == memid && Allows(dispatchFlags, f.desc.invkind)) return &f;
    }
    return nullptr;
}

HRESULT TypeInfoObject::QueryInterface(REFIID riid, void** ppvObject) {
    if (!ppvObject) return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_ITypeInfo)) {
        *ppvObject = static_cast<ITypeInfo*>(this);
        AddRef();
        return S_OK;
    }
    *ppvObject = nullptr;
    return E_NOINTERFACE;
}

ULONG TypeInfoObject::AddRef() { return lib_.AddRef(); }
ULONG TypeInfoObject::Release() { return lib_.Release(); }

// The descriptions live as long as the library; the Release...Desc calls
// have nothing to free.
HRESULT TypeInfoObject::GetTypeAttr(TYPEATTR** ppTypeAttr) {
    if (!ppTypeAttr) return E_INVALIDARG;
    *ppTypeAttr = const_cast<TYPEATTR*>(&Data().attr);
    return S_OK;
}

HRESULT TypeInfoObject::GetFuncDesc(UINT index, FUNCDESC** ppFuncDesc) {
    if (!ppFuncDesc) return E_INVALIDARG;
    *ppFuncDesc = nullptr;
    if (index >= Data().funcs.size()) return TYPE_E_ELEMENTNOTFOUND;
    *ppFuncDesc = const_cast<FUNCDESC*>(&Data().funcs[index].desc);
    return S_OK;
}

HRESULT TypeInfoObject::GetVarDesc(UINT index, VARDESC** ppVarDesc) {
    if (!ppVarDesc) return E_INVALIDARG;
    *ppVarDesc = nullptr;
    if (index >= Data().vars.size()) return TYPE_E_ELEMENTNOTFOUND;
    *ppVarDesc = const_cast<VARDESC*>(&Data().vars[index].desc);
    return S_OK;
}

void TypeInfoObject::ReleaseTypeAttr(TYPEATTR*) {}
void TypeInfoObject::ReleaseFuncDesc(FUNCDESC*) {}
void TypeInfoObject::ReleaseVarDesc(VARDESC*) {}

// See TypeLibObject::GetTypeComp.
HRESULT TypeInfoObject::GetTypeComp(ITypeComp** ppTComp) {
    if (ppTComp) *ppTComp = nullptr;
    return E_NOTIMPL;
}

// An interface also answers for the members it inherits.
HRESULT TypeInfoObject::GetNames(MEMBERID memid, BSTR* rgBstrNames, UINT cMaxNames, UINT* pcNames) {
    if (!rgBstrNames || !pcNames) return E_INVALIDARG;
    *pcNames = 0;
    const TypeData& type = Data();
    const std::vector<std::u16string>* names = nullptr;
    std::vector<std::u16string> single;
    for (const FuncData& f : type.funcs) {
        if (f.desc.memid == memid) {
            names = &f.names;
            break;
        }
    }
    for (const VarData& v : type.vars) {
        if (!names && v.desc.memid == memid) {
            single.push_back(v.name);
            names = &single;
        }
    }
    if (!names) {
        if (type.attr.typekind == TKIND_INTERFACE && !type.impls.empty()) {
            ITypeInfo* base = nullptr;
            if (SUCCEEDED(GetRefTypeInfo(type.impls[0].ref, &base))) {
                const HRESULT hr = base->GetNames(memid, rgBstrNames, cMaxNames, pcNames);
                base->Release();
                return hr;
            }
        }
        return TYPE_E_ELEMENTNOTFOUND;
    }
    UINT count = 0;
    for (; count < cMaxNames && count < names->size(); ++count) {
        rgBstrNames[count] = SysAllocStringLen((*names)[count].data(), UINT((*names)[count].size()));
        if (!rgBstrNames[count]) {
            while (count > 0) SysFreeString(rgBstrNames[--count]);
            return E_OUTOFMEMORY;
        }
    }
    *pcNames = count;
    return S_OK;
}

HRESULT TypeInfoObject::GetRefTypeOfImplType(UINT index, HREFTYPE* pRefType) {
    if (!pRefType) return E_INVALIDARG;
    const TypeData& type = Data();
    if (index == UINT(-1)) {
        if (type.partner < 0) return TYPE_E_ELEMENTNOTFOUND;
        *pRefType = kDualPartnerRef;
        return S_OK;
    }
    if (index >= type.impls.size()) return TYPE_E_ELEMENTNOTFOUND;
    *pRefType = type.impls[index].ref;
    return S_OK;
}

HRESULT TypeInfoObject::GetImplTypeFlags(UINT index, INT* pImplTypeFlags) {
    if (!pImplTypeFlags) return E_INVALIDARG;
    const TypeData& type = Data();
    if (index >= type.impls.size()) return TYPE_E_ELEMENTNOTFOUND;
    *pImplTypeFlags = type.impls[index].flags;
    return S_OK;
}

// The first name is a member's, the others its parameters', whose ids are
// their positions. Names are matched without regard to case.
HRESULT TypeInfoObject::GetIDsOfNames(LPOLESTR* rgszNames, UINT cNames, MEMBERID* pMemId) {
    if (!rgszNames || !pMemId || cNames == 0) return E_INVALIDARG;
    for (UINT i = 0; i < cNames; ++i) pMemId[i] = MEMBERID_NIL;
    if (!rgszNames[0]) return E_INVALIDARG;
    const TypeData& type = Data();
    const FuncData* func = nullptr;
    for (const FuncData& f : type.funcs) {
        if (SameName(f.names.front(), rgszNames[0])) {
            func = &f;
            break;
        }
    }
    if (!func) {
        for (const VarData& v : type.vars) {
            if (SameName(v.name, rgszNames[0])) {
                pMemId[0] = v.desc.memid;
                return cNames == 1 ? S_OK : DISP_E_UNKNOWNNAME;
            }
        }
        if (type.attr.typekind == TKIND_INTERFACE && !type.impls.empty()) {
            ITypeInfo* base = nullptr;
            if (SUCCEEDED(GetRefTypeInfo(type.impls[0].ref, &base))) {
                const HRESULT hr = base->GetIDsOfNames(rgszNames, cNames, pMemId);
                base->Release();
                return hr;
            }
        }
        return DISP_E_UNKNOWNNAME;
    }
    pMemId[0] = func->desc.memid;
    // Parameter names come from the interface view, where an [out, retval]
    // parameter still has its name, as the platform answers.
    if (type.partner >= 0 && type.attr.typekind == TKIND_DISPATCH) {
        for (const FuncData& f : lib_.Data().types[size_t(type.partner)].funcs) {
            if (f.desc.memid == func->desc.memid && f.desc.invkind == func->desc.invkind) {
                func = &f;
                break;
            }
        }
    }
    HRESULT hr = S_OK;
    for (UINT i = 1; i < cNames; ++i) {
        bool found = false;
        for (size_t p = 1; p < func->names.size() && rgszNames[i]; ++p) {
            if (SameName(func->names[p], rgszNames[i])) {
                pMemId[i] = MEMBERID(p - 1);
                found = true;
                break;
            }
        }
        if (!found) hr = DISP_E_UNKNOWNNAME;
    }
    return hr;
}

HRESULT TypeInfoObject::Invoke(PVOID pvInstance, MEMBERID memid, WORD wFlags, DISPPARAMS* pDispParams,
                               VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr) {
    return InvokeMember(*this, pvInstance, memid, wFlags, pDispParams, pVarResult, pExcepInfo, puArgErr);
}

HRESULT TypeInfoObject::GetDocumentation(MEMBERID memid, BSTR* pBstrName, BSTR* pBstrDocString,
                                         DWORD* pdwHelpContext, BSTR* pBstrHelpFile) {
    const TypeData& type = Data();
    const std::u16string& helpFile = lib_.Data().helpFile;
    if (memid == MEMBERID_NIL) {
        return Documentation(type.name, type.doc, type.helpContext, helpFile, pBstrName, pBstrDocString,
                             pdwHelpContext, pBstrHelpFile);
    }
    for (const FuncData& f : type.funcs) {
        if (f.desc.memid == memid) {
            return Documentation(f.names.front(), f.doc, f.helpContext, helpFile, pBstrName, pBstrDocString,
                                 pdwHelpContext, pBstrHelpFile);
        }
    }
    for (const VarData& v : type.vars) {
        if (v.desc.memid == memid) {
            return Documentation(v.name, v.doc, v.helpContext, helpFile, pBstrName, pBstrDocString, pdwHelpContext,
                                 pBstrHelpFile);
        }
    }
    return TYPE_E_ELEMENTNOTFOUND;
}

// Entry points belong to module types, which this library never holds.
HRESULT TypeInfoObject::GetDllEntry(MEMBERID, INVOKEKIND, BSTR* pBstrDllName, BSTR* pBstrName, WORD* pwOrdinal) {
    if (pBstrDllName) *pBstrDllName = nullptr;
    if (pBstrName) *pBstrName = nullptr;
    if (pwOrdinal) *pwOrdinal = 0;
    return TYPE_E_BADMODULEKIND;
}

HRESULT TypeInfoObject::AddressOfMember(MEMBERID, INVOKEKIND, PVOID* ppv) {
    if (!ppv) return E_INVALIDARG;
    *ppv = nullptr;
    return TYPE_E_BADMODULEKIND;
}

HRESULT TypeInfoObject::GetRefTypeInfo(HREFTYPE hRefType, ITypeInfo** ppTInfo) {
    if (!ppTInfo) return E_INVALIDARG;
    *ppTInfo = nullptr;
    const LibData& lib = lib_.Data();
    const int target = lib.Resolve(hRefType, index_);
    if (target < 0) {
        for (const auto& import : lib.imports) {
            // A type of another library that is not modelled here.
            if (import.first == hRefType) return TYPE_E_CANTLOADLIBRARY;
        }
        return TYPE_E_ELEMENTNOTFOUND;
    }
    *ppTInfo = &lib_.Info(target);
    AddRef();
    return S_OK;
}

// Only a class can be created: through the component object model, by the
// class identifier, as the platform does.
HRESULT TypeInfoObject::CreateInstance(IUnknown* pUnkOuter, REFIID riid, PVOID* ppvObj) {
    if (!ppvObj) return E_INVALIDARG;
    *ppvObj = nullptr;
    if (Data().attr.typekind != TKIND_COCLASS) return TYPE_E_WRONGTYPEKIND;
    return CoCreateInstance(Data().attr.guid, pUnkOuter, CLSCTX_INPROC_SERVER, riid, ppvObj);
}

HRESULT TypeInfoObject::GetMops(MEMBERID, BSTR* pBstrMops) {
    if (!pBstrMops) return E_INVALIDARG;
    *pBstrMops = nullptr;
    return S_OK;
}

// The two views of a dual interface share their index; the system
// interfaces that back references have none inside this library and answer
// with the count.
HRESULT TypeInfoObject::GetContainingTypeLib(ITypeLib** ppTLib, UINT* pIndex) {
    if (!ppTLib) return E_INVALIDARG;
    const LibData& lib = lib_.Data();
    int index = index_;
    if (size_t(index) >= lib.visibleCount && Data().partner >= 0) index = Data().partner;
    if (pIndex) *pIndex = UINT(std::min(size_t(index), lib.visibleCount));
    *ppTLib = &lib_;
    lib_.AddRef();
    return S_OK;
}

}  // namespace ostrel::platform::typelib

#endif
