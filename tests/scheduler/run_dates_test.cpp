// Small projects and the dates a run gives them: constraints, links with
// their lags, deferral of tasks scheduled against their links, summary tasks
// and the half-second tolerance. Every set runs from day 99 to day 200 on a
// profile that works from day 100.
#include "run_fixture.h"

namespace {

using run_test::Run;
using sched_test::Task;

struct Link {
    LONG predecessor;
    ULONG type;
    double lag;
};

struct TaskRow {
    LONG key;
    LONG constraint = cnASAP;
    DATE date = 0.0;
    ULONG priority = 0;
    double duration = 1.0;  // below 0: a summary task, no interval
    std::vector<Link> links = {};
    LONG parent = 0;
    DATE stored[2] = {0.0, 0.0};  // the interval's dates before the run
};

struct Expected {
    LONG key;
    DATE start, stop;
    ULONG flags = srIsScheduled | srDataChanged;
};

struct Scenario {
    const char* name;
    std::vector<TaskRow> tasks;
    std::vector<Expected> expected;
};

constexpr double kSecond = 1.0 / 86400;

Task Build(const TaskRow& row) {
    Task task(row.key, row.parent);
    run_test::SetConstraint(task, row.constraint, row.date);
    task.dwPriority = row.priority;
    if (row.duration >= 0) task.Interval(row.stored[0], row.stored[1], ifProjectCalendar, row.duration);
    for (const Link& link : row.links) {
        task.Predecessor(link.predecessor, ptFinishStart, link.lag);
        std::memcpy(&task.psp[task.dwPredecessors - 1].ptType, &link.type, sizeof link.type);
    }
    return task;
}

const Scenario kScenarios[] = {
    {"no links: forward from the set's start", {{1, cnASAP, 0, 0, 2}}, {{1, 100, 102}}},
    {"finish-start with half a day's lag, whatever the calendar",
     {{1, cnASAP, 0, 0, 2}, {2, cnASAP, 0, 0, 1, {{1, ptFinishStart, 0.5}}}},
     {{1, 100, 102}, {2, 102.5, 103.5}}},
    {"start-start", {{1, cnASAP, 0, 0, 4}, {2, cnASAP, 0, 0, 1, {{1, ptStartStart, 1}}}}, {{2, 101, 102}}},
    {"finish-finish ends the successor a lag before its predecessor ends",
     {{1, cnASAP, 0, 0, 4}, {2, cnASAP, 0, 0, 1, {{1, ptFinishFinish, 1}}}},
     {{2, 102, 103}}},
    {"start-finish ends the successor a lag before its predecessor starts",
     {{1, cnMSO, 150, 0, 1}, {2, cnASAP, 0, 0, 1, {{1, ptStartFinish, 2}}}},
     {{1, 150, 151}, {2, 147, 148}}},
    {"start no earlier than: the later of its date and the predecessor's finish",
     {{1, cnMSO, 100, 0, 2}, {2, cnSNET, 101, 0, 1, {{1, ptFinishStart, 0}}}, {3, cnSNET, 110, 0, 1, {{1, ptFinishStart, 0}}}},
     {{2, 102, 103}, {3, 110, 111}}},
    {"must start on ignores a predecessor that ends later",
     {{1, cnMSO, 100, 0, 5}, {2, cnMSO, 101, 0, 1, {{1, ptFinishStart, 1}}}},
     {{2, 101, 102}}},
    {"must finish on places backward to its date", {{1, cnMFO, 130, 0, 2}}, {{1, 128, 130}}},
    {"a link of no known type places backward from the set's stop",
     {{1, cnASAP, 0, 0, 1}, {2, cnASAP, 0, 0, 1, {{1, ptNoRelation, 0}}}, {3, cnASAP, 0, 0, 1, {{1, 9, 0}}}},
     {{2, 199, 200}, {3, 199, 200}}},
    {"as late as possible: forward alone, backward from a fixed successor less the lag",
     {{1, cnALAP, 0, 0, 1}, {2, cnMSO, 150, 0, 1, {{3, ptFinishStart, 1}}}, {3, cnALAP, 0, 0, 2}},
     {{1, 100, 101}, {2, 150, 151}, {3, 147, 149}}},
    {"constraint values outside the named ones: below fixes nothing, above acts as late as possible",
     {{1, -3, 0, 0, 1}, {2, 42, 0, 0, 1}},
     {{1, 199, 200}, {2, 100, 101}}},
    {"a chain ordered against its links is deferred until its first task is placed",
     {{1, cnASAP, 0, 2, 1}, {2, cnASAP, 0, 1, 1, {{1, ptFinishStart, 0}}}, {3, cnASAP, 0, 0, 1, {{2, ptFinishStart, 0}}}},
     {{1, 100, 101}, {2, 101, 102}, {3, 102, 103}}},
    {"a summary task hands down its constraint and gets no dates",
     {{10, cnMSO, 120, 0, -1}, {11, cnASAP, 0, 0, 1, {}, 10}, {12, cnDNL, 0, 0, 1, {}, 10, {130, 131}}},
     {{10, 0, 0, 0}, {11, 120, 121}, {12, 130, 131, srIsScheduled}}},
    {"a link to a summary task waits for every leaf under it",
     {{10, cnASAP, 0, 0, -1}, {11, cnASAP, 0, 0, 2, {}, 10}, {12, cnASAP, 0, 0, -1, {}, 10},
      {13, cnASAP, 0, 0, 5, {}, 12}, {14, cnASAP, 0, 0, 1, {{10, ptFinishStart, 0}}}},
     {{11, 100, 102}, {13, 100, 105}, {14, 105, 106}}},
    {"stored dates within half a second are kept, beyond it rewritten",
     {{1, cnASAP, 0, 0, 1, {}, 0, {100 + 0.4 * kSecond, 101 - 0.4 * kSecond}},
      {2, cnASAP, 0, 0, 1, {}, 0, {100 + 0.6 * kSecond, 101}}},
     {{1, 100 + 0.4 * kSecond, 101 - 0.4 * kSecond, srIsScheduled}, {2, 100, 101}}},
};

TEST_F(Run, ScenarioDates) {
    for (const Scenario& scenario : kScenarios) {
        SCOPED_TRACE(scenario.name);
        engine->Clear();
        std::vector<Task> tasks;
        for (const TaskRow& row : scenario.tasks) tasks.push_back(Build(row));
        EXPECT_EQ(Schedule(std::move(tasks), run_test::AlwaysWorking()), ULONG(srIsScheduled));
        for (const Expected& expected : scenario.expected) {
            tagScheduleData& task = Stored(expected.key);
            EXPECT_EQ(task.dwSRFlags, expected.flags) << "task " << expected.key;
            if (!task.psi) continue;
            EXPECT_NEAR(task.psi[0].dtStart, expected.start, 1e-9) << "task " << expected.key;
            EXPECT_NEAR(task.psi[0].dtStop, expected.stop, 1e-9) << "task " << expected.key;
        }
    }
}

// Links to a summary task become one link per leaf under it, in outline
// order, each with the link's type and lag; the smallest priority number
// along a leaf's ancestors is its own.
TEST_F(Run, SummaryLinksExpandToLeaves) {
    std::vector<Task> tasks;
    for (const TaskRow& row : std::vector<TaskRow>{{10, cnASAP, 0, 5, -1}, {11, cnASAP, 0, 9, 1, {}, 10},
                                              {12, cnASAP, 0, 0, -1, {}, 10}, {13, cnASAP, 0, 0, 1, {}, 12},
                                              {14, cnASAP, 0, 0, 1, {}, 12}, {15, cnASAP, 0, 0, 1, {}, 10},
                                              {16, cnASAP, 0, 0, 1, {{10, ptStartStart, 0.25}}}})
        tasks.push_back(Build(row));
    Schedule(std::move(tasks), run_test::AlwaysWorking());
    EXPECT_EQ(Stored(11).dwPriority, 5u);
    const tagScheduleData& task = Stored(16);
    ASSERT_EQ(task.dwPredecessors, 4u);
    const LONG leaves[] = {11, 13, 14, 15};
    for (ULONG i = 0; i < 4; ++i) {
        EXPECT_EQ(task.psp[i].tkPred.Value.lVal, leaves[i]);
        EXPECT_EQ(task.psp[i].ptType, ptStartStart);
        EXPECT_EQ(task.psp[i].dblLag, 0.25);
    }
}

// Tasks linked in many layers, each task after both of the layer before:
// the searches for blocking tasks stay linear in the links, not in the paths.
TEST_F(Run, ManyLayersOfLinks) {
    constexpr LONG kLayers = 40;
    std::vector<Task> tasks;
    for (LONG layer = 0; layer < kLayers; ++layer)
        for (LONG side = 0; side < 2; ++side) {
            TaskRow row{2 * layer + side + 1};
            if (layer > 0) row.links = {{2 * layer - 1, ptFinishStart, 0}, {2 * layer, ptFinishStart, 0}};
            tasks.push_back(Build(row));
        }
    EXPECT_EQ(Schedule(std::move(tasks), run_test::AlwaysWorking()), ULONG(srIsScheduled));
    EXPECT_EQ(Stored(2 * kLayers).psi[0].dtStart, 100.0 + kLayers - 1);
}

}  // namespace
