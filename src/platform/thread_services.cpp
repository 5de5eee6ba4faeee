#ifndef _WIN32
// Thread and process identity and time: GetCurrentThreadId,
// GetCurrentProcessId, Sleep, GetTickCount.
#include <windows.h>

#include <sched.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <thread>

DWORD WINAPI GetCurrentThreadId(void) {
    // The kernel's thread id: nonzero and unique among the threads alive at
    // any moment, as the platform's thread ids are; it can be reused after
    // the thread ends, as theirs can.
    thread_local const DWORD id = DWORD(gettid());
    return id;
}

DWORD WINAPI GetCurrentProcessId(void) { return DWORD(getpid()); }

void WINAPI Sleep(DWORD dwMilliseconds) {
    if (dwMilliseconds == 0) {
        // Gives up the rest of the time slice, as on the platform.
        sched_yield();
        return;
    }
    if (dwMilliseconds == INFINITE) {
        for (;;) std::this_thread::sleep_for(std::chrono::hours(24));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(dwMilliseconds));
}

DWORD WINAPI GetTickCount(void) {
    // Milliseconds since the system started, suspended time included, and
    // wrapping after 49.7 days like the platform's 32-bit count.
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return DWORD(uint64_t(now.tv_sec) * 1000u + uint64_t(now.tv_nsec) / 1000000u);
}

#endif
