// Evaluating formulas as hosts write them: a typical one (arithmetic in
// parentheses and a couple of functions) and a long generated one, from
// SetFormula to the value, as the calculator component does for every call.
#include <benchmark/benchmark.h>

#include <string>

#include "calculator/formula.h"

namespace {

using WString = std::basic_string<OLECHAR>;

double EvaluateOnce(const WString& formula) {
    ostrel::TFormula f;
    f.SetFormula(formula);
    return f.Evaluate();
}

void Typical(benchmark::State& state) {
    const WString formula = OLESTR("(@MAX(3,7.5,2)*2+@ROUND(12.345))/(1+@IF(4>2,3,1/0))-2^3%5");
    for (auto _ : state) benchmark::DoNotOptimize(EvaluateOnce(formula));
}
BENCHMARK(Typical);

// Terms like "+(3*4-@MIN(2,5))", so every level of the evaluator is met.
void Long(benchmark::State& state) {
    WString formula = OLESTR("0");
    for (int64_t i = 0; i < state.range(0); ++i) formula += OLESTR("+(3*4-@MIN(2,5))");
    for (auto _ : state) benchmark::DoNotOptimize(EvaluateOnce(formula));
    state.counters["chars"] = double(formula.size());
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(formula.size() * sizeof(OLECHAR)));
}
BENCHMARK(Long)->Arg(100)->Arg(10000);

}  // namespace
