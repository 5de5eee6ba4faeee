// Placing work on the profile: walk its segments forward or backward, take
// the stretches that offer at least the units required until the duration is
// covered, and tell the caller whether an earlier placement still holds.
#include <algorithm>
#include <cmath>
#include <new>

#include "availability/availability.h"
#include "component/interface_ref.h"
#include "availability/timespan_enum.h"
#include "foundation/vo_error.h"

namespace ostrel {
namespace {

constexpr ULONG kCompareChunk = 10;

bool Exhausted(const tagAVAILABILITYPOINT& p) { return (p.dwFlags & POINT_EXHAUSTED) != 0; }

bool SameSpan(const tagTIMESPAN& a, const tagTIMESPAN& b) { return a.dtStart == b.dtStart && a.dtStop == b.dtStop; }

IUnknown* NewSpanEnumerator(const SpanList& spans) {
    std::unique_ptr<tagTIMESPAN[]> copy(new (std::nothrow) tagTIMESPAN[spans.size()]);
    if (!copy) throw HRESULT(E_OUTOFMEMORY);
    std::copy(spans.begin(), spans.end(), copy.get());
    TimespanEnum* e = TimespanEnum::New();
    if (!e) throw HRESULT(E_OUTOFMEMORY);
    e->Init(std::move(copy), ULONG(spans.size()));
    return static_cast<IEnumTimespans*>(e);
}

// True when every span the earlier placement delivers equals the new span at
// the same position. Only what the earlier one delivers is compared, so an
// earlier placement that is a leading part of the new one is unchanged;
// deliberate.
bool SamePlacement(IEnumTimespans* earlier, const SpanList& spans) {
    size_t index = 0;
    for (;;) {
        tagTIMESPAN chunk[kCompareChunk];
        ULONG fetched = 0;
        const HRESULT hr = earlier->Next(kCompareChunk, chunk, &fetched);
        // A failing Next is taken as the last chunk, having delivered nothing.
        const ULONG n = hr == S_OK ? kCompareChunk : FAILED(hr) ? 0 : std::min(fetched, kCompareChunk);
        for (ULONG i = 0; i < n; ++i, ++index)
            if (index >= spans.size() || !SameSpan(chunk[i], spans[index])) return false;
        if (hr != S_OK) return true;
    }
}

// The two restart walks are one walk: forward matches spans on their stops
// and restarts from a start; backward matches on starts and restarts from a
// stop. Both take the later of two candidates, so backward is not a mirror
// image of forward; deliberate.
struct ForwardWalk {
    static DATE Key(const tagTIMESPAN& s) { return s.dtStop; }
    static DATE Other(const tagTIMESPAN& s) { return s.dtStart; }
    static bool Behind(DATE a, DATE b) { return a < b; }
    static DATE Past(const SpanList& n, const SpanList& o) { return std::max(n.back().dtStop, o.back().dtStop); }
};
struct BackwardWalk {
    static DATE Key(const tagTIMESPAN& s) { return s.dtStart; }
    static DATE Other(const tagTIMESPAN& s) { return s.dtStop; }
    static bool Behind(DATE a, DATE b) { return a > b; }
    static DATE Past(const SpanList& n, const SpanList& o) { return std::min(n.front().dtStart, o.front().dtStart); }
};

template <class Walk>
DATE RestartDate(const SpanList& N, IEnumTimespans* earlier) {
    SpanList O;
    tagTIMESPAN span;
    ULONG fetched = 0;
    while (earlier->Next(1, &span, &fetched) == S_OK && fetched == 1) O.push_back(span);
    // Nothing earlier to match: restart where the new placement begins.
    if (O.empty()) return N.empty() ? 0.0 : Walk::Other(N.front());

    DATE result = 0.0;
    size_t i = 0, j = 0;
    for (;;) {
        const size_t i0 = i, j0 = j;
        int skipped = 0;
        while (i < N.size() && Walk::Behind(Walk::Key(N[i]), Walk::Key(O[j]))) ++i, ++skipped;
        if (skipped > 1) result = 0.0;
        if (i >= N.size()) return result != 0.0 ? result : Walk::Other(O[j]);

        while (j < O.size() && Walk::Behind(Walk::Key(O[j]), Walk::Key(N[i]))) ++j, ++skipped;
        if (skipped > 1) result = 0.0;
        if (j >= O.size()) return result != 0.0 ? result : Walk::Other(N[i]);

        if (Walk::Key(N[i]) == Walk::Key(O[j])) {
            if (!(result != 0.0 && Walk::Other(N[i]) == Walk::Other(O[j])))
                result = std::max(Walk::Other(N[i]), Walk::Other(O[j]));
            ++j;
        } else {
            result = 0.0;
            // Dates that do not order (NaN) would leave the walk standing.
            if (i == i0 && j == j0) return Walk::Other(O[j]);
        }
        if (j >= O.size()) return result != 0.0 ? result : Walk::Past(N, O);
    }
}

}  // namespace

void TVoAvailability::ScheduleTask(DATE dtStart, DATE dtEnd, double dblDuration, double UnitsRequired,
                                   ULONG Direction, IUnknown** ppUnk, tagSCHEDULERESULT* psrResult) {
    if (!psrResult) throw HRESULT(E_POINTER);
    *psrResult = srNone;
    if (!ppUnk) throw HRESULT(E_POINTER);
    if (std::isnan(dtStart) || std::isnan(dtEnd)) throw EVoError(OLESTR("Invalid date range"));
    EnsurePrepared(dtStart);

    const bool forward = Direction == sdForward;
    SpanList spans;
    const bool placed = forward ? PlaceForward(dtStart, dtEnd, dblDuration, UnitsRequired, spans)
                                : PlaceBackward(dtStart, dtEnd, dblDuration, UnitsRequired, spans);
    if (!placed) {
        *psrResult = srFail;
        return;
    }
    if (!*ppUnk) {
        *ppUnk = NewSpanEnumerator(spans);
        *psrResult = srIsScheduled;
        return;
    }

    auto earlier = QueryOrThrow<IEnumTimespans>(*ppUnk, IID_IEnumTimespans);
    const bool unchanged = SamePlacement(earlier.Get(), spans);
    earlier->Reset();
    if (unchanged) {
        *psrResult = srIsScheduled;
        return;
    }
    if (forward)
        dtStart = RestartDateForward(spans, earlier.Get());
    else
        dtEnd = RestartDateBackward(spans, earlier.Get());
    (*ppUnk)->Release();
    *ppUnk = nullptr;
    ScheduleTask(dtStart, dtEnd, dblDuration, UnitsRequired, Direction, ppUnk, psrResult);
    *psrResult = tagSCHEDULERESULT(*psrResult | srDataChanged);
}

bool TVoAvailability::PlaceForward(DATE dtStart, DATE dtEnd, double duration, double units, SpanList& spans) {
    double done = 0.0;
    bool first = true;
    auto p = points.Floor(dtStart);
    // Before the first point its units hold too, so a start lying there is
    // inside the first point's segment.
    auto beforeFirst = [&](PointStore::Iterator q) { return q == points.begin() && q->first > dtStart; };
    for (;;) {
        // Until a segment was taken, a zero duration still places one span.
        if (!first && done + dblSecond >= duration) break;
        if (p == points.end() || (p->first >= dtEnd && !beforeFirst(p))) break;
        if (p->second.dblUnits < units) {
            // An exhausted point cuts the work: it must start again after it.
            if (Exhausted(p->second) && !spans.empty()) {
                spans.clear();
                done = 0.0;
            }
        } else {
            first = false;
            const DATE s = beforeFirst(p) ? dtStart : std::max(p->first, dtStart);
            const DATE c = (duration - done) + s;
            const auto next = std::next(p);
            const DATE e = next != points.end() && next->first < c ? next->first : c;
            done += e - s;
            if (!spans.empty() && spans.back().dtStop == s)
                spans.back().dtStop = e;
            else
                spans.push_back({s, e});
        }

        if (++p == points.end()) continue;
        // Prepare ahead as the walk reaches the prepared range's end; the
        // point reached may vanish when the range grows, then walk on to the
        // one that took its place.
        DATE d = p->first;
        for (;;) {
            // Nothing prepared, nothing moved: p is still the point at d.
            if (!EnsurePrepared(d)) break;
            p = points.LowerBound(d);
            if (p == points.end() || p->first >= dtEnd) break;
            if (p->first > d) {
                d = p->first;
                continue;
            }
            break;
        }
    }
    return done + dblSecond >= duration;
}

bool TVoAvailability::PlaceBackward(DATE dtStart, DATE dtEnd, double duration, double units, SpanList& spans) {
    // The backward walk prepares its whole range once and does not extend it.
    Prepare(dtStart, dtEnd);
    DATE cursor = dtEnd;
    double done = 0.0;
    bool first = true;
    // Built latest first, turned round at the end.
    SpanList reversed;
    auto p = points.Floor(dtEnd);
    // Before the first point the first point's units reach back without end,
    // so that segment holds dtStart and is never used, like any other
    // segment holding it.
    bool inside = p != points.end() && !(p == points.begin() && p->first > dtEnd);
    while (inside) {
        if (!first && done + dblSecond >= duration) break;
        // The segment holding dtStart is never used, not even its part after
        // dtStart, unlike the forward walk; deliberate.
        if (p->first <= dtStart) break;
        if (p->second.dblUnits < units || cursor <= p->first) {
            if (Exhausted(p->second) && !reversed.empty()) {
                reversed.clear();
                done = 0.0;
            }
        } else {
            first = false;
            const DATE c = cursor - (duration - done);
            const DATE s = std::max(p->first, c);
            done += cursor - s;
            if (!reversed.empty() && reversed.back().dtStart == cursor)
                reversed.back().dtStart = s;
            else
                reversed.push_back({s, cursor});
        }
        cursor = p->first;
        inside = p != points.begin();
        if (inside) --p;
    }
    spans.assign(reversed.rbegin(), reversed.rend());
    return done + dblSecond >= duration;
}

DATE TVoAvailability::RestartDateForward(const SpanList& spans, IEnumTimespans* earlier) {
    return RestartDate<ForwardWalk>(spans, earlier);
}

DATE TVoAvailability::RestartDateBackward(const SpanList& spans, IEnumTimespans* earlier) {
    return RestartDate<BackwardWalk>(spans, earlier);
}

}  // namespace ostrel
