// Texts of numbered messages, looked up in the message module VoMessages.dll
// and, after it, in the system's own message table.
#pragma once
#include <cstdarg>

#include "foundation/text.h"

namespace ostrel {

// Fills text with the message's text, formatted with the insert list (narrow
// strings, %1 first). Never throws for a missing module or number: the text
// then says what went wrong. A failed load of the module is retried on the
// next call.
void LoadVoMessage(DWORD number, WString& text, va_list* inserts);

// The message's text with the given narrow-string inserts.
WString FormatVoMessage(DWORD number, ...);

}  // namespace ostrel
