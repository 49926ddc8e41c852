#!/usr/bin/env bash
# Configures and builds the project (Release) into build/, or the directory in $BUILD_DIR.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=${BUILD_TYPE:-Release} "$@" >/dev/null
cmake --build "$build" -j"$(nproc)"
