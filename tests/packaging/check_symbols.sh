#!/usr/bin/env bash
# The shared library exports its start and stop under their plain names and hides its
# private units: the module object, the enumeration tables and the conversion templates.
# No library exports the standard library's template instantiations.
#   check_symbols.sh SYSTEM_LIBRARY [HOST_LIBRARY...]
set -euo pipefail
lib=$1
raw=$(nm -D --defined-only "$lib")
symbols=$(c++filt <<<"$raw")
status=0
for name in Init_VxCameraUtils Deinit_VxCameraUtils; do
  # Searched in a stored copy: grep -q closing a pipe early would fail the pipeline.
  if ! grep -Eq " T ${name}\$" <<<"$raw"; then
    echo "missing unmangled export: $name" >&2
    status=1
  fi
done
for private in VxModule_Initializer CameraTypeTable DigitalCameraOriginTable \
  CameraDistortionTypeTable CameraDistortionDirectionTable ResolutionUnitsTable CamRotateTable \
  TransformTypeTable EnumToTextE_do TextToEnumE_do UserTextOf SaveDistortionTable \
  LoadDistortionTable LoadMarksE; do
  if grep -q "$private" <<<"$symbols"; then
    echo "private name exported: $(grep "$private" <<<"$symbols" | head -n 1)" >&2
    status=1
  fi
done
# The public interface is there: one conversion, one user text, one record method.
for public in 'CameraTypeToTextE' 'CamRotateToUserText' 'TVxCameraInfo::operator=='; do
  grep -q "$public" <<<"$symbols" || { echo "missing export: $public" >&2; status=1; }
done
# Every library: no weak copies of std:: templates, typeinfo or vtables among the exports.
for library in "$@"; do
  std=$(nm -D --defined-only "$library" | awk '{print $3}' |
    grep -E '^_Z(N|NK|T[ISV])?St' || true)
  if [ -n "$std" ]; then
    echo "$(basename "$library") exports standard-library symbols:" >&2
    c++filt <<<"$std" | head -n 5 >&2
    status=1
  fi
done
exit $status
