// Automation data types and interfaces: VARIANT, SAFEARRAY, dispatch, type
// information and error information.
#pragma once
#include "unknwn.h"

struct IDispatch;
struct ITypeInfo;
struct ITypeLib;
struct ITypeComp;
struct IRecordInfo;

typedef struct tagSAFEARRAYBOUND {
    ULONG cElements;
    LONG lLbound;
} SAFEARRAYBOUND, *LPSAFEARRAYBOUND;

typedef struct tagSAFEARRAY {
    USHORT cDims;
    USHORT fFeatures;
    ULONG cbElements;
    ULONG cLocks;
    PVOID pvData;
    SAFEARRAYBOUND rgsabound[1];
} SAFEARRAY, *LPSAFEARRAY;

#define FADF_AUTO 0x0001
#define FADF_STATIC 0x0002
#define FADF_EMBEDDED 0x0004
#define FADF_FIXEDSIZE 0x0010
#define FADF_RECORD 0x0020
#define FADF_HAVEIID 0x0040
#define FADF_HAVEVARTYPE 0x0080
#define FADF_BSTR 0x0100
#define FADF_UNKNOWN 0x0200
#define FADF_DISPATCH 0x0400
#define FADF_VARIANT 0x0800

// 24 bytes on 64-bit targets, as on the platform: the record form holds two
// pointers after the 8-byte header.
typedef struct tagVARIANT VARIANT;
struct tagVARIANT {
    union {
        struct {
            VARTYPE vt;
            WORD wReserved1;
            WORD wReserved2;
            WORD wReserved3;
            union {
                LONGLONG llVal;
                LONG lVal;
                BYTE bVal;
                SHORT iVal;
                FLOAT fltVal;
                DOUBLE dblVal;
                VARIANT_BOOL boolVal;
                SCODE scode;
                CY cyVal;
                DATE date;
                BSTR bstrVal;
                IUnknown* punkVal;
                IDispatch* pdispVal;
                SAFEARRAY* parray;
                BYTE* pbVal;
                SHORT* piVal;
                LONG* plVal;
                LONGLONG* pllVal;
                FLOAT* pfltVal;
                DOUBLE* pdblVal;
                VARIANT_BOOL* pboolVal;
                SCODE* pscode;
                CY* pcyVal;
                DATE* pdate;
                BSTR* pbstrVal;
                IUnknown** ppunkVal;
                IDispatch** ppdispVal;
                SAFEARRAY** pparray;
                VARIANT* pvarVal;
                PVOID byref;
                CHAR cVal;
                USHORT uiVal;
                ULONG ulVal;
                ULONGLONG ullVal;
                INT intVal;
                UINT uintVal;
                DECIMAL* pdecVal;
                CHAR* pcVal;
                USHORT* puiVal;
                ULONG* pulVal;
                ULONGLONG* pullVal;
                INT* pintVal;
                UINT* puintVal;
                struct {
                    PVOID pvRecord;
                    IRecordInfo* pRecInfo;
                };
            };
        };
        DECIMAL decVal;
    };
};
typedef VARIANT* LPVARIANT;
typedef VARIANT VARIANTARG;
typedef VARIANT* LPVARIANTARG;
typedef const VARIANT* REFVARIANT;
static_assert(sizeof(void*) != 8 || sizeof(VARIANT) == 24, "VARIANT must keep the platform's 64-bit size");

#define V_VT(X) ((X)->vt)
#define V_ISBYREF(X) (V_VT(X) & VT_BYREF)
#define V_ISARRAY(X) (V_VT(X) & VT_ARRAY)
#define V_I2(X) ((X)->iVal)
#define V_I4(X) ((X)->lVal)
#define V_R4(X) ((X)->fltVal)
#define V_R8(X) ((X)->dblVal)
#define V_CY(X) ((X)->cyVal)
#define V_DATE(X) ((X)->date)
#define V_BSTR(X) ((X)->bstrVal)
#define V_BOOL(X) ((X)->boolVal)
#define V_UI1(X) ((X)->bVal)
#define V_UNKNOWN(X) ((X)->punkVal)
#define V_DISPATCH(X) ((X)->pdispVal)
#define V_ARRAY(X) ((X)->parray)
#define V_BYREF(X) ((X)->byref)
#define V_VARIANTREF(X) ((X)->pvarVal)

