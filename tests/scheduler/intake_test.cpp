// Task sets as the host hands them over: reading in chunks, the date range,
// the profile a set keeps, cookies and set lookups.
#include <cmath>
#include <limits>

#include "foundation/message_numbers.h"
#include "foundation/vo_error.h"
#include "scheduler/scheduler.h"
#include "scheduler_test_support.h"

namespace {

using ostrel::EVoError;
using ostrel::InterfaceRef;
using ostrel::TVoScheduler;
using sched_test::DataEnum;
using sched_test::NextAnswer;
using sched_test::Profile;

// An engine whose default calendar is a test profile, counting how often
// one is made.
struct Intake : ::testing::Test {
    int calendarsMade = 0;
    bool calendarDestroyed = false;
    TVoScheduler engine{nullptr, [this] {
                            ++calendarsMade;
                            calendarDestroyed = false;
                            return InterfaceRef<IVoAvailability>(
                                Profile::New("calendar", &calendarDestroyed, nullptr));
                        }};

    // Takes over the caller's reference to records, whatever the intake does.
    DWORD Add(DataEnum* records, IVoAvailability* profile = nullptr, DATE start = 45000.0, DATE stop = 45100.0) {
        InterfaceRef<IEnumScheduleData> held(records);
        return engine.AddScheduleData(records, profile, start, stop);
    }
};

TEST_F(Intake, ReadsInChunksOfAHundred) {
    struct Case {
        const char* name;
        ULONG records;
        std::vector<NextAnswer> script;
        size_t stored;
        int calls;
    } cases[] = {
        {"250 records", 250, {}, 250, 3},
        {"exactly 100, then nothing", 100, {}, 100, 2},
        {"none", 0, {}, 0, 1},
        {"S_OK short of the chunk is taken and ends the reading", 150, {{S_OK, 100, 100}, {S_OK, 30, 30}}, 130, 2},
        {"S_OK with nothing ends the reading", 10, {{S_OK, 0, 0}}, 0, 1},
        {"an unknown success code takes nothing more", 300, {{S_OK, 100, 100}, {HRESULT(2), 100, 100}}, 100, 2},
        {"a count past the chunk is held to it", 200, {{S_FALSE, 100, 5000}}, 100, 1},
    };
    for (const Case& c : cases) {
        auto* records = DataEnum::New(c.records, c.script);
        records->AddRef();
        DWORD cookie = Add(records);
        const auto& tasks = engine.SetByCookie(cookie).Tasks();
        EXPECT_EQ(tasks.size(), c.stored) << c.name;
        EXPECT_EQ(records->nextCalls, c.calls) << c.name;
        for (ULONG asked : records->asked) EXPECT_EQ(asked, 100u) << c.name;
        // The records kept are the ones delivered, in delivery order.
        for (size_t i = 0; i < tasks.size(); ++i) ASSERT_EQ(sched_test::KeyOf(tasks[i]), LONG(i + 1)) << c.name;
        records->Release();
    }
}

TEST_F(Intake, AFailingNextStoresNothing) {
    auto* records = DataEnum::New(300, std::vector<NextAnswer>{{S_OK, 100, 100}, {E_UNEXPECTED, 0, 0}});
    EXPECT_HR(E_UNEXPECTED, sched_test::Thrown([&] { Add(records); }));
    EXPECT_EQ(engine.Sets().Size(), 0u);
}

TEST_F(Intake, ARangeThatDoesNotGoForwardIsRefused) {
    const DATE nan = std::numeric_limits<double>::quiet_NaN();
    const DATE ranges[][2] = {{45000.0, 45000.0}, {45000.0, 44999.5}, {nan, 45000.0}, {45000.0, nan}};
    for (const auto& range : ranges) {
        auto* records = DataEnum::New(5);
        records->AddRef();
        try {
            Add(records, nullptr, range[0], range[1]);
            ADD_FAILURE() << range[0] << ".." << range[1] << " accepted";
        } catch (const EVoError& e) {
            EXPECT_EQ(e.Code, DWORD(VOMSG_SCHEDULE_RANGE_EMPTY));
            EXPECT_FALSE(e.Message.empty());
        }
        EXPECT_EQ(records->nextCalls, 0) << "nothing is read";
        records->Release();
    }
    EXPECT_EQ(engine.Sets().Size(), 0u);
    EXPECT_EQ(calendarsMade, 0);
}

TEST_F(Intake, SetsWithoutProfileShareOneDefaultCalendarUntilClear) {
    DWORD first = Add(DataEnum::New(1));
    DWORD second = Add(DataEnum::New(1));
    EXPECT_EQ(calendarsMade, 1);
    IVoAvailability* calendar = engine.SetByCookie(first).Profile();
    ASSERT_NE(calendar, nullptr);
    EXPECT_EQ(engine.SetByCookie(second).Profile(), calendar);
    EXPECT_EQ(engine.DefaultCalendar().Get(), calendar);

    engine.Clear();
    EXPECT_TRUE(calendarDestroyed) << "the sets and the engine let go of it";
    Add(DataEnum::New(1));
    EXPECT_EQ(calendarsMade, 2);
}

TEST_F(Intake, AGivenProfileIsKeptUntilTheSetGoes) {
    bool destroyed = false;
    Profile* host = Profile::New("host", &destroyed, nullptr);
    DWORD cookie = Add(DataEnum::New(3), host);
    host->Release();
    EXPECT_FALSE(destroyed);
    EXPECT_EQ(engine.SetByCookie(cookie).Profile(), host);
    EXPECT_EQ(calendarsMade, 0);
    engine.Clear();
    EXPECT_TRUE(destroyed);
}

TEST_F(Intake, CookiesNameOneStoredSetEach) {
    DWORD a = Add(DataEnum::New(1));
    DWORD b = Add(DataEnum::New(2));
    EXPECT_NE(a, 0u);
    EXPECT_NE(b, 0u);
    EXPECT_NE(a, b);
    EXPECT_EQ(engine.SetAt(0).Cookie(), a);
    EXPECT_EQ(engine.SetAt(1).Cookie(), b);
    EXPECT_EQ(engine.SetByCookie(b).Tasks().size(), 2u);

    struct Lookup {
        const char* name;
        std::function<void()> call;
        const char* text;
    } lookups[] = {
        {"index past the end", [&] { engine.SetAt(2); }, "Index out of range"},
        {"cookie 0", [&] { engine.SetByCookie(0); }, "Cookie not recognized"},
        {"unknown cookie", [&] { engine.SetByCookie(a + b + 1); }, "Cookie not recognized"},
    };
    for (const Lookup& l : lookups) {
        try {
            l.call();
            ADD_FAILURE() << l.name << ": no failure";
        } catch (const EVoError& e) {
            EXPECT_EQ(test::Utf8(e.Message), l.text) << l.name;
            EXPECT_EQ(e.Code, ostrel::TEXT_ERROR_CODE) << l.name;
        }
    }

    // A cookie from before Clear does not come to name a later set.
    engine.Clear();
    DWORD c = Add(DataEnum::New(1));
    EXPECT_NE(c, a);
    EXPECT_NE(c, b);
    EXPECT_THROW(engine.SetByCookie(a), EVoError);
}

TEST(DefaultCalendarIntake, AFailingCalendarStoresNothing) {
    TVoScheduler engine(nullptr, []() -> InterfaceRef<IVoAvailability> { throw HRESULT(REGDB_E_CLASSNOTREG); });
    auto* records = DataEnum::New(5);
    EXPECT_HR(REGDB_E_CLASSNOTREG, sched_test::Thrown([&] { engine.AddScheduleData(records, nullptr, 1.0, 2.0); }));
    EXPECT_EQ(records->nextCalls, 0);
    EXPECT_EQ(engine.Sets().Size(), 0u);
    records->Release();
}

}  // namespace
