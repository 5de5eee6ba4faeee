// Preparing a profile from real rule sets and from a source profile: which
// days are computed, and what each day becomes.
#include <chrono>
#include <cmath>
#include <limits>

#include "availability_test_support.h"
#include "test_profile.h"

namespace {

using avl_test::Caught;
using avl_test::Points;
using avl_test::Read;
using avl_test::TestProfile;
using avl_test::Write;
using ostrel::dtOpenEnd;
using ostrel::TVoAvailability;

DATE At(int y, unsigned m, unsigned d, int hour = 0, int minute = 0) {
    using namespace std::chrono;
    return DATE(sys_days{year{y} / month{m} / day{d}}.time_since_epoch().count() + 25569) + (hour * 60 + minute) / 1440.0;
}
const DATE kMonday = At(2003, 11, 24);
constexpr double kHour = 1.0 / 24;

// Dates within a microsecond (the rule set keeps times of day to the second
// through calendar conversions); units exactly.
void ExpectPoints(const Points& got, const Points& expected) {
    ASSERT_EQ(got.size(), expected.size()) << testing::PrintToString(got);
    for (size_t i = 0; i < got.size(); ++i) {
        EXPECT_NEAR(got[i].first, expected[i].first, 1e-9) << "point " << i << " of " << testing::PrintToString(got);
        EXPECT_EQ(got[i].second, expected[i].second) << "point " << i << " of " << testing::PrintToString(got);
    }
}

std::pair<DATE, DATE> Prepared(const TVoAvailability& profile) {
    std::pair<DATE, DATE> range;
    profile.GetPreparedRange(&range.first, &range.second);
    return range;
}

class Preparation : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
        ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                         reinterpret_cast<void**>(&rules)));
    }
    void TearDown() override {
        if (rules) rules->Release();
        CoUninitialize();
    }
    void Add(DATE start, DATE stop, bool working, tagRULETYPE type) {
        ASSERT_HR(S_OK, rules->AddRule(start, stop, working, type));
    }
    // 08:00 to 12:00 and 13:00 to 17:00, and with the week, Saturdays and
    // Sundays off (weekdays are given as days of the month: 1 is Sunday).
    void WorkingHours(bool week = false) {
        Add(At(2003, 1, 1, 8), At(2003, 1, 1, 12), true, crWorkingHour);
        Add(At(2003, 1, 1, 13), At(2003, 1, 1, 17), true, crWorkingHour);
        if (week) {
            Add(At(2003, 3, 7), At(2003, 3, 7), false, crRecurDayWeek);
            Add(At(2003, 3, 1), At(2003, 3, 1), false, crRecurDayWeek);
        }
    }
    IVoRules* rules = nullptr;
};

TEST_F(Preparation, WithoutRulesOrSourceNothingIsEverPrepared) {
    TVoAvailability profile(1.0);
    profile.Prepare(kMonday, kMonday + 3);
    EXPECT_TRUE(profile.EnsurePrepared(kMonday));
    EXPECT_EQ(Prepared(profile), std::pair(0.0, dtOpenEnd));
    EXPECT_FALSE(profile.RequiresPrepare());
    EXPECT_EQ(Read(profile), (Points{{0, 1}}));
}

TEST_F(Preparation, WorkingHoursKeepTheUnitsThatWereThere) {
    WorkingHours();
    const DATE D = kMonday;
    for (double units : {1.0, 2.0}) {
        SCOPED_TRACE(units);
        TVoAvailability profile(units);
        profile.SetRules(rules);
        profile.Prepare(D + 0.3, D + 0.6);
        ExpectPoints(Read(profile), {{0, units},
                                     {D, 0},
                                     {D + 8 * kHour, units},
                                     {D + 12 * kHour, 0},
                                     {D + 13 * kHour, units},
                                     {D + 17 * kHour, 0},
                                     {D + 1, units}});
        EXPECT_EQ(Prepared(profile), std::pair(D, D + 1));
    }
}

