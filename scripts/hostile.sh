#!/usr/bin/env bash
# Has four applications send the virtual service hostile requests for a while, and prints its own memory and its
# descriptors every minute. Ends with status 1 if it crashes or hangs, or if memory or descriptors grow in the second half.
#
#   scripts/hostile.sh [MINUTES] [--preset PRESET]     default: 10 minutes, preset release
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

minutes=10 preset=release
minutes_and_preset "$@"
install_packages
build "$preset" vesk-video-service veskctl hostile_application
build=build/$preset
VESK_RUNTIME_DIR=$(mktemp -d)
export VESK_RUNTIME_DIR VESK_LOG_TARGET=none
pids=() service=0
finish() {
  for pid in "${pids[@]}" $service; do [ "$pid" -eq 0 ] || kill -KILL "$pid" 2>/dev/null || true; done
  rm -rf "$VESK_RUNTIME_DIR"
}
trap finish EXIT

"$build/service/vesk-video-service" >/dev/null &
service=$!
"$build/tools/veskctl/veskctl" wait-service
for seed in 1 2 3 4; do
  "$build/tests/hostile_application" "$RANDOM$seed" >"$VESK_RUNTIME_DIR/$seed.out" 2>&1 &
  pids+=($!)
done

memory=() descriptors=()
for ((minute = 1; minute <= minutes; ++minute)); do
  alive "minute $minute of $minutes" sleep 60
  memory+=("$(awk '/RssAnon/ { print $2 }' "/proc/$service/status")")
  descriptors+=("$(find "/proc/$service/fd" -mindepth 1 | wc -l)")
  echo "minute $minute: memory ${memory[-1]} KiB, ${descriptors[-1]} descriptors," \
    "$(find "$VESK_RUNTIME_DIR" -mindepth 1 | wc -l) files"
done
failures=0
fail() { echo "hostile: $*" >&2; failures=$((failures + 1)); }
for pid in "${pids[@]}"; do
  kill -TERM "$pid"
  wait "$pid" || fail "an application did not reach the service"
done
pids=()
cat "$VESK_RUNTIME_DIR"/[1-4].out | awk '{ sum += $1 } END { print sum " requests" }'
half=$((minutes / 2))
[ "${memory[-1]}" -le $((memory[half] * 11 / 10 + 1024)) ] || fail "memory has grown from minute $((half + 1)) on"
[ "${descriptors[-1]}" -le $((descriptors[half] + 50)) ] || fail "descriptors have grown from minute $((half + 1)) on"
kill -TERM "$service"
timeout 20 tail --pid="$service" -f /dev/null || kill -ABRT "$service"
status=0
wait "$service" || status=$?
service=0
[ $status -eq 0 ] || fail "the service ended with status $status"
[ $failures -eq 0 ]
