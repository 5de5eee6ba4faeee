// A whole generated project scheduled the way a host does it: the command's
// generator writes the project (an outline of work packages, finish-start and
// start-start links with lags between nearby tasks, none to two resources per
// task from a pool on two calendars), the command's reader checks it, and the
// measured part builds the calendars, hands the tasks to a VoScheduler, runs
// it and reads every date back. Peak resident memory is reported after each
// size; sizes run in ascending order, so each figure is that size's peak.
#include <benchmark/benchmark.h>

#include <Ostrel.h>
#include <psapi.h>

#include "engine_run.h"
#include "generator.h"
#include "project_reader.h"

namespace {

double PeakMegabytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof counters;
    if (!GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)) return 0;
    return double(counters.PeakWorkingSetSize) / (1024.0 * 1024.0);
}

void BM_GeneratedProject(benchmark::State& state) {
    const size_t tasks = size_t(state.range(0));
    const cli::Project project =
        cli::ReadProject(cli::GenerateProject(tasks, std::max<size_t>(5, tasks / 20), 1), "generated");
    cli::ComSession session;
    size_t failed = 0;
    for (auto _ : state) {
        const cli::ScheduleResult result = cli::Schedule(project);
        if (result.RunFailed()) state.SkipWithError("the run failed");
        failed = result.Count(cli::TaskStatus::Failed) + result.Count(cli::TaskStatus::NotScheduled);
    }
    state.counters["failed"] = double(failed);
    state.counters["peak_MB"] = PeakMegabytes();
    state.SetItemsProcessed(state.iterations() * int64_t(tasks));
}
BENCHMARK(BM_GeneratedProject)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
