#ifndef _WIN32
// ITypeLib over a library read into memory.
#include <new>

#include "typelib_objects.h"

namespace ostrel::platform::typelib {
namespace {

BSTR Copy(const std::u16string& text, bool& failed) {
    if (failed) return nullptr;
    BSTR copy = SysAllocStringLen(text.data(), UINT(text.size()));
    if (!copy) failed = true;
    return copy;
}

}  // namespace

// Texts never set come back as null strings, as the platform gives them.
HRESULT Documentation(const std::u16string& name, const std::u16string& doc, DWORD helpContext,
                      const std::u16string& helpFile, BSTR* pName, BSTR* pDoc, DWORD* pContext, BSTR* pFile) {
    bool failed = false;
    BSTR n = pName ? Copy(name, failed) : nullptr;
    BSTR d = pDoc && !doc.empty() ? Copy(doc, failed) : nullptr;
    BSTR f = pFile && !helpFile.empty() ? Copy(helpFile, failed) : nullptr;
    if (failed) {
        SysFreeString(n);
        SysFreeString(d);
        SysFreeString(f);
        return E_OUTOFMEMORY;
    }
    if (pName) *pName = n;
    if (pDoc) *pDoc = d;
    if (pContext) *pContext = helpContext;
    if (pFile) *pFile = f;
    return S_OK;
}

TypeLibObject* TypeLibObject::Create(std::unique_ptr<LibData> data) noexcept {
    TypeLibObject* lib = new (std::nothrow) TypeLibObject(std::move(data));
    if (!lib) return nullptr;
    try {
        for (size_t i = 0; i < lib->data_->types.size(); ++i) {
            lib->infos_.push_back(std::make_unique<TypeInfoObject>(*lib, int(i)));
        }
    } catch (const std::bad_alloc&) {
        delete lib;
        return nullptr;
    }
    return lib;
}

HRESULT TypeLibObject::QueryInterface(REFIID riid, void** ppvObject) {
    if (!ppvObject) return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_ITypeLib)) {
        *ppvObject = static_cast<ITypeLib*>(this);
        AddRef();
        return S_OK;
    }
    *ppvObject = nullptr;
    return E_NOINTERFACE;
}

ULONG TypeLibObject::AddRef() { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }

ULONG TypeLibObject::Release() {
    const ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
}

UINT TypeLibObject::GetTypeInfoCount() { return UINT(data_->visibleCount); }

HRESULT TypeLibObject::GetTypeInfo(UINT index, ITypeInfo** ppTInfo) {
    if (!ppTInfo) return E_INVALIDARG;
    *ppTInfo = nullptr;
    if (index >= data_->visibleCount) return TYPE_E_ELEMENTNOTFOUND;
    *ppTInfo = infos_[index].get();
    AddRef();
    return S_OK;
}

HRESULT TypeLibObject::GetTypeInfoType(UINT index, TYPEKIND* pTKind) {
    if (!pTKind) return E_INVALIDARG;
    if (index >= data_->visibleCount) return TYPE_E_ELEMENTNOTFOUND;
    *pTKind = data_->types[index].attr.typekind;
    return S_OK;
}

HRESULT TypeLibObject::GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** ppTinfo) {
    if (!ppTinfo) return E_INVALIDARG;
    *ppTinfo = nullptr;
    for (size_t i = 0; i < data_->visibleCount; ++i) {
        if (IsEqualGUID(data_->types[i].attr.guid, guid)) return GetTypeInfo(UINT(i), ppTinfo);
    }
    return TYPE_E_ELEMENTNOTFOUND;
}

// The attributes live as long as the library; ReleaseTLibAttr has nothing
// to free.
HRESULT TypeLibObject::GetLibAttr(TLIBATTR** ppTLibAttr) {
    if (!ppTLibAttr) return E_INVALIDARG;
    *ppTLibAttr = &data_->attr;
    return S_OK;
}

void TypeLibObject::ReleaseTLibAttr(TLIBATTR*) {}

// Binding by name through ITypeComp is a compiler's service; no caller of
// this platform needs it.
HRESULT TypeLibObject::GetTypeComp(ITypeComp** ppTComp) {
    if (ppTComp) *ppTComp = nullptr;
    return E_NOTIMPL;
}

HRESULT TypeLibObject::GetDocumentation(INT index, BSTR* pBstrName, BSTR* pBstrDocString, DWORD* pdwHelpContext,
                                        BSTR* pBstrHelpFile) {
    const LibData& lib = *data_;
    if (index == -1) {
        return Documentation(lib.name, lib.doc, lib.helpContext, lib.helpFile, pBstrName, pBstrDocString,
                             pdwHelpContext, pBstrHelpFile);
    }
    if (index < 0 || size_t(index) >= lib.visibleCount) return TYPE_E_ELEMENTNOTFOUND;
    const TypeData& type = lib.types[size_t(index)];
    return Documentation(type.name, type.doc, type.helpContext, lib.helpFile, pBstrName, pBstrDocString,
                         pdwHelpContext, pBstrHelpFile);
}

// The hash value is only a hint on the platform; names are compared here.
// A name found is written back in the library's own spelling.
HRESULT TypeLibObject::IsName(LPOLESTR szNameBuf, ULONG, BOOL* pfName) {
    if (!szNameBuf || !pfName) return E_INVALIDARG;
    *pfName = FALSE;
    auto found = [&](const std::u16string& name) {
        if (!SameName(name, szNameBuf)) return false;
        name.copy(szNameBuf, name.size());
        *pfName = TRUE;
        return true;
    };
    for (size_t i = 0; i < data_->visibleCount; ++i) {
        const TypeData& type = data_->types[i];
        if (found(type.name)) return S_OK;
        for (const FuncData& f : type.funcs) {
            for (const std::u16string& name : f.names) {
                if (found(name)) return S_OK;
            }
        }
        for (const VarData& v : type.vars) {
            if (found(v.name)) return S_OK;
        }
    }
    return S_OK;
}

HRESULT TypeLibObject::FindName(LPOLESTR szNameBuf, ULONG, ITypeInfo** ppTInfo, MEMBERID* rgMemId,
                                USHORT* pcFound) {
    if (!szNameBuf || !ppTInfo || !rgMemId || !pcFound || *pcFound == 0) return E_INVALIDARG;
    const USHORT wanted = *pcFound;
    USHORT count = 0;
    auto add = [&](size_t index, MEMBERID memid) {
        ppTInfo[count] = infos_[index].get();
        AddRef();
        rgMemId[count++] = memid;
    };
    for (size_t i = 0; i < data_->visibleCount && count < wanted; ++i) {
        const TypeData& type = data_->types[i];
        if (SameName(type.name, szNameBuf)) {
            add(i, MEMBERID_NIL);
            continue;
        }
        bool member = false;
        for (const FuncData& f : type.funcs) {
            if (!member && SameName(f.names.front(), szNameBuf)) {
                add(i, f.desc.memid);
                member = true;
            }
        }
        for (const VarData& v : type.vars) {
            if (!member && SameName(v.name, szNameBuf)) {
                add(i, v.desc.memid);
                member = true;
            }
        }
    }
    *pcFound = count;
    return S_OK;
}

}  // namespace ostrel::platform::typelib

#endif
