// Modules: the search for plain names, load counting, exports, file names
// and the errors for modules that are missing or are not modules.
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "system_test_support.h"

namespace {

namespace fs = std::filesystem;

// A fresh folder, removed again afterwards.
struct Folder {
    fs::path path;
    explicit Folder(const std::string& name)
        : path(fs::temp_directory_path() / (name + "-" + std::to_string(getpid()))) {
        fs::create_directories(path);
    }
    ~Folder() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
};

std::string FileName(HMODULE module) {
    char name[4096];
    DWORD n = GetModuleFileNameA(module, name, sizeof name);
    return n ? std::string(name, n) : "<none: " + test::Hex(HRESULT(GetLastError())) + ">";
}

TEST(Module, PlainNameIsFoundBesideThePlatformLibrary) {
    // The test's current folder is empty, so only the platform library's
    // folder can supply it.
    HMODULE module = LoadLibraryA("TestMessages.dll");
    ASSERT_NE(module, nullptr) << test::Hex(HRESULT(GetLastError()));
    EXPECT_TRUE(fs::equivalent(FileName(module), OSTREL_TEST_MESSAGES)) << FileName(module);
    EXPECT_TRUE(fs::path(FileName(module)).is_absolute());

    // Without an extension the name means "TestMessages.dll"; a trailing dot
    // means the name has no extension at all.
    HMODULE again = LoadLibraryA("TestMessages");
    EXPECT_EQ(again, module);
    SetLastError(0);
    EXPECT_EQ(LoadLibraryA("TestMessages."), nullptr);
    EXPECT_LAST_ERROR(ERROR_MOD_NOT_FOUND);
    FreeLibrary(again);
    FreeLibrary(module);
}

TEST(Module, LoadsAreCountedAndFreedHandlesAreRefused) {
    HMODULE first = LoadLibraryA(OSTREL_TEST_MESSAGES);
    HMODULE second = LoadLibraryExA("TestMessages.dll", nullptr, LOAD_LIBRARY_AS_DATAFILE);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(second, first);
    EXPECT_TRUE(FreeLibrary(first));
    EXPECT_NE(GetProcAddress(first, "TestMessagesAnswer"), nullptr) << "one load is left";
    EXPECT_TRUE(FreeLibrary(first));

    SetLastError(0);
    EXPECT_FALSE(FreeLibrary(first));
    EXPECT_LAST_ERROR(ERROR_MOD_NOT_FOUND);
    char name[64];
    SetLastError(0);
    EXPECT_EQ(GetModuleFileNameA(first, name, sizeof name), 0u);
    EXPECT_LAST_ERROR(ERROR_MOD_NOT_FOUND);
    SetLastError(0);
    EXPECT_EQ(GetProcAddress(first, "TestMessagesAnswer"), nullptr);
    EXPECT_LAST_ERROR(ERROR_MOD_NOT_FOUND);
    SetLastError(0);
    EXPECT_FALSE(FreeLibrary(reinterpret_cast<HMODULE>(0x1234)));
    EXPECT_LAST_ERROR(ERROR_MOD_NOT_FOUND);
    SetLastError(0);
    EXPECT_FALSE(FreeLibrary(nullptr));
    EXPECT_LAST_ERROR(ERROR_INVALID_HANDLE);
}

TEST(Module, GetProcAddressFindsOnlyTheModulesOwnExports) {
    HMODULE module = LoadLibraryA("TestMessages.dll");
    ASSERT_NE(module, nullptr);
    FARPROC proc = GetProcAddress(module, "TestMessagesAnswer");
    auto answer = reinterpret_cast<int (*)()>(reinterpret_cast<void*>(proc));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    // "malloc" is reachable through the module's dependencies, but it is not
    // the module's export; nor is an ordinal.
    for (LPCSTR name : {"malloc", "NoSuchExport", reinterpret_cast<LPCSTR>(1)}) {
        SetLastError(0);
        EXPECT_EQ(GetProcAddress(module, name), nullptr);
        EXPECT_LAST_ERROR(ERROR_PROC_NOT_FOUND);
    }
    FreeLibrary(module);
}

TEST(Module, FileNamesAreTruncatedAndTerminated) {
    EXPECT_TRUE(fs::equivalent(FileName(nullptr), "/proc/self/exe"));
    const std::string full = FileName(nullptr);

    char narrow[6] = "#####";
    SetLastError(0);
    EXPECT_EQ(GetModuleFileNameA(nullptr, narrow, 5), 5u);
    EXPECT_LAST_ERROR(ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(std::string(narrow), full.substr(0, 4));

    WCHAR wide[4096];
    SetLastError(ERROR_INVALID_DATA);
    DWORD n = GetModuleFileNameW(nullptr, wide, 4096);
    EXPECT_LAST_ERROR(ERROR_SUCCESS);
    EXPECT_EQ(test::Utf8(std::u16string(wide, n)), full);  // an ASCII path in the build tree
    SetLastError(0);
    EXPECT_EQ(GetModuleFileNameW(nullptr, wide, 0), 0u);
    EXPECT_LAST_ERROR(ERROR_INSUFFICIENT_BUFFER);
}

TEST(Module, SearchGoesOnToTheCurrentFolderThenPath) {
    Folder current("ostrel-module-cwd"), onPath("ostrel-module-path");
    fs::copy_file(OSTREL_TEST_MESSAGES, current.path / "CwdModule.dll");
    fs::copy_file(OSTREL_TEST_MESSAGES, onPath.path / "PathModule.dll");
    // Not a module, but it comes after the platform's folder in the search.
    std::ofstream(current.path / "TestMessages.dll") << "not a module";

    const fs::path previousFolder = fs::current_path();
    const std::string previousPath = getenv("PATH") ? getenv("PATH") : "";
    fs::current_path(current.path);
    setenv("PATH", (onPath.path.string() + ":" + previousPath).c_str(), 1);

    HMODULE fromCurrent = LoadLibraryA("CwdModule.dll");
    HMODULE fromPath = LoadLibraryA("PathModule");
    HMODULE fromSystem = LoadLibraryA("TestMessages.dll");

    fs::current_path(previousFolder);
    setenv("PATH", previousPath.c_str(), 1);

    ASSERT_NE(fromCurrent, nullptr);
    ASSERT_NE(fromPath, nullptr);
    ASSERT_NE(fromSystem, nullptr);
    EXPECT_TRUE(fs::equivalent(FileName(fromCurrent), current.path / "CwdModule.dll"));
    EXPECT_TRUE(fs::equivalent(FileName(fromPath), onPath.path / "PathModule.dll"));
    EXPECT_TRUE(fs::equivalent(FileName(fromSystem), OSTREL_TEST_MESSAGES));
    FreeLibrary(fromCurrent);
    FreeLibrary(fromPath);
    FreeLibrary(fromSystem);
}

TEST(Module, MissingModulesAndFilesThatAreNoModules) {
    Folder folder("ostrel-module-bad");
    std::ofstream(folder.path / "Garbage.dll") << "MZ but not really";
    std::ofstream(folder.path / "Empty.dll");
    fs::create_directory(folder.path / "Folder.dll");
    struct Case {
        std::string name;
        DWORD error;
    };
    const Case cases[] = {
        {"NoSuchModule.dll", ERROR_MOD_NOT_FOUND},
        {"", ERROR_MOD_NOT_FOUND},
        {(folder.path / "NoSuchModule.dll").string(), ERROR_MOD_NOT_FOUND},
        {(folder.path / "Folder.dll").string(), ERROR_MOD_NOT_FOUND},
        {(folder.path / "Garbage.dll").string(), ERROR_BAD_EXE_FORMAT},
        {(folder.path / "Empty.dll").string(), ERROR_BAD_EXE_FORMAT},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SetLastError(0);
        EXPECT_EQ(LoadLibraryA(c.name.c_str()), nullptr);
        EXPECT_LAST_ERROR(c.error);
    }
}

}  // namespace
