// A whole schedule run over a generated project: n tasks in parallel chains
// of finish-to-start links, each task six working hours on one of four
// resources, on the working-week calendar (08:00-12:00, 13:00-17:00, no
// weekends). Preparation, the ordered pass, placement and allocation are all
// in the measured time; building the task records is not.
#include <benchmark/benchmark.h>

#include <Ostrel.h>

#include <cstring>
#include <vector>

#include "component/com_object.h"
#include "scheduler/schedule_records.h"
#include "scheduler/scheduler.h"

namespace {

using Copy = ostrel::copy_t<tagScheduleData>;

constexpr DATE kMonday = 45292.0;  // 1 January 2024
constexpr int kChains = 50;
constexpr int kResources = 4;

// Hands out deep copies of its records, as a host's enumerator does.
class Records final : public ostrel::ComObject<Records, IEnumScheduleData> {
public:
    static std::span<const ostrel::InterfaceEntry<Records>> InterfaceTable() {
        static const ostrel::InterfaceEntry<Records> table[] = {
            ostrel::Entry<Records, IEnumScheduleData>(IID_IEnumScheduleData)};
        return table;
    }
    explicit Records(const std::vector<tagScheduleData>* records) : records_(records) {}

    STDMETHODIMP Next(ULONG wanted, tagScheduleData* out, ULONG* fetched) override {
        ULONG n = 0;
        for (; n < wanted && position_ < records_->size(); ++n, ++position_)
            Copy::copy(&out[n], &(*records_)[position_]);
        if (fetched) *fetched = n;
        return n == wanted ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG) override { return E_NOTIMPL; }
    STDMETHODIMP Reset() override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IEnumScheduleData**) override { return E_NOTIMPL; }

private:
    const std::vector<tagScheduleData>* records_;
    size_t position_ = 0;
};

// Task i follows task i - kChains; its resource is "R<i mod 4>".
std::vector<tagScheduleData> Project(int n) {
    std::vector<tagScheduleData> tasks(n);
    const OLECHAR* names[kResources] = {OLESTR("R0"), OLESTR("R1"), OLESTR("R2"), OLESTR("R3")};
    for (int i = 0; i < n; ++i) {
        tagScheduleData& task = tasks[i];
        Copy::init(&task);
        task.tkKey.Level = 1;
        task.tkKey.Value.vt = VT_I4;
        task.tkKey.Value.lVal = i + 1;
        const LONG asap = cnASAP;
        std::memcpy(&task.coConstraint, &asap, sizeof asap);
        task.dwIntervals = 1;
        task.psi = static_cast<tagScheduleInterval*>(CoTaskMemAlloc(sizeof(tagScheduleInterval)));
        task.psi[0] = tagScheduleInterval{0, 0, ifResourceActualAvailability | ifAllocateInterval, 0, 6.0 / 24};
        task.dwResources = 1;
        task.psr = static_cast<tagScheduleResource*>(CoTaskMemAlloc(sizeof(tagScheduleResource)));
        std::memset(static_cast<void*>(task.psr), 0, sizeof(tagScheduleResource));
        task.psr[0].rkResource.vt = VT_BSTR;
        task.psr[0].rkResource.bstrVal = SysAllocString(names[i % kResources]);
        task.psr[0].dblAssigned = 1.0;
        if (i >= kChains) {
            task.dwPredecessors = 1;
            task.psp = static_cast<tagSchedulePredecessor*>(CoTaskMemAlloc(sizeof(tagSchedulePredecessor)));
            std::memset(static_cast<void*>(task.psp), 0, sizeof(tagSchedulePredecessor));
            task.psp[0].tkPred.Level = 1;
            task.psp[0].tkPred.Value.vt = VT_I4;
            task.psp[0].tkPred.Value.lVal = i + 1 - kChains;
        }
    }
    return tasks;
}

void BM_Run(benchmark::State& state) {
    CoInitialize(nullptr);
    std::vector<tagScheduleData> project = Project(int(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        auto* engine = new ostrel::TVoScheduler();
        Records* records = Records::New(&project);
        // Enough years for every resource's share of the work.
        engine->AddScheduleData(records, nullptr, kMonday, kMonday + 40 * 365);
        records->Release();
        state.ResumeTiming();

        engine->Run();

        state.PauseTiming();
        if (engine->ResultFlags() != srIsScheduled) state.SkipWithError("the run did not schedule every task");
        delete engine;
        state.ResumeTiming();
    }
    for (tagScheduleData& task : project) Copy::destroy(&task);
    state.SetItemsProcessed(state.iterations() * state.range(0));
    CoUninitialize();
}
BENCHMARK(BM_Run)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
