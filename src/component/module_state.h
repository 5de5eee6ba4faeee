// The library's process-wide state: the count of live objects and server
// locks that decides whether the library may be unloaded, and the lock under
// which class factories and type information are created.
#pragma once
#include <windows.h>

namespace ostrel {

// Every live object the library created and every LockServer(TRUE) holds
// one count; DllCanUnloadNow answers S_OK only at zero.
void LockModule() noexcept;
void UnlockModule() noexcept;
LONG ModuleLockCount() noexcept;

// The loader's attach and detach of the library (Windows): the lock made
// before any caller can need it, and given back when the library leaves the
// process.
void AttachModule() noexcept;
void DetachModule() noexcept;

// The library's lock, held while a class factory or an interface's type
// information is created for the first time.
class ModuleGuard {
public:
    ModuleGuard() noexcept;
    ~ModuleGuard();
    ModuleGuard(const ModuleGuard&) = delete;
    ModuleGuard& operator=(const ModuleGuard&) = delete;
};

}  // namespace ostrel
