// VoAvailability as hosts and the scheduler meet it: made through the
// component runtime, failures as codes with error information, the 16-bit
// RequiresPrepare, the point enumerator, and the implementation class's own
// PackPoints.
#include <Ostrel.h>

#include <chrono>
#include <vector>

#include "availability/vo_availability.h"
#include "test_support.h"

namespace {

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
    std::vector<tagAVAILABILITYPOINT> Points(DATE start, DATE stop) {
        std::vector<tagAVAILABILITYPOINT> out;
        IUnknown* unknown = nullptr;
        EXPECT_HR(S_OK, profile->EnumPoints(start, stop, &unknown));
        if (!unknown) return out;
        IEnumAvPoints* e = nullptr;
        EXPECT_HR(S_OK, unknown->QueryInterface(IID_IEnumAvPoints, reinterpret_cast<void**>(&e)));
        tagAVAILABILITYPOINT chunk[3];
        ULONG fetched = 0;
        HRESULT hr;
        do {
            hr = e->Next(3, chunk, &fetched);
            out.insert(out.end(), chunk, chunk + fetched);
        } while (hr == S_OK);
        e->Release();
        unknown->Release();
        return out;
    }

    IVoAvailability* profile = nullptr;
};

TEST_F(VoAvailabilityTest, InterfacesAndErrorInformationSupport) {
    IUnknown *identity = nullptr, *viaDispatch = nullptr;
    IDispatch* dispatch = nullptr;
    ASSERT_HR(S_OK, profile->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&identity)));
    ASSERT_HR(S_OK, profile->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch)));
    ASSERT_HR(S_OK, dispatch->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&viaDispatch)));
    EXPECT_EQ(identity, viaDispatch);
    ISupportErrorInfo* support = nullptr;
    ASSERT_HR(S_OK, profile->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support)));
    EXPECT_HR(S_OK, support->InterfaceSupportsErrorInfo(IID_IVoAvailability));
    EXPECT_HR(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IDispatch));
    for (IUnknown* u : {static_cast<IUnknown*>(support), identity, viaDispatch, static_cast<IUnknown*>(dispatch)})
        u->Release();
}

TEST_F(VoAvailabilityTest, ANewProfileIsOneUnitFromTheStart) {
    ULONG count = 0;
    EXPECT_HR(S_OK, profile->get_Count(&count));
    EXPECT_EQ(count, 1u);
    double units = 0;
    EXPECT_HR(S_OK, profile->GetUnits(45000.0, &units));
    EXPECT_EQ(units, 1.0);

    IUnknown* rules = reinterpret_cast<IUnknown*>(0x1234);
    EXPECT_HR(S_OK, profile->GetRules(&rules));
    EXPECT_EQ(rules, reinterpret_cast<IUnknown*>(0x1234));  // nothing held: left as passed
}

TEST_F(VoAvailabilityTest, RequiresPrepareWritesOnlyTheLowHalf) {
    BOOL value = BOOL(0xFFFF0000u);
    EXPECT_HR(S_OK, profile->get_RequiresPrepare(&value));
    EXPECT_EQ(DWORD(value), 0xFFFF0000u);

    IVoRules* rules = nullptr;
    ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                     reinterpret_cast<void**>(&rules)));
    ASSERT_HR(S_OK, profile->SetRules(rules));
    EXPECT_HR(S_OK, profile->get_RequiresPrepare(&value));
    EXPECT_EQ(DWORD(value), 0xFFFF0001u);

    IUnknown* held = nullptr;
    EXPECT_HR(S_OK, profile->GetRules(&held));
    EXPECT_EQ(held, static_cast<IUnknown*>(rules));
    held->Release();
    rules->Release();
}

TEST_F(VoAvailabilityTest, FailuresReachTheCallerAsErrorInformation) {
    SetErrorInfo(0, nullptr);
    EXPECT_HR(DISP_E_EXCEPTION, profile->SetTimeSpan(45010.0, 45000.0, 0.5));
    EXPECT_EQ(test::TakeErrorInfo().description, "Invalid date range");
    ULONG count = 0;
    profile->get_Count(&count);
    EXPECT_EQ(count, 1u);  // nothing written

    // A null enumerator pointer is a plain code, with no error information.
    EXPECT_HR(E_POINTER, profile->EnumPoints(0.0, 1.0, nullptr));
    EXPECT_FALSE(test::TakeErrorInfo().present);
}

