#include "dates.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace cli {
namespace {

// Days from 1970-01-01 of a proleptic Gregorian date.
long long DaysFromEpoch(long long y, unsigned m, unsigned d) {
    y -= m <= 2;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = unsigned(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

constexpr long long kEpochToAutomation = 25569;  // 1970-01-01 as an automation date

bool Digits(std::string_view text, size_t at, size_t count, int& out) {
    if (at + count > text.size()) return false;
    out = 0;
    for (size_t i = at; i < at + count; ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        out = out * 10 + (text[i] - '0');
    }
    return true;
}

}  // namespace

DATE FromCivil(int year, int month, int day) {
    return double(DaysFromEpoch(year, unsigned(month), unsigned(day)) + kEpochToAutomation);
}

CivilDate ToCivil(DATE date) {
    long long z = (long long)std::floor(date) - kEpochToAutomation + 719468;
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = unsigned(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    const unsigned d = doy - (153 * mp + 2) / 5 + 1;
    const unsigned m = mp < 10 ? mp + 3 : mp - 9;
    return {int(yoe + era * 400 + (m <= 2)), int(m), int(d)};
}

int Weekday(DATE date) {
    // 30 December 1899 was a Saturday.
    long long day = (long long)std::floor(date);
    return int(((day + 6) % 7 + 7) % 7);
}

bool ValidCivil(int year, int month, int day) {
    static const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12 || day < 1) return false;
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return day <= lengths[month - 1] + (month == 2 && leap);
}

std::optional<double> ParseClock(std::string_view text) {
    int h = 0, m = 0;
    if (text.size() != 5 || text[2] != ':' || !Digits(text, 0, 2, h) || !Digits(text, 3, 2, m)) return {};
    if (m > 59 || h > 24 || (h == 24 && m != 0)) return {};
    return (h * 60 + m) / 1440.0;
}

std::optional<DATE> ParseDate(std::string_view text) {
    int y = 0, mo = 0, d = 0;
    if (text.size() < 10 || !Digits(text, 0, 4, y) || text[4] != '-' || !Digits(text, 5, 2, mo) || text[7] != '-' ||
        !Digits(text, 8, 2, d) || y < 1900 || !ValidCivil(y, mo, d))
        return {};
    DATE date = FromCivil(y, mo, d);
    if (text.size() == 10) return date;
    if (text.size() != 16 || (text[10] != ' ' && text[10] != 'T')) return {};
    const auto clock = ParseClock(text.substr(11));
    if (!clock) return {};
    return date + *clock;
}

std::string FormatDate(DATE date, bool dropMidnight) {
    long long minutes = std::llround(date * 1440.0);
    const long long day = minutes >= 0 ? minutes / 1440 : -((-minutes + 1439) / 1440);
    const int minute = int(minutes - day * 1440);
    const CivilDate c = ToCivil(double(day));
    char text[32];
    if (dropMidnight && minute == 0)
        std::snprintf(text, sizeof text, "%04d-%02d-%02d", c.year, c.month, c.day);
    else
        std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d", c.year, c.month, c.day, minute / 60, minute % 60);
    return text;
}

std::optional<double> ParseHours(std::string_view text, double hoursPerDay, bool allowNegative) {
    if (text.empty()) return {};
    double unit = 1.0;
    std::string_view number = text;
    switch (text.back()) {
    case 'd': unit = hoursPerDay; number.remove_suffix(1); break;
    case 'h': number.remove_suffix(1); break;
    case 'm': unit = 1.0 / 60; number.remove_suffix(1); break;
    default: break;
    }
    if (number.empty() || number.front() == '+') return {};
    double value = 0;
    const auto [end, ec] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (ec != std::errc() || end != number.data() + number.size() || !std::isfinite(value)) return {};
    if (value < 0 && !allowNegative) return {};
    const double hours = value * unit;
    if (std::fabs(hours) > 24.0 * 366 * 200) return {};  // longer than any project the engine can hold
    return hours;
}

std::string FormatHours(double hours, double hoursPerDay) {
    char text[48];
    const long long minutes = std::llround(hours * 60);
    const long long perDay = std::llround(hoursPerDay * 60);
    if (minutes == 0) return "0h";
    if (perDay > 0 && minutes % perDay == 0) {
        std::snprintf(text, sizeof text, "%lldd", minutes / perDay);
    } else if (perDay > 0 && minutes > perDay && (minutes * 10) % perDay == 0) {
        std::snprintf(text, sizeof text, "%.1fd", double(minutes) / double(perDay));
    } else if (minutes % 60 == 0) {
        std::snprintf(text, sizeof text, "%lldh", minutes / 60);
    } else if (minutes < 60) {
        std::snprintf(text, sizeof text, "%lldm", minutes);
    } else {
        std::snprintf(text, sizeof text, "%lldh %02lldm", minutes / 60, minutes % 60);
    }
    return text;
}

}  // namespace cli
