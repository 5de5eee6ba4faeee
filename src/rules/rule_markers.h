// Marker years. A recurring rule is stored on a fixed day of a reserved year
// early in the twentieth century: the year names the rule's family and the
// month and day carry the recurrence, so one ordered store and one overlap
// test serve every family. Weekdays are numbered 1 = Sunday .. 7 = Saturday.
#pragma once
#include <Ostrel.h>

namespace ostrel {

inline constexpr WORD MARKER_WORKING_HOUR = ryWorkingHour;    // 1902-01-01 stands for every day
inline constexpr WORD MARKER_DAY_WEEK = ryRecurDayWeek;       // 1903-01-weekday
inline constexpr WORD MARKER_DATE_MONTH = ryRecurDateMonth;   // 1910-01-day of month
inline constexpr WORD MARKER_DAY_MONTH = ryRecurDayMonth;     // 1915-week of month-weekday
inline constexpr WORD MARKER_DATE_YEAR = ryRecurDateYear;     // 1920-month-day; a leap year, for 29 February
inline constexpr WORD MARKER_DAY_YEAR_FIRST = ry1stDayInMonth;  // (1929 + week of month)-month-weekday

// The 5th-week yearly marker is deliberately not one year everywhere: probes
// reach 1934 at most, encoding accepts up to 1935, and reloading counts 1934
// as a real period, so a rule kept in 1935 is never found.
inline constexpr WORD MARKER_DAY_YEAR_PROBED_LAST = 1934;
inline constexpr WORD MARKER_DAY_YEAR_LAST = ry5thDayInMonth;  // 1935

// The month a week-of-month rule's 5th occurrence lives in, under 1915.
inline constexpr WORD MARKER_DAY_MONTH_LAST_WEEK = 5;

// Days 1-7 give 1, 8-14 give 2, ..., 29-31 give 5.
constexpr WORD WeekOfMonth(WORD dayOfMonth) { return WORD((dayOfMonth - 1) / 7 + 1); }

}  // namespace ostrel
