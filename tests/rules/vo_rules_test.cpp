// VoRules as a host sees it: created through the component runtime, every
// failure a code with the caller's error information, enumerators that own
// their records.
#include <Ostrel.h>

#include <vector>

#include "rules_test_support.h"

namespace {

using rules_test::At;

template <class T>
void** Out(T** p) {
    return reinterpret_cast<void**>(p);
}

class VoRulesTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
        ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules, Out(&rules)));
    }
    void TearDown() override {
        if (rules) rules->Release();
        CoUninitialize();
    }
    // What one enumerator's Next answers for one record, and the records read.
    static HRESULT Drain(IUnknown* unknown, std::vector<tagRULE>* out = nullptr) {
        IEnumRules* e = nullptr;
        EXPECT_HR(S_OK, unknown->QueryInterface(IID_IEnumRules, Out(&e)));
        tagRULE r;
        ULONG fetched = 7;
        HRESULT hr;
        while ((hr = e->Next(1, &r, &fetched)) == S_OK)
            if (out) out->push_back(r);
        EXPECT_EQ(fetched, 0u);
        e->Release();
        return hr;
    }

    IVoRules* rules = nullptr;
};

TEST_F(VoRulesTest, IdentityAndErrorInformationSupport) {
    IUnknown* identity = nullptr;
    ISupportErrorInfo* support = nullptr;
    ASSERT_HR(S_OK, rules->QueryInterface(IID_IUnknown, Out(&identity)));
    EXPECT_EQ(static_cast<void*>(identity), static_cast<void*>(rules));  // the first entry answers IUnknown
    ASSERT_HR(S_OK, rules->QueryInterface(IID_ISupportErrorInfo, Out(&support)));
    EXPECT_HR(S_OK, support->InterfaceSupportsErrorInfo(IID_IVoRules));
    EXPECT_HR(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IDispatch));
    identity->Release();
    support->Release();
}

// Late binding asks for a type library of version 1.0, which is not the
// embedded one and is not registered, so the dispatch half says so.
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
        std::string text;
    } cases[] = {
        {monday + 11 / 24.0, monday + 13 / 24.0, crRecurDayWeek, "Interval overlaps with existing interval"},
        {monday, monday, 3, "Rules rule type out of range"},
    };
    for (const auto& c : cases) {
        SetErrorInfo(0, nullptr);
        EXPECT_HR(DISP_E_EXCEPTION, rules->AddRule(c.start, c.stop, TRUE, tagRULETYPE(c.type)));
        EXPECT_EQ(test::TakeErrorInfo().description, c.text);
    }
    // Touching is not overlapping, and nothing was stored by the failures.
    EXPECT_HR(S_OK, rules->AddRule(monday + 12 / 24.0, monday + 13 / 24.0, TRUE, crRecurDayWeek));
    IUnknown* unknown = reinterpret_cast<IUnknown*>(1);
    std::vector<tagRULE> all;
    ASSERT_HR(S_OK, rules->EnumRules(0.0, crAll, &unknown));
    Drain(unknown, &all);
    unknown->Release();
    EXPECT_EQ(all.size(), 2u);

    // A date the calendar cannot hold: the system's text, no enumerator.
    SetErrorInfo(0, nullptr);
    EXPECT_HR(DISP_E_EXCEPTION, rules->EnumRules(1e12, crAll, &unknown));
    EXPECT_EQ(unknown, nullptr);
    EXPECT_EQ(test::TakeErrorInfo().description, test::SystemText(DWORD(E_FAIL)));
}

TEST_F(VoRulesTest, AddRuleExWritesBackTheStoredRuleAndOnlyTheLowHalfOfBWorking) {
    DATE start = At(2003, 12, 25), stop = At(2003, 12, 25);
    BOOL working = BOOL(0xABCD0100u);
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

// An empty set enumerated in full is merely empty; a day of it has no array.
TEST_F(VoRulesTest, EnumeratorsOfAnEmptySetDifferByQuery) {
    IUnknown *all = nullptr, *day = nullptr;
    ASSERT_HR(S_OK, rules->EnumRules(0.0, crAll, &all));
    ASSERT_HR(S_OK, rules->EnumRules(At(2003, 3, 3), crAll, &day));
    EXPECT_HR(S_FALSE, Drain(all));
    EXPECT_HR(E_FAIL, Drain(day));
    all->Release();
    day->Release();
    EXPECT_HR(E_POINTER, rules->EnumRules(0.0, crAll, nullptr));
    EXPECT_HR(E_POINTER, rules->EnumRulesEx(0.0, 1.0, crAll, nullptr));
}

TEST_F(VoRulesTest, EnumeratorKeepsItsOwnCopyAndOutlivesTheRuleSet) {
    ASSERT_HR(S_OK, rules->AddRule(At(2003, 3, 3, 8), At(2003, 3, 3, 12), TRUE, crRecurDayWeek));
    ASSERT_HR(S_OK, rules->AddRule(At(2003, 3, 4), At(2003, 3, 4), FALSE, crPeriod));
    IUnknown* unknown = nullptr;
    ASSERT_HR(S_OK, rules->EnumRules(0.0, crAll, &unknown));
    ASSERT_HR(S_OK, rules->DeleteRule(0.0, 0.0, crRecurDayWeek));
    rules->Release();
    rules = nullptr;
    EXPECT_HR(S_FALSE, DllCanUnloadNow());  // the enumerator still counts

    std::vector<tagRULE> got;
    Drain(unknown, &got);
    unknown->Release();
    ASSERT_EQ(got.size(), 2u);
    EXPECT_EQ(got[0].crRule, crRecurDayWeek);
    EXPECT_EQ(got[1].crRule, crPeriod);
}

}  // namespace
