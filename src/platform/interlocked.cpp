#ifndef _WIN32
// Interlocked operations: sequentially consistent, as the platform's are
// full barriers.
#include <windows.h>

LONG WINAPI InterlockedIncrement(LONG volatile* Addend) { return __atomic_add_fetch(Addend, 1, __ATOMIC_SEQ_CST); }

LONG WINAPI InterlockedDecrement(LONG volatile* Addend) { return __atomic_sub_fetch(Addend, 1, __ATOMIC_SEQ_CST); }

LONG WINAPI InterlockedExchange(LONG volatile* Target, LONG Value) {
    return __atomic_exchange_n(Target, Value, __ATOMIC_SEQ_CST);
}

LONG WINAPI InterlockedCompareExchange(LONG volatile* Destination, LONG Exchange, LONG Comparand) {
    // On failure the builtin writes the current value into Comparand, which
    // is exactly what the platform's function returns either way.
    __atomic_compare_exchange_n(Destination, &Comparand, Exchange, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return Comparand;
}

#endif
