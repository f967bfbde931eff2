#!/usr/bin/env bash
# Installs packages on a bare Debian 12, upgrades them, uses them and removes them. Compares the
# interfaces of the two builds of the library. Needs root.
# usage: run.sh PACKAGES PACKAGES-OF-A-LOWER-VERSION [BARE-ROOT]
# Without a bare root, debootstrap makes one. The bare root is copied.
set -euo pipefail
if [ -z "${VXFNC_ROOT:-}" ]; then
  root=$(mktemp -d)
  trap 'rm -rf --one-file-system "$root"' EXIT
  # Mounts and servers end with the inner script.
  VXFNC_ROOT=$root unshare --mount --pid --fork --kill-child "$0" "$@"
  exit
fi
root=$VXFNC_ROOT
packages=$(cd "$1" && pwd) before=$(cd "$2" && pwd) bare=${3:-}
tests=$(cd "$(dirname "$0")/.." && pwd)
inside() {
  env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C DEBIAN_FRONTEND=noninteractive chroot "$root" "$@"
}

if [ -n "$bare" ]; then cp -a "$bare/." "$root"; else
  debootstrap --variant=minbase bookworm "$root" >"$packages/debootstrap.log"
fi
mkdir -p "$root"/dev/shm "$root"/try/{packages,before}
mount -t proc proc "$root/proc"
mount -t tmpfs tmpfs "$root/dev/shm"
printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"  # start no service
chmod +x "$root/usr/sbin/policy-rc.d"
for build in packages before; do
  cp "${!build}"/*.deb "$root/try/$build"
done
cp -r "$tests"/{replay.sh,installed/*,packages/transcript.txt,postgresql/finance--0.1.sql} "$root/try"

# What the packages need is installed first, so that the list of files differs by their files alone.
inside apt-get update -qq
inside sh -c 'cd /try && apt-get install -qs --no-install-recommends ./packages/*.deb' >"$root/try/plan"
own=$(inside sh -c 'for file in /try/packages/*.deb; do dpkg-deb -f $file Package; done')
# shellcheck disable=SC2046
inside apt-get install -qqy --no-install-recommends gcc g++ make cmake pkg-config sqlite3 \
  $(awk '/^Inst/ {print $2}' "$root/try/plan" | grep -vxF "$own") >"$packages/apt.log" 2>&1
inside sh -c 'cd /try && sh replay.sh /usr/bin transcript.txt'
cat "$tests/packages/transcript.txt"

for build in packages before; do
  mkdir -p "$root/abi/$build"
  for package in libvxkernel0 libvxkernel-dev debug/libvxkernel0-dbgsym; do
    dpkg-deb -x "${!build}/$package"_*.deb "$root/abi/$build"
  done
done
cd "$root/abi"
debug=usr/lib/debug library=usr/lib/x86_64-linux-gnu/libvxkernel.so.0
abidw --debug-info-dir packages/$debug packages/$library >types.xml
grep -q "class-decl name='vxk_report'" types.xml ||
  { echo "abidw finds no types in the debug symbols" >&2; exit 1; }
abidiff --d1 before/$debug --d2 packages/$debug --hd1 before/usr/include --hd2 packages/usr/include \
  {before,packages}/$library
echo "abidiff: no change"
