// One small project per message a run must leave, with the run's flags, the
// messages (task and text) and what became of each task.
#include <limits>

#include "foundation/value_text.h"
#include "run_fixture.h"

namespace {

using run_test::Run;
using run_test::Text;
using sched_test::Task;

constexpr ULONG kDone = srIsScheduled | srDataChanged;
constexpr ULONG kFailed = srIsScheduled | srFail;

Task Plain(LONG key, double duration = 1.0, LONG parent = 0) {
    Task task(key, parent);
    run_test::SetConstraint(task, cnASAP, 0.0);
    if (duration >= 0) task.Interval(0, 0, ifProjectCalendar, duration);
    return task;
}
Task Constrained(LONG key, LONG constraint, DATE date) {
    Task task = Plain(key);
    run_test::SetConstraint(task, constraint, date);
    return task;
}
Task After(LONG key, LONG predecessor, double duration = 1.0) {
    Task task = Plain(key, duration);
    task.Predecessor(predecessor, ptFinishStart, 0.0);
    return task;
}
Task Summary(LONG key) { return Plain(key, -1); }

struct Failure {
    const char* name;
    std::function<std::vector<Task>()> tasks;
    ULONG runFlags;
    std::vector<std::pair<LONG, std::string>> messages;
    std::vector<std::pair<LONG, ULONG>> taskFlags;
};

std::vector<Failure> Failures() {
    return {
        {"a task linked to itself fails the run before anything is scheduled",
         [] { return std::vector<Task>{Plain(2), After(1, 1)}; }, srFail,
         {{0, Text(VOMSG_CIRCULAR_RELATION, "1", "1")}}, {{1, 0}, {2, 0}}},
        {"a predecessor no task has",
         [] { return std::vector<Task>{After(1, 9)}; }, srFail, {{0, "Key not found"}}, {{1, 0}}},
        {"a parent no task has",
         [] { return std::vector<Task>{Plain(1, 1.0, 9)}; }, srFail, {{0, "Key not found"}}, {{1, 0}}},
        {"tasks that name each other as parent",
         [] { return std::vector<Task>{Plain(1, 1.0, 2), Plain(2, 1.0, 1)}; }, srFail,
         {{0, Text(VOMSG_CIRCULAR_RELATION, "2", "1")}}, {{1, 0}, {2, 0}}},
        {"a cycle of links fails both tasks; the others are scheduled",
         [] { return std::vector<Task>{After(1, 2), After(2, 1), Plain(3)}; }, srIsScheduled | srTasksFailed,
         {{1, Text(VOMSG_CIRCULAR_RELATION, "1", "2")}, {2, Text(VOMSG_CIRCULAR_RELATION, "2", "1")}},
         {{1, kFailed}, {2, kFailed}, {3, kDone}}},
        {"a failed placement fails its successors as a cycle would",
         [] { return std::vector<Task>{Plain(1, 60), After(2, 1), Plain(3)}; }, srIsScheduled | srTasksFailed,
         {{1, Text(VOMSG_PLACEMENT_NO_TIME)}, {2, Text(VOMSG_CIRCULAR_RELATION, "2", "1")}},
         {{1, kFailed}, {2, kFailed}, {3, kDone}}},
        {"a must-finish-on date before the set's start crosses the limits",
         [] { return std::vector<Task>{Constrained(1, cnMFO, 99.0)}; }, srIsScheduled | srTasksFailed,
         {{1, Text(VOMSG_PLACEMENT_BOUNDS_CROSSED)}}, {{1, kFailed}}},
        {"a resource entry without a key",
         [] {
             std::vector<Task> tasks{Plain(1)};
             tasks[0].Resource(OLESTR("R"), 1.0);
             VariantClear(&tasks[0].psr[0].rkResource);
             return tasks;
         },
         srFail, {{0, "Task can't be scheduled because resourcekey is empty"}}, {{1, 0}}},
        {"a dated constraint without its date is dropped",
         [] { return std::vector<Task>{Constrained(1, cnMSO, 0.0)}; }, srIsScheduled | srTasksFailed,
         {{1, Text(VOMSG_CONSTRAINT_DATE_MISSING, "1")}}, {{1, kDone}}},
        {"constraint dates outside the set's range are dropped",
         [] { return std::vector<Task>{Constrained(1, cnSNET, 50.0), Constrained(2, cnFNLT, 250.0)}; },
         srIsScheduled | srTasksFailed,
         {{1, Text(VOMSG_CONSTRAINT_BEFORE_RANGE)}, {2, Text(VOMSG_CONSTRAINT_AFTER_RANGE)}},
         {{1, kDone}, {2, kDone}}},
        {"an inherited predecessor the task has already",
         [] {
             std::vector<Task> tasks{Plain(1), Summary(10), After(11, 1)};
             tasks[1].Predecessor(1, ptFinishStart, 0.0);
             tasks[2].tkParent.Level = 1;
             test::SetI4(tasks[2].tkParent.Value, 10);
             return tasks;
         },
         srIsScheduled | srTasksFailed, {{11, Text(VOMSG_DUPLICATE_INHERITED_PREDECESSOR, "1", "11")}},
         {{11, kDone}, {10, 0}}},
    };
}

TEST_F(Run, FailureScenarios) {
    for (const Failure& failure : Failures()) {
        SCOPED_TRACE(failure.name);
        engine->Clear();
        EXPECT_EQ(Schedule(failure.tasks(), run_test::NewProfile({{0.0, 0.0}, {100.0, 1.0}, {150.0, 0.0}})),
                  failure.runFlags);
        EXPECT_EQ(Messages(), failure.messages);
        for (auto [key, flags] : failure.taskFlags) EXPECT_EQ(Stored(key).dwSRFlags, flags) << "task " << key;
    }
}

// The long text of a failed placement says where each limit came from.
TEST_F(Run, FailedPlacementExplainsItsLimits) {
    std::vector<Task> tasks{Constrained(1, cnMSO, 120.0)};
    tasks[0].psi[0].dblDuration = 40;
    Schedule(std::move(tasks), run_test::NewProfile({{0.0, 0.0}, {100.0, 1.0}, {150.0, 0.0}}));
    ASSERT_EQ(engine->Messages().Count(), 1u);
    const tagScheduleMessage& message = engine->Messages()[0];
    EXPECT_EQ(message.Severity, msError);
    EXPECT_EQ(message.dwCookie, cookie);
    EXPECT_EQ(test::Utf8(message.bstrLongMessage),
              Text(VOMSG_PLACEMENT_NO_TIME_DETAIL) + Text(VOMSG_START_FROM_TASK, "1", ostrel::DateToText(120).c_str()) +
                  Text(VOMSG_FINISH_FROM_RANGE, ostrel::DateToText(Run::kStop).c_str()));
}

// A run stopped from outside (here by the host while it is asked for a
// resource) fails with the message, spelled as hosts expect it.
TEST_F(Run, StoppedExternally) {
    host->onAsk = [this] { engine->Stop(); };
    std::vector<Task> tasks{Plain(1), Plain(2)};
    tasks[0].Resource(OLESTR("R"), 1.0);
    EXPECT_EQ(Schedule(std::move(tasks), run_test::AlwaysWorking()), ULONG(srFail));
    EXPECT_EQ(Messages(), (std::vector<std::pair<LONG, std::string>>{{0, "Scheduler stoped externally"}}));
    // The next run signals its running event anew.
    host->onAsk = nullptr;
    engine->Reset();
    EXPECT_EQ(Schedule({Plain(3)}, run_test::AlwaysWorking()), ULONG(srIsScheduled));
}

// A failing call into another component ends the run: with the description
// it left as error information, or else with the text of its code.
TEST_F(Run, ForeignFailures) {
    for (bool described : {true, false}) {
        SCOPED_TRACE(described ? "described" : "bare code");
        engine->Clear();
        host->result = E_ACCESSDENIED;
        host->onAsk = [described] {
            if (!described) return;
            ICreateErrorInfo* created = nullptr;
            ASSERT_HR(S_OK, CreateErrorInfo(&created));
            created->SetDescription(const_cast<LPOLESTR>(OLESTR("host refused")));
            IErrorInfo* info = nullptr;
            created->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info));
            SetErrorInfo(0, info);
            info->Release();
            created->Release();
        };
        std::vector<Task> tasks{Plain(1)};
        tasks[0].Resource(OLESTR("R"), 1.0);
        EXPECT_EQ(Schedule(std::move(tasks), run_test::AlwaysWorking()), ULONG(srFail));
        const std::string expected = described ? Text(VOMSG_UNEXPECTED_FAILURE, "host refused")
                                               : test::Utf8(ostrel::FormatVoMessage(DWORD(E_ACCESSDENIED)));
        EXPECT_EQ(Messages(), (std::vector<std::pair<LONG, std::string>>{{0, expected}}));
    }
}

}  // namespace

