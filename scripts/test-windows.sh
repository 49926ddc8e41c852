#!/usr/bin/env bash
# Cross-builds the Windows module and its tests (scripts/build-windows.sh)
# and runs them under wine, in a wine prefix of their own inside the build
# tree, made on first use.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build-windows}
BUILD_DIR=$build bash "$root/scripts/build-windows.sh"
export WINEPREFIX=$build/wineprefix WINEDEBUG=-all
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  echo "creating the wine prefix $WINEPREFIX"
  wineboot --init >/dev/null 2>&1
fi
# One wine server for all the test programs, stopped when they are done.
wineserver --persistent
trap 'wineserver --kill || true' EXIT
(cd "$build" && ctest --output-on-failure)
