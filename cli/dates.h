// Dates and durations as people write them, and as automation dates (days
// since 30 December 1899, the fraction being the time of day).
#pragma once
#include <Ostrel.h>

#include <optional>
#include <string>
#include <string_view>

namespace cli {

struct CivilDate {
    int year = 0, month = 0, day = 0;
};

DATE FromCivil(int year, int month, int day);
CivilDate ToCivil(DATE date);
// 0 = Sunday ... 6 = Saturday.
int Weekday(DATE date);
bool ValidCivil(int year, int month, int day);

// "2026-03-02", "2026-03-02 08:00" or "2026-03-02T08:00"; years 1900 to 9999.
std::optional<DATE> ParseDate(std::string_view text);
// "HH:MM" as a fraction of a day; "24:00" is allowed as the end of a day.
std::optional<double> ParseClock(std::string_view text);
// "YYYY-MM-DD HH:MM", the time rounded to the minute; the time is left out
// when asked and it is midnight.
std::string FormatDate(DATE date, bool dropMidnight = false);

// "3d", "4h", "90m", "1.5d" or a bare number of hours, with hoursPerDay
// hours in a day; answers hours. Negative amounts only when allowed.
std::optional<double> ParseHours(std::string_view text, double hoursPerDay, bool allowNegative = false);
// Hours as "3d", "4h 30m" with hoursPerDay hours in a day.
std::string FormatHours(double hours, double hoursPerDay);

}  // namespace cli
