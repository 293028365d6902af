#!/usr/bin/env bash
# Installs the build into a scratch prefix and builds a small consumer against it twice:
# with find_package(VxCameraUtils) and with pkg-config. Both consumers must run.
set -euo pipefail
build=$1 consumer=$2 work=$3 cxx=$4
rm -rf "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$work/prefix" >/dev/null

cmake -S "$consumer" -B "$work/cmake-consumer" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake-consumer" >/dev/null
"$work/cmake-consumer/consumer"

export PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig:$work/prefix/lib/x86_64-linux-gnu/pkgconfig"
libdir=$(pkg-config --variable=libdir VxCameraUtils)
# shellcheck disable=SC2046
"$cxx" -std=c++17 "$consumer/main.cpp" -o "$work/pkg-consumer" \
  $(pkg-config --cflags --libs VxCameraUtils) -Wl,-rpath,"$libdir"
"$work/pkg-consumer"
