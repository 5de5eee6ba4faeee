#pragma once
#ifndef _WIN32
// What the registry says about a class: the text values under
// HKEY_CLASSES_ROOT that ProgID lookups and object creation read.
#include <string>

#include <windows.h>

namespace ostrel_platform {

// The default text value of HKEY_CLASSES_ROOT\subKey, without its
// terminator; false when the key or the value is missing or not text.
bool ClassesRootText(const std::u16string& subKey, std::u16string& text);

// "CLSID\{...}\" followed by leaf.
std::u16string ClassKey(REFCLSID clsid, const char16_t* leaf);

}  // namespace ostrel_platform

#endif
