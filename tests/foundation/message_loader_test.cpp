// Message texts with the message module present (found through PATH).
#include "foundation/message_loader.h"

#include "foundation/message_numbers.h"
#include "foundation/vo_error.h"
#include "test_support.h"

namespace {

using ostrel::EVoError;
using ostrel::FormatVoMessage;

std::string Text(DWORD number) { return test::Utf8(EVoError(number).Message); }

// Every number the system raises must have its own text in the module: a
// missing one would show the system's "cannot find message text" instead.
TEST(MessageLoader, EveryCatalogueNumberHasItsOwnText) {
    const DWORD numbers[] = {
        VOMSG_INDEX_OUT_OF_RANGE, VOMSG_FORMULA_OPERAND_TYPE, VOMSG_FORMULA_EMPTY_OPERAND,
        VOMSG_FORMULA_DIVISION_BY_ZERO, VOMSG_FORMULA_UNTERMINATED_TEXT, VOMSG_FORMULA_UNKNOWN_FUNCTION,
        VOMSG_FORMULA_BAD_OPERAND, VOMSG_LOCK_WRITE_TIMEOUT, VOMSG_LOCK_READ_TIMEOUT, VOMSG_LOCK_UPGRADE_CONFLICT,
        VOMSG_SCHEDULE_RANGE_EMPTY, VOMSG_RESOURCE_BELOW_ASSIGNMENT, VOMSG_RESOURCE_OVERALLOCATED,
        VOMSG_DUPLICATE_INHERITED_RESOURCE, VOMSG_CONSTRAINT_DATE_MISSING, VOMSG_CIRCULAR_RELATION,
        VOMSG_DUPLICATE_INHERITED_PREDECESSOR, VOMSG_UNEXPECTED_FAILURE, VOMSG_CONSTRAINT_BEFORE_RANGE,
        VOMSG_CONSTRAINT_AFTER_RANGE, VOMSG_INTERVAL_WITHOUT_PROFILE, VOMSG_PLACEMENT_BOUNDS_CROSSED,
        VOMSG_PLACEMENT_BOUNDS_CROSSED_DETAIL, VOMSG_PLACEMENT_NO_TIME, VOMSG_PLACEMENT_NO_TIME_DETAIL,
        VOMSG_PLACEMENT_NO_RESOURCE_TIME, VOMSG_PLACEMENT_NO_RESOURCE_TIME_DETAIL, VOMSG_START_FROM_RANGE,
        VOMSG_START_FROM_TASK, VOMSG_START_FROM_LINK, VOMSG_FINISH_FROM_RANGE, VOMSG_FINISH_FROM_TASK,
        VOMSG_FINISH_FROM_PREDECESSOR, VOMSG_FINISH_FROM_SUCCESSOR};
    const std::string missing = test::SystemText(ERROR_MR_MID_NOT_FOUND);
    for (DWORD number : numbers) {
        // Two inserts always: texts with fewer simply do not use them.
        std::string text = test::Utf8(FormatVoMessage(number, "K1", "K2"));
        SCOPED_TRACE(test::Hex(HRESULT(number)));
        EXPECT_EQ(number & 0xFFFF0000u, 0xC0020000u);
        EXPECT_NE(text, missing);
        EXPECT_NE(text, "Failed to load (error)message from module");
        ASSERT_GE(text.size(), 2u);
        EXPECT_EQ(text.substr(text.size() - 2), "\r\n") << text;
        EXPECT_EQ(text.find('%'), std::string::npos) << "unexpanded insert in: " << text;
    }
}

TEST(MessageLoader, InsertsAreNarrowStringsInOrder) {
    EXPECT_EQ(test::Utf8(FormatVoMessage(VOMSG_CIRCULAR_RELATION, "T1", "T2")),
              "Tasks T1 and T2 are linked in a circle.\r\n");
    EXPECT_EQ(test::Utf8(FormatVoMessage(VOMSG_RESOURCE_OVERALLOCATED, "R7", "0.5")),
              "Resource R7 is over-allocated by 0.5 units.\r\n");
    // An empty insert stays empty, it is never a null pointer.
    EXPECT_EQ(test::Utf8(FormatVoMessage(VOMSG_UNEXPECTED_FAILURE, "")), "The schedule run failed unexpectedly: \r\n");
}

TEST(MessageLoader, NumberedErrorKeepsItsNumberAndText) {
    EVoError e(VOMSG_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(e.Code, DWORD(VOMSG_INDEX_OUT_OF_RANGE));
    EXPECT_EQ(test::Utf8(e.Message), "The index is out of range: it must be below the number of items.\r\n");

    EVoError given(OLESTR("Invalid operator"));
    EXPECT_EQ(given.Code, ostrel::TEXT_ERROR_CODE);
    EXPECT_EQ(test::Utf8(given.Message), "Invalid operator");
}

TEST(MessageLoader, SystemCodesFallBackToTheSystemTable) {
    for (DWORD number : {ostrel::VOMSG_FAIL, ostrel::VOMSG_OUT_OF_MEMORY}) {
        std::string expected = test::SystemText(number);
        ASSERT_FALSE(expected.empty()) << test::Hex(HRESULT(number));
        EXPECT_EQ(Text(number), expected);
    }
}

TEST(MessageLoader, NumberMissingFromTheModuleGivesTheSystemsExplanation) {
    std::string expected = test::SystemText(ERROR_MR_MID_NOT_FOUND);
    ASSERT_FALSE(expected.empty());
    EVoError e(0xC00200FFu);
    EXPECT_EQ(e.Code, 0xC00200FFu);
    EXPECT_EQ(test::Utf8(e.Message), expected);
}

TEST(MessageLoader, ScheduleErrorsAreCaughtAsTheirBases) {
    try {
        throw ostrel::ECircularPredecessorRelation(OLESTR("cycle"));
    } catch (const ostrel::EVoScheduleError& e) {
        EXPECT_EQ(test::Utf8(e.Message), "cycle");
        EXPECT_TRUE(e.LongMessage.empty());
        EXPECT_EQ(e.Task, nullptr);
    }
}

}  // namespace
