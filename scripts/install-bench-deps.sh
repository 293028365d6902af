#!/usr/bin/env bash
# Installs what the side-by-side benchmark bench/vs_peers needs on top of scripts/install-deps.sh:
# OpenCV (the peer it is measured against) and valgrind (for its callgrind mode), from Debian's
# archive only. The test suite does not need any of it. Does nothing when everything is there
# already. Run as root (or with sudo available).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh libopencv-dev valgrind
