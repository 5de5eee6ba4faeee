// System services: modules, message texts, last error, code pages, events,
// critical sections, interlocked counters and thread identity.
#pragma once
#include "winerror.h"

// Opaque storage for a recursive lock; the platform layer checks at build time
// that its own lock fits.
typedef struct _RTL_CRITICAL_SECTION {
    alignas(8) unsigned char Opaque[64];
} CRITICAL_SECTION, *LPCRITICAL_SECTION, *PCRITICAL_SECTION;

typedef struct _SECURITY_ATTRIBUTES {
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
} SECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

#define INFINITE 0xFFFFFFFF
#define WAIT_OBJECT_0 0x00000000L
#define WAIT_ABANDONED 0x00000080L
#define WAIT_TIMEOUT 0x00000102L
#define WAIT_FAILED ((DWORD)0xFFFFFFFF)
#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)

#define DONT_RESOLVE_DLL_REFERENCES 0x00000001
#define LOAD_LIBRARY_AS_DATAFILE 0x00000002
#define LOAD_WITH_ALTERED_SEARCH_PATH 0x00000008

#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x00000100
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x00000200
#define FORMAT_MESSAGE_FROM_STRING 0x00000400
#define FORMAT_MESSAGE_FROM_HMODULE 0x00000800
#define FORMAT_MESSAGE_FROM_SYSTEM 0x00001000
#define FORMAT_MESSAGE_ARGUMENT_ARRAY 0x00002000
#define FORMAT_MESSAGE_MAX_WIDTH_MASK 0x000000FF

#define CP_ACP 0
#define CP_OEMCP 1
#define CP_UTF8 65001
#define MB_PRECOMPOSED 0x00000001
#define MB_ERR_INVALID_CHARS 0x00000008
#define WC_ERR_INVALID_CHARS 0x00000080
#define WC_NO_BEST_FIT_CHARS 0x00000400

#define MAX_PATH 260

// Status numbers these services report beyond those winerror.h lists.
#ifndef ERROR_NO_WORK_DONE
#define ERROR_NO_WORK_DONE 235L
#endif
#ifndef ERROR_INVALID_FLAGS
#define ERROR_INVALID_FLAGS 1004L
#endif
#ifndef ERROR_RESOURCE_LANG_NOT_FOUND
#define ERROR_RESOURCE_LANG_NOT_FOUND 1815L
#endif

OSTREL_PLATFORM_FN HMODULE WINAPI LoadLibraryExA(LPCSTR lpLibFileName, HANDLE hFile, DWORD dwFlags);
OSTREL_PLATFORM_FN HMODULE WINAPI LoadLibraryA(LPCSTR lpLibFileName);
OSTREL_PLATFORM_FN BOOL WINAPI FreeLibrary(HMODULE hLibModule);
OSTREL_PLATFORM_FN FARPROC WINAPI GetProcAddress(HMODULE hModule, LPCSTR lpProcName);
OSTREL_PLATFORM_FN DWORD WINAPI GetModuleFileNameA(HMODULE hModule, LPSTR lpFilename, DWORD nSize);
OSTREL_PLATFORM_FN DWORD WINAPI GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize);

// A loaded module by file name; the system modules (kernel32.dll,
// oleaut32.dll, ...) are the platform library itself.
OSTREL_PLATFORM_FN HMODULE WINAPI GetModuleHandleW(LPCWSTR lpModuleName);

#define GET_MODULE_HANDLE_EX_FLAG_PIN 0x00000001
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 0x00000002
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 0x00000004
// The module holding an address (with ..._FROM_ADDRESS): how a library finds
// its own handle, and from it its file name and resources.
OSTREL_PLATFORM_FN BOOL WINAPI GetModuleHandleExW(DWORD dwFlags, LPCWSTR lpModuleName, HMODULE* phModule);

