#!/usr/bin/env bash
# Sets everything up on a fresh Debian 12 machine, builds, and runs every test.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/install-deps.sh"
bash "$root/scripts/build.sh"
cd "${BUILD_DIR:-$root/build}"
ctest --output-on-failure -j"$(nproc)"
