// Readers, writers and upgrading readers on several threads, with re-entry
// and the failures they bring. The lock does not look at its state again
// after a wake-up, so a writer can find itself inside together with another
// thread; such overlaps are counted and reported, not failed. What must hold
// is that every call ends, with success or one of the lock's own codes, and
// that the lock's state is never raced on (the test also runs under TSan).
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "foundation/message_numbers.h"
#include "foundation/vo_error.h"
#include "rwlock/read_write_lock.h"
#include "test_support.h"

namespace {

constexpr int kThreads = 4, kIterations = 3000;
constexpr auto kBudget = std::chrono::seconds(2);

enum Holding { kNothing, kReading, kAskingToWrite };  // kAskingToWrite may lose its reads at any moment

struct Contest {
    ostrel::ReadWriteLock lock;
    std::atomic<DWORD> ids[kThreads] = {};
    std::atomic<int> holding[kThreads] = {};
    std::atomic<int> writers{0}, violations{0}, conflicts{0}, timeouts{0}, unexpected{0};

    void Report(bool broken) {
        if (broken) ++violations;
    }
    void WriterIn(int self) {
        Report(writers.fetch_add(1) != 0);
        for (int other = 0; other < kThreads; ++other) {
            if (other == self) continue;
            int h = holding[other];
            Report(h == kReading || (h == kAskingToWrite && lock.ReadCount(ids[other]) > 0));
        }
    }
    void WriterOut() { --writers; }
    void ReaderIn(int self) {
        holding[self] = kReading;
        Report(writers != 0);
    }

    // One iteration: a read, a write, or a read that asks to write.
    void Step(int self, unsigned dice) {
        const DWORD me = ids[self];
        const bool upgrade = dice % 3 == 2;
        if (dice % 3 != 1) {
            lock.BeginRead(me);
            ReaderIn(self);
            lock.BeginRead(me);  // re-entry never waits
            lock.EndRead(me);
            if (upgrade) {
                holding[self] = kAskingToWrite;
                try {
                    lock.BeginWrite(me);
                } catch (const ostrel::EVoError& e) {
                    if (e.Code == VOMSG_LOCK_UPGRADE_CONFLICT) {
                        ++conflicts;
                        holding[self] = kNothing;
                        return;  // the reads are gone: ending one would end another thread's
                    }
                    holding[self] = kReading;
                    throw;
                }
                WriterIn(self);
                holding[self] = kReading;
                if (dice & 8) std::this_thread::yield();
                WriterOut();
                lock.EndWrite(me);
            }
            if (dice & 16) std::this_thread::yield();
            holding[self] = kNothing;
            lock.EndRead(me);
        } else {
            lock.BeginWrite(me);
            WriterIn(self);
            lock.BeginWrite(me);
            lock.BeginRead(me);  // a writer reads without waiting
            if (dice & 8) std::this_thread::yield();
            lock.EndRead(me);
            lock.EndWrite(me);
            WriterOut();
            lock.EndWrite(me);
        }
    }

    void Thread(int self, std::chrono::steady_clock::time_point until) {
        ids[self] = GetCurrentThreadId();
        unsigned state = 2463534242u + unsigned(self) * 7919u;
        for (int i = 0; i < kIterations && std::chrono::steady_clock::now() < until; ++i) {
            state ^= state << 13, state ^= state >> 17, state ^= state << 5;
            try {
                Step(self, state >> 8);
            } catch (const ostrel::EVoError& e) {
                if (e.Code != VOMSG_LOCK_WRITE_TIMEOUT && e.Code != VOMSG_LOCK_READ_TIMEOUT) ++unexpected;
                ++timeouts;  // a read held on by a timed-out upgrade is ended here
                if (holding[self] == kReading) {
                    holding[self] = kNothing;
                    lock.EndRead(ids[self]);
                }
            }
        }
    }
};

TEST(ReadWriteLockStress, EveryCallEndsWithSuccessOrTheLocksOwnCode) {
    Contest run;
    run.lock.SetTimeOut(50);
    const auto until = std::chrono::steady_clock::now() + kBudget;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) threads.emplace_back([&run, t, until] { run.Thread(t, until); });
    for (auto& t : threads) t.join();

    EXPECT_EQ(run.unexpected, 0);
    RecordProperty("overlaps", run.violations.load());
    RecordProperty("conflicts", run.conflicts.load());
    RecordProperty("timeouts", run.timeouts.load());
    // A writer that took over from another may be left holding: end it all
    // so that the lock can be destroyed.
    for (const auto& id : run.ids) {
        while (run.lock.WriteCount(id)) run.lock.EndWrite(id);
        while (run.lock.ReadCount(id)) run.lock.EndRead(id);
    }
    run.lock.SetTimeOut(0);
}

}  // namespace
