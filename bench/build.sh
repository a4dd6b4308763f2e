#!/usr/bin/env bash
# The one build tree of the benchmarks, build/bench (Release, with the benchmarks): configures
# it and builds only the TARGETs a benchmark script names.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build/bench -DCMAKE_BUILD_TYPE=Release -DTARSEL_BENCH=ON >/dev/null
targets=()
for target in "$@"; do targets+=(--target "$target"); done
cmake --build build/bench -j"$(nproc)" "${targets[@]}" >/dev/null
