#!/usr/bin/env bash
# Runs the virtual service and eight applications under load for a while: system calls fail at random, all are
# ended and killed at random and started again. Ends with status 1 if one crashes, hangs or hears nothing, or if
# descriptors, memory or the files in the runtime directory have grown. Logs are in build/PRESET/soak.
#
#   scripts/soak.sh [MINUTES] [--preset PRESET]     default: 2 minutes, preset dev
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

minutes=2 preset=dev
minutes_and_preset "$@"
install_packages
build "$preset" vesk-video-service soak_application vesk_fault_shim
build=build/$preset logs=build/$preset/soak
rm -rf "$logs"
mkdir -p "$logs"
VESK_RUNTIME_DIR=$(mktemp -d)
export VESK_RUNTIME_DIR VESK_LOG_TARGET=none
preload=$PWD/$(find "$build/tests" -name 'libvesk_fault_shim.so')
most=4096
case $(sed -n 's/^VESK_SANITIZE:[^=]*=//p' "$build/CMakeCache.txt") in
  address*)
    preload="$(g++ -print-file-name=libasan.so) $(g++ -print-file-name=libubsan.so) $preload" most=65536
    export ASAN_OPTIONS=quarantine_size_mb=1:detect_leaks=0
    ;;
  thread) preload="$(g++ -print-file-name=libtsan.so) $preload" most=131072 ;;
esac
faults="recv=EINTR%20 send=EINTR%20 poll=EINTR%20"
faults+=" accept4=EINTR%20 accept4=EMFILE%20 socket=EMFILE%5 epoll_ctl=ENOMEM%2 openat=EINTR%10"
faults+=" openat=EMFILE%10 pread=EINTR%10 pwrite=ENOSPC%10 ftruncate=ENOSPC%10"

declare -A pids=()
service=0 failures=0 ended=0 killed=0 service_restarts=0 seed=0
finish() {
  for pid in "${pids[@]}" $service; do [ "$pid" -eq 0 ] || kill -KILL "$pid" 2>/dev/null || true; done
  rm -rf "$VESK_RUNTIME_DIR"
}
trap finish EXIT
fail() { progress; echo "soak: $*" >&2; failures=$((failures + 1)); }

# with_faults COMMAND...: in place of this shell
with_faults() { exec env LD_PRELOAD="$preload" VESK_FAULTS="${faults:+seed=$seed $faults}" "$@"; }
serves() { grep -qs serving "$logs/service.out"; }
# It may fail to start, with status 1: the next one has other faults.
start_service() {
  local status
  while true; do
    seed=$((seed + 1)) status=0
    rm -f "$logs/service.out" # which says that the one before is serving
    with_faults "$build/service/vesk-video-service" >"$logs/service.out" 2>>"$logs/service.log" &
    service=$!
    while [ -d "/proc/$service" ] && ! serves; do sleep 0.1; done
    if serves; then return; fi
    wait "$service" || status=$?
    [ $status -eq 1 ] || { fail "service ended with status $status as it started"; return; }
  done
}
start_application() {
  seed=$((seed + 1))
  with_faults "$build/tests/soak_application" "soak-$1" "$most" >>"$logs/soak-$1.log" 2>&1 &
  pids[$1]=$!
}
# stop NAME PID SIGNAL: ends a process that must still run and end as told, within a minute
stop() {
  local status=0 expected=0
  [ "$3" = TERM ] || expected=137
  kill -"$3" "$2" 2>/dev/null || true
  timeout 60 tail --pid="$2" -s 0.05 -f /dev/null || kill -ABRT "$2"
  wait "$2" 2>/dev/null || status=$?
  [ $status -eq $expected ] || fail "$1 ended with status $status after SIG$3; see $logs"
  if [ "$3" = TERM ]; then ended=$((ended + 1)); else killed=$((killed + 1)); fi
}
random_signal() { if [ $((RANDOM % 2)) -eq 0 ]; then echo TERM; else echo KILL; fi; }
restart_one() {
  local i=$((RANDOM % 8))
  stop "soak-$i" "${pids[$i]}" "$(random_signal)"
  start_application $i
}
all_applications() { # start, or end
  for i in {0..7}; do
    if [ "$1" = start ]; then start_application "$i"; else stop "soak-$i" "${pids[$i]}" TERM; fi
  done
  [ "$1" = start ] || pids=()
}
# A calm pass cleans up what the killed have left.
calmly() { local faults=""; all_applications start; sleep 3; all_applications end; sleep 1; }
files() { find "$VESK_RUNTIME_DIR" -mindepth 1 -printf '%f %y\n' | sed 's/^process-[0-9]*/process/' | sort; }
state() {
  echo "$(find "/proc/$service/fd" -mindepth 1 | wc -l) $(awk '/VmRSS/ { print $2 }' "/proc/$service/status")"
}

begun=$SECONDS
until_second() {
  progress "$ended ended, $killed killed, $minutes min in all"
  [ $((SECONDS - begun)) -lt "$1" ]
}
faults='' start_service
sleep 1
calmly
files >"$logs/files.before"
all_applications start
while until_second $((minutes * 40)); do # the service is restarted as well
  sleep 1
  restart_one
  if [ $((RANDOM % 4)) -eq 0 ]; then
    stop service "$service" "$(random_signal)"
    start_service
    service_restarts=$((service_restarts + 1))
  fi
done
all_applications end
stop service "$service" TERM
start_service
sleep 1
calmly
read -r descriptors memory <<<"$(state)"
all_applications start
while until_second $((minutes * 60)); do # one service has to bear it
  sleep 1
  restart_one
done
all_applications end
calmly
read -r descriptors_after memory_after <<<"$(state)"
progress
files >"$logs/files.after"
stop service "$service" TERM
service=0

[ "$descriptors_after" -le $((descriptors + 2)) ] || fail "descriptors of the service: $descriptors, then $descriptors_after"
[ "$memory_after" -le $((memory + most)) ] || fail "memory of the service: $memory KiB, then $memory_after KiB"
diff "$logs/files.before" "$logs/files.after" || fail "the runtime directory is not as it was"
silent=$(awk '/^[0-9 ]+$/ && $2 > 5000 && $4 == 0' "$logs"/soak-*.log | wc -l)
[ "$silent" -eq 0 ] || fail "$silent applications heard nothing in more than 5,000 requests"
awk '/^[0-9 ]+$/ { r += $1; q += $2; f += $3; n += $4; k += $5 }
  END { printf "%d rounds, %d requests (%d failed), %d notifications, %d forks\n", r, q, f, n, k }' "$logs"/soak-*.log
echo "$ended ended, $killed killed, of them $service_restarts services; descriptors of the service $descriptors," \
  "then $descriptors_after; memory $memory KiB, then $memory_after KiB; $failures failures"
[ "$failures" -eq 0 ]