TEST_F(VoAvailabilityTest, WorkThatCannotBePlacedIsAResultNotAFailure) {
    ASSERT_HR(S_OK, profile->SetTimeSpan(45000.0, 45010.0, 0.0));
    ASSERT_HR(S_OK, profile->AddPoint(45010.0, 0.0));
    IUnknown* spans = nullptr;
    tagSCHEDULERESULT result = srNone;
    EXPECT_HR(S_OK, profile->ScheduleTask(45000.0, 45005.0, 1.0, 1.0, sdForward, &spans, &result));
    EXPECT_EQ(result, srFail);
    EXPECT_EQ(spans, nullptr);
}

TEST_F(VoAvailabilityTest, PlacedWorkComesBackAsSpans) {
    ASSERT_HR(S_OK, profile->SetTimeSpan(45001.0, 45002.0, 0.0));  // one day off
    IUnknown* unknown = nullptr;
    tagSCHEDULERESULT result = srNone;
    ASSERT_HR(S_OK, profile->ScheduleTask(45000.0, 45010.0, 2.0, 1.0, sdForward, &unknown, &result));
    EXPECT_EQ(result, srIsScheduled);
    ASSERT_NE(unknown, nullptr);
    IEnumTimespans* spans = nullptr;
    ASSERT_HR(S_OK, unknown->QueryInterface(IID_IEnumTimespans, reinterpret_cast<void**>(&spans)));
    tagTIMESPAN got[4];
    ULONG fetched = 0;
    EXPECT_HR(S_FALSE, spans->Next(4, got, &fetched));
    ASSERT_EQ(fetched, 2u);
    EXPECT_EQ(got[0].dtStart, 45000.0);
    EXPECT_EQ(got[0].dtStop, 45001.0);
    EXPECT_EQ(got[1].dtStart, 45002.0);
    EXPECT_EQ(got[1].dtStop, 45003.0);
    spans->Release();
    unknown->Release();
}

TEST_F(VoAvailabilityTest, PointEnumeratorCopiesThePoints) {
    ASSERT_HR(S_OK, profile->SetTimeSpan(45000.0, 45002.0, 0.5));
    const auto points = Points(0.0, 45010.0);
    ASSERT_EQ(points.size(), 3u);
    EXPECT_EQ(points[1].dtDate, 45000.0);
    EXPECT_EQ(points[1].dblUnits, 0.5);
    EXPECT_EQ(points[2].dtDate, 45002.0);
    EXPECT_EQ(points[2].dblUnits, 1.0);
}

TEST_F(VoAvailabilityTest, SourceProfileSummedIntoAnother) {
    IVoAvailability* demand = Create();
    ASSERT_HR(S_OK, demand->SetTimeSpan(45000.0, 45002.0, 0.25));
    double lowest = 0;
    // Resources are allocated by subtracting the demand's points.
    IUnknown* demandPoints = nullptr;
    ASSERT_HR(S_OK, demand->EnumPoints(45000.0, 45002.0, &demandPoints));
    EXPECT_HR(S_OK, profile->SumRange(demandPoints, 45002.0, opSubstract, &lowest));
    demandPoints->Release();
    double units = 0;
    profile->GetUnits(45001.0, &units);
    EXPECT_EQ(units, 0.75);
    EXPECT_EQ(lowest, 0.0);  // the lowest units reached, never above zero
    demand->Release();
}

// Hosts that hold the implementation class reach PackPoints, whose array is
// theirs to free with the task allocator.
TEST_F(VoAvailabilityTest, PackPointsOnTheImplementationClass) {
    ASSERT_HR(S_OK, profile->SetTimeSpan(45000.0, 45002.0, 0.5));
    auto* impl = static_cast<ostrel::CVoAvailabilityImpl*>(profile);
    ULONG count = 0;
    tagAVAILABILITYPOINT* points = reinterpret_cast<tagAVAILABILITYPOINT*>(1);
    ASSERT_HR(S_OK, impl->PackPoints(45000.0, 45003.0, 0, &count, &points));
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(points[0].dblUnits, 0.5);
    CoTaskMemFree(points);
    EXPECT_HR(S_OK, impl->Reserved1());
    EXPECT_HR(E_POINTER, impl->PackPoints(0.0, 1.0, 0, nullptr, &points));
}

}  // namespace

