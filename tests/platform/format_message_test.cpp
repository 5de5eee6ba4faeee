// FormatMessageA: message tables in modules, the system's texts, inserts,
// escapes, line widths and buffers.
#include <cstdarg>

#include "system_test_support.h"

// MinGW's winerror.h lacks it.
#ifndef ERROR_NO_WORK_DONE
#define ERROR_NO_WORK_DONE 235L
#endif

namespace {

constexpr DWORD kModule = FORMAT_MESSAGE_FROM_HMODULE, kSystem = FORMAT_MESSAGE_FROM_SYSTEM,
                kString = FORMAT_MESSAGE_FROM_STRING, kArray = FORMAT_MESSAGE_ARGUMENT_ARRAY,
                kIgnore = FORMAT_MESSAGE_IGNORE_INSERTS;

// The text, escaped, or "<error 0x...>" with the last error.
std::string Result(DWORD n, const char* text) {
    return n ? test::Escaped(std::string(text, n)) : "<error " + test::Hex(HRESULT(GetLastError())) + ">";
}
std::string Error(DWORD error) { return "<error " + test::Hex(HRESULT(error)) + ">"; }

std::string Format(DWORD flags, LPCVOID source, DWORD id, const DWORD_PTR* args = nullptr, DWORD language = 0) {
    char buffer[1024];
    SetLastError(0);
    // With FORMAT_MESSAGE_ARGUMENT_ARRAY the last parameter is an array, which
    // the platform declares as va_list*.
    DWORD n = FormatMessageA(flags, source, id, language, buffer, sizeof buffer,
                             reinterpret_cast<va_list*>(const_cast<DWORD_PTR*>(args)));
    return Result(n, buffer);
}

std::string FormatList(DWORD flags, LPCVOID source, DWORD id, ...) {
    char buffer[1024];
    va_list args;
    va_start(args, id);
    DWORD n = FormatMessageA(flags, source, id, 0, buffer, sizeof buffer, &args);
    va_end(args);
    return Result(n, buffer);
}

class FormatMessageTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(module_, nullptr) << test::Hex(HRESULT(GetLastError())); }
    void TearDown() override { FreeLibrary(module_); }
    HMODULE module_ = LoadLibraryExA("TestMessages.dll", nullptr, DONT_RESOLVE_DLL_REFERENCES);
};

TEST_F(FormatMessageTest, ModuleMessagesFromEveryBlockAndEntryKind) {
    const DWORD_PTR args[] = {DWORD_PTR("Alpha"), 42};
    EXPECT_EQ(Format(kModule | kArray, module_, 1, args), "Plain text.\\r\\n");
    EXPECT_EQ(Format(kModule | kArray, module_, 2, args), "Task Alpha conflicts with 42 items.\\r\\n");
    EXPECT_EQ(FormatList(kModule, module_, 2, "Beta", 7), "Task Beta conflicts with 7 items.\\r\\n");
    EXPECT_EQ(Format(kModule | kArray, module_, 3, args), "First line\\r\\nsecond");   // %0 ends it
    EXPECT_EQ(Format(kModule | kArray, module_, 4, args), "Wide \\x80 Alpha\\r\\n");  // UTF-16, now 1252
    EXPECT_EQ(Format(kModule | kArray, module_, 0x100, args + 1), "High block 0000002A\\r\\n");
    EXPECT_EQ(Format(kModule | kIgnore, module_, 0x101), "Next\\r\\n");
    for (DWORD missing : {0u, 6u, 0xFFu, 0x102u, 0xC0020001u}) {
        EXPECT_EQ(Format(kModule | kIgnore, module_, missing), Error(ERROR_MR_MID_NOT_FOUND)) << missing;
    }
}

