// The "no value" variant that code copies from when it needs an empty one.
#pragma once
#include <windows.h>

namespace ostrel {

// VT_EMPTY for the life of the library. It holds nothing to free, so it is a
// constant with static storage: ready before any constructor runs and valid
// until the library is unloaded.
extern const VARIANT vtEmpty;

}  // namespace ostrel
