#ifndef _WIN32
// Event objects: manual-reset events stay signalled until reset and release
// every waiter; auto-reset events release one waiter and reset themselves.
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>

#include "handle_table.h"

namespace {

using ostrel::platform::KernelObject;

class Event final : public KernelObject {
public:
    Event(bool manualReset, bool signaled) : manualReset_(manualReset), signaled_(signaled) {}

    void Set() {
        std::lock_guard<std::mutex> lock(mutex_);
        signaled_ = true;
        if (manualReset_) changed_.notify_all();
        else changed_.notify_one();
    }

    void Reset() {
        std::lock_guard<std::mutex> lock(mutex_);
        signaled_ = false;
    }

    DWORD Wait(DWORD milliseconds) override {
        std::unique_lock<std::mutex> lock(mutex_);
        auto signaled = [this] { return signaled_; };
        if (milliseconds == INFINITE) {
            changed_.wait(lock, signaled);
        } else if (!changed_.wait_for(lock, std::chrono::milliseconds(milliseconds), signaled)) {
            return WAIT_TIMEOUT;
        }
        // The waiter that sees an auto-reset event signalled is the one it
        // releases; the others keep waiting.
        if (!manualReset_) signaled_ = false;
        return WAIT_OBJECT_0;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    const bool manualReset_;
    bool signaled_;
};

}  // namespace

// Names are not supported: every call makes a new, unnamed event. Nothing in
// the system shares events between processes, and within one process the
// handle itself is what gets shared.
HANDLE WINAPI CreateEventA(LPSECURITY_ATTRIBUTES, BOOL bManualReset, BOOL bInitialState, LPCSTR) {
    std::shared_ptr<Event> event;
    try {
        event = std::make_shared<Event>(bManualReset != FALSE, bInitialState != FALSE);
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    HANDLE handle = ostrel::platform::OpenHandle(std::move(event));
    // The platform clears the last error when it creates a new event.
    if (handle) SetLastError(ERROR_SUCCESS);
    return handle;
}

BOOL WINAPI SetEvent(HANDLE hEvent) {
    std::shared_ptr<Event> event = ostrel::platform::ObjectOf<Event>(hEvent);
    if (!event) return FALSE;
    event->Set();
    return TRUE;
}

BOOL WINAPI ResetEvent(HANDLE hEvent) {
    std::shared_ptr<Event> event = ostrel::platform::ObjectOf<Event>(hEvent);
    if (!event) return FALSE;
    event->Reset();
    return TRUE;
}

#endif
