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
echo "soak test (label soak) left out: minutes long, it is a CI stage of its own (ctest --test-dir build -L soak)"
ctest --test-dir "$dir" --output-on-failure --parallel "$(nproc)" --timeout 300 -LE soak
