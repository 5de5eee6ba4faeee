// The default calendar: the four rules it is built from, what they mean on a
// real rule set, and its creation through the component runtime.
#include <cstring>

#include "scheduler/default_calendar.h"
#include "scheduler_test_support.h"

namespace {

using sched_test::Profile;

uint64_t Bits(double d) {
    uint64_t bits;
    std::memcpy(&bits, &d, sizeof bits);
    return bits;
}

// IVoRules that records AddRule and answers it with addResult; nothing else
// is expected.
class RulesLog final : public ostrel::ComObject<RulesLog, IVoRules> {
public:
    static std::span<const ostrel::InterfaceEntry<RulesLog>> InterfaceTable() {
        static const ostrel::InterfaceEntry<RulesLog> table[] = {ostrel::Entry<RulesLog, IVoRules>(IID_IVoRules)};
        return table;
    }
    struct Call {
        DATE start, stop;
        BOOL working;
        tagRULETYPE type;
    };
    std::vector<Call> calls;
    HRESULT addResult = S_OK;

    STDMETHODIMP AddRule(DATE dtStart, DATE dtStop, BOOL bWorking, tagRULETYPE crRule) override {
        calls.push_back({dtStart, dtStop, bWorking, crRule});
        return addResult;
    }
    STDMETHODIMP LoadRule(DATE, DATE, BOOL) override { return Unexpected(); }
    STDMETHODIMP AddRuleEx(DATE*, DATE*, BOOL*, tagRULETYPE*) override { return Unexpected(); }
    STDMETHODIMP DeleteRule(DATE, DATE, tagRULETYPE) override { return Unexpected(); }
    STDMETHODIMP EnumRules(DATE, ULONG, IUnknown**) override { return Unexpected(); }
    STDMETHODIMP EnumRulesEx(DATE, DATE, ULONG, IUnknown**) override { return Unexpected(); }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return Unexpected(); }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return Unexpected(); }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return Unexpected(); }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return Unexpected();
    }

private:
    static HRESULT Unexpected() {
        ADD_FAILURE() << "unexpected IVoRules call";
        return E_NOTIMPL;
    }
};

TEST(DefaultCalendar, FourRulesThenTheProfileGetsThem) {
    RulesLog* rules = RulesLog::New();
    Profile* profile = Profile::New("calendar", nullptr, nullptr);
    profile->expectSetRules = true;
    ostrel::FillDefaultCalendar(*profile, *rules);

    const RulesLog::Call expected[] = {
        {1.0 / 3, 0.5, -1, crWorkingHour},
        {13.0 / 24, 17.0 / 24, -1, crWorkingHour},
        {1462.0, 0.0, 0, crRecurDayWeek},
        {1468.0, 0.0, 0, crRecurDayWeek},
    };
    ASSERT_EQ(rules->calls.size(), 4u);
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(Bits(rules->calls[i].start), Bits(expected[i].start)) << "rule " << i;
        EXPECT_EQ(Bits(rules->calls[i].stop), Bits(expected[i].stop)) << "rule " << i;
        EXPECT_EQ(rules->calls[i].working, expected[i].working) << "rule " << i;
        EXPECT_EQ(rules->calls[i].type, expected[i].type) << "rule " << i;
    }
    // The times of day are exactly these doubles.
    EXPECT_EQ(Bits(rules->calls[0].start), 0x3FD5555555555555u);
    EXPECT_EQ(Bits(rules->calls[1].start), 0x3FE1555555555555u);
    EXPECT_EQ(Bits(rules->calls[1].stop), 0x3FE6AAAAAAAAAAABu);
    EXPECT_EQ(profile->rules, static_cast<IUnknown*>(static_cast<IVoRules*>(rules)));
    profile->Release();
    rules->Release();
}

TEST(DefaultCalendar, AFailingRuleEndsTheBuildBeforeSetRules) {
    RulesLog* rules = RulesLog::New();
    rules->addResult = E_OUTOFMEMORY;
    Profile* profile = Profile::New("calendar", nullptr, nullptr);  // SetRules not expected
    EXPECT_THROW(ostrel::FillDefaultCalendar(*profile, *rules), HRESULT);
    EXPECT_EQ(rules->calls.size(), 1u);
    profile->Release();
    rules->Release();
}

struct WithRuntime : ::testing::Test {
    void SetUp() override { ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr))); }
    void TearDown() override { CoUninitialize(); }
};

// On a real rule set: weekdays work 08:00-12:00 and 13:00-17:00, Saturdays
// and Sundays do not.
TEST_F(WithRuntime, TheRulesMeanAWorkingWeek) {
    IVoRules* rules = nullptr;
    ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                     reinterpret_cast<void**>(&rules)));
    Profile* profile = Profile::New("calendar", nullptr, nullptr);
    profile->expectSetRules = true;
    ostrel::FillDefaultCalendar(*profile, *rules);

    struct Day {
        const char* name;
        DATE date;
        int working, offDays;
    } days[] = {
        {"Monday 1 January 2024", 45292.0, 2, 0},
        {"Friday 5 January 2024", 45296.0, 2, 0},
        {"Saturday 6 January 2024", 45297.0, 2, 1},
        {"Sunday 7 January 2024", 45298.0, 2, 1},
    };
    for (const Day& d : days) {
        IUnknown* unknown = nullptr;
        ASSERT_HR(S_OK, rules->EnumRules(d.date, 0xFFFF, &unknown)) << d.name;
        IEnumRules* e = nullptr;
        ASSERT_HR(S_OK, unknown->QueryInterface(IID_IEnumRules, reinterpret_cast<void**>(&e)));
        int working = 0, offDays = 0;
        tagRULE rule;
        while (e->Next(1, &rule, nullptr) == S_OK) {
            if (rule.crRule == crWorkingHour && (rule.bWorking & 0xFFFF)) ++working;
            if (rule.crRule == crRecurDayWeek && !(rule.bWorking & 0xFFFF)) ++offDays;
        }
        EXPECT_EQ(working, d.working) << d.name;
        EXPECT_EQ(offDays, d.offDays) << d.name;
        e->Release();
        unknown->Release();
    }
    profile->Release();
    rules->Release();
}

// Made through the component runtime: it fails as creating a VoAvailability
// fails where the library serves none yet, and carries the rules where it
// does.
TEST_F(WithRuntime, MadeThroughTheComponentRuntime) {
    IVoAvailability* probe = nullptr;
    const HRESULT served = CoCreateInstance(CLSID_VoAvailability, nullptr, CLSCTX_INPROC_SERVER,
                                            IID_IVoAvailability, reinterpret_cast<void**>(&probe));
    if (FAILED(served)) {
        try {
            ostrel::MakeDefaultCalendar();
            ADD_FAILURE() << "made without a profile class";
        } catch (HRESULT hr) {
            EXPECT_HR(served, hr);
        }
        return;
    }
    probe->Release();
    ostrel::InterfaceRef<IVoAvailability> calendar = ostrel::MakeDefaultCalendar();
    ASSERT_TRUE(calendar);
    IUnknown* rules = nullptr;
    ASSERT_HR(S_OK, calendar->GetRules(&rules));
    ASSERT_NE(rules, nullptr);
    rules->Release();
}

}  // namespace
