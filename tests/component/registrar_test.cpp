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
    OstrelTest.Registrar.1 = s 'Registrar Test Class'
    {
        CLSID = s '%CLSID%'
    }
    OstrelTest.Registrar = s 'Registrar Test Class'
    {
        CLSID = s '%CLSID%'
        CurVer = s 'OstrelTest.Registrar.1'
    }
    NoRemove CLSID
    {
        ForceRemove %CLSID% = s 'Registrar Test Class'
        {
            ProgID = s 'OstrelTest.Registrar.1'
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

const ostrel::Replacements kReplacements = {{OLESTR("CLSID"), OLESTR("{5303C493-0112-4958-87CF-D4C32FB43DE2}")},
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

// Every key these tests may write has a name of the tests' own, so that on
// Windows, where HKEY_CLASSES_ROOT is the machine's, removing them touches
// nothing else.
class Registrar : public ::testing::Test {
protected:
    void SetUp() override { RemoveTestKeys(); }
    void TearDown() override { RemoveTestKeys(); }
    static void RemoveTestKeys() {
        for (const OLECHAR* key : {OLESTR("OstrelTest.Registrar.1"), OLESTR("OstrelTest.Registrar"),
                                   OLESTR("CLSID\\{5303C493-0112-4958-87CF-D4C32FB43DE2}"),
                                   OLESTR("CLSID\\{8CA24C82-0603-4EC6-90C7-399ADA8C6F9D}"), OLESTR("OstrelTest.Key"),
                                   OLESTR("OstrelTest.Fine")}) {
            RegDeleteTreeW(HKEY_CLASSES_ROOT, key);
        }
    }
};

TEST_F(Registrar, RegistersAndUnregistersAClass) {
    ASSERT_HR(S_OK, RunRegistryScript(kScript, kReplacements, true));
    const OLECHAR* clsid = OLESTR("CLSID\\{5303C493-0112-4958-87CF-D4C32FB43DE2}");
    const OleString c(clsid);
    EXPECT_EQ(Text(OLESTR("OstrelTest.Registrar.1")), "Registrar Test Class");
    EXPECT_EQ(Text(OLESTR("OstrelTest.Registrar.1\\CLSID")), "{5303C493-0112-4958-87CF-D4C32FB43DE2}");
    EXPECT_EQ(Text(OLESTR("OstrelTest.Registrar\\CurVer")), "OstrelTest.Registrar.1");
    EXPECT_EQ(Text(clsid), "Registrar Test Class");
    EXPECT_EQ(Text((c + OLESTR("\\InprocServer32")).c_str()), "/opt/ostrel/lib/libOstrel.so.2");
    EXPECT_EQ(Text((c + OLESTR("\\InprocServer32")).c_str(), OLESTR("ThreadingModel")), "Apartment");
    EXPECT_EQ(Text((c + OLESTR("\\Programmable")).c_str()), "(no value)");  // an empty key
    EXPECT_EQ(Text((c + OLESTR("\\Quoted 'name'")).c_str()), "100% sure");

    // Another class's key under CLSID must survive this class's removal.
    HKEY other = nullptr;
    RegCreateKeyExW(HKEY_CLASSES_ROOT, OLESTR("CLSID\\{8CA24C82-0603-4EC6-90C7-399ADA8C6F9D}"), 0, nullptr, 0,
                    KEY_ALL_ACCESS, nullptr, &other, nullptr);
    RegCloseKey(other);
    ASSERT_HR(S_OK, RunRegistryScript(kScript, kReplacements, false));
    EXPECT_EQ(Text(OLESTR("OstrelTest.Registrar.1")), "(no key)");
    EXPECT_EQ(Text(OLESTR("OstrelTest.Registrar")), "(no key)");
    EXPECT_EQ(Text(clsid), "(no key)");
    EXPECT_EQ(Text(OLESTR("CLSID\\{8CA24C82-0603-4EC6-90C7-399ADA8C6F9D}")), "(no value)");
    // Unregistering what is not there is no failure.
    EXPECT_HR(S_OK, RunRegistryScript(kScript, kReplacements, false));
    EXPECT_NE(Text(OLESTR("CLSID")), "(no key)");  // never removed
}

TEST_F(Registrar, ForceRemoveCreatesAfresh) {
    HKEY stale = nullptr;
    RegCreateKeyExW(HKEY_CLASSES_ROOT, OLESTR("CLSID\\{5303C493-0112-4958-87CF-D4C32FB43DE2}\\Stale"), 0, nullptr, 0,
                    KEY_ALL_ACCESS, nullptr, &stale, nullptr);
    RegCloseKey(stale);
    ASSERT_HR(S_OK, RunRegistryScript(kScript, kReplacements, true));
    EXPECT_EQ(Text(OLESTR("CLSID\\{5303C493-0112-4958-87CF-D4C32FB43DE2}\\Stale")), "(no key)");
}

TEST_F(Registrar, ScriptsThatDoNotParseChangeNothing) {
    const OleString bad[] = {
        OLESTR("HKCR { OstrelTest.Key = s 'unterminated }"),
        OLESTR("HKXX { OstrelTest.Key }"),
        OLESTR("HKCR { OstrelTest.Key = x 'kind' }"),
        OLESTR("HKCR { OstrelTest.Key = d 99999999999 }"),
        OLESTR("HKCR { OstrelTest.Key = s '%UNKNOWN%' }"),
        OLESTR("HKCR { OstrelTest.Key { val = s 'x' } }"),
        OLESTR("HKCR { OstrelTest.Key"),
        OLESTR("HKCR { OstrelTest.Fine } trailing"),
    };
    for (const auto& script : bad) {
        SCOPED_TRACE(test::Utf8(script));
        EXPECT_HR(HRESULT_FROM_WIN32(ERROR_INVALID_DATA), RunRegistryScript(script, kReplacements, true));
        EXPECT_EQ(Text(OLESTR("OstrelTest.Key")), "(no key)");
        EXPECT_EQ(Text(OLESTR("OstrelTest.Fine")), "(no key)");
    }
}

}  // namespace
