#!/usr/bin/env bash
# Records the tour under AArch64 emulation and checks that the recording means the same here: it is replayed against the
# service of the dev preset without a difference, and served back to the tour. Needs both presets built.
set -euo pipefail
cd "$(dirname "$0")/.."

native=$PWD/build/dev
veskctl=$native/tools/veskctl/veskctl
work=$(mktemp -d)
recording=$work/tour.pcapng
server=
finish() {
  [ -z "$server" ] || kill "$server" 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT
export VESK_LOG_TARGET=none

cd build/aarch64
printf '#!/bin/sh\nexec qemu-aarch64 "%s" "$@"\n' "$PWD/service/vesk-video-service" >"$work/service"
chmod +x "$work/service"
"$veskctl" with-device --service-program "$work/service" -- \
  qemu-aarch64 -E VESK_TRACE_FILE="$recording" -E LD_PRELOAD="$PWD/tools/tracer/libvesk_trace.so" examples/vesk-device-tour |
  tail -1
"$veskctl" with-device -- "$veskctl" replay "$recording" | tail -1
export VESK_RUNTIME_DIR=$work
: >"$work/serve.out"
"$veskctl" serve --once --strict "$recording" >"$work/serve.out" &
server=$!
"$veskctl" wait-service
"$native/examples/vesk-device-tour" | tail -1
wait "$server"
server=
tail -1 "$work/serve.out"
