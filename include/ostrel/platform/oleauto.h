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

// Type libraries registered under their identifier and version.
OSTREL_PLATFORM_FN HRESULT WINAPI LoadRegTypeLib(REFGUID rguid, WORD wVerMajor, WORD wVerMinor, LCID lcid,
                                                 ITypeLib** pptlib);

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
