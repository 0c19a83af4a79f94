#!/usr/bin/env bash
# Installs the built library into a scratch prefix, then builds and runs a
# small host program against it twice: through find_package and through
# pkg-config.
#   check.sh BUILD_DIR
set -euo pipefail
build=$1
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
libdir=$(dirname "$(find "$scratch/prefix" -name 'librobocomm.so' | head -1)")

cmake -S "$here/consumer" -B "$scratch/cmake-build" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/cmake-build" >/dev/null
LD_LIBRARY_PATH=$libdir "$scratch/cmake-build/host"

export PKG_CONFIG_PATH=$libdir/pkgconfig
# shellcheck disable=SC2046
g++ -std=c++17 "$here/consumer/host.cpp" $(pkg-config --cflags --libs robocomm) -o "$scratch/pkg-config-host"
LD_LIBRARY_PATH=$libdir "$scratch/pkg-config-host"
