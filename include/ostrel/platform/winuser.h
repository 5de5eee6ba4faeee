#pragma once
// Texts from a module's string table.
#include "winbase.h"

// Copies string uID of the module's string table into the buffer, truncated
// to cchBufferMax - 1 units and terminated, and returns the units copied; 0
// for a missing or empty string. With cchBufferMax 0, lpBuffer receives a
// read-only pointer to the string inside the module (not terminated) and the
// string's full length is returned.
OSTREL_PLATFORM_FN int WINAPI LoadStringW(HINSTANCE hInstance, UINT uID, LPWSTR lpBuffer, int cchBufferMax);
