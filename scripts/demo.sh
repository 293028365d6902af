#!/usr/bin/env bash
# The main job: installs what is missing, builds, and runs the library's demonstration.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DVX_BUILD_TESTS=OFF \
  -DVX_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build/release -j "$(nproc)" >/dev/null
build/release/examples/vx_hello