// Values no host should send still end the run: no crash, no hang, and
// every task either scheduled or failed.
TEST_F(Run, HostileValuesEndTheRun) {
    const double kNaN = std::numeric_limits<double>::quiet_NaN();
    const double kHuge = std::numeric_limits<double>::max();
    struct Case {
        const char* name;
        double duration, lag, constraintDate;
        DATE stop;
        bool calendar;  // the default calendar instead of the plain profile
    } cases[] = {
        {"duration not a number", kNaN, 0, 0, 200, false},
        {"huge duration", kHuge, 0, 0, 200, false},
        {"negative duration", -5, 0, 0, 200, false},
        {"lag not a number", 1, kNaN, 0, 200, false},
        {"huge lag", 1, kHuge, 0, 200, false},
        {"constraint date not a number", 1, 0, kNaN, 200, false},
        {"huge duration on a calendar", 1e6, 0, 0, 45292.0 + 3650, true},
        {"huge range on a calendar", 1, 0, 0, 1e12, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        engine->Clear();
        std::vector<Task> tasks{Constrained(1, cnSNET, c.constraintDate), Plain(2), Plain(3)};
        tasks[0].psi[0].dblDuration = c.duration;
        tasks[1].Predecessor(1, ptFinishStart, c.lag);
        tasks[2].Predecessor(2, ptStartFinish, c.lag);
        const DATE start = c.calendar ? 45292.0 : Run::kStart;
        const ULONG flags =
            Schedule(std::move(tasks), c.calendar ? nullptr : run_test::AlwaysWorking(), start, c.stop);
        EXPECT_TRUE(flags == srFail || (flags & srIsScheduled)) << flags;
        if (flags == srFail) continue;
        for (LONG key : {1, 2, 3}) EXPECT_TRUE(Stored(key).dwSRFlags & srIsScheduled) << "task " << key;
    }
}
