#include "component/module_state.h"

namespace ostrel {
namespace {

LONG lockCount = 0;

// Created on first use so that it exists whatever the order in which the
// library's static objects are set up.
CRITICAL_SECTION& ModuleLock() {
    static CRITICAL_SECTION* lock = [] {
        static CRITICAL_SECTION section;
        InitializeCriticalSection(&section);
        return &section;
    }();
    return *lock;
}

}  // namespace

void LockModule() noexcept { InterlockedIncrement(&lockCount); }
void UnlockModule() noexcept { InterlockedDecrement(&lockCount); }
LONG ModuleLockCount() noexcept { return InterlockedCompareExchange(&lockCount, 0, 0); }

void AttachModule() noexcept { ModuleLock(); }
void DetachModule() noexcept { DeleteCriticalSection(&ModuleLock()); }

ModuleGuard::ModuleGuard() noexcept { EnterCriticalSection(&ModuleLock()); }
ModuleGuard::~ModuleGuard() { LeaveCriticalSection(&ModuleLock()); }

}  // namespace ostrel
