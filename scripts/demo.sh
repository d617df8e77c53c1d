#!/usr/bin/env bash
# Runs the example applications against the virtual video service, the tour under the tracer, steers the device that the
# service plays, draws what a display of it shows, and then runs the tour against its recording alone. Each process logs
# to a file in build/demo.
#
#   scripts/demo.sh [--trace]     --trace logs every step of every process, not only errors
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

case "${1:-}" in
  "") ;;
  --trace) export VESK_TRACE_LEVEL=3 VESK_LOG_LEVEL=3 ;;
  *) echo "usage: $0 [--trace]" >&2; exit 2 ;;
esac

logs=build/demo
service=build/dev/service/vesk-video-service
examples=build/dev/examples
veskctl=build/dev/tools/veskctl/veskctl
recording=$logs/tour.pcapng
picture=$logs/display.png

install_packages "${drawing_packages[@]}"
echo "Building the library, the virtual service, the tools and the examples ..."
build dev vesk-video-service vesk-minimal vesk-display-tour vesk-device-tour veskctl veskctl_pictures

rm -rf "$logs"
mkdir -p "$logs"
VESK_RUNTIME_DIR=$(mktemp -d)
export VESK_RUNTIME_DIR
service_out=$VESK_RUNTIME_DIR/service.out
service_pid=
monitor_pid=
finish() {
  local status=$?
  [ -z "$monitor_pid" ] || kill "$monitor_pid" 2>/dev/null || true
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
  "$veskctl" wait-service || { echo "the service did not start" >&2; exit 1; }
  cat "$service_out"
}

serve "$service"

run vesk-minimal "an application in C"
run vesk-display-tour "a first example; <- marks notifications"
printf '\n=== vesk-device-tour: every request, under veskctl trace: its last lines, and the summary\n'
VESK_LOG_TARGET=file:$logs/tour.log "$veskctl" trace --summary -- "$examples/vesk-device-tour" \
  >"$logs/tour.out" 2>"$logs/tour.trace"
tail -3 "$logs/tour.out"
sed '/^request /,$d' "$logs/tour.trace" | tail -5
echo
sed -n '/^request /,+11p' "$logs/tour.trace"
"$veskctl" device reset # so that the recording is one of a fresh device
VESK_LOG_TARGET=file:$logs/traced.log "$veskctl" trace -o "$recording" -- "$examples/vesk-device-tour" >"$logs/traced.out"
echo "... and recorded to $recording: $("$veskctl" decode "$recording" | wc -l) lines of veskctl decode"

# Shows a command of the tool and what it prints.
show() {
  printf '$ veskctl %s\n' "$*"
  "$veskctl" "$@"
}
export VESK_LOG_TARGET=none
printf '\n=== the device, steered: a cable is pulled and plugged in again\n'
: >"$logs/monitor.out"
"$veskctl" monitor --count 13 >"$logs/monitor.out" & # nine tell of the ports as they are
monitor_pid=$!
until [ "$(wc -l <"$logs/monitor.out")" -ge 9 ] || ! kill -0 "$monitor_pid" 2>/dev/null; do sleep 0.1; done
show device unplug input 0
show device plug input 0 --mode 1920x1080@60
wait "$monitor_pid"
monitor_pid=
echo "an application is notified:"
tail -4 "$logs/monitor.out"
printf '\n=== ... and a fault is set, met, and gone\n'
show device fault add GET_VO_COUNT result BUSY --count 1
show call GET_VO_COUNT || true
show call GET_VO_COUNT
show device fault list
printf '\n=== ... and its state\n'
show device state | sed '/^Requests/,$d'
printf '\n=== ... and what its first display shows: two cameras\n'
# shellcheck disable=SC2016 # of veskctl run
printf '%s\n' '$left = OPEN_VI_PORT viPort=0' 'VI_START inEngNo=$left' \
  '$right = OPEN_VI_PORT viPort=2' 'VI_START inEngNo=$right' '$display = OPEN_VO_PORT voPort=0' \
  'SET_VO_SRC outEngNo=$display picNum=2 subPic[0].inputId=$left subPic[1].inputId=$right' \
  'VO_START outEngNo=$display' 'device scene 0' "device screenshot 0 -o $picture" |
  "$veskctl" run --quiet - >"$logs/display.out"
tail -n +8 "$logs/display.out"
"$veskctl" device reset

echo
kill -TERM "$service_pid"
wait "$service_pid" || { echo "the service ended with status $?" >&2; exit 1; }
service_pid=
tail -n +2 "$service_out"
grep -q ended "$service_out" || { echo "the service did not end properly" >&2; exit 1; }

printf '\n=== vesk-device-tour without the service: veskctl serve answers as recorded\n'
serve "$veskctl" serve --once --strict "$recording"
VESK_LOG_TARGET=file:$logs/served.log "$examples/vesk-device-tour" >"$logs/served.out"
tail -1 "$logs/served.out"
wait "$service_pid" || { echo "the recording did not answer everything" >&2; exit 1; }
service_pid=
tail -n +2 "$service_out"

cat <<END

Logs, where the refusals that the examples provoke are errors: $logs/*.log
Next:
  $service &   # the service, until "kill %1"
  $examples/vesk-minimal          # or an application of yours
  $veskctl replay $recording    # the recorded requests again, compared
  $veskctl device watch           # what all applications say, live
  scripts/test.sh                              # builds everything and runs all tests
  $veskctl web --open             # after that: the device in a browser
END
