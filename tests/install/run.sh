#!/usr/bin/env bash
# Installs a build into a prefix, moves the prefix elsewhere, builds two applications against nothing else,
# and runs them with the installed service. A project that has the sources as a subdirectory gets none of its tests.
set -euo pipefail
build=$1 work=$2 cc=$3 cxx=$4 libdir=$5 toolchain=$6 emulator=$7 sanitize=$8 version=$9
here=$(dirname "$0")
flags=()
[ -z "$sanitize" ] || flags=("-fsanitize=$sanitize")

rm -rf "$work"
mkdir -p "$work/first/lib" "$work/first/bin"
echo "somebody else's" >"$work/first/lib/foreign.txt"
cmake --install "$build" --prefix "$work/first" >/dev/null
prefix=$work/moved
if command -v systemd-analyze >/dev/null; then
  unit=$work/first/lib/systemd/user/vesk-video-service.service
  said=$(XDG_RUNTIME_DIR=$work systemd-analyze --user --man=no verify "$unit" 2>&1)
  [ -z "$said" ] || { echo "$said"; exit 1; }
fi
mv "$work/first" "$prefix"
[ "$(cat "$prefix/lib/foreign.txt")" = "somebody else's" ]
ls "$prefix/$libdir/libvesk_video_interface.so"{,".${version%%.*}",".$version"} >/dev/null
grep -rI "$work/first\|$build" "$prefix/$libdir/cmake" "$prefix/$libdir/pkgconfig" "$prefix/include" && exit 1

export PKG_CONFIG_LIBDIR=$prefix/$libdir/pkgconfig
read -ra wanted <<<"$(pkg-config --cflags --libs vesk_video_interface)"
"$cc" "${flags[@]}" -std=c11 -Wall -Wextra -Werror "$here/application.c" "${wanted[@]}" -o "$work/application_c"
read -ra wanted <<<"$(pkg-config --cflags vesk_host_platform)"
echo '#include "platform/os_msg.h"' | "$cc" -fsyntax-only "${wanted[@]}" -x c -
export CC=$cc CXX=$cxx CFLAGS=${flags[*]} CXXFLAGS=${flags[*]}
configure() { cmake -S "$here" -B "$work/$1" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" "${@:2}" >/dev/null; }
configure outside -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_FIND_ROOT_PATH="$prefix"
cmake --build "$work/outside" >/dev/null
configure inside -DVESK_SOURCE="$(realpath "$here/../..")" -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
  -DVESK_BUILD_TOOLS="$([ -e "$prefix/bin/veskctl" ] && echo ON || echo OFF)"
[ "$(ctest --test-dir "$work/inside" -N | tail -n 1)" = "$(ctest --test-dir "$work/outside" -N | tail -n 1)" ]
cmake --install "$work/inside" --prefix "$work/nothing" >/dev/null
[ ! -e "$work/nothing" ]
# Under an emulator, veskctl cannot start the service.
[ ! -e "$prefix/bin/veskctl" ] || [ -n "$emulator" ] ||
  (cd "$work/outside" && ctest --output-on-failure --no-tests=error -j 2)

VESK_RUNTIME_DIR=$(mktemp -d)
export VESK_RUNTIME_DIR
$emulator "$prefix/bin/vesk-video-service" >"$work/service.out" &
service=$!
trap 'kill $service 2>/dev/null || true; rm -rf "$VESK_RUNTIME_DIR"' EXIT
timeout 10 sh -c "until grep -q serving '$work/service.out'; do sleep 0.1; done"
export LD_LIBRARY_PATH=$prefix/$libdir
$emulator "$work/application_c" | grep ' has 2 displays'
$emulator "$work/outside/application" | grep '^outside has 2 displays'
for tour in vesk-display-tour vesk-device-tour; do $emulator "$prefix/bin/$tour" | tail -n 1; done
[ ! -e "$prefix/bin/veskctl" ] || $emulator "$prefix/bin/veskctl" call GET_VO_COUNT | grep 'count=2'
[ ! -e "$prefix/lib/python3" ] || [ -n "$sanitize$emulator" ] ||
  PYTHONPATH=$prefix/lib/python3/dist-packages python3 -c 'from vesk_video import *
set_process_name("installed")
assert VeskVideoGetVoCount() == 2'
kill -TERM $service
wait $service
