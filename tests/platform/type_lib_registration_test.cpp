// RegisterTypeLib, UnRegisterTypeLib and LoadRegTypeLib with the built type
// library: the keys the platform writes, its version rule, and its codes.
#define INITGUID  // the identifiers this test compares with, defined here
#include <Ostrel.h>

#include <string>

#include "test_support.h"

namespace {

OleString Wide(const std::string& s) { return OleString(s.begin(), s.end()); }

// A path as a caller of the platform spells it: with its own separators.
std::string Native(std::string path) {
#ifdef _WIN32
    for (char& c : path) c = c == '/' ? '\\' : c;
#endif
    return path;
}
const OleString kV2 = Wide(OSTREL_TYPELIB_FILE);
const OleString kV1 = Wide(OSTREL_TYPELIB_V1_FILE);
const OleString kLib = OLESTR("TypeLib\\{82E2242C-FCC0-4C2E-AB32-0060A2BD3CA9}");
const OleString kRules = OLESTR("Interface\\{D2396346-EAC5-44D3-A802-8BDA45FB03FF}");

// A key's string value, or "<none>" when the key or value is missing.
std::string Value(const OleString& key, const OLECHAR* name = nullptr) {
    HKEY k = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &k) != ERROR_SUCCESS) return "<none>";
    OLECHAR buffer[512] = {};
    DWORD size = sizeof buffer, type = 0;
    const LSTATUS status = RegQueryValueExW(k, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size);
    RegCloseKey(k);
    return status == ERROR_SUCCESS ? test::Utf8(buffer) : "<none>";
}

bool KeyExists(const OleString& key) {
    HKEY k = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &k) != ERROR_SUCCESS) return false;
    RegCloseKey(k);
    return true;
}

HRESULT Register(const OleString& file, const OLECHAR* helpDir) {
    ITypeLib* lib = nullptr;
    HRESULT hr = LoadTypeLibEx(file.c_str(), REGKIND_NONE, &lib);
    if (FAILED(hr)) return hr;
    // MinGW's headers declare the paths without const.
    hr = RegisterTypeLib(lib, const_cast<OLECHAR*>(file.c_str()), const_cast<OLECHAR*>(helpDir));
    lib->Release();
    return hr;
}

// The version a request is answered with, "-" when none.
std::string Loaded(WORD major, WORD minor) {
    ITypeLib* lib = nullptr;
    if (FAILED(LoadRegTypeLib(LIBID_OSTRELLib, major, minor, 0x409, &lib))) return "-";
    TLIBATTR* attr = nullptr;
    lib->GetLibAttr(&attr);
    const std::string version = std::to_string(attr->wMajorVerNum) + "." + std::to_string(attr->wMinorVerNum);
    lib->ReleaseTLibAttr(attr);
    lib->Release();
    return version;
}

class TypeLibRegistration : public ::testing::Test {
protected:
    // Everything a registration of the library writes.
    void TearDown() override {
        RegDeleteTreeW(HKEY_CLASSES_ROOT, kLib.c_str());
        for (const OLECHAR* itf : {OLESTR("{D2396346-EAC5-44D3-A802-8BDA45FB03FF}"), OLESTR("{1A2D7C78-295C-4A33-9A63-6D02C7133569}"),
                                    OLESTR("{57FCACA4-2EFE-4E47-9EA9-97CDA39A1B12}"), OLESTR("{6AC069D4-9FE7-4F09-B93D-B06909E189CC}")}) {
            RegDeleteTreeW(HKEY_CLASSES_ROOT, (OleString(OLESTR("Interface\\")) + itf).c_str());
        }
    }
};

