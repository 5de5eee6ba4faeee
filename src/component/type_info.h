// Type information of the library's dual interfaces, for their dispatch half.
#pragma once
#include <windows.h>

namespace ostrel {

// The version of the type library the dispatch half asks for. The embedded
// library is 2.0, so late-bound calls work only where a 1.x library is
// registered under the same identifier; deliberate, and kept as it is.
constexpr WORD kDispatchTypeLibMajor = 1;
constexpr WORD kDispatchTypeLibMinor = 0;
// The type library's one language; registration files it under this locale.
constexpr LCID kTypeLibLocale = 0x409;

// The type information of an interface, loaded from the registered type
// library on first use (under the library's lock) and kept for the life of
// the process. A failed load is not remembered: the next call tries again,
// so registering the library later makes late binding work. The result is a
// borrowed pointer, valid until the library is unloaded.
HRESULT InterfaceTypeInfo(REFIID iid, LCID lcid, ITypeInfo** info) noexcept;

}  // namespace ostrel
