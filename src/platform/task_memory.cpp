#ifndef _WIN32
// Memory that crosses module boundaries: the task allocator (CoTaskMem*) and
// the local heap (LocalAlloc/LocalFree, which FormatMessageA allocates from).
// Both are the C heap, so any module can free what another allocated.
#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <new>
#include <unordered_set>

LPVOID WINAPI CoTaskMemAlloc(SIZE_T cb) {
    // A zero-byte request still gets a distinct pointer, as on the platform.
    return std::malloc(cb ? cb : 1);
}

LPVOID WINAPI CoTaskMemRealloc(LPVOID pv, SIZE_T cb) {
    if (!pv) return CoTaskMemAlloc(cb);
    if (cb == 0) {
        // The platform frees the block and answers null.
        std::free(pv);
        return nullptr;
    }
    return std::realloc(pv, cb);
}

void WINAPI CoTaskMemFree(LPVOID pv) { std::free(pv); }

namespace {

// The blocks LocalAlloc handed out and LocalFree has not yet taken back, so
// that freeing one twice, or freeing a pointer that never came from here,
// fails with ERROR_INVALID_HANDLE as on the platform instead of corrupting
// the heap. Addresses are kept inverted: a leak checker must not mistake
// this bookkeeping for a reference that keeps a forgotten block alive.
class LocalBlocks {
public:
    bool Add(void* block) {
        std::lock_guard<std::mutex> lock(mutex_);
        try {
            blocks_.insert(Key(block));
            return true;
        } catch (const std::bad_alloc&) {
            return false;
        }
    }
    bool Remove(void* block) {
        std::lock_guard<std::mutex> lock(mutex_);
        return blocks_.erase(Key(block)) == 1;
    }

private:
    static uintptr_t Key(void* block) { return ~reinterpret_cast<uintptr_t>(block); }

    std::mutex mutex_;
    std::unordered_set<uintptr_t> blocks_;
};

// Never destroyed: buffers may be freed while the process exits.
LocalBlocks& Blocks() {
    static LocalBlocks* blocks = new LocalBlocks;
    return *blocks;
}

}  // namespace

HLOCAL WINAPI LocalAlloc(UINT uFlags, SIZE_T uBytes) {
    // A movable block is asked for as on the platform, but our blocks never
    // move: its handle is the block itself, and freeing takes either kind.
    if (uFlags & ~UINT(LMEM_FIXED | LMEM_MOVEABLE | LMEM_ZEROINIT)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const SIZE_T size = uBytes ? uBytes : 1;
    void* block = (uFlags & LMEM_ZEROINIT) ? std::calloc(1, size) : std::malloc(size);
    if (block && !Blocks().Add(block)) {
        std::free(block);
        block = nullptr;
    }
    if (!block) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return block;
}

HLOCAL WINAPI LocalFree(HLOCAL hMem) {
    if (!hMem) return nullptr;
    if (!Blocks().Remove(hMem)) {
        SetLastError(ERROR_INVALID_HANDLE);
        return hMem;
    }
    std::free(hMem);
    return nullptr;
}

#endif
