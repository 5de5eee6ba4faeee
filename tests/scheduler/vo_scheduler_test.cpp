// VoScheduler as a host sees it: created through the component runtime, its
// interface table, failures with the caller's error information, the
// connection point for IVoScheduleEvents and events reaching the sinks.
#include <Ostrel.h>

#include <functional>
#include <vector>

#include "scheduler/schedule_events.h"
#include "scheduler/vo_scheduler.h"
#include "run_fixture.h"

namespace {

using sched_test::DataEnum;

template <class Itf>
Itf* Query(IUnknown* from, REFIID iid) {
    Itf* out = nullptr;
    EXPECT_HR(S_OK, from->QueryInterface(iid, reinterpret_cast<void**>(&out)));
    return out;
}

using Sink = run_test::HostSink;

// The sinks' cookies in list order, as EnumConnections hands them out.
std::vector<DWORD> Cookies(IConnectionPoint* point) {
    std::vector<DWORD> cookies;
    IEnumConnections* e = nullptr;
    EXPECT_HR(S_OK, point->EnumConnections(&e));
    if (!e) return cookies;
    CONNECTDATA data;
    while (e->Next(1, &data, nullptr) == S_OK) {
        cookies.push_back(data.dwCookie);
        data.pUnk->Release();
    }
    e->Release();
    return cookies;
}

class VoSchedulerTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
        ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoScheduler, nullptr, CLSCTX_INPROC_SERVER, IID_IVoScheduler,
                                         reinterpret_cast<void**>(&scheduler)));
        auto* container = Query<IConnectionPointContainer>(scheduler, IID_IConnectionPointContainer);
        EXPECT_HR(S_OK, container->FindConnectionPoint(IID_IVoScheduleEvents, &point));
        container->Release();
    }
    void TearDown() override {
        if (point) point->Release();
        if (scheduler) scheduler->Release();
        CoUninitialize();
    }

    std::vector<DWORD> Connections() { return Cookies(point); }

    IVoScheduler* scheduler = nullptr;
    IConnectionPoint* point = nullptr;
};

TEST_F(VoSchedulerTest, InterfaceTableLeavesOutIDispatch) {
    void* other = reinterpret_cast<void*>(1);
    EXPECT_HR(E_NOINTERFACE, scheduler->QueryInterface(IID_IDispatch, &other));
    EXPECT_EQ(other, nullptr);
    auto* unknown = Query<IUnknown>(scheduler, IID_IUnknown);
    EXPECT_EQ(static_cast<void*>(unknown), static_cast<void*>(scheduler));  // the first entry answers IUnknown
    unknown->Release();

    auto* support = Query<ISupportErrorInfo>(scheduler, IID_ISupportErrorInfo);
    EXPECT_HR(S_OK, support->InterfaceSupportsErrorInfo(IID_IVoScheduler));
    EXPECT_HR(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IConnectionPointContainer));
    support->Release();

    // Late-bound through the IVoScheduler reference: the dispatch half looks
    // for a registered type library and finds none.
    UINT count = 0;
    EXPECT_HR(S_OK, scheduler->GetTypeInfoCount(&count));
    EXPECT_EQ(count, 1u);
    OLECHAR name[] = OLESTR("Run");
    LPOLESTR names[] = {name};
    DISPID id = 0;
    EXPECT_HR(TYPE_E_LIBNOTREGISTERED, scheduler->GetIDsOfNames(IID_NULL, names, 1, 0x409, &id));
}

