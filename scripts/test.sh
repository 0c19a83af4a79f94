#!/usr/bin/env bash
# Builds everything and runs the whole test suite.
#   scripts/test.sh             regular build in build/
#   scripts/test.sh --sanitize  AddressSanitizer + UBSan build in build-sanitize/
#   scripts/test.sh --tsan      ThreadSanitizer build in build-tsan/
#   scripts/test.sh --arch aarch64
#                               cross build for 64-bit ARM in build-aarch64/,
#                               tests run under qemu-aarch64
# The soak test (label soak) is a CI stage of its own: ctest --test-dir build -L soak
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

case "${1:-}" in
  --sanitize)
    dir="$ROOT/build-sanitize"
    build_into "$dir" -DROBOCOMM_SANITIZE=ON -DROBOCOMM_BUILD_BENCH=OFF
    ;;
  --tsan)
    dir="$ROOT/build-tsan"
    build_into "$dir" -DROBOCOMM_TSAN=ON -DROBOCOMM_BUILD_BENCH=OFF -DROBOCOMM_BUILD_FUZZ=OFF
    export TSAN_OPTIONS="suppressions=$ROOT/tests/tsan.supp second_deadlock_stack=1"
    ;;
  --arch)
    [ "${2:-}" = aarch64 ] || { echo "usage: scripts/test.sh --arch aarch64" >&2; exit 2; }
    PACKAGES+=("${AARCH64_PACKAGES[@]}")
    dir="$ROOT/build-aarch64"
    build_into "$dir" -DCMAKE_TOOLCHAIN_FILE="$ROOT/cmake/toolchains/aarch64-linux-gnu.cmake" -DROBOCOMM_BUILD_BENCH=OFF
    echo "console tests left out: robocomm-console runs on the operator's machine, so the robot's build has none"
    ;;
  *)
    dir="$ROOT/build"
    build_into "$dir"
    ;;
esac
echo "soak test (label soak) left out: minutes long, it is a CI stage of its own (ctest --test-dir build -L soak)"
echo "browser test (label browser) left out: it has its own script and CI stage (scripts/browser-test.sh)"
ctest --test-dir "$dir" --output-on-failure --parallel "$(nproc)" --timeout 300 -LE 'soak|browser'
