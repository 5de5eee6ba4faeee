// Modules: the search for plain names, load counting, exports, file names
// and the errors for modules that are missing or are not modules.
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "system_test_support.h"

namespace {

namespace fs = std::filesystem;

struct Folder {  // a fresh folder, removed again afterwards
    fs::path path;
    explicit Folder(const std::string& name) : path(fs::temp_directory_path() / (name + std::to_string(GetCurrentProcessId()))) {
        fs::create_directories(path);
    }
    ~Folder() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
};

// The process's PATH, which the module search reads, as the system keeps it.
#ifdef _WIN32
constexpr char kPathSeparator = ';';
void SetPath(const std::string& value) { _putenv_s("PATH", value.c_str()); }
#else
constexpr char kPathSeparator = ':';
void SetPath(const std::string& value) { setenv("PATH", value.c_str(), 1); }
#endif

std::string FileName(HMODULE module) {
    char name[4096];
    DWORD n = GetModuleFileNameA(module, name, sizeof name);
    return n ? std::string(name, n) : "<error " + test::Hex(HRESULT(GetLastError())) + ">";
}

TEST(Module, PlainNamesFoundBesideThePlatformLibraryAndLoadsCounted) {
    // The test's current folder is empty, so only the platform library's
    // folder can supply it. No extension means ".dll"; a trailing dot means
    // no extension at all.
    HMODULE module = LoadLibraryA("TestMessages");
    ASSERT_NE(module, nullptr) << test::Hex(HRESULT(GetLastError()));
    EXPECT_TRUE(fs::path(FileName(module)).is_absolute());
    EXPECT_TRUE(fs::equivalent(FileName(module), OSTREL_TEST_MESSAGES)) << FileName(module);
    EXPECT_EQ(LoadLibraryExA(OSTREL_TEST_MESSAGES, nullptr, LOAD_LIBRARY_AS_DATAFILE), module);
    SetLastError(0);
    EXPECT_EQ(LoadLibraryA("TestMessages."), nullptr);
    EXPECT_LAST_ERROR(ERROR_MOD_NOT_FOUND);

    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_NE(GetProcAddress(module, "TestMessagesAnswer"), nullptr) << "one load is left";
    EXPECT_TRUE(FreeLibrary(module));
    auto refused = [](bool failed) {
        EXPECT_TRUE(failed);
        EXPECT_LAST_ERROR(ERROR_MOD_NOT_FOUND);
        SetLastError(0);
    };
    char name[64];
    SetLastError(0);
    refused(!FreeLibrary(module));
    refused(GetModuleFileNameA(module, name, 64) == 0);
    refused(!GetProcAddress(module, "TestMessagesAnswer"));
    refused(!FreeLibrary(HMODULE(0x1234)));
    EXPECT_FALSE(FreeLibrary(nullptr));
    EXPECT_LAST_ERROR(ERROR_INVALID_HANDLE);
}

TEST(Module, GetProcAddressFindsOnlyTheModulesOwnExports) {
    HMODULE module = LoadLibraryA("TestMessages.dll");
    ASSERT_NE(module, nullptr);
    FARPROC proc = GetProcAddress(module, "TestMessagesAnswer");
    ASSERT_NE(proc, nullptr);
    EXPECT_EQ(reinterpret_cast<int (*)()>(reinterpret_cast<void*>(proc))(), 42);
    // "malloc" is reachable through the module's dependencies but is not its
    // export.
    for (LPCSTR name : {"malloc", "NoSuchExport", reinterpret_cast<LPCSTR>(2)}) {
        SetLastError(0);
        EXPECT_EQ(GetProcAddress(module, name), nullptr);
        EXPECT_LAST_ERROR(ERROR_PROC_NOT_FOUND);
    }
    EXPECT_EQ(GetProcAddress(module, reinterpret_cast<LPCSTR>(1)), proc);  // the only export is ordinal 1
    FreeLibrary(module);
}

TEST(Module, FileNamesAreTruncatedAndTerminated) {
    const std::string full = FileName(nullptr);  // the executable
    EXPECT_EQ(fs::path(full).stem(), "platform_module_test");
    char narrow[6] = "#####";
    EXPECT_EQ(GetModuleFileNameA(nullptr, narrow, 5), 5u);
    EXPECT_LAST_ERROR(ERROR_INSUFFICIENT_BUFFER);
    // Truncated and terminated. Wine differs from the documented platform
    // here: it fills the buffer and leaves the name unterminated, as the
    // platform did before Vista.
    EXPECT_EQ(std::string(narrow), full.substr(0, test::UnderWine() ? 5 : 4));
    WCHAR wide[4096];
    DWORD n = GetModuleFileNameW(nullptr, wide, 4096);
    EXPECT_LAST_ERROR(ERROR_SUCCESS);
    EXPECT_EQ(test::Utf8(OleString(wide, n)), full);  // an ASCII path in the build tree
}

TEST(Module, SearchGoesOnToTheCurrentFolderThenPath) {
    Folder current("ostrel-cwd-"), onPath("ostrel-path-");
    fs::copy_file(OSTREL_TEST_MESSAGES, current.path / "CwdModule.dll");
    fs::copy_file(OSTREL_TEST_MESSAGES, onPath.path / "PathModule.dll");
    std::ofstream(current.path / "TestMessages.dll") << "not a module, and searched after the platform's folder";
    const fs::path previousFolder = fs::current_path();
    const std::string previousPath = getenv("PATH") ? getenv("PATH") : "";
    fs::current_path(current.path);
    SetPath(onPath.path.string() + kPathSeparator + previousPath);
    HMODULE modules[] = {LoadLibraryA("CwdModule.dll"), LoadLibraryA("PathModule"), LoadLibraryA("TestMessages.dll")};
    fs::current_path(previousFolder);
    SetPath(previousPath);

    const fs::path expected[] = {current.path / "CwdModule.dll", onPath.path / "PathModule.dll", OSTREL_TEST_MESSAGES};
    for (int i = 0; i < 3; ++i) {
        ASSERT_NE(modules[i], nullptr) << expected[i];
        EXPECT_TRUE(fs::equivalent(FileName(modules[i]), expected[i])) << FileName(modules[i]);
        FreeLibrary(modules[i]);
    }
}

TEST(Module, MissingModulesAndFilesThatAreNoModules) {
    Folder folder("ostrel-bad-");
    std::ofstream(folder.path / "Garbage.dll") << "MZ but not really";
    fs::create_directory(folder.path / "Folder.dll");
    for (const auto& [name, error] : {std::pair<std::string, DWORD>{"NoSuchModule.dll", ERROR_MOD_NOT_FOUND},
                                      {"", ERROR_MOD_NOT_FOUND},
                                      {(folder.path / "NoSuchModule.dll").string(), ERROR_MOD_NOT_FOUND},
                                      {(folder.path / "Folder.dll").string(), ERROR_ACCESS_DENIED},
                                      {(folder.path / "Garbage.dll").string(), ERROR_BAD_EXE_FORMAT}}) {
        SetLastError(0);
        EXPECT_EQ(LoadLibraryA(name.c_str()), nullptr) << name;
        EXPECT_LAST_ERROR(error) << name;
    }
}

}  // namespace

