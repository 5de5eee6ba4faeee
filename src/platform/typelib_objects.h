#pragma once
#ifndef _WIN32
// The ITypeLib and ITypeInfo objects over a library read into memory.
//
// A library creates one type information object per type it holds, so the
// same type always answers with the same pointer. The type information
// objects share the library's reference count: a caller holding only a type
// information keeps the whole library alive, as on the platform.
#include <atomic>
#include <memory>
#include <vector>

#include <windows.h>

#include "typelib_model.h"

namespace ostrel::platform::typelib {

class TypeLibObject;

class TypeInfoObject final : public ITypeInfo {
public:
    TypeInfoObject(TypeLibObject& lib, int index) : lib_(lib), index_(index) {}

    const TypeData& Data() const;
    TypeLibObject& Library() const { return lib_; }
    int Index() const { return index_; }
    // The function with this member id whose kind the dispatch flags allow,
    // or null.
    const FuncData* FindFunc(MEMBERID memid, WORD dispatchFlags) const;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE GetTypeAttr(TYPEATTR** ppTypeAttr) override;
    HRESULT STDMETHODCALLTYPE GetTypeComp(ITypeComp** ppTComp) override;
    HRESULT STDMETHODCALLTYPE GetFuncDesc(UINT index, FUNCDESC** ppFuncDesc) override;
    HRESULT STDMETHODCALLTYPE GetVarDesc(UINT index, VARDESC** ppVarDesc) override;
    HRESULT STDMETHODCALLTYPE GetNames(MEMBERID memid, BSTR* rgBstrNames, UINT cMaxNames, UINT* pcNames) override;
    HRESULT STDMETHODCALLTYPE GetRefTypeOfImplType(UINT index, HREFTYPE* pRefType) override;
    HRESULT STDMETHODCALLTYPE GetImplTypeFlags(UINT index, INT* pImplTypeFlags) override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(LPOLESTR* rgszNames, UINT cNames, MEMBERID* pMemId) override;
    HRESULT STDMETHODCALLTYPE Invoke(PVOID pvInstance, MEMBERID memid, WORD wFlags, DISPPARAMS* pDispParams,
                                     VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr) override;
    HRESULT STDMETHODCALLTYPE GetDocumentation(MEMBERID memid, BSTR* pBstrName, BSTR* pBstrDocString,
                                               DWORD* pdwHelpContext, BSTR* pBstrHelpFile) override;
    HRESULT STDMETHODCALLTYPE GetDllEntry(MEMBERID memid, INVOKEKIND invKind, BSTR* pBstrDllName, BSTR* pBstrName,
                                          WORD* pwOrdinal) override;
    HRESULT STDMETHODCALLTYPE GetRefTypeInfo(HREFTYPE hRefType, ITypeInfo** ppTInfo) override;
    HRESULT STDMETHODCALLTYPE AddressOfMember(MEMBERID memid, INVOKEKIND invKind, PVOID* ppv) override;
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid, PVOID* ppvObj) override;
    HRESULT STDMETHODCALLTYPE GetMops(MEMBERID memid, BSTR* pBstrMops) override;
    HRESULT STDMETHODCALLTYPE GetContainingTypeLib(ITypeLib** ppTLib, UINT* pIndex) override;
    void STDMETHODCALLTYPE ReleaseTypeAttr(TYPEATTR* pTypeAttr) override;
    void STDMETHODCALLTYPE ReleaseFuncDesc(FUNCDESC* pFuncDesc) override;
    void STDMETHODCALLTYPE ReleaseVarDesc(VARDESC* pVarDesc) override;

private:
    TypeLibObject& lib_;
    const int index_;
};

class TypeLibObject final : public ITypeLib {
public:
    // Takes the library read by ReadTypeLib; answers null when out of memory.
    static TypeLibObject* Create(std::unique_ptr<LibData> data) noexcept;

    const LibData& Data() const { return *data_; }
    TypeInfoObject& Info(int index) { return *infos_[size_t(index)]; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    UINT STDMETHODCALLTYPE GetTypeInfoCount() override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, ITypeInfo** ppTInfo) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfoType(UINT index, TYPEKIND* pTKind) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** ppTinfo) override;
    HRESULT STDMETHODCALLTYPE GetLibAttr(TLIBATTR** ppTLibAttr) override;
    HRESULT STDMETHODCALLTYPE GetTypeComp(ITypeComp** ppTComp) override;
    HRESULT STDMETHODCALLTYPE GetDocumentation(INT index, BSTR* pBstrName, BSTR* pBstrDocString,
                                               DWORD* pdwHelpContext, BSTR* pBstrHelpFile) override;
    HRESULT STDMETHODCALLTYPE IsName(LPOLESTR szNameBuf, ULONG lHashVal, BOOL* pfName) override;
    HRESULT STDMETHODCALLTYPE FindName(LPOLESTR szNameBuf, ULONG lHashVal, ITypeInfo** ppTInfo, MEMBERID* rgMemId,
                                       USHORT* pcFound) override;
    void STDMETHODCALLTYPE ReleaseTLibAttr(TLIBATTR* pTLibAttr) override;

private:
    explicit TypeLibObject(std::unique_ptr<LibData> data) : data_(std::move(data)) {}
    ~TypeLibObject() = default;

    std::atomic<ULONG> references_{1};
    std::unique_ptr<LibData> data_;
    std::vector<std::unique_ptr<TypeInfoObject>> infos_;
};

// The help texts of a type or member, each out-pointer optional; shared by
// both objects' GetDocumentation.
HRESULT Documentation(const std::u16string& name, const std::u16string& doc, DWORD helpContext,
                      const std::u16string& helpFile, BSTR* pName, BSTR* pDoc, DWORD* pContext, BSTR* pFile);

// ITypeInfo::Invoke of a type information (dispatch_invoke.cpp).
HRESULT InvokeMember(const TypeInfoObject& info, void* instance, MEMBERID memid, WORD flags, DISPPARAMS* params,
                     VARIANT* result, EXCEPINFO* exception, UINT* argError);

}  // namespace ostrel::platform::typelib

#endif
