#pragma once
#ifndef _WIN32
// Finding a resource inside a loaded module (see module_resources.h for how
// a Linux module carries them).
#include <windows.h>

#include "module_resources.h"

namespace ostrel::platform {

// Looks up the resource of the given type and number in a module loaded with
// LoadLibrary (null: the executable). Returns ERROR_SUCCESS and the bytes, or
// the platform's error for what is missing: ERROR_RESOURCE_DATA_NOT_FOUND
// when the module carries no resources at all (or is no module),
// ERROR_RESOURCE_TYPE_NOT_FOUND when none of that type, and
// ERROR_RESOURCE_NAME_NOT_FOUND when none with that number. The bytes stay
// valid while the module stays loaded.
DWORD FindModuleResource(HMODULE module, const char* type, unsigned id, const void*& data, unsigned long& size);

// The same, giving the table entry itself.
DWORD FindModuleResourceEntry(HMODULE module, const char* type, unsigned id, const OstrelResourceEntry*& entry);

}  // namespace ostrel::platform

#endif
