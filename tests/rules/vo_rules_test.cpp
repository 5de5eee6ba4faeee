// VoRules as a host sees it: created through the component runtime, every
// failure a code with the caller's error information, enumerators that own
// their records.
#include <Ostrel.h>

#include <vector>

#include "rules_test_support.h"

namespace {

using rules_test::At;

class VoRulesTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
        ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                         reinterpret_cast<void**>(&rules)));
    }
    void TearDown() override {
        if (rules) rules->Release();
        CoUninitialize();
    }

    // All records an enumeration hands out, read one at a time.
    static std::vector<tagRULE> Drain(IUnknown* unknown) {
        std::vector<tagRULE> out;
        IEnumRules* e = nullptr;
        EXPECT_HR(S_OK, unknown->QueryInterface(IID_IEnumRules, reinterpret_cast<void**>(&e)));
        tagRULE r;
        while (e->Next(1, &r, nullptr) == S_OK) out.push_back(r);
        e->Release();
        return out;
    }
    std::vector<tagRULE> Enum(DATE dt, ULONG filter) {
        IUnknown* unknown = nullptr;
        EXPECT_HR(S_OK, rules->EnumRules(dt, filter, &unknown));
        if (!unknown) return {};
        auto out = Drain(unknown);
        unknown->Release();
        return out;
    }

    IVoRules* rules = nullptr;
};

TEST_F(VoRulesTest, InterfacesInTableOrder) {
    IUnknown *viaRules = nullptr, *viaDispatch = nullptr;
    ASSERT_HR(S_OK, rules->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&viaRules)));
    IDispatch* dispatch = nullptr;
    ASSERT_HR(S_OK, rules->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch)));
    ASSERT_HR(S_OK, dispatch->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&viaDispatch)));
    EXPECT_EQ(viaRules, viaDispatch);  // one identity
    EXPECT_EQ(static_cast<void*>(viaRules), static_cast<void*>(rules));  // the first entry answers IUnknown

    ISupportErrorInfo* support = nullptr;
    ASSERT_HR(S_OK, rules->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support)));
    EXPECT_HR(S_OK, support->InterfaceSupportsErrorInfo(IID_IVoRules));
    EXPECT_HR(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IDispatch));

    void* other = reinterpret_cast<void*>(1);
    EXPECT_HR(E_NOINTERFACE, rules->QueryInterface(IID_IEnumRules, &other));
    EXPECT_EQ(other, nullptr);
    for (IUnknown* u : {static_cast<IUnknown*>(support), viaRules, viaDispatch, static_cast<IUnknown*>(dispatch)})
        u->Release();
}

// Late binding needs a type library of version 1.0 under the library's
// identifier; none is registered, so the dispatch half says so.
TEST_F(VoRulesTest, DispatchHalfAnswersFromTheRegisteredTypeLibrary) {
    UINT count = 0;
    EXPECT_HR(S_OK, rules->GetTypeInfoCount(&count));
    EXPECT_EQ(count, 1u);
    ITypeInfo* info = reinterpret_cast<ITypeInfo*>(1);
    EXPECT_HR(DISP_E_BADINDEX, rules->GetTypeInfo(1, 0, &info));
    EXPECT_HR(TYPE_E_LIBNOTREGISTERED, rules->GetTypeInfo(0, 0x409, &info));
    EXPECT_EQ(info, nullptr);
    OLECHAR name[] = OLESTR("AddRule");
    LPOLESTR names[] = {name};
    DISPID id = 0;
    EXPECT_HR(TYPE_E_LIBNOTREGISTERED, rules->GetIDsOfNames(IID_NULL, names, 1, 0x409, &id));
    DISPPARAMS none = {nullptr, nullptr, 0, 0};
    EXPECT_HR(TYPE_E_LIBNOTREGISTERED,
              rules->Invoke(0x60020000, IID_NULL, 0x409, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr));
}

