#!/usr/bin/env bash
# Runs one shard of a test suite: every COUNTth test, from number INDEX on, which counts from 0.
#
#   shard.sh INDEX COUNT RESULTS SUITE [ARGUMENT...]
#
# SUITE is a build folder with tests of CTest, else a folder with tests of pytest; further arguments are for ctest or pytest.
# The shard reports by the file RESULTS/shard-INDEX.xml, which is there only once it is complete. With - for RESULTS, its lines
# go to standard output instead. The status is 1 if a test has failed, and 2 if the shard did not get to its end; then it
# reports nothing.
set -euo pipefail
[ $# -ge 4 ] || { echo "usage: $0 INDEX COUNT RESULTS SUITE [ARGUMENT...]" >&2; exit 2; }
number='^(0|[1-9][0-9]*)$'
[[ $1 =~ $number && $2 =~ $number && $1 -lt $2 ]] || { echo "no shard $1 of $2; the first is 0" >&2; exit 2; }
index=$1 count=$2 results=$3 suite=$4
shift 4

work=$(mktemp -d) # below /tmp or TMPDIR, never on a file system of several machines: sockets are in it
trap 'rm -rf "$work"' EXIT
export VESK_RUNTIME_DIR=$work/vesk
report=$work/report.xml
[ "$results" = - ] || results=$(realpath -m "$results")
cd "$suite"

give_up() { echo "shard $index of $count: $*; it reports nothing" >&2; exit 2; }

# Of more shards than tests, some have none; both runners would run all of them then.
no_tests() { echo "<testsuites/>" >"$report"; }

status=0
if [ -f CTestTestfile.cmake ]; then
  failing=8
  tests=$(ctest --show-only | sed -n 's/^Total Tests: //p')
  [ "${tests:-0}" -gt 0 ] || give_up "ctest finds no tests"
  if [ "$index" -ge "$tests" ]; then
    no_tests
  else
    ctest -I $((index + 1)),,"$count" --output-junit "$report" "$@" || status=$?
  fi
else
  failing=1
  if ! pytest --rootdir=. "$@" --collect-only --verbosity=-1 >"$work/collected"; then
    cat "$work/collected" >&2
    give_up "pytest cannot collect the tests"
  fi
  grep :: "$work/collected" >"$work/tests" || give_up "pytest finds no tests"
  mapfile -t tests < <(split -n "r/$((index + 1))/$count" "$work/tests")
  if [ ${#tests[@]} -eq 0 ]; then
    no_tests
  else
    pytest --rootdir=. --junit-xml="$report" "$@" "${tests[@]}" || status=$?
  fi
fi
[ $status -eq 0 ] || [ $status -eq $failing ] || give_up "ended with status $status"
[ -s "$report" ] || give_up "ended without a report" # a test has ended the whole process, with status 0

if [ "$results" = - ]; then
  awk -v name="shard-$index.xml" '{ print name ": " $0 }' "$report"
else
  mkdir -p "$results"
  cp "$report" "$results/.shard-$index"
  mv "$results/.shard-$index" "$results/shard-$index.xml"
fi
[ $status -eq 0 ] || exit 1
