// The read-write lock hosts share between their threads: many readers or one
// writer. Callers name themselves by a thread id they pass in; both kinds of
// lock are re-entrant per id, a sole reader may take the write lock, waiting
// writers keep new readers out, and every wait is bounded by the time-out.
//
// All state sits behind one critical section; the waits happen on two events
// outside it. Thread id 0 stands for "no writer" and must never be passed.
#pragma once
#include <atomic>
#include <set>

#include <windows.h>

namespace ostrel {

class ReadWriteLock {
public:
    // Throws std::bad_alloc when the events cannot be had.
    ReadWriteLock();
    // Takes the write lock for the destroying thread first (see Retire); when
    // that fails the events and the guard are left open, as someone still
    // holds or waits on them.
    ~ReadWriteLock();
    ReadWriteLock(const ReadWriteLock&) = delete;
    ReadWriteLock& operator=(const ReadWriteLock&) = delete;

    // Milliseconds every wait lasts at most; INFINITE waits without limit.
    void SetTimeOut(DWORD milliseconds) noexcept { timeout_.store(milliseconds, std::memory_order_relaxed); }
    DWORD GetTimeOut() const noexcept { return timeout_.load(std::memory_order_relaxed); }

    // Throws EVoError VOMSG_LOCK_WRITE_TIMEOUT when the wait runs out, and
    // VOMSG_LOCK_UPGRADE_CONFLICT (dropping all of the thread's read locks)
    // when the thread reads while another writer already waits.
    void BeginWrite(DWORD thread);
    // Does nothing for a thread that is not the writer.
    void EndWrite(DWORD thread) noexcept;
    // Throws EVoError VOMSG_LOCK_READ_TIMEOUT when the wait runs out, or the
    // HRESULT E_OUTOFMEMORY; the lock is then unchanged.
    void BeginRead(DWORD thread);
    // Ends one read lock: the thread's own, or, for a thread without one, the
    // one of the next higher thread id.
    void EndRead(DWORD thread) noexcept;

    // The thread's re-entry depth as writer, 0 when it does not write.
    LONG WriteCount(DWORD thread) const noexcept;
    // How many read locks the thread holds.
    LONG ReadCount(DWORD thread) const noexcept;

    // The first half of destruction, for an owner that wants the failure:
    // takes the write lock for the calling thread as BeginWrite does (with
    // the system's id of the thread) and throws BeginWrite's errors. The lock
    // must not be used afterwards; the destructor then only releases.
    void Retire();

private:
    class Guarded;
    bool WriterMayProceed(DWORD thread) const;
    void AddReader(DWORD thread);

    HANDLE writerMayGo_ = nullptr;   // auto-reset: wakes one waiting writer
    HANDLE readersMayGo_ = nullptr;  // manual-reset: open while no writer holds or waits
    mutable CRITICAL_SECTION guard_;
    LONG pendingWriters_ = 0;        // threads blocked in BeginWrite
    LONG writeCount_ = 0;            // the writer's re-entry depth
    DWORD writersOwnReads_ = 0;      // read entries of threads now waiting to write
    DWORD writerThread_ = 0;         // 0: no writer
    std::multiset<DWORD> readers_;   // one entry per read lock held, by unsigned id
    // Read and written without the guard, so the time-out can be changed while
    // threads wait; a wait already begun keeps the bound it started with.
    std::atomic<DWORD> timeout_{10000};
    enum class Retirement { None, Held, Failed } retirement_ = Retirement::None;
};

}  // namespace ostrel
