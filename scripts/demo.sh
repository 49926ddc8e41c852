#!/usr/bin/env bash
# Sets everything up on a fresh Debian 12 machine, builds, and runs the main
# job: the generated demo through the limiter, with its report.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/install-deps.sh"
bash "$root/scripts/build.sh"
build=${BUILD_DIR:-$root/build}
cd "$build"
exec "$build/host/cli/palisorne" demo
