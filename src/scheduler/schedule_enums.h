// The enumerators the scheduler hands its host: copies of changed task
// records, and its live message list.
#pragma once
#include <memory>
#include <span>

#include <Ostrel.h>

#include "component/copying_enum.h"
#include "scheduler/schedule_message.h"
#include "scheduler/schedule_records.h"

namespace ostrel {

using ScheduleDataEnum =
    CopyingEnum<IEnumScheduleData, &IID_IEnumScheduleData, tagScheduleData, copy_t<tagScheduleData>>;
using ScheduleMessageEnum =
    CopyingEnum<IEnumScheduleMessages, &IID_IEnumScheduleMessages, tagScheduleMessage, CScheduleMessage, MessageList>;

// An enumerator that owns deep copies of the records (an empty array when
// there are none); it keeps nothing of the scheduler's. A failed copy or
// allocation is thrown as its HRESULT, with nothing left behind.
IUnknown* NewScheduleDataEnum(std::span<const tagScheduleData* const> records);

// An enumerator over the list itself, from its first message: it sees the
// messages added after it was made, and keeps the list alive after the
// scheduler has gone.
IUnknown* NewScheduleMessageEnum(std::shared_ptr<const MessageList> messages);

}  // namespace ostrel
