// The registry: the platform's codes for every call (checked against the real
// platform), names without regard to case, and the file's safety: a failed
// write keeps the old file, a damaged file is refused, and two processes
// writing at once keep each other's keys.
#ifndef _WIN32
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "test_support.h"

namespace {

namespace fs = std::filesystem;

#define EXPECT_STATUS(expected, actual) EXPECT_EQ(LSTATUS(expected), LSTATUS(actual)) << #actual

// On Windows the cases run against the system's registry (each test program
// has a Wine prefix of its own); the file that holds our layer's registry,
// and the cases about that file's safety, exist on Linux only.
class Registry : public ::testing::Test {
protected:
#ifndef _WIN32
    void SetUp() override {
        char pattern[] = "/tmp/ostrel-registry-XXXXXX";
        folder = mkdtemp(pattern);
        file = folder / "registry";
        setenv("OSTREL_REGISTRY", file.c_str(), 1);
    }
    void TearDown() override {
        unsetenv("OSTREL_REGISTRY");
        fs::remove_all(folder);
    }
#endif
    static HKEY Create(HKEY parent, const OLECHAR* name, DWORD* disposition = nullptr) {
        HKEY key = nullptr;
        EXPECT_STATUS(ERROR_SUCCESS, RegCreateKeyExW(parent, name, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                                                     disposition));
        return key;
    }
    static std::string FileText(const fs::path& path) {
        std::ifstream in(path);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    fs::path folder, file;
};

TEST_F(Registry, CodesOfThePlatform) {
    DWORD disposition = 0;
    HKEY root = Create(HKEY_CLASSES_ROOT, OLESTR("OstrelProbe"), &disposition);
    EXPECT_EQ(disposition, DWORD(REG_CREATED_NEW_KEY));
    HKEY b = Create(root, OLESTR("A\\B"), &disposition);
    EXPECT_EQ(disposition, DWORD(REG_CREATED_NEW_KEY));
    RegCloseKey(Create(root, OLESTR("a\\b"), &disposition));
    EXPECT_EQ(disposition, DWORD(REG_OPENED_EXISTING_KEY));  // names ignore case
    EXPECT_STATUS(ERROR_ACCESS_DENIED, RegDeleteKeyW(root, OLESTR("A")));  // it has a subkey

    const OLECHAR hello[] = OLESTR("hello");
    EXPECT_STATUS(ERROR_SUCCESS, RegSetValueExW(b, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(hello), 12));
    DWORD type = 0, size = 0;
    EXPECT_STATUS(ERROR_SUCCESS, RegQueryValueExW(b, nullptr, nullptr, &type, nullptr, &size));
    EXPECT_EQ(type, DWORD(REG_SZ));
    EXPECT_EQ(size, 12u);
    BYTE small[4];
    size = sizeof small;
    EXPECT_STATUS(ERROR_MORE_DATA, RegQueryValueExW(b, OLESTR(""), nullptr, &type, small, &size));
    EXPECT_EQ(size, 12u);
    OLECHAR back[6] = {};
    size = sizeof back;
    EXPECT_STATUS(ERROR_SUCCESS, RegQueryValueExW(b, nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(back), &size));
    EXPECT_EQ(test::Utf8(back), "hello");
    EXPECT_STATUS(ERROR_FILE_NOT_FOUND, RegQueryValueExW(b, OLESTR("missing"), nullptr, &type, nullptr, &size));

    RegCloseKey(Create(root, OLESTR("C")));
    RegCloseKey(Create(root, OLESTR("b")));
    std::string names;
    for (DWORD i = 0;; ++i) {
        OLECHAR name[16];
        DWORD n = 16;
        const LSTATUS status = RegEnumKeyExW(root, i, name, &n, nullptr, nullptr, nullptr, nullptr);
        if (status != ERROR_SUCCESS) {
            EXPECT_STATUS(ERROR_NO_MORE_ITEMS, status);
            break;
        }
        names += test::Utf8(name) + std::to_string(n) + " ";
    }
    EXPECT_EQ(names, "A1 b1 C1 ");  // sorted without regard to case
    OLECHAR tiny[1];
    DWORD n = 1;
    EXPECT_STATUS(ERROR_MORE_DATA, RegEnumKeyExW(root, 0, tiny, &n, nullptr, nullptr, nullptr, nullptr));

    HKEY missing = nullptr;
    EXPECT_STATUS(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(root, OLESTR("nope"), 0, KEY_READ, &missing));
    EXPECT_STATUS(ERROR_FILE_NOT_FOUND, RegDeleteKeyW(root, OLESTR("nope")));
    EXPECT_STATUS(ERROR_FILE_NOT_FOUND, RegDeleteTreeW(root, OLESTR("nope")));
    RegSetValueExW(root, OLESTR("v"), 0, REG_SZ, reinterpret_cast<const BYTE*>(hello), 4);
    EXPECT_STATUS(ERROR_SUCCESS, RegDeleteTreeW(root, nullptr));  // empties the key, keeps it
    EXPECT_STATUS(ERROR_FILE_NOT_FOUND, RegQueryValueExW(root, OLESTR("v"), nullptr, &type, nullptr, &size));
    EXPECT_STATUS(ERROR_NO_MORE_ITEMS, RegEnumKeyExW(root, 0, tiny, &n, nullptr, nullptr, nullptr, nullptr));
    EXPECT_STATUS(ERROR_KEY_DELETED, RegSetValueExW(b, nullptr, 0, REG_SZ, nullptr, 0));  // gone with the tree

    EXPECT_STATUS(ERROR_SUCCESS, RegCloseKey(b));
    EXPECT_STATUS(ERROR_INVALID_HANDLE, RegCloseKey(b));
    EXPECT_STATUS(ERROR_SUCCESS, RegCloseKey(root));
    EXPECT_STATUS(ERROR_SUCCESS, RegDeleteKeyW(HKEY_CLASSES_ROOT, OLESTR("OstrelProbe")));
    EXPECT_STATUS(ERROR_INVALID_HANDLE,
                  RegQueryValueExW(reinterpret_cast<HKEY>(0x1234), OLESTR("v"), nullptr, &type, nullptr, &size));
}

TEST_F(Registry, NamesAndValuesSurviveTheFile) {
    HKEY key = Create(HKEY_CLASSES_ROOT, OLESTR("CLSID\\{0E3A40E8} Ünïcode %20 name"));
    const BYTE binary[] = {0, 1, 0xFF, '\n', '%'};
    const DWORD number = 0x01020304;
    RegSetValueExW(key, OLESTR("Bytes \\ and spaces"), 0, REG_BINARY, binary, sizeof binary);
    RegSetValueExW(key, OLESTR("ThreadingModel"), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), 4);
    RegSetValueExW(key, OLESTR("Empty"), 0, REG_SZ, nullptr, 0);
    RegCloseKey(key);

