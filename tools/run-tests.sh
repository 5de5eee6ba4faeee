#!/usr/bin/env bash
# Builds Ostrel from nothing and runs every test: installs the Debian
# packages the build needs, configures, builds, runs the test suite, then
# installs the package and builds an outside host project against it.
#
#   tools/run-tests.sh              normal build in build/
#   tools/run-tests.sh --sanitize   AddressSanitizer + UBSan build in build-asan/
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
mode=normal
[ "${1:-}" = "--sanitize" ] && mode=sanitize
jobs=$(nproc 2>/dev/null || echo 2)

packages=(cmake g++ make pkgconf libgtest-dev libbenchmark-dev libmuparser-dev mingw-w64-tools libwine-dev libffi-dev libcli11-dev nlohmann-json3-dev chromium)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "== installing ${missing[*]}"
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo=sudo
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -q
  $sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
fi

if [ "$mode" = sanitize ]; then
  build="$root/build-asan"
  options=(-DOSTREL_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug)
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
else
  build="$root/build"
  # The benchmarks are built (not run) so that they keep compiling.
  options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DOSTREL_BUILD_BENCHMARKS=ON)
fi

echo "== configure ($mode)"
cmake -S "$root" -B "$build" -DOSTREL_WERROR=ON "${options[@]}"
echo "== build"
cmake --build "$build" -j "$jobs"
echo "== test"
# The results per test also go to a file, which the Windows check compares
# with its own.
ctest --test-dir "$build" --output-on-failure -j "$jobs" --timeout 300 --output-junit "$build/test-results.xml"

if [ "$mode" = normal ]; then
  echo "== install and build an outside host against the package"
  stage=$(mktemp -d)
  trap 'rm -rf "$stage"' EXIT
  cmake --install "$build" --prefix "$stage/prefix" >/dev/null
  cmake -S "$root/tests/consumer" -B "$stage/consumer" -DCMAKE_PREFIX_PATH="$stage/prefix" >/dev/null
  cmake --build "$stage/consumer" >/dev/null
  (cd "$stage" && "$stage/consumer/consumer")
  # The same host through pkg-config.
  PKG_CONFIG_PATH="$stage/prefix/lib/pkgconfig" \
    g++ -std=c++20 "$root/tests/consumer/main.cpp" -o "$stage/consumer-pc" \
    $(PKG_CONFIG_PATH="$stage/prefix/lib/pkgconfig" pkg-config --cflags --libs ostrel)
  (cd "$stage" && "$stage/consumer-pc")
fi
echo "== all tests passed ($mode)"
