// Resources in a run: their profiles come from the host once per key (or
// from the default calendar), intervals are placed on them as their flags
// say, and allocation takes what a task uses from what is left.
#include "run_fixture.h"

namespace {

using run_test::NewProfile;
using run_test::Run;
using run_test::Text;
using sched_test::Task;

constexpr ULONG kActual = ifResourceActualAvailability | ifAllocateInterval;

Task Working(LONG key, ULONG priority, ULONG flags, double duration,
             std::initializer_list<std::pair<const OLECHAR*, double>> resources) {
    Task task(key);
    run_test::SetConstraint(task, cnASAP, 0.0);
    task.dwPriority = priority;
    task.Interval(0, 0, flags, duration);
    for (auto [name, units] : resources) task.Resource(name, units);
    return task;
}
// Keeps its stored dates and only takes its resources.
Task Fixed(LONG key, DATE start, DATE stop, const OLECHAR* resource, double units) {
    Task task(key);
    run_test::SetConstraint(task, cnDNL, 0.0);
    task.Interval(start, stop, 0, stop - start);
    task.Resource(resource, units);
    return task;
}

DATE StartOf(tagScheduleData& task) { return task.psi[0].dtStart; }
DATE StopOf(tagScheduleData& task) { return task.psi[0].dtStop; }

// What one task takes from a resource's actual availability is gone for the
// next; the host is asked once per resource.
TEST_F(Run, AllocationPushesTheNextTaskBack) {
    host->answers["R"] = NewProfile({{0.0, 0.0}, {100.0, 1.0}});
    EXPECT_EQ(Schedule({Working(1, 1, kActual, 2, {{OLESTR("R"), 1.0}}), Working(2, 2, kActual, 2, {{OLESTR("R"), 1.0}})},
                       run_test::AlwaysWorking()),
              ULONG(srIsScheduled));
    EXPECT_EQ(StartOf(Stored(1)), 100.0);
    EXPECT_EQ(StartOf(Stored(2)), 102.0);
    EXPECT_EQ(StopOf(Stored(2)), 104.0);
    EXPECT_EQ(host->asked["R"], 1);

    // Reset keeps the profiles with the actual ones emptied: the same
    // project gets the same dates, and the host is not asked again.
    engine->Reset();
    Schedule({Working(1, 1, kActual, 2, {{OLESTR("R"), 1.0}}), Working(2, 2, kActual, 2, {{OLESTR("R"), 1.0}})},
             run_test::AlwaysWorking());
    EXPECT_EQ(StartOf(Stored(2)), 102.0);
    EXPECT_EQ(host->asked["R"], 1);
}

// Which profile an interval is placed on: the set's for a task without
// resources; the default availability for a fixed-start task, whatever is
// already allocated; the actual one otherwise.
TEST_F(Run, FlagsAndConstraintChooseTheProfile) {
    host->answers["R"] = NewProfile({{0.0, 0.0}, {110.0, 1.0}});
    Task fixedStart = Working(3, 3, ifResourceActualAvailability, 1, {{OLESTR("R"), 1.0}});
    run_test::SetConstraint(fixedStart, cnMSO, 110.0);
    Schedule({Working(1, 1, kActual, 2, {{OLESTR("R"), 1.0}}), Working(2, 2, ifResourceActualAvailability, 1, {}),
              fixedStart},
             run_test::AlwaysWorking());
    EXPECT_EQ(StartOf(Stored(1)), 110.0);  // the resource's own calendar
    EXPECT_EQ(StartOf(Stored(2)), 100.0);  // the set's, having no resources
    EXPECT_EQ(StartOf(Stored(3)), 110.0);  // over task 1's allocation
}

// On actual profiles all resources agree on one set of timespans: the one
// that can only start later moves the others there.
TEST_F(Run, ResourcesAgreeOnTheirTimespans) {
    host->answers["early"] = NewProfile({{0.0, 0.0}, {100.0, 1.0}});
    host->answers["late"] = NewProfile({{0.0, 0.0}, {103.0, 1.0}});
    Schedule({Working(1, 0, ifResourceActualAvailability, 2, {{OLESTR("early"), 1.0}, {OLESTR("late"), 1.0}})},
             run_test::AlwaysWorking());
    EXPECT_EQ(StartOf(Stored(1)), 103.0);
    EXPECT_EQ(StopOf(Stored(1)), 105.0);
}

// A resource the host has nothing for works on the default calendar: a
// working day from 08:00 to 17:00 with an hour off at noon.
TEST_F(Run, WithoutAnAnswerTheDefaultCalendar) {
    constexpr DATE kMonday = 45292.0;  // 1 January 2024
    Schedule({Working(1, 0, ifResourceDefaultAvailability, 8.0 / 24, {{OLESTR("nobody"), 1.0}})}, nullptr, kMonday,
             kMonday + 7);
    EXPECT_NEAR(StartOf(Stored(1)), kMonday + 8.0 / 24, 1e-9);
    EXPECT_NEAR(StopOf(Stored(1)), kMonday + 17.0 / 24, 1e-9);
    EXPECT_EQ(host->asked["nobody"], 1);
}

// Over-allocation is reported without a task and the run goes on; an
// assignment above what the resource ever offers ends the run.
TEST_F(Run, AllocationFailures) {
    struct Case {
        const char* name;
        double units;
        ULONG runFlags;
        std::string message;
    } cases[] = {
        {"over-allocated", 1.0, srIsScheduled | srTasksFailed, Text(VOMSG_RESOURCE_OVERALLOCATED, "R", "1")},
        {"above the default availability", 2.0, srFail, Text(VOMSG_RESOURCE_BELOW_ASSIGNMENT)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        engine->Clear();
        host->answers["R"] = NewProfile({{0.0, 0.0}, {100.0, 1.0}});
        EXPECT_EQ(Schedule({Fixed(1, 100, 102, OLESTR("R"), c.units), Fixed(2, 101, 103, OLESTR("R"), c.units)},
                           run_test::AlwaysWorking()),
                  c.runFlags);
        EXPECT_EQ(Messages(), (std::vector<std::pair<LONG, std::string>>{{0, c.message}}));
        host->answers["R"]->Release();
        host->answers.erase("R");
    }
}

// A resource interval with no placement flag keeps nothing of its own.
TEST_F(Run, IntervalWithoutProfile) {
    Schedule({Working(1, 0, ifAllocateInterval, 1, {{OLESTR("R"), 1.0}})}, run_test::AlwaysWorking());
    EXPECT_EQ(Messages(), (std::vector<std::pair<LONG, std::string>>{{1, Text(VOMSG_INTERVAL_WITHOUT_PROFILE)}}));
    EXPECT_EQ(Stored(1).dwSRFlags, ULONG(srIsScheduled));
    EXPECT_EQ(StopOf(Stored(1)), 0.0);
}

}  // namespace
