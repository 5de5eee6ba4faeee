// Events, waits and handles: reset behaviour, time-outs, waking waiters on
// other threads, and handles that are closed, stale or made up.
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "system_test_support.h"

namespace {

using Clock = std::chrono::steady_clock;

// An event closed when the test ends.
struct Event {
    HANDLE h;
    Event(BOOL manual, BOOL initial) : h(CreateEventA(nullptr, manual, initial, nullptr)) {}
    ~Event() { CloseHandle(h); }
};

std::string Wait(DWORD result) { return test::Hex(HRESULT(result)); }
const std::string kSignaled = Wait(WAIT_OBJECT_0), kTimeout = Wait(WAIT_TIMEOUT), kFailed = Wait(WAIT_FAILED);

TEST(Event, ManualResetStaysSignalledUntilReset) {
    SetLastError(ERROR_INVALID_DATA);
    Event e(TRUE, TRUE);
    ASSERT_NE(e.h, nullptr);
    EXPECT_LAST_ERROR(ERROR_SUCCESS);  // a new event clears the last error
    EXPECT_EQ(Wait(WaitForSingleObject(e.h, 0)), kSignaled);
    EXPECT_EQ(Wait(WaitForSingleObject(e.h, 0)), kSignaled);
    EXPECT_TRUE(ResetEvent(e.h));
    EXPECT_EQ(Wait(WaitForSingleObject(e.h, 0)), kTimeout);
    EXPECT_TRUE(SetEvent(e.h));
    EXPECT_EQ(Wait(WaitForSingleObject(e.h, INFINITE)), kSignaled);
}

TEST(Event, AutoResetReleasesOneWaitAndResetsItself) {
    Event e(FALSE, TRUE);
    EXPECT_EQ(Wait(WaitForSingleObject(e.h, 0)), kSignaled);
    EXPECT_EQ(Wait(WaitForSingleObject(e.h, 0)), kTimeout);
    EXPECT_TRUE(SetEvent(e.h));
    EXPECT_TRUE(SetEvent(e.h));  // setting a signalled event changes nothing
    EXPECT_EQ(Wait(WaitForSingleObject(e.h, 0)), kSignaled);
    EXPECT_EQ(Wait(WaitForSingleObject(e.h, 0)), kTimeout);
}

TEST(Event, TimedWaitLastsItsTime) {
    Event e(TRUE, FALSE);
    auto start = Clock::now();
    EXPECT_EQ(Wait(WaitForSingleObject(e.h, 60)), kTimeout);
    auto waited = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    EXPECT_GE(waited, 60);
    EXPECT_LT(waited, 2000);
}

TEST(Event, SetOnAnotherThreadWakesTheWaiter) {
    Event e(FALSE, FALSE);
    std::thread setter([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        SetEvent(e.h);
    });
    EXPECT_EQ(Wait(WaitForSingleObject(e.h, 5000)), kSignaled);
    setter.join();
}

TEST(Event, AutoResetWakesExactlyOneOfSeveralWaiters) {
    Event e(FALSE, FALSE);
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i) {
        waiters.emplace_back([&] {
            if (WaitForSingleObject(e.h, 500) == WAIT_OBJECT_0) ++woken;
        });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    SetEvent(e.h);
    for (auto& t : waiters) t.join();
    EXPECT_EQ(woken.load(), 1);
}

TEST(Event, ManualResetWakesEveryWaiter) {
    Event e(TRUE, FALSE);
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i) {
        waiters.emplace_back([&] {
            if (WaitForSingleObject(e.h, 5000) == WAIT_OBJECT_0) ++woken;
        });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    SetEvent(e.h);
    for (auto& t : waiters) t.join();
    EXPECT_EQ(woken.load(), 3);
}

TEST(Event, BadHandlesFailWithInvalidHandle) {
    HANDLE closed = CreateEventA(nullptr, TRUE, TRUE, nullptr);
    ASSERT_TRUE(CloseHandle(closed));
    const HANDLE bad[] = {nullptr, closed, reinterpret_cast<HANDLE>(0x1234), reinterpret_cast<HANDLE>(0x1235),
                          reinterpret_cast<HANDLE>(~uintptr_t(0) - 3)};
    for (HANDLE h : bad) {
        SCOPED_TRACE(test::Hex(HRESULT(reinterpret_cast<uintptr_t>(h))));
        SetLastError(0);
        EXPECT_EQ(Wait(WaitForSingleObject(h, 0)), kFailed);
        EXPECT_LAST_ERROR(ERROR_INVALID_HANDLE);
        SetLastError(0);
        EXPECT_FALSE(SetEvent(h));
        EXPECT_LAST_ERROR(ERROR_INVALID_HANDLE);
        SetLastError(0);
        EXPECT_FALSE(ResetEvent(h));
        EXPECT_LAST_ERROR(ERROR_INVALID_HANDLE);
        SetLastError(0);
        EXPECT_FALSE(CloseHandle(h));
        EXPECT_LAST_ERROR(ERROR_INVALID_HANDLE);
    }
    // The current process's pseudo-handle closes without effect.
    EXPECT_TRUE(CloseHandle(INVALID_HANDLE_VALUE));
}

TEST(Event, StaleHandleNeverReachesTheEventThatReusedItsSlot) {
    HANDLE first = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    ASSERT_TRUE(CloseHandle(first));
    Event second(TRUE, FALSE);
    EXPECT_FALSE(SetEvent(first));
    EXPECT_FALSE(CloseHandle(first));
    EXPECT_EQ(Wait(WaitForSingleObject(second.h, 0)), kTimeout);  // untouched and still open
}

TEST(Event, ClosingWhileAnotherThreadWaitsLeavesTheWaitIntact) {
    HANDLE h = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::thread waiter([h] { EXPECT_EQ(Wait(WaitForSingleObject(h, 100)), kTimeout); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(CloseHandle(h));
    waiter.join();
}

}  // namespace
