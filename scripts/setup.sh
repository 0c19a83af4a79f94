# Sourced by the entry scripts: installs what is missing from Debian's
# packages, then configures and builds into the folder given.
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
PACKAGES=(g++ cmake make pkg-config libjsoncpp-dev libssl-dev libcpp-httplib-dev libpng-dev libgtest-dev libbenchmark-dev tar gzip python3 binutils)

install_missing_packages() {
  local missing=()
  for p in "${PACKAGES[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && return
  echo "Installing ${missing[*]}"
  local sudo=""
  [ "$(id -u)" -eq 0 ] || sudo=sudo
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
