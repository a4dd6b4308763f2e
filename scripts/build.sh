#!/usr/bin/env bash
# Configures and builds one variant into build/<variant>: release (default) or asan. With
# TARGET names, builds only those (and what they need); without, everything.
set -euo pipefail
cd "$(dirname "$0")/.."
variant=${1:-release}
case "$variant" in
  release) extra=(-DCMAKE_BUILD_TYPE=RelWithDebInfo) ;;
  asan) extra=(-DCMAKE_BUILD_TYPE=Debug -DTARSEL_SANITIZE=ON) ;;
  *) echo "unknown variant: $variant" >&2; exit 2 ;;
esac
targets=()
for target in "${@:2}"; do targets+=(--target "$target"); done
cmake -S . -B "build/$variant" "${extra[@]}" >/dev/null
cmake --build "build/$variant" -j"$(nproc)" "${targets[@]}"
