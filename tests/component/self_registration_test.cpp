// The registration loop on its own, with scripts handed in: registration
// stops at the first script that fails and leaves later classes alone,
// unregistration carries on past failures.
#include "component/self_registration.h"

#include <windows.h>

#include <string>

#include "test_support.h"

namespace {

using ostrel::ClassEntry;

HRESULT NoCreate(IUnknown*, REFIID, void** ppv) {
    *ppv = nullptr;
    return E_NOTIMPL;
}

// Any four identifiers serve as classes here.
const ClassEntry kClasses[] = {{&IID_IUnknown, NoCreate},
                               {&IID_IDispatch, NoCreate},
                               {&IID_IClassFactory, NoCreate},
                               {&IID_ITypeLib, NoCreate}};

// One key per class, named after its resource number; the third script
// does not parse. The names are the test's own, as on Windows
// HKEY_CLASSES_ROOT is the machine's.
HRESULT Scripts(unsigned id, OleString& script) {
    script = id == 103 ? OLESTR("HKCR { 'Broken = s")
                       : OLESTR("HKCR { 'OstrelTest.Class") + OleString(1, OLECHAR(OLESTR('0') + id - 100)) +
                             OLESTR("' = s '%MODULE%' }");
    return S_OK;
}

// Those keys absent before the test and after it, however it ends.
struct TestKeysRemoved {
    TestKeysRemoved() { Remove(); }
    ~TestKeysRemoved() { Remove(); }
    static void Remove() {
        for (const OLECHAR* key : {OLESTR("OstrelTest.Class1"), OLESTR("OstrelTest.Class2"), OLESTR("OstrelTest.Class4")}) {
            RegDeleteTreeW(HKEY_CLASSES_ROOT, key);
        }
    }
};

bool Exists(const OLECHAR* key) {
    HKEY handle = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, key, 0, KEY_READ, &handle) != ERROR_SUCCESS) return false;
    RegCloseKey(handle);
    return true;
}

TEST(SelfRegistration, StopsAtTheFirstFailureAndUnregistersPastIt) {
    TestKeysRemoved removed;
    EXPECT_HR(HRESULT_FROM_WIN32(ERROR_INVALID_DATA),
              ostrel::RunClassScripts(kClasses, Scripts, OLESTR("/opt/o'strel/libOstrel.so"), true));
    EXPECT_TRUE(Exists(OLESTR("OstrelTest.Class1")));
    EXPECT_TRUE(Exists(OLESTR("OstrelTest.Class2")));
    EXPECT_FALSE(Exists(OLESTR("OstrelTest.Class4")));  // after the failing third

    // %MODULE% arrives whole, quote and all.
    HKEY key = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CLASSES_ROOT, OLESTR("OstrelTest.Class2"), 0, KEY_READ, &key));
    OLECHAR text[64] = {};
    DWORD size = sizeof text;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(key, nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size));
    RegCloseKey(key);
    EXPECT_EQ(test::Utf8(text), "/opt/o'strel/libOstrel.so");

    // Unregistering passes over the broken script and the missing key.
    RegDeleteKeyW(HKEY_CLASSES_ROOT, OLESTR("OstrelTest.Class1"));
    EXPECT_HR(S_OK, ostrel::RunClassScripts(kClasses, Scripts, OLESTR("/opt/o'strel/libOstrel.so"), false));
    EXPECT_FALSE(Exists(OLESTR("OstrelTest.Class2")));
    auto failing = [](unsigned, OleString&) { return E_FAIL; };
    EXPECT_HR(S_OK, ostrel::RunClassScripts(kClasses, failing, OLESTR(""), false));
}

}  // namespace
