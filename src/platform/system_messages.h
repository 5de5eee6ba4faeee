#pragma once
#ifndef _WIN32
// The system's message table, the source of FORMAT_MESSAGE_FROM_SYSTEM.
#include <windows.h>

namespace ostrel::platform {

// The system's English text for a Win32 error number or an HRESULT, with its
// trailing "\r\n" and its inserts unexpanded; null when there is none.
const char* FindSystemMessage(DWORD id);

}  // namespace ostrel::platform

#endif
