#ifndef _WIN32
// The handle table, and the functions that work on any handle.
#include "handle_table.h"

#include <cstdint>
#include <mutex>
#include <new>
#include <vector>

namespace ostrel::platform {
namespace {

// A handle value is (generation, slot + 1) shifted left by two, so it is a
// nonzero multiple of four like the platform's handles, and it fits in 32
// bits, which the platform promises so that handles survive being passed
// through 32-bit fields.
constexpr unsigned kSlotBits = 18;
constexpr unsigned kGenerationBits = 12;
constexpr uint32_t kSlotMask = (1u << kSlotBits) - 1;
constexpr uint32_t kGenerationMask = (1u << kGenerationBits) - 1;
constexpr size_t kMaxSlots = kSlotMask;  // slot + 1 must fit the field
static_assert(kSlotBits + kGenerationBits + 2 <= 32);

struct Slot {
    std::shared_ptr<KernelObject> object;
    uint32_t generation = 0;
};

class HandleTable {
public:
    HANDLE Insert(std::shared_ptr<KernelObject> object) {
        std::lock_guard<std::mutex> lock(mutex_);
        size_t index;
        if (!free_.empty()) {
            index = free_.back();
            free_.pop_back();
        } else if (slots_.size() < kMaxSlots) {
            free_.reserve(slots_.size() + 1);  // so that Remove never allocates
            index = slots_.size();
            slots_.emplace_back();
        } else {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
        slots_[index].object = std::move(object);
        uintptr_t value = (uintptr_t(slots_[index].generation) << kSlotBits | (index + 1)) << 2;
        return reinterpret_cast<HANDLE>(value);
    }

    std::shared_ptr<KernelObject> Find(HANDLE handle) {
        std::lock_guard<std::mutex> lock(mutex_);
        Slot* slot = SlotOf(handle);
        return slot ? slot->object : nullptr;
    }

    // Takes the object out; the caller lets it go outside the lock.
    std::shared_ptr<KernelObject> Remove(HANDLE handle) {
        std::lock_guard<std::mutex> lock(mutex_);
        Slot* slot = SlotOf(handle);
        if (!slot) return nullptr;
        std::shared_ptr<KernelObject> object = std::move(slot->object);
        slot->generation = (slot->generation + 1) & kGenerationMask;  // the old handle goes stale
        free_.push_back(uint32_t(slot - slots_.data()));
        return object;
    }

private:
    Slot* SlotOf(HANDLE handle) {
        uintptr_t value = reinterpret_cast<uintptr_t>(handle);
        if (value == 0 || (value & 3) != 0 || (value >> 2) >> (kSlotBits + kGenerationBits) != 0) return nullptr;
        value >>= 2;
        uint32_t index = uint32_t(value & kSlotMask);
        uint32_t generation = uint32_t(value >> kSlotBits);
        if (index == 0 || index > slots_.size()) return nullptr;
        Slot& slot = slots_[index - 1];
        return slot.object && slot.generation == generation ? &slot : nullptr;
    }

    std::mutex mutex_;
    std::vector<Slot> slots_;
    std::vector<uint32_t> free_;
};

// Never destroyed: other threads may still close handles while the process
// runs its exit handlers.
HandleTable& Table() {
    static HandleTable* table = new HandleTable;
    return *table;
}

}  // namespace

HANDLE OpenHandle(std::shared_ptr<KernelObject> object) {
    try {
        return Table().Insert(std::move(object));
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
}

std::shared_ptr<KernelObject> ObjectOf(HANDLE handle) {
    std::shared_ptr<KernelObject> object = Table().Find(handle);
    if (!object) SetLastError(ERROR_INVALID_HANDLE);
    return object;
}

}  // namespace ostrel::platform

using ostrel::platform::KernelObject;
using ostrel::platform::ObjectOf;

DWORD WINAPI WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) {
    std::shared_ptr<KernelObject> object = ObjectOf(hHandle);
    return object ? object->Wait(dwMilliseconds) : WAIT_FAILED;
}

BOOL WINAPI CloseHandle(HANDLE hObject) {
    // The top six values are the platform's pseudo-handles (the current
    // process, which is also INVALID_HANDLE_VALUE, the current thread and the
    // tokens); closing one succeeds without doing anything.
    if (reinterpret_cast<uintptr_t>(hObject) >= ~uintptr_t(5)) return TRUE;
    std::shared_ptr<KernelObject> object = ostrel::platform::Table().Remove(hObject);
    if (!object) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return TRUE;
}

#endif
