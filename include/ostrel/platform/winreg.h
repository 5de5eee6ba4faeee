// The registry: keys under the predefined roots, each holding named values.
// On Linux the registry is one file of Ostrel's own (see the README for where
// it lives and how to point it elsewhere).
#pragma once
#include "winbase.h"

typedef LONG LSTATUS;
typedef DWORD REGSAM;

typedef struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

// Predefined roots: sign-extended 32-bit values, as on 64-bit Windows.
#define HKEY_CLASSES_ROOT ((HKEY)(ULONG_PTR)((LONG)0x80000000))
#define HKEY_CURRENT_USER ((HKEY)(ULONG_PTR)((LONG)0x80000001))
#define HKEY_LOCAL_MACHINE ((HKEY)(ULONG_PTR)((LONG)0x80000002))

#define REG_NONE 0
#define REG_SZ 1
#define REG_EXPAND_SZ 2
#define REG_BINARY 3
#define REG_DWORD 4
#define REG_MULTI_SZ 7
#define REG_QWORD 11

#define REG_OPTION_NON_VOLATILE 0x00000000L
#define REG_CREATED_NEW_KEY 0x00000001L
#define REG_OPENED_EXISTING_KEY 0x00000002L

#define KEY_QUERY_VALUE 0x0001
#define KEY_SET_VALUE 0x0002
#define KEY_CREATE_SUB_KEY 0x0004
#define KEY_ENUMERATE_SUB_KEYS 0x0008
#define KEY_READ 0x20019
#define KEY_WRITE 0x20006
#define KEY_ALL_ACCESS 0xF003F

OSTREL_PLATFORM_FN LSTATUS WINAPI RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR lpClass,
                                                  DWORD dwOptions, REGSAM samDesired,
                                                  const LPSECURITY_ATTRIBUTES lpSecurityAttributes, PHKEY phkResult,
                                                  LPDWORD lpdwDisposition);
OSTREL_PLATFORM_FN LSTATUS WINAPI RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD ulOptions, REGSAM samDesired,
                                                PHKEY phkResult);
OSTREL_PLATFORM_FN LSTATUS WINAPI RegCloseKey(HKEY hKey);
OSTREL_PLATFORM_FN LSTATUS WINAPI RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD Reserved, DWORD dwType,
                                                 const BYTE* lpData, DWORD cbData);
OSTREL_PLATFORM_FN LSTATUS WINAPI RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved,
                                                   LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData);
OSTREL_PLATFORM_FN LSTATUS WINAPI RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName);
OSTREL_PLATFORM_FN LSTATUS WINAPI RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName,
                                                LPDWORD lpReserved, LPWSTR lpClass, LPDWORD lpcchClass,
                                                PFILETIME lpftLastWriteTime);
OSTREL_PLATFORM_FN LSTATUS WINAPI RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey);
OSTREL_PLATFORM_FN LSTATUS WINAPI RegDeleteTreeW(HKEY hKey, LPCWSTR lpSubKey);