typedef struct tagDISPPARAMS {
    VARIANTARG* rgvarg;
    DISPID* rgdispidNamedArgs;
    UINT cArgs;
    UINT cNamedArgs;
} DISPPARAMS;

typedef struct tagEXCEPINFO {
    WORD wCode;
    WORD wReserved;
    BSTR bstrSource;
    BSTR bstrDescription;
    BSTR bstrHelpFile;
    DWORD dwHelpContext;
    PVOID pvReserved;
    HRESULT(STDMETHODCALLTYPE* pfnDeferredFillIn)(struct tagEXCEPINFO*);
    SCODE scode;
} EXCEPINFO, *LPEXCEPINFO;

#define DISPID_UNKNOWN (-1)
#define DISPID_VALUE 0
#define DISPID_PROPERTYPUT (-3)
#define DISPID_NEWENUM (-4)
#define DISPATCH_METHOD 0x1
#define DISPATCH_PROPERTYGET 0x2
#define DISPATCH_PROPERTYPUT 0x4
#define DISPATCH_PROPERTYPUTREF 0x8

typedef enum tagSYSKIND { SYS_WIN16 = 0, SYS_WIN32 = 1, SYS_MAC = 2, SYS_WIN64 = 3 } SYSKIND;
typedef enum tagTYPEKIND {
    TKIND_ENUM = 0,
    TKIND_RECORD,
    TKIND_MODULE,
    TKIND_INTERFACE,
    TKIND_DISPATCH,
    TKIND_COCLASS,
    TKIND_ALIAS,
    TKIND_UNION,
    TKIND_MAX
} TYPEKIND;
typedef enum tagINVOKEKIND {
    INVOKE_FUNC = 1,
    INVOKE_PROPERTYGET = 2,
    INVOKE_PROPERTYPUT = 4,
    INVOKE_PROPERTYPUTREF = 8
} INVOKEKIND;
typedef enum tagDESCKIND {
    DESCKIND_NONE = 0,
    DESCKIND_FUNCDESC,
    DESCKIND_VARDESC,
    DESCKIND_TYPECOMP,
    DESCKIND_IMPLICITAPPOBJ,
    DESCKIND_MAX
} DESCKIND;

typedef enum tagFUNCKIND {
    FUNC_VIRTUAL = 0,
    FUNC_PUREVIRTUAL,
    FUNC_NONVIRTUAL,
    FUNC_STATIC,
    FUNC_DISPATCH
} FUNCKIND;
typedef enum tagCALLCONV {
    CC_FASTCALL = 0,
    CC_CDECL = 1,
    CC_PASCAL,
    CC_MACPASCAL,
    CC_STDCALL,
    CC_FPFASTCALL,
    CC_SYSCALL,
    CC_MPWCDECL,
    CC_MPWPASCAL,
    CC_MAX
} CALLCONV;
typedef enum tagVARKIND { VAR_PERINSTANCE = 0, VAR_STATIC, VAR_CONST, VAR_DISPATCH } VARKIND;