TEST_F(TypeLibRegistration, WritesThePlatformsKeys) {
    ASSERT_HR(S_OK, Register(kV2, OLESTR("/opt/help")));
    EXPECT_EQ(Value(kLib + OLESTR("\\2.0")), "Marrowby Type Library 2.0");
    EXPECT_EQ(Value(kLib + OLESTR("\\2.0\\409\\win64")), OSTREL_TYPELIB_FILE);
    // The flags are the library's own, without the loader's "has a disk image".
    // Wine differs from the documented platform here: it writes that one too.
    EXPECT_EQ(Value(kLib + OLESTR("\\2.0\\FLAGS")), test::UnderWine() ? "8" : "0");
    EXPECT_EQ(Value(kLib + OLESTR("\\2.0\\HELPDIR")), "/opt/help");
    EXPECT_EQ(Value(kRules), "IVoRules");
    EXPECT_EQ(Value(kRules + OLESTR("\\ProxyStubClsid32")), "{00020424-0000-0000-C000-000000000046}");
    EXPECT_EQ(Value(kRules + OLESTR("\\ProxyStubClsid")), "{00020424-0000-0000-C000-000000000046}");
    EXPECT_EQ(Value(kRules + OLESTR("\\TypeLib")), "{82E2242C-FCC0-4C2E-AB32-0060A2BD3CA9}");
    EXPECT_EQ(Value(kRules + OLESTR("\\TypeLib"), OLESTR("Version")), "2.0");
    // Only interfaces automation can marshal: not the custom lock interface.
    EXPECT_FALSE(KeyExists(OLESTR("Interface\\{E9B6496D-52C4-4D26-934E-78C9FCF35045}")));
    EXPECT_FALSE(KeyExists(OLESTR("Interface\\{F88C6032-DE4C-43FD-A462-D47CE8083953}")));

    // Without a help folder, the file's own folder is recorded.
    const std::string v1 = Native(OSTREL_TYPELIB_V1_FILE);
    ASSERT_HR(S_OK, Register(Wide(v1), nullptr));
    EXPECT_EQ(Value(kLib + OLESTR("\\1.0\\HELPDIR")), v1.substr(0, v1.find_last_of("/\\")));
    EXPECT_EQ(Value(kRules + OLESTR("\\TypeLib"), OLESTR("Version")), "1.0");  // the last registration owns it

    EXPECT_HR(E_INVALIDARG, RegisterTypeLib(nullptr, const_cast<OLECHAR*>(kV2.c_str()), nullptr));
}

// Same major version, at least the minor asked for; none of another major.
TEST_F(TypeLibRegistration, LoadRegTypeLibFollowsTheVersionRule) {
    EXPECT_EQ(Loaded(1, 0), "-");
    ITypeLib* lib = reinterpret_cast<ITypeLib*>(1);
    EXPECT_HR(TYPE_E_LIBNOTREGISTERED, LoadRegTypeLib(LIBID_OSTRELLib, 1, 0, 0x409, &lib));
    EXPECT_EQ(lib, nullptr);
    ASSERT_HR(S_OK, Register(kV2, nullptr));
    struct {
        WORD major, minor;
        const char* expected;
    } rows[] = {{1, 0, "-"}, {2, 0, "2.0"}, {2, 1, "-"}, {3, 0, "-"}, {0, 0, "-"}};
    for (const auto& row : rows) EXPECT_EQ(Loaded(row.major, row.minor), row.expected) << row.major << "." << row.minor;
    ASSERT_HR(S_OK, Register(kV1, nullptr));
    EXPECT_EQ(Loaded(1, 0), "1.0");
    EXPECT_EQ(Loaded(2, 0), "2.0");

    // The version asked for wins; without it, the highest minor version above
    // it; a neutral locale answers for any other. (1.5 names the 1.0 file.)
    HKEY key = nullptr;
    for (const OLECHAR* version : {OLESTR("\\1.5\\0\\win64"), OLESTR("\\1.a\\0\\win64")}) {
        ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_CLASSES_ROOT, (kLib + version).c_str(), 0, nullptr, 0,
                                                 KEY_ALL_ACCESS, nullptr, &key, nullptr));
        const OleString& file = version[3] == OLESTR('a') ? kV2 : kV1;
        RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(file.c_str()),
                       DWORD((file.size() + 1) * sizeof(OLECHAR)));
        RegCloseKey(key);
    }
    EXPECT_EQ(Loaded(1, 0), "1.0");
    EXPECT_EQ(Loaded(1, 0xB), "-");
    // 1.a is the highest above 1.1, and names the 2.0 file.
    BSTR path = nullptr;
    ASSERT_HR(S_OK, QueryPathOfRegTypeLib(LIBID_OSTRELLib, 1, 1, 0x407, &path));
    EXPECT_EQ(test::Utf8(path), OSTREL_TYPELIB_FILE);
    SysFreeString(path);
    EXPECT_HR(TYPE_E_LIBNOTREGISTERED, QueryPathOfRegTypeLib(LIBID_OSTRELLib, 1, 0, 0x407, &path));  // 1.0 is English only
    EXPECT_HR(TYPE_E_LIBNOTREGISTERED, QueryPathOfRegTypeLib(IID_IVoRules, 1, 0, 0x409, &path));

    // A registration whose file is gone fails as the load does.
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_CLASSES_ROOT, (kLib + OLESTR("\\5.0\\409\\win64")).c_str(), 0, nullptr,
                                             0, KEY_ALL_ACCESS, nullptr, &key, nullptr));
    RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(OLESTR("/gone.tlb")), 20);
    RegCloseKey(key);
    EXPECT_HR(TYPE_E_CANTLOADLIBRARY, LoadRegTypeLib(LIBID_OSTRELLib, 5, 0, 0x409, &lib));
}