TEST_F(VoSchedulerTest, OneConnectionPointForTheEvents) {
    ASSERT_NE(point, nullptr);
    IID iid = IID_NULL;
    EXPECT_HR(S_OK, point->GetConnectionInterface(&iid));
    EXPECT_TRUE(IsEqualGUID(iid, IID_IVoScheduleEvents));

    IConnectionPointContainer* container = nullptr;
    EXPECT_HR(S_OK, point->GetConnectionPointContainer(&container));
    IConnectionPoint* other = reinterpret_cast<IConnectionPoint*>(1);
    EXPECT_HR(CONNECT_E_NOCONNECTION, container->FindConnectionPoint(IID_IVoScheduler, &other));
    EXPECT_EQ(other, nullptr);
    EXPECT_HR(E_POINTER, container->FindConnectionPoint(IID_IVoScheduleEvents, nullptr));

    IEnumConnectionPoints* points = nullptr;
    ASSERT_HR(S_OK, container->EnumConnectionPoints(&points));
    IConnectionPoint* listed[2] = {};
    ULONG fetched = 0;
    EXPECT_HR(S_FALSE, points->Next(2, listed, &fetched));
    EXPECT_EQ(fetched, 1u);
    EXPECT_EQ(listed[0], point);
    listed[0]->Release();
    points->Release();

    // The point answers for itself, not for its container.
    void* p = nullptr;
    EXPECT_HR(E_NOINTERFACE, point->QueryInterface(IID_IConnectionPointContainer, &p));

    // A host holding only the point keeps the scheduler alive.
    container->Release();
    scheduler->Release();
    scheduler = nullptr;
    EXPECT_HR(S_FALSE, DllCanUnloadNow());
    EXPECT_EQ(Connections().size(), 0u);
}

TEST_F(VoSchedulerTest, AdviseAndUnadviseCodes) {
    bool destroyed = false;
    auto* sink = Sink::New(&destroyed);
    IUnknown* notASink = nullptr;
    ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoCalculator, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                     reinterpret_cast<void**>(&notASink)));
    DWORD cookie = 7;
    EXPECT_HR(E_POINTER, point->Advise(nullptr, &cookie));
    EXPECT_EQ(cookie, 0u);
    EXPECT_HR(E_POINTER, point->Advise(sink, nullptr));
    EXPECT_HR(CONNECT_E_CANNOTCONNECT, point->Advise(notASink, &cookie));
    notASink->Release();
    EXPECT_TRUE(Connections().empty());

    ASSERT_HR(S_OK, point->Advise(sink, &cookie));
    EXPECT_NE(cookie, 0u);
    EXPECT_HR(CONNECT_E_NOCONNECTION, point->Unadvise(cookie + 1));
    EXPECT_HR(CONNECT_E_NOCONNECTION, point->Unadvise(0));
    sink->Release();
    EXPECT_FALSE(destroyed);  // the connection holds its own reference
    EXPECT_HR(S_OK, point->Unadvise(cookie));
    EXPECT_TRUE(destroyed);
    EXPECT_HR(CONNECT_E_NOCONNECTION, point->Unadvise(cookie));
}

TEST_F(VoSchedulerTest, SinkListGrowsAndReusesEmptiedEntries) {
    constexpr int kSinks = 5;
    bool destroyed[kSinks + 1] = {};
    std::vector<DWORD> cookies;
    for (int i = 0; i < kSinks; ++i) {
        auto* sink = Sink::New(&destroyed[i]);
        DWORD cookie = 0;
        ASSERT_HR(S_OK, point->Advise(sink, &cookie));
        sink->Release();
        cookies.push_back(cookie);
    }
    EXPECT_EQ(Connections(), cookies);

    ASSERT_HR(S_OK, point->Unadvise(cookies[1]));
    EXPECT_TRUE(destroyed[1]);
    auto* late = Sink::New(&destroyed[kSinks]);
    ASSERT_HR(S_OK, point->Advise(late, &cookies[1]));
    late->Release();
    EXPECT_EQ(Connections(), cookies);  // the newcomer took the emptied entry

    // Sinks a host never disconnected go with the scheduler.
    point->Release();
    point = nullptr;
    scheduler->Release();
    scheduler = nullptr;
    for (bool gone : destroyed) EXPECT_TRUE(gone);
}

