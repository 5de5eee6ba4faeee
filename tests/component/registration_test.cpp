// The built library's resources and its self-registration, as a host meets
// them: every key the registration writes, ProgIDs, creation by ProgID, the
// type library's keys, unregistration and a registration that fails.
#include <Ostrel.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "component_registry.h"
#include "test_support.h"

namespace {

namespace fs = std::filesystem;

OleString Wide(const std::string& s) { return OleString(s.begin(), s.end()); }

std::string GuidText(REFGUID guid) {
    OLECHAR text[40];
    StringFromGUID2(guid, text, 40);
    return test::Utf8(text);
}

std::string FileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

// A text value under HKEY_CLASSES_ROOT: "(no key)", "(no value)" or the text.
std::string Text(const std::string& path, const OLECHAR* value = nullptr) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, Wide(path).c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return "(no key)";
    OLECHAR text[512] = {};
    DWORD size = sizeof text - sizeof(OLECHAR);
    const LSTATUS status = RegQueryValueExW(key, value, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    RegCloseKey(key);
    return status == ERROR_SUCCESS ? test::Utf8(text) : "(no value)";
}

// The file a path names, with its links resolved; the path itself when there is no such file.
fs::path Canonical(const std::string& path) {
    std::error_code error;
    const fs::path canonical = fs::canonical(path, error);
    return error ? fs::path(path) : canonical;
}

bool Exists(const std::string& path) { return Text(path, OLESTR("(nothing by this name)")) != "(no key)"; }

struct ClassRow {
    const CLSID* clsid;
    const char* description;
    const char* progId;
    const char* independentProgId;
    const char* threading;
};

const ClassRow kClasses[] = {
    {&CLSID_VoAvailability, "VoAvailability Class", "VoAvl.VoAvailability.1", "VoAvl.VoAvailability", "Apartment"},
    {&CLSID_VoRules, "VoRules Class", "VoAvl.VoRules.1", "VoAvl.VoRules", "Apartment"},
    {&CLSID_VoCalculator, "VoCalculator Class", "VoService.VoCalculator.1", "VoService.VoCalculator", "Both"},
    {&CLSID_ReadWriteLock, "ReadWriteLock Class", "VoObjects.ReadWriteLock.1", "VoObjects.ReadWriteLock", "Both"},
    {&CLSID_VoScheduler, "VoScheduler Class", "VoSchedule.VoScheduler.1", "VoSchedule.VoScheduler", "Apartment"},
};

struct Apartment {
    Apartment() { CoInitialize(nullptr); }
    ~Apartment() { CoUninitialize(); }
};

class Registration : public ::testing::Test {
protected:
    test::LibraryUnregistered unregistered_;
};

HMODULE Library() {
    static HMODULE library = LoadLibraryExA(OSTREL_SERVER_PATH, nullptr, 0);
    return library;
}

TEST(Resources, AreTheSourceFilesAndASelfRegisteringVersionBlock) {
    ASSERT_NE(Library(), nullptr);
    struct {
        const OLECHAR* type;
        unsigned id;
        std::string file;
    } files[] = {
        {OLESTR("TYPELIB"), 1, OSTREL_TYPELIB_FILE},
        {OLESTR("REGISTRY"), 101, OSTREL_SCRIPTS_DIR "/VoAvailability.rgs"},
        {OLESTR("REGISTRY"), 102, OSTREL_SCRIPTS_DIR "/VoRules.rgs"},
        {OLESTR("REGISTRY"), 103, OSTREL_SCRIPTS_DIR "/VoCalculator.rgs"},
        {OLESTR("REGISTRY"), 104, OSTREL_SCRIPTS_DIR "/ReadWriteLock.rgs"},
        {OLESTR("REGISTRY"), 105, OSTREL_SCRIPTS_DIR "/VoScheduler.rgs"},
    };
    for (const auto& f : files) {
        SCOPED_TRACE(f.file);
        HRSRC found = FindResourceW(Library(), MAKEINTRESOURCEW(f.id), f.type);
        ASSERT_NE(found, nullptr);
        const auto* bytes = static_cast<const char*>(LockResource(LoadResource(Library(), found)));
        EXPECT_EQ(std::string(bytes, SizeofResource(Library(), found)), FileBytes(f.file));
    }

    // The version block says the library registers itself.
    HRSRC version = FindResourceW(Library(), MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(16));  // RT_VERSION, wide
    ASSERT_NE(version, nullptr);
    const auto* block = static_cast<const char*>(LockResource(LoadResource(Library(), version)));
    const std::string bytes(block, SizeofResource(Library(), version));
    ASSERT_GE(bytes.size(), 52u + 40u);
    WORD length = 0;
    DWORD signature = 0, fileVersionHigh = 0;
    std::memcpy(&length, bytes.data(), sizeof length);
    std::memcpy(&signature, bytes.data() + 40, sizeof signature);  // after the header and "VS_VERSION_INFO"
    std::memcpy(&fileVersionHigh, bytes.data() + 48, sizeof fileVersionHigh);
    EXPECT_EQ(length, bytes.size());
    EXPECT_EQ(signature, 0xFEEF04BDu);
    EXPECT_EQ(fileVersionHigh, DWORD(OSTREL_VERSION_MAJOR) << 16);
    const OleString key = OLESTR("OLESelfRegister");
    EXPECT_NE(bytes.find(std::string(reinterpret_cast<const char*>(key.c_str()), key.size() * 2)), std::string::npos);
}

TEST(Resources, LoadStringW) {
    ASSERT_NE(Library(), nullptr);
    const struct {
        UINT id;
        int size;
        int expected;
        std::string text;  // "-" for a buffer left as it was
    } cases[] = {
        {100, 16, 6, "Ostrel"},
        {100, 4, 3, "Ost"},  // truncated, still terminated
        {100, 1, 0, "-"},    // no room for anything
        {101, 16, 0, ""},    // not in the block: empty
        {5, 16, 0, "-"},     // no such block
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.id);
        SCOPED_TRACE(c.size);
        OLECHAR buffer[16];
        std::fill(std::begin(buffer), std::end(buffer), OLESTR('#'));
        buffer[15] = 0;
        EXPECT_EQ(c.expected, LoadStringW(Library(), c.id, buffer, c.size));
        EXPECT_EQ(test::Utf8(buffer), c.text == "-" ? std::string(15, '#') : c.text);
    }
    SetLastError(0);
    OLECHAR buffer[4];
    EXPECT_EQ(0, LoadStringW(Library(), 5, buffer, 4));
    EXPECT_EQ(DWORD(ERROR_RESOURCE_NAME_NOT_FOUND), GetLastError());

