// The registrar against the registry: a class's script registered and
// unregistered, the keys created afresh or never removed, and scripts that
// do not parse changing nothing.
#include "component/registrar.h"

#include <string>

#include "test_support.h"

namespace {

using ostrel::RunRegistryScript;

const std::u16string kScript = uR"(
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
)";

const ostrel::Replacements kReplacements = {{u"CLSID", u"{0E3A40E8-1C59-4AD4-8990-0F4A680E735F}"},
                                            {u"MODULE", u"/opt/ostrel/lib/libOstrel.so.2"}};

// The default text value of a key under HKEY_CLASSES_ROOT, or "(no key)".
std::string Text(const char16_t* path, const char16_t* value = nullptr) {
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
    const char16_t* clsid = u"CLSID\\{0E3A40E8-1C59-4AD4-8990-0F4A680E735F}";
    const std::u16string c(clsid);
    EXPECT_EQ(Text(u"VoAvl.VoRules.1"), "VoRules Class");
    EXPECT_EQ(Text(u"VoAvl.VoRules.1\\CLSID"), "{0E3A40E8-1C59-4AD4-8990-0F4A680E735F}");
    EXPECT_EQ(Text(u"VoAvl.VoRules\\CurVer"), "VoAvl.VoRules.1");
    EXPECT_EQ(Text(clsid), "VoRules Class");
    EXPECT_EQ(Text((c + u"\\InprocServer32").c_str()), "/opt/ostrel/lib/libOstrel.so.2");
    EXPECT_EQ(Text((c + u"\\InprocServer32").c_str(), u"ThreadingModel"), "Apartment");
    EXPECT_EQ(Text((c + u"\\Programmable").c_str()), "(no value)");  // an empty key
    EXPECT_EQ(Text((c + u"\\Quoted 'name'").c_str()), "100% sure");

    // Another class's key under CLSID must survive this class's removal.
    HKEY other = nullptr;
    RegCreateKeyExW(HKEY_CLASSES_ROOT, u"CLSID\\{OTHER}", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &other, nullptr);
    RegCloseKey(other);
    ASSERT_HR(S_OK, RunRegistryScript(kScript, kReplacements, false));
    EXPECT_EQ(Text(u"VoAvl.VoRules.1"), "(no key)");
    EXPECT_EQ(Text(u"VoAvl.VoRules"), "(no key)");
    EXPECT_EQ(Text(clsid), "(no key)");
    EXPECT_EQ(Text(u"CLSID\\{OTHER}"), "(no value)");
    // Unregistering what is not there is no failure.
    EXPECT_HR(S_OK, RunRegistryScript(kScript, kReplacements, false));
    EXPECT_EQ(Text(u"CLSID"), "(no value)");  // never removed
}

TEST_F(Registrar, ForceRemoveCreatesAfresh) {
    HKEY stale = nullptr;
    RegCreateKeyExW(HKEY_CLASSES_ROOT, u"CLSID\\{0E3A40E8-1C59-4AD4-8990-0F4A680E735F}\\Stale", 0, nullptr, 0,
                    KEY_ALL_ACCESS, nullptr, &stale, nullptr);
    RegCloseKey(stale);
    ASSERT_HR(S_OK, RunRegistryScript(kScript, kReplacements, true));
    EXPECT_EQ(Text(u"CLSID\\{0E3A40E8-1C59-4AD4-8990-0F4A680E735F}\\Stale"), "(no key)");
}

TEST_F(Registrar, ScriptsThatDoNotParseChangeNothing) {
    const std::u16string bad[] = {
        u"HKCR { Key = s 'unterminated }",
        u"HKXX { Key }",
        u"HKCR { Key = x 'kind' }",
        u"HKCR { Key = d 99999999999 }",
        u"HKCR { Key = s '%UNKNOWN%' }",
        u"HKCR { Key { val = s 'x' } }",
        u"HKCR { Key",
        u"HKCR { Fine } trailing",
    };
    for (const auto& script : bad) {
        SCOPED_TRACE(test::Utf8(script));
        EXPECT_HR(HRESULT_FROM_WIN32(ERROR_INVALID_DATA), RunRegistryScript(script, kReplacements, true));
        EXPECT_EQ(Text(u"Key"), "(no key)");
        EXPECT_EQ(Text(u"Fine"), "(no key)");
    }
}

}  // namespace
