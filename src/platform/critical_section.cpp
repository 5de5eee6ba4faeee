#ifndef _WIN32
// Critical sections: recursive locks living inside the caller's
// CRITICAL_SECTION, which winbase.h declares as opaque storage.
#include <windows.h>

#include <mutex>
#include <new>

namespace {

using Lock = std::recursive_mutex;

static_assert(sizeof(Lock) <= sizeof(CRITICAL_SECTION::Opaque), "the lock must fit the caller's storage");
static_assert(alignof(Lock) <= alignof(CRITICAL_SECTION), "the caller's storage must be aligned for the lock");

Lock& LockOf(LPCRITICAL_SECTION section) { return *std::launder(reinterpret_cast<Lock*>(section->Opaque)); }

}  // namespace

void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION lpCriticalSection) {
    new (lpCriticalSection->Opaque) Lock;
}

void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION lpCriticalSection) { LockOf(lpCriticalSection).~Lock(); }

void WINAPI EnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection) { LockOf(lpCriticalSection).lock(); }

void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION lpCriticalSection) { LockOf(lpCriticalSection).unlock(); }

BOOL WINAPI TryEnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection) {
    return LockOf(lpCriticalSection).try_lock() ? TRUE : FALSE;
}

#endif
