// The question a profile asks of its calendar for every day it prepares:
// which rules are in force on this day. Measured on a calendar of about 200
// rules spread over every family, through the engine and through VoRules as
// a profile calls it.
#include <benchmark/benchmark.h>

#include <Ostrel.h>

#include <chrono>

#include "rules/rule_store.h"

namespace {

DATE At(int y, unsigned m, unsigned d, double hours = 0) {
    using namespace std::chrono;
    return DATE(sys_days{year{y} / month{m} / day{d}}.time_since_epoch().count() + 25569) + hours / 24.0;
}

// 2 working-hour spans, 2 weekly days, 12 monthly dates, 10 n-th weekdays,
// 24 yearly dates, 20 yearly n-th weekdays and 130 single days.
template <class Add>
void BuildCalendar(Add add) {
    add(At(2003, 1, 1, 8), At(2003, 1, 1, 12), 1, crWorkingHour);
    add(At(2003, 1, 1, 13), At(2003, 1, 1, 17), 1, crWorkingHour);
    add(At(2003, 3, 1), At(2003, 3, 1), 0, crRecurDayWeek);  // Sunday
    add(At(2003, 3, 7), At(2003, 3, 7), 0, crRecurDayWeek);  // Saturday
    for (unsigned d = 1; d <= 12; ++d) add(At(2003, 1, d * 2), At(2003, 1, d * 2, 4), 0, crRecurDateMonth);
    for (unsigned n = 1; n <= 5; ++n)
        for (unsigned w : {2u, 4u}) add(At(2003, n, w), At(2003, n, w, 2), 0, crRecurDayMonth);
    for (unsigned m = 1; m <= 12; ++m)
        for (unsigned d : {5u, 20u}) add(At(2003, m, d), At(2003, m, d), 0, crRecurDateYear);
    for (unsigned n = 1; n <= 5; ++n)
        for (unsigned m : {1u, 4u, 7u, 10u}) add(At(1929 + n, m, 3), At(1929 + n, m, 3), 0, crRecurDayYear);
    for (int i = 0; i < 130; ++i) {
        const DATE day = At(2020, 1, 1) + i * 11;
        add(day, day, 0, crPeriod);
    }
}

constexpr int kDays = 365;

void EnumRulesEngine(benchmark::State& state) {
    ostrel::TVoRules store;
    BuildCalendar([&](DATE a, DATE b, BOOL w, tagRULETYPE t) { store.AddRule(a, b, w, ULONG(t)); });
    const DATE first = At(2021, 1, 1);
    int i = 0;
    for (auto _ : state) {
        auto rules = store.EnumRules(first + (i++ % kDays), crAll);
        benchmark::DoNotOptimize(rules.count);
    }
    state.counters["rules"] = double(store.EnumRules(0.0, crAll).count);
}
BENCHMARK(EnumRulesEngine);

// As a profile reads a day: EnumRules, then Next in chunks of 10.
void EnumRulesComponent(benchmark::State& state) {
    CoInitialize(nullptr);
    IVoRules* rules = nullptr;
    if (FAILED(CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                reinterpret_cast<void**>(&rules)))) {
        state.SkipWithError("VoRules could not be created");
        return;
    }
    BuildCalendar([&](DATE a, DATE b, BOOL w, tagRULETYPE t) { rules->AddRule(a, b, w, t); });
    const DATE first = At(2021, 1, 1);
    int i = 0;
    ULONG total = 0;
    for (auto _ : state) {
        IUnknown* unknown = nullptr;
        rules->EnumRules(first + (i++ % kDays), crAll, &unknown);
        IEnumRules* e = nullptr;
        unknown->QueryInterface(IID_IEnumRules, reinterpret_cast<void**>(&e));
        tagRULE chunk[10];
        ULONG fetched = 0;
        while (e->Next(10, chunk, &fetched) == S_OK) total += fetched;
        total += fetched;
        e->Release();
        unknown->Release();
    }
    benchmark::DoNotOptimize(total);
    rules->Release();
    CoUninitialize();
}
BENCHMARK(EnumRulesComponent);

}  // namespace
