#!/usr/bin/env bash
# Cross-builds the Windows module (KW_Palisorne.dll) and its tests with
# Debian's mingw-w64 into build-windows/, or the directory in $BUILD_DIR; only
# the target $BUILD_TARGET when it is set.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build-windows}
cmake -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" \
  -DCMAKE_BUILD_TYPE=${BUILD_TYPE:-Release} "$@" >/dev/null
cmake --build "$build" -j"$(nproc)" ${BUILD_TARGET:+--target "$BUILD_TARGET"}
