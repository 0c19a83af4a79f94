# Sourced by the entry scripts: installs what is missing from Debian's
# packages, then configures and builds into the folder given. help2man makes
# the tools' manual pages; the packages' test checks them with lintian.
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
PACKAGES=(g++ cmake make pkg-config libjsoncpp-dev libssl-dev libcpp-httplib-dev libpng-dev libmosquitto-dev libgtest-dev libgmock-dev libbenchmark-dev valgrind tar gzip python3 binutils dpkg-dev file help2man lintian
          mosquitto mosquitto-clients openssl python3-jsonschema)
# The aarch64 build adds these (scripts/test.sh --arch aarch64): the cross
# compiler, the emulator its programs run in, the target's libraries.
AARCH64_PACKAGES=(g++-aarch64-linux-gnu qemu-user libjsoncpp-dev:arm64 libssl-dev:arm64 libgtest-dev:arm64 libgmock-dev:arm64)
# Only scripts/fuzz.sh needs these: libFuzzer comes with clang's runtime.
FUZZ_PACKAGES=(clang libclang-rt-14-dev)
# Only scripts/fresh.sh needs this: it makes the fresh Debian root.
FRESH_PACKAGES=(debootstrap)

install_missing_packages() {
  local missing=()
  for p in "${PACKAGES[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && return
  echo "Installing ${missing[*]}"
  local sudo=""
  [ "$(id -u)" -eq 0 ] || sudo=sudo
  # A package of another architecture (NAME:ARCH) needs that architecture enabled.
  local arch
  for arch in $(printf '%s\n' "${missing[@]}" | sed -n 's/^.*://p' | sort -u); do
    dpkg --print-foreign-architectures | grep -qx "$arch" || $sudo dpkg --add-architecture "$arch"
  done
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
}

# build_into DIR [cmake options...]
# BUILD_TARGETS, when set, builds only those targets (and what they need).
build_into() {
  local dir=$1
  shift
  install_missing_packages
  cmake -S "$ROOT" -B "$dir" "$@" >/dev/null
  # shellcheck disable=SC2086
  cmake --build "$dir" --parallel "$(nproc)" ${BUILD_TARGETS:+--target $BUILD_TARGETS}
}
