#!/usr/bin/env bash
# Builds and runs the sanitizer suites (CMake presets "asan", clang 14, and
# "tsan", GCC), each in its own build directory and only for the targets it
# needs:
#   ASan + UBSan + LSan: the limiter, SDK, framework, loader, plug-in,
#                        torture and editor tests (every call through the
#                        module too; 200 editor open/close cycles);
#   TSan:                the plug-in's threaded tests.
# Any sanitizer report fails the run.
#   ASAN_BUILD_DIR, TSAN_BUILD_DIR override build-asan/ and build-tsan/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
asan=${ASAN_BUILD_DIR:-$root/build-asan}
tsan=${TSAN_BUILD_DIR:-$root/build-tsan}
jobs=$(nproc)
cd "$root"

echo "== ASan + UBSan + LSan"
cmake --preset asan -B "$asan" >/dev/null
cmake --build "$asan" -j"$jobs" --target \
  dsp_tests sdk_tests shell_framework_tests vst_loader_tests shell_plugin_tests plugin_tests plugin_torture_tests \
  editor_tests
export ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1:check_initialization_order=1:strict_init_order=1
export UBSAN_OPTIONS=print_stacktrace=1
# Only the targets built above have tests; the others are placeholders.
(cd "$asan" && ctest --output-on-failure -j"$jobs" -E '_NOT_BUILT')

echo "== TSan"
cmake --preset tsan -B "$tsan" >/dev/null
cmake --build "$tsan" -j"$jobs" --target plugin_torture_tests
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
"$tsan/tests/robustness/plugin_torture_tests" --gtest_filter='PluginThreads.*'
echo "sanitizer suites: no report"
