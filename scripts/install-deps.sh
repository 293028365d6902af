#!/usr/bin/env bash
# Installs what building and testing VxCameraUtils needs, from Debian's archive only, and any
# further Debian packages named as arguments (other scripts name theirs so).
# Does nothing when everything is there already. Run as root (or with sudo available).
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev
  libyaml-cpp-dev libcli11-dev nlohmann-json3-dev librsvg2-bin libpng-dev
  clang libclang-rt-14-dev
  python3-jsonschema python3-yaml help2man
  libpugixml-dev libopencv-dev libgdal-dev
  pybind11-dev python3-dev python3-numpy python3-pytest mypy
  "$@"
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "Installing: ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
