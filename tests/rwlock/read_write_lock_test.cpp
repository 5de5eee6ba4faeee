// The lock's rules, on one thread and between threads. Callers are named by
// made-up ids above any real thread id; the lock never asks who calls.
#include "rwlock/read_write_lock.h"

#include <chrono>
#include <future>

#include "foundation/message_numbers.h"
#include "foundation/vo_error.h"
#include "test_support.h"

namespace {

using namespace std::chrono_literals;
constexpr DWORD A = 0x10000001, B = 0x10000002, C = 0x10000003, D = 0x10000004;
constexpr DWORD kLong = 5000;  // a wait that must not run out; a broken lock fails rather than hangs

// Ends whatever the test's callers still hold, so destruction need not wait.
struct Lock : ostrel::ReadWriteLock {
    ~Lock() {
        for (DWORD t : {A, B, C, D}) {
            while (WriteCount(t)) EndWrite(t);
            while (ReadCount(t)) EndRead(t);
        }
    }
};

// The code a call fails with, S_OK when it succeeds.
template <class Call>
std::string Code(Call call) {
    try {
        call();
        return test::Hex(S_OK);
    } catch (const ostrel::EVoError& e) {
        return test::Hex(HRESULT(e.Code));
    }
}
std::string Fails(DWORD number) { return test::Hex(HRESULT(number)); }

// A call running on its own thread; Blocked() while it waits.
struct Async {
    std::future<std::string> result;
    template <class Call>
    explicit Async(Call call) : result(std::async(std::launch::async, [call] { return Code(call); })) {}
    bool Blocked() { return result.wait_for(50ms) == std::future_status::timeout; }
    std::string Get() { return result.get(); }
};

TEST(ReadWriteLock, OneThreadReentersUpgradesAndReadsWhileWriting) {
    Lock lock;
    lock.BeginRead(A);
    lock.BeginRead(A);
    lock.BeginWrite(A);  // the sole reader upgrades at once
    lock.BeginWrite(A);
    lock.BeginRead(A);   // and the writer reads
    EXPECT_EQ(lock.ReadCount(A), 3);
    EXPECT_EQ(lock.WriteCount(A), 2);
    lock.EndWrite(B);    // not the writer: nothing happens
    lock.EndWrite(A);
    EXPECT_EQ(lock.WriteCount(A), 1);
    lock.EndWrite(A);
    EXPECT_EQ(lock.WriteCount(A), 0);
    EXPECT_EQ(lock.ReadCount(A), 3);
    lock.BeginRead(B);  // no writer left, so others read again
    EXPECT_EQ(lock.ReadCount(B), 1);
}

TEST(ReadWriteLock, EndReadWithoutAReadLockEndsTheNextHigherId) {
    Lock lock;
    for (DWORD t : {A, C, C, D}) lock.BeginRead(t);
    lock.EndRead(B);
    EXPECT_EQ(lock.ReadCount(B), 0);
    EXPECT_EQ(lock.ReadCount(C), 1) << "one of C's two entries ended";
    lock.EndRead(0xFFFFFFFF);  // nobody above: nothing ends
    EXPECT_EQ(lock.ReadCount(A) + lock.ReadCount(C) + lock.ReadCount(D), 3);
}

// Each contended call fails with its own code once the time-out has passed,
// and leaves nothing behind that would stop a reader once the holder is gone.
TEST(ReadWriteLock, ContendedCallsTimeOut) {
    struct Case {
        const char* name;
        void (*hold)(Lock&);
        void (*call)(Lock&);
        DWORD code;
    };
    const Case cases[] = {
        {"read while written", [](Lock& l) { l.BeginWrite(A); }, [](Lock& l) { l.BeginRead(B); }, VOMSG_LOCK_READ_TIMEOUT},
        {"write while written", [](Lock& l) { l.BeginWrite(A); }, [](Lock& l) { l.BeginWrite(B); }, VOMSG_LOCK_WRITE_TIMEOUT},
        {"write while read", [](Lock& l) { l.BeginRead(A); }, [](Lock& l) { l.BeginWrite(B); }, VOMSG_LOCK_WRITE_TIMEOUT},
    };
    for (DWORD timeout : {0u, 40u}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(c.name) + ", time-out " + std::to_string(timeout));
            Lock lock;
            lock.SetTimeOut(timeout);
            c.hold(lock);
            auto start = std::chrono::steady_clock::now();
            EXPECT_EQ(Code([&] { c.call(lock); }), Fails(c.code));
            auto waited = std::chrono::steady_clock::now() - start;
            EXPECT_GE(waited, std::chrono::milliseconds(timeout));
            EXPECT_LT(waited, std::chrono::milliseconds(timeout) + 1s);
            EXPECT_EQ(lock.ReadCount(B) + lock.WriteCount(B), 0);
            lock.EndWrite(A);  // whichever A held, it ends; then the gate is open again
            lock.EndRead(A);
            EXPECT_EQ(Code([&] { lock.BeginRead(C); }), test::Hex(S_OK));
        }
    }
}

