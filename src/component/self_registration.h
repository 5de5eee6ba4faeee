// Self-registration: each class's registry script run in class-table order,
// and the type library registered from the library's own file.
#pragma once
#include <functional>
#include <span>
#include <string>

#include "component/class_entry.h"
#include "foundation/text.h"

namespace ostrel {

// The REGISTRY resource of the class at index i of the class table is
// kFirstScriptId + i.
constexpr unsigned kFirstScriptId = 101;

// Hands out the script with the given resource number.
using ScriptSource = std::function<HRESULT(unsigned id, WString& script)>;

// Runs every class's script with %MODULE% = modulePath and %CLSID% = the
// class identifier in braces. Registering stops at the first failure and
// returns it, so later classes stay unregistered; unregistering runs every
// script whatever fails and returns S_OK.
HRESULT RunClassScripts(std::span<const ClassEntry> classes, const ScriptSource& source,
                        const WString& modulePath, bool registering) noexcept;

// The module's REGISTRY resource, read as text in the ANSI code page (the
// scripts are stored as their files' bytes).
HRESULT ModuleScript(HMODULE module, unsigned id, WString& script) noexcept;

// The full path of the module holding this code, and its handle.
HRESULT OwnModule(HMODULE& module, WString& path) noexcept;

// Loads the type library from the file at path (its TYPELIB resource) and
// registers it with the file's folder as help folder.
HRESULT RegisterTypeLibraryOf(const WString& path) noexcept;

// Loads it the same way and unregisters it through UnRegisterTypeLib, looked
// up by name in the automation library; failures are ignored.
void UnregisterTypeLibraryOf(const WString& path) noexcept;

}  // namespace ostrel