namespace {

TEST(Module, ResourcesByTypeAndNumberAndTheModuleOfAnAddress) {
    HMODULE module = LoadLibraryExA(OSTREL_TEST_RESOURCES, nullptr, 0);
    ASSERT_NE(module, nullptr);
    HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(1), OLESTR("TYPELIB"));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(SizeofResource(module, found), 4u);
    const auto* bytes = static_cast<const char*>(LockResource(LoadResource(module, found)));
    EXPECT_EQ(std::string(bytes, 4), "MSFT");

    const struct {
        LPCWSTR name, type;
        DWORD error;
    } missing[] = {
        {MAKEINTRESOURCEW(2), OLESTR("TYPELIB"), ERROR_RESOURCE_NAME_NOT_FOUND},
        {MAKEINTRESOURCEW(1), OLESTR("REGISTRY"), ERROR_RESOURCE_TYPE_NOT_FOUND},
        {OLESTR("NAMED"), OLESTR("TYPELIB"), ERROR_RESOURCE_NAME_NOT_FOUND},
    };
    for (const auto& m : missing) {
        SetLastError(0);
        EXPECT_EQ(FindResourceW(module, m.name, m.type), nullptr);
        EXPECT_LAST_ERROR(m.error);
    }

    // A module found by an address inside it is the loaded module itself.
    const void* inside = LockResource(LoadResource(module, found));
    HMODULE self = nullptr;
    ASSERT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                   static_cast<LPCWSTR>(inside), &self));
    EXPECT_EQ(self, module);
    EXPECT_EQ(FileName(self), FileName(module));
    // By name, a load is counted: two frees are needed now.
    self = nullptr;
    ASSERT_TRUE(GetModuleHandleExW(0, OLESTR("TestResources.dll"), &self));
    EXPECT_EQ(self, module);
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_EQ(GetModuleHandleW(OLESTR("TestResources.dll")), module);
    SetLastError(0);
    EXPECT_FALSE(GetModuleHandleExW(0, OLESTR("NoSuchModule.dll"), &self));
    EXPECT_LAST_ERROR(ERROR_MOD_NOT_FOUND);
    EXPECT_EQ(self, nullptr);
    FreeLibrary(module);
}

}  // namespace
