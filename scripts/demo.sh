#!/usr/bin/env bash
# Runs the example applications against the virtual video service, one of them under the tracer, and then against its
# recording alone. Each process logs to a file in build/demo.
#
#   scripts/demo.sh [--trace]     --trace logs every step of every process, not only errors
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

case "${1:-}" in
  "") ;;
  --trace) export VESK_TRACE_LEVEL=3 VESK_LOG_LEVEL=3 ;;
  *) echo "usage: $0 [--trace]" >&2; exit 2 ;;
esac

logs=build/demo
service=build/release/service/vesk-video-service
examples=build/release/examples
veskctl=build/release/tools/veskctl/veskctl
recording=$logs/tour.pcapng

install_packages
echo "Building the library, the virtual service, the tools and the examples ..."
quietly cmake --preset release
quietly cmake --build --preset release --target vesk-video-service display_tour device_tour minimal veskctl

rm -rf "$logs"
mkdir -p "$logs"
VESK_RUNTIME_DIR=$(mktemp -d)
export VESK_RUNTIME_DIR
service_out=$VESK_RUNTIME_DIR/service.out
service_pid=
finish() {
  local status=$?
  [ -z "$service_pid" ] || { kill "$service_pid" && wait "$service_pid"; } 2>/dev/null || true
  rm -rf "$VESK_RUNTIME_DIR"
  [ $status -eq 0 ] || echo "the demonstration failed; see $logs/*.log" >&2
}
trap finish EXIT

# Runs an example, which logs to a file of its own and prints what it does.
run() {
  printf '\n=== %s: %s\n' "$1" "$2"
  VESK_LOG_TARGET=file:$logs/$1.log "$examples/$1"
}

# Starts a program that serves applications, and waits until it does.
serve() {
  : >"$service_out"
  VESK_LOG_TARGET=file:$logs/service.log "$@" >"$service_out" &
  service_pid=$!
  for _ in $(seq 100); do
    if grep -q serving "$service_out" || ! kill -0 "$service_pid" 2>/dev/null; then break; fi
    sleep 0.1
  done
  cat "$service_out"
  grep -q serving "$service_out" || { echo "the service did not start" >&2; exit 1; }
}

serve "$service"

run minimal "an application in C"
run vesk-display-tour "a first example; <- marks notifications"
run device_tour "every family of requests"

printf '\n=== vesk-display-tour, recorded by veskctl trace: the last lines of "veskctl decode", and its summary\n'
VESK_LOG_TARGET=file:$logs/traced.log "$veskctl" trace -o "$recording" -- "$examples/vesk-display-tour" >"$logs/traced.out"
tail -1 "$logs/traced.out"
"$veskctl" decode "$recording" | tail -8
echo
"$veskctl" decode --summary "$recording" | sed -n '/^request /,$p'

echo
kill -TERM "$service_pid"
wait "$service_pid" || { echo "the service ended with status $?" >&2; exit 1; }
service_pid=
tail -n +2 "$service_out"
grep -q ended "$service_out" || { echo "the service did not end properly" >&2; exit 1; }

printf '\n=== vesk-display-tour without the service: veskctl serve answers as recorded\n'
serve "$veskctl" serve --once --strict "$recording"
VESK_LOG_TARGET=file:$logs/served.log "$examples/vesk-display-tour" >"$logs/served.out"
tail -3 "$logs/served.out"
wait "$service_pid" || { echo "the recording did not answer everything" >&2; exit 1; }
service_pid=
tail -n +2 "$service_out"

cat <<END

Logs, where the refusals that the examples provoke are errors: $logs/*.log
Next:
  $service &   # the service, until "kill %1"
  $examples/minimal               # or an application of yours
  $veskctl replay $recording    # the recorded requests again, compared
  scripts/test.sh                              # builds everything and runs all tests
END
