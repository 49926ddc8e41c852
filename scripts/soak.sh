#!/usr/bin/env bash
# The soak run: HOURS (default 1) of generated loud material in all, through
# every factory program at 44.1, 48 and 96 kHz (51 runs sharing the hours),
# every output sample checked (finite, within the clip level), each run
# followed by two minutes of silence whose CPU time per block must not grow
# (no denormal slow-down). A Release build in build/ (or $BUILD_DIR); takes
# about one minute of one core for the silences and two per hour of material.
#   scripts/soak.sh [HOURS]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j"$(nproc)" --target plugin_soak
"$build/tests/robustness/plugin_soak" "${1:-1}" 120
