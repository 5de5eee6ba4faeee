// The default calendar: what its rules mean on a real rule set. Its creation
// through the component runtime is seen in the runs that fall back on it.
#include "scheduler/default_calendar.h"
#include "scheduler_test_support.h"

namespace {

using sched_test::Profile;

struct WithRuntime : ::testing::Test {
    void SetUp() override { ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr))); }
    void TearDown() override { CoUninitialize(); }
};

// On a real rule set: weekdays work 08:00-12:00 and 13:00-17:00, Saturdays
// and Sundays do not.
TEST_F(WithRuntime, TheRulesMeanAWorkingWeek) {
    IVoRules* rules = nullptr;
    ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                     reinterpret_cast<void**>(&rules)));
    Profile* profile = Profile::New("calendar", nullptr, nullptr);
    profile->expectSetRules = true;
    ostrel::FillDefaultCalendar(*profile, *rules);

    struct Day {
        const char* name;
        DATE date;
        int working, offDays;
    } days[] = {
        {"Monday 1 January 2024", 45292.0, 2, 0},
        {"Friday 5 January 2024", 45296.0, 2, 0},
        {"Saturday 6 January 2024", 45297.0, 2, 1},
        {"Sunday 7 January 2024", 45298.0, 2, 1},
    };
    for (const Day& d : days) {
        IUnknown* unknown = nullptr;
        ASSERT_HR(S_OK, rules->EnumRules(d.date, 0xFFFF, &unknown)) << d.name;
        IEnumRules* e = nullptr;
        ASSERT_HR(S_OK, unknown->QueryInterface(IID_IEnumRules, reinterpret_cast<void**>(&e)));
        int working = 0, offDays = 0;
        tagRULE rule;
        while (e->Next(1, &rule, nullptr) == S_OK) {
            if (rule.crRule == crWorkingHour && (rule.bWorking & 0xFFFF)) ++working;
            if (rule.crRule == crRecurDayWeek && !(rule.bWorking & 0xFFFF)) ++offDays;
        }
        EXPECT_EQ(working, d.working) << d.name;
        EXPECT_EQ(offDays, d.offDays) << d.name;
        e->Release();
        unknown->Release();
    }
    profile->Release();
    rules->Release();
}

}  // namespace
