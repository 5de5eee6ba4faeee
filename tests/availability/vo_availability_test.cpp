// VoAvailability as hosts and the scheduler meet it: made through the
// component runtime, failures as codes with error information, the 16-bit
// RequiresPrepare, and the implementation class's own PackPoints.
#include "availability_test_support.h"

namespace {

using namespace avl_test;

class VoAvailabilityTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
        profile = Create();
        ASSERT_NE(profile, nullptr);
    }
    void TearDown() override {
        if (profile) profile->Release();
        CoUninitialize();
    }
    static IVoAvailability* Create() {
        IVoAvailability* p = nullptr;
        EXPECT_HR(S_OK, CoCreateInstance(CLSID_VoAvailability, nullptr, CLSCTX_INPROC_SERVER, IID_IVoAvailability,
                                         reinterpret_cast<void**>(&p)));
        return p;
    }
    IVoAvailability* profile = nullptr;
};

TEST_F(VoAvailabilityTest, InterfacesAndANewProfile) {
    IUnknown *identity = nullptr, *viaDispatch = nullptr;
    IDispatch* dispatch = nullptr;
    ISupportErrorInfo* support = nullptr;
    ASSERT_HR(S_OK, profile->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&identity)));
    ASSERT_HR(S_OK, profile->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch)));
    ASSERT_HR(S_OK, dispatch->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&viaDispatch)));
    EXPECT_EQ(identity, viaDispatch);
    ASSERT_HR(S_OK, profile->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support)));
    EXPECT_HR(S_OK, support->InterfaceSupportsErrorInfo(IID_IVoAvailability));
    EXPECT_HR(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IDispatch));
    for (IUnknown* u : {static_cast<IUnknown*>(support), identity, viaDispatch, static_cast<IUnknown*>(dispatch)})
        u->Release();

    ULONG count = 0;
    double units = 0;
    EXPECT_HR(S_OK, profile->get_Count(&count));
    EXPECT_HR(S_OK, profile->GetUnits(45000.0, &units));
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(units, 1.0);
}

TEST_F(VoAvailabilityTest, RulesAndTheLowHalfOfRequiresPrepare) {
    IUnknown* held = reinterpret_cast<IUnknown*>(0x1234);
    EXPECT_HR(S_OK, profile->GetRules(&held));
    EXPECT_EQ(held, reinterpret_cast<IUnknown*>(0x1234)) << "nothing held: left as passed";
    // Deliberate: only the low 16 bits of the caller's BOOL are written.
    BOOL value = BOOL(0xFFFF0000u);
    EXPECT_HR(S_OK, profile->get_RequiresPrepare(&value));
    EXPECT_EQ(DWORD(value), 0xFFFF0000u);
    IVoRules* rules = NewRules();
    ASSERT_HR(S_OK, profile->SetRules(rules));
    EXPECT_HR(S_OK, profile->get_RequiresPrepare(&value));
    EXPECT_EQ(DWORD(value), 0xFFFF0001u);
    EXPECT_HR(S_OK, profile->GetRules(&held));
    EXPECT_EQ(held, static_cast<IUnknown*>(rules));
    held->Release();
    rules->Release();
}

TEST_F(VoAvailabilityTest, FailuresAreCodesWithErrorInformationButUnplacedWorkIsAResult) {
    SetErrorInfo(0, nullptr);
    EXPECT_HR(DISP_E_EXCEPTION, profile->SetTimeSpan(45010.0, 45000.0, 0.5));
    EXPECT_EQ(test::TakeErrorInfo().description, "Invalid date range");
    EXPECT_HR(E_POINTER, profile->EnumPoints(0.0, 1.0, nullptr));
    EXPECT_FALSE(test::TakeErrorInfo().present) << "a null out-pointer is a plain code";

    ASSERT_HR(S_OK, profile->SetTimeSpan(0.0, 45010.0, 0.0));
    IUnknown* spans = nullptr;
    tagSCHEDULERESULT result = srNone;
    EXPECT_HR(S_OK, profile->ScheduleTask(45000.0, 45005.0, 1.0, 1.0, sdForward, &spans, &result));
    EXPECT_EQ(result, srFail);
    EXPECT_EQ(spans, nullptr);
}