TEST_F(Preparation, UniformDaysReplaceTheUnits) {
    // Saturdays off, nothing said about Fridays.
    Add(At(2003, 3, 7), At(2003, 3, 7), false, crRecurDayWeek);
    TVoAvailability profile(2.0);
    profile.SetRules(rules);
    const DATE friday = kMonday + 4;
    profile.Prepare(friday, friday + 2);
    ExpectPoints(Read(profile), {{0, 2}, {friday, 1}, {friday + 1, 0}, {friday + 2, 2}});

    // An empty rule set answers no day at all: the profile keeps its units.
    IVoRules* empty = nullptr;
    ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                     reinterpret_cast<void**>(&empty)));
    profile.SetRules(empty);
    empty->Release();
    profile.Prepare(friday, friday + 2);
    ExpectPoints(Read(profile), {{0, 2}});
    EXPECT_EQ(Prepared(profile), std::pair(friday, friday + 2));
}

TEST_F(Preparation, APeriodOverSeveralDays) {
    const DATE D = kMonday;
    Add(D + 10 * kHour, D + 2 + 12 * kHour, false, crPeriod);
    TVoAvailability profile(1.0);
    profile.SetRules(rules);
    profile.Prepare(D, D + 3);
    // Its part on D runs to midnight; D + 1 is a whole day off; D + 2 until noon.
    ExpectPoints(Read(profile), {{0, 1}, {D + 10 * kHour, 0}, {D + 2 + 12 * kHour, 1}});
}

TEST_F(Preparation, RulesThatRunToMidnight) {
    // Both would give a day span ending before it starts; they run to the
    // end of the day.
    const DATE D = kMonday;
    Add(At(2003, 1, 1, 20), At(2003, 1, 2), true, crWorkingHour);
    Add(D + 22 * kHour, D + 1, false, crSpecialDay);
    TVoAvailability profile(1.0);
    profile.SetRules(rules);
    profile.Prepare(D, D + 1);
    ExpectPoints(Read(profile), {{0, 1}, {D, 0}, {D + 20 * kHour, 1}, {D + 22 * kHour, 0}, {D + 1, 1}});
}

TEST_F(Preparation, ADayOfExactlyTenRulesWorksAllDay) {
    // Deliberate: rules are read ten at a time, each chunk as if it were the
    // day's only rules, and ten rules end on an empty chunk.
    for (int count : {9, 10, 11}) {
        SCOPED_TRACE(count);
        IVoRules* set = nullptr;
        ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                         reinterpret_cast<void**>(&set)));
        for (int i = 0; i < count; ++i)
            ASSERT_HR(S_OK, set->AddRule(kMonday + (2 * i + 1) * kHour, kMonday + (2 * i + 2) * kHour, false, crSpecialDay));
        TVoAvailability profile(2.0);
        profile.SetRules(set);
        set->Release();
        profile.Prepare(kMonday, kMonday + 1);
        // A mixed day only closes hours, so every chunk's rules stay laid
        // down, until an empty chunk makes the day uniform.
        Points expected{{0, 2}};
        if (count == 10) {
            expected.insert(expected.end(), {{kMonday, 1}, {kMonday + 1, 2}});
        } else {
            for (int i = 0; i < count; ++i)
                expected.insert(expected.end(), {{kMonday + (2 * i + 1) * kHour, 0}, {kMonday + (2 * i + 2) * kHour, 2}});
        }
        ExpectPoints(Read(profile), expected);
    }
}

