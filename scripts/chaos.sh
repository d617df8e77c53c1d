#!/usr/bin/env bash
# Runs eight applications against a virtual device on which random scenarios happen, one after the other: cables
# are pulled, answers come late, wrongly or never, the service dies. Ends with status 1 if a process crashes, leaks
# or hangs, or if a notification got lost that the service says it has sent. Logs are in build/PRESET/chaos.
#
#   scripts/chaos.sh [RUNS] [--seed FIRST] [--preset PRESET]     default: 100 runs from seed 1, preset asan
#
# A run's scenario depends on its seed only: RUNS 1 with a seed repeats it.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

runs=100 first=1 preset=asan
while [ $# -gt 0 ]; do
  case "$1" in
    --seed) first=${2:?--seed needs a number}; shift ;;
    --preset) preset=${2:?--preset needs a name}; shift ;;
    [1-9]*) runs=$1 ;;
    *) echo "usage: $0 [RUNS] [--seed FIRST] [--preset PRESET]" >&2; exit 2 ;;
  esac
  shift
done
install_packages
build "$preset" vesk-video-service veskctl steered_application
build=build/$preset logs=build/$preset/chaos
rm -rf "$logs"
mkdir -p "$logs"
VESK_RUNTIME_DIR=$(mktemp -d)
export VESK_RUNTIME_DIR VESK_LOG_TARGET=none
veskctl=$build/tools/veskctl/veskctl

service=0 deaths=0 failures=0 compared=0
declare -A pids=() before=()
finish() {
  for pid in "${pids[@]}" $service; do [ "$pid" -eq 0 ] || kill -KILL "$pid" 2>/dev/null || true; done
  rm -rf "$VESK_RUNTIME_DIR"
}
trap finish EXIT
fail() { progress; echo "chaos: $*; see $logs" >&2; failures=$((failures + 1)); }

start_service() {
  "$build/service/vesk-video-service" >"$logs/service.out" 2>>"$logs/service.log" &
  service=$!
  "$veskctl" wait-service || fail "the service does not serve"
}
# ended NAME PID EXPECTED: waits for the end of a process, for a minute at most
ended() {
  local status=0
  timeout 60 tail --pid="$2" -s 0.05 -f /dev/null || kill -ABRT "$2"
  wait "$2" || status=$?
  [ $status -eq "$3" ] || fail "$1 ended with status $status"
}
device() { timeout 60 "$veskctl" device "$@"; }

one_of() { shift $((RANDOM % $#)); echo "$1"; }
match() {
  one_of '*' 'request:*' 'notification:*' VI_START VO_START OPEN_VO_PORT ENC_CREATE SET_ENC_PARAM GET_VI_PORT INIT \
    SET_CALLBACK "INIT --app chaos-$((RANDOM % 8))" DISPLAY_FIRST_FRAME VI_PORT_PLUG_STATE VO_PORT_DDC_INFO
}
# The library drops notifications without a header, and DISPLAY_FIRST_FRAME of another length.
effect() {
  case "$1" in
    V?_PORT_*) one_of 'delay 200' 'length -4' 'length +100' garbage duplicate drop ;;
    DISPLAY* | notification*) one_of 'delay 200' garbage duplicate drop ;;
    '*') one_of 'delay 100' garbage ;;
    *) one_of 'result BUSY' 'result 65535' 'delay 150' no-answer close 'length -8' 'length =3' 'length +4000' garbage ;;
  esac
}
fault() {
  local match effect options=''
  match=$(match) effect=$(effect "$match")
  case "$effect" in
    no-answer) options='--count 1' ;;
    *) options="--count $((1 + RANDOM % 8)) --percent $((20 + RANDOM % 81)) --seed $RANDOM" ;;
  esac
  echo "fault add $match $effect $options --after $((RANDOM % 20))"
}
command() {
  local port
  port="$(one_of input output) $((RANDOM % 2))"
  case $((RANDOM % 8)) in
    0) echo "unplug $port" ;;
    1) echo "plug $port --mode 1280x720@30" ;;
    2) echo "mode $port $(one_of 640x480@25 1920x1080@60 3840x2160@30)" ;;
    3) echo "notify $(one_of VIDEO_CAPABILITY_UPDATE NOTIFY_104 ENCODE_STATUS) --length $((RANDOM % 3000))" ;;
    *) fault ;;
  esac
}
# What was on its way when a service died is no longer known; so only the first of twenty may let it die.
scenario() { # SEED
  RANDOM=$1
  local steps=$((3 + RANDOM % 8))
  printf '[[step]]\nat = 0\ndo = "fault clear"\n'
  while [ $((steps--)) -gt 0 ]; do
    if [ $((RANDOM % 3)) -eq 0 ]; then
      printf '[[step]]\non = "%s"\nnth = %d\ndo = "%s"\n' "$(one_of VO_START VI_START ENC_START INIT)" $((1 + RANDOM % 9)) "$(command)"
    else
      printf '[[step]]\nat = 0.%03d\ndo = "%s"\n' $((RANDOM % 400)) "$(command)"
    fi
  done
  [ $(($1 % 20)) -ne 1 ] || [ $((RANDOM % 2)) -eq 0 ] || printf '[[step]]\nat = 0.2\ndo = "fault add * die --after %d"\n' $((RANDOM % 30))
}

