#ifndef _WIN32
// Memory figures of the calling process, read from the kernel's status file
// for it. The working set is the resident set; the page file usage, the
// private memory the process has committed, is its data segment.
#include <psapi.h>

#include <cstdio>
#include <cstring>

namespace {

// The value of one "Name:   1234 kB" line of /proc/self/status, in bytes.
bool StatusValue(const char* status, const char* name, SIZE_T& bytes) {
    const char* line = std::strstr(status, name);
    if (!line) return false;
    unsigned long long kilobytes = 0;
    if (std::sscanf(line + std::strlen(name), " %llu", &kilobytes) != 1) return false;
    bytes = SIZE_T(kilobytes * 1024);
    return true;
}

}  // namespace

HANDLE WINAPI GetCurrentProcess(void) { return (HANDLE)(LONG_PTR)-1; }

BOOL WINAPI GetProcessMemoryInfo(HANDLE Process, PPROCESS_MEMORY_COUNTERS ppsmemCounters, DWORD cb) {
    if (Process != GetCurrentProcess()) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (!ppsmemCounters || cb < sizeof(PROCESS_MEMORY_COUNTERS)) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    char status[4096];
    std::FILE* file = std::fopen("/proc/self/status", "r");
    if (!file) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    const size_t read = std::fread(status, 1, sizeof status - 1, file);
    std::fclose(file);
    status[read] = '\0';

    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof counters;
    StatusValue(status, "VmHWM:", counters.PeakWorkingSetSize);
    StatusValue(status, "VmRSS:", counters.WorkingSetSize);
    StatusValue(status, "VmData:", counters.PagefileUsage);
    // The kernel keeps no peak of it; the pool figures mean nothing here.
    counters.PeakPagefileUsage = counters.PagefileUsage;
    std::memcpy(ppsmemCounters, &counters, sizeof counters);
    return TRUE;
}

#endif
