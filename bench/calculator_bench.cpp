// Evaluating formulas as hosts write them: a typical one (arithmetic in
// parentheses and a couple of functions) and a long generated one, from
// SetFormula to the value, as the calculator component does for every call.
#include <benchmark/benchmark.h>

#include <string>

#include "calculator/formula.h"

#ifdef OSTREL_BENCH_MUPARSER
#include <muParser.h>
#endif

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

// A typical host formula: numbers, parentheses, a comparison and a function.
const WString kTypical = OLESTR("(12.5+7*3)/(2+@MAX(4,9,1))-(3>2)*1.5+@ROUND(7.45)");

void TypicalFormula(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(EvaluateOnce(kTypical));
    state.counters["evals/s"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(TypicalFormula);

#ifdef OSTREL_BENCH_MUPARSER
// The same expression in muParser's syntax, set and evaluated every time as
// a host that receives a new formula per call would.
const char* const kTypicalMu = "(12.5+7*3)/(2+max(4,9,1))-(3>2)*1.5+rint(7.45)";

void TypicalMuParserSetAndEval(benchmark::State& state) {
    mu::Parser parser;
    if (parser.SetExpr(kTypicalMu), parser.Eval() != EvaluateOnce(kTypical)) {
        state.SkipWithError("the two expressions disagree");
        return;
    }
    for (auto _ : state) {
        parser.SetExpr(kTypicalMu);
        benchmark::DoNotOptimize(parser.Eval());
    }
    state.counters["evals/s"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(TypicalMuParserSetAndEval);

// muParser's best case, for scale: the expression parsed once, only evaluated.
void TypicalMuParserEvalOnly(benchmark::State& state) {
    mu::Parser parser;
    parser.SetExpr(kTypicalMu);
    for (auto _ : state) benchmark::DoNotOptimize(parser.Eval());
}
BENCHMARK(TypicalMuParserEvalOnly);
#endif

}  // namespace