// The events are raised on the object itself, as the engine raises them
// through its events object.
TEST(VoSchedulerEvents, ReachEverySinkAndDropFailingOnes) {
    ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
    IVoScheduler* created = nullptr;
    ASSERT_HR(S_OK, ostrel::CreateVoScheduler(nullptr, IID_IVoScheduler, reinterpret_cast<void**>(&created)));
    auto* scheduler = static_cast<ostrel::CVoScheduler*>(created);
    IConnectionPoint* point = nullptr;
    ASSERT_HR(S_OK, scheduler->FindConnectionPoint(IID_IVoScheduleEvents, &point));
    auto* events = ostrel::CVoScheduleEvents::New(scheduler);

    test::Var key;
    test::SetI4(key, 42);
    IUnknown* answer = reinterpret_cast<IUnknown*>(1);
    EXPECT_HR(S_OK, events->GetAvailabilityProfile(ifResourceDefaultAvailability, key, &answer));
    EXPECT_EQ(answer, reinterpret_cast<IUnknown*>(1));  // nobody connected, nothing written

    // Three sinks; the middle one fails and the last one hands out a profile.
    bool failingDestroyed = false;
    Sink* sinks[3] = {Sink::New(), Sink::New(&failingDestroyed), Sink::New()};
    sinks[1]->result = E_FAIL;
    sinks[2]->answers["42"] = Sink::New();
    DWORD cookies[3] = {};
    for (int i = 0; i < 3; ++i) ASSERT_HR(S_OK, point->Advise(sinks[i], &cookies[i]));

    answer = nullptr;
    EXPECT_HR(S_OK, events->GetAvailabilityProfile(ifResourceDefaultAvailability, key, &answer));
    for (Sink* sink : sinks) EXPECT_EQ(sink->asked["42"], 1);  // the sink checks the flags
    EXPECT_EQ(answer, sinks[2]->answers["42"]);
    answer->Release();

    // The failing sink is out: no further events, its cookie finds nothing,
    // and its entry goes to the next sink that connects.
    for (Sink* sink : sinks) sink->expectProgress = true;
    EXPECT_HR(S_OK, events->Progress(50));
    EXPECT_EQ(sinks[0]->progress, std::vector<LONG>{50});
    EXPECT_TRUE(sinks[1]->progress.empty());
    EXPECT_EQ(sinks[2]->progress, std::vector<LONG>{50});
    EXPECT_HR(CONNECT_E_NOCONNECTION, point->Unadvise(cookies[1]));
    auto* late = Sink::New();
    late->expectProgress = true;
    DWORD lateCookie = 0;
    ASSERT_HR(S_OK, point->Advise(late, &lateCookie));
    EXPECT_EQ(Cookies(point), (std::vector<DWORD>{cookies[0], lateCookie, cookies[2]}));

    EXPECT_HR(S_OK, events->Progress(100));
    EXPECT_EQ(late->progress, std::vector<LONG>{100});

    // The dropped sink was not released when it failed; the scheduler gives
    // its reference back when it goes.
    for (Sink* sink : sinks) sink->Release();
    late->Release();
    EXPECT_FALSE(failingDestroyed);
    events->Release();
    point->Release();
    created->Release();
    EXPECT_TRUE(failingDestroyed);
    CoUninitialize();
}

TEST_F(VoSchedulerTest, MessageEnumeratorKeepsTheLibraryLoaded) {
    point->Release();
    point = nullptr;
    IUnknown* messages = nullptr;
    ASSERT_HR(S_OK, scheduler->GetScheduleMessages(&messages));
    scheduler->Release();
    scheduler = nullptr;
    EXPECT_HR(S_FALSE, DllCanUnloadNow());
    messages->Release();
    EXPECT_HR(S_OK, DllCanUnloadNow());
}

