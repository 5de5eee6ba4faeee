// Calendar words to calendar rules. People say "08:00-12:00", "saturday",
// "2026-12-25", "12-25", "last monday of may"; the rule set stores each as a
// rule of one family, its recurrence carried by a marker date:
//
//   working hours         crWorkingHour    times on any day
//   a weekday off         crRecurDayWeek   a day of the month that is the
//                                          weekday's number, Sunday = 1
//   a date every year     crRecurDateYear  that month and day
//   n-th weekday of a     crRecurDayYear   year 1929 + n (1934 for the last),
//     month every year                     the month, the weekday's number
//   n-th weekday of       crRecurDayMonth  month n (5 for the last), the
//     every month                          weekday's number
//   one date              crSpecialDay     the date itself
//   a span of dates       crPeriod         from the first day to the end of
//                                          the last
//
// Each function throws WordsError with what is wrong with the words.
#pragma once
#include <stdexcept>
#include <string_view>
#include <vector>

#include "project.h"

namespace cli {

struct WordsError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// "08:00-12:00": one working-hour rule.
RuleSpec WorkingHours(std::string_view words);
// "saturday" (or "sat"): the weekday is not worked.
RuleSpec WeekdayOff(std::string_view words);
// "2026-12-25", or "2026-08-03..2026-08-14" for a span of whole days.
RuleSpec Holiday(std::string_view words);
// "12-25": that date is not worked, every year.
RuleSpec YearlyHoliday(std::string_view words);
// "last monday of may", "1st thursday of november", "first monday of every
// month": not worked.
RuleSpec NthWeekday(std::string_view words);
// "2026-03-07" (the whole day is worked, with the calendar's working hours)
// or "2026-03-07 08:00-12:00" (those hours are worked).
RuleSpec WorkingDay(std::string_view words);

}  // namespace cli