namespace {

DATE Day(int y, unsigned m, unsigned d, double hours = 0) {
    using namespace std::chrono;
    return DATE(sys_days{year{y} / month{m} / day{d}}.time_since_epoch().count() + 25569) + hours / 24.0;
}

// What a host does with the three pieces together: a working-week calendar,
// a profile prepared from it, a resource profile derived from that one, and
// work placed across a weekend in both directions.
TEST_F(VoAvailabilityTest, CalendarProfileAndDerivedResourceProfile) {
    IVoRules* rules = nullptr;
    ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                     reinterpret_cast<void**>(&rules)));
    ASSERT_HR(S_OK, rules->AddRule(Day(2003, 1, 1, 8), Day(2003, 1, 1, 12), TRUE, crWorkingHour));
    ASSERT_HR(S_OK, rules->AddRule(Day(2003, 1, 1, 13), Day(2003, 1, 1, 17), TRUE, crWorkingHour));
    ASSERT_HR(S_OK, rules->AddRule(Day(2003, 3, 1), Day(2003, 3, 1), FALSE, crRecurDayWeek));  // Sundays
    ASSERT_HR(S_OK, rules->AddRule(Day(2003, 3, 7), Day(2003, 3, 7), FALSE, crRecurDayWeek));  // Saturdays
    ASSERT_HR(S_OK, profile->SetRules(rules));
    rules->Release();

    const DATE monday = Day(2024, 12, 2);
    double hours = 0;
    ASSERT_HR(S_OK, profile->PrepareDateRange(monday, monday + 7));
    ASSERT_HR(S_OK, profile->CalcWorkingHours(monday, monday + 7, &hours));
    EXPECT_NEAR(hours, 5 * 8 / 24.0, 1e-9);  // unit-days; rule times are kept to the second

    // Friday 13:00, two working days of work: Friday afternoon, all of Monday,
    // Tuesday morning.
    IUnknown* spans = nullptr;
    tagSCHEDULERESULT result = srNone;
    ASSERT_HR(S_OK, profile->ScheduleTask(Day(2024, 12, 6, 13), Day(2024, 12, 31), 16 / 24.0, 1.0, sdForward,
                                          &spans, &result));
    ASSERT_EQ(result, srIsScheduled);
    IEnumTimespans* e = nullptr;
    ASSERT_HR(S_OK, spans->QueryInterface(IID_IEnumTimespans, reinterpret_cast<void**>(&e)));
    std::vector<tagTIMESPAN> got(16);
    ULONG fetched = 0;
    e->Next(16, got.data(), &fetched);
    ASSERT_GT(fetched, 0u);
    EXPECT_NEAR(got[0].dtStart, Day(2024, 12, 6, 13), 1e-9);
    EXPECT_NEAR(got[fetched - 1].dtStop, Day(2024, 12, 10, 12), 1e-9);
    e->Release();
    spans->Release();

    // Backward from Monday noon, one working day: Monday morning and Friday
    // afternoon.
    spans = nullptr;
    ASSERT_HR(S_OK, profile->ScheduleTask(Day(2024, 12, 1), Day(2024, 12, 9, 12), 8 / 24.0, 1.0, sdBackward,
                                          &spans, &result));
    ASSERT_EQ(result, srIsScheduled);
    ASSERT_HR(S_OK, spans->QueryInterface(IID_IEnumTimespans, reinterpret_cast<void**>(&e)));
    e->Next(16, got.data(), &fetched);
    ASSERT_GT(fetched, 0u);
    EXPECT_NEAR(got[0].dtStart, Day(2024, 12, 6, 13), 1e-9);
    EXPECT_NEAR(got[fetched - 1].dtStop, Day(2024, 12, 9, 12), 1e-9);
    e->Release();
    spans->Release();

    // A half-time resource on the same calendar: its profile takes the
    // calendar profile as its source.
    IVoAvailability* resource = Create();
    ASSERT_HR(S_OK, resource->AddSource(profile));
    ASSERT_HR(S_OK, resource->PrepareDateRange(monday, monday + 7));
    double units = -1;
    ASSERT_HR(S_OK, resource->GetUnits(monday + 9 / 24.0, &units));
    EXPECT_EQ(units, 1.0);
    ASSERT_HR(S_OK, resource->GetUnits(monday + 12.5 / 24.0, &units));
    EXPECT_EQ(units, 0.0);
    resource->Release();
}

}  // namespace
