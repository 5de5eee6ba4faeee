// The engine's exceptions. They are thrown by value and caught by reference;
// the component boundary turns them into an HRESULT plus the caller's error
// information.
#pragma once
#include <type_traits>

#include "foundation/message_numbers.h"
#include "foundation/text.h"

struct tagScheduleData;

namespace ostrel {

class EVoError {
public:
    WString Message;  // the text the caller sees
    DWORD Code;       // the message number, or TEXT_ERROR_CODE for a given text

    explicit EVoError(const OLECHAR* text) : Message(text ? text : OLESTR("")), Code(TEXT_ERROR_CODE) {}
    explicit EVoError(WString text) : Message(std::move(text)), Code(TEXT_ERROR_CODE) {}

    // A numbered message; the inserts are narrow (ANSI) strings, never null.
    template <class... Inserts>
        requires(std::is_convertible_v<Inserts, const char*> && ...)
    explicit EVoError(DWORD number, Inserts... inserts) : Code(number) {
        Load(number, static_cast<const char*>(inserts)...);
    }

protected:
    EVoError() : Code(TEXT_ERROR_CODE) {}

private:
    void Load(DWORD number, ...);
};

// An error of a schedule run; it becomes a schedule message. Task and
// Severity are filled in by the thrower where it has them.
class EVoScheduleError : public EVoError {
public:
    WString LongMessage;
    tagScheduleData* Task = nullptr;
    LONG Severity = 0;  // a MESSAGE_SEVERITY value

    explicit EVoScheduleError(const OLECHAR* text) : EVoError(text) {}
    explicit EVoScheduleError(WString text) : EVoError(std::move(text)) {}
    EVoScheduleError() = default;
};

// Predecessor links that form a cycle.
class ECircularPredecessorRelation : public EVoScheduleError {
public:
    using EVoScheduleError::EVoScheduleError;
};

}  // namespace ostrel
