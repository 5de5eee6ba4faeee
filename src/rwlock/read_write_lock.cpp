#include "rwlock/read_write_lock.h"

#include <new>

#include "foundation/hresult.h"
#include "foundation/message_numbers.h"
#include "foundation/vo_error.h"

namespace ostrel {

class ReadWriteLock::Guarded {
public:
    explicit Guarded(CRITICAL_SECTION& guard) : guard_(guard) { EnterCriticalSection(&guard_); }
    ~Guarded() { LeaveCriticalSection(&guard_); }
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;

private:
    CRITICAL_SECTION& guard_;
};

ReadWriteLock::ReadWriteLock() {
    writerMayGo_ = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    readersMayGo_ = CreateEventA(nullptr, TRUE, TRUE, nullptr);
    if (!writerMayGo_ || !readersMayGo_) {
        // Only exhaustion makes an event fail; callers see it as memory.
        if (writerMayGo_) CloseHandle(writerMayGo_);
        if (readersMayGo_) CloseHandle(readersMayGo_);
        throw std::bad_alloc();
    }
    InitializeCriticalSection(&guard_);
}

ReadWriteLock::~ReadWriteLock() {
    if (retirement_ == Retirement::None) {
        try {
            Retire();
        } catch (...) {
            // Nobody to tell: an owner that wants the failure calls Retire itself.
        }
    }
    // Deliberately nothing is released when the write lock could not be had:
    // another thread still holds the lock or waits on its events.
    if (retirement_ != Retirement::Held) return;
    CloseHandle(writerMayGo_);
    CloseHandle(readersMayGo_);
    DeleteCriticalSection(&guard_);
}

void ReadWriteLock::Retire() {
    try {
        BeginWrite(GetCurrentThreadId());
    } catch (...) {
        retirement_ = Retirement::Failed;
        throw;
    }
    retirement_ = Retirement::Held;
}

bool ReadWriteLock::WriterMayProceed(DWORD thread) const {
    return writerThread_ == 0 && readers_.count(thread) == readers_.size();
}

void ReadWriteLock::AddReader(DWORD thread) {
    try {
        readers_.insert(thread);
    } catch (const std::bad_alloc&) {
        throw HRESULT(E_OUTOFMEMORY);
    }
}

// Errors are built after leaving the guard: loading a message text is slow
// and must not hold up the other threads.
void ReadWriteLock::BeginWrite(DWORD thread) {
    bool lostReads = false;
    {
        Guarded held(guard_);
        // From here new readers of other threads wait, whatever happens next.
        ResetEvent(readersMayGo_);
        if (writerThread_ == thread) {
            ++writeCount_;
            return;
        }
        const size_t own = readers_.count(thread);
        if (pendingWriters_ == 0 && WriterMayProceed(thread)) {
            // Also the upgrade of a sole reader.
            writerThread_ = thread;
            ++writeCount_;
            return;
        }
        if (pendingWriters_ != 0 && own > 0) {
            // Two readers both waiting to write would wait for each other, so
            // the later one gives up its read locks instead.
            readers_.erase(thread);
            if (readers_.size() == writersOwnReads_) SetEvent(writerMayGo_);
            lostReads = true;
        } else {
            ++pendingWriters_;
            writersOwnReads_ += DWORD(own);
        }
    }
    if (lostReads) throw EVoError(VOMSG_LOCK_UPGRADE_CONFLICT);

    const DWORD result = WaitForSingleObject(writerMayGo_, GetTimeOut());
    {
        Guarded held(guard_);
        // Any wake-up but a time-out grants the lock, and the state is not
        // checked again: a reader that came through the open gate, or a
        // writer still inside, is not waited for. Deliberate; hosts pair
        // their calls so that a wake-up means the way is clear.
        if (result != WAIT_TIMEOUT) {
            writerThread_ = thread;
            ++writeCount_;
            --pendingWriters_;
            return;
        }
        // Deliberately all of it, not only this thread's share.
        writersOwnReads_ = 0;
        if (--pendingWriters_ == 0 && writerThread_ == 0) SetEvent(readersMayGo_);
    }
    throw EVoError(VOMSG_LOCK_WRITE_TIMEOUT);
}

void ReadWriteLock::EndWrite(DWORD thread) noexcept {
    Guarded held(guard_);
    if (writerThread_ != thread) return;
    if (writeCount_ > 0) --writeCount_;
    if (writeCount_ != 0) return;
    writerThread_ = 0;
    writersOwnReads_ = 0;
    if (pendingWriters_ == 0) {
        SetEvent(readersMayGo_);
    } else if (!readers_.contains(thread)) {
        // Waiting writers go before new readers; while the ending writer
        // still reads, its last EndRead wakes the next writer instead.
        SetEvent(writerMayGo_);
    }
}

void ReadWriteLock::BeginRead(DWORD thread) {
    {
        Guarded held(guard_);
        // A writer may read, and a reader re-enters even while a writer waits.
        if (writerThread_ == thread || readers_.contains(thread)) {
            AddReader(thread);
            return;
        }
    }
    // As for writers, a wake-up is not checked against the state.
    if (WaitForSingleObject(readersMayGo_, GetTimeOut()) == WAIT_TIMEOUT) throw EVoError(VOMSG_LOCK_READ_TIMEOUT);
    Guarded held(guard_);
    AddReader(thread);
}

void ReadWriteLock::EndRead(DWORD thread) noexcept {
    Guarded held(guard_);
    // Deliberately the first entry not below the caller's id, even when it is
    // another thread's: a thread without a read lock ends the next higher one.
    auto entry = readers_.lower_bound(thread);
    if (entry == readers_.end()) return;
    readers_.erase(entry);
    // Only waiting writers' own reads left: one of them may go.
    if (readers_.size() == writersOwnReads_ && pendingWriters_ != 0) SetEvent(writerMayGo_);
}

LONG ReadWriteLock::WriteCount(DWORD thread) const noexcept {
    Guarded held(guard_);
    return writerThread_ == thread ? writeCount_ : 0;
}

LONG ReadWriteLock::ReadCount(DWORD thread) const noexcept {
    Guarded held(guard_);
    return LONG(readers_.count(thread));
}

}  // namespace ostrel