TEST_F(VoAvailabilityTest, ADemandProfileSubtractedThroughItsPointEnumerator) {
    IVoAvailability* demand = Create();
    ASSERT_HR(S_OK, demand->SetTimeSpan(45000.0, 45002.0, 0.25));
    IUnknown* points = nullptr;
    ASSERT_HR(S_OK, demand->EnumPoints(45000.0, 45002.0, &points));
    demand->Release();
    double lowest = 0, units = 0;
    EXPECT_HR(S_OK, profile->SumRange(points, 45002.0, opSubstract, &lowest));
    points->Release();
    EXPECT_EQ(lowest, 0.0) << "the lowest units reached, never above zero";
    profile->GetUnits(45001.0, &units);
    EXPECT_EQ(units, 0.75);

    // Hosts holding the implementation class pack points into an array they
    // free with the task allocator.
    auto* impl = static_cast<ostrel::CVoAvailabilityImpl*>(profile);
    ULONG count = 0;
    tagAVAILABILITYPOINT* packed = nullptr;
    ASSERT_HR(S_OK, impl->PackPoints(45000.0, 45003.0, 0, &count, &packed));
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(std::pair(packed[0].dblUnits, packed[1].dtDate), std::pair(0.75, 45002.0));
    CoTaskMemFree(packed);
    EXPECT_HR(S_OK, impl->Reserved1());
    EXPECT_HR(E_POINTER, impl->PackPoints(0.0, 1.0, 0, nullptr, &packed));
}

// What a host does with the pieces together: a working-week calendar, a
// profile prepared from it, a resource profile derived from that one, and
// work placed across a weekend in both directions.
TEST_F(VoAvailabilityTest, CalendarProfileAndDerivedResourceProfile) {
    IVoRules* rules = NewRules();
    ASSERT_HR(S_OK, rules->AddRule(At(2003, 1, 1, 8), At(2003, 1, 1, 12), TRUE, crWorkingHour));
    ASSERT_HR(S_OK, rules->AddRule(At(2003, 1, 1, 13), At(2003, 1, 1, 17), TRUE, crWorkingHour));
    ASSERT_HR(S_OK, rules->AddRule(At(2003, 3, 1), At(2003, 3, 1), FALSE, crRecurDayWeek));  // Sundays
    ASSERT_HR(S_OK, rules->AddRule(At(2003, 3, 7), At(2003, 3, 7), FALSE, crRecurDayWeek));  // Saturdays
    ASSERT_HR(S_OK, profile->SetRules(rules));
    rules->Release();

    const DATE monday = At(2024, 12, 2);
    double hours = 0;
    ASSERT_HR(S_OK, profile->PrepareDateRange(monday, monday + 7));
    ASSERT_HR(S_OK, profile->CalcWorkingHours(monday, monday + 7, &hours));
    EXPECT_NEAR(hours, 5 * 8 * kHour, 1e-9);  // unit-days; rule times are kept to the second

    const struct {
        DATE start, end, duration;
        tagSCHEDULEDIRECTION direction;
        DATE first, last;
    } placements[] = {
        // Friday 13:00, two working days: Friday afternoon to Tuesday noon.
        {At(2024, 12, 6, 13), At(2024, 12, 31), 16 * kHour, sdForward, At(2024, 12, 6, 13), At(2024, 12, 10, 12)},
        // Back from Monday noon, one working day: from Friday 13:00.
        {At(2024, 12, 1), At(2024, 12, 9, 12), 8 * kHour, sdBackward, At(2024, 12, 6, 13), At(2024, 12, 9, 12)},
    };
    for (const auto& p : placements) {
        IUnknown* unknown = nullptr;
        tagSCHEDULERESULT result = srNone;
        ASSERT_HR(S_OK, profile->ScheduleTask(p.start, p.end, p.duration, 1.0, p.direction, &unknown, &result));
        ASSERT_EQ(result, srIsScheduled);
        const Points spans = SpansOf(unknown);
        unknown->Release();
        ASSERT_FALSE(spans.empty());
        EXPECT_NEAR(spans.front().first, p.first, 1e-9);
        EXPECT_NEAR(spans.back().second, p.last, 1e-9);
    }

    // A resource on the same calendar takes the calendar profile as its source.
    IVoAvailability* resource = Create();
    ASSERT_HR(S_OK, resource->AddSource(profile));
    ASSERT_HR(S_OK, resource->PrepareDateRange(monday, monday + 7));
    double units[2] = {-1, -1};
    ASSERT_HR(S_OK, resource->GetUnits(monday + 9 * kHour, &units[0]));
    ASSERT_HR(S_OK, resource->GetUnits(monday + 12.5 * kHour, &units[1]));
    EXPECT_EQ(std::pair(units[0], units[1]), std::pair(1.0, 0.0));
    resource->Release();
}

}  // namespace
