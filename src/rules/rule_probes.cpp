#include "rules/rule_probes.h"

#include "rules/calendar_fields.h"
#include "rules/rule_markers.h"

namespace ostrel {
namespace {

// Days of January to December of a common year, then of a leap year. The
// entry after them is deliberately what the lookup for December of a leap
// year reads: at 73 the last-week test never holds there.
constexpr WORD MONTH_LENGTHS[25] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31,
                                    31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31, 73};

// Whether a 4th occurrence of a weekday counts as the month's last. The month
// length is deliberately looked up one past the month's own entry (January is
// judged by 28 days, February by 31, ...).
bool IsJudgedLastWeek(const SYSTEMTIME& at) {
    const bool leap = at.wYear % 4 == 0 && (at.wYear % 100 != 0 || at.wYear % 400 == 0);
    const int length = MONTH_LENGTHS[at.wMonth + 12 * (leap ? 1 : 0)];
    return length - int(at.wDay) < 7;
}

}  // namespace

std::vector<RuleProbe> ProbeRules(DATE dtStart, DATE dtStop, ULONG dwFilter) {
    const DATE length = dtStop - dtStart;
    const SYSTEMTIME at = ToCalendar(dtStart);
    const WORD weekday = WORD(at.wDayOfWeek + 1);
    const WORD week = WeekOfMonth(at.wDay);
    const bool alsoLastWeek = week == 4 && IsJudgedLastWeek(at);

    std::vector<RuleProbe> probes;
    auto wanted = [&](ULONG family) { return (dwFilter & family) != 0; };
    auto probe = [&](ULONG family, WORD year, WORD month, WORD day) {
        const DATE marker = FromCalendar(CalendarDate(year, month, day, at.wHour, at.wMinute, at.wSecond));
        probes.push_back({marker, marker + length, family});
    };

    if (wanted(crWorkingHour)) probe(crWorkingHour, MARKER_WORKING_HOUR, 1, 1);

    constexpr ULONG weekly = crRecurringDay | crRecurDayWeek;
    if (wanted(weekly)) probe(weekly, MARKER_DAY_WEEK, 1, weekday);

    if (wanted(crRecurDateMonth)) probe(crRecurDateMonth, MARKER_DATE_MONTH, 1, at.wDay);

    if (wanted(crRecurDayMonth)) {
        probe(crRecurDayMonth, MARKER_DAY_MONTH, week, weekday);
        if (alsoLastWeek) probe(crRecurDayMonth, MARKER_DAY_MONTH, MARKER_DAY_MONTH_LAST_WEEK, weekday);
    }

    constexpr ULONG yearlyDate = crRecurringDates | crRecurDateYear;
    if (wanted(yearlyDate)) probe(yearlyDate, MARKER_DATE_YEAR, at.wMonth, at.wDay);

    constexpr ULONG yearlyWeekday = crRecurringDayMonth | crRecurDayYear;
    if (wanted(yearlyWeekday)) {
        probe(yearlyWeekday, WORD(MARKER_DAY_YEAR_FIRST - 1 + week), at.wMonth, weekday);
        if (alsoLastWeek) probe(yearlyWeekday, MARKER_DAY_YEAR_PROBED_LAST, at.wMonth, weekday);
    }

    constexpr ULONG realDates = crSpecialDay | crPeriod;
    if (wanted(realDates)) probes.push_back({dtStart, dtStop, realDates});
    return probes;
}

}  // namespace ostrel
