#!/usr/bin/env bash
# Set-up, then every test: the plain build (with the Java client test), the
# aarch64 cross build with its tests under emulation, the
# AddressSanitizer+UBSan build with a check that leak detection is really on,
# the concurrency tests under ThreadSanitizer, and a bounded libFuzzer run of
# each decoder of outside bytes.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
if [ "${PALM_SKIP_SETUP:-0}" != 1 ]; then bash scripts/setup.sh; fi
jobs=$(nproc 2>/dev/null || echo 2)

echo "== plain build"
bash scripts/build.sh build
(cd build && ctest --output-on-failure -j "$jobs")

echo "== install, outside consumers, Debian package"
bash scripts/check_install.sh build

echo "== aarch64: cross build, every test under qemu-aarch64, the native tool compared"
bash scripts/cross.sh aarch64 --test
# palm.jar carries the aarch64 library beside the x86-64 one.
cmake build -DPALM_JAR_AARCH64_LIBRARY="$root/build-aarch64/libpalm.so" >/dev/null
cmake --build build -j "$jobs"
(cd build && ctest --output-on-failure -L java)

echo "== AddressSanitizer + UndefinedBehaviorSanitizer"
bash scripts/build.sh build-asan address -DPALM_BUILD_BENCH=OFF
(cd build-asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --output-on-failure -j "$jobs")

echo "== leak detection"
# The ASan run above reports leaks only if LeakSanitizer can run here (it
# needs to stop the process's threads); prove it on a program that leaks, and
# fall back to valgrind on the plain test programs where it cannot.
canary=build-asan/leak_canary
printf '#include <cstdlib>\nvoid* volatile kept;\nint main() { kept = std::malloc(77); kept = nullptr; return 0; }\n' \
  > "$canary.cpp"
g++ -fsanitize=address -g -o "$canary" "$canary.cpp"
canary_report=$(ASAN_OPTIONS=detect_leaks=1 "$canary" 2>&1 || true)
if [ "${PALM_LEAK_CHECK:-}" != valgrind ] &&
   grep -q "LeakSanitizer: detected memory leaks" <<<"$canary_report"; then
  echo "LeakSanitizer is active: the ASan test run above checked for leaks"
else
  echo "LeakSanitizer cannot run here: valgrind --leak-check=full on the plain test programs"
  for program in build/tests/palm_tests_*; do
    [ -x "$program" ] || continue
    # Bounded: valgrind is some 50 times slower than the programs themselves.
    timeout 600 valgrind -q --leak-check=full --errors-for-leak-kinds=definite,indirect \
      --error-exitcode=1 "$program" --gtest_brief=1 >/dev/null
    echo "$(basename "$program"): no leak"
  done
fi

echo "== ThreadSanitizer (concurrency tests)"
# Only the concurrency program runs here, so only it is built.
PALM_BUILD_TARGET=palm_tests_concurrency bash scripts/build.sh build-tsan thread \
  -DPALM_BUILD_BENCH=OFF -DPALM_BUILD_TOOLS=OFF -DPALM_BUILD_JAVA=OFF -DPALM_BUILD_PYTHON=OFF
(cd build-tsan && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
  ctest --output-on-failure -j "$jobs" -L concurrency)

echo "== libFuzzer (feature text and record decoders)"
cmake -S fuzz -B build-fuzz -DCMAKE_CXX_COMPILER=clang++ >/dev/null
cmake --build build-fuzz -j "$jobs"
for target in unpack_feature user_palm_feature_read; do
  # New inputs go to a scratch directory; the committed seeds stay as they are.
  work=build-fuzz/corpus-$target
  rm -rf "$work" && mkdir -p "$work"
  if ! "build-fuzz/fuzz_$target" -max_total_time="${PALM_FUZZ_SECONDS:-30}" -max_len=4096 \
       -timeout=10 -artifact_prefix=build-fuzz/ "$work" "fuzz/corpus/$target" >"build-fuzz/$target.log" 2>&1; then
    tail -n 60 "build-fuzz/$target.log"
    echo "fuzz_$target: FAILED (the failing input is in build-fuzz/)"
    exit 1
  fi
  echo "fuzz_$target: $(grep -o 'Done [0-9]* runs in [0-9]* second(s)' "build-fuzz/$target.log")"
done
