#!/usr/bin/env bash
# Runs the tests of a preset beside busy loops, as on a machine that has more to do than it can: all of them once, then
# ten times those whose outcome depends on time. Ends with status 1 if a run has failed. What the runs have written is in
# build/PRESET/loaded.
#
#   scripts/loaded_tests.sh [PRESET] [LOAD]     default: preset dev, 20 busy loops
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

preset=${1:-dev} load=${2:-20}
if [ $# -gt 2 ] || [[ ! $preset =~ ^[a-z] || ! $load =~ ^[1-9][0-9]*$ ]]; then
  echo "usage: $0 [PRESET] [LOAD]" >&2
  exit 2
fi

# Tests that wait for a time to pass, or measure one, or whose processes have to be ready at some time.
timed='^(HostMessage|HostQueue|FastClock|Task|DeviceTest|WithDeviceTest|VeskctlTest|ReplayTest|Completion)\.'
timed+='|^Input\.TheQueueIsWaitedFor$'
timed+='|^NotificationTest\.AForkedChild'
timed+='|^VideoService\.(AForkedChild|AnApplicationsCall|QueuesCome)'
timed+='|^Application\.(A1024Queues|TenRestarts|TheServiceReads)'
timed+='|^TraceTest\.RecordsAnswersThatAreGivenLate$'
timed+='|^Faults\.EachAllocationAtALoops'
timed+='|^(FilesTest|PicturesTest)\.|^Tools\.(Web|Page)$'

install_test_packages
build "$preset"

logs=build/$preset/loaded
rm -rf "$logs"
mkdir -p "$logs"
finish() { jobs -p | xargs -r kill 2>/dev/null || true; }
trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

for _ in $(seq "$load"); do # until this shell has ended, however that happens
  while kill -0 $$ 2>/dev/null; do for ((i = 0; i < 100000; ++i)); do :; done; done &
done

runs=0 failures=0
# run TITLE REGEXP: in the background, so that a signal to this shell ends it
run() {
  local status=0 log=$logs/$runs.log
  ctest --preset "$preset" --parallel "$(nproc)" -R "$2" >"$log" 2>&1 &
  alive "run $((runs + 1)) of 11: $1" wait $! || status=$?
  echo "== $1 beside $load busy loops"
  sed -n '/tests passed/,$p' "$log"
  runs=$((runs + 1))
  [ $status -eq 0 ] || failures=$((failures + 1))
}

run "all tests" .
for i in {1..10}; do run "tests of time, run $i of 10" "$timed"; done
echo "$runs runs, $failures of them failed; see $logs"
[ $failures -eq 0 ]
