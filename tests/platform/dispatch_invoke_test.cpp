// ITypeInfo::Invoke over the built type library: objects implementing its
// dual interfaces are called late-bound by name, as a script host calls them.
#include <Ostrel.h>

#include <string>
#include <vector>

#include "test_support.h"

namespace {

using test::Var;

// IUnknown and IDispatch for the mocks; ISupportErrorInfo answers for the
// one interface when `errorInfo` is on.
template <class Itf>
class Mock : public Itf, public ISupportErrorInfo {
public:
    bool errorInfo = true;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
        if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IDispatch) || IsEqualIID(riid, __uuidof(Itf))) {
            *ppv = static_cast<Itf*>(this);
        } else if (IsEqualIID(riid, IID_ISupportErrorInfo) && errorInfo) {
            *ppv = static_cast<ISupportErrorInfo*>(this);
        } else {
            *ppv = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs; }
    ULONG STDMETHODCALLTYPE Release() override { return --refs; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID riid) override {
        return IsEqualIID(riid, __uuidof(Itf)) ? S_OK : S_FALSE;
    }

    ULONG refs = 1;

protected:
    // Fails the way every component method reports a failure with a text.
    HRESULT Raise(const OLECHAR* text) {
        ICreateErrorInfo* create = nullptr;
        CreateErrorInfo(&create);
        create->SetSource(const_cast<LPOLESTR>(OLESTR("Mock.Source")));
        create->SetDescription(const_cast<LPOLESTR>(text));
        IErrorInfo* info = nullptr;
        create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info));
        SetErrorInfo(0, info);
        info->Release();
        create->Release();
        return E_FAIL;
    }
};

class MockRules final : public Mock<IVoRules> {
public:
    DATE start = 0, stop = 0;
    BOOL working = 0;
    tagRULETYPE type = crNone;
    int calls = 0;