// Resources carried by a module, found by type and number.
typedef struct HRSRC__* HRSRC;
#define IS_INTRESOURCE(r) ((((ULONG_PTR)(r)) >> 16) == 0)
#define MAKEINTRESOURCEW(i) ((LPWSTR)((ULONG_PTR)((WORD)(i))))
#define RT_STRING MAKEINTRESOURCEW(6)
#define RT_MESSAGETABLE MAKEINTRESOURCEW(11)
#define RT_VERSION MAKEINTRESOURCEW(16)
OSTREL_PLATFORM_FN HRSRC WINAPI FindResourceW(HMODULE hModule, LPCWSTR lpName, LPCWSTR lpType);
OSTREL_PLATFORM_FN HGLOBAL WINAPI LoadResource(HMODULE hModule, HRSRC hResInfo);
OSTREL_PLATFORM_FN LPVOID WINAPI LockResource(HGLOBAL hResData);
OSTREL_PLATFORM_FN DWORD WINAPI SizeofResource(HMODULE hModule, HRSRC hResInfo);

// The Arguments parameter is a va_list* (or, with FORMAT_MESSAGE_ARGUMENT_ARRAY,
// an array of DWORD_PTR), as on the platform.
OSTREL_PLATFORM_FN DWORD WINAPI FormatMessageA(DWORD dwFlags, LPCVOID lpSource, DWORD dwMessageId,
                                               DWORD dwLanguageId, LPSTR lpBuffer, DWORD nSize, void* Arguments);
OSTREL_PLATFORM_FN HLOCAL WINAPI LocalAlloc(UINT uFlags, SIZE_T uBytes);
OSTREL_PLATFORM_FN HLOCAL WINAPI LocalFree(HLOCAL hMem);
#define LMEM_FIXED 0x0000
#define LMEM_MOVEABLE 0x0002
#define LMEM_ZEROINIT 0x0040
#define LPTR (LMEM_FIXED | LMEM_ZEROINIT)

OSTREL_PLATFORM_FN DWORD WINAPI GetLastError(void);
OSTREL_PLATFORM_FN void WINAPI SetLastError(DWORD dwErrCode);

OSTREL_PLATFORM_FN INT WINAPI MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr,
                                                  INT cbMultiByte, LPWSTR lpWideCharStr, INT cchWideChar);
OSTREL_PLATFORM_FN INT WINAPI WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr,
                                                  INT cchWideChar, LPSTR lpMultiByteStr, INT cbMultiByte,
                                                  LPCSTR lpDefaultChar, LPBOOL lpUsedDefaultChar);
OSTREL_PLATFORM_FN UINT WINAPI GetACP(void);

OSTREL_PLATFORM_FN HANDLE WINAPI CreateEventA(LPSECURITY_ATTRIBUTES lpEventAttributes, BOOL bManualReset,
                                              BOOL bInitialState, LPCSTR lpName);
OSTREL_PLATFORM_FN BOOL WINAPI SetEvent(HANDLE hEvent);
OSTREL_PLATFORM_FN BOOL WINAPI ResetEvent(HANDLE hEvent);
OSTREL_PLATFORM_FN DWORD WINAPI WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds);
OSTREL_PLATFORM_FN BOOL WINAPI CloseHandle(HANDLE hObject);

OSTREL_PLATFORM_FN void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION lpCriticalSection);
OSTREL_PLATFORM_FN void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION lpCriticalSection);
OSTREL_PLATFORM_FN void WINAPI EnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection);
OSTREL_PLATFORM_FN void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION lpCriticalSection);
OSTREL_PLATFORM_FN BOOL WINAPI TryEnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection);

OSTREL_PLATFORM_FN LONG WINAPI InterlockedIncrement(LONG volatile* Addend);
OSTREL_PLATFORM_FN LONG WINAPI InterlockedDecrement(LONG volatile* Addend);
OSTREL_PLATFORM_FN LONG WINAPI InterlockedExchange(LONG volatile* Target, LONG Value);
OSTREL_PLATFORM_FN LONG WINAPI InterlockedCompareExchange(LONG volatile* Destination, LONG Exchange,
                                                          LONG Comparand);

OSTREL_PLATFORM_FN DWORD WINAPI GetCurrentThreadId(void);
OSTREL_PLATFORM_FN DWORD WINAPI GetCurrentProcessId(void);
OSTREL_PLATFORM_FN void WINAPI Sleep(DWORD dwMilliseconds);
OSTREL_PLATFORM_FN DWORD WINAPI GetTickCount(void);
