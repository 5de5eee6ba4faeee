// Automation dates <-> SYSTEMTIME.
//
// A DATE counts days from 1899-12-30. Its whole part is the day and its
// fraction the time of day; for days before day 0 the fraction still counts
// forward through that day, so -1.25 is 1899-12-29 06:00 (the platform's rule).
#ifndef _WIN32

#include <windows.h>

#include <cmath>

#include "variant_internal.h"

namespace ostrel::platform {

// Days since 1970-01-01 by the usual era arithmetic, shifted to day 0.
int64_t DaysFromCivil(int64_t year, unsigned month, unsigned day) {
    year -= month <= 2;
    const int64_t era = (year >= 0 ? year : year - 399) / 400;
    const int64_t yoe = year - era * 400;
    const int64_t m = month;
    const int64_t doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + day - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    constexpr int64_t kUnixToDayZero = 25569;  // 1899-12-30 .. 1970-01-01
    return era * 146097 + doe - 719468 + kUnixToDayZero;
}

void CivilFromDays(int64_t days, int64_t* year, unsigned* month, unsigned* day) {
    const int64_t z = days - 25569 + 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const int64_t doe = z - era * 146097;
    const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const int64_t mp = (5 * doy + 2) / 153;
    *day = static_cast<unsigned>(doy - (153 * mp + 2) / 5 + 1);
    *month = static_cast<unsigned>(mp < 10 ? mp + 3 : mp - 9);
    *year = yoe + era * 400 + (*month <= 2);
}

DATE DateFromParts(int64_t days, int64_t hour, int64_t minute, int64_t second) {
    int64_t seconds = hour * 3600 + minute * 60 + second;
    days += seconds / 86400;
    seconds %= 86400;
    // Hours, then minutes, then seconds, each added on its own, counting away
    // from day 0 for days before it.
    const double direction = days >= 0 ? 1.0 : -1.0;
    double result = static_cast<double>(days);
    result += direction * static_cast<double>(seconds / 3600) / 24.0;
    result += direction * static_cast<double>(seconds / 60 % 60) / 1440.0;
    result += direction * static_cast<double>(seconds % 60) / 86400.0;
    return result;
}

}  // namespace ostrel::platform

using namespace ostrel::platform;

OSTREL_PLATFORM_FN INT WINAPI VariantTimeToSystemTime(DOUBLE vtime, LPSYSTEMTIME lpSystemTime) {
    if (!lpSystemTime) return FALSE;
    // Written this way round so that NaN is refused too.
    if (!(vtime > VTDATEGRE_MIN - 1.0 && vtime < VTDATEGRE_MAX + 1.0)) return FALSE;
    int64_t day = static_cast<int64_t>(std::trunc(vtime));
    // The platform rounds to the nearest second, halves up, and never
    // reports milliseconds.
    int64_t seconds = static_cast<int64_t>(std::floor(std::fabs(vtime - static_cast<double>(day)) * 86400.0 + 0.5));
    if (seconds >= 86400) {
        seconds -= 86400;
        ++day;  // the calendar day after, also for days before day 0
    }
    int64_t year;
    unsigned month, dayOfMonth;
    CivilFromDays(day, &year, &month, &dayOfMonth);
    if (year < 100 || year > 9999) return FALSE;
    lpSystemTime->wYear = static_cast<WORD>(year);
    lpSystemTime->wMonth = static_cast<WORD>(month);
    lpSystemTime->wDay = static_cast<WORD>(dayOfMonth);
    lpSystemTime->wDayOfWeek = static_cast<WORD>(((day % 7) + 7 + 6) % 7);  // day 0 was a Saturday
    lpSystemTime->wHour = static_cast<WORD>(seconds / 3600);
    lpSystemTime->wMinute = static_cast<WORD>(seconds / 60 % 60);
    lpSystemTime->wSecond = static_cast<WORD>(seconds % 60);
    lpSystemTime->wMilliseconds = 0;
    return TRUE;
}

OSTREL_PLATFORM_FN INT WINAPI SystemTimeToVariantTime(LPSYSTEMTIME lpSystemTime, DOUBLE* pvtime) {
    if (!lpSystemTime || !pvtime) return FALSE;
    const SYSTEMTIME& st = *lpSystemTime;
    // The platform refuses months past 12 and days past 31 but rolls smaller
    // overflows forward (2/30 is 3/1) and lets month 0 and day 0 step back.
    if (st.wMonth > 12 || st.wDay > 31 || st.wYear > 9999) return FALSE;
    int64_t year = st.wYear;
    // Two-digit years are read through the platform's window: 0-49 are
    // 2000-2049, 50-99 are 1950-1999.
    if (year < 50)
        year += 2000;
    else if (year < 100)
        year += 1900;
    unsigned month = st.wMonth;
    if (month == 0) {
        month = 12;
        --year;
    }
    const int64_t days = DaysFromCivil(year, month, 1) + st.wDay - 1;
    // Hours, minutes and seconds past their ranges carry over; milliseconds
    // are ignored, as on the platform.
    const double result = DateFromParts(days, st.wHour, st.wMinute, st.wSecond);
    if (result < VTDATEGRE_MIN || result >= VTDATEGRE_MAX + 1.0) return FALSE;
    *pvtime = result;
    return TRUE;
}

#endif