typedef enum tagTYPEFLAGS {
    TYPEFLAG_FAPPOBJECT = 0x1,
    TYPEFLAG_FCANCREATE = 0x2,
    TYPEFLAG_FLICENSED = 0x4,
    TYPEFLAG_FPREDECLID = 0x8,
    TYPEFLAG_FHIDDEN = 0x10,
    TYPEFLAG_FCONTROL = 0x20,
    TYPEFLAG_FDUAL = 0x40,
    TYPEFLAG_FNONEXTENSIBLE = 0x80,
    TYPEFLAG_FOLEAUTOMATION = 0x100,
    TYPEFLAG_FRESTRICTED = 0x200,
    TYPEFLAG_FAGGREGATABLE = 0x400,
    TYPEFLAG_FREPLACEABLE = 0x800,
    TYPEFLAG_FDISPATCHABLE = 0x1000,
    TYPEFLAG_FREVERSEBIND = 0x2000,
    TYPEFLAG_FPROXY = 0x4000
} TYPEFLAGS;
typedef enum tagFUNCFLAGS {
    FUNCFLAG_FRESTRICTED = 0x1,
    FUNCFLAG_FSOURCE = 0x2,
    FUNCFLAG_FBINDABLE = 0x4,
    FUNCFLAG_FHIDDEN = 0x40
} FUNCFLAGS;
typedef enum tagLIBFLAGS {
    LIBFLAG_FRESTRICTED = 0x1,
    LIBFLAG_FCONTROL = 0x2,
    LIBFLAG_FHIDDEN = 0x4,
    LIBFLAG_FHASDISKIMAGE = 0x8
} LIBFLAGS;

#define IMPLTYPEFLAG_FDEFAULT 0x1
#define IMPLTYPEFLAG_FSOURCE 0x2
#define IMPLTYPEFLAG_FRESTRICTED 0x4
#define IMPLTYPEFLAG_FDEFAULTVTABLE 0x8

#define PARAMFLAG_NONE 0x00
#define PARAMFLAG_FIN 0x01
#define PARAMFLAG_FOUT 0x02
#define PARAMFLAG_FLCID 0x04
#define PARAMFLAG_FRETVAL 0x08
#define PARAMFLAG_FOPT 0x10
#define PARAMFLAG_FHASDEFAULT 0x20

#define MEMBERID_NIL DISPID_UNKNOWN

typedef struct tagTYPEDESC TYPEDESC;
typedef struct tagARRAYDESC ARRAYDESC;
struct tagTYPEDESC {
    union {
        TYPEDESC* lptdesc;       // VT_PTR, VT_SAFEARRAY
        ARRAYDESC* lpadesc;      // VT_CARRAY
        HREFTYPE hreftype;       // VT_USERDEFINED
    };
    VARTYPE vt;
};
struct tagARRAYDESC {
    TYPEDESC tdescElem;
    USHORT cDims;
    SAFEARRAYBOUND rgbounds[1];
};

typedef struct tagPARAMDESCEX {
    ULONG cBytes;
    VARIANTARG varDefaultValue;
} PARAMDESCEX, *LPPARAMDESCEX;
typedef struct tagPARAMDESC {
    LPPARAMDESCEX pparamdescex;
    USHORT wParamFlags;
} PARAMDESC;
typedef struct tagIDLDESC {
    ULONG_PTR dwReserved;
    USHORT wIDLFlags;
} IDLDESC;
typedef struct tagELEMDESC {
    TYPEDESC tdesc;
    union {
        IDLDESC idldesc;
        PARAMDESC paramdesc;
    };
} ELEMDESC, *LPELEMDESC;

typedef struct tagTYPEATTR {
    GUID guid;
    LCID lcid;
    DWORD dwReserved;
    MEMBERID memidConstructor;
    MEMBERID memidDestructor;
    LPOLESTR lpstrSchema;
    ULONG cbSizeInstance;
    TYPEKIND typekind;
    WORD cFuncs;
    WORD cVars;
    WORD cImplTypes;
    WORD cbSizeVft;
    WORD cbAlignment;
    WORD wTypeFlags;
    WORD wMajorVerNum;
    WORD wMinorVerNum;
    TYPEDESC tdescAlias;
    IDLDESC idldescType;
} TYPEATTR, *LPTYPEATTR;

