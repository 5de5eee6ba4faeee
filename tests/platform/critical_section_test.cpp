// Critical sections and interlocked counters under contention.
#include <atomic>
#include <thread>
#include <vector>

#include "system_test_support.h"

namespace {

TEST(CriticalSection, IsRecursiveAndExcludesOtherThreads) {
    CRITICAL_SECTION cs;
    InitializeCriticalSection(&cs);
    EnterCriticalSection(&cs);
    EXPECT_TRUE(TryEnterCriticalSection(&cs));  // the owner enters again
    BOOL otherEntered = TRUE;
    std::thread([&] { otherEntered = TryEnterCriticalSection(&cs); }).join();
    EXPECT_FALSE(otherEntered);

    LeaveCriticalSection(&cs);
    std::thread([&] { otherEntered = TryEnterCriticalSection(&cs); }).join();
    EXPECT_FALSE(otherEntered) << "still held once";

    LeaveCriticalSection(&cs);
    std::thread([&] {
        otherEntered = TryEnterCriticalSection(&cs);
        if (otherEntered) LeaveCriticalSection(&cs);
    }).join();
    EXPECT_TRUE(otherEntered);
    DeleteCriticalSection(&cs);
}

TEST(CriticalSection, GuardsAPlainCounter) {
    CRITICAL_SECTION cs;
    InitializeCriticalSection(&cs);
    long counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 20000; ++i) {
                EnterCriticalSection(&cs);
                ++counter;
                LeaveCriticalSection(&cs);
            }
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(counter, 80000);
    DeleteCriticalSection(&cs);
}

TEST(Interlocked, ReturnValuesAndContention) {
    LONG volatile value = 5;
    EXPECT_EQ(InterlockedIncrement(&value), 6);
    EXPECT_EQ(InterlockedDecrement(&value), 5);
    EXPECT_EQ(InterlockedExchange(&value, 9), 5);
    EXPECT_EQ(InterlockedCompareExchange(&value, 1, 4), 9);  // no match: unchanged
    EXPECT_EQ(value, 9);
    EXPECT_EQ(InterlockedCompareExchange(&value, 1, 9), 9);
    EXPECT_EQ(value, 1);

    LONG volatile shared = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 20000; ++i) {
                InterlockedIncrement(&shared);
                InterlockedDecrement(&shared);
                InterlockedIncrement(&shared);
            }
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(shared, 80000);
}

TEST(Thread, IdsAreNonzeroAndDistinctAmongLiveThreads) {
    const DWORD main = GetCurrentThreadId();
    EXPECT_NE(main, 0u);
    EXPECT_EQ(GetCurrentThreadId(), main);
    std::atomic<DWORD> ids[3] = {};
    std::atomic<int> started{0};
    std::vector<std::thread> threads;
    for (auto& id : ids) {
        threads.emplace_back([&] {
            id = GetCurrentThreadId();
            ++started;
            while (started < 3) std::this_thread::yield();  // all alive at once
        });
    }
    for (auto& t : threads) t.join();
    for (int i = 0; i < 3; ++i) {
        EXPECT_NE(ids[i].load(), 0u);
        EXPECT_NE(ids[i].load(), main);
        for (int j = i + 1; j < 3; ++j) EXPECT_NE(ids[i].load(), ids[j].load());
    }
}

TEST(Thread, SleepAndTickCount) {
    const DWORD before = GetTickCount();
    Sleep(50);
    const DWORD elapsed = GetTickCount() - before;  // unsigned: right across a wrap too
    EXPECT_GE(elapsed, 45u);
    EXPECT_LT(elapsed, 2000u);
    Sleep(0);
}

}  // namespace