TEST_F(FormatMessageTest, ModuleFirstThenSystemAndWhatIsMissing) {
    EXPECT_EQ(Format(kModule | kSystem | kIgnore, module_, 2), "Task %1 conflicts with %2!d! items.\\r\\n");
    // Wine differs from the documented platform in its system texts, which are shorter.
    EXPECT_EQ(Format(kModule | kSystem | kIgnore, module_, ERROR_INVALID_HANDLE),
              test::UnderWine() ? "Invalid handle.\\r\\n" : "The handle is invalid.\\r\\n");
    EXPECT_EQ(Format(kModule | kSystem | kIgnore, module_, 12345), Error(ERROR_MR_MID_NOT_FOUND));
    HMODULE resources = LoadLibraryA(OSTREL_TEST_RESOURCES);
    EXPECT_EQ(Format(kModule | kIgnore, resources, 1), Error(ERROR_RESOURCE_TYPE_NOT_FOUND));
    EXPECT_EQ(Format(kModule | kSystem | kIgnore, resources, ERROR_ACCESS_DENIED),
              test::UnderWine() ? "Access denied.\\r\\n" : "Access is denied.\\r\\n");
    FreeLibrary(resources);
    // The executable carries no resources, and a made-up handle is no module.
    EXPECT_EQ(Format(kModule | kIgnore, nullptr, 1), Error(ERROR_RESOURCE_DATA_NOT_FOUND));
    EXPECT_EQ(Format(kModule | kIgnore, HMODULE(0x1234), 1), Error(ERROR_RESOURCE_DATA_NOT_FOUND));
    // Tables are English; a neutral language means the default, English.
    for (DWORD language : {0x0u, 0x400u, 0x800u, 0x409u}) {
        EXPECT_EQ(Format(kModule | kIgnore, module_, 1, nullptr, language), "Plain text.\\r\\n") << language;
    }
    EXPECT_EQ(Format(kModule | kIgnore, module_, 1, nullptr, 0x407), Error(ERROR_RESOURCE_LANG_NOT_FOUND));
    EXPECT_EQ(Format(kIgnore, "no source named", 1), Error(ERROR_INVALID_PARAMETER));
}

// Not named FormatMessage: on Windows that is a macro, which would rename the
// suite there and part it from its Linux results.
TEST(MessageFormatting, SystemTextsAreThePlatformsOwn) {
    // Wine differs from the documented platform here: its texts are shorter,
    // and it has none for the component and automation codes.
    const char* const wineHasNone = "<error 0x0000013D>";
    const struct {
        HRESULT id;
        const char* text;
        const char* wine;
    } cases[] = {
        {ERROR_SUCCESS, "The operation completed successfully.\\r\\n", "Success.\\r\\n"},
        {ERROR_FILE_NOT_FOUND, "The system cannot find the file specified.\\r\\n", "File not found.\\r\\n"},
        {ERROR_MOD_NOT_FOUND, "The specified module could not be found.\\r\\n", "Module not found.\\r\\n"},
        // A text with inserts but no arguments and no IGNORE_INSERTS has no text.
        {ERROR_MR_MID_NOT_FOUND, "<error 0x00000057>", "<error 0x00000057>"},
        {E_FAIL, "Unspecified error\\r\\n", "Call failed.\\r\\n"},
        {E_OUTOFMEMORY, "Not enough memory resources are available to complete this operation.\\r\\n",
         "Out of memory.\\r\\n"},
        {E_INVALIDARG, "The parameter is incorrect.\\r\\n", "Invalid parameter.\\r\\n"},
        {E_POINTER, "Invalid pointer\\r\\n", wineHasNone},
        {E_NOINTERFACE, "No such interface supported\\r\\n", wineHasNone},
        {E_UNEXPECTED, "Catastrophic failure\\r\\n", wineHasNone},
        {DISP_E_EXCEPTION, "Exception occurred.\\r\\n", wineHasNone},
        {REGDB_E_CLASSNOTREG, "Class not registered\\r\\n", wineHasNone},
        {CLASS_E_NOAGGREGATION, "Class does not support aggregation (or class object is remote)\\r\\n", wineHasNone},
        {TYPE_E_LIBNOTREGISTERED, "Library not registered.\\r\\n", wineHasNone},
        {CO_E_NOTINITIALIZED, "CoInitialize has not been called.\\r\\n", wineHasNone},
        {CONNECT_E_ADVISELIMIT, "An event was unable to invoke any of the subscribers\\r\\n", wineHasNone},
        {CONNECT_E_NOCONNECTION, "<error 0x0000013D>", wineHasNone},  // the platform has no text for it
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Format(kSystem, nullptr, DWORD(c.id)), test::UnderWine() ? c.wine : c.text) << test::Hex(c.id);
    }
    const DWORD_PTR file[] = {DWORD_PTR("x.dll")};
    EXPECT_EQ(Format(kSystem | kArray, nullptr, ERROR_BAD_EXE_FORMAT, file),
              test::UnderWine() ? "Bad EXE format for x.dll.\\r\\n" : "x.dll is not a valid Win32 application.\\r\\n");
}

