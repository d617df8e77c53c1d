#!/usr/bin/env bash
# Builds an OCI image of our Debian packages, in which a test job finds all that it needs; no daemon is involved.
#
#   scripts/image.sh [--try] [-o FILE]
#
#   -o FILE  the image as one archive, build/image/vesk-video.oci.tar by default
#   --try    unpacks the image in a temporary folder and runs in it, as the image's user, an example and the jobs of
#            docs/ci.md
#
# Needs root, or uidmap and a range of users in /etc/subuid. The packages are those in build/package, which are built
# without their tests if they are missing or older than the sources. The same packages on the same state of Debian give
# the same image. It has two layers: one of Debian's packages, which stays the same from version to version of ours, and
# one of ours.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

archive=build/image/vesk-video.oci.tar try=false
while [ $# -gt 0 ]; do
  case "$1" in
    --try) try=true ;;
    -o) archive=$(cd "$OLDPWD" && realpath -m "${2:?-o needs a file}"); shift ;;
    *) echo "usage: $0 [--try] [-o FILE]" >&2; exit 2 ;;
  esac
  shift
done

install_packages dpkg-dev jq mmdebstrap python3-yaml uidmap umoci
rooted=() # what gives files owners other than this user
[ "$(id -u)" -eq 0 ] || rooted=(unshare --map-root-user --map-auto)
work=$(mktemp -d)
trap '"${rooted[@]}" rm -rf "$work"' EXIT
chmod 755 "$work" # other users of the namespace read it

# Packages, but for those of developers, as a repository beside Debian's.
packages() { find build/package -maxdepth 1 -name "*_$(dpkg --print-architecture).deb" -o -name '*_all.deb'; }
changed() {
  find . \( -path ./build -o -path ./.git -o -path ./.ci -o -path ./scripts -o -path ./tests \) -prune -o \
    -type f -newer "$1" -print -quit
}
mkdir -p build/package
oldest=$(packages | xargs -r ls -t | tail -1)
if [ -z "$oldest" ] || [ -n "$(changed "$oldest")" ]; then
  DEB_BUILD_OPTIONS="${DEB_BUILD_OPTIONS:-} nocheck" step "scripts/package.sh" scripts/package.sh
