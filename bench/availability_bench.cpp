// The profile engine's hot paths: date lookups, span writes and unit sums on
// profiles of 1,000 to 100,000 points (each should grow as log n), and the
// placement of work on a prepared working-week calendar.
#include <benchmark/benchmark.h>

#include <Ostrel.h>

#include <chrono>
#include <random>
#include <vector>

#include "availability/availability.h"

namespace {

using ostrel::TVoAvailability;

DATE At(int y, unsigned m, unsigned d, double hours = 0) {
    using namespace std::chrono;
    return DATE(sys_days{year{y} / month{m} / day{d}}.time_since_epoch().count() + 25569) + hours / 24.0;
}

// n points one day apart, alternating 1 and 0 units.
void Steps(TVoAvailability& profile, int n) {
    for (int i = 1; i < n; ++i) profile.AddPoint(i, i % 2 ? 0.0 : 1.0);
}

// Dates spread over the profile, drawn once so the loop measures the lookup.
std::vector<DATE> Dates(int n) {
    std::mt19937 random(42);
    std::uniform_real_distribution<double> within(0.0, n);
    std::vector<DATE> out(4096);
    for (DATE& d : out) d = within(random);
    return out;
}

void BM_GetUnits(benchmark::State& state) {
    const int n = int(state.range(0));
    TVoAvailability profile(1.0);
    Steps(profile, n);
    const auto dates = Dates(n);
    size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(profile.GetUnits(dates[i++ & 4095]));
}
BENCHMARK(BM_GetUnits)->Arg(1000)->Arg(10000)->Arg(100000);

void BM_Date2Index(benchmark::State& state) {
    const int n = int(state.range(0));
    TVoAvailability profile(1.0);
    Steps(profile, n);
    const auto dates = Dates(n);
    size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(profile.Date2Index(dates[i++ & 4095]));
}
BENCHMARK(BM_Date2Index)->Arg(1000)->Arg(10000)->Arg(100000);

// A span written inside one segment and taken back: two points in, two out.
void BM_SetTimeSpan(benchmark::State& state) {
    const int n = int(state.range(0));
    TVoAvailability profile(1.0);
    Steps(profile, n);
    const auto dates = Dates(n);
    size_t i = 0;
    for (auto _ : state) {
        const DATE day = double(int(dates[i++ & 4095]));
        const double units = profile.GetUnits(day);
        profile.SetTimeSpan(day + 0.25, day + 0.5, 5.0);
        profile.SetTimeSpan(day + 0.25, day + 0.5, units);
    }
    if (profile.Count(0.0, ostrel::dtOpenEnd) != ULONG(n)) state.SkipWithError("the profile changed shape");
}
BENCHMARK(BM_SetTimeSpan)->Arg(1000)->Arg(10000)->Arg(100000);

// Units booked into part of a segment and given back: split, sum, join.
void BM_SumUnits(benchmark::State& state) {
    const int n = int(state.range(0));
    TVoAvailability profile(1.0);
    Steps(profile, n);
    const auto dates = Dates(n);
    size_t i = 0;
    for (auto _ : state) {
        const DATE day = double(int(dates[i++ & 4095]));
        benchmark::DoNotOptimize(profile.SumUnits(day + 0.25, day + 0.5, -1.0, 0, true));
        profile.SumUnits(day + 0.25, day + 0.5, 1.0, 0, true);
    }
    if (profile.Count(0.0, ostrel::dtOpenEnd) != ULONG(n)) state.SkipWithError("the profile changed shape");
}
BENCHMARK(BM_SumUnits)->Arg(1000)->Arg(10000)->Arg(100000);

// A working week (08:00-12:00, 13:00-17:00, weekends off) prepared over
// about three years; work of state.range(0) working days placed from dates
// spread over its first two years.
struct Calendar {
    Calendar() {
        CoInitialize(nullptr);
        IVoRules* rules = nullptr;
        if (FAILED(CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                    reinterpret_cast<void**>(&rules))))
            return;
        rules->AddRule(At(2003, 1, 1, 8), At(2003, 1, 1, 12), 1, crWorkingHour);
        rules->AddRule(At(2003, 1, 1, 13), At(2003, 1, 1, 17), 1, crWorkingHour);
        rules->AddRule(At(2003, 3, 1), At(2003, 3, 1), 0, crRecurDayWeek);
        rules->AddRule(At(2003, 3, 7), At(2003, 3, 7), 0, crRecurDayWeek);
        profile.SetRules(rules);
        rules->Release();
        profile.Prepare(first, first + 1100);
        ready = true;
    }
    ~Calendar() { CoUninitialize(); }
    const DATE first = At(2024, 1, 1);
    TVoAvailability profile{1.0};
    bool ready = false;
};

