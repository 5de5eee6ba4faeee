#include "foundation/vo_error.h"

#include "foundation/message_loader.h"

namespace ostrel {

void EVoError::Load(DWORD number, ...) {
    va_list inserts;
    va_start(inserts, number);
    try {
        LoadVoMessage(number, Message, &inserts);
    } catch (...) {
        va_end(inserts);
        throw;
    }
    va_end(inserts);
}

}  // namespace ostrel