typedef struct tagFUNCDESC {
    MEMBERID memid;
    SCODE* lprgscode;
    ELEMDESC* lprgelemdescParam;
    FUNCKIND funckind;
    INVOKEKIND invkind;
    CALLCONV callconv;
    SHORT cParams;
    SHORT cParamsOpt;
    SHORT oVft;
    SHORT cScodes;
    ELEMDESC elemdescFunc;
    WORD wFuncFlags;
} FUNCDESC, *LPFUNCDESC;

typedef struct tagVARDESC {
    MEMBERID memid;
    LPOLESTR lpstrSchema;
    union {
        ULONG oInst;          // VAR_PERINSTANCE: offset in the record
        VARIANT* lpvarValue;  // VAR_CONST
    };
    ELEMDESC elemdescVar;
    WORD wVarFlags;
    VARKIND varkind;
} VARDESC, *LPVARDESC;

typedef struct tagTLIBATTR {
    GUID guid;
    LCID lcid;
    SYSKIND syskind;
    WORD wMajorVerNum;
    WORD wMinorVerNum;
    WORD wLibFlags;
} TLIBATTR, *LPTLIBATTR;

typedef union tagBINDPTR BINDPTR;

OSTREL_PLATFORM_GUID(IID_IDispatch);
OSTREL_PLATFORM_GUID(IID_ITypeInfo);
OSTREL_PLATFORM_GUID(IID_ITypeLib);
OSTREL_PLATFORM_GUID(IID_IErrorInfo);
OSTREL_PLATFORM_GUID(IID_ICreateErrorInfo);
OSTREL_PLATFORM_GUID(IID_ISupportErrorInfo);
OSTREL_PLATFORM_GUID(IID_IRecordInfo);

struct IDispatch : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* pctinfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID lcid,
                                                    DISPID* rgDispId) = 0;
    virtual HRESULT STDMETHODCALLTYPE Invoke(DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags,
                                             DISPPARAMS* pDispParams, VARIANT* pVarResult, EXCEPINFO* pExcepInfo,
                                             UINT* puArgErr) = 0;
};
__CRT_UUID_DECL(IDispatch, 0x00020400, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
typedef IDispatch* LPDISPATCH;

struct ITypeInfo : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetTypeAttr(TYPEATTR** ppTypeAttr) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeComp(ITypeComp** ppTComp) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFuncDesc(UINT index, FUNCDESC** ppFuncDesc) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVarDesc(UINT index, VARDESC** ppVarDesc) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetNames(MEMBERID memid, BSTR* rgBstrNames, UINT cMaxNames,
                                               UINT* pcNames) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRefTypeOfImplType(UINT index, HREFTYPE* pRefType) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetImplTypeFlags(UINT index, INT* pImplTypeFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(LPOLESTR* rgszNames, UINT cNames, MEMBERID* pMemId) = 0;
    virtual HRESULT STDMETHODCALLTYPE Invoke(PVOID pvInstance, MEMBERID memid, WORD wFlags, DISPPARAMS* pDispParams,
                                             VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDocumentation(MEMBERID memid, BSTR* pBstrName, BSTR* pBstrDocString,
                                                       DWORD* pdwHelpContext, BSTR* pBstrHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDllEntry(MEMBERID memid, INVOKEKIND invKind, BSTR* pBstrDllName,
                                                  BSTR* pBstrName, WORD* pwOrdinal) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRefTypeInfo(HREFTYPE hRefType, ITypeInfo** ppTInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddressOfMember(MEMBERID memid, INVOKEKIND invKind, PVOID* ppv) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid, PVOID* ppvObj) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMops(MEMBERID memid, BSTR* pBstrMops) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetContainingTypeLib(ITypeLib** ppTLib, UINT* pIndex) = 0;
    virtual void STDMETHODCALLTYPE ReleaseTypeAttr(TYPEATTR* pTypeAttr) = 0;
    virtual void STDMETHODCALLTYPE ReleaseFuncDesc(FUNCDESC* pFuncDesc) = 0;
    virtual void STDMETHODCALLTYPE ReleaseVarDesc(VARDESC* pVarDesc) = 0;
};
__CRT_UUID_DECL(ITypeInfo, 0x00020401, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
typedef ITypeInfo* LPTYPEINFO;

struct ITypeLib : public IUnknown {
    virtual UINT STDMETHODCALLTYPE GetTypeInfoCount() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, ITypeInfo** ppTInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoType(UINT index, TYPEKIND* pTKind) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** ppTinfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetLibAttr(TLIBATTR** ppTLibAttr) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeComp(ITypeComp** ppTComp) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDocumentation(INT index, BSTR* pBstrName, BSTR* pBstrDocString,
                                                       DWORD* pdwHelpContext, BSTR* pBstrHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsName(LPOLESTR szNameBuf, ULONG lHashVal, BOOL* pfName) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindName(LPOLESTR szNameBuf, ULONG lHashVal, ITypeInfo** ppTInfo,
                                               MEMBERID* rgMemId, USHORT* pcFound) = 0;
    virtual void STDMETHODCALLTYPE ReleaseTLibAttr(TLIBATTR* pTLibAttr) = 0;
};
__CRT_UUID_DECL(ITypeLib, 0x00020402, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
typedef ITypeLib* LPTYPELIB;

struct IErrorInfo : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetGUID(GUID* pGUID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSource(BSTR* pBstrSource) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDescription(BSTR* pBstrDescription) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* pBstrHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* pdwHelpContext) = 0;
};
__CRT_UUID_DECL(IErrorInfo, 0x1CF2B120, 0x547D, 0x101B, 0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19)

struct ICreateErrorInfo : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetGUID(REFGUID rguid) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR szSource) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR szDescription) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR szHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD dwHelpContext) = 0;
};
__CRT_UUID_DECL(ICreateErrorInfo, 0x22F03340, 0x547D, 0x101B, 0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19)

struct ISupportErrorInfo : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID riid) = 0;
};
__CRT_UUID_DECL(ISupportErrorInfo, 0xDF0B3D60, 0x548F, 0x101B, 0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19)

