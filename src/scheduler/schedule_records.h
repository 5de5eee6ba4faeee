// How the scheduler's task records are copied, started and freed. A record
// owns its two key values, the arrays of intervals, resources and
// predecessors (task memory, so that records pass to and from the host) and
// every variant inside those arrays.
#pragma once
#include <Ostrel.h>

namespace ostrel {

// The copy policy of a record type, in the shape the copying enumerator
// takes: copy into a started record, start (init), free (destroy).
template <class Record>
struct copy_t;

template <>
struct copy_t<tagScheduleData> {
    // A deep copy into a started (zeroed) record. The scalar fields are
    // copied as they stand; dwReserved of each interval and of each
    // predecessor key is left 0. A null array is copied as null with its
    // count, whatever the count says. On failure the destination holds only
    // what was copied so far and what destroy frees: never the source's
    // arrays.
    static HRESULT copy(tagScheduleData* to, const tagScheduleData* from) noexcept;

    static void init(tagScheduleData* record) noexcept;

    // Clears the keys and frees the arrays with the variants in them; the
    // counts stay as they were. It never stops half-way: a variant that
    // will not clear is passed over so that the rest is still freed.
    static void destroy(tagScheduleData* record) noexcept;
};

}  // namespace ostrel
