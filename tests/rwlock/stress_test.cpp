// Readers, writers and upgrading readers on several threads. Writers may
// overlap (a woken writer does not look again), so only this must hold: every
// call ends with success or one of the lock's own codes, and nothing is raced
// on (this also runs under ThreadSanitizer).
#include <atomic>
#include <thread>
#include <vector>

#include "rwlock_test_support.h"

namespace {

using namespace rw_test;

struct Contest {
    ostrel::ReadWriteLock lock;
    std::atomic<int> unexpected{0};

    // A write, a read, or a read that asks to write, each re-entered.
    void Step(DWORD me, unsigned dice) {
        const bool write = dice % 3 == 1, upgrade = dice % 3 == 2;
        Begin(lock, me, write);
        Begin(lock, me, write);
        lock.BeginRead(me);  // re-entry, and a writer's read, never wait
        if (upgrade) lock.BeginWrite(me);
        if (dice & 8) std::this_thread::yield();
        if (upgrade) lock.EndWrite(me);
        lock.EndRead(me);
        End(lock, me, write);
        End(lock, me, write);
    }

    void Thread(DWORD seed, std::chrono::steady_clock::time_point until, std::atomic<DWORD>& id) {
        const DWORD me = id = GetCurrentThreadId();
        for (int i = 0; i < 3000 && std::chrono::steady_clock::now() < until; ++i) {
            seed ^= seed << 13, seed ^= seed >> 17, seed ^= seed << 5;
            try {
                Step(me, seed >> 8);
            } catch (const ostrel::EVoError& e) {
                if (e.Code != VOMSG_LOCK_WRITE_TIMEOUT && e.Code != VOMSG_LOCK_READ_TIMEOUT &&
                    e.Code != VOMSG_LOCK_UPGRADE_CONFLICT)
                    ++unexpected;
                // Only the thread's own reads: EndRead without one would end another thread's.
                while (lock.ReadCount(me)) lock.EndRead(me);
            }
        }
    }
};

TEST(ReadWriteLockStress, EveryCallEndsWithSuccessOrTheLocksOwnCode) {
    Contest run;
    run.lock.SetTimeOut(50);
    std::atomic<DWORD> ids[4] = {};
    const auto until = std::chrono::steady_clock::now() + 2s;
    std::vector<std::thread> threads;
    for (DWORD t = 0; t < 4; ++t) threads.emplace_back([&, t] { run.Thread(2463534242u + t * 7919u, until, ids[t]); });
    for (auto& t : threads) t.join();
    EXPECT_EQ(run.unexpected, 0);
    for (DWORD id : ids) EndAll(run.lock, {id});  // an overlapping writer may be left holding
    run.lock.SetTimeOut(0);
}

}  // namespace