TEST_F(Preparation, ThePreparedRangeGrowsByWholeDays) {
    WorkingHours();
    const DATE D = kMonday;
    TVoAvailability profile(1.0);
    profile.SetRules(rules);
    profile.Prepare(D + 0.3, D + 2.2);
    EXPECT_EQ(Prepared(profile), std::pair(D, D + 3));
    // Written inside the prepared range, it survives a request that is
    // already prepared, and goes when a request reaches past both ends.
    const DATE tuesdayLunch = D + 1 + 12.5 * kHour;
    profile.SetTimeSpan(D + 1, D + 2, 5);
    profile.Prepare(D + 1, D + 2);
    EXPECT_EQ(profile.GetUnits(tuesdayLunch), 5.0);
    profile.Prepare(D - 2, D + 2);
    EXPECT_EQ(Prepared(profile), std::pair(D - 2, D + 3));
    EXPECT_EQ(profile.GetUnits(tuesdayLunch), 5.0);
    profile.Prepare(D - 3, D + 4);
    EXPECT_EQ(Prepared(profile), std::pair(D - 3, D + 4));
    EXPECT_EQ(profile.GetUnits(tuesdayLunch), 0.0);
    // Working hours of a mixed day keep the units they had.
    EXPECT_EQ(profile.GetUnits(D + 1 + 9 * kHour), 5.0);
}

TEST_F(Preparation, EnsurePreparedStepsFiftyDays) {
    WorkingHours();
    const DATE D = kMonday;
    TVoAvailability profile(1.0);
    profile.SetRules(rules);
    EXPECT_TRUE(profile.EnsurePrepared(D));
    EXPECT_EQ(Prepared(profile), std::pair(D, D + 50));
    EXPECT_FALSE(profile.EnsurePrepared(D + 25));
    EXPECT_TRUE(profile.EnsurePrepared(D + 50));
    EXPECT_EQ(Prepared(profile), std::pair(D, D + 100));
    EXPECT_TRUE(profile.EnsurePrepared(D + 120.5));
    EXPECT_EQ(Prepared(profile), std::pair(D, D + 150));
    EXPECT_TRUE(profile.EnsurePrepared(D));
    EXPECT_EQ(Prepared(profile), std::pair(D - 50, D + 150));
    EXPECT_TRUE(profile.EnsurePrepared(D + 300.5));
    EXPECT_EQ(Prepared(profile), std::pair(D - 50, D + 301));
}

TEST_F(Preparation, RangesTheRulesCannotServe) {
    WorkingHours();
    TVoAvailability profile(1.0);
    profile.SetRules(rules);
    for (auto [start, stop] : {std::pair{0.0, dtOpenEnd}, {0.5, dtOpenEnd}, {0.0, std::numeric_limits<double>::infinity()}})
        EXPECT_EQ(Caught([&] { profile.Prepare(start, stop); }).text, "Date range required when Rules is set.");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Caught([&] { profile.Prepare(nan, 5); }).text, "Invalid date range");
    EXPECT_EQ(Caught([&] { profile.Prepare(5, 4); }).text, "Invalid date range");
    // Backward from an open range needs its whole range prepared.
    IUnknown* unknown = nullptr;
    tagSCHEDULERESULT result;
    EXPECT_EQ(Caught([&] { profile.ScheduleTask(0, dtOpenEnd, 1, 1, sdBackward, &unknown, &result); }).text,
              "Date range required when Rules is set.");
    // A bounded start with an open stop prepares up to day 1: nothing, and
    // deliberately so.
    profile.Prepare(kMonday, 1e300);
    EXPECT_EQ(Prepared(profile), std::pair(kMonday, 1.0));
    // Beyond the calendar (31 December 9999) the rule set itself refuses,
    // which ends the day walk.
    TVoAvailability late(1.0);
    late.SetRules(rules);
    EXPECT_EQ(Caught([&] { late.Prepare(2958465.0, 1e15); }).code, DWORD(DISP_E_EXCEPTION));
    EXPECT_EQ(late.GetUnits(2958465.5), 0.0) << "the last day was laid down";
}

TEST_F(Preparation, SetRulesClearsAndKeepsOnlyRuleSets) {
    TVoAvailability profile(1.0);
    profile.SetRules(rules);
    profile.Prepare(kMonday, kMonday + 1);
    IUnknown* got = nullptr;
    profile.GetRules(&got);
    ASSERT_NE(got, nullptr);
    got->Release();
    TestProfile* notRules = TestProfile::Make();
    profile.SetRules(static_cast<IVoAvailability*>(notRules));
    notRules->Release();
    EXPECT_FALSE(profile.RequiresPrepare());
    EXPECT_EQ(Prepared(profile), std::pair(0.0, dtOpenEnd));
    EXPECT_EQ(Read(profile), (Points{{0, 1}}));
    got = reinterpret_cast<IUnknown*>(&profile);  // untouched without rules
    profile.GetRules(&got);
    EXPECT_EQ(got, reinterpret_cast<IUnknown*>(&profile));
}

