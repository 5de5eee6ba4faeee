#ifndef _WIN32
// The calling thread's last-error number.
#include <windows.h>

namespace {

// Each thread keeps its own, so one thread's failure never overwrites the
// number another thread is about to read.
thread_local DWORD lastError = ERROR_SUCCESS;

}  // namespace

DWORD WINAPI GetLastError(void) { return lastError; }

void WINAPI SetLastError(DWORD dwErrCode) { lastError = dwErrCode; }

#endif