TEST(ReadWriteLock, WaitingWriterKeepsNewReadersOutAndGoesWhenReadsEnd) {
    Lock lock;
    lock.SetTimeOut(kLong);
    lock.BeginRead(A);
    Async writer([&] { lock.BeginWrite(B); });
    ASSERT_TRUE(writer.Blocked());
    lock.SetTimeOut(30);  // the writer keeps the bound it started with
    EXPECT_EQ(Code([&] { lock.BeginRead(C); }), Fails(VOMSG_LOCK_READ_TIMEOUT));
    lock.BeginRead(A);  // a reader re-enters without waiting
    lock.EndRead(A);
    EXPECT_TRUE(writer.Blocked());
    lock.EndRead(A);
    EXPECT_EQ(writer.Get(), test::Hex(S_OK));
    EXPECT_EQ(lock.WriteCount(B), 1);
}

TEST(ReadWriteLock, ReaderAskingToWriteBehindAWaitingWriterLosesItsReads) {
    Lock lock;
    lock.SetTimeOut(kLong);
    lock.BeginRead(A);
    lock.BeginRead(A);
    Async writer([&] { lock.BeginWrite(B); });
    ASSERT_TRUE(writer.Blocked());
    EXPECT_EQ(Code([&] { lock.BeginWrite(A); }), Fails(VOMSG_LOCK_UPGRADE_CONFLICT));
    EXPECT_EQ(lock.ReadCount(A), 0);
    EXPECT_EQ(writer.Get(), test::Hex(S_OK)) << "A's lost reads were all that held B back";
}

TEST(ReadWriteLock, UpgradeWaitsForTheOtherReadersAndKeepsItsReads) {
    Lock lock;
    lock.SetTimeOut(kLong);
    lock.BeginRead(A);
    lock.BeginRead(C);
    Async upgrade([&] { lock.BeginWrite(A); });
    ASSERT_TRUE(upgrade.Blocked());
    lock.EndRead(C);
    EXPECT_EQ(upgrade.Get(), test::Hex(S_OK));
    EXPECT_EQ(lock.ReadCount(A), 1);
    EXPECT_EQ(lock.WriteCount(A), 1);
}

TEST(ReadWriteLock, EndingWriterHandsOverToAWaitingWriterBeforeReaders) {
    Lock lock;
    lock.SetTimeOut(kLong);
    lock.BeginWrite(A);
    Async writer([&] { lock.BeginWrite(B); });
    ASSERT_TRUE(writer.Blocked());
    Async reader([&] { lock.BeginRead(C); });
    ASSERT_TRUE(reader.Blocked());
    lock.EndWrite(A);
    EXPECT_EQ(writer.Get(), test::Hex(S_OK));
    EXPECT_TRUE(reader.Blocked());
    lock.EndWrite(B);
    EXPECT_EQ(reader.Get(), test::Hex(S_OK));
}

// A wake-up is not checked against the state: a writer that also reads wakes
// the waiting writer with its EndRead, and that one takes over at once,
// sharing the write count, while the first still writes. Deliberate.
TEST(ReadWriteLock, WokenWriterTakesOverWithoutLookingAgain) {
    Lock lock;
    lock.SetTimeOut(kLong);
    lock.BeginWrite(A);
    lock.BeginRead(A);
    Async writer([&] { lock.BeginWrite(B); });
    ASSERT_TRUE(writer.Blocked());
    lock.EndRead(A);
    EXPECT_EQ(writer.Get(), test::Hex(S_OK));
    EXPECT_EQ(lock.WriteCount(B), 2);
    EXPECT_EQ(lock.WriteCount(A), 0);
    lock.EndWrite(A);  // no longer the writer: nothing happens
    EXPECT_EQ(lock.WriteCount(B), 2);
}

TEST(ReadWriteLock, DestructionWaitsForTheHoldersOrGivesUpAfterTheTimeOut) {
    for (bool holderEnds : {true, false}) {
        SCOPED_TRACE(holderEnds ? "holder ends" : "holder never ends");
        auto* lock = new ostrel::ReadWriteLock;
        lock->SetTimeOut(holderEnds ? kLong : 30);
        lock->BeginRead(A);
        Async destroy([lock] { delete lock; });
        if (holderEnds) {
            ASSERT_TRUE(destroy.Blocked());
            lock->EndRead(A);
        }
        EXPECT_EQ(destroy.Get(), test::Hex(S_OK));
    }
}

}  // namespace
