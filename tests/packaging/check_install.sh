#!/usr/bin/env bash
# Installs the build into a scratch prefix and builds a small consumer against it: with
# find_package(VxCameraUtils), without a C++ standard of its own, by the build's compiler and by
# clang (whose default, C++14 in Debian 12, is older than the library needs), and with
# pkg-config. Every consumer must run. The licence is installed, and the tool with its man pages.
set -euo pipefail
build=$1 consumer=$2 work=$3 cxx=$4
rm -rf "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$work/prefix" >/dev/null

cmake -S "$consumer" -B "$work/cmake-consumer" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake-consumer" >/dev/null
"$work/cmake-consumer/consumer"

if command -v clang++ >/dev/null; then
  cmake -S "$consumer" -B "$work/cmake-consumer-clang" -G Ninja -DCMAKE_CXX_COMPILER=clang++ \
    -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
  cmake --build "$work/cmake-consumer-clang" >/dev/null
  "$work/cmake-consumer-clang/consumer"
fi

[ -s "$work/prefix/share/doc/VxCameraUtils/LICENSE" ] || { echo "share/doc/VxCameraUtils/LICENSE not installed" >&2; exit 1; }

if [ -e "$work/prefix/bin/vxcam" ]; then
  for page in vxcam.1 vxcam-show.1; do
    [ -s "$work/prefix/share/man/man1/$page" ] || { echo "share/man/man1/$page not installed" >&2; exit 1; }
  done
fi

export PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig:$work/prefix/lib/x86_64-linux-gnu/pkgconfig"
libdir=$(pkg-config --variable=libdir VxCameraUtils)
# shellcheck disable=SC2046
"$cxx" -std=c++17 "$consumer/main.cpp" -o "$work/pkg-consumer" \
  $(pkg-config --cflags --libs VxCameraUtils) -Wl,-rpath,"$libdir"
"$work/pkg-consumer"
