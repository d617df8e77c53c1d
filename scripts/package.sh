#!/usr/bin/env bash
# Builds the Debian packages in build/package and checks them.
#
#   scripts/package.sh [--list] [--try] [ARCHITECTURE]
#
#   ARCHITECTURE  as Debian names it; another one than this machine's, say arm64, is cross-built
#   --list        lists the files of each package
#   --try         installs the packages in a temporary bare Debian 12 (as root, with debootstrap) and runs their
#                 tests there, which compile the installed examples and run them with the installed service, draw a
#                 display, and have pytest give a virtual device to a test
#
# The package build runs all tests, unless it is a cross-build or DEB_BUILD_OPTIONS contains nocheck. A warning of the
# compiler ends it: the optimiser sees what warnings of other builds miss.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

native=$(dpkg --print-architecture)
architecture=$native list=false try=false
for argument in "$@"; do
  case "$argument" in
    --list) list=true ;;
    --try) try=true ;;
    [a-z]*) architecture=$argument ;;
    *) echo "usage: $0 [--list] [--try] [ARCHITECTURE]" >&2; exit 2 ;;
  esac
done
if $try && [ "$architecture" != "$native" ]; then
  echo "packages for $architecture cannot be tried here" >&2
  exit 2
fi

install_packages build-essential debhelper lintian doxygen graphviz dh-python python3-setuptools python3-pytest \
  python3-pytest-xdist "${picture_packages[@]}"
export DEB_BUILD_OPTIONS="${DEB_BUILD_OPTIONS:+$DEB_BUILD_OPTIONS }werror"
kinds=binary built=("$architecture" all) # a cross-build leaves the packages for all architectures to the native one
if [ "$architecture" != "$native" ]; then
  dpkg --print-foreign-architectures | grep -qx "$architecture" || as_root dpkg --add-architecture "$architecture"
  install_packages "crossbuild-essential-$architecture" "libspdlog-dev:$architecture" "libedit-dev:$architecture" \
    "libtomlplusplus-dev:$architecture" "${picture_packages[@]/%-dev/-dev:$architecture}"
  DEB_BUILD_OPTIONS+=" nocheck"
  kinds=any built=("$architecture")
fi
[[ " $DEB_BUILD_OPTIONS " != *" nocheck "* ]] || export DEB_BUILD_PROFILES=nocheck

# The packages are built from a copy, so that the tree stays clean.
output=build/package
mkdir -p $output
rm -rf $output/source
for kind in "${built[@]}"; do rm -f "$output"/*_"$kind".*; done
mkdir $output/source
tar --create --exclude=./build --exclude=./.git . | tar --extract --directory $output/source
(cd $output/source && quietly dpkg-buildpackage --build=$kinds --host-arch "$architecture" --no-sign)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
packages=()
for kind in "${built[@]}"; do packages+=("$output"/*_"$kind".deb); done
for package in "${packages[@]}"; do
  echo "$package"
  if $list; then dpkg-deb --contents "$package"; fi
  dpkg-deb --extract "$package" "$work/files"
done

# No file may hold a path of this build, in its text or debug information; no program has a library search path.
find "$work/files" -type f >"$work/list"
while read -r file; do
  if { cat "$file"; readelf -dz -p.debug_str -p.debug_line_str "$file" 2>/dev/null || true; } |
    grep -aF -e "$PWD" -e "(RPATH)" -e "(RUNPATH)" >/dev/null; then
    echo "${file#"$work/files"} holds a path of the build or a library search path" >&2
    exit 1
  fi
done <"$work/list"
alive lintian lintian --allow-root --fail-on error,warning $output/*_"$architecture".changes

$try || exit 0
install_packages debootstrap
root=$work/root
mirror=$(debian_sources | awk '$3 == "bookworm" { url = $2 } END { print url }')
quietly debootstrap --variant=minbase bookworm "$root" "$mirror"
for package in "${packages[@]}"; do
  case "$package" in *-dbgsym_*) ;; *) cp "$package" "$root/tmp" ;; esac
done
inside() { chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive "$@"; }
quietly inside sh -c 'apt-get install -y --no-install-recommends g++ pkg-config python3-pytest /tmp/*.deb'
cp debian/tests/{example,pictures,python} "$root/tmp"
mount -t proc proc "$root/proc" # for veskctl
trap 'umount "$root/proc"; rm -rf "$work"' EXIT
inside /tmp/example
inside /tmp/pictures
inside /tmp/python
