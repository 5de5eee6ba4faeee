// The rule store: reloading, deleting by family and enumerating.
#include "rules/rule_store.h"

#include <vector>

#include "rules_test_support.h"

namespace {

using ostrel::TVoRules;
using rules_test::At;

std::vector<tagRULE> All(const TVoRules& store, DATE day = 0.0) {
    const auto a = store.EnumRules(day, crAll);
    return a.records ? std::vector<tagRULE>(a.records.get(), a.records.get() + a.count) : std::vector<tagRULE>();
}
ULONG TypesIn(const TVoRules& store) {
    ULONG types = 0;
    for (const tagRULE& r : All(store)) types |= ULONG(r.crRule);
    return types;
}

// Whole-day rules: one of each stored family, two of the week-of-month one.
TVoRules OneOfEach() {
    TVoRules store;
    for (auto [at, type] : {std::pair{At(2003, 1, 1), crWorkingHour}, {At(2003, 3, 2), crRecurDayWeek},
                            {At(2003, 3, 15), crRecurDateMonth}, {At(2003, 4, 2), crRecurDayMonth},
                            {At(2003, 5, 7), crRecurDayMonth},  // 5th Saturday: 1915-05-07
                            {At(2003, 12, 25), crRecurDateYear}, {At(1933, 11, 5), crRecurDayYear},
                            {At(2003, 12, 24), crPeriod}})
        store.AddRule(at, at, 0, type);
    return store;
}
constexpr ULONG kAllTypes = 0x7E1;

// 1934 is no marker year: a rule kept there reloads as a period.
TEST(RuleStore, LoadTakesTheTypeFromTheMarkerYearAndSkipsOverlaps) {
    const std::pair<int, ULONG> cases[] = {
        {1902, crWorkingHour},  {1903, crRecurDayWeek}, {1910, crRecurDateMonth}, {1915, crRecurDayMonth},
        {1920, crRecurDateYear}, {1930, crRecurDayYear}, {1933, crRecurDayYear},   {1934, crPeriod},
        {1935, crRecurDayYear},  {1901, crPeriod},       {2003, crPeriod}};
    for (const auto& [year, type] : cases) {
        SCOPED_TRACE(year);
        TVoRules store;
        store.LoadRule(At(year, 1, 2, 8), At(year, 1, 2, 7), 0x10000);  // the stop kept, even before the start
        store.LoadRule(At(year, 1, 1), At(year, 1, 3), 1);
        const auto all = All(store);
        ASSERT_EQ(all.size(), 1u);
        EXPECT_EQ(ULONG(all[0].crRule), type);
        EXPECT_EQ(all[0].dtStop, At(year, 1, 2, 7));
        EXPECT_EQ(all[0].bWorking, 0);
    }
    TVoRules store;
    EXPECT_HR(E_FAIL, HRESULT(rules_test::Caught([&] { store.LoadRule(-700000.0, 0.0, 1); }).code));
}

TEST(RuleStore, DeleteWholeFamiliesOrAnInterval) {
    const struct {
        ULONG type;
        size_t left;
        ULONG typesLeft;
    } cases[] = {
        {crWorkingHour, 7, kAllTypes & ~0x1u},     {crRecurringDay, 7, kAllTypes & ~0x20u},
        {crRecurDayMonth, 7, kAllTypes},  // the 5th-Saturday rule on 7 May survives
        {crRecurDateMonth, 7, kAllTypes & ~0x80u}, {crRecurringDates, 7, kAllTypes & ~0x200u},
        {crRecurDayYear, 7, kAllTypes & ~0x100u},  {crRecurringDayMonth, 7, kAllTypes & ~0x100u},
        {crPeriod, 8, kAllTypes},                  {crAll, 8, kAllTypes},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.type);
        TVoRules store = OneOfEach();
        store.DeleteRule(0.0, 0.0, c.type);
        EXPECT_EQ(All(store).size(), c.left);
        EXPECT_EQ(TypesIn(store), c.typesLeft);
    }
    // Special days go from the rule spanning the first instant of 1916 on,
    // whatever it is; the 1902 to 1915 markers stay.
    TVoRules store = OneOfEach();
    store.AddRule(At(1915, 12, 31), At(1916, 1, 2), 0, crSpecialDay);
    store.DeleteRule(0.0, 0.0, crSpecialDay);
    EXPECT_EQ(All(store).size(), 5u);

    store = OneOfEach();
    store.DeleteRule(At(2003, 12, 24, 12), 0.0, crPeriod);  // a stop of 0 deletes nothing
    EXPECT_EQ(All(store).size(), 8u);
    store.DeleteRule(At(2003, 12, 24, 12), At(2003, 12, 24, 13), crNone);
    EXPECT_EQ(All(store).size(), 7u);
    store.DeleteRule(0.0, At(1912, 1, 1), crNone);  // everything that starts before the stop
    EXPECT_EQ(All(store).size(), 4u);
}

TEST(RuleStore, EnumerateAllByStoredType) {
    const TVoRules store = OneOfEach();
    for (auto [filter, count] : {std::pair{ULONG(crRecurringDay), 0u}, {crRecurringDates, 0u}, {crRecurDayWeek, 1u},
                                 {crRecurDayMonth | crPeriod, 3u}, {0xFFFFFFFF, 8u}}) {
        SCOPED_TRACE(filter);
        EXPECT_EQ(store.EnumRules(0.0, filter).count, count);
    }
}

TEST(RuleStore, EnumerateTheRulesOfADayInStoreOrderEachOnce) {
    TVoRules store;
    const struct {
        DATE at;
        ULONG type;
        bool found;  // on Thursday 27 November 2003, a 4th Thursday judged the last
    } rules[] = {
        {At(2003, 11, 28), crSpecialDay, false},    // touches the day's end
        {At(2003, 11, 20), crPeriod, true},         // up to 28 November
        {At(1935, 11, 5), crRecurDayYear, false},   // 5th Thursday of November, never probed
        {At(1934, 11, 5), crRecurDayYear, true},    {At(1933, 11, 5), crRecurDayYear, true},
        {At(2003, 11, 27), crRecurDateYear, true},  {At(2003, 5, 5), crRecurDayMonth, true},
        {At(2003, 4, 5), crRecurDayMonth, true},    {At(2003, 1, 26), crRecurDateMonth, false},
        {At(2003, 1, 27), crRecurDateMonth, true},  {At(2003, 1, 2), crRecurDayWeek, false},
        {At(2003, 1, 5), crRecurDayWeek, true},     {At(2003, 1, 1), crWorkingHour, true},
    };
    std::vector<DATE> want, got;
    for (const auto& r : rules) {
        const tagRULE stored = store.AddRule(r.at, r.type == crPeriod ? At(2003, 11, 28) : r.at, 1, r.type);
        if (r.found) want.insert(want.begin(), stored.dtStart);
    }
    for (const tagRULE& r : All(store, At(2003, 11, 27))) got.push_back(r.dtStart);
    EXPECT_EQ(got, want);

    // A real date among the markers is found by two probes, and comes once.
    TVoRules markers;
    markers.AddRule(At(2003, 1, 1, 8), At(2003, 1, 1, 9), 1, crWorkingHour);
    markers.AddRule(At(1902, 1, 1, 10), At(1902, 1, 1, 11), 0, crPeriod);
    EXPECT_EQ(markers.EnumRules(At(1902, 1, 1), crAll).count, 2u);
    EXPECT_EQ(markers.EnumRulesEx(At(1902, 1, 1), At(1902, 1, 2), crPeriod).count, 2u);
}

}  // namespace
