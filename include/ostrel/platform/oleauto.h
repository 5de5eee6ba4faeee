// Automation services: strings, variants, safe arrays, dates, error objects.
#pragma once
#include "oaidl.h"

// VariantChangeType flags.
#define VARIANT_NOVALUEPROP 0x01
#define VARIANT_ALPHABOOL 0x02
#define VARIANT_NOUSEROVERRIDE 0x04
#define VARIANT_LOCALBOOL 0x10

// VariantTimeToSystemTime / SystemTimeToVariantTime bounds: 1 Jan 100 and
// 31 Dec 9999, the range the platform accepts.
#define VTDATEGRE_MIN (-657434)
#define VTDATEGRE_MAX 2958465

OSTREL_PLATFORM_FN BSTR WINAPI SysAllocString(const OLECHAR* psz);
OSTREL_PLATFORM_FN BSTR WINAPI SysAllocStringLen(const OLECHAR* strIn, UINT ui);
OSTREL_PLATFORM_FN BSTR WINAPI SysAllocStringByteLen(LPCSTR psz, UINT len);
OSTREL_PLATFORM_FN INT WINAPI SysReAllocString(BSTR* pbstr, const OLECHAR* psz);
OSTREL_PLATFORM_FN INT WINAPI SysReAllocStringLen(BSTR* pbstr, const OLECHAR* psz, UINT len);
OSTREL_PLATFORM_FN void WINAPI SysFreeString(BSTR bstrString);
OSTREL_PLATFORM_FN UINT WINAPI SysStringLen(BSTR pbstr);
OSTREL_PLATFORM_FN UINT WINAPI SysStringByteLen(BSTR bstr);

// Type libraries: read from a .tlb file or from a module's TYPELIB resource
// (a "\\N" suffix on the module's path selects resource N), and registered
// under HKEY_CLASSES_ROOT\TypeLib by identifier and version.
typedef enum tagREGKIND { REGKIND_DEFAULT = 0, REGKIND_REGISTER, REGKIND_NONE } REGKIND;
OSTREL_PLATFORM_FN HRESULT WINAPI LoadTypeLib(LPCOLESTR szFile, ITypeLib** pptlib);
OSTREL_PLATFORM_FN HRESULT WINAPI LoadTypeLibEx(LPCOLESTR szFile, REGKIND regkind, ITypeLib** pptlib);
OSTREL_PLATFORM_FN HRESULT WINAPI LoadRegTypeLib(REFGUID rguid, WORD wVerMajor, WORD wVerMinor, LCID lcid,
                                                 ITypeLib** pptlib);
OSTREL_PLATFORM_FN HRESULT WINAPI QueryPathOfRegTypeLib(REFGUID guid, USHORT wMaj, USHORT wMin, LCID lcid,
                                                        BSTR* lpbstrPathName);
OSTREL_PLATFORM_FN HRESULT WINAPI RegisterTypeLib(ITypeLib* ptlib, LPCOLESTR szFullPath, LPCOLESTR szHelpDir);
OSTREL_PLATFORM_FN HRESULT WINAPI UnRegisterTypeLib(REFGUID libID, WORD wVerMajor, WORD wVerMinor, LCID lcid,
                                                    SYSKIND syskind);

// Late binding through type information: what a dual interface's
// IDispatch half forwards to.
OSTREL_PLATFORM_FN HRESULT WINAPI DispGetIDsOfNames(ITypeInfo* ptinfo, LPOLESTR* rgszNames, UINT cNames,
                                                    DISPID* rgdispid);
OSTREL_PLATFORM_FN HRESULT WINAPI DispInvoke(void* _this, ITypeInfo* ptinfo, DISPID dispidMember, WORD wFlags,
                                             DISPPARAMS* pparams, VARIANT* pvarResult, EXCEPINFO* pexcepinfo,
                                             UINT* puArgErr);

OSTREL_PLATFORM_FN void WINAPI VariantInit(VARIANTARG* pvarg);
OSTREL_PLATFORM_FN HRESULT WINAPI VariantClear(VARIANTARG* pvarg);
OSTREL_PLATFORM_FN HRESULT WINAPI VariantCopy(VARIANTARG* pvargDest, const VARIANTARG* pvargSrc);
OSTREL_PLATFORM_FN HRESULT WINAPI VariantCopyInd(VARIANT* pvarDest, const VARIANTARG* pvargSrc);
OSTREL_PLATFORM_FN HRESULT WINAPI VariantChangeType(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc,
                                                    USHORT wFlags, VARTYPE vt);
OSTREL_PLATFORM_FN HRESULT WINAPI VariantChangeTypeEx(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc,
                                                      LCID lcid, USHORT wFlags, VARTYPE vt);

OSTREL_PLATFORM_FN SAFEARRAY* WINAPI SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound);
OSTREL_PLATFORM_FN SAFEARRAY* WINAPI SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements);
OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayDestroy(SAFEARRAY* psa);
OSTREL_PLATFORM_FN UINT WINAPI SafeArrayGetDim(SAFEARRAY* psa);
OSTREL_PLATFORM_FN UINT WINAPI SafeArrayGetElemsize(SAFEARRAY* psa);
OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt);
OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound);
OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound);
OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayLock(SAFEARRAY* psa);
OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayUnlock(SAFEARRAY* psa);
OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayAccessData(SAFEARRAY* psa, void** ppvData);
OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayUnaccessData(SAFEARRAY* psa);
OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayPutElement(SAFEARRAY* psa, LONG* rgIndices, void* pv);
OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayGetElement(SAFEARRAY* psa, LONG* rgIndices, void* pv);
OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut);

OSTREL_PLATFORM_FN INT WINAPI VariantTimeToSystemTime(DOUBLE vtime, LPSYSTEMTIME lpSystemTime);
OSTREL_PLATFORM_FN INT WINAPI SystemTimeToVariantTime(LPSYSTEMTIME lpSystemTime, DOUBLE* pvtime);

OSTREL_PLATFORM_FN HRESULT WINAPI CreateErrorInfo(ICreateErrorInfo** pperrinfo);
OSTREL_PLATFORM_FN HRESULT WINAPI SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo);
OSTREL_PLATFORM_FN HRESULT WINAPI GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo);