fi
mkdir "$work/packages"
packages | grep -vE -e '-(dev|doc|dbgsym)_' | xargs cp -t "$work/packages"
names=$(for package in "$work"/packages/*; do dpkg-deb --field "$package" Package; done | paste -sd,)
(cd "$work/packages" && dpkg-scanpackages --multiversion . 2>/dev/null >Packages)
chmod -R a+rX "$work/packages"

# The root file system. What is made anew here gets the date of Debian 12, so that this can be repeated.
sources=$(debian_sources)
# shellcheck disable=SC2016 # of the hooks
SOURCE_DATE_EPOCH=1686355200 quietly mmdebstrap --variant=apt --hook-dir=/usr/share/mmdebstrap/hooks/merged-usr \
  --include="usr-is-merged,python3-pytest,python3-pytest-xdist,$names" \
  --dpkgopt='path-exclude=/usr/share/doc/*' --dpkgopt='path-include=/usr/share/doc/*/copyright' \
  --dpkgopt='path-exclude=/usr/share/man/*' --dpkgopt='path-exclude=/usr/share/info/*' \
  --dpkgopt='path-exclude=/usr/share/locale/*' --dpkgopt='path-exclude=/usr/share/lintian/*' \
  --customize-hook='chroot "$1" useradd --uid 1000 --create-home --shell /bin/bash vesk' \
  --customize-hook='sed -i "/ copy:/d" "$1/etc/apt/sources.list"' \
  --customize-hook='cd "$1" && rm -rf etc/hostname etc/resolv.conf etc/*- var/cache/* var/log/* var/lib/dpkg/*-old' \
  bookworm "$work/root.tar" "$sources" "deb [trusted=yes] copy:$work/packages ./"

# Its layers. What belongs to our packages has "vesk" in its path.
ours=('*vesk*' /var/lib/dpkg/status /etc/ld.so.cache)
mmtarfilter --path-exclude='/dev/*' "${ours[@]/#/--path-exclude=}" <"$work/root.tar" >"$work/debian.tar"
mmtarfilter --path-exclude='/*' "${ours[@]/#/--path-include=}" <"$work/root.tar" >"$work/ours.tar"

version=$(dpkg-parsechangelog --show-field Version)
created=$(date --utc --date="@${SOURCE_DATE_EPOCH:-$(dpkg-parsechangelog --show-field Timestamp)}" +%FT%TZ)
licence=$(sed -n 's/^License: */LicenseRef-/p' debian/copyright | sed -n 1p)
layout=$work/layout image=$work/layout:vesk-video:$version
umoci init --layout "$layout"
umoci new --image "$image"
for layer in debian ours; do
  umoci raw add-layer --image "$image" --history.created "$created" --history.created_by "packages: $layer" "$work/$layer.tar"
done
umoci config --image "$image" --no-history --created "$created" --config.user 1000:1000 --config.workingdir /home/vesk \
  --config.env PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin --config.env LANG=C.UTF-8 \
  --config.cmd bash \
  --config.label org.opencontainers.image.title=vesk-video \
  --config.label "org.opencontainers.image.description=Virtual video service, veskctl and pytest's fixture vesk_device" \
  --config.label "org.opencontainers.image.version=$version" \
  --config.label "org.opencontainers.image.licenses=$licence"
umoci gc --layout "$layout"

# One archive of the layout. Docker's older stores find their way by manifest.json.
manifest=$(jq -r '.manifests[0].digest' "$layout/index.json")
blob() { echo "$layout/blobs/${1/://}"; }
jq -c --arg name "vesk-video:$version" 'def path: "blobs/" + sub(":"; "/");
  [{Config: .config.digest | path, RepoTags: [$name], Layers: [.layers[].digest | path]}]' \
  "$(blob "$manifest")" >"$layout/manifest.json"
mkdir -p "$(dirname "$archive")"
(cd "$layout" && tar --create --sort=name --format=ustar --mtime="$created" --owner=0 --group=0 --numeric-owner \
  --mode=u=rwX,go=rX -- *) >"$archive"
echo "$archive: vesk-video:$version $manifest"
jq -r '.layers[] | "  layer \(.digest) \(.size) bytes"' "$(blob "$manifest")"

$try || exit 0
root=$work/bundle/rootfs
"${rooted[@]}" umoci unpack --image "$image" "$work/bundle"
config=$work/bundle/config.json
[ "$(id -u)" -eq 0 ] || "${rooted[@]}" chmod -R a+rX "$work/bundle"
mapfile -t environment < <(jq -r '.process.env[]' "$config")
folder=$(jq -r .process.cwd "$config")
image_user=$(jq -r '.process.user | "\(.uid):\(.gid)"' "$config")

# inside USER COMMAND...
inside() {
  # shellcheck disable=SC2016 # of the inner shell
  "${rooted[@]}" unshare --mount --pid --fork --kill-child sh -c 'root=$1 user=$2 folder=$3; shift 3
    mount -t proc proc "$root/proc" && mount --rbind /dev "$root/dev" &&
      exec chroot --userspec="$user" "$root" env -i --chdir="$folder" "$@"' \
    - "$root" "$1" "$folder" "${environment[@]}" "${@:2}"
}
inside "$image_user" veskctl with-device -- vesk-minimal

# What the page has a job of the image do, each job with a copy of the page's test.
python3 tests/ci_page.py docs/ci.md "$work/jobs"
for job in "$work"/jobs/*; do
  name=$(basename "$job") user=$(cat "$job/user")
  "${rooted[@]}" cp -r "$job" "$root$folder/$name"
  "${rooted[@]}" chown -R 1000:1000 "$root$folder/$name"
  echo "== the job of $name"
  inside "${user:-$image_user}" sh -e -c "cd $name && . ./script"
  while read -r report; do
    report=$root$folder/$name/$report
    if ! grep -q '<testcase ' "$report" || grep -qE '<(failure|error)' "$report"; then
      echo "$report: no report of tests that passed" >&2
      exit 1
    fi
  done <"$job/reports"
done
