#!/usr/bin/env bash
# The README's commands on a fresh machine: makes a minimal Debian 12 root
# with debootstrap, from the mirror this machine's apt uses, adds git, clones
# this repository's commit (HEAD) into it and runs scripts/demo.sh and
# scripts/test.sh there as the README writes them. Needs root (debootstrap,
# chroot, mounts). Everything lives in one new folder under /tmp, removed at
# the end; nothing is kept from one run to the next.
#   scripts/fresh.sh
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

if [ "$(id -u)" -ne 0 ]; then
  echo "fresh: needs root to make the Debian root (debootstrap, chroot, mounts); run it as root" >&2
  exit 1
fi

SUITE=bookworm
PACKAGES=("${FRESH_PACKAGES[@]}")
install_missing_packages

# The mirror this machine's apt fetches Debian 12 from, whichever form its
# sources take: apt itself reads them.
# $(SITE) is a field of apt's, not a command.
# shellcheck disable=SC2016
mirror=$(apt-get indextargets --format '$(SITE)' "Release: $SUITE" 'Identifier: Packages' 'Target-Of: deb' | sort -u | head -1)
if [ -z "$mirror" ]; then
  echo "fresh: this machine's apt sources name no $SUITE mirror" >&2
  exit 1
fi

dir=$(mktemp -d /tmp/robocomm-fresh-XXXXXX)
rootfs=$dir/root

# Processes still running in the root, its mounts, then the folder. The
# folder goes only when no mount is left below it, and rm never crosses into
# another file system.
mounts_below() { awk -v below="$dir/" 'index($2, below) == 1 { print $2 }' /proc/self/mounts; }
clean_up() {
  local status=$? proc
  for proc in /proc/[0-9]*; do
    if [ "$(readlink "$proc/root" 2>/dev/null)" = "$rootfs" ]; then kill -KILL "${proc#/proc/}" 2>/dev/null || true; fi
  done
  local target
  for target in dev sys proc; do
    if mountpoint -q "$rootfs/$target"; then umount -R "$rootfs/$target" || true; fi
  done
  if [ -n "$(mounts_below)" ]; then
    printf 'fresh: mounts left below %s, the folder is kept:\n%s\n' "$dir" "$(mounts_below)" >&2
    exit 1
  fi
  rm -rf --one-file-system "$dir"
  exit "$status"
}
trap clean_up EXIT

# debootstrap fetches with wget, which takes its proxy from the environment.
apt_proxy=$(apt-config shell proxy Acquire::http::Proxy | sed -n "s/^proxy='\(.*\)'$/\1/p")
[ -z "$apt_proxy" ] || export http_proxy=${http_proxy:-$apt_proxy}

echo "fresh: a minimal Debian 12 from $mirror in $rootfs"
debootstrap --variant=minbase "$SUITE" "$rootfs" "$mirror" >"$dir/debootstrap.log" 2>&1 || {
  tail -20 "$dir/debootstrap.log" >&2
  exit 1
}

mount -t proc proc "$rootfs/proc"
# Recursive binds (/dev/pts, /sys/fs/cgroup...), made slaves so that
# unmounting them never reaches the machine's own.
for target in sys dev; do
  mount --rbind "/$target" "$rootfs/$target"
  mount --make-rslave "$rootfs/$target"
done

# What this machine's apt needs to reach its mirror: name resolution, and its
# proxies and checks of the archive's dates.
cp -L /etc/resolv.conf "$rootfs/etc/resolv.conf"
apt-config dump | grep -E '^Acquire::((http|https|ftp)::Proxy|Check-Valid-Until|Check-Date)' \
  >"$rootfs/etc/apt/apt.conf.d/99machine-network" || true

git -C "$ROOT" bundle create --quiet "$rootfs/tmp/robocomm.bundle" HEAD

# A new user's login: root, a standard PATH, nothing of this machine's
# environment but its proxies.
in_root() {
  local proxies
  mapfile -t proxies < <(env | grep -iE '^(http|https|ftp|no)_proxy=' || true)
  chroot "$rootfs" env -i HOME=/root PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
    "${proxies[@]}" sh -c "$1"
}

in_root 'apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq git >/dev/null'
in_root 'git clone -q -c advice.detachedHead=false /tmp/robocomm.bundle /root/robocomm'
echo "fresh: scripts/demo.sh"
in_root 'cd /root/robocomm && scripts/demo.sh'
echo "fresh: scripts/test.sh"
in_root 'cd /root/robocomm && scripts/test.sh'
