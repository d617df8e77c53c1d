#!/usr/bin/env bash
# Runs the example applications against the virtual video service.
#
#   scripts/demo.sh [--trace]     --trace also shows the log lines of all processes
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

case "${1:-}" in
  "") ;;
  --trace) export VESK_TRACE_LEVEL=3 VESK_LOG_LEVEL=3 ;;
  *) echo "usage: $0 [--trace]" >&2; exit 2 ;;
esac

install_packages
echo "building"
quietly cmake --preset release
quietly cmake --build --preset release --target vesk-video-service display_tour device_tour

VESK_RUNTIME_DIR=$(mktemp -d)
export VESK_RUNTIME_DIR
service_out=$VESK_RUNTIME_DIR/service.out
service_pid=
finish() {
  [ -z "$service_pid" ] || kill "$service_pid" 2>/dev/null || true
  rm -rf "$VESK_RUNTIME_DIR"
}
trap finish EXIT

build/release/service/vesk-video-service >"$service_out" &
service_pid=$!
for _ in $(seq 100); do
  if grep -q serving "$service_out" || ! kill -0 "$service_pid" 2>/dev/null; then break; fi
  sleep 0.1
done
cat "$service_out"
grep -q serving "$service_out" || { echo "the service did not start" >&2; exit 1; }

build/release/examples/vesk-display-tour
echo
build/release/examples/device_tour

kill -TERM "$service_pid"
wait "$service_pid" || { echo "the service ended with status $?" >&2; exit 1; }
service_pid=
tail -n +2 "$service_out"
grep -q ended "$service_out" || { echo "the service did not end properly" >&2; exit 1; }
