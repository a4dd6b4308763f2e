#!/usr/bin/env bash
# Builds the fuzz targets with clang (build/fuzz), runs every kept input through them, then
# fuzzes each target for SECONDS (default 60) and prints its executions and crashes.
# Crashing inputs are written to build/fuzz/crashes/<target>/; new coverage to
# build/fuzz/corpus/<target>/ (the committed seeds in fuzz/corpus/ stay as they are).
# Exits non-zero when a kept input or a fuzzing run crashed.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
build=build/fuzz
CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARSEL_FUZZ=ON >/dev/null
cmake --build "$build" --target fuzzers -j"$(nproc)"
ctest --test-dir "$build" -R '_kept_inputs$' --output-on-failure

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
failed=0
printf '%-24s %12s %8s\n' target executions crashes
for fuzzer in "$build"/fuzzers/*; do
  name=$(basename "$fuzzer")
  corpus=$build/corpus/$name crashes=$build/crashes/$name log=$build/logs/$name.log
  rm -rf "$crashes"
  mkdir -p "$corpus" "$crashes" "$(dirname "$log")"
  status=0
  "$fuzzer" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=4096 -print_final_stats=1 \
    -artifact_prefix="$crashes/" "$corpus" "fuzz/corpus/$name" >"$log" 2>&1 || status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  found=$(find "$crashes" -type f | wc -l)
  printf '%-24s %12s %8s\n' "$name" "${runs:-?}" "$found"
  if [ "$status" -ne 0 ] || [ "$found" -ne 0 ]; then
    failed=1
    echo "  see $log" >&2
  fi
done
exit "$failed"