TEST(MessageFormatting, InsertsAndEscapes) {
    const DWORD_PTR words[] = {DWORD_PTR("one"), DWORD_PTR("two"), DWORD_PTR("three"), 0, 0, 0, 0, 0, 0,
                               DWORD_PTR("ten")};
    const DWORD_PTR numbers[] = {42, DWORD_PTR(-5), 0xABCDEF, 7, 1234, DWORD_PTR(OLESTR("w\u20AC")), 0x1122334455667788};
    const struct {
        const char* text;
        const DWORD_PTR* args;
        const char* expected;
    } cases[] = {
        {"%3%1 %10 %1x %100", words, "threeone ten onex ten0"},  // two digits at most
        {"[%1!5s!] [%2!-5s!] [%3!.2s!] %4", words, "[  one] [two  ] [th] (null)"},
        {"%% %n %. %! %  %t|%r|%b", words, "% \\r\\n . !   \\t|\\r|b"},
        {"a%0b", words, "a"},
        {"x\ny\r\nz\rq", words, "x\\r\\ny\\r\\nz\\r\\nq"},
        {"%1!d! %2!d! %2!u! %3!x! %3!X! %3!08x! %1!o! %1!#x!", numbers,
         "42 -5 4294967291 abcdef ABCDEF 00abcdef 52 0x2a"},
        {"[%4!*d!] %3!x!", numbers, "[   1234] abcdef"},  // the width is insert 4, the value insert 5
        {"%7!I64x! %7!x! %7!p! %6!S!", numbers, "1122334455667788 55667788 1122334455667788 w\\x80"},
        {"%1!5! %1!!|", numbers, " |"},  // no conversion, no text
    };
    for (const auto& c : cases) EXPECT_EQ(Format(kString | kArray, c.text, 0, c.args), c.expected) << c.text;

    // IGNORE_INSERTS keeps inserts and escapes, except %n %r %t and %0.
    EXPECT_EQ(Format(kString | kIgnore, "%1 %2!d! %% %. %1!x %n%t%0more", 0), "%1 %2!d! %% %. %1!x \\r\\n\\t");
    // Without arguments an insert is an error; a text without one is formatted.
    EXPECT_EQ(Format(kString, "%1 and %2!d! %% %n", 0), Error(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(Format(kString, "%%1 %n", 0), "%1 \\r\\n");
    for (const char* bad : {"end%", "%1!d"}) EXPECT_EQ(Format(kString | kArray, bad, 0, words), Error(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(Format(kString | kIgnore, "end%", 0), Error(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(Format(kString, "%0tail", 0), Error(ERROR_NO_WORK_DONE));  // empty is reported as failure
}

TEST_F(FormatMessageTest, LineWidths) {
    // Message 5 is "The quick brown fox jumps over the lazy dog.\r\n". With
    // any width the text's own line breaks become blanks.
    EXPECT_EQ(Format(kModule | kIgnore | FORMAT_MESSAGE_MAX_WIDTH_MASK, module_, 5),
              "The quick brown fox jumps over the lazy dog. ");
    // A line is broken as soon as it has the width, even where its word ends
    // right there, and the final blank filling a line leaves a break.
    EXPECT_EQ(Format(kModule | kIgnore | 10, module_, 5), "The quick\\r\\nbrown fox\\r\\njumps\\r\\nover the\\r\\nlazy dog.\\r\\n");
    // Hard breaks stay; a word longer than a line is cut.
    EXPECT_EQ(Format(kString | kIgnore | 0xFF, "ab\r\ncd%nAbcdefghij", 0), "ab cd\\r\\nAbcdefghij");
    EXPECT_EQ(Format(kString | kIgnore | 4, "ab\r\ncd%nAbcdefghij", 0), "ab\\r\\ncd\\r\\nAbcd\\r\\nefgh\\r\\nij");
}

TEST(MessageFormatting, CallersBufferOrALocalAllocation) {
    char buffer[16];
    const char* text = "Plain text.\r\n";  // 13 characters
    EXPECT_EQ(FormatMessageA(kString, text, 0, 0, buffer, 13, nullptr), 0u);
    EXPECT_LAST_ERROR(ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(FormatMessageA(kString, text, 0, 0, buffer, 14, nullptr), 13u);
    EXPECT_STREQ(buffer, text);

    char* allocated = nullptr;
    const DWORD allocate = FORMAT_MESSAGE_ALLOCATE_BUFFER;
    EXPECT_EQ(FormatMessageA(allocate | kString, text, 0, 0, LPSTR(&allocated), 0, nullptr), 13u);
    ASSERT_NE(allocated, nullptr);
    EXPECT_STREQ(allocated, text);
    EXPECT_EQ(LocalFree(allocated), nullptr);
    allocated = LPSTR(1);  // a failed call leaves the pointer null, never dangling
    EXPECT_EQ(FormatMessageA(allocate | kSystem, nullptr, 12345, 0, LPSTR(&allocated), 0, nullptr), 0u);
    EXPECT_LAST_ERROR(ERROR_MR_MID_NOT_FOUND);
    EXPECT_EQ(allocated, nullptr);
}

}  // namespace
