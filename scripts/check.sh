#!/usr/bin/env bash
# Holds the service of a preset that has no tools against the interface, by veskctl of the dev preset. Needs both presets
# built.
#
#   scripts/check.sh tsan|aarch64 [ARGUMENT...]     arguments of veskctl check; default: --quick
set -euo pipefail
cd "$(dirname "$0")/.."

preset=${1:?"usage: $0 tsan|aarch64 [ARGUMENT...]"}
shift
[ $# -gt 0 ] || set -- --quick
veskctl=$PWD/build/dev/tools/veskctl/veskctl
service=$PWD/build/$preset/service/vesk-video-service
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TSAN_OPTIONS=halt_on_error=1 # so that what it finds is a failure
if [ "$preset" = aarch64 ]; then
  printf '#!/bin/sh\nexec qemu-aarch64 "%s" "$@"\n' "$service" >"$work/service"
  chmod +x "$work/service"
  service=$work/service
fi
"$veskctl" with-device --service-program "$service" -- "$veskctl" check "$@" | tee "$work/report"
! grep -q '^warning ' "$work/report"