    // Size 0: a read-only pointer to the string in place, not terminated.
    const OLECHAR* inPlace = nullptr;
    ASSERT_EQ(6, LoadStringW(Library(), 100, reinterpret_cast<LPWSTR>(&inPlace), 0));
    EXPECT_EQ(OleString(inPlace, 6), OLESTR("Ostrel"));
}

TEST_F(Registration, WritesEveryKeyOfEveryClass) {
    ASSERT_HR(S_OK, DllRegisterServer());
    const fs::path library = fs::canonical(OSTREL_SERVER_PATH);

    std::string sharedTypeLib[3];
    for (const ClassRow& c : kClasses) {
        SCOPED_TRACE(c.progId);
        const std::string clsid = GuidText(*c.clsid), key = "CLSID\\" + clsid;
        EXPECT_EQ(Text(c.progId), c.description);
        EXPECT_EQ(Text(std::string(c.progId) + "\\CLSID"), clsid);
        EXPECT_EQ(Text(c.independentProgId), c.description);
        EXPECT_EQ(Text(std::string(c.independentProgId) + "\\CLSID"), clsid);
        EXPECT_EQ(Text(std::string(c.independentProgId) + "\\CurVer"), c.progId);
        EXPECT_EQ(Text(key), c.description);
        EXPECT_EQ(Text(key + "\\ProgID"), c.progId);
        EXPECT_EQ(Text(key + "\\VersionIndependentProgID"), c.independentProgId);
        EXPECT_EQ(Text(key + "\\Programmable"), "(no value)");
        EXPECT_EQ(Canonical(Text(key + "\\InprocServer32")), library);
        EXPECT_EQ(Text(key + "\\InprocServer32", OLESTR("ThreadingModel")), c.threading);

        // Three identifiers of their own, never the embedded library's.
        const std::string typeLib = Text(key + "\\TypeLib");
        CLSID parsed = GUID_NULL;
        EXPECT_HR(S_OK, CLSIDFromString(Wide(typeLib).c_str(), &parsed));
        EXPECT_FALSE(IsEqualGUID(parsed, LIBID_OSTRELLib));
        const int group = c.clsid == &CLSID_VoScheduler ? 2 : (c.clsid == &CLSID_VoCalculator || c.clsid == &CLSID_ReadWriteLock);
        if (sharedTypeLib[group].empty()) sharedTypeLib[group] = typeLib;
        EXPECT_EQ(typeLib, sharedTypeLib[group]);
    }
    EXPECT_NE(sharedTypeLib[0], sharedTypeLib[1]);
    EXPECT_NE(sharedTypeLib[1], sharedTypeLib[2]);

    // The embedded type library, under its own identifier.
    const std::string typeLib = "TypeLib\\" + GuidText(LIBID_OSTRELLib) + "\\2.0";
    EXPECT_EQ(Text(typeLib), "Marrowby Type Library 2.0");
    EXPECT_EQ(fs::path(Text(typeLib + "\\HELPDIR")), library.parent_path());
    const std::string win = Exists(typeLib + "\\409\\win64") ? "\\409\\win64" : "\\409\\win32";
    EXPECT_EQ(Canonical(Text(typeLib + win)), library);
    EXPECT_EQ(Text("Interface\\" + GuidText(IID_IVoScheduler) + "\\TypeLib"), GuidText(LIBID_OSTRELLib));
    ITypeLib* registered = nullptr;
    ASSERT_HR(S_OK, LoadRegTypeLib(LIBID_OSTRELLib, 2, 0, 0x409, &registered));
    registered->Release();
    // Only 2.0: the dispatch half's 1.0 stays unregistered.
    EXPECT_HR(TYPE_E_LIBNOTREGISTERED, LoadRegTypeLib(LIBID_OSTRELLib, 1, 0, 0x409, &registered));
}

