// What the engine hands back (changed records, messages) and how Clear and
// Reset empty it.
#include "foundation/vo_error.h"
#include "run_fixture.h"

namespace {

using ostrel::TVoScheduler;
using sched_test::Profile;

struct Results : ::testing::Test {
    bool calendarDestroyed = false;
    TVoScheduler engine{nullptr, sched_test::Calendar(&calendarDestroyed)};

    DWORD Add(ULONG n) { return sched_test::AddRecords(engine, n); }

    // The keys an enumerator of records yields, read three at a time.
    static std::vector<LONG> Keys(IUnknown* unknown) {
        std::vector<LONG> keys;
        IEnumScheduleData* e = nullptr;
        EXPECT_HR(S_OK, unknown->QueryInterface(IID_IEnumScheduleData, reinterpret_cast<void**>(&e)));
        if (!e) return keys;
        tagScheduleData chunk[3];
        ULONG fetched = 0;
        HRESULT hr;
        do {
            fetched = 9;  // a Next that leaves it unwritten shows
            hr = e->Next(3, chunk, &fetched);
            EXPECT_LE(fetched, 3u);
            for (ULONG i = 0; i < fetched && i < 3; ++i) {
                keys.push_back(sched_test::KeyOf(chunk[i]));
                ostrel::copy_t<tagScheduleData>::destroy(&chunk[i]);
            }
        } while (hr == S_OK);
        EXPECT_HR(S_FALSE, hr);
        e->Release();
        return keys;
    }
    std::vector<LONG> ChangedKeys(DWORD cookie) {
        IUnknown* unknown = nullptr;
        engine.GetScheduleData(cookie, &unknown);
        EXPECT_NE(unknown, nullptr);
        auto keys = unknown ? Keys(unknown) : std::vector<LONG>{};
        if (unknown) unknown->Release();
        return keys;
    }
    // Enters a stored task in the scheduling order, as preparation does, and
    // marks it changed or not.
    void Enter(DWORD cookie, size_t index, bool changed) {
        tagScheduleData& task = engine.SetByCookie(cookie).Tasks()[index];
        if (changed) task.dwSRFlags |= srDataChanged;
        engine.EnterInSchedulingOrder(task);
    }
};

TEST_F(Results, ChangedRecordsOfEverySetInSchedulingOrder) {
    DWORD a = Add(3), b = Add(2);
    EXPECT_TRUE(ChangedKeys(a).empty()) << "nothing changed before a run";
    Enter(b, 1, true);   // key 2 of b
    Enter(a, 0, false);  // key 1 of a: unchanged
    Enter(a, 2, true);   // key 3 of a
    Enter(b, 1, true);   // a second run entered it again
    const std::vector<LONG> expected = {2, 3, 2};
    EXPECT_EQ(ChangedKeys(a), expected);
    EXPECT_EQ(ChangedKeys(b), expected) << "the cookie only has to be valid";
}

TEST_F(Results, ChangedRecordsAreCopiesThatOutliveTheEngine) {
    DWORD cookie = Add(1);
    Enter(cookie, 0, true);
    IUnknown* unknown = nullptr;
    engine.GetScheduleData(cookie, &unknown);
    ASSERT_NE(unknown, nullptr);
    engine.SetByCookie(cookie).Tasks()[0].dwPriority = 77;  // the run goes on changing its own
    engine.Clear();
    IEnumScheduleData* e = nullptr;
    ASSERT_HR(S_OK, unknown->QueryInterface(IID_IEnumScheduleData, reinterpret_cast<void**>(&e)));
    tagScheduleData record;
    ASSERT_HR(S_OK, e->Next(1, &record, nullptr));
    EXPECT_EQ(sched_test::KeyOf(record), 1);
    EXPECT_EQ(record.dwPriority, 0u);
    ostrel::copy_t<tagScheduleData>::destroy(&record);
    e->Release();
    unknown->Release();
}

// Reset keeps every resource's profiles and empties the actual ones in key
// order; Clear lets go of them all. Both drop the sets, the order, the
// messages, the result flags and the default calendar.
TEST_F(Results, ResetKeepsResourceProfilesAndClearDropsThem) {
    std::vector<std::string> log;
    bool destroyed[6] = {};
    const LONG keys[] = {30, 10, 20};
    for (int i = 0; i < 3; ++i) {
        VARIANT key;
        test::SetI4(key, keys[i]);
        ostrel::ResourceProfiles& profiles = engine.Resources().Enter(key);
        std::string name = std::to_string(keys[i]);
        Profile* def = Profile::New("default " + name, &destroyed[2 * i], &log);
        Profile* actual = Profile::New("actual " + name, &destroyed[2 * i + 1], &log);
        actual->expectClear = true;
        *profiles.defaultProfile.Out() = def;
        *profiles.actualProfile.Out() = actual;
    }
    DWORD cookie = Add(2);
    Enter(cookie, 0, true);
    engine.AddMessage(nullptr, OLESTR("before"));

    engine.Reset();
    EXPECT_EQ(log, (std::vector<std::string>{"actual 10", "actual 20", "actual 30"}));
    EXPECT_EQ(engine.Resources().Size(), 3u);
    for (bool d : destroyed) EXPECT_FALSE(d);
    EXPECT_EQ(engine.Sets().Size(), 0u);
    EXPECT_TRUE(engine.Order().empty());
    EXPECT_TRUE(engine.Messages().Empty());
    EXPECT_EQ(engine.ResultFlags(), 0u);
    EXPECT_TRUE(calendarDestroyed);

    VARIANT probe;
    test::SetI4(probe, 20);
    EXPECT_NE(engine.Resources().Find(probe), nullptr);
    engine.Clear();
    EXPECT_EQ(engine.Resources().Size(), 0u);
    for (bool d : destroyed) EXPECT_TRUE(d);
}

TEST_F(Results, AProfileThatFailsToEmptyIsReportedAfterTheReset) {
    std::vector<std::string> log;
    for (LONG k : {1, 2}) {
        VARIANT key;
        test::SetI4(key, k);
        Profile* actual = Profile::New("actual " + std::to_string(k), nullptr, &log);
        actual->expectClear = true;
        actual->clearResult = k == 1 ? E_ACCESSDENIED : S_OK;
        *engine.Resources().Enter(key).actualProfile.Out() = actual;
    }
    Add(1);
    EXPECT_HR(E_ACCESSDENIED, sched_test::Thrown([&] { engine.Reset(); }));
    EXPECT_EQ(log.size(), 2u) << "every actual profile is asked";
    EXPECT_EQ(engine.Sets().Size(), 0u) << "the rest of the reset is done";
}

// Nothing before a run raises an event; the engine holds its sink until it
// is destroyed.
TEST(SchedulerEvents, NoEventsOutsideARunAndTheSinkIsReleased) {
    auto* sink = run_test::HostSink::New();
    sink->onAsk = [] { ADD_FAILURE() << "an event outside a run"; };  // Progress fails by itself
    {
        TVoScheduler engine(sink, sched_test::Calendar());
        EXPECT_EQ(engine.Events(), sink);
        sched_test::AddRecords(engine, 3);
        engine.Reset();
        engine.Clear();
        sink->AddRef();
        EXPECT_EQ(sink->Release(), 2u) << "the engine holds its own reference";
    }
    EXPECT_EQ(sink->Release(), 0u);
}

}  // namespace
