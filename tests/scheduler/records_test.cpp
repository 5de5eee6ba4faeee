// The copy rules of the records that cross the boundary: task records and
// messages.
#include "scheduler/schedule_message.h"
#include "scheduler/schedule_records.h"
#include "scheduler_test_support.h"

namespace {

using Copy = ostrel::copy_t<tagScheduleData>;
using sched_test::Task;

struct Copied : tagScheduleData {
    Copied() { Copy::init(this); }
    ~Copied() { Copy::destroy(this); }
};

TEST(TaskRecordCopy, DeepCopyWithReservedFieldsCleared) {
    Task source(7, 3);
    source.coConstraint = cnSNET;
    source.dtConstraint = 45000.25;
    source.dwPriority = 500;
    source.dwSRFlags = 9;
    source.dwInternal = 0x1234;
    source.dwReserved = 0x5678;
    source.Interval(45000.0, 45001.0, ifAllocateInterval | ifResourceActualAvailability, 1.0)
        .Interval(45002.0, 45003.5, ifProjectCalendar, 1.5);
    source.Resource(OLESTR("crane"), 0.5).Resource(OLESTR("crew"), 2.0);
    source.Predecessor(4, ptStartStart, -1.5);

    Copied copy;
    ASSERT_HR(S_OK, Copy::copy(&copy, &source));

    EXPECT_EQ(copy.tkKey.Level, 1);
    EXPECT_EQ(copy.tkKey.Value.lVal, 7);
    EXPECT_EQ(copy.tkParent.Value.lVal, 3);
    EXPECT_EQ(copy.coConstraint, cnSNET);
    EXPECT_EQ(copy.dtConstraint, 45000.25);
    EXPECT_EQ(copy.dwPriority, 500u);
    EXPECT_EQ(copy.dwSRFlags, 9u);
    EXPECT_EQ(copy.dwInternal, 0x1234u);
    EXPECT_EQ(copy.dwReserved, 0x5678u);

    ASSERT_EQ(copy.dwIntervals, 2u);
    ASSERT_NE(copy.psi, source.psi);
    EXPECT_EQ(copy.psi[1].dtStart, 45002.0);
    EXPECT_EQ(copy.psi[1].dtStop, 45003.5);
    EXPECT_EQ(copy.psi[1].dwFlags, ULONG(ifProjectCalendar));
    EXPECT_EQ(copy.psi[1].dblDuration, 1.5);
    EXPECT_EQ(copy.psi[0].dwReserved, 0u);
    EXPECT_EQ(copy.psi[1].dwReserved, 0u);

    ASSERT_EQ(copy.dwResources, 2u);
    ASSERT_NE(copy.psr, source.psr);
    EXPECT_EQ(copy.psr[1].dblAssigned, 2.0);
    EXPECT_EQ(test::Utf8(copy.psr[1].rkResource.bstrVal), "crew");
    EXPECT_NE(copy.psr[1].rkResource.bstrVal, source.psr[1].rkResource.bstrVal) << "the copy owns its strings";

    ASSERT_EQ(copy.dwPredecessors, 1u);
    EXPECT_EQ(copy.psp[0].tkPred.Level, 1);
    EXPECT_EQ(copy.psp[0].tkPred.dwReserved, 0u);
    EXPECT_EQ(copy.psp[0].tkPred.Value.lVal, 4);
    EXPECT_EQ(copy.psp[0].ptType, ptStartStart);
    EXPECT_EQ(copy.psp[0].dblLag, -1.5);
}

// A value that cannot be copied fails the copy wherever it sits; what was
// copied before it is the destination's and destroy frees it, never the
// source's arrays (the sanitizer build checks both).
TEST(TaskRecordCopy, FailedCopyLeavesOnlyTheCopysOwn) {
    struct Case {
        const char* where;
        VARIANT* (*find)(Task&);
    } cases[] = {
        {"task key", [](Task& t) { return &t.tkKey.Value; }},
        {"parent key", [](Task& t) { return &t.tkParent.Value; }},
        {"second resource", [](Task& t) { return &t.psr[1].rkResource; }},
        {"predecessor", [](Task& t) { return &t.psp[0].tkPred.Value; }},
    };
    for (const Case& c : cases) {
        Task source(1, 2);
        source.Interval(1.0, 2.0, 0, 1.0).Resource(OLESTR("a"), 1.0).Resource(OLESTR("b"), 1.0);
        source.Predecessor(3, ptFinishStart, 0.0);
        VARIANT* spoiled = c.find(source);
        const VARTYPE kept = spoiled->vt;
        spoiled->vt = 15;  // no such variant type
        {
            Copied copy;
            EXPECT_HR(DISP_E_BADVARTYPE, Copy::copy(&copy, &source)) << c.where;
            EXPECT_TRUE(!copy.psi || copy.psi != source.psi) << c.where;
            EXPECT_TRUE(!copy.psr || copy.psr != source.psr) << c.where;
            EXPECT_TRUE(!copy.psp || copy.psp != source.psp) << c.where;
        }
        spoiled->vt = kept;
    }
}

// A new message's empty state is seen in the engine's run-wide messages.
TEST(ScheduleMessageCopy, CopiesTextsAsTheyAre) {
    ostrel::CScheduleMessage source;
    source.tk.Level = 2;
    test::SetBstr(source.tk.Value, OLESTR("T-1"));
    source.dwCookie = 9;
    source.Severity = msError;
    const OLECHAR withNul[] = {'a', 0, 'b'};
    source.SetMessage(withNul, 3);
    source.SetLongMessage(OLESTR(""), 0);

    ostrel::CScheduleMessage copy;
    copy.SetLongMessage(OLESTR("old"), 3);  // replaced, not leaked
    ASSERT_HR(S_OK, ostrel::CScheduleMessage::copy(&copy, &source));
    EXPECT_EQ(copy.tk.Level, 2);
    EXPECT_EQ(test::Utf8(copy.tk.Value.bstrVal), "T-1");
    EXPECT_EQ(copy.dwCookie, 9u);
    EXPECT_EQ(copy.Severity, msError);
    ASSERT_EQ(SysStringLen(copy.bstrMessage), 3u);
    EXPECT_EQ(copy.bstrMessage[2], 'b');
    ASSERT_NE(copy.bstrLongMessage, nullptr) << "an empty text is not the absence of one";
    EXPECT_EQ(SysStringLen(copy.bstrLongMessage), 0u);

    source.SetLongMessage(nullptr, 0);
    ASSERT_HR(S_OK, ostrel::CScheduleMessage::copy(&copy, &source));
    EXPECT_EQ(copy.bstrLongMessage, nullptr);
}

}  // namespace