TEST_F(VoSchedulerTest, FailuresThroughTheBoundary) {
    auto* records = DataEnum::New(1);
    ULONG cookie = 9;
    IUnknown* out = nullptr;
    const struct {
        const char* what;
        std::function<HRESULT()> call;
        HRESULT expected;
        const char* description;  // null: no error information; "": any text
        ULONG cookieAfter;          // a failed intake leaves 0 behind
    } cases[] = {
        {"empty range", [&] { return scheduler->AddScheduleData(records, nullptr, 38000.0, 38000.0, &cookie); },
         DISP_E_EXCEPTION, "", 0},
        {"no records", [&] { return scheduler->AddScheduleData(nullptr, nullptr, 38000.0, 38001.0, &cookie); },
         RPC_E_SERVERFAULT, nullptr, 0},
        {"no cookie out-pointer",
         [&] { return scheduler->AddScheduleData(records, nullptr, 38000.0, 38001.0, nullptr); }, E_POINTER, nullptr, 9},
        {"unknown cookie", [&] { return scheduler->GetScheduleData(12345, &out); }, DISP_E_EXCEPTION,
         "Cookie not recognized", 9},
        {"no data out-pointer", [&] { return scheduler->GetScheduleData(0, nullptr); }, E_POINTER, nullptr, 9},
        {"no messages out-pointer", [&] { return scheduler->GetScheduleMessages(nullptr); }, E_POINTER, nullptr, 9},
        {"no flags out-pointer", [&] { return scheduler->Run(nullptr); }, E_POINTER, nullptr, 9},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SetErrorInfo(0, nullptr);
        cookie = 9;
        EXPECT_HR(c.expected, c.call());
        EXPECT_EQ(cookie, c.cookieAfter);
        EXPECT_EQ(out, nullptr);
        const test::TakenErrorInfo info = test::TakeErrorInfo();
        EXPECT_EQ(info.present, c.description != nullptr);
        if (c.description) {
            EXPECT_FALSE(info.description.empty());
            if (*c.description) {
                EXPECT_EQ(info.description, c.description);
            }
        }
    }
    records->Release();
}

// A small run through the component: the host's sink hands out the
// resource's profile once, and the changed record comes back with its dates.
TEST_F(VoSchedulerTest, RunAsksTheHostAndWritesTheResultFlags) {
    ULONG flags = 0xFF;
    EXPECT_HR(S_OK, scheduler->Run(&flags));
    EXPECT_EQ(flags, ULONG(srIsScheduled));  // nothing to schedule

    auto* host = run_test::HostSink::New();
    host->answers["R"] = run_test::NewProfile({{0.0, 0.0}, {100.0, 1.0}});
    DWORD connection = 0;
    ASSERT_HR(S_OK, point->Advise(host, &connection));

    sched_test::Task task(1);
    run_test::SetConstraint(task, cnASAP, 0.0);
    task.Interval(0, 0, ifResourceActualAvailability | ifAllocateInterval, 2.0);
    task.Resource(OLESTR("R"), 1.0);
    auto* records = DataEnum::New(std::vector<sched_test::Task>{task});
    IVoAvailability* profile = run_test::AlwaysWorking();
    ULONG cookie = 0;
    ASSERT_HR(S_OK, scheduler->AddScheduleData(records, profile, 99.0, 200.0, &cookie));
    records->Release();
    profile->Release();

    EXPECT_HR(S_OK, scheduler->Run(&flags));
    EXPECT_EQ(flags, ULONG(srIsScheduled));
    EXPECT_EQ(host->asked["R"], 1);

    IUnknown* changed = nullptr;
    ASSERT_HR(S_OK, scheduler->GetScheduleData(cookie, &changed));
    auto* e = Query<IEnumScheduleData>(changed, IID_IEnumScheduleData);
    sched_test::Task out(0);  // holds no array, so the copy replaces nothing that needs freeing
    ULONG fetched = 0;
    EXPECT_HR(S_FALSE, e->Next(2, &out, &fetched));
    ASSERT_EQ(fetched, 1u);
    EXPECT_EQ(sched_test::KeyOf(out), 1);
    EXPECT_EQ(out.psi[0].dtStart, 100.0);
    EXPECT_EQ(out.psi[0].dtStop, 102.0);
    e->Release();
    changed->Release();

    EXPECT_HR(S_OK, point->Unadvise(connection));
    host->Release();
}

}  // namespace
