#!/usr/bin/env bash
# Cross-builds the Windows module and its tests (scripts/build-windows.sh)
# and runs them under wine, in a wine prefix of their own inside the build
# tree, made on first use, with windows on an X server of their own (Xvfb).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build-windows}
BUILD_DIR=$build bash "$root/scripts/build-windows.sh"
export WINEPREFIX=$build/wineprefix WINEDEBUG=-all
[ -f "$WINEPREFIX/system.reg" ] || echo "creating the wine prefix $WINEPREFIX"
# The wine server runs in the prefix, so the folder must exist before it starts.
mkdir -p "$WINEPREFIX"
displayFile=$(mktemp)
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$displayFile" 2>/dev/null &
xvfb=$!
for _ in $(seq 100); do [ -s "$displayFile" ] && break; sleep 0.1; done
export DISPLAY=:$(cat "$displayFile")
rm -f "$displayFile"
# One wine server for all the test programs, stopped when they are done. Its
# service processes start here, away from the test programs' output pipes,
# which they would otherwise hold open.
wineserver --persistent
trap 'wineserver --kill || true; kill $xvfb' EXIT
wineboot --init >/dev/null 2>&1
(cd "$build" && ctest --output-on-failure)
