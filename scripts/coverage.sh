#!/usr/bin/env bash
# Line and branch coverage of src/ and host/ by the whole test suite, with gcovr.
# Writes build/coverage/report/index.html (per file) and prints the summaries.
#
# Usage: scripts/coverage.sh
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
if ! command -v gcovr >/dev/null; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get install -y -qq --no-install-recommends gcovr >/dev/null
fi

dir=build/coverage
# One version of the batch loops (VX_NO_BATCH_CLONES): a processor runs only one of the AVX2,
# AVX-512 and baseline clones, and the others would count as code no test reaches.
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVX_BUILD_BENCHMARKS=OFF \
  -DCMAKE_CXX_FLAGS="--coverage -fno-inline -fprofile-update=atomic -DVX_NO_BATCH_CLONES" \
  -DCMAKE_EXE_LINKER_FLAGS="--coverage" \
  -DCMAKE_SHARED_LINKER_FLAGS="--coverage" >/dev/null
cmake --build "$dir" -j "$(nproc)"
find "$dir" -name '*.gcda' -delete
ctest --test-dir "$dir" -j "$(nproc)" --output-on-failure

mkdir -p "$dir/report"
# Exceptions thrown by the standard library and the compiler's own branches for them are not
# behaviour of ours: count only branches of our own statements.
common=(--root . --gcov-ignore-parse-errors --filter 'src/' --filter 'host/' --exclude 'host/resources/tools/'
  --exclude-throw-branches --exclude-unreachable-branches)
gcovr "${common[@]}" --html-details "$dir/report/index.html" "$dir"
echo "== src/"
gcovr --root . --gcov-ignore-parse-errors --filter 'src/' --exclude-throw-branches --exclude-unreachable-branches \
  --print-summary "$dir" | tail -n 3
echo "== host/"
gcovr --root . --gcov-ignore-parse-errors --filter 'host/' --exclude 'host/resources/tools/' --exclude-throw-branches \
  --exclude-unreachable-branches --print-summary "$dir" | tail -n 3
