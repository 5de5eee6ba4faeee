// A caller's rule and the form the store keeps it in.
#include "rules/rule_encoding.h"

#include "rules_test_support.h"

namespace {

using ostrel::EncodeRule;
using rules_test::At;
using rules_test::Caught;

TEST(EncodeRule, StoredForms) {
    const struct {
        const char* name;
        DATE start, stop;
        BOOL working;
        ULONG type;
        DATE wantStart, wantStop;
        ULONG wantType;
        BOOL wantWorking;
    } cases[] = {
        {"working hours past midnight", At(2011, 7, 19, 14), At(2011, 7, 19, 9), 1, crWorkingHour,
         At(1902, 1, 1, 14), At(1902, 1, 2, 9), crWorkingHour, 1},
        {"Monday as any 2nd, older name; the stop's own day is dropped", At(2015, 3, 2, 8), At(2020, 6, 5, 17), 1,
         crRecurringDay, At(1903, 1, 2, 8), At(1903, 1, 2, 17), crRecurDayWeek, 1},
        {"31st of every month; bWorking's upper half is ignored", At(2003, 8, 31, 9), At(2003, 8, 31, 10), 0x10000,
         crRecurDateMonth, At(1910, 1, 31, 9), At(1910, 1, 31, 10), crRecurDateMonth, 0},
        {"5th Saturday of every month, whole day", At(2003, 5, 7), At(2003, 5, 7), 0x7FFF0002, crRecurDayMonth,
         At(1915, 5, 7), At(1915, 5, 8), crRecurDayMonth, 1},
        {"29 February every year, older name", At(2004, 2, 29), At(2004, 2, 29, 12), 1, crRecurringDates,
         At(1920, 2, 29), At(1920, 2, 29, 12), crRecurDateYear, 1},
        {"yearly weekday kept as given, 1935 too, older name", At(1935, 12, 7, 8), At(1935, 12, 7, 17), 1,
         crRecurringDayMonth, At(1935, 12, 7, 8), At(1935, 12, 7, 17), crRecurDayYear, 1},
        {"special day given twice is that whole day", At(2003, 12, 25), At(2003, 12, 25), 0, crSpecialDay,
         At(2003, 12, 25), At(2003, 12, 26), crSpecialDay, 0},
        {"period ending before it starts gains one day, nothing more", At(2003, 1, 10), At(2003, 1, 5), 0, crPeriod,
         At(2003, 1, 10), At(2003, 1, 6), crPeriod, 0},
        {"period before 1899 stays where it is", -1.5, -1.25, 1, crPeriod, -1.5, -1.25, crPeriod, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const tagRULE r = EncodeRule(c.start, c.stop, c.working, c.type);
        EXPECT_NEAR(r.dtStart, c.wantStart, rules_test::kTolerance);
        EXPECT_NEAR(r.dtStop, c.wantStop, rules_test::kTolerance);
        EXPECT_EQ(ULONG(r.crRule), c.wantType);
        EXPECT_EQ(r.bWorking, c.wantWorking);
        EXPECT_EQ(r.dwTag, 0u);
    }
}

TEST(EncodeRule, ErrorsInTheirOrder) {
    const struct {
        const char* name;
        DATE start;
        ULONG type;
        const char* text;
    } cases[] = {
        {"weekly on an 8th", At(2003, 3, 8), crRecurDayWeek, "Day out of range"},
        {"week-of-month in June", At(2003, 6, 3), crRecurDayMonth, "Month out of range"},
        {"week-of-month: the day before the month", At(2003, 6, 10), crRecurDayMonth, "Day out of range"},
        {"yearly weekday in 1936, older name", At(1936, 3, 2), crRecurringDayMonth, "Year out of range"},
        {"yearly weekday: the year before the day", At(1950, 3, 10), crRecurDayYear, "Year out of range"},
        {"yearly weekday on an 8th", At(1934, 3, 8), crRecurDayYear, "Day out of range"},
        {"no type", At(2003, 3, 2), crNone, "Rules rule type out of range"},
        {"the filter value", At(2003, 3, 2), crAll, "Rules rule type out of range"},
        {"the type before the date", -10.0, 0x800, "Rules rule type out of range"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Caught([&] { EncodeRule(c.start, c.start + 0.5, 1, c.type); }).text, c.text);
    }
    // A start before 1899, its whole days read unsigned, lies outside the
    // calendar for every recurring family: a numbered error with the system's text.
    for (ULONG type : {1u, 2u, 4u, 8u, 32u, 64u, 128u, 256u, 512u}) {
        SCOPED_TRACE(type);
        const auto failure = Caught([&] { EncodeRule(-1.5, 3.0, 1, type); });
        EXPECT_HR(E_FAIL, HRESULT(failure.code));
        EXPECT_EQ(failure.text, test::SystemText(E_FAIL));
    }
}

}  // namespace
