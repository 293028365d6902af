#!/usr/bin/env bash
# The whole test suite: installs what is missing, then builds and tests
#   1. plainly, warnings as errors (with the packaging checks and the Python module's tests,
#      which only this stage builds: see VX_BUILD_PYTHON in CMakeLists.txt);
#   2. under ThreadSanitizer, the tests labelled "concurrency";
#   3. with clang and libFuzzer, short runs of the fuzz targets over their corpora;
#   4. under AddressSanitizer and UndefinedBehaviorSanitizer, with assert() active, every test.
# Ends with ctest's summary of the last run.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

jobs=$(nproc)
configure_and_build() {
  local dir=$1
  shift
  cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVX_WERROR=ON "$@" >/dev/null
  cmake --build "$dir" -j "$jobs"
}

echo "== plain build"
configure_and_build build/test
ctest --test-dir build/test -j "$jobs" --output-on-failure

echo "== ThreadSanitizer build: concurrency tests"
configure_and_build build/tsan -DVX_SANITIZE=thread -DVX_BUILD_BENCHMARKS=OFF
TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
  ctest --test-dir build/tsan -j "$jobs" --output-on-failure -L concurrency

echo "== fuzz smoke runs (clang, libFuzzer, AddressSanitizer + UndefinedBehaviorSanitizer)"
CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DVX_WERROR=ON -DVX_BUILD_FUZZERS=ON -DVX_SANITIZE=address,undefined -DVX_BUILD_TESTS=OFF \
  -DVX_BUILD_BENCHMARKS=OFF -DVX_BUILD_TOOLS=OFF >/dev/null
cmake --build build/fuzz -j "$jobs"
ASAN_OPTIONS=detect_leaks=1 ctest --test-dir build/fuzz -R '_fuzzer_smoke$' --output-on-failure

echo "== AddressSanitizer + UndefinedBehaviorSanitizer build, assertions on: every test"
configure_and_build build/asan -DVX_SANITIZE=address,undefined -DVX_ASSERTIONS=ON \
  -DVX_BUILD_BENCHMARKS=OFF
ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir build/asan -j "$jobs" --output-on-failure
