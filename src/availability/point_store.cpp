#include "availability/point_store.h"

#include <algorithm>
#include <cmath>

#include "foundation/vo_error.h"

namespace ostrel {

PointStore::Iterator PointStore::Put(DATE date, double units, ULONG flags) {
    tagAVAILABILITYPOINT point{};
    point.dtDate = date;
    point.dblUnits = units;
    point.dwFlags = flags;
    auto [it, inserted] = tree_.insert({date, point});
    if (!inserted) it->second = point;
    return it;
}

namespace {

// False for an empty span; throws for one that is not a span at all.
bool IsSpan(DATE start, DATE stop) {
    if (start == stop) return false;
    if (std::isnan(start) || std::isnan(stop) || stop < start) throw EVoError(OLESTR("Invalid date range"));
    return true;
}

}  // namespace

void SetTimeSpan(PointStore& store, DATE start, DATE stop, double units) {
    if (!IsSpan(start, stop)) return;

    // The units in force at stop before the change survive from stop on.
    const double stopUnits = store.Floor(stop)->second.dblUnits;
    auto first = store.LowerBound(start);
    const bool pointBefore = first != store.begin();
    auto beyond = first;
    while (beyond != store.end() && beyond->first <= stop) ++beyond;

    // What [start, stop] holds afterwards. When the span covers every point
    // its units hold without end, so there is no point at stop; otherwise no
    // point repeats the units of the one before it.
    const bool coversAll = !pointBefore && beyond == store.end();
    const bool startPoint = coversAll || !pointBefore || std::prev(first)->second.dblUnits != units;
    const bool stopPoint = !coversAll && stopUnits != units;

    // Points already at start or stop are rewritten in place and the rest
    // of the span is erased: a profile copied in day by day would otherwise
    // erase and insert the same point once per span.
    bool startWritten = false, stopWritten = false;
    for (auto it = first; it != beyond;) {
        if (it->first == start && startPoint) {
            it->second = tagAVAILABILITYPOINT{start, units, 0};
            startWritten = true;
            ++it;
        } else if (it->first == stop && stopPoint) {
            it->second = tagAVAILABILITYPOINT{stop, stopUnits, 0};
            stopWritten = true;
            ++it;
        } else {
            it = store.Erase(it);
        }
    }
    if (startPoint && !startWritten) store.Put(start, units);
    if (stopPoint && !stopWritten) store.Put(stop, stopUnits);
}

void MaskSpan(PointStore& store, DATE start, DATE stop, double units) {
    if (!IsSpan(start, stop)) return;
    if (units == 0.0) {
        SetTimeSpan(store, start, stop, 0.0);
        return;
    }
    auto p = store.Floor(start);
    DATE e;
    do {
        auto next = std::next(p);
        e = next != store.end() && next->first <= stop ? next->first : stop;
        SetTimeSpan(store, std::max(p->first, start), e, p->second.dblUnits);
        p = store.LowerBound(e);
        // Past the last point the span holds one units value: nothing left to drop.
    } while (e < stop && p != store.end());
}

}  // namespace ostrel
