#!/usr/bin/env bash
# Builds everything and runs the whole test suite.
#   scripts/test.sh             regular build in build/
#   scripts/test.sh --sanitize  AddressSanitizer + UBSan build in build-sanitize/
#   scripts/test.sh --arch aarch64
#                               cross build for 64-bit ARM in build-aarch64/,
#                               tests run under qemu-aarch64
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

skip=()
if [ "${1:-}" = "--sanitize" ]; then
  dir="$ROOT/build-sanitize"
  build_into "$dir" -DROBOCOMM_SANITIZE=ON -DROBOCOMM_BUILD_BENCH=OFF
elif [ "${1:-}" = "--arch" ] && [ "${2:-}" = "aarch64" ]; then
  PACKAGES+=("${AARCH64_PACKAGES[@]}")
  dir="$ROOT/build-aarch64"
  build_into "$dir" -DCMAKE_TOOLCHAIN_FILE="$ROOT/cmake/toolchains/aarch64-linux-gnu.cmake" -DROBOCOMM_BUILD_BENCH=OFF
  echo "Tests labelled soak are left out here: long by design, they take many times longer under emulation."
  skip=(--label-exclude soak)
else
  dir="$ROOT/build"
  build_into "$dir"
fi
ctest --test-dir "$dir" --output-on-failure --parallel "$(nproc)" --timeout 300 "${skip[@]}"
