#!/usr/bin/env bash
# Installs the built library into a scratch prefix, then builds and runs a
# small host program against it twice: through find_package and through
# pkg-config; then the README's host example.
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

# The README's host example, exactly as printed there: it builds, keeps
# nothing of its own in the global namespace (where it would take the place
# of one of the library's names), and stops cleanly on Ctrl-C. The demo host
# keeps the same rule.
awk '/^## Writing a host program/ { section = 1 } section && /^```cpp/ { code = 1; next }
     code && /^```/ { exit } code' "$here/../../README.md" >"$scratch/example.cpp"
# shellcheck disable=SC2046
g++ -std=c++17 -Wall -Wextra -Werror "$scratch/example.cpp" $(pkg-config --cflags --libs robocomm) -o "$scratch/example"
own_globals() { nm --defined-only --extern-only "$@" | awk 'NF == 3 && $3 !~ /^_Z|^DW\.ref\./ { print $3 }'; }
g++ -std=c++17 -c "$scratch/example.cpp" $(pkg-config --cflags robocomm) -o "$scratch/example.o"
globals=$(own_globals "$scratch/example.o" "$build"/tools/CMakeFiles/robocomm-demo-host.dir/demo-host/*.o |
  grep -vx -e main -e settimeofday || true)
if [ -n "$globals" ]; then
  echo "host programs define global names a library name could clash with: $globals" >&2
  exit 1
fi

LD_LIBRARY_PATH=$libdir "$scratch/example" >"$scratch/example.log" 2>&1 &
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
  echo "the README's host example did not stop cleanly on Ctrl-C (status $status)" >&2
  tail -20 "$scratch/example.log" >&2
  exit 1
fi
echo "README host example ok"
