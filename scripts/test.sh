#!/usr/bin/env bash
# Builds everything and runs the whole test suite.
#   scripts/test.sh             regular build in build/
#   scripts/test.sh --sanitize  AddressSanitizer + UBSan build in build-sanitize/
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

if [ "${1:-}" = "--sanitize" ]; then
  dir="$ROOT/build-sanitize"
  build_into "$dir" -DROBOCOMM_SANITIZE=ON -DROBOCOMM_BUILD_BENCH=OFF
else
  dir="$ROOT/build"
  build_into "$dir"
fi
# The browser test has its own script and CI stage (scripts/browser-test.sh).
ctest --test-dir "$dir" --output-on-failure --parallel "$(nproc)" --timeout 300 --label-exclude browser
