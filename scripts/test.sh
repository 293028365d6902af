#!/usr/bin/env bash
# The whole test suite: installs what is missing, then builds and tests twice, once plainly
# and once under AddressSanitizer and UndefinedBehaviorSanitizer, warnings as errors in both.
# Ends with ctest's summary of the last run.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

jobs=$(nproc)
run_suite() {
  local dir=$1
  shift
  cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVX_WERROR=ON "$@" >/dev/null
  cmake --build "$dir" -j "$jobs"
  ctest --test-dir "$dir" -j "$jobs" --output-on-failure
}

echo "== plain build"
run_suite build/test
echo "== AddressSanitizer + UndefinedBehaviorSanitizer build"
ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  run_suite build/asan -DVX_SANITIZE=address,undefined -DVX_BUILD_BENCHMARKS=OFF
