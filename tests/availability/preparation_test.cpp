// Preparing a profile from real rule sets and from a source profile: which
// days are computed, and what each day becomes.
#include <limits>

#include "availability_test_support.h"

namespace {

using namespace avl_test;

struct Rule {
    DATE start, stop;
    bool working;
    tagRULETYPE type;
};
IVoRules* RulesOf(const std::vector<Rule>& rules) {
    IVoRules* set = NewRules();
    for (const Rule& r : rules) EXPECT_HR(S_OK, set->AddRule(r.start, r.stop, r.working, r.type));
    return set;
}
const DATE kMonday = At(2003, 11, 24);
// 08:00 to 12:00 and 13:00 to 17:00; weekdays are given as days of the month
// (1 is Sunday, 7 Saturday).
const std::vector<Rule> kHours = {{At(2003, 1, 1, 8), At(2003, 1, 1, 12), true, crWorkingHour},
                                  {At(2003, 1, 1, 13), At(2003, 1, 1, 17), true, crWorkingHour}};
const Rule kSaturdaysOff = {At(2003, 3, 7), At(2003, 3, 7), false, crRecurDayWeek};
const Rule kSundaysOff = {At(2003, 3, 1), At(2003, 3, 1), false, crRecurDayWeek};

TVoAvailability& WithRules(TVoAvailability& profile, const std::vector<Rule>& rules) {
    IVoRules* set = RulesOf(rules);
    profile.SetRules(set);
    set->Release();
    return profile;
}

// Dates within a microsecond (the rule set keeps times of day to the second);
// units exactly.
void ExpectPoints(const Points& got, const Points& expected) {
    ASSERT_EQ(got.size(), expected.size()) << testing::PrintToString(got);
    for (size_t i = 0; i < got.size(); ++i) {
        EXPECT_NEAR(got[i].first, expected[i].first, 1e-9) << i << " of " << testing::PrintToString(got);
        EXPECT_EQ(got[i].second, expected[i].second) << i << " of " << testing::PrintToString(got);
    }
}

std::pair<DATE, DATE> Prepared(const TVoAvailability& profile) {
    std::pair<DATE, DATE> range;
    profile.GetPreparedRange(&range.first, &range.second);
    return range;
}

TEST(Preparation, WhatEachDayBecomes) {
    const DATE D = kMonday, F = kMonday + 4, h = kHour;
    const struct {
        const char* what;
        std::vector<Rule> rules;
        DATE start, stop;
        Points expected;
    } cases[] = {
        // Deliberate: working hours of a mixed day keep the units there were;
        // a uniform day replaces them.
        {"working hours", kHours, D + 0.3, D + 0.6,
         {{0, 2}, {D, 0}, {D + 8 * h, 2}, {D + 12 * h, 0}, {D + 13 * h, 2}, {D + 17 * h, 0}, {D + 1, 2}}},
        {"Friday and a Saturday off", {kSaturdaysOff}, F, F + 2, {{0, 2}, {F, 1}, {F + 1, 0}, {F + 2, 2}}},
        {"no rules at all: left as it was", {}, F, F + 2, {{0, 2}}},
        // Its part on D runs to midnight, D + 1 is off all day, D + 2 until noon.
        {"a period over days", {{D + 10 * h, D + 2 + 12 * h, false, crPeriod}}, D, D + 3,
         {{0, 2}, {D + 10 * h, 0}, {D + 2 + 12 * h, 2}}},
        // A stop at or before the start on the day's clock runs to midnight.
        {"rules to midnight",
         {{At(2003, 1, 1, 20), At(2003, 1, 2), true, crWorkingHour}, {D + 22 * h, D + 1, false, crSpecialDay}},
         D, D + 1, {{0, 2}, {D, 0}, {D + 20 * h, 2}, {D + 22 * h, 0}, {D + 1, 2}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TVoAvailability profile(2.0);
        WithRules(profile, c.rules).Prepare(c.start, c.stop);
        ExpectPoints(Read(profile), c.expected);
    }
}

TEST(Preparation, ADayOfExactlyTenRulesWorksAllDay) {
    // Deliberate: rules are read ten at a time, each chunk as if it were the
    // day's only rules; a mixed day keeps what earlier chunks laid down, and
    // the empty chunk after ten rules makes the day uniform.
    for (int count : {9, 10, 11}) {
        std::vector<Rule> rules;
        Points expected{{0, 2}};
        for (int i = 0; i < count; ++i) {
            const DATE from = kMonday + (2 * i + 1) * kHour, to = from + kHour;
            rules.push_back({from, to, false, crSpecialDay});
            if (count != 10) expected.insert(expected.end(), {{from, 0}, {to, 2}});
        }
        if (count == 10) expected.insert(expected.end(), {{kMonday, 1}, {kMonday + 1, 2}});
        TVoAvailability profile(2.0);
        WithRules(profile, rules).Prepare(kMonday, kMonday + 1);
        SCOPED_TRACE(count);
        ExpectPoints(Read(profile), expected);
    }
}

TEST(Preparation, ThePreparedRangeGrowsByWholeDays) {
    const DATE D = kMonday;
    TVoAvailability profile(1.0);
    EXPECT_TRUE(profile.EnsurePrepared(D)) << "asks, though nothing is there to prepare from";
    EXPECT_EQ(Prepared(profile), std::pair(0.0, dtOpenEnd));
    WithRules(profile, kHours).Prepare(D + 0.3, D + 2.2);
    EXPECT_EQ(Prepared(profile), std::pair(D, D + 3));
    // Written inside the prepared range, units survive a request that is
    // already prepared, and go when one reaches past both ends.
    const DATE tuesdayLunch = D + 1 + 12.5 * kHour;
    profile.SetTimeSpan(D + 1, D + 2, 5);
    profile.Prepare(D + 1, D + 2);
    profile.Prepare(D - 2, D + 2);
    EXPECT_EQ(Prepared(profile), std::pair(D - 2, D + 3));
    EXPECT_EQ(profile.GetUnits(tuesdayLunch), 5.0);
    profile.Prepare(D - 3, D + 4);
    EXPECT_EQ(Prepared(profile), std::pair(D - 3, D + 4));
    EXPECT_EQ(profile.GetUnits(tuesdayLunch), 0.0);
    EXPECT_EQ(profile.GetUnits(D + 1 + 9 * kHour), 5.0);
}

TEST(Preparation, EnsurePreparedStepsFiftyDays) {
    const DATE D = kMonday;
    TVoAvailability profile(1.0);
    WithRules(profile, kHours);
    const struct {
        DATE at;
        bool asked;
        DATE from, to;
    } steps[] = {{D, true, D, D + 50},         {D + 25, false, D, D + 50},       {D + 50, true, D, D + 100},
                 {D + 120.5, true, D, D + 150}, {D, true, D - 50, D + 150}, {D + 300.5, true, D - 50, D + 301}};
    for (const auto& s : steps) {
        EXPECT_EQ(profile.EnsurePrepared(s.at), s.asked) << s.at - D;
        EXPECT_EQ(Prepared(profile), std::pair(s.from, s.to)) << s.at - D;
    }
}

TEST(Preparation, RangesTheRulesCannotServe) {
    TVoAvailability profile(1.0);
    WithRules(profile, kHours);
    for (DATE stop : {dtOpenEnd, std::numeric_limits<double>::infinity()})
        EXPECT_EQ(Caught([&] { profile.Prepare(0.5, stop); }).text, "Date range required when Rules is set.");
    EXPECT_EQ(Caught([&] { profile.Prepare(std::numeric_limits<double>::quiet_NaN(), 5); }).text, "Invalid date range");
    EXPECT_EQ(Caught([&] { profile.Prepare(5, 4); }).text, "Invalid date range");
    IUnknown* unknown = nullptr;
    tagSCHEDULERESULT result;
    EXPECT_EQ(Caught([&] { profile.ScheduleTask(0, dtOpenEnd, 1, 1, sdBackward, &unknown, &result); }).text,
              "Date range required when Rules is set.") << "backward prepares its whole range";
    // Deliberate: the open end's whole day is 0, so a bounded start with an
    // open stop prepares up to day 1, that is nothing.
    profile.Prepare(kMonday, 1e300);
    EXPECT_EQ(Prepared(profile), std::pair(kMonday, 1.0));
    // Beyond 31 December 9999 the rule set itself refuses, which ends the walk.
    TVoAvailability late(1.0);
    EXPECT_EQ(Caught([&] { WithRules(late, kHours).Prepare(2958465.0, 1e15); }).code, DWORD(DISP_E_EXCEPTION));
    EXPECT_EQ(late.GetUnits(2958465.5), 0.0) << "the last day was laid down";
}

TEST(Preparation, SetRulesClearsAndKeepsOnlyRuleSets) {
    TVoAvailability profile(1.0);
    WithRules(profile, kHours).Prepare(kMonday, kMonday + 1);
    IUnknown* got = nullptr;
    profile.GetRules(&got);
    ASSERT_NE(got, nullptr);
    got->Release();
    IUnknown* notRules = Listed({});
    profile.SetRules(notRules);
    notRules->Release();
    EXPECT_FALSE(profile.RequiresPrepare());
    EXPECT_EQ(Prepared(profile), std::pair(0.0, dtOpenEnd));
    EXPECT_EQ(Read(profile), (Points{{0, 1}}));
    got = reinterpret_cast<IUnknown*>(&profile);
    profile.GetRules(&got);
    EXPECT_EQ(got, reinterpret_cast<IUnknown*>(&profile)) << "left as it was";
}

TEST(Preparation, ASourceIsCopiedOverTheRange) {
    for (int count : {3, 64, 150}) {  // short of a 64-point chunk, on its boundary, over several
        Points points{{0, 0}};
        for (int i = 1; i <= count; ++i) points.emplace_back(100 + i, i % 2 ? 1.5 : 0.5);
        IVoAvailability* source = Profile(points);
        source->SumUnits(101, 102, -2, ostrel::SUM_MARK_EXHAUSTED, TRUE);  // the mark is not copied
        TVoAvailability profile(3.0);
        profile.AddSource(source);
        source->Release();
        profile.Prepare(100.5, 100 + count - 0.5);
        // [100, 100 + count) comes from the source; the profile's own units
        // hold again from its stop.
        Points expected{{0, 3}, {100, 0}, {101, -0.5}};
        for (int i = 2; i < count; ++i) expected.emplace_back(100 + i, i % 2 ? 1.5 : 0.5);
        expected.emplace_back(100 + count, 3);
        EXPECT_EQ(Read(profile), expected) << count;
        EXPECT_EQ(Flags(profile), std::vector<ULONG>(expected.size(), 0));
    }
}

TEST(Preparation, AnOpenRangeCopiesTheWholeSource) {
    IVoAvailability* source = Profile({{0, 0}, {10, 2}, {20, 1}});
    TVoAvailability profile(3.0);
    profile.AddSource(source);
    source->Release();
    profile.Prepare(0, dtOpenEnd);
    EXPECT_EQ(Read(profile), (Points{{0, 0}, {10, 2}, {20, 1}}));
    // Deliberate: a bounded start with an open stop asks the source for a
    // range ending at day 1, which the source refuses.
    EXPECT_EQ(Caught([&] { profile.Prepare(30, dtOpenEnd); }).code, DWORD(DISP_E_EXCEPTION));
}

TEST(Preparation, ForwardPlacementPreparesOnlyAsFarAsTheWorkGoes) {
    const struct {
        double duration;  // working days at 8 hours: three per day of duration
        DATE preparedStop, lastStop;
    } cases[] = {{1.0, kMonday + 50, kMonday + 2 + 17 * kHour},
                 {20.0, kMonday + 100, kMonday + 7 * 11 + 4 + 17 * kHour}};  // 60 working days: 12 weeks
    for (const auto& c : cases) {
        TVoAvailability profile(1.0);
        std::vector<Rule> week = kHours;
        week.insert(week.end(), {kSaturdaysOff, kSundaysOff});
        WithRules(profile, week);
        IUnknown* unknown = nullptr;
        tagSCHEDULERESULT result;
        profile.ScheduleTask(kMonday, 1e6, c.duration, 1, sdForward, &unknown, &result);
        EXPECT_EQ(result, srIsScheduled);
        const Points spans = SpansOf(unknown);
        if (unknown) unknown->Release();
        ASSERT_EQ(spans.size(), size_t(c.duration * 3 * 2)) << "two spans a working day";
        EXPECT_NEAR(spans.front().first, kMonday + 8 * kHour, 1e-9);
        EXPECT_NEAR(spans.back().second, c.lastStop, 1e-9);
        EXPECT_EQ(Prepared(profile), std::pair(kMonday, c.preparedStop));
    }
}

}  // namespace
