#!/usr/bin/env bash
# Sets everything up on a fresh Debian 12 machine, builds, and runs every
# test: the Release suite, the Windows module's suite under wine, then the
# sanitizer suites (ASan + UBSan + LSan, TSan) and a short fuzzing run of the
# plug-in through its binary interface.
#   FUZZ_SECONDS sets the fuzzing time (default 120; 0 skips it).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/install-deps.sh"
bash "$root/scripts/build.sh"
(cd "${BUILD_DIR:-$root/build}" && ctest --output-on-failure -j"$(nproc)")
BUILD_DIR=$root/build-windows bash "$root/scripts/test-windows.sh"
bash "$root/scripts/check-sanitizers.sh"
if [ "${FUZZ_SECONDS:-120}" -gt 0 ]; then
  bash "$root/scripts/fuzz.sh" "${FUZZ_SECONDS:-120}"
fi
