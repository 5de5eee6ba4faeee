// The registrar against the registry: a class's script registered and
// unregistered, the keys created afresh or never removed, and scripts that
// do not parse changing nothing.
#include "component/registrar.h"

#include <string>

#include "test_support.h"

namespace {

using ostrel::RunRegistryScript;

const OleString kScript = OLESTR(R"(
HKCR
{
    VoAvl.VoRules.1 = s 'VoRules Class'
    {
        CLSID = s '%CLSID%'
    }
    VoAvl.VoRules = s 'VoRules Class'
    {
        CLSID = s '%CLSID%'
        CurVer = s 'VoAvl.VoRules.1'
    }
    NoRemove CLSID
    {
        ForceRemove %CLSID% = s 'VoRules Class'
        {
            ProgID = s 'VoAvl.VoRules.1'
            ForceRemove 'Programmable'
            InprocServer32 = s '%MODULE%'
            {
                val ThreadingModel = s 'Apartment'
                val Count = d 42
            }
            'Quoted ''name''' = s '100%% sure'
        }
    }
}
)");

const ostrel::Replacements kReplacements = {{OLESTR("CLSID"), OLESTR("{0E3A40E8-1C59-4AD4-8990-0F4A680E735F}")},
                                            {OLESTR("MODULE"), OLESTR("/opt/ostrel/lib/libOstrel.so.2")}};

// The default text value of a key under HKEY_CLASSES_ROOT, or "(no key)".
std::string Text(const OLECHAR* path, const OLECHAR* value = nullptr) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, path, 0, KEY_READ, &key) != ERROR_SUCCESS) return "(no key)";
    OLECHAR text[128] = {};
    DWORD size = sizeof text;
    const LSTATUS status = RegQueryValueExW(key, value, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    RegCloseKey(key);
    return status == ERROR_SUCCESS ? test::Utf8(text) : "(no value)";
}

class Registrar : public ::testing::Test {
protected:
    void SetUp() override { RegDeleteTreeW(HKEY_CLASSES_ROOT, nullptr); }
    void TearDown() override { RegDeleteTreeW(HKEY_CLASSES_ROOT, nullptr); }
};

TEST_F(Registrar, RegistersAndUnregistersAClass) {
    ASSERT_HR(S_OK, RunRegistryScript(kScript, kReplacements, true));
    const OLECHAR* clsid = OLESTR("CLSID\\{0E3A40E8-1C59-4AD4-8990-0F4A680E735F}");
    const OleString c(clsid);
    EXPECT_EQ(Text(OLESTR("VoAvl.VoRules.1")), "VoRules Class");
    EXPECT_EQ(Text(OLESTR("VoAvl.VoRules.1\\CLSID")), "{0E3A40E8-1C59-4AD4-8990-0F4A680E735F}");
    EXPECT_EQ(Text(OLESTR("VoAvl.VoRules\\CurVer")), "VoAvl.VoRules.1");
    EXPECT_EQ(Text(clsid), "VoRules Class");
    EXPECT_EQ(Text((c + OLESTR("\\InprocServer32")).c_str()), "/opt/ostrel/lib/libOstrel.so.2");
    EXPECT_EQ(Text((c + OLESTR("\\InprocServer32")).c_str(), OLESTR("ThreadingModel")), "Apartment");
    EXPECT_EQ(Text((c + OLESTR("\\Programmable")).c_str()), "(no value)");  // an empty key
    EXPECT_EQ(Text((c + OLESTR("\\Quoted 'name'")).c_str()), "100% sure");

    // Another class's key under CLSID must survive this class's removal.
    HKEY other = nullptr;
    RegCreateKeyExW(HKEY_CLASSES_ROOT, OLESTR("CLSID\\{OTHER}"), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &other, nullptr);
    RegCloseKey(other);
    ASSERT_HR(S_OK, RunRegistryScript(kScript, kReplacements, false));
    EXPECT_EQ(Text(OLESTR("VoAvl.VoRules.1")), "(no key)");
    EXPECT_EQ(Text(OLESTR("VoAvl.VoRules")), "(no key)");
    EXPECT_EQ(Text(clsid), "(no key)");
    EXPECT_EQ(Text(OLESTR("CLSID\\{OTHER}")), "(no value)");
    // Unregistering what is not there is no failure.
    EXPECT_HR(S_OK, RunRegistryScript(kScript, kReplacements, false));
    EXPECT_EQ(Text(OLESTR("CLSID")), "(no value)");  // never removed
}

TEST_F(Registrar, ForceRemoveCreatesAfresh) {
    HKEY stale = nullptr;
    RegCreateKeyExW(HKEY_CLASSES_ROOT, OLESTR("CLSID\\{0E3A40E8-1C59-4AD4-8990-0F4A680E735F}\\Stale"), 0, nullptr, 0,
                    KEY_ALL_ACCESS, nullptr, &stale, nullptr);
    RegCloseKey(stale);
    ASSERT_HR(S_OK, RunRegistryScript(kScript, kReplacements, true));
    EXPECT_EQ(Text(OLESTR("CLSID\\{0E3A40E8-1C59-4AD4-8990-0F4A680E735F}\\Stale")), "(no key)");
}

TEST_F(Registrar, ScriptsThatDoNotParseChangeNothing) {
    const OleString bad[] = {
        OLESTR("HKCR { Key = s 'unterminated }"),
        OLESTR("HKXX { Key }"),
        OLESTR("HKCR { Key = x 'kind' }"),
        OLESTR("HKCR { Key = d 99999999999 }"),
        OLESTR("HKCR { Key = s '%UNKNOWN%' }"),
        OLESTR("HKCR { Key { val = s 'x' } }"),
        OLESTR("HKCR { Key"),
        OLESTR("HKCR { Fine } trailing"),
    };
    for (const auto& script : bad) {
        SCOPED_TRACE(test::Utf8(script));
        EXPECT_HR(HRESULT_FROM_WIN32(ERROR_INVALID_DATA), RunRegistryScript(script, kReplacements, true));
        EXPECT_EQ(Text(OLESTR("Key")), "(no key)");
        EXPECT_EQ(Text(OLESTR("Fine")), "(no key)");
    }
}

}  // namespace
