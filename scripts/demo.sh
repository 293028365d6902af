#!/usr/bin/env bash
# The main job: installs what is missing, builds the libraries, the command-line tool and the
# examples, and runs the tool's tour over the example files (vxcam demo). The files it writes
# go to build/vxcam-demo.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DVX_BUILD_TESTS=OFF \
  -DVX_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build/release -j "$(nproc)" >/dev/null
build/release/tools/vxcam/vxcam demo -o build/vxcam-demo "$@"
