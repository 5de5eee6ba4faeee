// The enumerator of a placement's spans: the library's copying enumerator,
// owning its own copy of the spans.
#pragma once
#include <Ostrel.h>

#include "component/copying_enum.h"

namespace ostrel {

using TimespanEnum = CopyingEnum<IEnumTimespans, &IID_IEnumTimespans, tagTIMESPAN>;

}  // namespace ostrel
