#include "rules/rule_encoding.h"

#include <cmath>
#include <cstdint>

#include "foundation/vo_error.h"
#include "rules/calendar_fields.h"
#include "rules/rule_markers.h"

namespace ostrel {
namespace {

// Deliberately the start's whole days read as an unsigned 32-bit number: a
// start before 30 December 1899 becomes a day no calendar holds, so recurring
// families reject it in the conversion while special days and periods pass.
DWORD DayNumber(DATE date) {
    const double day = std::trunc(date);
    if (day >= -2147483648.0 && day < 4294967296.0) return DWORD(std::int64_t(day));
    // No 32-bit reading exists (huge or not a number): a day just as far
    // outside the calendar.
    return 0x80000000u;
}

// The day-of-week and week-of-month families carry a weekday in the day of
// the month.
void RequireWeekday(const SYSTEMTIME& fields) {
    if (fields.wDay > 7) throw EVoError(OLESTR("Day out of range"));
}

bool KeepsRealDates(ULONG type) { return type == crSpecialDay || type == crPeriod; }

}  // namespace

tagRULE EncodeRule(DATE dtStart, DATE dtStop, BOOL bWorking, ULONG crRule) {
    const DWORD base = DayNumber(dtStart);
    DATE day = base;
    ULONG type = crRule;

    switch (crRule) {
    case crWorkingHour: {
        // Converted only so that a start outside the calendar still fails.
        SYSTEMTIME fields = ToCalendar(base);
        fields.wYear = MARKER_WORKING_HOUR;
        fields.wMonth = 1;
        fields.wDay = 1;
        day = FromCalendar(fields);
        break;
    }
    case crRecurringDay:
    case crRecurDayWeek: {
        SYSTEMTIME fields = ToCalendar(base);
        RequireWeekday(fields);
        fields.wYear = MARKER_DAY_WEEK;
        fields.wMonth = 1;
        day = FromCalendar(fields);
        type = crRecurDayWeek;
        break;
    }
    case crRecurDateMonth: {
        SYSTEMTIME fields = ToCalendar(base);
        fields.wYear = MARKER_DATE_MONTH;
        fields.wMonth = 1;
        day = FromCalendar(fields);
        break;
    }
    case crRecurDayMonth: {
        SYSTEMTIME fields = ToCalendar(base);
        RequireWeekday(fields);
        if (fields.wMonth > MARKER_DAY_MONTH_LAST_WEEK) throw EVoError(OLESTR("Month out of range"));
        fields.wYear = MARKER_DAY_MONTH;
        day = FromCalendar(fields);
        break;
    }
    case crRecurringDayMonth:
    case crRecurDayYear: {
        // The caller already gives the marker date; it is only checked.
        const SYSTEMTIME fields = ToCalendar(base);
        if (fields.wYear < MARKER_DAY_YEAR_FIRST || fields.wYear > MARKER_DAY_YEAR_LAST)
            throw EVoError(OLESTR("Year out of range"));
        RequireWeekday(fields);
        type = crRecurDayYear;
        break;
    }
    case crRecurringDates:
    case crRecurDateYear: {
        SYSTEMTIME fields = ToCalendar(base);
        fields.wYear = MARKER_DATE_YEAR;
        day = FromCalendar(fields);
        type = crRecurDateYear;
        break;
    }
    case crSpecialDay:
    case crPeriod:
        break;
    default:
        throw EVoError(OLESTR("Rules rule type out of range"));
    }

    tagRULE rule{};
    rule.dtStart = day + (dtStart - base);
    // A recurring rule keeps only the stop's time of day, on the start's
    // marker day.
    rule.dtStop = KeepsRealDates(type) ? dtStop : day + (dtStop - std::trunc(dtStop));
    // A stop not after the start runs into the next day; for a special day or
    // period given as one date twice, that is the whole day.
    if (rule.dtStop <= rule.dtStart) rule.dtStop += 1.0;
    rule.crRule = tagRULETYPE(type);
    rule.bWorking = (bWorking & 0xFFFF) != 0 ? 1 : 0;
    rule.dwTag = 0;
    return rule;
}

}  // namespace ostrel
