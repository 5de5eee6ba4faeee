#!/usr/bin/env bash
# Builds the benchmarks in an optimised tree (build-bench/) and runs them all,
# or only those whose executable name contains the first argument.
#
#   tools/run-benchmarks.sh            every benchmark
#   tools/run-benchmarks.sh rules      bench_rules only
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build-bench"
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DOSTREL_BUILD_TESTS=OFF -DOSTREL_BUILD_BENCHMARKS=ON >/dev/null
cmake --build "$build" -j "$(nproc 2>/dev/null || echo 2)"
export PATH="$build/messages:$PATH"
for exe in "$build"/bench/*; do
  [ -x "$exe" ] || continue
  case "$(basename "$exe")" in *"${1:-}"*) ;; *) continue ;; esac
  echo "== $(basename "$exe")"
  "$exe" --benchmark_counters_tabular=true
done
