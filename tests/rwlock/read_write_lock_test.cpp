// The lock's rules, on one thread and between threads.
#include "rwlock_test_support.h"

namespace {

using namespace rw_test;

TEST(ReadWriteLock, OneThreadReentersUpgradesAndReadsWhileWriting) {
    Lock lock;
    for (bool write : {false, false, true, true, false}) Begin(lock, A, write);  // the sole reader upgrades at once
    EXPECT_EQ(lock.ReadCount(A), 3);
    EXPECT_EQ(lock.WriteCount(A), 2);
    lock.EndWrite(A);
    lock.EndWrite(A);
    EXPECT_EQ(lock.ReadCount(A), 3);
    EXPECT_EQ(Code([&] { lock.BeginRead(B); }), kOk);  // no writer left
}

TEST(ReadWriteLock, EndReadWithoutAReadLockEndsTheNextHigherId) {
    Lock lock;
    for (DWORD t : {A, C, C, D}) lock.BeginRead(t);
    lock.EndRead(B);
    EXPECT_EQ(lock.ReadCount(C), 1);
    lock.EndRead(0xFFFFFFFF);  // nobody above: nothing ends
    EXPECT_EQ(lock.ReadCount(A) + lock.ReadCount(C) + lock.ReadCount(D), 3);
}

// Each contended call fails with its own code once the time-out has passed,
// and leaves nothing behind that would stop a reader once the holder is gone.
TEST(ReadWriteLock, ContendedCallsTimeOut) {
    const struct {
        bool holderWrites, callWrites;
        DWORD code;
    } cases[] = {{true, false, VOMSG_LOCK_READ_TIMEOUT},
                 {true, true, VOMSG_LOCK_WRITE_TIMEOUT},
                 {false, true, VOMSG_LOCK_WRITE_TIMEOUT}};
    for (const auto& c : cases) {
        Lock lock(40);
        Begin(lock, A, c.holderWrites);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Code([&] { Begin(lock, B, c.callWrites); }), Fails(c.code));
        const auto waited = std::chrono::steady_clock::now() - start;
        EXPECT_TRUE(waited >= 40ms && waited < 1s) << c.holderWrites << c.callWrites;
        EXPECT_EQ(lock.ReadCount(B) + lock.WriteCount(B), 0);
        End(lock, A, c.holderWrites);
        EXPECT_EQ(Code([&] { lock.BeginRead(C); }), kOk);
    }
}

// A waiting writer keeps new readers out and keeps the time-out it started
// with; when the holder ends, by EndRead or by EndWrite, it goes before them.
TEST(ReadWriteLock, WaitingWriterGoesBeforeNewReaders) {
    for (bool holderWrites : {false, true}) {
        SCOPED_TRACE(holderWrites);
        Lock lock;
        Begin(lock, A, holderWrites);
        Async writer = Waiting([&] { lock.BeginWrite(B); });
        lock.SetTimeOut(30);
        EXPECT_EQ(Code([&] { lock.BeginRead(D); }), Fails(VOMSG_LOCK_READ_TIMEOUT));
        lock.SetTimeOut(kLong);
        Async reader = Waiting([&] { lock.BeginRead(C); });
        Begin(lock, A, holderWrites);  // the holder re-enters without waiting
        End(lock, A, holderWrites);
        EXPECT_TRUE(writer.Blocked());
        End(lock, A, holderWrites);
        EXPECT_EQ(writer.Get(), kOk);
        EXPECT_TRUE(reader.Blocked());
        lock.EndWrite(B);
        EXPECT_EQ(reader.Get(), kOk);
    }
}

// An upgrade waits for the other readers and keeps its reads. Another reader
// asking to write meanwhile loses all its reads rather than wait for it. A
// writer timing out meanwhile forgets all waiting writers' own reads, not only
// its share (deliberate), so the last other reader wakes nobody.
TEST(ReadWriteLock, UpgradeWaitsForTheOtherReaders) {
    enum { kReaderEnds, kReaderAsksToWrite, kWriterTimesOut };
    for (int meanwhile : {kReaderEnds, kReaderAsksToWrite, kWriterTimesOut}) {
        SCOPED_TRACE(meanwhile);
        Lock lock(meanwhile == kWriterTimesOut ? 500 : kLong);
        for (DWORD t : {A, C, C}) lock.BeginRead(t);
        Async upgrade = Waiting([&] { lock.BeginWrite(A); });
        lock.SetTimeOut(20);
        if (meanwhile == kReaderAsksToWrite) {
            EXPECT_EQ(Code([&] { lock.BeginWrite(C); }), Fails(VOMSG_LOCK_UPGRADE_CONFLICT));
            EXPECT_EQ(lock.ReadCount(C), 0);
        } else if (meanwhile == kWriterTimesOut) {
            EXPECT_EQ(Code([&] { lock.BeginWrite(B); }), Fails(VOMSG_LOCK_WRITE_TIMEOUT));
        }
        EndAll(lock, {C});
        EXPECT_EQ(upgrade.Get(), meanwhile == kWriterTimesOut ? Fails(VOMSG_LOCK_WRITE_TIMEOUT) : kOk);
        EXPECT_EQ(lock.ReadCount(A), 1);
    }
}

// Deliberate: a wake-up is not checked against the state. A writer that also
// reads wakes the waiting writer with its EndRead, and that one takes over at
// once, inheriting the write count, while the first still writes.
TEST(ReadWriteLock, WokenWriterTakesOverWithoutLookingAgain) {
    Lock lock;
    lock.BeginWrite(A);
    lock.BeginRead(A);
    Async writer = Waiting([&] { lock.BeginWrite(B); });
    lock.EndRead(A);
    EXPECT_EQ(writer.Get(), kOk);
    lock.EndWrite(A);  // no longer the writer: nothing happens
    EXPECT_EQ(lock.WriteCount(B), 2);
}

// Giving up on destruction is tested on the component, whose Release reports it.
TEST(ReadWriteLock, DestructionWaitsForTheHolders) {
    auto* lock = new ostrel::ReadWriteLock;
    lock->SetTimeOut(kLong);
    lock->BeginRead(A);
    Async destroy = Waiting([lock] { delete lock; });
    lock->EndRead(A);
    EXPECT_EQ(destroy.Get(), kOk);
}

}  // namespace