TEST_F(Registration, ProgIdsCreateObjectsAndNameErrors) {
    Apartment apartment;
    ASSERT_HR(S_OK, DllRegisterServer());
    for (const ClassRow& c : kClasses) {
        SCOPED_TRACE(c.progId);
        for (const char* progId : {c.progId, c.independentProgId}) {
            CLSID clsid = GUID_NULL;
            EXPECT_HR(S_OK, CLSIDFromProgID(Wide(progId).c_str(), &clsid));
            EXPECT_TRUE(IsEqualGUID(clsid, *c.clsid));
            IUnknown* object = nullptr;
            ASSERT_HR(S_OK, CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                             reinterpret_cast<void**>(&object)));
            object->Release();
        }
        LPOLESTR progId = nullptr;
        ASSERT_HR(S_OK, ProgIDFromCLSID(*c.clsid, &progId));
        EXPECT_EQ(test::Utf8(progId), c.progId);
        CoTaskMemFree(progId);
    }

    // A failing call's error information names the versioned ProgID.
    CLSID clsid = GUID_NULL;
    ASSERT_HR(S_OK, CLSIDFromProgID(OLESTR("VoAvl.VoRules"), &clsid));
    IVoRules* rules = nullptr;
    ASSERT_HR(S_OK, CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                     reinterpret_cast<void**>(&rules)));
    EXPECT_HR(DISP_E_EXCEPTION, rules->AddRule(1.0, 1.0, TRUE, tagRULETYPE(3)));
    EXPECT_EQ(test::TakeErrorInfo().source, "VoAvl.VoRules.1");
    rules->Release();
}

TEST_F(Registration, UnregisteringRemovesWhatRegisteringMade) {
    ASSERT_HR(S_OK, DllRegisterServer());
    EXPECT_HR(S_OK, DllUnregisterServer());
    for (const ClassRow& c : kClasses) {
        SCOPED_TRACE(c.progId);
        EXPECT_FALSE(Exists(c.progId));
        EXPECT_FALSE(Exists(c.independentProgId));
        EXPECT_FALSE(Exists("CLSID\\" + GuidText(*c.clsid)));
    }
    EXPECT_TRUE(Exists("CLSID"));  // never removed, even left empty
    EXPECT_FALSE(Exists("TypeLib\\" + GuidText(LIBID_OSTRELLib)));
    EXPECT_FALSE(Exists("Interface\\" + GuidText(IID_IVoScheduler)));
    EXPECT_HR(S_OK, DllUnregisterServer());  // nothing left to remove is no failure either
}

// The registry file here is our own layer's; the platform keeps its registry
// in hives a program cannot overwrite, so there is nothing to damage there.
#ifndef _WIN32
TEST_F(Registration, ADamagedRegistryFailsAndStaysAsItWas) {
    const char* file = std::getenv("OSTREL_REGISTRY");
    ASSERT_NE(file, nullptr);
    const std::string damaged = "not a registry file\n";
    std::ofstream(file, std::ios::binary | std::ios::trunc) << damaged;

    EXPECT_HR(HRESULT_FROM_WIN32(ERROR_BADDB), DllRegisterServer());
    EXPECT_HR(S_OK, DllUnregisterServer());  // failures ignored
    EXPECT_EQ(FileBytes(file), damaged);
    std::remove(file);
}
#endif

}  // namespace
