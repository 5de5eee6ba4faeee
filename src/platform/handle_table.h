#pragma once
#ifndef _WIN32
// Kernel-object handles: the numbers CreateEventA hands out and CloseHandle,
// WaitForSingleObject and the object's own functions take back.
//
// A handle is never a pointer in disguise. It names a slot of one table
// together with the slot's generation, so a handle that was closed, one
// closed twice, or plain garbage is recognised and refused with
// ERROR_INVALID_HANDLE instead of being followed.
#include <windows.h>

#include <memory>

namespace ostrel::platform {

// What a handle refers to. Waiting is what every kind of object offers.
class KernelObject {
public:
    virtual ~KernelObject() = default;
    // WAIT_OBJECT_0 once the object is signalled, WAIT_TIMEOUT when the time
    // runs out first (INFINITE never runs out).
    virtual DWORD Wait(DWORD milliseconds) = 0;
};

// A new handle to the object, or null with the last error set when no handle
// can be had.
HANDLE OpenHandle(std::shared_ptr<KernelObject> object);

// The object behind an open handle, or null with ERROR_INVALID_HANDLE. The
// object stays alive while the caller holds it, even if another thread
// closes the handle meanwhile.
std::shared_ptr<KernelObject> ObjectOf(HANDLE handle);

// The same, for a handle that must refer to a T; one to another kind of
// object is as invalid as garbage.
template <class T>
std::shared_ptr<T> ObjectOf(HANDLE handle) {
    std::shared_ptr<T> object = std::dynamic_pointer_cast<T>(ObjectOf(handle));
    if (!object) SetLastError(ERROR_INVALID_HANDLE);
    return object;
}

}  // namespace ostrel::platform

#endif
