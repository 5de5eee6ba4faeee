// The "no value" variant that code copies from when it needs an empty one.
#pragma once
#include <windows.h>

namespace ostrel {

// VT_EMPTY for the life of the library. It holds nothing to free, so it is a
// constant with static storage: ready before any constructor runs and valid
// until the library is unloaded.
extern const VARIANT vtEmpty;

// VariantCopy with its source const, as the platform declares it; MinGW's
// headers leave the const off, though the call only reads the source.
inline HRESULT CopyVariant(VARIANT* to, const VARIANT* from) {
    return VariantCopy(to, const_cast<VARIANT*>(from));
}

}  // namespace ostrel
