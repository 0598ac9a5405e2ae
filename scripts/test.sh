#!/usr/bin/env bash
# Set-up, then every test: the plain build, the AddressSanitizer+UBSan build,
# and the concurrency tests under ThreadSanitizer.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
if [ "${PALM_SKIP_SETUP:-0}" != 1 ]; then bash scripts/setup.sh; fi
jobs=$(nproc 2>/dev/null || echo 2)

echo "== plain build"
bash scripts/build.sh build
(cd build && ctest --output-on-failure -j "$jobs")

echo "== AddressSanitizer + UndefinedBehaviorSanitizer"
bash scripts/build.sh build-asan address -DPALM_BUILD_BENCH=OFF
(cd build-asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --output-on-failure -j "$jobs")

echo "== ThreadSanitizer (concurrency tests)"
bash scripts/build.sh build-tsan thread -DPALM_BUILD_BENCH=OFF -DPALM_BUILD_TOOLS=OFF
(cd build-tsan && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
  ctest --output-on-failure -j "$jobs" -L concurrency)
