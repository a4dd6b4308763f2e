#!/usr/bin/env bash
# The whole test suite, on a fresh Debian 12 machine: dependencies, format check, then
# build and run every test twice, plainly and under ASan + UBSan, then the Debian packages
# installed into a scratch root, then a short run of every fuzz target.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh packaging
scripts/check-format.sh
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
for variant in release asan; do
  echo "=== $variant ==="
  scripts/build.sh "$variant"
  ctest --test-dir "build/$variant" -j"$(( $(nproc) * 2 ))" --output-on-failure --timeout 600
done
echo "=== packages ==="
scripts/install-test.sh
echo "=== fuzz ==="
scripts/fuzz.sh 15
