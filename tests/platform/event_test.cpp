// Events, waits and handles: reset behaviour, time-outs, waiters on other
// threads, and handles that are closed, stale or made up.
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "system_test_support.h"

namespace {

struct Event {  // closed when the test ends
    HANDLE h;
    Event(BOOL manual, BOOL initial) : h(CreateEventA(nullptr, manual, initial, nullptr)) {}
    ~Event() { CloseHandle(h); }
};

std::string Wait(HANDLE h, DWORD ms) { return test::Hex(HRESULT(WaitForSingleObject(h, ms))); }
const std::string kSignaled = test::Hex(WAIT_OBJECT_0), kTimeout = test::Hex(WAIT_TIMEOUT);

// How many of three threads waiting on a new event one SetEvent releases.
int Released(BOOL manual) {
    Event e(manual, FALSE);
    std::atomic<int> released{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i) waiters.emplace_back([&] { released += WaitForSingleObject(e.h, 400) == WAIT_OBJECT_0; });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    SetEvent(e.h);
    for (auto& t : waiters) t.join();
    return released;
}

TEST(Event, ManualAndAutoReset) {
    SetLastError(ERROR_INVALID_DATA);
    Event manual(TRUE, TRUE), automatic(FALSE, TRUE);
    EXPECT_LAST_ERROR(ERROR_SUCCESS);  // a new event clears the last error
    EXPECT_EQ(Wait(manual.h, 0), kSignaled);
    EXPECT_EQ(Wait(manual.h, 0), kSignaled);
    EXPECT_TRUE(ResetEvent(manual.h));
    EXPECT_EQ(Wait(manual.h, 0), kTimeout);

    EXPECT_EQ(Wait(automatic.h, 0), kSignaled);
    EXPECT_EQ(Wait(automatic.h, 0), kTimeout);
    EXPECT_TRUE(SetEvent(automatic.h));
    EXPECT_TRUE(SetEvent(automatic.h));  // already signalled: no second release
    EXPECT_EQ(Wait(automatic.h, INFINITE), kSignaled);
    EXPECT_EQ(Wait(automatic.h, 0), kTimeout);

    EXPECT_EQ(Released(TRUE), 3);
    EXPECT_EQ(Released(FALSE), 1);
}

TEST(Event, TimedWaitsLastTheirTime) {
    Event e(FALSE, FALSE);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Wait(e.h, 60), kTimeout);
    auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(60));
    EXPECT_LT(waited, std::chrono::seconds(2));
}

TEST(Event, BadHandlesFailWithInvalidHandle) {
    HANDLE closed = CreateEventA(nullptr, TRUE, TRUE, nullptr);
    ASSERT_TRUE(CloseHandle(closed));
    Event reused(TRUE, FALSE);  // most likely in the closed one's slot
    for (HANDLE h : {HANDLE(nullptr), closed, HANDLE(0x1234), HANDLE(0x1235), HANDLE(~uintptr_t(0) - 7)}) {
        SCOPED_TRACE(test::Hex(HRESULT(reinterpret_cast<uintptr_t>(h))));
        // The platform hands a closed handle's value to the next object, so
        // a stale handle only fails where the value was not reused.
        if (h == closed && closed == reused.h) continue;
        SetLastError(0);
        EXPECT_EQ(Wait(h, 0), test::Hex(WAIT_FAILED));
        EXPECT_LAST_ERROR(ERROR_INVALID_HANDLE);
        SetLastError(0);
        EXPECT_FALSE(SetEvent(h) || ResetEvent(h));
        EXPECT_LAST_ERROR(ERROR_INVALID_HANDLE);
        SetLastError(0);
        EXPECT_FALSE(CloseHandle(h));
        EXPECT_LAST_ERROR(ERROR_INVALID_HANDLE);
    }
    EXPECT_EQ(Wait(reused.h, 0), kTimeout);  // untouched by the stale handle
    for (uintptr_t pseudo = 0; pseudo < 6; ++pseudo) {  // the process's, the thread's and the tokens' pseudo-handles
        EXPECT_TRUE(CloseHandle(HANDLE(~pseudo))) << pseudo;
    }

    // Closing a handle while another thread waits on it leaves that wait intact.
    HANDLE h = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::thread waiter([h] { EXPECT_EQ(Wait(h, 100), kTimeout); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(CloseHandle(h));
    waiter.join();
}

}  // namespace
