#!/usr/bin/env bash
# Fuzzes the formula engine with libFuzzer, AddressSanitizer and UBSan for a
# bounded time, starting from the seed corpus in tests/fuzz/formula_corpus.
#
#   tools/fuzz-formula.sh          60 seconds
#   tools/fuzz-formula.sh 600      ten minutes
#
# Builds the engine, the message module and the platform layer with clang in
# build-fuzz/ (a CMake tree of its own), links tests/fuzz/formula_fuzz.cpp
# against them, and runs it. New inputs go to build-fuzz/corpus, findings to
# build-fuzz/findings. Exit status: 0 when the run found nothing, 1 when it
# found a crash, leak or time-out, 2 when the build or the setup failed.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
case "$seconds" in
  '' | *[!0-9]*) echo "fuzz-formula.sh: seconds must be a whole number, not '$seconds'" >&2; exit 2 ;;
esac
build="$root/build-fuzz"
jobs=$(nproc 2>/dev/null || echo 2)

fail() { echo "fuzz-formula.sh: $*" >&2; exit 2; }

# clang with its fuzzer runtime, and what the project's build needs (widl for
# the generated headers).
packages=()
command -v clang++ >/dev/null || packages+=(clang)
command -v cmake >/dev/null || packages+=(cmake)
command -v make >/dev/null || packages+=(make)
command -v widl >/dev/null || packages+=(mingw-w64-tools libwine-dev)
probe=$(mktemp -d)
trap 'rm -rf "$probe"' EXIT
echo 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }' > "$probe/p.cpp"
if ! command -v clang++ >/dev/null || ! clang++ -fsanitize=fuzzer,address,undefined "$probe/p.cpp" -o "$probe/p" 2>/dev/null; then
  packages+=(libclang-rt-dev)
fi
if [ ${#packages[@]} -gt 0 ]; then
  echo "== installing ${packages[*]}"
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo=sudo
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -q || fail "apt-get update failed"
  $sudo apt-get install -y -q --no-install-recommends "${packages[@]}" || fail "could not install ${packages[*]}"
fi

# Everything the target links is instrumented for coverage and sanitized; the
# build-time tools run with leak detection off, since they are not under test.
echo "== build ($build)"
export ASAN_OPTIONS=detect_leaks=0
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DOSTREL_SANITIZE=ON -DOSTREL_BUILD_TESTS=OFF -DOSTREL_BUILD_BENCHMARKS=OFF \
  -DCMAKE_CXX_FLAGS="-fsanitize=fuzzer-no-link -O1" >/dev/null || fail "configure failed"
cmake --build "$build" -j "$jobs" --target ostrel_calculator VoMessages >/dev/null || fail "build failed"
clang++ -std=c++20 -g -O1 -fno-omit-frame-pointer -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=undefined \
  -I"$root/src" -I"$root/include/ostrel/platform" -I"$build/generated" \
  "$root/tests/fuzz/formula_fuzz.cpp" \
  "$build/src/calculator/libostrel_calculator.a" "$build/src/foundation/libostrel_foundation.a" \
  -L"$build/lib" -lOstrelPlatform -Wl,-rpath,"$build/lib" \
  -o "$build/formula_fuzz" || fail "linking the fuzz target failed"

# Errors load their texts from the message module, found through PATH.
export PATH="$build/messages:$PATH"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
mkdir -p "$build/corpus" "$build/findings"
echo "== fuzzing for $seconds s"
set +e
"$build/formula_fuzz" -max_total_time="$seconds" -timeout=10 -max_len=4096 -rss_limit_mb=2048 \
  -artifact_prefix="$build/findings/" -print_final_stats=1 \
  "$build/corpus" "$root/tests/fuzz/formula_corpus"
status=$?
set -e
if [ $status -ne 0 ]; then
  echo "fuzz-formula.sh: the fuzzer stopped with status $status; inputs are in $build/findings" >&2
  exit 1
fi
echo "== no findings in $seconds s"
