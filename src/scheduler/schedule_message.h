// The scheduler's messages: one record per message, kept in the order they
// were added, and the list that message enumerators read while it grows.
#pragma once
#include <deque>

#include <Ostrel.h>

namespace ostrel {

// A message record that owns its key value and its two strings. A new one
// is a message without task: Level -1, cookie 0, msNone, no value, no texts.
// It is also the copy policy of the message enumerator.
class CScheduleMessage : public tagScheduleMessage {
public:
    CScheduleMessage() noexcept { init(this); }
    ~CScheduleMessage() { destroy(this); }
    CScheduleMessage(const CScheduleMessage&) = delete;
    CScheduleMessage& operator=(const CScheduleMessage&) = delete;

    // Replaces a text; null stands for "no text", distinct from "".
    void SetMessage(const OLECHAR* text, UINT length);
    void SetLongMessage(const OLECHAR* text, UINT length);

    // The policy. copy replaces the destination's value and strings, so the
    // destination must be a started record (init); a failure leaves it
    // something destroy frees.
    static HRESULT copy(tagScheduleMessage* to, const tagScheduleMessage* from) noexcept;
    static void init(tagScheduleMessage* message) noexcept;
    static void destroy(tagScheduleMessage* message) noexcept;
};

// The messages of the scheduler, in the order they were added. Runs only
// append; Clear and Reset empty it. Enumerators share it and see what is
// appended after they were made.
class MessageList {
public:
    // A new message without task at the end of the list.
    CScheduleMessage& Append() { return messages_.emplace_back(); }
    CScheduleMessage& Last() { return messages_.back(); }
    // Takes back a message that could not be completed.
    void DropLast() { messages_.pop_back(); }
    void Clear() { messages_.clear(); }
    bool Empty() const { return messages_.empty(); }

    // What the copying enumerator reads.
    bool HasArray() const { return true; }
    ULONG Count() const { return ULONG(messages_.size()); }
    const tagScheduleMessage& operator[](ULONG i) const { return messages_[i]; }

private:
    // A deque builds each message in place and never moves one.
    std::deque<CScheduleMessage> messages_;
};

}  // namespace ostrel
