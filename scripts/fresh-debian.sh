#!/usr/bin/env bash
# Proves the README on a machine that has nothing: makes a minimal Debian 12 with debootstrap,
# clones this checkout into it, and runs the README's two commands there (the run writes its
# screenshot off screen; the test command runs every test). Needs root and Debian's mirror.
#
#   sudo scripts/fresh-debian.sh [WORK_DIR]     (default: a new folder under /var/tmp)
#
# Prints the time each step took and the tests' closing line; leaves WORK_DIR behind for a look.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=${1:-$(mktemp -d /var/tmp/fresh-debian.XXXXXX)}
target="$work/bookworm"
mirror=${DEBIAN_MIRROR:-http://deb.debian.org/debian}

[ "$(id -u)" -eq 0 ] || { echo "fresh-debian: run as root (debootstrap and chroot need it)" >&2; exit 2; }
command -v debootstrap >/dev/null || { apt-get update -q && apt-get install -y -q debootstrap; }

step() {
  local name=$1
  shift
  local start=$SECONDS status=0
  echo "fresh-debian: $name..."
  "$@" || status=$?
  echo "fresh-debian: $name took $((SECONDS - start)) s (exit status $status)"
  return "$status"
}

mounted=()
cleanup() {
  for ((i = ${#mounted[@]} - 1; i >= 0; i--)); do umount -l "${mounted[i]}" 2>/dev/null || true; done
}
trap cleanup EXIT
bind() {
  mkdir -p "$target$1"
  mount --bind "$1" "$target$1"
  mounted+=("$target$1")
}

if [ ! -x "$target/bin/bash" ]; then
  step "debootstrap (minbase bookworm)" debootstrap --variant=minbase bookworm "$target" "$mirror"
fi
cp /etc/resolv.conf "$target/etc/resolv.conf"
mount -t proc proc "$target/proc" && mounted+=("$target/proc")
bind /dev
bind /dev/pts
mount -t tmpfs tmpfs "$target/dev/shm" && mounted+=("$target/dev/shm")

# A clone, as a new user would make one: only what is committed.
rm -rf "$target/root/orvane"
step "clone" git clone -q "$root" "$target/root/orvane"
# The first tools a bare Debian lacks to run the scripts at all: sudo is not needed as root.
in_debian() { chroot "$target" /usr/bin/env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 bash -lc "$1"; }

step "README's first command (./scripts/run.sh)" in_debian "cd /root/orvane && ./scripts/run.sh"
in_debian "test -s /root/orvane/build/bench-screenshot.png" && echo "fresh-debian: the run wrote its screenshot"
step "README's second command (./scripts/test.sh)" in_debian "set -o pipefail; cd /root/orvane && ./scripts/test.sh 2>&1 | tee /root/test.log | tail -n 15"
echo "fresh-debian: done in $SECONDS s; the tests' log is $target/root/test.log"
