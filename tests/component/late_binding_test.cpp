// Late binding as a script host does it: objects created through the
// registry and called by name through IDispatch. Their dispatch half asks
// for version 1.0 of the type library, so calls work only once the 1.0 file
// is registered beside the embedded 2.0 one.
#include <Ostrel.h>

#include <string>
#include <vector>

#include "component_registry.h"
#include "test_support.h"

namespace {

using test::Var;

OleString Wide(const std::string& s) { return OleString(s.begin(), s.end()); }

template <class T>
void** Out(T** p) {
    return reinterpret_cast<void**>(p);
}

class LateBinding : public ::testing::Test {
protected:
    test::LibraryUnregistered unregistered_;
    void SetUp() override {
        CoInitialize(nullptr);
        ASSERT_HR(S_OK, DllRegisterServer());
    }
    void TearDown() override {
        UnRegisterTypeLib(LIBID_OSTRELLib, 1, 0, 0x409, SYS_WIN64);
        DllUnregisterServer();
        CoUninitialize();
    }
    static void RegisterV1() {
        ITypeLib* lib = nullptr;
        ASSERT_HR(S_OK, LoadTypeLibEx(Wide(OSTREL_TYPELIB_V1_FILE).c_str(), REGKIND_REGISTER, &lib));
        lib->Release();
    }
    // Calls a member by name, the arguments in reading order.
    static HRESULT Call(IDispatch* object, const OLECHAR* name, std::vector<VARIANT> args, VARIANT* result,
                        EXCEPINFO* exception = nullptr, LCID locale = 0x409) {
        LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
        DISPID id = DISPID_UNKNOWN;
        const HRESULT hr = object->GetIDsOfNames(IID_NULL, names, 1, locale, &id);
        if (FAILED(hr)) return hr;
        std::vector<VARIANT> reversed(args.rbegin(), args.rend());
        DISPPARAMS params{reversed.data(), nullptr, UINT(reversed.size()), 0};
        return object->Invoke(id, IID_NULL, locale, DISPATCH_METHOD, &params, result, exception, nullptr);
    }
    static VARIANT Ref(VARIANT* v) {
        VARIANT r{};
        r.vt = VT_BYREF | VT_VARIANT;
        r.pvarVal = v;
        return r;
    }
    static VARIANT R8(double x) {
        VARIANT v{};
        v.vt = VT_R8;
        v.dblVal = x;
        return v;
    }
};

TEST_F(LateBinding, CallsByNameOnceTheOneZeroLibraryIsRegistered) {
    IDispatch* calculator = nullptr;
    ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoCalculator, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                     Out(&calculator)));
    Var formula, result;
    test::SetBstr(formula, OLESTR("1+2*3"));

    // Only 2.0 is registered (by DllRegisterServer): the dispatch half cannot
    // find the version it asks for, as on the platform.
    EXPECT_HR(TYPE_E_LIBNOTREGISTERED, Call(calculator, OLESTR("Evaluate"), {formula, Ref(&result)}, nullptr));
    ITypeInfo* info = nullptr;
    EXPECT_HR(TYPE_E_LIBNOTREGISTERED, calculator->GetTypeInfo(0, 0x409, &info));

    RegisterV1();
    ASSERT_HR(S_OK, Call(calculator, OLESTR("evaluate"), {formula, Ref(&result)}, nullptr));
    ASSERT_EQ(result.vt, VT_R8);
    EXPECT_EQ(result.dblVal, 7.0);
    ASSERT_HR(S_OK, calculator->GetTypeInfo(0, 0x409, &info));
    TYPEATTR* attr = nullptr;
    ASSERT_HR(S_OK, info->GetTypeAttr(&attr));
    EXPECT_EQ(attr->typekind, TKIND_DISPATCH);
    EXPECT_TRUE(IsEqualGUID(attr->guid, IID_IVoCalculator));
    info->ReleaseTypeAttr(attr);
    info->Release();

    // A failing call: the component's text arrives in the EXCEPINFO.
    Var bad;
    test::SetBstr(bad, OLESTR("2*(3"));
    EXCEPINFO exception{};
    EXPECT_HR(DISP_E_EXCEPTION, Call(calculator, OLESTR("Evaluate"), {bad, Ref(&result)}, nullptr, &exception));
    EXPECT_HR(DISP_E_EXCEPTION, exception.scode);
    const std::string description = test::Utf8(exception.bstrDescription);
    EXPECT_NE(description.find("Formula: 2*(3"), std::string::npos) << description;
    EXPECT_EQ(test::Utf8(exception.bstrSource), "VoService.VoCalculator.1");
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrHelpFile);
    calculator->Release();

    // A rule added by name and read back through the enumerator it hands out.
    IDispatch* rules = nullptr;
    ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, Out(&rules)));
    VARIANT working{}, type{};
    working.vt = VT_BOOL;
    working.boolVal = VARIANT_FALSE;
    test::SetBstr(type, OLESTR("1024"));  // crPeriod, coerced from text
    ASSERT_HR(S_OK, Call(rules, OLESTR("AddRule"), {R8(37684), R8(37685), working, type}, nullptr));
    VariantClear(&type);
    IUnknown* unknown = nullptr;
    VARIANT out{};
    out.vt = VT_BYREF | VT_UNKNOWN;
    out.ppunkVal = &unknown;
    ASSERT_HR(S_OK, Call(rules, OLESTR("EnumRules"), {R8(0), R8(crAll), out}, nullptr));
    ASSERT_NE(unknown, nullptr);
    IEnumRules* e = nullptr;
    ASSERT_HR(S_OK, unknown->QueryInterface(IID_IEnumRules, Out(&e)));
    tagRULE rule{};
    ULONG fetched = 0;
    EXPECT_HR(S_OK, e->Next(1, &rule, &fetched));
    EXPECT_EQ(rule.crRule, crPeriod);
    EXPECT_EQ(rule.dtStart, 37684.0);
    EXPECT_EQ(rule.bWorking, FALSE);
    e->Release();
    unknown->Release();
    rules->Release();
}