// Records inside variants are not used by the system; the interface exists so
// that VARIANT keeps its layout and a VT_RECORD value can be refused cleanly.
struct IRecordInfo : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE RecordInit(PVOID pvNew) = 0;
    virtual HRESULT STDMETHODCALLTYPE RecordClear(PVOID pvExisting) = 0;
    virtual HRESULT STDMETHODCALLTYPE RecordCopy(PVOID pvExisting, PVOID pvNew) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetGuid(GUID* pguid) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetName(BSTR* pbstrName) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSize(ULONG* pcbSize) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(ITypeInfo** ppTypeInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetField(PVOID pvData, LPCOLESTR szFieldName, VARIANT* pvarField) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFieldNoCopy(PVOID pvData, LPCOLESTR szFieldName, VARIANT* pvarField,
                                                     PVOID* ppvDataCArray) = 0;
    virtual HRESULT STDMETHODCALLTYPE PutField(ULONG wFlags, PVOID pvData, LPCOLESTR szFieldName,
                                               VARIANT* pvarField) = 0;
    virtual HRESULT STDMETHODCALLTYPE PutFieldNoCopy(ULONG wFlags, PVOID pvData, LPCOLESTR szFieldName,
                                                     VARIANT* pvarField) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFieldNames(ULONG* pcNames, BSTR* rgBstrNames) = 0;
    virtual BOOL STDMETHODCALLTYPE IsMatchingType(IRecordInfo* pRecordInfo) = 0;
    virtual PVOID STDMETHODCALLTYPE RecordCreate() = 0;
    virtual HRESULT STDMETHODCALLTYPE RecordCreateCopy(PVOID pvSource, PVOID* ppvDest) = 0;
    virtual HRESULT STDMETHODCALLTYPE RecordDestroy(PVOID pvRecord) = 0;
};
__CRT_UUID_DECL(IRecordInfo, 0x0000002F, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
