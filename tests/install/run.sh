#!/usr/bin/env bash
# Installs a build into a prefix, moves the prefix elsewhere, builds two applications against nothing else,
# and runs them with the installed service.
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
mv "$work/first" "$prefix"
[ "$(cat "$prefix/lib/foreign.txt")" = "somebody else's" ]
ls "$prefix/$libdir/libvesk_video_interface.so"{,".${version%%.*}",".$version"} >/dev/null
grep -rI "$work/first\|$build" "$prefix/$libdir/cmake" "$prefix/$libdir/pkgconfig" "$prefix/include" && exit 1

export PKG_CONFIG_LIBDIR=$prefix/$libdir/pkgconfig
read -ra wanted <<<"$(pkg-config --cflags --libs vesk_video_interface)"
"$cc" "${flags[@]}" -std=c11 -Wall -Wextra -Werror "$here/application.c" "${wanted[@]}" -o "$work/application_c"
read -ra wanted <<<"$(pkg-config --cflags vesk_host_platform)"
echo '#include "platform/os_msg.h"' | "$cc" -fsyntax-only "${wanted[@]}" -x c -
CC=$cc CXX=$cxx CFLAGS=${flags[*]} CXXFLAGS=${flags[*]} cmake -S "$here" -B "$work/outside" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_FIND_ROOT_PATH="$prefix" -DCMAKE_TOOLCHAIN_FILE="$toolchain" >/dev/null
cmake --build "$work/outside" >/dev/null
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
$emulator "$prefix/bin/vesk-display-tour" | tail -n 1
[ ! -e "$prefix/bin/veskctl" ] || $emulator "$prefix/bin/veskctl" call GET_VO_COUNT | grep 'count=2'
kill -TERM $service
wait $service