    HRESULT STDMETHODCALLTYPE LoadRule(DATE s, DATE e, BOOL w) override {
        ++calls;
        start = s, stop = e, working = w;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE AddRule(DATE, DATE, BOOL, tagRULETYPE r) override {
        return r == crAll ? Raise(OLESTR("Invalid rule type")) : E_INVALIDARG;
    }
    // Hands every value back changed, so the test sees what went in and out.
    HRESULT STDMETHODCALLTYPE AddRuleEx(DATE* s, DATE* e, BOOL* w, tagRULETYPE* r) override {
        start = *s, stop = *e, working = *w, type = *r;
        *s += 1, *e += 1, *w = !*w, *r = crPeriod;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE DeleteRule(DATE, DATE, tagRULETYPE) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE EnumRules(DATE, ULONG, IUnknown** out) override {
        *out = static_cast<IVoRules*>(this);
        AddRef();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE EnumRulesEx(DATE, DATE, ULONG, IUnknown**) override { return E_NOTIMPL; }
};

class MockCalculator final : public Mock<IVoCalculator> {
public:
    HRESULT STDMETHODCALLTYPE Evaluate(BSTR formula, VARIANT* result) override {
        VariantInit(result);
        result->vt = VT_BSTR;
        result->bstrVal = SysAllocString((OleString(OLESTR("=")) + formula).c_str());
        return S_OK;
    }
};

#define STUB(...) override { return E_NOTIMPL; }
class MockAvailability final : public Mock<IVoAvailability> {
public:
    HRESULT STDMETHODCALLTYPE get_Count(ULONG* count) override {
        *count = 7;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE CalcWorkingHours(DATE s, DATE e, double* hours) override {
        *hours = (e - s) * 24;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clear() STUB()
    HRESULT STDMETHODCALLTYPE Date2Index(DATE, ULONG*) STUB()
    HRESULT STDMETHODCALLTYPE Index2Date(ULONG, DATE*) STUB()
    HRESULT STDMETHODCALLTYPE GetUnitsAt(ULONG, double*) STUB()
    HRESULT STDMETHODCALLTYPE GetUnits(DATE, double*) STUB()
    HRESULT STDMETHODCALLTYPE SetTimeSpan(DATE, DATE, double) STUB()
    HRESULT STDMETHODCALLTYPE AddPoint(DATE, double) STUB()
    HRESULT STDMETHODCALLTYPE PrepareDateRange(DATE, DATE) STUB()
    HRESULT STDMETHODCALLTYPE GetPreparedRange(DATE*, DATE*) STUB()
    HRESULT STDMETHODCALLTYPE GetOperator(tagOPERATOR*, tagOPERATORBOUND*) STUB()
    HRESULT STDMETHODCALLTYPE SetOperator(tagOPERATOR, tagOPERATORBOUND) STUB()
    HRESULT STDMETHODCALLTYPE AddSource(IUnknown*) STUB()
    HRESULT STDMETHODCALLTYPE GetSource(ULONG, IUnknown**) STUB()
    HRESULT STDMETHODCALLTYPE SumUnits(DATE, DATE, double, ULONG, BOOL) STUB()
    HRESULT STDMETHODCALLTYPE SumRange(IUnknown*, DATE, tagOPERATOR, double*) STUB()
    HRESULT STDMETHODCALLTYPE ScheduleTask(DATE, DATE, double, double, tagSCHEDULEDIRECTION, IUnknown**,
                                           tagSCHEDULERESULT*) STUB()
    HRESULT STDMETHODCALLTYPE EnumPoints(DATE, DATE, IUnknown**) STUB()
    HRESULT STDMETHODCALLTYPE SetRules(IUnknown*) STUB()
    HRESULT STDMETHODCALLTYPE GetRules(IUnknown**) STUB()
    HRESULT STDMETHODCALLTYPE get_RequiresPrepare(BOOL*) STUB()
};
#undef STUB

class InvokeTest : public ::testing::Test {
protected:
    void SetUp() override {
        const std::string file = OSTREL_TYPELIB_FILE;
        ASSERT_HR(S_OK, LoadTypeLibEx(OleString(file.begin(), file.end()).c_str(), REGKIND_NONE, &lib));
    }
    void TearDown() override {
        if (lib) lib->Release();
    }

    // The dispatch view of an interface, as the dual half sees it.
    ITypeInfo* Info(REFIID iid) {
        ITypeInfo* info = nullptr;
        EXPECT_HR(S_OK, lib->GetTypeInfoOfGuid(iid, &info));
        infos.push_back(info);
        return info;
    }
    DISPID Id(ITypeInfo* info, const OLECHAR* name) {
        LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
        DISPID id = DISPID_UNKNOWN;
        EXPECT_HR(S_OK, info->GetIDsOfNames(names, 1, &id)) << test::Utf8(name);
        return id;
    }
    // Calls by name with the arguments in reading order.
    HRESULT Call(ITypeInfo* info, void* object, const OLECHAR* name, std::vector<VARIANT> args,
                 VARIANT* result = nullptr, WORD flags = DISPATCH_METHOD) {
        std::vector<VARIANT> reversed(args.rbegin(), args.rend());
        DISPPARAMS params{reversed.data(), nullptr, UINT(reversed.size()), 0};
        argError = 0xFFFF;
        exception = EXCEPINFO{};
        return info->Invoke(object, Id(info, name), flags, &params, result, &exception, &argError);
    }
    void ClearException() {
        SysFreeString(exception.bstrSource);
        SysFreeString(exception.bstrDescription);
        SysFreeString(exception.bstrHelpFile);
        exception = EXCEPINFO{};
    }

    static VARIANT I4(LONG x) { VARIANT v{}; v.vt = VT_I4; v.lVal = x; return v; }
    static VARIANT R8(double x) { VARIANT v{}; v.vt = VT_R8; v.dblVal = x; return v; }
    static VARIANT Ref(VARTYPE vt, void* p) { VARIANT v{}; v.vt = VT_BYREF | vt; v.byref = p; return v; }

    ITypeLib* lib = nullptr;
    std::vector<ITypeInfo*> infos;
    EXCEPINFO exception{};
    UINT argError = 0;

    ~InvokeTest() override {
        for (ITypeInfo* info : infos) if (info) info->Release();
    }
};

TEST_F(InvokeTest, NamesMapToIdsWithoutRegardToCase) {
    ITypeInfo* rules = Info(__uuidof(IVoRules));
    LPOLESTR names[] = {const_cast<LPOLESTR>(OLESTR("loadRULE")), const_cast<LPOLESTR>(OLESTR("BWORKING")),
                        const_cast<LPOLESTR>(OLESTR("dtStart")), const_cast<LPOLESTR>(OLESTR("nope"))};
    DISPID ids[4] = {};
    EXPECT_HR(DISP_E_UNKNOWNNAME, rules->GetIDsOfNames(names, 4, ids));
    EXPECT_EQ(ids[0], 0x60020000);
    EXPECT_EQ(ids[1], 2);
    EXPECT_EQ(ids[2], 0);
    EXPECT_EQ(ids[3], DISPID_UNKNOWN);
    names[0] = const_cast<LPOLESTR>(OLESTR("Missing"));
    EXPECT_HR(DISP_E_UNKNOWNNAME, rules->GetIDsOfNames(names, 1, ids));
    EXPECT_EQ(ids[0], DISPID_UNKNOWN);
    // No names to map is an error. Wine differs from the documented platform
    // here: it maps the first name although none is counted.
    names[0] = const_cast<LPOLESTR>(OLESTR("LoadRule"));
    EXPECT_HR(test::UnderWine() ? S_OK : E_INVALIDARG, DispGetIDsOfNames(rules, names, 0, ids));

    // An [out, retval] parameter keeps its name, though the dispatch view
    // shows it as the result.
    LPOLESTR hours[] = {const_cast<LPOLESTR>(OLESTR("CalcWorkingHours")), const_cast<LPOLESTR>(OLESTR("dblhours"))};
    EXPECT_HR(S_OK, DispGetIDsOfNames(Info(__uuidof(IVoAvailability)), hours, 2, ids));
    EXPECT_EQ(ids[1], 2);
}

TEST_F(InvokeTest, ArgumentsArriveCoercedInDeclaredOrder) {
    ITypeInfo* rules = Info(__uuidof(IVoRules));
    MockRules mock;
    Var text;
    test::SetBstr(text, OLESTR("-1"));
    VARIANT flag{};
    flag.vt = VT_BOOL;
    flag.boolVal = VARIANT_TRUE;
    ASSERT_HR(S_OK, Call(rules, static_cast<IVoRules*>(&mock), OLESTR("LoadRule"), {I4(2), flag, text}));
    EXPECT_EQ(mock.start, 2.0);
    EXPECT_EQ(mock.stop, -1.0);
    EXPECT_EQ(mock.working, -1);

    // Named arguments come first in DISPPARAMS, each with its parameter's id.
    VARIANT args[] = {I4(1), R8(40000), R8(39000)};  // bWorking, then dtStop, dtStart reversed
    DISPID named[] = {2};
    DISPPARAMS params{args, named, 3, 1};
    ASSERT_HR(S_OK, rules->Invoke(static_cast<IVoRules*>(&mock), 0x60020000, DISPATCH_METHOD, &params, nullptr,
                                  nullptr, nullptr));
    EXPECT_EQ(mock.start, 39000.0);
    EXPECT_EQ(mock.stop, 40000.0);
    EXPECT_EQ(mock.working, 1);
}

TEST_F(InvokeTest, BadCallsAnswerThePlatformsCodes) {
    ITypeInfo* rules = Info(__uuidof(IVoRules));
    MockRules mock;
    void* object = static_cast<IVoRules*>(&mock);
    Var word;
    test::SetBstr(word, OLESTR("soon"));
    // Wine differs from the documented platform in these checks: it calls
    // with too many arguments, takes a missing required one for a type
    // mismatch, answers an unknown named argument with the count's code, and
    // never says which argument was wrong.
    const bool wine = test::UnderWine();
    EXPECT_HR(wine ? S_OK : DISP_E_BADPARAMCOUNT, Call(rules, object, OLESTR("LoadRule"), {I4(1), I4(2), I4(3), I4(4)}));
    EXPECT_HR(DISP_E_BADPARAMCOUNT, Call(rules, object, OLESTR("LoadRule"), {I4(1), I4(2)}));
    VARIANT missing{};
    missing.vt = VT_ERROR;
    missing.scode = DISP_E_PARAMNOTFOUND;
    EXPECT_HR(wine ? DISP_E_TYPEMISMATCH : DISP_E_PARAMNOTOPTIONAL,
              Call(rules, object, OLESTR("LoadRule"), {I4(1), missing, I4(0)}));
    EXPECT_HR(DISP_E_TYPEMISMATCH, Call(rules, object, OLESTR("LoadRule"), {I4(1), word, I4(0)}));
    EXPECT_EQ(argError, wine ? 0xFFFFu : 1u);  // dtStop is rgvarg[1]: arguments are counted from the last
    EXPECT_EQ(mock.calls, wine ? 1 : 0);

    DISPPARAMS none{nullptr, nullptr, 0, 0};
    EXPECT_HR(DISP_E_MEMBERNOTFOUND, rules->Invoke(object, 0x1234, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr));
    EXPECT_HR(DISP_E_MEMBERNOTFOUND,
              rules->Invoke(object, 0x60020000, DISPATCH_PROPERTYPUT, &none, nullptr, nullptr, nullptr));
    EXPECT_HR(E_INVALIDARG, rules->Invoke(object, 0x60020000, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr));

    VARIANT args[] = {I4(1), I4(2), I4(3)};
    DISPID named[] = {7};
    DISPPARAMS params{args, named, 3, 1};
    argError = 0xFFFF;
    EXPECT_HR(wine ? DISP_E_BADPARAMCOUNT : DISP_E_PARAMNOTFOUND,
              rules->Invoke(object, 0x60020000, DISPATCH_METHOD, &params, nullptr, nullptr, &argError));
    EXPECT_EQ(argError, wine ? 0xFFFFu : 0u);
}

TEST_F(InvokeTest, ReferencesPassThroughOrBindToTemporaries) {
    ITypeInfo* rules = Info(__uuidof(IVoRules));
    MockRules mock;
    void* object = static_cast<IVoRules*>(&mock);
    DATE start = 10, stop = 20;
    BOOL working = TRUE;
    LONG type = crSpecialDay;
    ASSERT_HR(S_OK, Call(rules, object, OLESTR("AddRuleEx"), {Ref(VT_DATE, &start), Ref(VT_DATE, &stop),
                                                              Ref(VT_I4, &working), Ref(VT_I4, &type)}));
    EXPECT_EQ(mock.start, 10.0);
    EXPECT_EQ(mock.working, TRUE);
    EXPECT_EQ(mock.type, crSpecialDay);
    EXPECT_EQ(start, 11.0);
    EXPECT_EQ(stop, 21.0);
    EXPECT_EQ(working, FALSE);
    EXPECT_EQ(type, crPeriod);

    // A value where a reference is declared goes to a temporary the caller
    // never sees; a reference of another type, a variant one included, is a
    // type mismatch, as on the platform.
    ASSERT_HR(S_OK, Call(rules, object, OLESTR("AddRuleEx"), {I4(3), R8(4), I4(0), I4(crPeriod)}));
    EXPECT_EQ(mock.start, 3.0);
    EXPECT_EQ(mock.type, crPeriod);
    Var text;
    test::SetBstr(text, OLESTR("5"));
    double wrong = 1;
    for (VARIANT bad : {Ref(VT_R8, &wrong), Ref(VT_VARIANT, &text)}) {
        EXPECT_HR(DISP_E_TYPEMISMATCH, Call(rules, object, OLESTR("AddRuleEx"),
                                            {bad, Ref(VT_DATE, &stop), Ref(VT_I4, &working), Ref(VT_I4, &type)}));
        EXPECT_EQ(argError, test::UnderWine() ? 0xFFFFu : 3u);  // Wine never says which argument, unlike the platform
    }
    EXPECT_EQ(text.vt, VT_BSTR);

    IUnknown* found = nullptr;
    ASSERT_HR(S_OK, Call(rules, object, OLESTR("EnumRules"), {R8(1), I4(0), Ref(VT_UNKNOWN, &found)}));
    EXPECT_EQ(found, static_cast<IUnknown*>(static_cast<IVoRules*>(&mock)));
    found->Release();
    EXPECT_EQ(mock.refs, 1u);
}

TEST_F(InvokeTest, ResultsComeBackInTheResultVariant) {
    ITypeInfo* calc = Info(__uuidof(IVoCalculator));
    MockCalculator calculator;
    Var formula, result;
    test::SetBstr(formula, OLESTR("1+2"));
    ASSERT_HR(S_OK, Call(calc, static_cast<IVoCalculator*>(&calculator), OLESTR("evaluate"),
                         {formula, Ref(VT_VARIANT, &result)}));
    ASSERT_EQ(result.vt, VT_BSTR);
    EXPECT_EQ(test::Utf8(result.bstrVal), "=1+2");

    // [out, retval] parameters become the call's result.
    ITypeInfo* avail = Info(__uuidof(IVoAvailability));
    MockAvailability availability;
    void* object = static_cast<IVoAvailability*>(&availability);
    Var count, hours;
    ASSERT_HR(S_OK, Call(avail, object, OLESTR("Count"), {}, &count, DISPATCH_PROPERTYGET));
    EXPECT_EQ(count.vt, VT_UI4);
    EXPECT_EQ(count.ulVal, 7u);
    ASSERT_HR(S_OK, Call(avail, object, OLESTR("CalcWorkingHours"), {R8(1), R8(1.5)}, &hours,
                         DISPATCH_METHOD | DISPATCH_PROPERTYGET));
    EXPECT_EQ(hours.vt, VT_R8);
    EXPECT_EQ(hours.dblVal, 12.0);
    EXPECT_HR(S_OK, Call(avail, object, OLESTR("CalcWorkingHours"), {R8(1), R8(2)}));  // result not wanted
    EXPECT_HR(DISP_E_MEMBERNOTFOUND, Call(avail, object, OLESTR("Count"), {I4(1)}, nullptr, DISPATCH_PROPERTYPUT));
}

TEST_F(InvokeTest, FailuresBecomeExceptionsWithTheErrorInformation) {
    ITypeInfo* rules = Info(__uuidof(IVoRules));
    MockRules mock;
    void* object = static_cast<IVoRules*>(&mock);
    EXPECT_HR(DISP_E_EXCEPTION, Call(rules, object, OLESTR("AddRule"), {R8(1), R8(2), I4(1), I4(crAll)}));
    EXPECT_HR(E_FAIL, exception.scode);
    EXPECT_EQ(test::Utf8(exception.bstrDescription), "Invalid rule type");
    EXPECT_EQ(test::Utf8(exception.bstrSource), "Mock.Source");
    ClearException();

    // Without the object's word that it supports error information, only
    // the code is reported, and a failure without a text is one too.
    mock.errorInfo = false;
    EXPECT_HR(DISP_E_EXCEPTION, Call(rules, object, OLESTR("AddRule"), {R8(1), R8(2), I4(1), I4(crAll)}));
    EXPECT_HR(E_FAIL, exception.scode);
    // Wine differs from the documented platform here: it takes the thread's
    // error information without asking the object whether it is its own.
    if (test::UnderWine()) {
        EXPECT_EQ(test::Utf8(exception.bstrDescription), "Invalid rule type");
    } else {
        EXPECT_EQ(exception.bstrDescription, nullptr);
    }
    ClearException();
    IErrorInfo* stale = nullptr;
    if (GetErrorInfo(0, &stale) == S_OK && stale) stale->Release();
    EXPECT_HR(DISP_E_EXCEPTION, Call(rules, object, OLESTR("AddRule"), {R8(1), R8(2), I4(1), I4(crNone)}));
    EXPECT_HR(E_INVALIDARG, exception.scode);
    ClearException();

    VARIANT args[] = {I4(crAll), I4(1), R8(2), R8(1)};
    DISPPARAMS params{args, nullptr, 4, 0};
    EXPECT_HR(DISP_E_EXCEPTION, DispInvoke(object, rules, 0x60020001, DISPATCH_METHOD, &params, nullptr, nullptr,
                                           nullptr));  // no EXCEPINFO wanted
    EXPECT_EQ(test::TakeErrorInfo().description, "Invalid rule type");  // left for the caller
}

}  // namespace
