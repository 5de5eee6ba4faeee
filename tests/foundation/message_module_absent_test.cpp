// Message texts when the platform cannot find VoMessages.dll: the text says
// so, the number is kept, and a later lookup tries to load it again.
#include <filesystem>

#include "foundation/boundary.h"
#include "foundation/message_numbers.h"
#include "foundation/vo_error.h"
#include "test_support.h"

namespace {

namespace fs = std::filesystem;

TEST(MessageModuleAbsent, TextNamesTheModuleThenLoadIsRetried) {
    // A fresh, empty current folder of this process's own, so nothing running
    // beside it can put the module where the platform looks.
    const fs::path previous = fs::current_path();
    const fs::path folder = fs::temp_directory_path() / ("ostrel-absent-" + std::to_string(getpid()));
    fs::create_directories(folder);
    fs::current_path(folder);
    const std::string notFound = test::SystemText(ERROR_MOD_NOT_FOUND);
    ASSERT_FALSE(notFound.empty());

    ostrel::EVoError e(VOMSG_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(e.Code, DWORD(VOMSG_INDEX_OUT_OF_RANGE));
    EXPECT_EQ(test::Utf8(e.Message), "File VoMessages.dll could not be loaded: " + notFound);
    // The caller sees the same text through the boundary.
    SetErrorInfo(0, nullptr);
    EXPECT_HR(DISP_E_EXCEPTION,
              ostrel::Boundary(GUID_NULL, [] { throw ostrel::EVoError(VOMSG_INDEX_OUT_OF_RANGE); }));
    EXPECT_EQ(test::TakeErrorInfo().description, "File VoMessages.dll could not be loaded: " + notFound);

    // Once the module can be found, the next lookup loads it.
    fs::copy_file(OSTREL_MESSAGE_MODULE, folder / "VoMessages.dll");
    ostrel::EVoError later(VOMSG_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(test::Utf8(later.Message), "The index is out of range: it must be below the number of items.\r\n");
    fs::current_path(previous);
    // The loader keeps the module for the process's life, and Windows keeps a
    // loaded module's file locked: there the folder stays behind in the
    // temporary folder. Elsewhere it goes now.
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

}  // namespace
