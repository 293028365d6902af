#!/usr/bin/env bash
# A build for installation: configured without the tests (and so without their hooks into the
# settings reader and writer and the dependency library), built, and installed into a scratch
# prefix. Its libraries export the public interface alone, and its package configuration
# defines nothing for the tests.
#   check_release.sh SOURCE_DIR WORK_DIR
set -euo pipefail
source=$1 work=$2
here=$(cd "$(dirname "$0")" && pwd)
rm -rf "$work"
mkdir -p "$work"
cmake -S "$source" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DVX_BUILD_TESTS=OFF -DVX_BUILD_BENCHMARKS=OFF -DVX_BUILD_TOOLS=OFF -DVX_BUILD_PYTHON=OFF \
  >/dev/null
cmake --build "$work/build" -j "$(nproc)" >/dev/null
cmake --install "$work/build" --prefix "$work/prefix" >/dev/null

libdir=$(dirname "$(find "$work/prefix" -name libVxCameraUtils.so -print -quit)")
[ -n "$libdir" ] && [ "$libdir" != . ] || { echo "libVxCameraUtils.so not installed" >&2; exit 1; }
libraries=("$libdir"/libVx*.so)
"$here/check_symbols.sh" "$libdir/libVxCameraUtils.so" "${libraries[@]}"

status=0
for library in "${libraries[@]}"; do
  hooks=$(nm -D --defined-only "$library" | c++filt |
    grep -E 'FailAtOperation|OperationCount|VxCloudDetector_(StartCount|StopCount|ResetCounts)' ||
    true)
  if [ -n "$hooks" ]; then
    echo "$(basename "$library") exports test hooks:" >&2
    echo "$hooks" | head -n 5 >&2
    status=1
  fi
done
if grep -rq VX_TEST_HOOKS "$work/prefix" --include='*.cmake' --include='*.pc'; then
  echo "the installed package configuration defines VX_TEST_HOOKS" >&2
  status=1
fi
exit $status
