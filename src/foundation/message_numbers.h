// Numbers of the messages whose texts live in the message module. The
// VOMSG_* names are generated from the message file, the one place that
// defines both number and text.
#pragma once
#include <windows.h>

#include "VoMessages.h"

namespace ostrel {

// The code an error carries when its text was given directly, not loaded.
inline constexpr DWORD TEXT_ERROR_CODE = 0x80003000;

// Two platform codes double as message numbers; their texts come from the
// system's own table.
inline constexpr DWORD VOMSG_FAIL = 0x80004005;
inline constexpr DWORD VOMSG_OUT_OF_MEMORY = 0x8007000E;

}  // namespace ostrel
