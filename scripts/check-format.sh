#!/usr/bin/env bash
# Fails when a C or C++ source differs from what clang-format makes of it.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files -z '*.cpp' '*.h' '*.c' | xargs -0 -r clang-format --dry-run --Werror
