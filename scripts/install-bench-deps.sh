#!/usr/bin/env bash
# Installs what the side-by-side benchmark bench/vs_peers needs on top of scripts/install-deps.sh:
# OpenCV (the peer it is measured against) and valgrind (for its callgrind mode), from Debian's
# archive only. The test suite does not need any of it. Does nothing when everything is there
# already. Run as root (or with sudo available).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

packages=(libopencv-dev valgrind)

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
