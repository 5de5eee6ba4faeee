// Basic types of the component platform, for the Linux build.
//
// Widths follow the platform's 64-bit ABI (LLP64), not Linux's LP64: LONG and
// ULONG are 32-bit everywhere, so records declared in the type library keep the
// layout a Windows host sees. OLECHAR is 16-bit UTF-16 (char16_t), because the
// platform's wide strings are 16-bit and Linux's wchar_t is 32-bit; code must
// spell wide literals OLESTR("...") and never use wchar_t.
#pragma once
#ifdef _WIN32
#error "ostrel/platform headers are for the Linux build; on Windows include the real platform headers"
#endif

#include <cstddef>
#include <cstdint>

#include "platform_api.h"

#define WINAPI
#define STDMETHODCALLTYPE
#define STDAPICALLTYPE
#define CALLBACK
#define __RPC_USER
#define __RPC_FAR
#define BEGIN_INTERFACE
#define END_INTERFACE
#define CONST_VTBL
#define DECLSPEC_SELECTANY __attribute__((weak))
#define DECLSPEC_UUID(x)
#define DECLSPEC_NOVTABLE
#define interface struct
#define MIDL_INTERFACE(x) struct
#define PURE = 0
#define THIS_
#define THIS void
#define FAR
#define NEAR
#define CONST const

#ifdef __cplusplus
#define EXTERN_C extern "C"
#else
#define EXTERN_C extern
#endif
#define STDAPI EXTERN_C HRESULT STDAPICALLTYPE
#define STDAPI_(type) EXTERN_C type STDAPICALLTYPE
#define STDMETHOD(method) virtual HRESULT STDMETHODCALLTYPE method
#define STDMETHOD_(type, method) virtual type STDMETHODCALLTYPE method
#define STDMETHODIMP HRESULT STDMETHODCALLTYPE
#define STDMETHODIMP_(type) type STDMETHODCALLTYPE

typedef void VOID;
typedef void* PVOID;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef char CHAR;
typedef unsigned char UCHAR;
typedef unsigned char BYTE;
typedef int16_t SHORT;
typedef uint16_t USHORT;
typedef uint16_t WORD;
typedef int32_t INT;
typedef uint32_t UINT;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef int64_t INT_PTR;
typedef uint64_t UINT_PTR;
typedef int64_t LONG_PTR;
typedef uint64_t ULONG_PTR;
typedef uint64_t DWORD_PTR;
typedef ULONG_PTR SIZE_T;
typedef float FLOAT;
typedef double DOUBLE;
typedef int BOOL;
typedef BYTE BOOLEAN;
typedef BOOL* LPBOOL;
typedef DWORD* LPDWORD;
typedef LONG* LPLONG;
typedef BYTE* LPBYTE;
typedef WORD* LPWORD;

typedef char16_t WCHAR;
typedef WCHAR OLECHAR;
typedef CHAR* LPSTR;
typedef const CHAR* LPCSTR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef OLECHAR* LPOLESTR;
typedef const OLECHAR* LPCOLESTR;
typedef OLECHAR* BSTR;
typedef BSTR* LPBSTR;
#define OLESTR(str) u##str
#define TEXT(str) str

typedef LONG HRESULT;
typedef LONG SCODE;
typedef DWORD LCID;
typedef WORD LANGID;
typedef LONG DISPID;
typedef DISPID MEMBERID;
typedef DWORD HREFTYPE;
typedef WORD VARTYPE;
typedef SHORT VARIANT_BOOL;
typedef double DATE;

typedef void* HANDLE;
typedef HANDLE* LPHANDLE;
typedef HANDLE HLOCAL;
typedef HANDLE HGLOBAL;
typedef struct HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;
typedef struct HKEY__* HKEY;
typedef HKEY* PHKEY;
typedef INT_PTR (*FARPROC)();

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif
#define VARIANT_TRUE ((VARIANT_BOOL)-1)
#define VARIANT_FALSE ((VARIANT_BOOL)0)

#define MAKEWORD(a, b) ((WORD)(((BYTE)(a)) | ((WORD)((BYTE)(b))) << 8))
#define MAKELONG(a, b) ((LONG)(((WORD)(a)) | ((DWORD)((WORD)(b))) << 16))
#define LOWORD(l) ((WORD)((DWORD_PTR)(l) & 0xffff))
#define HIWORD(l) ((WORD)((DWORD_PTR)(l) >> 16))
#define MAKELANGID(p, s) ((((WORD)(s)) << 10) | (WORD)(p))
#define MAKELCID(lgid, srtid) ((DWORD)((((DWORD)((WORD)(srtid))) << 16) | ((DWORD)((WORD)(lgid)))))
#define LANG_NEUTRAL 0x00
#define LANG_ENGLISH 0x09
#define SUBLANG_DEFAULT 0x01
#define SUBLANG_ENGLISH_US 0x01
#define SORT_DEFAULT 0x0
#define LOCALE_USER_DEFAULT 0x0400
#define LOCALE_SYSTEM_DEFAULT 0x0800
#define LOCALE_NEUTRAL 0x0000
#define LOCALE_INVARIANT 0x007f

typedef union tagCY {
    struct {
        ULONG Lo;
        LONG Hi;
    };
    LONGLONG int64;
} CY;

typedef struct tagDEC {
    USHORT wReserved;
    union {
        struct {
            BYTE scale;
            BYTE sign;
        };
        USHORT signscale;
    };
    ULONG Hi32;
    union {
        struct {
            ULONG Lo32;
            ULONG Mid32;
        };
        ULONGLONG Lo64;
    };
} DECIMAL;
#define DECIMAL_NEG ((BYTE)0x80)

typedef struct _SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
} SYSTEMTIME, *PSYSTEMTIME, *LPSYSTEMTIME;

enum VARENUM {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_CY = 6,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_DECIMAL = 14,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_VOID = 24,
    VT_HRESULT = 25,
    VT_PTR = 26,
    VT_SAFEARRAY = 27,
    VT_CARRAY = 28,
    VT_USERDEFINED = 29,
    VT_LPSTR = 30,
    VT_LPWSTR = 31,
    VT_RECORD = 36,
    VT_INT_PTR = 37,
    VT_UINT_PTR = 38,
    VT_VECTOR = 0x1000,
    VT_ARRAY = 0x2000,
    VT_BYREF = 0x4000,
    VT_RESERVED = 0x8000,
    VT_ILLEGAL = 0xffff,
    VT_ILLEGALMASKED = 0x0fff,
    VT_TYPEMASK = 0x0fff
};
