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
    for (auto it = store.LowerBound(start); it != store.end() && it->first <= stop;) it = store.Erase(it);

    if (store.Empty()) {
        // The span covered every point: its units now hold without end.
        store.Put(start, units);
        return;
    }
    if (stopUnits != units) store.Put(stop, stopUnits);
    // With no point before start there is nothing to join with, so the span
    // gets its own point.
    auto after = store.LowerBound(start);
    if (after == store.begin() || std::prev(after)->second.dblUnits != units) store.Put(start, units);
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
