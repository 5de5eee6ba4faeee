// Critical sections, interlocked counters, thread ids and ticks.
#include <atomic>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "system_test_support.h"

namespace {

void OnThreads(int count, const std::function<void()>& body) {
    std::vector<std::thread> threads;
    for (int t = 0; t < count; ++t) threads.emplace_back(body);
    for (auto& t : threads) t.join();
}

TEST(CriticalSection, IsRecursiveAndExcludesOtherThreads) {
    CRITICAL_SECTION cs;
    InitializeCriticalSection(&cs);
    auto otherEnters = [&] {
        BOOL entered = FALSE;
        std::thread([&] {
            if ((entered = TryEnterCriticalSection(&cs))) LeaveCriticalSection(&cs);
        }).join();
        return entered;
    };
    EnterCriticalSection(&cs);
    EXPECT_TRUE(TryEnterCriticalSection(&cs));  // the owner enters again
    LeaveCriticalSection(&cs);
    EXPECT_FALSE(otherEnters()) << "still held once";
    LeaveCriticalSection(&cs);
    EXPECT_TRUE(otherEnters());

    long counter = 0;
    OnThreads(4, [&] {
        for (int i = 0; i < 20000; ++i) {
            EnterCriticalSection(&cs);
            ++counter;
            LeaveCriticalSection(&cs);
        }
    });
    EXPECT_EQ(counter, 80000);
    DeleteCriticalSection(&cs);
}

TEST(Interlocked, ReturnValuesAndContention) {
    LONG volatile value = 5;
    EXPECT_EQ(InterlockedIncrement(&value), 6);
    EXPECT_EQ(InterlockedDecrement(&value), 5);
    EXPECT_EQ(InterlockedExchange(&value, 9), 5);
    EXPECT_EQ(InterlockedCompareExchange(&value, 1, 4), 9);  // no match: unchanged
    EXPECT_EQ(InterlockedCompareExchange(&value, 1, 9), 9);
    EXPECT_EQ(value, 1);
    LONG volatile shared = 0;
    OnThreads(4, [&] {
        for (int i = 0; i < 20000; ++i) InterlockedIncrement(&shared);
    });
    EXPECT_EQ(shared, 80000);
}

TEST(Thread, IdsAreNonzeroAndDistinctAmongLiveThreadsAndTicksAdvance) {
    std::vector<DWORD> ids = {GetCurrentThreadId()};
    std::mutex idsMutex;
    std::atomic<int> started{0};
    OnThreads(3, [&] {
        {
            std::lock_guard<std::mutex> lock(idsMutex);
            ids.push_back(GetCurrentThreadId());
        }
        for (++started; started < 3;) std::this_thread::yield();  // all alive at once
    });
    for (size_t i = 0; i < ids.size(); ++i) {
        EXPECT_NE(ids[i], 0u);
        for (size_t j = i + 1; j < ids.size(); ++j) EXPECT_NE(ids[i], ids[j]);
    }
    const DWORD before = GetTickCount();
    Sleep(50);
    // The tick count moves in steps of the system timer, up to 16 ms on the
    // platform, so a 50 ms sleep may read as one step less.
    EXPECT_GE(GetTickCount() - before, 50u - 16u);  // unsigned: right across a wrap too
}

}  // namespace
