#!/bin/sh
# Installs the packages of a folder with apt in a minimal Debian made by debootstrap, and runs their tests there. Before
# each test, installs the packages that debian/tests/control names for it:
#   packaging/bare_debian.sh build/package [ROOT]
# ROOT is the folder of that Debian. When it is given, it is kept, and used again if it exists already. Must run as
# root; needs debootstrap and the network.
set -eu
packages=$(realpath "$1")
here=$(dirname "$(realpath "$0")")
root=${2:-$(mktemp -d)/root}
mirror=${DEBIAN_MIRROR:-http://deb.debian.org/debian}

inside() {
  env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive chroot "$root" "$@"
}

end() {
  umount "$root/proc" 2>/dev/null || true
  [ $# -gt 0 ] || rm -rf "$(dirname "$root")"
}

mkdir -p "$root"
[ -x "$root/bin/sh" ] || debootstrap --variant=minbase bookworm "$root" "$mirror" >"$packages/debootstrap.log"
mount -t proc proc "$root/proc"
# shellcheck disable=SC2064
trap "end $(printf '%s' "${2:+kept}")" EXIT
cp /etc/resolv.conf "$root/etc/"
rm -rf "$root/packages" "$root/tests" && mkdir "$root/packages"
cp "$packages"/*.deb "$root/packages"
cp -r "$here/debian/tests" "$root/tests"

# Gives apt our packages by their paths; it downloads the packages that they need from Debian.
inside apt-get update -qq
{
  inside sh -c 'apt-get install -qq -y /packages/*.deb' </dev/null
  inside sh -c 'dpkg -V $(dpkg-deb -f /packages/zforms_*.deb Package)'
} >"$packages/install.log" 2>&1 || {
  tail -n 20 "$packages/install.log" >&2
  exit 1
}

status=0
sed -n 's/^Tests: //p' "$root/tests/control" | while read -r name; do
  needed=$(sed -n "/^Tests: $name\$/,/^\$/s/^Depends: //p" "$root/tests/control" | tr ',' ' ')
  # shellcheck disable=SC2086
  if inside apt-get install -qq -y --no-install-recommends $needed </dev/null >>"$packages/install.log" 2>&1 &&
    inside "/tests/$name" </dev/null >"$packages/test-$name.log" 2>&1; then
    echo "$name: passed"
  else
    tail -n 20 "$packages/test-$name.log" >&2
    echo "$name: failed"
    exit 1
  fi
done || status=1
exit $status