TEST_F(VoRulesTest, FailuresReachTheCallerAsErrorInformation) {
    const DATE monday = At(2003, 3, 2);
    ASSERT_HR(S_OK, rules->AddRule(monday + 8 / 24.0, monday + 12 / 24.0, TRUE, crRecurDayWeek));
    const struct {
        DATE start, stop;
        ULONG type;
        const char* text;
    } cases[] = {
        {monday + 11 / 24.0, monday + 13 / 24.0, crRecurDayWeek, "Interval overlaps with existing interval"},
        {monday, monday, 3, "Rules rule type out of range"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        SetErrorInfo(0, nullptr);
        EXPECT_HR(DISP_E_EXCEPTION, rules->AddRule(c.start, c.stop, TRUE, tagRULETYPE(c.type)));
        auto info = test::TakeErrorInfo();
        EXPECT_EQ(info.description, c.text);
    }
    // Touching is not overlapping, and nothing was stored by the failures.
    EXPECT_HR(S_OK, rules->AddRule(monday + 12 / 24.0, monday + 13 / 24.0, TRUE, crRecurDayWeek));
    EXPECT_EQ(Enum(0.0, crAll).size(), 2u);
}

TEST_F(VoRulesTest, AddRuleExWritesBackTheStoredRule) {
    DATE start = At(2003, 12, 25), stop = At(2003, 12, 25);
    BOOL working = BOOL(0xABCD0000u | 0x0100u);  // only the low half counts, and only it is written
    tagRULETYPE type = crRecurringDates;
    ASSERT_HR(S_OK, rules->AddRuleEx(&start, &stop, &working, &type));
    EXPECT_EQ(type, crRecurDateYear);
    EXPECT_NEAR(start, At(1920, 12, 25), rules_test::kTolerance);
    EXPECT_NEAR(stop, At(1920, 12, 26), rules_test::kTolerance);
    EXPECT_EQ(DWORD(working), 0xABCD0001u);

    // A failed call writes nothing back.
    DATE s2 = At(2004, 12, 25, 10), e2 = At(2004, 12, 25, 11);
    BOOL w2 = BOOL(0xFFFF0000u);
    tagRULETYPE t2 = crRecurringDates;
    EXPECT_HR(DISP_E_EXCEPTION, rules->AddRuleEx(&s2, &e2, &w2, &t2));
    EXPECT_EQ(s2, At(2004, 12, 25, 10));
    EXPECT_EQ(DWORD(w2), 0xFFFF0000u);
    EXPECT_EQ(t2, crRecurringDates);
    EXPECT_HR(E_POINTER, rules->AddRuleEx(nullptr, &e2, &w2, &t2));
}

TEST_F(VoRulesTest, EnumeratorsOfAnEmptySetDifferByQuery) {
    IUnknown* all = nullptr;
    IUnknown* day = nullptr;
    ASSERT_HR(S_OK, rules->EnumRules(0.0, crAll, &all));
    ASSERT_HR(S_OK, rules->EnumRules(At(2003, 3, 3), crAll, &day));
    IEnumRules *eAll = nullptr, *eDay = nullptr;
    all->QueryInterface(IID_IEnumRules, reinterpret_cast<void**>(&eAll));
    day->QueryInterface(IID_IEnumRules, reinterpret_cast<void**>(&eDay));
    tagRULE r;
    ULONG fetched = 7;
    EXPECT_HR(S_FALSE, eAll->Next(1, &r, &fetched));
    EXPECT_EQ(fetched, 0u);
    EXPECT_HR(E_FAIL, eDay->Next(1, &r, &fetched));  // no array at all
    for (IUnknown* u : {static_cast<IUnknown*>(eAll), static_cast<IUnknown*>(eDay), all, day}) u->Release();

    EXPECT_HR(E_POINTER, rules->EnumRules(0.0, crAll, nullptr));
    EXPECT_HR(E_POINTER, rules->EnumRulesEx(0.0, 1.0, crAll, nullptr));
}

TEST_F(VoRulesTest, EnumeratorKeepsItsOwnCopyAndOutlivesTheRuleSet) {
    const DATE monday = At(2003, 3, 3);
    ASSERT_HR(S_OK, rules->AddRule(monday + 8 / 24.0, monday + 12 / 24.0, TRUE, crRecurDayWeek));
    ASSERT_HR(S_OK, rules->AddRule(At(2003, 3, 4), At(2003, 3, 4), FALSE, crPeriod));
    IUnknown* unknown = nullptr;
    ASSERT_HR(S_OK, rules->EnumRules(0.0, crAll, &unknown));
    ASSERT_HR(S_OK, rules->DeleteRule(0.0, 0.0, crRecurDayWeek));
    rules->Release();
    rules = nullptr;
    EXPECT_HR(S_FALSE, DllCanUnloadNow());  // the enumerator still counts

    const auto got = Drain(unknown);
    ASSERT_EQ(got.size(), 2u);
    EXPECT_EQ(got[0].crRule, crRecurDayWeek);
    EXPECT_EQ(got[1].crRule, crPeriod);
    unknown->Release();
}

TEST_F(VoRulesTest, RecordsReadBackLoadUnchangedExceptIn1934) {
    const DATE days[] = {At(2003, 3, 3), At(2003, 3, 15), At(2003, 12, 25), At(2010, 6, 1)};
    ASSERT_HR(S_OK, rules->AddRule(days[0] + 8 / 24.0, days[0] + 12 / 24.0, TRUE, crRecurDayWeek));
    ASSERT_HR(S_OK, rules->AddRule(days[1], days[1], FALSE, crRecurDateMonth));
    ASSERT_HR(S_OK, rules->AddRule(days[2], days[2], FALSE, crRecurDateYear));
    ASSERT_HR(S_OK, rules->AddRule(days[3], days[3] + 2, FALSE, crPeriod));
    ASSERT_HR(S_OK, rules->LoadRule(At(1934, 2, 1), At(1934, 2, 2), TRUE));
    const auto before = Enum(0.0, crAll);

    IVoRules* copy = nullptr;
    ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                     reinterpret_cast<void**>(&copy)));
    for (const tagRULE& r : before) ASSERT_HR(S_OK, copy->LoadRule(r.dtStart, r.dtStop, r.bWorking));
    IUnknown* unknown = nullptr;
    ASSERT_HR(S_OK, copy->EnumRules(0.0, crAll, &unknown));
    const auto after = Drain(unknown);
    unknown->Release();
    copy->Release();

    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < before.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(after[i].dtStart, before[i].dtStart);
        EXPECT_EQ(after[i].dtStop, before[i].dtStop);
        EXPECT_EQ(after[i].bWorking, before[i].bWorking);
        EXPECT_EQ(after[i].crRule, before[i].dtStart < At(1935, 1, 1) && before[i].dtStart >= At(1934, 1, 1)
                                       ? crPeriod
                                       : before[i].crRule);
    }
}