# The service may die meanwhile, and is started again.
run_scenario() { # FILE
  until device scenario "$1" >>"$logs/veskctl.log" 2>&1; do
    [ -d "/proc/$service" ] && { fail "scenario $1 is refused"; return; }
    restart_if_dead
  done
  sleep 0.3
  restart_if_dead
}
restart_if_dead() {
  [ -d "/proc/$service" ] && return
  ended service "$service" 3
  deaths=$((deaths + 1))
  start_service
}
signal_all() { for pid in "${pids[@]}"; do kill "-$1" "$pid" || fail "an application has ended"; done; }

# compare [baseline]: holds all applications up and compares what has come with what the service has sent
compare() {
  { device fault clear && device scenario --end; } >/dev/null || fail "the service does not answer"
  rm -f "$logs"/*.count
  signal_all USR1
  for _ in $(seq 300); do
    [ "$(find "$logs" -name '*.count' | wc -l)" -eq 8 ] && break
    sleep 0.1
  done
  local i sent came
  device state >"$logs/state.txt"
  for i in {0..7}; do
    came=$(cat "$logs/$i.count") || { fail "chaos-$i hangs"; continue; }
    sent=$(sed -n "s|^ *chaos-$i/.* \([0-9]*\) notifications.*|\1|p" "$logs/state.txt")
    if [ "$1" != baseline ] && [ $((came - sent)) -ne "${before[$i]:-0}" ]; then
      fail "chaos-$i has $((${before[$i]:-0} - came + sent)) notifications fewer than were sent to it"
    fi
    before[$i]=$((came - sent))
  done
  [ "$1" = baseline ] || compared=$((compared + 1))
  signal_all USR2
}

start_service
for i in {0..7}; do
  "$build/tests/steered_application" "chaos-$i" "$logs/$i.count" >"$logs/$i.log" 2>&1 &
  pids[$i]=$!
done
for ((run = 0; run < runs; ++run)); do
  seed=$((first + run))
  progress "run $((run + 1)) of $runs"
  scenario $seed >"$logs/scenario.toml"
  run_scenario "$logs/scenario.toml"
  case $((seed % 20)) in
    1) compare baseline ;;
    0) compare all; progress; echo "seeds $((seed - 19)) to $seed: $deaths deaths of the service, $failures failures" ;;
  esac
done
progress
for i in {0..7}; do
  kill -TERM "${pids[$i]}"
  ended "chaos-$i" "${pids[$i]}" 0
done
pids=()
kill -TERM "$service"
ended service "$service" 0
service=0
tail -qn 1 "$logs"/[0-7].log
echo "$runs scenarios from seed $first, $deaths deaths of the service, $compared comparisons of what was sent and came," \
  "$failures failures"
[ $failures -eq 0 ]
