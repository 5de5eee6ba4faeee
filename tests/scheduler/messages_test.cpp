// The engine's messages: what each form of AddMessage records, and the
// enumerator that reads the list as it grows.
#include <memory>

#include "foundation/vo_error.h"
#include "scheduler/scheduler.h"
#include "scheduler_test_support.h"

namespace {

using ostrel::TVoScheduler;

struct Message : tagScheduleMessage {
    Message() { ostrel::CScheduleMessage::init(this); }
    ~Message() { ostrel::CScheduleMessage::destroy(this); }
};

IEnumScheduleMessages* Enumerate(TVoScheduler& engine) {
    IUnknown* unknown = nullptr;
    engine.GetScheduleMessages(&unknown);
    IEnumScheduleMessages* e = nullptr;
    EXPECT_HR(S_OK, unknown->QueryInterface(IID_IEnumScheduleMessages, reinterpret_cast<void**>(&e)));
    unknown->Release();
    return e;
}
std::string Text(BSTR s) { return s ? test::Utf8(s) : "<none>"; }

struct Messages : ::testing::Test {
    TVoScheduler engine{nullptr, sched_test::Calendar()};

    DWORD Add(ULONG n) { return sched_test::AddRecords(engine, n); }
};

TEST_F(Messages, EachFormRecordsWhatItKnows) {
    Add(2);
    DWORD second = Add(3);
    tagScheduleData& task = engine.SetByCookie(second).Tasks()[1];

    engine.AddMessage(nullptr, OLESTR("run-wide"));
    engine.AddMessage(&task, OLESTR("about a task"));
    ostrel::EVoScheduleError error(OLESTR("failed"));
    error.Task = &task;
    error.Severity = msError;
    error.LongMessage = OLESTR("because");
    engine.AddMessage(error);
    ostrel::EVoScheduleError bare(OLESTR("no task"));
    engine.AddMessage(bare);

    struct Expect {
        LONG level;
        LONG key;  // 0: empty value
        DWORD cookie;
        MESSAGE_SEVERITY severity;
        const char* message;
        const char* longMessage;
    } expected[] = {
        {-1, 0, 0, msNone, "run-wide", "<none>"},
        {1, 2, second, msError, "about a task", "<none>"},
        {1, 2, second, msError, "failed", "because"},
        {-1, 0, 0, msNone, "no task", ""},  // an empty long text is passed on as one
    };
    IEnumScheduleMessages* e = Enumerate(engine);
    for (const Expect& x : expected) {
        Message m;
        ASSERT_HR(S_OK, e->Next(1, &m, nullptr)) << x.message;
        EXPECT_EQ(m.tk.Level, x.level) << x.message;
        if (x.key) {
            EXPECT_EQ(m.tk.Value.vt, VT_I4) << x.message;
            EXPECT_EQ(m.tk.Value.lVal, x.key) << x.message;
        } else {
            EXPECT_EQ(m.tk.Value.vt, VT_EMPTY) << x.message;
        }
        EXPECT_EQ(m.dwCookie, x.cookie) << x.message;
        EXPECT_EQ(m.Severity, x.severity) << x.message;
        EXPECT_EQ(Text(m.bstrMessage), x.message);
        EXPECT_EQ(Text(m.bstrLongMessage), x.longMessage) << x.message;
    }
    e->Release();
}

// An enumerator made before messages are added sees them; one made before
// the engine goes keeps the list it read, emptied.
TEST(MessageList, TheEnumeratorReadsTheLiveList) {
    auto engine = std::make_unique<TVoScheduler>();
    IEnumScheduleMessages* early = Enumerate(*engine);
    Message none[3];
    ULONG fetched = 9;
    EXPECT_HR(S_FALSE, early->Next(3, none, &fetched));
    EXPECT_EQ(fetched, 0u);

    for (const OLECHAR* text : {OLESTR("one"), OLESTR("two"), OLESTR("three")}) engine->AddMessage(nullptr, text);
    IEnumScheduleMessages* clone = nullptr;
    ASSERT_HR(S_OK, early->Clone(&clone));
    {
        Message two[2];
        EXPECT_HR(S_OK, early->Next(2, two, &fetched));
        EXPECT_EQ(fetched, 2u);
        EXPECT_EQ(Text(two[1].bstrMessage), "two");
    }
    // One message at a time, each into a fresh record: Next hands out
    // records the caller then owns.
    auto next = [&](IEnumScheduleMessages* e, HRESULT expected) {
        Message m;
        EXPECT_HR(expected, e->Next(1, &m, nullptr));
        return Text(m.bstrMessage);
    };
    EXPECT_HR(S_FALSE, early->Skip(5));
    next(early, S_FALSE);
    EXPECT_HR(S_OK, early->Reset());
    EXPECT_HR(S_OK, early->Skip(2));
    EXPECT_EQ(next(early, S_OK), "three");

    // The clone kept the position it was made at: the start.
    EXPECT_EQ(next(clone, S_OK), "one");
    early->Release();

    engine.reset();
    next(clone, S_FALSE);  // the old list is empty, and still there
    clone->Release();
}

}  // namespace