TEST_F(Preparation, ASourceIsCopiedOverTheRange) {
    // Over the 64-point chunks, on a chunk boundary and short of one.
    for (int count : {3, 64, 150}) {
        SCOPED_TRACE(count);
        TestProfile* source = TestProfile::Make(0.0);
        Points points{{0, 0}};
        for (int i = 1; i <= count; ++i) points.emplace_back(100 + i, i % 2 ? 1.5 : 0.5);
        Write(source->engine, points);
        source->engine.SumUnits(101, 102, -2, ostrel::SUM_MARK_EXHAUSTED, true);  // not copied

        TVoAvailability profile(3.0);
        profile.AddSource(static_cast<IVoAvailability*>(source));
        source->Release();
        profile.Prepare(100.5, 100 + count - 0.5);
        // The source overwrites [100, 100 + count) and the profile's own
        // units hold again from its stop.
        Points expected{{0, 3}, {100, 0}, {101, -0.5}};
        for (int i = 2; i < count; ++i) expected.emplace_back(100 + i, i % 2 ? 1.5 : 0.5);
        expected.emplace_back(100 + count, 3);
        ExpectPoints(Read(profile), expected);
        for (ULONG flags : avl_test::Flags(profile)) EXPECT_EQ(flags, 0u);
    }
}

TEST_F(Preparation, AnOpenRangeCopiesTheWholeSource) {
    TestProfile* source = TestProfile::Make(0.0);
    Write(source->engine, {{0, 0}, {10, 2}, {20, 1}});
    TVoAvailability profile(3.0);
    profile.AddSource(static_cast<IVoAvailability*>(source));
    profile.Prepare(0, dtOpenEnd);
    EXPECT_EQ(Read(profile), (Points{{0, 0}, {10, 2}, {20, 1}}));
    // Deliberate: a bounded start with an open stop asks the source for a
    // range ending at day 1, which the source refuses.
    EXPECT_EQ(Caught([&] { profile.Prepare(30, dtOpenEnd); }).code, DWORD(DISP_E_EXCEPTION));
    source->Release();
}

TEST_F(Preparation, ForwardPlacementPreparesOnlyAsFarAsTheWorkGoes) {
    WorkingHours(true);
    const struct {
        double duration;  // days of working time at 8 hours a working day
        DATE preparedStop, lastStop;
    } cases[] = {
        {1.0, kMonday + 50, kMonday + 2 + 17 * kHour},                // three working days
        {20.0, kMonday + 100, kMonday + 7 * 11 + 4 + 17 * kHour},  // 60 working days: 12 weeks
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.duration);
        TVoAvailability profile(1.0);
        profile.SetRules(rules);
        IUnknown* unknown = nullptr;
        tagSCHEDULERESULT result;
        profile.ScheduleTask(kMonday, 1e6, c.duration, 1, sdForward, &unknown, &result);
        EXPECT_EQ(result, srIsScheduled);
        ASSERT_NE(unknown, nullptr);
        IEnumTimespans* e = nullptr;
        unknown->QueryInterface(IID_IEnumTimespans, reinterpret_cast<void**>(&e));
        tagTIMESPAN spans[200];
        ULONG n = 0;
        e->Next(200, spans, &n);
        e->Release();
        unknown->Release();
        EXPECT_EQ(n, ULONG(c.duration * 3 * 2));  // two spans a working day
        EXPECT_NEAR(spans[0].dtStart, kMonday + 8 * kHour, 1e-9);
        EXPECT_NEAR(spans[n - 1].dtStop, c.lastStop, 1e-9);
        EXPECT_EQ(Prepared(profile), std::pair(kMonday, c.preparedStop));
    }
}

}  // namespace
