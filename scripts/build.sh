#!/usr/bin/env bash
# Configures and builds the project (Release) into build/, or the directory in
# $BUILD_DIR; only the target $BUILD_TARGET when it is set.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=${BUILD_TYPE:-Release} "$@" >/dev/null
cmake --build "$build" -j"$(nproc)" ${BUILD_TARGET:+--target "$BUILD_TARGET"}
