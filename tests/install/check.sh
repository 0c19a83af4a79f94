#!/usr/bin/env bash
# Installs the built library into a scratch tree, then builds and runs a small
# host program against it twice: through find_package and through pkg-config.
#   check.sh install  BUILD_DIR CXX [TOOLCHAIN_FILE [EMULATOR...]]
#     the tree of `cmake --install` under a custom prefix
#   check.sh packages BUILD_DIR CXX [TOOLCHAIN_FILE [EMULATOR...]]
#     the Debian packages of `cpack -G DEB`, unpacked with dpkg -x
# A cross build passes its toolchain file and the emulator its programs run in.
set -euo pipefail
mode=$1 build=$2 cxx=$3 toolchain=${4:-}
emulator=("${@:5}")
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
  echo "$*" >&2
  exit 1
}

# unpack_packages ROOT: builds the three packages and checks each one's
# architecture and files before unpacking it into ROOT.
unpack_packages() {
  local root=$1 arch
  arch=$(sed -n 's/^set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE "\(.*\)")$/\1/p' "$build/CPackConfig.cmake")
  [ -n "$arch" ] || arch=$(dpkg --print-architecture)
  cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch" >/dev/null
  local -A expected=(
    [librobocomm0]='/usr/lib/librobocomm\.so\.0'
    [librobocomm-dev]='/usr/include/robocomm\.h|/usr/lib/librobocomm\.so$|/usr/lib/cmake/robocomm/robocommConfig\.cmake|/usr/lib/pkgconfig/robocomm\.pc'
    [robocomm-tools]='/usr/bin/robocomm-client|/usr/bin/robocomm-demo-host')
  local name deb
  for name in "${!expected[@]}"; do
    deb=$(ls "$scratch"/"${name}"_*_"$arch".deb) || fail "no $arch package $name"
    [ "$(dpkg-deb -f "$deb" Architecture)" = "$arch" ] || fail "$deb: not built for $arch"
    local files
    files=$(dpkg-deb -c "$deb" | awk '{print $6}' | sed 's|^\.||')
    IFS='|' read -ra wanted <<<"${expected[$name]}"
    for pattern in "${wanted[@]}"; do
      grep -Eq "^$pattern" <<<"$files" || fail "$deb lacks $pattern"
    done
    dpkg-deb -x "$deb" "$root"
  done
  # The tools need this very library; the library needs jsoncpp, found by dpkg-shlibdeps.
  dpkg-deb -f "$scratch"/robocomm-tools_*.deb Depends | grep -q 'librobocomm0 (= ' || fail "robocomm-tools does not depend on librobocomm0"
  dpkg-deb -f "$scratch"/librobocomm0_*.deb Depends | grep -q 'libjsoncpp' || fail "librobocomm0 does not depend on jsoncpp"
}

case $mode in
  install)
    prefix=$scratch/prefix
    cmake --install "$build" --prefix "$prefix" >/dev/null
    ;;
  packages)
    prefix=$scratch/root/usr
    unpack_packages "$scratch/root"
    ;;
  *) fail "unknown mode $mode" ;;
esac
libdir=$(dirname "$(find "$prefix" -name 'librobocomm.so' | head -1)")

# The installed demo host finds its library without help: exit status 2 is
# its usage message, 127 a library the loader did not find.
status=0
"${emulator[@]}" "$prefix/bin/robocomm-demo-host" --no-such-option 2>/dev/null || status=$?
[ "$status" -eq 2 ] || fail "installed robocomm-demo-host ended with status $status"

cmake -S "$here/consumer" -B "$scratch/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$cxx" \
  ${toolchain:+-DCMAKE_TOOLCHAIN_FILE="$toolchain"} >/dev/null
cmake --build "$scratch/cmake-build" >/dev/null
"${emulator[@]}" "$scratch/cmake-build/host"

export PKG_CONFIG_PATH=$libdir/pkgconfig
# shellcheck disable=SC2046
"$cxx" -std=c++17 "$here/consumer/host.cpp" $(pkg-config --cflags --libs robocomm) -Wl,-rpath,"$libdir" -o "$scratch/pkg-config-host"
"${emulator[@]}" "$scratch/pkg-config-host"
