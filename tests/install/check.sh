#!/usr/bin/env bash
# Installs the built library into a scratch tree, then builds and runs a small
# host program against it twice: through find_package and through pkg-config;
# in the install tree, the README's host example too.
#   check.sh install  BUILD_DIR CXX [TOOLCHAIN_FILE [EMULATOR...]]
#     the tree of `cmake --install` under a custom prefix
#   check.sh packages BUILD_DIR CXX [TOOLCHAIN_FILE [EMULATOR...]]
#     the Debian packages of `cpack -G DEB`, checked with lintian and
#     unpacked with dpkg -x
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
  # Libraries in Debian's multiarch folder, so that architectures install side by side.
  local lib
  lib=/usr/lib/$(dpkg-architecture -a "$arch" -qDEB_HOST_MULTIARCH 2>/dev/null)
  local -A expected=(
    [librobocomm0]="$lib/librobocomm\\.so\\.0|/usr/share/doc/librobocomm0/copyright"
    [librobocomm-dev]="/usr/include/robocomm\\.h|$lib/librobocomm\\.so\$|$lib/cmake/robocomm/robocommConfig\\.cmake|$lib/pkgconfig/robocomm\\.pc"
    [robocomm-tools]='/usr/bin/robocomm-client|/usr/bin/robocomm-demo-host|/usr/share/man/man1/robocomm-client\.1\.gz')
  # Debian's own checks of the packages: no error, no warning.
  lintian --fail-on error,warning "$scratch"/*.deb || fail "lintian finds fault with the $arch packages"
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

[ "$mode" = install ] || exit 0

# The README's host example, exactly as printed there: it builds, keeps
# nothing of its own in the global namespace (where it would take the place
# of one of the library's names), and stops cleanly on Ctrl-C. The demo host
# keeps the same rule; its objects are read natively only.
awk '/^## Writing a host program/ { section = 1 } section && /^```cpp/ { code = 1; next }
     code && /^```/ { exit } code' "$here/../../README.md" >"$scratch/example.cpp"
# shellcheck disable=SC2046
"$cxx" -std=c++17 -Wall -Wextra -Werror "$scratch/example.cpp" $(pkg-config --cflags --libs robocomm) \
  -Wl,-rpath,"$libdir" -o "$scratch/example"
if [ -z "$toolchain" ]; then
  own_globals() { nm --defined-only --extern-only "$@" | awk 'NF == 3 && $3 !~ /^_Z|^DW\.ref\./ { print $3 }'; }
  # shellcheck disable=SC2046
  "$cxx" -std=c++17 -c "$scratch/example.cpp" $(pkg-config --cflags robocomm) -o "$scratch/example.o"
  globals=$(own_globals "$scratch/example.o" "$build"/tools/CMakeFiles/robocomm-demo-host.dir/demo-host/*.o |
    grep -vx -e main -e settimeofday || true)
  [ -z "$globals" ] || fail "host programs define global names a library name could clash with: $globals"
fi

"${emulator[@]}" "$scratch/example" >"$scratch/example.log" 2>&1 &
example=$!
# Listening on port 10001 (hex 2711) once the server thread is up.
for _ in $(seq 100); do
  grep -q ':2711 00000000:0000 0A' /proc/net/tcp && break
  sleep 0.05
done
kill -INT "$example"
status=0
timeout 5 tail --pid="$example" -f /dev/null || status=$?
wait "$example" || status=$?
if [ "$status" -ne 0 ]; then
  tail -20 "$scratch/example.log" >&2
  fail "the README's host example did not stop cleanly on Ctrl-C (status $status)"
fi
