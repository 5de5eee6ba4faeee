// The ReadWriteLock component class, for the library's class table.
#pragma once
#include <windows.h>

namespace ostrel {

// Creates a lock object, stand-alone or aggregated (then only IUnknown may be
// asked for), and hands out riid: IReadWriteLock or ISupportErrorInfo.
HRESULT CreateReadWriteLock(IUnknown* outer, REFIID riid, void** ppv);

}  // namespace ostrel
