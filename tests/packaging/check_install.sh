#!/usr/bin/env bash
# Installs the build into a scratch prefix and builds a small consumer against it: with
# find_package(VxCameraUtils), without a C++ standard of its own, by the build's compiler and by
# clang (whose default, C++14 in Debian 12, is older than the library needs), and with
# pkg-config. Every consumer must run. The licence is installed, and the tool with its man pages;
# the Python package, when built, imports from the prefix's dist-packages and finds the libraries.
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

for package in "$work"/prefix/lib/python3*/dist-packages/vxcameras; do
  [ -d "$package" ] || continue
  for file in __init__.py __init__.pyi py.typed; do
    [ -e "$package/$file" ] || { echo "vxcameras/$file not installed" >&2; exit 1; }
  done
  # From / and with only the prefix on the path, so that nothing of the build tree is found.
  (cd / && PYTHONPATH="$(dirname "$package")" /usr/bin/python3 -c '
import vxcameras, sys
assert vxcameras.__file__.startswith(sys.argv[1]), vxcameras.__file__
camera = vxcameras.Camera.default_dmc()
assert vxcameras.Transform.cam_to_mm(camera).point((1.0, 2.0)) == (1.0, 2.0)
' "$package")
done

export PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig:$work/prefix/lib/x86_64-linux-gnu/pkgconfig"
libdir=$(pkg-config --variable=libdir VxCameraUtils)
# shellcheck disable=SC2046
"$cxx" -std=c++17 "$consumer/main.cpp" -o "$work/pkg-consumer" \
  $(pkg-config --cflags --libs VxCameraUtils) -Wl,-rpath,"$libdir"
"$work/pkg-consumer"