// Script engines ask in the neutral locale (0), though the library is
// registered under English. (Each case runs in a process of its own, so this
// is the first request for the calculator's type information.)
TEST_F(LateBinding, ScriptEnginesAskInTheNeutralLocale) {
    RegisterV1();
    IDispatch* calculator = nullptr;
    ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoCalculator, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                     Out(&calculator)));
    Var formula, result;
    test::SetBstr(formula, OLESTR("2^10"));
    ASSERT_HR(S_OK, Call(calculator, OLESTR("Evaluate"), {formula, Ref(&result)}, nullptr, nullptr, 0));
    ASSERT_EQ(result.vt, VT_R8);
    EXPECT_EQ(result.dblVal, 1024.0);
    calculator->Release();
}

// A property read, a method with a named argument, an out parameter by
// reference, and the scheduler, which answers no query for IDispatch but is
// dual all the same: its own interface pointer takes calls by name.
TEST_F(LateBinding, PropertiesNamedArgumentsAndTheScheduler) {
    RegisterV1();
    IDispatch* profile = nullptr;
    ASSERT_HR(S_OK,
              CoCreateInstance(CLSID_VoAvailability, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, Out(&profile)));
    LPOLESTR names[] = {const_cast<LPOLESTR>(OLESTR("AddPoint")), const_cast<LPOLESTR>(OLESTR("Units")),
                        const_cast<LPOLESTR>(OLESTR("Start"))};
    DISPID ids[3] = {};
    ASSERT_HR(S_OK, profile->GetIDsOfNames(IID_NULL, names, 3, 0x409, ids));
    // Named arguments in any order: Units = 2, Start = day 10.
    VARIANT named[] = {R8(2.0), R8(10.0)};
    DISPID namedIds[] = {ids[1], ids[2]};
    DISPPARAMS params{named, namedIds, 2, 2};
    ASSERT_HR(S_OK, profile->Invoke(ids[0], IID_NULL, 0x409, DISPATCH_METHOD, &params, nullptr, nullptr, nullptr));

    Var count;
    DISPPARAMS none{nullptr, nullptr, 0, 0};
    LPOLESTR countName[] = {const_cast<LPOLESTR>(OLESTR("Count"))};
    DISPID countId = DISPID_UNKNOWN;
    ASSERT_HR(S_OK, profile->GetIDsOfNames(IID_NULL, countName, 1, 0x409, &countId));
    ASSERT_HR(S_OK, profile->Invoke(countId, IID_NULL, 0x409, DISPATCH_PROPERTYGET, &none, &count, nullptr, nullptr));
    EXPECT_EQ(count.vt, VT_UI4);
    EXPECT_EQ(count.ulVal, 2u);  // the default point and the one added

    double units = 0;
    VARIANT out{};
    out.vt = VT_BYREF | VT_R8;
    out.pdblVal = &units;
    ASSERT_HR(S_OK, Call(profile, OLESTR("GetUnits"), {R8(11.0), out}, nullptr));
    EXPECT_EQ(units, 2.0);
    // A required argument left out.
    EXPECT_HR(DISP_E_BADPARAMCOUNT, Call(profile, OLESTR("GetUnits"), {R8(11.0)}, nullptr));
    profile->Release();

    IVoScheduler* scheduler = nullptr;
    ASSERT_HR(S_OK,
              CoCreateInstance(CLSID_VoScheduler, nullptr, CLSCTX_INPROC_SERVER, IID_IVoScheduler, Out(&scheduler)));
    IDispatch* asked = nullptr;
    EXPECT_HR(E_NOINTERFACE, scheduler->QueryInterface(IID_IDispatch, Out(&asked)));
    ULONG flags = 99;
    VARIANT flagsOut{};
    flagsOut.vt = VT_BYREF | VT_UI4;
    flagsOut.pulVal = &flags;
    ASSERT_HR(S_OK, Call(scheduler, OLESTR("Run"), {flagsOut}, nullptr));
    EXPECT_EQ(flags, ULONG(srIsScheduled));  // nothing to schedule, no failure
    EXPECT_HR(S_OK, Call(scheduler, OLESTR("Clear"), {}, nullptr));
    scheduler->Release();
}

// The library's own file carries the 2.0 library as its TYPELIB resource.
TEST_F(LateBinding, TheServerCarriesTheTwoZeroLibrary) {
    const OleString server = Wide(OSTREL_SERVER_PATH);
    ITypeLib* lib = nullptr;
    ASSERT_HR(S_OK, LoadTypeLibEx(server.c_str(), REGKIND_NONE, &lib));
    TLIBATTR* attr = nullptr;
    ASSERT_HR(S_OK, lib->GetLibAttr(&attr));
    EXPECT_EQ(attr->wMajorVerNum, 2);
    lib->ReleaseTLibAttr(attr);
    lib->Release();
    ASSERT_HR(S_OK, LoadTypeLibEx((server + OLESTR("\\1")).c_str(), REGKIND_NONE, &lib));
    lib->Release();
    EXPECT_HR(TYPE_E_CANTLOADLIBRARY, LoadTypeLibEx((server + OLESTR("\\2")).c_str(), REGKIND_NONE, &lib));
}

}  // namespace
