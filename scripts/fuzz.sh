#!/usr/bin/env bash
# Fuzzes the plug-in through its binary interface for SECONDS (default 150)
# with libFuzzer, AddressSanitizer and UndefinedBehaviorSanitizer (the
# "asan" preset's build), starting from the corpus of earlier runs (every
# input reads as a host session, so an empty corpus starts as well). A
# crash, a sanitizer report or a broken contract (a sample not finite or
# above the ceiling, a text past its limit ...) stops it with the input
# saved as fuzz-crash-* in the build directory.
#   scripts/fuzz.sh [SECONDS] [WORKERS]
#   ASAN_BUILD_DIR overrides build-asan/; FUZZ_CORPUS the corpus directory.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-150}
workers=${2:-1}
build=${ASAN_BUILD_DIR:-$root/build-asan}
corpus=${FUZZ_CORPUS:-$build/fuzz-corpus}
cd "$root"

cmake --preset asan -B "$build" >/dev/null
cmake --build "$build" -j"$(nproc)" --target plugin_fuzzer
mkdir -p "$corpus"

export ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1
options=(-max_total_time="$seconds" -max_len=4096 -timeout=30 -rss_limit_mb=4096 -print_final_stats=1
         -artifact_prefix="$build/fuzz-crash-")
if [ "$workers" -gt 1 ]; then options+=(-fork="$workers"); fi
log="$build/fuzz.log"
status=0
"$build/tests/robustness/plugin_fuzzer" "${options[@]}" "$corpus" \
  >"$log" 2>&1 || status=$?
grep -E 'ERROR|violated|runtime error|SUMMARY|Test unit written' "$log" || true
# The last status line of each worker carries its execution count.
runs=$(grep -E '^stat::number_of_executed_units' "$log" | awk '{s += $2} END {print s + 0}')
echo "fuzz: $runs executions in $seconds s ($workers worker(s)), corpus of $(ls "$corpus" | wc -l) inputs, exit status $status"
exit "$status"
