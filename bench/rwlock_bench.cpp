// The read-write lock's cost per lock taken and handed back: uncontended
// read and write pairs on one thread, and readers on two threads sharing one
// lock (they never wait for each other, but do share the guard).
#include <benchmark/benchmark.h>

#include "rwlock/read_write_lock.h"

namespace {

void BM_ReadPair(benchmark::State& state) {
    ostrel::ReadWriteLock lock;
    const DWORD me = GetCurrentThreadId();
    for (auto _ : state) {
        lock.BeginRead(me);
        lock.EndRead(me);
    }
}
BENCHMARK(BM_ReadPair);

void BM_WritePair(benchmark::State& state) {
    ostrel::ReadWriteLock lock;
    const DWORD me = GetCurrentThreadId();
    for (auto _ : state) {
        lock.BeginWrite(me);
        lock.EndWrite(me);
    }
}
BENCHMARK(BM_WritePair);

// A reader that already reads re-enters without touching the events.
void BM_ReentrantReadPair(benchmark::State& state) {
    ostrel::ReadWriteLock lock;
    const DWORD me = GetCurrentThreadId();
    lock.BeginRead(me);
    for (auto _ : state) {
        lock.BeginRead(me);
        lock.EndRead(me);
    }
    lock.EndRead(me);
}
BENCHMARK(BM_ReentrantReadPair);

void BM_ReadersOnTwoThreads(benchmark::State& state) {
    static ostrel::ReadWriteLock lock;
    const DWORD me = GetCurrentThreadId();
    for (auto _ : state) {
        lock.BeginRead(me);
        lock.EndRead(me);
    }
}
BENCHMARK(BM_ReadersOnTwoThreads)->Threads(2)->UseRealTime();

}  // namespace
