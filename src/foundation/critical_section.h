// A critical section owned by an object, and the scope that holds it.
#pragma once
#include <windows.h>

namespace ostrel {

class CriticalSection {
public:
    CriticalSection() noexcept { InitializeCriticalSection(&section_); }
    ~CriticalSection() { DeleteCriticalSection(&section_); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void Enter() noexcept { EnterCriticalSection(&section_); }
    void Leave() noexcept { LeaveCriticalSection(&section_); }

private:
    CRITICAL_SECTION section_;
};

// Holds a critical section for its scope, so every way out leaves it.
class CriticalSectionLock {
public:
    explicit CriticalSectionLock(CriticalSection& section) noexcept : section_(section) { section_.Enter(); }
    ~CriticalSectionLock() { section_.Leave(); }
    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

private:
    CriticalSection& section_;
};

}  // namespace ostrel
