// The 32 bits a caller sent in an enumeration parameter. Hosts may pass any
// number there, and C++ leaves reading an enumeration outside its named range
// undefined, so such parameters are read as raw bits before they are looked at.
#pragma once
#include <cstring>
#include <type_traits>

#include <windows.h>

namespace ostrel {

template <class Enum>
    requires std::is_enum_v<Enum> && (sizeof(Enum) == sizeof(ULONG))
ULONG RawEnum(const Enum& value) noexcept {
    ULONG raw;
    std::memcpy(&raw, &value, sizeof raw);
    return raw;
}

}  // namespace ostrel
