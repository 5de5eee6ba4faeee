// Lazy preparation: the profile is computed from its source and its rule set
// only over the days somebody asks about, and the prepared range remembers
// how far that went.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "availability/availability.h"
#include "component/interface_ref.h"
#include "foundation/vo_error.h"

namespace ostrel {
namespace {

constexpr ULONG kSourceChunk = 64;
constexpr ULONG kRuleChunk = 10;

// The whole-day part of a date: truncated to 64 bits, of which only the low
// 32 are kept, unsigned. Where the truncation overflows (NaN, infinities,
// beyond 2^63) the processor yields 0x8000000000000000, whose low half is 0;
// so the open end's whole day is 0.0, deliberately.
DATE WholeDay(DATE x) {
    if (!(std::fabs(x) < 9223372036854775808.0)) return 0.0;
    return DATE(uint32_t(uint64_t(int64_t(x))));
}

DATE TimeOfDay(DATE x) { return x - WholeDay(x); }

bool IsWholeDayRule(const tagRULE& r) { return TimeOfDay(r.dtStart) == 0.0 && TimeOfDay(r.dtStop) == 0.0; }

bool Works(const tagRULE& r) { return (r.bWorking & 0xFFFF) != 0; }

// A rule's times of day laid on day D. A stop that is not after the start on
// the day's clock (one exactly at midnight, or a rule running past it) is
// taken to run to the end of D: the day arithmetic would otherwise give a
// span ending before it starts.
struct DaySpan {
    DATE s, e;
};
DaySpan OnDay(const tagRULE& r, DATE D) {
    const DATE s = D + TimeOfDay(r.dtStart);
    DATE e = D + TimeOfDay(r.dtStop);
    if (e <= s) e = D + 1.0;
    return {s, e};
}

}  // namespace

bool TVoAvailability::RequiresPrepare() const { return ruleSet != nullptr || !sources.empty(); }

void TVoAvailability::Prepare(DATE start, DATE stop) {
    if (std::isnan(start) || std::isnan(stop) || stop < start) throw EVoError(OLESTR("Invalid date range"));
    if (!RequiresPrepare()) return;
    // A stop at or beyond the open end (infinity included) is open: rules
    // cannot be walked day by day to it.
    if (ruleSet && WholeDay(start) == 0.0 && stop >= dtOpenEnd)
        throw EVoError(OLESTR("Date range required when Rules is set."));

    if (start != 0.0) {
        // With an open stop this gives 1.0; deliberate, such a call prepares
        // nothing useful.
        start = WholeDay(start);
        if (stop - WholeDay(stop) != 0.0) stop = WholeDay(stop) + 1.0;
    }
    if (dtPreparedStart != 0.0) {
        if (start >= dtPreparedStart && stop <= dtPreparedStop) return;
        if (start >= dtPreparedStart) start = dtPreparedStop;
        if (stop <= dtPreparedStop) stop = dtPreparedStart;
        // A request past both ends recomputes all of it, the middle included.
    }

    for (size_t i = 0; i < sources.size(); ++i) ApplySource(sources[i].Interface(), start, stop, i == 0);
    if (ruleSet) ApplyRules(start, stop);

    if (dtPreparedStart != 0.0) {
        dtPreparedStart = std::min(dtPreparedStart, start);
        dtPreparedStop = std::max(dtPreparedStop, stop);
    } else {
        dtPreparedStart = start;
        dtPreparedStop = stop;
    }
}

bool TVoAvailability::EnsurePrepared(DATE d) {
    const DATE step = DATE(dwPrepareStep);
    if (dtPreparedStart == 0.0) {
        Prepare(d, d + step);
    } else if (d <= dtPreparedStart + dblSecond) {
        Prepare(std::min(d, dtPreparedStart - step), dtPreparedStart);
    } else if (d >= dtPreparedStop - dblSecond) {
        Prepare(dtPreparedStop, std::max(dtPreparedStop + step, d));
    } else {
        return false;
    }
    return true;
}

void TVoAvailability::GetPreparedRange(DATE* start, DATE* stop) const {
    if (!start || !stop) throw HRESULT(E_POINTER);
    *start = dtPreparedStart;
    *stop = dtPreparedStop;
}

void TVoAvailability::SetRules(IUnknown* rules) {
    Clear();
    if (ruleSet) ruleSet->Release();
    ruleSet = nullptr;
    // An object that is not a rule set simply leaves the profile without one.
    if (rules && FAILED(rules->QueryInterface(IID_IVoRules, reinterpret_cast<void**>(&ruleSet)))) ruleSet = nullptr;
}

void TVoAvailability::GetRules(IUnknown** rules) const {
    if (!rules) throw HRESULT(E_POINTER);
    if (ruleSet) ThrowIfFailed(ruleSet->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(rules)));
}

