#!/usr/bin/env bash
# Builds the Debian packages in build/package.
#
#   scripts/package.sh [--try]    --try installs them in a temporary bare Debian 12 (as root, with debootstrap)
#                                 and runs the installed example against the installed service
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
install_packages dpkg-dev file
quietly cmake --preset package
quietly cmake --build --preset package
rm -f build/package/*.deb
(cd build/package && quietly cpack)
ls build/package/*.deb
[ "${1:-}" = --try ] || exit 0

install_packages debootstrap
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
mirror=$(cat /etc/apt/sources.list /etc/apt/sources.list.d/* 2>/dev/null | sed -n "s/^\(deb \|URIs: *\)\(\[.*\] \)\?\(http[^ ]*\).*/\3/p" | sed -n 1p) || true
quietly debootstrap --variant=minbase bookworm "$root" "$mirror"
cp build/package/*.deb "$root/tmp"
inside() { chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive "$@"; }
# Debian's own libraries come first, so that dpkg finds every dependency installed.
quietly inside apt-get install -y --no-install-recommends libspdlog1.10 libstdc++6
inside sh -c 'dpkg -i /tmp/*.deb'
inside sh -c 'export VESK_RUNTIME_DIR=/tmp/vesk; vesk-video-service & service=$!
  sleep 1; vesk-display-tour; status=$?; kill $service; wait $service; exit $status'
