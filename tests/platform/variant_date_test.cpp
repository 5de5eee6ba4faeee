#include <cmath>
#include <cstdio>
#include <string>

#include "platform/variant_test_support.h"

namespace {

std::string Show(const SYSTEMTIME& st) {
    char b[64];
    std::snprintf(b, sizeof b, "%04u-%02u-%02u %02u:%02u:%02u.%03u dow%u", st.wYear, st.wMonth, st.wDay, st.wHour,
                  st.wMinute, st.wSecond, st.wMilliseconds, st.wDayOfWeek);
    return b;
}

TEST(VariantDate, ToSystemTimeRoundsToTheSecond) {
    struct Case {
        double date;
        const char* expected;  // nullptr: refused
        // Wine differs from the documented platform on these: the weekday is
        // the one before rounding carried into the next day, and a date that
        // rounds past 9999 or is no number at all still gives a time.
        const char* wine = nullptr;
    };
    const Case cases[] = {
        {0, "1899-12-30 00:00:00.000 dow6"}, {38000.5, "2004-01-14 12:00:00.000 dow3"},
        {-1.25, "1899-12-29 06:00:00.000 dow5"},  // the fraction counts forward through day -1
        {-2.75, "1899-12-28 18:00:00.000 dow4"}, {61, "1900-03-01 00:00:00.000 dow4"},
        {0.5 / 86400 + 1e-12, "1899-12-30 00:00:01.000 dow6"}, {0.4 / 86400, "1899-12-30 00:00:00.000 dow6"},
        {36526.999999, "2000-01-02 00:00:00.000 dow0", "2000-01-02 00:00:00.000 dow6"},  // rounding carries into the next day
        {-1.9999999, "1899-12-30 00:00:00.000 dow6", "1899-12-30 00:00:00.000 dow5"},
        {-657434, "0100-01-01 00:00:00.000 dow5"},
        {2958465.99999, "9999-12-31 23:59:59.000 dow5"}, {-657435, nullptr}, {2958466, nullptr},
        {2958465.999999, nullptr, "10000-01-01 00:00:00.000 dow5"},  // rounds into year 10000
        {NAN, nullptr, "1899-12-30 00:00:00.000 dow5"},
    };
    for (const Case& c : cases) {
        SYSTEMTIME st = {1, 1, 1, 1, 1, 1, 1, 1};
        const INT ok = VariantTimeToSystemTime(c.date, &st);
        const char* expected = c.wine && test::UnderWine() ? c.wine : c.expected;
        if (expected) {
            EXPECT_TRUE(ok) << c.date;
            EXPECT_EQ(Show(st), expected) << "date " << c.date;
        } else {
            EXPECT_FALSE(ok) << c.date << " gave " << Show(st);
        }
    }
#ifndef _WIN32
    // Our layer's own guard: the platform documents nothing for a null
    // time, and Wine reads through it.
    EXPECT_FALSE(VariantTimeToSystemTime(0, nullptr));
#endif
}

TEST(VariantDate, FromSystemTimeNormalisesAsThePlatformDoes) {
    struct Case {
        WORD year, month, day, hour, minute, second, ms;
        double expected;  // NAN: refused
    };
    const Case cases[] = {
        {2004, 1, 14, 12, 0, 0, 999, 38000.5},  // milliseconds are ignored
        {2004, 1, 14, 12, 30, 45, 0, 38000.521354166667}, {1899, 12, 29, 6, 0, 0, 0, -1.25},
        {2004, 2, 30, 0, 0, 0, 0, 38047},  // March 1st
        {2004, 0, 1, 0, 0, 0, 0, 37956},   // month 0 is December before
        {2004, 1, 0, 0, 0, 0, 0, 37986},   // day 0 is the day before
        {2004, 1, 1, 25, 0, 0, 0, 37988.041666666664}, {2004, 1, 1, 0, 0, 61, 0, 37987.000706018523},
        {49, 1, 1, 0, 0, 0, 0, 54424},  // 2049
        {50, 1, 1, 0, 0, 0, 0, 18264},  // 1950
        {100, 1, 1, 0, 0, 0, 0, -657434}, {9999, 12, 31, 23, 59, 59, 0, 2958465.999988426},
        {2004, 13, 1, 0, 0, 0, 0, NAN}, {2004, 1, 32, 0, 0, 0, 0, NAN},
    };
    for (const Case& c : cases) {
        SYSTEMTIME st = {c.year, c.month, 0, c.day, c.hour, c.minute, c.second, c.ms};
        double out = -12345;
        const INT ok = SystemTimeToVariantTime(&st, &out);
        const std::string label = Show(st);
        if (std::isnan(c.expected)) {
            EXPECT_FALSE(ok) << label << " gave " << out;
            EXPECT_EQ(out, -12345) << label;
        } else {
            EXPECT_TRUE(ok) << label;
            EXPECT_DOUBLE_EQ(out, c.expected) << label;
        }
    }
#ifndef _WIN32
    // Our layer's own guard: the platform documents nothing for a null
    // time, and Wine reads through it.
    double out = 0;
    EXPECT_FALSE(SystemTimeToVariantTime(nullptr, &out));
#endif
}

TEST(VariantDate, RoundTripsEverySecondOfADay) {
    for (int s = 0; s < 86400; s += 7) {
        SYSTEMTIME st = {2004, 1, 0, 14, WORD(s / 3600), WORD(s / 60 % 60), WORD(s % 60), 0};
        double date = 0;
        ASSERT_TRUE(SystemTimeToVariantTime(&st, &date));
        SYSTEMTIME back = {};
        ASSERT_TRUE(VariantTimeToSystemTime(date, &back));
        ASSERT_EQ(back.wHour * 3600 + back.wMinute * 60 + back.wSecond, s) << Show(back);
    }
}

}  // namespace
