// Message texts with the message module present (found through PATH).
#include "foundation/message_loader.h"

#include "foundation/message_numbers.h"
#include "foundation/vo_error.h"
#include "test_support.h"

namespace {

using ostrel::EVoError;
using ostrel::FormatVoMessage;

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
    // An empty insert stays empty, it is never a null pointer.
    EXPECT_EQ(test::Utf8(FormatVoMessage(VOMSG_UNEXPECTED_FAILURE, "")), "The schedule run failed unexpectedly: \r\n");
}

TEST(MessageLoader, ErrorsKeepTheirNumberAndText) {
    // A number the module lacks fails with ERROR_MR_MID_NOT_FOUND. The system's
    // text for that has inserts (the number, the module) that nobody passes, and
    // the platform gives no text for a message with inserts but no arguments;
    // so the caller sees the loader's own fallback. Where a system does give a
    // text, the loader passes that on.
    const std::string notFound = test::SystemText(ERROR_MR_MID_NOT_FOUND);
    const struct {
        DWORD number;
        std::string text;
    } cases[] = {
        {VOMSG_INDEX_OUT_OF_RANGE, "The index is out of range: it must be below the number of items.\r\n"},
        {ostrel::VOMSG_FAIL, test::SystemText(ostrel::VOMSG_FAIL)},  // system codes: the system's table
        {ostrel::VOMSG_OUT_OF_MEMORY, test::SystemText(ostrel::VOMSG_OUT_OF_MEMORY)},
        {0xC00200FFu, notFound.empty() ? "Failed to load (error)message from module" : notFound},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(test::Hex(HRESULT(c.number)));
        ASSERT_FALSE(c.text.empty());
        EVoError e(c.number);
        EXPECT_EQ(e.Code, c.number);
        EXPECT_EQ(test::Utf8(e.Message), c.text);
    }
    EVoError given(OLESTR("Invalid operator"));
    EXPECT_EQ(given.Code, ostrel::TEXT_ERROR_CODE);
    EXPECT_EQ(test::Utf8(given.Message), "Invalid operator");
}

}  // namespace
