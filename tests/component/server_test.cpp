// The library's entry points and object creation through the runtime, as a
// host meets them.
#include <Ostrel.h>

#include <string>

#include "component_registry.h"
#include "test_support.h"

namespace {

struct Apartment {
    Apartment() { CoInitialize(nullptr); }
    ~Apartment() { CoUninitialize(); }
};

TEST(Server, ClassObjects) {
    EXPECT_HR(E_POINTER, DllGetClassObject(CLSID_VoRules, IID_IClassFactory, nullptr));
    void* p = reinterpret_cast<void*>(1);
    EXPECT_HR(CLASS_E_CLASSNOTAVAILABLE, DllGetClassObject(IID_IVoRules, IID_IClassFactory, &p));
    EXPECT_EQ(p, nullptr);
    EXPECT_HR(E_NOINTERFACE, DllGetClassObject(CLSID_VoRules, IID_IVoRules, &p));
    EXPECT_EQ(p, nullptr);

    IClassFactory *first = nullptr, *second = nullptr;
    ASSERT_HR(S_OK, DllGetClassObject(CLSID_VoRules, IID_IClassFactory, reinterpret_cast<void**>(&first)));
    ASSERT_HR(S_OK, DllGetClassObject(CLSID_VoRules, IID_IUnknown, reinterpret_cast<void**>(&second)));
    EXPECT_EQ(static_cast<IUnknown*>(first), static_cast<IUnknown*>(second));  // one cached factory per class
    EXPECT_HR(S_FALSE, DllCanUnloadNow());
    second->Release();

    IVoRules* rules = nullptr;
    ASSERT_HR(S_OK, first->CreateInstance(nullptr, IID_IVoRules, reinterpret_cast<void**>(&rules)));
    first->Release();
    EXPECT_HR(S_FALSE, DllCanUnloadNow());  // the object keeps the library
    rules->Release();
    EXPECT_HR(S_OK, DllCanUnloadNow());
}

TEST(Server, LockServerCounts) {
    IClassFactory* factory = nullptr;
    ASSERT_HR(S_OK, DllGetClassObject(CLSID_VoRules, IID_IClassFactory, reinterpret_cast<void**>(&factory)));
    EXPECT_HR(S_OK, factory->LockServer(TRUE));
    EXPECT_HR(S_OK, factory->LockServer(TRUE));
    factory->Release();
    EXPECT_HR(S_FALSE, DllCanUnloadNow());
    ASSERT_HR(S_OK, DllGetClassObject(CLSID_VoRules, IID_IClassFactory, reinterpret_cast<void**>(&factory)));
    factory->LockServer(FALSE);
    factory->LockServer(FALSE);
    factory->Release();
    EXPECT_HR(S_OK, DllCanUnloadNow());
}

TEST(Server, CreationThroughTheRuntime) {
    void* p = reinterpret_cast<void*>(1);
    EXPECT_HR(CO_E_NOTINITIALIZED, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &p));
    EXPECT_EQ(p, nullptr);

    Apartment apartment;
    const struct {
        const CLSID* clsid;
        DWORD context;
        HRESULT expected;
    } cases[] = {
        {&CLSID_VoRules, CLSCTX_INPROC_SERVER, S_OK},
        {&CLSID_VoRules, CLSCTX_ALL, S_OK},
        {&CLSID_ReadWriteLock, CLSCTX_INPROC_SERVER, S_OK},
        {&CLSID_VoRules, CLSCTX_LOCAL_SERVER, REGDB_E_CLASSNOTREG},  // in-process only
        {&IID_IVoRules, CLSCTX_INPROC_SERVER, REGDB_E_CLASSNOTREG},  // nobody serves it
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(test::Hex(c.expected));
        IUnknown* object = reinterpret_cast<IUnknown*>(1);
        EXPECT_HR(c.expected, CoCreateInstance(*c.clsid, nullptr, c.context, IID_IUnknown,
                                               reinterpret_cast<void**>(&object)));
        if (SUCCEEDED(c.expected)) object->Release();
        else EXPECT_EQ(object, nullptr);
    }
    EXPECT_HR(E_POINTER, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, nullptr));
    EXPECT_HR(E_NOINTERFACE, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IEnumRules, &p));
    EXPECT_EQ(p, nullptr);

    IClassFactory* factory = nullptr;
    ASSERT_HR(S_OK, CoGetClassObject(CLSID_VoRules, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                                     reinterpret_cast<void**>(&factory)));
    factory->Release();
    EXPECT_HR(S_OK, DllCanUnloadNow());
}

// Sets the default text value of HKEY_CLASSES_ROOT\\subKey.
void Register(const OleString& subKey, const OleString& text) {
    HKEY key = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_CLASSES_ROOT, subKey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                                             nullptr, &key, nullptr));
    RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                   DWORD((text.size() + 1) * sizeof(OLECHAR)));
    RegCloseKey(key);
}

TEST(Server, RegisteredClassesAndProgIds) {
    Apartment apartment;
    test::LibraryUnregistered unregistered;
    CLSID clsid = GUID_NULL;
    EXPECT_HR(CO_E_CLASSSTRING, CLSIDFromProgID(OLESTR("VoAvl.VoRules.1"), &clsid));
    LPOLESTR progId = reinterpret_cast<LPOLESTR>(1);
    EXPECT_HR(REGDB_E_CLASSNOTREG, ProgIDFromCLSID(CLSID_VoRules, &progId));
    EXPECT_EQ(progId, nullptr);

    const OleString rules = test::GuidKey(OLESTR("CLSID"), CLSID_VoRules);
    OleString server;
    for (const char* c = OSTREL_SERVER_PATH; *c; ++c) server += OLECHAR(*c);
    Register(rules + OLESTR("\\InprocServer32"), server);
    Register(rules + OLESTR("\\ProgID"), OLESTR("VoAvl.VoRules.1"));
    Register(OLESTR("VoAvl.VoRules.1\\CLSID"), test::GuidText(CLSID_VoRules));

    EXPECT_HR(S_OK, CLSIDFromProgID(OLESTR("voavl.vorules.1"), &clsid));  // ProgIDs ignore case
    EXPECT_TRUE(IsEqualGUID(clsid, CLSID_VoRules));
    ASSERT_HR(S_OK, ProgIDFromCLSID(CLSID_VoRules, &progId));
    EXPECT_EQ(test::Utf8(progId), "VoAvl.VoRules.1");
    CoTaskMemFree(progId);

    // Created through the registered library; its errors now name the ProgID.
    IVoRules* rulesObject = nullptr;
    ASSERT_HR(S_OK, CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                     reinterpret_cast<void**>(&rulesObject)));
    EXPECT_HR(DISP_E_EXCEPTION, rulesObject->AddRule(1.0, 1.0, TRUE, tagRULETYPE(3)));
    EXPECT_EQ(test::TakeErrorInfo().source, "VoAvl.VoRules.1");
    rulesObject->Release();

    // A registered class whose library is gone fails with the loader's code.
    // Wine answers E_ACCESSDENIED for any in-process library it cannot load;
    // the platform passes the loader's failure on.
    const OleString gone = test::GuidKey(OLESTR("CLSID"), IID_IVoRules);
    Register(gone + OLESTR("\\InprocServer32"), OLESTR("/nonexistent/libGone.so"));
    void* p = reinterpret_cast<void*>(1);
    EXPECT_HR(test::UnderWine() ? E_ACCESSDENIED : HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND),
              CoCreateInstance(IID_IVoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &p));
    EXPECT_EQ(p, nullptr);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, gone.c_str());
}

}  // namespace
