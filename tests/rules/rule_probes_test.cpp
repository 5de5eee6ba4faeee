// The marker intervals a date is looked up by.
#include "rules/rule_probes.h"

#include "rules_test_support.h"

namespace {

using ostrel::ProbeRules;
using rules_test::At;

TEST(ProbeRules, EveryFamilyInMarkerOrder) {
    // A Thursday, the 4th of its month and judged the last, for three hours.
    const DATE start = At(2003, 11, 27, 14, 30, 15), stop = start + 3.0 / 24;
    const std::pair<DATE, ULONG> want[] = {
        {At(1902, 1, 1, 14, 30, 15), 0x0001},  {At(1903, 1, 5, 14, 30, 15), 0x0022},
        {At(1910, 1, 27, 14, 30, 15), 0x0080}, {At(1915, 4, 5, 14, 30, 15), 0x0040},
        {At(1915, 5, 5, 14, 30, 15), 0x0040},  {At(1920, 11, 27, 14, 30, 15), 0x0204},
        {At(1933, 11, 5, 14, 30, 15), 0x0108}, {At(1934, 11, 5, 14, 30, 15), 0x0108},
        {start, 0x0410}};
    const auto probes = ProbeRules(start, stop, crAll);
    ASSERT_EQ(probes.size(), std::size(want));
    for (size_t i = 0; i < probes.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_NEAR(probes[i].dtStart, want[i].first, rules_test::kTolerance);
        EXPECT_NEAR(probes[i].dtStop - probes[i].dtStart, stop - start, rules_test::kTolerance);
        EXPECT_EQ(probes[i].dwFamily, want[i].second);
    }
    // The older type bits ask for their current families.
    EXPECT_EQ(ProbeRules(start, stop, crRecurringDay | crRecurringDates | crRecurringDayMonth).size(), 4u);
    EXPECT_TRUE(ProbeRules(start, stop, 0).empty());
    EXPECT_HR(E_FAIL, HRESULT(rules_test::Caught([] { ProbeRules(-700000.0, -699999.0, crPeriod); }).code));
}

// A 4th occurrence counts as the last by the length of the month after it.
TEST(ProbeRules, LastWeekJudgedByTheFollowingMonthsLength) {
    const struct {
        const char* name;
        int y;
        unsigned m, d;
        bool alsoFifth;
    } cases[] = {
        {"Monday 24 Nov 2003 against December's 31", 2003, 11, 24, false},
        {"Thursday 27 Nov 2003", 2003, 11, 27, true},
        {"22 Jan 2003 against February's 28", 2003, 1, 22, true},
        {"22 Jan 2004 against a leap February's 29", 2004, 1, 22, false},
        {"24 Feb 2003, really the last Monday, against March's 31", 2003, 2, 24, false},
        {"25 Dec 2003 against the leap January's 31", 2003, 12, 25, true},
        {"28 Dec 2004 reads past the table: never", 2004, 12, 28, false},
        {"a 3rd occurrence", 2003, 11, 20, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto probes = ProbeRules(At(c.y, c.m, c.d), At(c.y, c.m, c.d) + 1, crRecurDayMonth | crRecurDayYear);
        EXPECT_EQ(probes.size(), c.alsoFifth ? 4u : 2u);
    }
    // A 5th occurrence probes the 5th-week markers directly, 1934 for the year.
    const auto fifth = ProbeRules(At(2003, 11, 29), At(2003, 11, 30), crRecurDayMonth | crRecurDayYear);
    ASSERT_EQ(fifth.size(), 2u);
    EXPECT_NEAR(fifth[0].dtStart, At(1915, 5, 7), rules_test::kTolerance);
    EXPECT_NEAR(fifth[1].dtStart, At(1934, 11, 7), rules_test::kTolerance);
}

}  // namespace
