// Calendar fields of automation dates, through the platform's conversions.
// Every rule operation that needs a year, month or weekday goes through here,
// so a date the platform rejects fails them all the same way: EVoError with
// the code E_FAIL.
#pragma once
#include <Ostrel.h>

namespace ostrel {

// The date's fields; the time of day is rounded to the whole second and the
// day of week counts from 0 = Sunday.
SYSTEMTIME ToCalendar(DATE date);

// The date of the fields; their day of week is ignored.
DATE FromCalendar(const SYSTEMTIME& fields);

// Fields for a calendar date at a time of day.
SYSTEMTIME CalendarDate(WORD year, WORD month, WORD day, WORD hour = 0, WORD minute = 0, WORD second = 0);

}  // namespace ostrel
