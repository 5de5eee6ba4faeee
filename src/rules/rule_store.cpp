#include "rules/rule_store.h"

#include <algorithm>
#include <new>

#include "foundation/hresult.h"
#include "foundation/vo_error.h"
#include "rules/calendar_fields.h"
#include "rules/rule_encoding.h"
#include "rules/rule_markers.h"
#include "rules/rule_probes.h"

namespace ostrel {
namespace {

// The family a stored rule belongs to, by its marker year.
tagRULETYPE FamilyOfYear(WORD year) {
    switch (year) {
    case MARKER_WORKING_HOUR: return crWorkingHour;
    case MARKER_DAY_WEEK: return crRecurDayWeek;
    case MARKER_DATE_MONTH: return crRecurDateMonth;
    case MARKER_DAY_MONTH: return crRecurDayMonth;
    case MARKER_DATE_YEAR: return crRecurDateYear;
    case 1930:
    case 1931:
    case 1932:
    case 1933:
    case MARKER_DAY_YEAR_LAST: return crRecurDayYear;
    // 1934 is deliberately missing: a rule probed there reloads as a period.
    default: return crPeriod;
    }
}

DATE MarkerDay(WORD year, WORD month, WORD day) { return FromCalendar(CalendarDate(year, month, day)); }

// The first position in [lo, hi) at which before() stops holding.
template <class Pred>
size_t PartitionPoint(const std::vector<tagRULE>& rules, size_t lo, size_t hi, Pred before) {
    while (lo < hi) {
        const size_t mid = lo + (hi - lo) / 2;
        if (before(rules[mid]))
            lo = mid + 1;
        else
            hi = mid;
    }
    return lo;
}

}  // namespace

TVoRules::Range TVoRules::Overlapping(DATE start, DATE stop) const {
    tagRULE probe{};
    probe.dtStart = start;
    probe.dtStop = stop;
    const size_t first =
        PartitionPoint(rules_, 0, rules_.size(), [&](const tagRULE& r) { return RuleLess(r, probe); });
    const size_t last =
        PartitionPoint(rules_, first, rules_.size(), [&](const tagRULE& r) { return !RuleLess(probe, r); });
    return {first, last};
}

void TVoRules::Erase(Range range) {
    rules_.erase(rules_.begin() + std::ptrdiff_t(range.first), rules_.begin() + std::ptrdiff_t(range.last));
}

void TVoRules::LoadRule(DATE dtStart, DATE dtStop, BOOL bWorking) {
    tagRULE rule{};
    rule.dtStart = dtStart;
    rule.dtStop = dtStop;
    rule.crRule = FamilyOfYear(ToCalendar(dtStart).wYear);
    rule.bWorking = (bWorking & 0xFFFF) != 0 ? 1 : 0;
    rule.dwTag = 0;
    const Range hit = Overlapping(dtStart, dtStop);
    if (hit.first == hit.last) rules_.insert(rules_.begin() + std::ptrdiff_t(hit.first), rule);
}

tagRULE TVoRules::AddRule(DATE dtStart, DATE dtStop, BOOL bWorking, ULONG crRule) {
    const tagRULE rule = EncodeRule(dtStart, dtStop, bWorking, crRule);
    const Range hit = Overlapping(rule.dtStart, rule.dtStop);
    if (hit.first != hit.last) throw EVoError(OLESTR("Interval overlaps with existing interval"));
    rules_.insert(rules_.begin() + std::ptrdiff_t(hit.first), rule);
    return rule;
}

void TVoRules::DeleteRule(DATE dtStart, DATE dtStop, ULONG crRule) {
    if (dtStart == 0.0 && dtStop == 0.0) {
        switch (crRule) {
        case crWorkingHour:
            dtStart = MarkerDay(MARKER_WORKING_HOUR, 1, 1);
            dtStop = dtStart + 1.0;
            break;
        case crRecurringDay:
        case crRecurDayWeek:
            dtStart = MarkerDay(MARKER_DAY_WEEK, 1, 1);
            dtStop = dtStart + 7.0;
            break;
        case crRecurDateMonth:
            dtStart = MarkerDay(MARKER_DATE_MONTH, 1, 1);
            dtStop = dtStart + 31.0;
            break;
        case crRecurDayMonth:
            dtStart = MarkerDay(MARKER_DAY_MONTH, 1, 1);
            // Deliberately 7 May, not 8 May: 5th-week Saturday rules survive.
            dtStop = MarkerDay(MARKER_DAY_MONTH, MARKER_DAY_MONTH_LAST_WEEK, 7);
            break;
        case crRecurringDayMonth:
        case crRecurDayYear:
            dtStart = MarkerDay(MARKER_DAY_YEAR_FIRST, 1, 1);
            dtStop = MarkerDay(MARKER_DAY_YEAR_LAST + 1, 1, 1);
            break;
        case crRecurringDates:
        case crRecurDateYear:
            dtStart = MarkerDay(MARKER_DATE_YEAR, 1, 1);
            dtStop = MarkerDay(MARKER_DATE_YEAR + 1, 1, 1);
            break;
        case crSpecialDay:
        case crPeriod: {
            // Deliberately kept as found: the rule that spans the first
            // instant of 1916, if any, goes with everything stored after it.
            const DATE instant = MarkerDay(1916, 1, 1);
            const Range hit = Overlapping(instant, instant);
            if (hit.first != hit.last) Erase({hit.first, rules_.size()});
            return;
        }
        default:
            break;
        }
    }
    if (dtStop == 0.0) return;
    Erase(Overlapping(dtStart, dtStop));
}

RuleArray TVoRules::EnumRules(DATE dt, ULONG dwFilter) const {
    if (dt != 0.0) return EnumRulesEx(dt, dt + 1.0, dwFilter);
    // By stored type, so the older type bits select nothing here.
    std::vector<size_t> positions;
    for (size_t i = 0; i < rules_.size(); ++i)
        if (dwFilter == crAll || (ULONG(rules_[i].crRule) & dwFilter) != 0) positions.push_back(i);
    return CopyOut(positions);
}

RuleArray TVoRules::EnumRulesEx(DATE dtStart, DATE dtStop, ULONG dwFilter) const {
    if (rules_.empty()) return {};
    std::vector<size_t> positions;
    for (const RuleProbe& probe : ProbeRules(dtStart, dtStop, dwFilter)) {
        const Range hit = Overlapping(probe.dtStart, probe.dtStop);
        for (size_t i = hit.first; i < hit.last; ++i) positions.push_back(i);
    }
    // Store order, and a rule two probes found only once.
    std::sort(positions.begin(), positions.end());
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
    return CopyOut(positions);
}

RuleArray TVoRules::CopyOut(const std::vector<size_t>& positions) const {
    RuleArray out;
    out.count = ULONG(positions.size());
    // Even no records get an array of their own: only an empty store answers
    // with none.
    out.records.reset(ThrowIfNull(new (std::nothrow) tagRULE[positions.size()]));
    for (size_t i = 0; i < positions.size(); ++i) out.records[i] = rules_[positions[i]];
    return out;
}

}  // namespace ostrel