void Place(benchmark::State& state, tagSCHEDULEDIRECTION direction) {
    static Calendar calendar;
    if (!calendar.ready) {
        state.SkipWithError("no rule set");
        return;
    }
    const double duration = double(state.range(0)) / 3.0;  // 8 working hours a day
    const auto dates = Dates(730);
    size_t i = 0;
    for (auto _ : state) {
        const DATE at = calendar.first + 60 + dates[i++ & 4095];
        IUnknown* spans = nullptr;
        tagSCHEDULERESULT result;
        if (direction == sdForward)
            calendar.profile.ScheduleTask(at, at + 400, duration, 1.0, sdForward, &spans, &result);
        else
            calendar.profile.ScheduleTask(at - 400, at, duration, 1.0, sdBackward, &spans, &result);
        if (result != srIsScheduled) state.SkipWithError("not placed");
        if (spans) spans->Release();
    }
}
void BM_ScheduleTaskForward(benchmark::State& state) { Place(state, sdForward); }
void BM_ScheduleTaskBackward(benchmark::State& state) { Place(state, sdBackward); }
BENCHMARK(BM_ScheduleTaskForward)->Arg(5)->Arg(40);
BENCHMARK(BM_ScheduleTaskBackward)->Arg(5)->Arg(40);

}  // namespace

namespace {

// A working-week rule set, as VoRules holds it.
IVoRules* WorkingWeek() {
    IVoRules* rules = nullptr;
    if (FAILED(CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                reinterpret_cast<void**>(&rules))))
        return nullptr;
    rules->AddRule(At(2003, 1, 1, 8), At(2003, 1, 1, 12), 1, crWorkingHour);
    rules->AddRule(At(2003, 1, 1, 13), At(2003, 1, 1, 17), 1, crWorkingHour);
    rules->AddRule(At(2003, 3, 1), At(2003, 3, 1), 0, crRecurDayWeek);
    rules->AddRule(At(2003, 3, 7), At(2003, 3, 7), 0, crRecurDayWeek);
    return rules;
}

// One working day of work placed forward from each of kPlacements successive
// calendar days on a profile that starts unprepared, so preparation extends
// as the placements move on. One iteration is the whole walk; the counters
// give the cost per placement and per prepared day.
constexpr int kPlacements = 250;

void BM_PlaceForwardPreparingAsItGoes(benchmark::State& state) {
    CoInitialize(nullptr);
    IVoRules* rules = WorkingWeek();
    if (!rules) {
        state.SkipWithError("no rule set");
        return;
    }
    const DATE first = At(2024, 1, 1);
    double preparedDays = 0;
    for (auto _ : state) {
        TVoAvailability profile(1.0);
        profile.SetRules(rules);
        for (int i = 0; i < kPlacements; ++i) {
            IUnknown* spans = nullptr;
            tagSCHEDULERESULT result;
            profile.ScheduleTask(first + i, first + i + 60, 1.0 / 3.0, 1.0, sdForward, &spans, &result);
            if (spans) spans->Release();
        }
        DATE start = 0, stop = 0;
        profile.GetPreparedRange(&start, &stop);
        preparedDays = stop - start;
    }
    const double walks = double(state.iterations());
    state.counters["per_placement"] =
        benchmark::Counter(walks * kPlacements, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["per_prepared_day"] =
        benchmark::Counter(walks * preparedDays, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["prepared_days"] = preparedDays;
    rules->Release();
    CoUninitialize();
}
BENCHMARK(BM_PlaceForwardPreparingAsItGoes)->Unit(benchmark::kMicrosecond);

// A resource allocation: a 1,000-point demand subtracted from a
// 100,000-point profile through its point enumerator, then given back.
void BM_SumRange(benchmark::State& state) {
    CoInitialize(nullptr);
    IVoAvailability* demand = nullptr;
    if (FAILED(CoCreateInstance(CLSID_VoAvailability, nullptr, CLSCTX_INPROC_SERVER, IID_IVoAvailability,
                                reinterpret_cast<void**>(&demand)))) {
        state.SkipWithError("no VoAvailability");
        return;
    }
    demand->SetTimeSpan(0.0, 1.0, 0.0);
    for (int i = 0; i < 1000; ++i) demand->AddPoint(50000.0 + i * 0.5, i % 2 ? 0.0 : 0.25);
    TVoAvailability profile(1.0);
    Steps(profile, 100000);
    double lowest = 0;
    for (auto _ : state) {
        for (tagOPERATOR op : {opSubstract, opAdd}) {
            IUnknown* points = nullptr;
            demand->EnumPoints(50000.0, 50500.0, &points);
            profile.SumRange(points, 50500.0, op, &lowest);
            points->Release();
        }
    }
    state.counters["per_sumrange"] =
        benchmark::Counter(double(state.iterations()) * 2, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["profile_points"] = double(profile.Count(0.0, 1.7976931348623157e308));
    demand->Release();
    CoUninitialize();
}
BENCHMARK(BM_SumRange)->Unit(benchmark::kMicrosecond);

}  // namespace