    HKEY again = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CLASSES_ROOT, OLESTR("clsid\\{0e3a40e8} ÜNÏCODE %20 NAME"), 0,
                                           KEY_READ, &again));
    BYTE got[8];
    DWORD type = 0, size = sizeof got;
    EXPECT_STATUS(ERROR_SUCCESS, RegQueryValueExW(again, OLESTR("bytes \\ AND spaces"), nullptr, &type, got, &size));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(got), size), std::string(reinterpret_cast<const char*>(binary), 5));
    size = sizeof got;
    EXPECT_STATUS(ERROR_SUCCESS, RegQueryValueExW(again, OLESTR("threadingmodel"), nullptr, &type, got, &size));
    EXPECT_EQ(type, DWORD(REG_DWORD));
    EXPECT_EQ(size, 4u);
    size = sizeof got;
    EXPECT_STATUS(ERROR_SUCCESS, RegQueryValueExW(again, OLESTR("Empty"), nullptr, &type, got, &size));
    EXPECT_EQ(size, 0u);
    RegCloseKey(again);
}

#ifndef _WIN32
TEST_F(Registry, ADamagedOrForeignFileIsRefusedAndKept) {
    for (const char* text : {"not a registry\n", "Ostrel registry 1\nK ok\nV 1 zz name\n", "Ostrel registry 1\nX\n"}) {
        SCOPED_TRACE(text);
        std::ofstream(file) << text;
        HKEY key = nullptr;
        EXPECT_STATUS(ERROR_BADDB, RegOpenKeyExW(HKEY_CLASSES_ROOT, OLESTR("ok"), 0, KEY_READ, &key));
        EXPECT_STATUS(ERROR_BADDB, RegCreateKeyExW(HKEY_CLASSES_ROOT, OLESTR("new"), 0, nullptr, 0, KEY_ALL_ACCESS,
                                                   nullptr, &key, nullptr));
        EXPECT_EQ(FileText(file), text);
    }
}

TEST_F(Registry, AFailedWriteLeavesTheOldFile) {
    RegCloseKey(Create(HKEY_CLASSES_ROOT, OLESTR("Kept")));
    const std::string before = FileText(file);
    // The new contents are written beside the file first; make that fail.
    fs::create_directory(file.string() + "." + std::to_string(getpid()) + ".tmp");
    HKEY key = nullptr;
    EXPECT_STATUS(ERROR_WRITE_FAULT, RegCreateKeyExW(HKEY_CLASSES_ROOT, OLESTR("Lost"), 0, nullptr, 0,
                                                     KEY_ALL_ACCESS, nullptr, &key, nullptr));
    EXPECT_EQ(FileText(file), before);
}

TEST_F(Registry, ConcurrentWritersKeepEachOthersKeys) {
    constexpr int kWriters = 3, kKeys = 25;
    pid_t children[kWriters];
    for (int w = 0; w < kWriters; ++w) {
        children[w] = fork();
        if (children[w] == 0) {
            for (int k = 0; k < kKeys; ++k) {
                const OleString name = OLESTR("W") + OleString(1, OLECHAR(OLESTR('0') + w)) + OLESTR("\\") +
                                            OleString(1, OLECHAR(OLESTR('A') + k));
                HKEY key = nullptr;
                if (RegCreateKeyExW(HKEY_CLASSES_ROOT, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                                    nullptr) != ERROR_SUCCESS)
                    _exit(1);
                RegCloseKey(key);
            }
            _exit(0);
        }
    }
    for (pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    for (int w = 0; w < kWriters; ++w) {
        const OleString name = OLESTR("W") + OleString(1, OLECHAR(OLESTR('0') + w));
        HKEY key = nullptr;
        ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CLASSES_ROOT, name.c_str(), 0, KEY_READ, &key));
        DWORD count = 0;
        OLECHAR sub[8];
        for (DWORD n = 8; RegEnumKeyExW(key, count, sub, &n, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS; n = 8)
            ++count;
        EXPECT_EQ(count, DWORD(kKeys)) << "writer " << w;
        RegCloseKey(key);
    }
}
#endif

}  // namespace
