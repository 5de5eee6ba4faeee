// The point store's own operations: direct writes and the questions answered
// from the points, preparing first where a range is asked about.
#include <algorithm>
#include <cmath>
#include <new>

#include "availability/availability.h"
#include "foundation/vo_error.h"

namespace ostrel {
namespace {

void CheckRange(DATE start, DATE stop, const OLECHAR* text) {
    if (std::isnan(start) || std::isnan(stop) || stop < start) throw EVoError(text);
}

// The points that describe [start, stop): from the point in effect at start
// up to, not including, the first point at or after stop. Before the first
// point its units hold (the store's natural reading), so a range lying wholly
// before it is still described by that point.
struct Stretch {
    PointStore::ConstIterator first;
    size_t count;
};
Stretch StretchOf(const PointStore& store, DATE start, DATE stop) {
    auto first = store.Floor(start);
    const size_t from = store.IndexOf(first);
    const size_t to = store.IndexOf(store.LowerBound(stop));
    size_t count = to > from ? to - from : 0;
    if (count == 0 && first != store.end() && first->first > start) count = 1;
    return {first, count};
}

}  // namespace

TVoAvailability::TVoAvailability(double defaultUnits) : points(0.0, defaultUnits), dblDefaultUnits(defaultUnits) {}

TVoAvailability::~TVoAvailability() {
    if (ruleSet) ruleSet->Release();
}

void TVoAvailability::Clear() {
    dtPreparedStart = 0.0;
    dtPreparedStop = dtOpenEnd;
    points.Clear();
    points.Put(0.0, dblDefaultUnits);
}

ULONG TVoAvailability::Count(DATE start, DATE stop) {
    if (start == 0.0 && stop >= dtOpenEnd) return ULONG(points.Size());
    CheckRange(start, stop, OLESTR("Invalid date range"));
    Prepare(start, stop);
    return ULONG(StretchOf(points, start, stop).count);
}

double TVoAvailability::GetUnits(DATE pos) const { return points.Floor(pos)->second.dblUnits; }

ULONG TVoAvailability::Date2Index(DATE pos) const { return ULONG(points.IndexOf(points.Floor(pos))); }

DATE TVoAvailability::Index2Date(ULONG index) const {
    if (index >= points.Size()) throw EVoError(VOMSG_INDEX_OUT_OF_RANGE);
    return points.AtIndex(index)->first;
}

double TVoAvailability::GetUnitsAt(ULONG index) const {
    if (index >= points.Size()) throw EVoError(VOMSG_INDEX_OUT_OF_RANGE);
    return points.AtIndex(index)->second.dblUnits;
}

void TVoAvailability::SetTimeSpan(DATE start, DATE stop, double units) { ostrel::SetTimeSpan(points, start, stop, units); }

void TVoAvailability::AddPoint(DATE date, double units) {
    // A NaN date has no place in the order; it is refused like a NaN span.
    if (std::isnan(date)) throw EVoError(OLESTR("Invalid date range"));
    points.Put(date, units);
}

double TVoAvailability::CalcWorkingHours(DATE start, DATE stop) {
    CheckRange(start, stop, OLESTR("Invalid date range"));
    Prepare(start, stop);
    // The floor point's segment counts from start, also when start lies
    // before the first point.
    const auto a = points.Floor(start);
    const auto e = points.LowerBound(stop);
    const auto n = std::next(a);
    if (n == points.end() || n == e || a == e) return a->second.dblUnits <= 0.0 ? 0.0 : (stop - start) * a->second.dblUnits;

    const auto q = std::prev(e);
    double sum = 0.0;
    for (auto p = a; p != q; ++p) {
        const DATE from = p == a ? start : p->first;
        if (p->second.dblUnits > 0.0) sum += (std::next(p)->first - from) * p->second.dblUnits;
    }
    // Deliberately counted with its sign, unlike every earlier segment.
    sum += (stop - q->first) * q->second.dblUnits;
    return sum;
}

PointArray TVoAvailability::PackData(DATE start, DATE stop) {
    CheckRange(start, stop, OLESTR("Invalid date range in TVoAvailability::PackData"));
    Prepare(start, stop);
    const Stretch stretch = StretchOf(points, start, stop);
    PointArray out;
    out.points.reset(new (std::nothrow) tagAVAILABILITYPOINT[stretch.count]);
    if (!out.points) throw HRESULT(E_OUTOFMEMORY);
    out.count = ULONG(stretch.count);
    auto p = stretch.first;
    for (size_t i = 0; i < stretch.count; ++i, ++p) {
        out.points[i] = p->second;
        out.points[i].dtDate = i == 0 ? start : p->first;
    }
    return out;
}

}  // namespace ostrel