void TVoAvailability::ApplySource(IUnknown* source, DATE start, DATE stop, bool /*first*/) {
    auto profile = QueryOrThrow<IVoAvailability>(source, IID_IVoAvailability);
    InterfaceRef<IUnknown> listed;
    ThrowIfFailed(profile->EnumPoints(start, stop, listed.Out()));
    auto points = QueryOrThrow<IEnumAvPoints>(listed.Get(), IID_IEnumAvPoints);

    tagAVAILABILITYPOINT p[kSourceChunk];
    for (;;) {
        ULONG fetched = 0;
        const HRESULT hr = points->Next(kSourceChunk, p, &fetched);
        ThrowIfFailed(hr);
        const ULONG n = hr == S_OK ? kSourceChunk : std::min(fetched, kSourceChunk);
        // A chunk of no points (the source ran out on a chunk boundary, or
        // had none) has nothing to lay down.
        if (n > 0) {
            for (ULONG i = 0; i + 1 < n; ++i) SetTimeSpan(p[i].dtDate, p[i + 1].dtDate, p[i].dblUnits);
            // The chunk's last point runs to stop; the next chunk's first
            // point cuts it again.
            const tagAVAILABILITYPOINT& q = p[n - 1];
            if (q.dtDate != stop) {
                if (stop >= dtOpenEnd)
                    AddPoint(q.dtDate, q.dblUnits);
                else
                    SetTimeSpan(q.dtDate, stop, q.dblUnits);
            }
        }
        if (hr != S_OK) break;
    }
}

void TVoAvailability::ApplyRules(DATE start, DATE stop) {
    for (DATE D = WholeDay(start); D < stop; D += 1.0) {
        InterfaceRef<IUnknown> listed;
        ThrowIfFailed(ruleSet->EnumRules(D, crAll, listed.Out()));
        auto rules = QueryOrThrow<IEnumRules>(listed.Get(), IID_IEnumRules);
        tagRULE chunk[kRuleChunk];
        for (;;) {
            ULONG fetched = 0;
            const HRESULT hr = rules->Next(kRuleChunk, chunk, &fetched);
            // A failing Next is a rule set with no rules at all: the day is
            // left as it is.
            if (FAILED(hr)) break;
            // Each chunk is applied as if it were the day's only rules, so a
            // day of exactly 10 rules ends on an empty chunk that makes it
            // working all day; deliberate.
            ApplyDayRules(D, hr == S_OK ? kRuleChunk : std::min(fetched, kRuleChunk), chunk);
            if (hr != S_OK) break;
        }
    }
}

void TVoAvailability::ApplyDayRules(DATE D, ULONG count, tagRULE* rules) {
    const DATE end = D + 1.0;
    for (ULONG i = 0; i < count; ++i) {
        if (rules[i].crRule != crPeriod) continue;
        rules[i].dtStart = std::max(rules[i].dtStart, D);
        rules[i].dtStop = std::min(rules[i].dtStop, end);
    }

    // The last whole-day rule decides whether the day works at all.
    bool working = true;
    for (ULONG i = 0; i < count; ++i)
        if (rules[i].crRule != crWorkingHour && IsWholeDayRule(rules[i])) working = Works(rules[i]);

    PointStore day(0.0, working ? 1.0 : 0.0);
    if (working) {
        DATE cursor = D;
        for (ULONG i = 0; i < count; ++i) {
            if (rules[i].crRule != crWorkingHour) continue;
            const DaySpan span = OnDay(rules[i], D);
            if (span.s > cursor) ostrel::SetTimeSpan(day, cursor, span.s, 0.0);
            MaskSpan(day, span.s, span.e, 1.0);
            cursor = span.e;
        }
        if (D < cursor && cursor < end) ostrel::SetTimeSpan(day, cursor, end, 0.0);
    }
    for (ULONG i = 0; i < count; ++i) {
        if (rules[i].crRule == crWorkingHour || IsWholeDayRule(rules[i])) continue;
        const DaySpan span = OnDay(rules[i], D);
        ostrel::SetTimeSpan(day, span.s, span.e, Works(rules[i]) ? 1.0 : 0.0);
    }

    if (day.Size() == 1) {
        // A uniform day replaces whatever units were there; a mixed day only
        // closes its non-working parts and keeps the units of its working
        // parts. The difference is deliberate.
        SetTimeSpan(D, end, day.begin()->second.dblUnits);
        return;
    }
    for (auto p = day.begin(); p != day.end(); ++p) {
        const auto next = std::next(p);
        const DATE e = next != day.end() ? next->first : end;
        MaskSpan(points, std::max(p->first, D), e, p->second.dblUnits);
        if (!(e < end)) break;
    }
}

}  // namespace ostrel