TEST_F(VoRulesTest, DayEnumerationOfACalendar) {
    // A working week: 08:00-12:00 and 13:00-17:00 on working hours, weekends off.
    const DATE anyDay = At(2003, 1, 1);
    ASSERT_HR(S_OK, rules->AddRule(anyDay + 8 / 24.0, anyDay + 12 / 24.0, TRUE, crWorkingHour));
    ASSERT_HR(S_OK, rules->AddRule(anyDay + 13 / 24.0, anyDay + 17 / 24.0, TRUE, crWorkingHour));
    // A weekday is named by the day of the month: 1 is Sunday, 7 Saturday.
    ASSERT_HR(S_OK, rules->AddRule(At(2003, 3, 7), At(2003, 3, 7), FALSE, crRecurDayWeek));
    ASSERT_HR(S_OK, rules->AddRule(At(2003, 3, 1), At(2003, 3, 1), FALSE, crRecurDayWeek));
    ASSERT_HR(S_OK, rules->AddRule(At(2024, 12, 25), At(2024, 12, 25), FALSE, crPeriod));

    EXPECT_EQ(Enum(At(2024, 12, 24), crAll).size(), 2u);  // a Tuesday: the hours only
    const auto christmas = Enum(At(2024, 12, 25), crAll);
    ASSERT_EQ(christmas.size(), 3u);
    EXPECT_EQ(christmas.back().crRule, crPeriod);
    const auto saturday = Enum(At(2024, 12, 28), crAll);
    ASSERT_EQ(saturday.size(), 3u);
    EXPECT_EQ(saturday.back().crRule, crRecurDayWeek);
    EXPECT_EQ(saturday.back().bWorking, FALSE);
    EXPECT_EQ(Enum(At(2024, 12, 28), crRecurDayWeek).size(), 1u);
}

TEST_F(VoRulesTest, AnEnumerationThatCannotReadItsDateFails) {
    ASSERT_HR(S_OK, rules->AddRule(At(2003, 3, 4), At(2003, 3, 4), FALSE, crPeriod));
    IUnknown* unknown = reinterpret_cast<IUnknown*>(1);
    SetErrorInfo(0, nullptr);
    EXPECT_HR(DISP_E_EXCEPTION, rules->EnumRules(1e12, crAll, &unknown));
    EXPECT_EQ(unknown, nullptr);
    EXPECT_EQ(test::TakeErrorInfo().description, test::SystemText(DWORD(E_FAIL)));
}

TEST(VoRulesServer, AggregatedRuleSetDelegatesItsIdentity) {
    ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
    // An outer object that only counts references.
    struct Outer : IUnknown {
        LONG refs = 1;
        IUnknown* inner = nullptr;
        STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
            if (IsEqualGUID(riid, IID_IUnknown)) {
                *ppv = this;
                AddRef();
                return S_OK;
            }
            return inner->QueryInterface(riid, ppv);
        }
        STDMETHODIMP_(ULONG) AddRef() override { return ULONG(++refs); }
        STDMETHODIMP_(ULONG) Release() override { return ULONG(--refs); }
    } outer;
    void* p = reinterpret_cast<void*>(1);
    EXPECT_HR(CLASS_E_NOAGGREGATION, CoCreateInstance(CLSID_VoRules, &outer, CLSCTX_INPROC_SERVER, IID_IVoRules, &p));
    EXPECT_EQ(p, nullptr);
    ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoRules, &outer, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                     reinterpret_cast<void**>(&outer.inner)));
    IVoRules* rules = nullptr;
    ASSERT_HR(S_OK, outer.QueryInterface(IID_IVoRules, reinterpret_cast<void**>(&rules)));
    IUnknown* identity = nullptr;
    ASSERT_HR(S_OK, rules->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&identity)));
    EXPECT_EQ(identity, static_cast<IUnknown*>(&outer));
    identity->Release();
    rules->Release();
    EXPECT_EQ(outer.refs, 1);
    outer.inner->Release();
    CoUninitialize();
}

}  // namespace
