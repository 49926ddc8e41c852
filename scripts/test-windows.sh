#!/usr/bin/env bash
# Cross-builds the Windows module and its tests (scripts/build-windows.sh)
# and runs them under wine, in a wine prefix of their own inside the build
# tree, made on first use.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build-windows}
BUILD_DIR=$build bash "$root/scripts/build-windows.sh"
export WINEPREFIX=$build/wineprefix WINEDEBUG=-all
[ -f "$WINEPREFIX/system.reg" ] || echo "creating the wine prefix $WINEPREFIX"
# One wine server for all the test programs, stopped when they are done. Its
# service processes start here, away from the test programs' output pipes,
# which they would otherwise hold open.
wineserver --persistent
trap 'wineserver --kill || true' EXIT
wineboot --init >/dev/null 2>&1
(cd "$build" && ctest --output-on-failure)
