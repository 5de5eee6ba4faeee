#!/usr/bin/env bash
# Builds the read-write lock's tests and the platform's event and lock tests
# with ThreadSanitizer in build-tsan/ and runs them; the first data race or
# lock-order problem fails the run.
#
#   tools/run-tsan.sh
#
# Exit status: 0 when every test passed with no report, nonzero otherwise.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build-tsan"
jobs=$(nproc 2>/dev/null || echo 2)
targets=(rwlock_read_write_lock_test rwlock_read_write_lock_component_test rwlock_stress_test
         platform_event_test platform_critical_section_test)

echo "== configure (thread sanitizer)"
cmake -S "$root" -B "$build" -DOSTREL_WERROR=ON -DOSTREL_TSAN=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
echo "== build"
cmake --build "$build" -j "$jobs" --target "${targets[@]}"

export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 ${TSAN_OPTIONS:-}"
# ThreadSanitizer's shadow memory cannot cope with the widest address-space
# randomisation some kernels use; without randomisation it always can.
run=()
if [ "$(cat /proc/sys/vm/mmap_rnd_bits 2>/dev/null || echo 0)" -gt 28 ] && command -v setarch >/dev/null; then
  run=(setarch "$(uname -m)" -R)
fi

echo "== test"
"${run[@]}" ctest --test-dir "$build" --output-on-failure -j "$jobs" --timeout 300 \
  -R '^(ReadWriteLock|Event\.|CriticalSection\.|Interlocked\.|Thread\.)'
echo "== no data races found"