TEST_F(TypeLibRegistration, UnregisterRemovesWhatRegisterWrote) {
    ASSERT_HR(S_OK, Register(kV1, nullptr));
    ASSERT_HR(S_OK, Register(kV2, nullptr));
    // Taking 1.0 away takes the interface keys the library's 2.0 wrote last
    // as well; 2.0 itself stays registered.
    ASSERT_HR(S_OK, UnRegisterTypeLib(LIBID_OSTRELLib, 1, 0, 0x409, SYS_WIN64));
    EXPECT_FALSE(KeyExists(kLib + OLESTR("\\1.0")));
    EXPECT_FALSE(KeyExists(kRules));
    EXPECT_EQ(Loaded(2, 0), "2.0");
    ASSERT_HR(S_OK, UnRegisterTypeLib(LIBID_OSTRELLib, 2, 0, 0x409, SYS_WIN64));
    EXPECT_FALSE(KeyExists(kLib));
    EXPECT_TRUE(KeyExists(OLESTR("Interface")));
    EXPECT_HR(E_INVALIDARG, UnRegisterTypeLib(LIBID_OSTRELLib, 2, 0, 0x409, SYS_WIN64));

    // Unregistering another locale or system kind leaves the entry alone.
    ASSERT_HR(S_OK, Register(kV2, nullptr));
    EXPECT_HR(E_INVALIDARG, UnRegisterTypeLib(LIBID_OSTRELLib, 2, 0, 0x407, SYS_WIN64));
    EXPECT_HR(E_INVALIDARG, UnRegisterTypeLib(LIBID_OSTRELLib, 2, 0, 0x409, SYS_WIN32));
    EXPECT_EQ(Loaded(2, 0), "2.0");
}

// REGKIND_REGISTER registers; the default registers only a library named
// without its full path.
TEST_F(TypeLibRegistration, LoadTypeLibExRegistersAsAsked) {
    // Wine differs from the documented platform in these: it registers a
    // library loaded by its full path, and takes an unknown kind as the default.
    const bool wine = test::UnderWine();
    ITypeLib* lib = nullptr;
    ASSERT_HR(S_OK, LoadTypeLib(Wide(Native(OSTREL_TYPELIB_FILE)).c_str(), &lib));
    lib->Release();
    EXPECT_EQ(KeyExists(kLib), wine);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, kLib.c_str());
    ASSERT_HR(S_OK, LoadTypeLibEx(kV2.c_str(), REGKIND_REGISTER, &lib));
    lib->Release();
    // The entry names the file; the platform may spell its path its own way.
    const std::string entry = Value(kLib + OLESTR("\\2.0\\409\\win64"));
    EXPECT_EQ(entry.substr(entry.find_last_of("/\\") + 1), "OstrelLib.tlb") << entry;
    EXPECT_EQ(Loaded(2, 0), "2.0");
    lib = nullptr;
    EXPECT_HR(wine ? S_OK : E_INVALIDARG, LoadTypeLibEx(kV2.c_str(), REGKIND(7), &lib));
    if (lib) lib->Release();
}

}  // namespace
