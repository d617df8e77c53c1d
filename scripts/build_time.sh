#!/usr/bin/env bash
# Measures what the two commands of the README cost before anything is built, one after the other: their processor time
# as a multiple of what the compiler takes for one small source that includes CLI11. Names the sources that take longest.
#
#   scripts/build_time.sh [--here]     in a fresh clone of HEAD; --here: in this tree, without a build
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

case "${1:-}" in
  "")
    rm -rf build/build_time
    git clone --quiet . build/build_time
    exec build/build_time/scripts/build_time.sh --here
    ;;
  --here) ;;
  *) echo "usage: $0 [--here]" >&2; exit 2 ;;
esac
[ ! -e build/dev ] || { echo "build/dev is there already; expected a tree without builds" >&2; exit 2; }
install_test_packages

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
TIMEFORMAT='%U %S'
# Runs a command; the processor time of it and its children, in seconds, is in the variable "seconds" then.
measure() {
  { time "$@" 2>&3; } 3>&2 2>"$work/time"
  seconds=$(awk '{ print $1 + $2 }' "$work/time")
}

cat >"$work/reference.cpp" <<'END'
#include <CLI/CLI.hpp>

int main(int c, char** v) { CLI::App a; CLI11_PARSE(a, c, v); }
END
references=
measure_reference() { # several times, as the machine may become slower or faster meanwhile
  measure g++ -std=c++20 -O2 -g -c "$work/reference.cpp" -o "$work/reference.o"
  references+=" $seconds"
}

measure_reference
measure scripts/demo.sh
demonstration=$seconds
measure_reference
measure scripts/test.sh
tests=$seconds
measure_reference
awk -v references="$references" -v demonstration="$demonstration" -v tests="$tests" 'BEGIN {
  count = split(references, seconds)
  for (i in seconds) reference += seconds[i] / count
  printf "processor time of the reference: %.1f s\n", reference
  printf "scripts/demo.sh: %.0f s, %.1f times as much\n", demonstration, demonstration / reference
  printf "scripts/test.sh after it: %.0f s; both: %.1f times as much\n", tests, (demonstration + tests) / reference
}'
echo "the sources that take longest, in seconds:"
awk -F '\t' '$4 ~ /\.o$/ {
  sub(/CMakeFiles\/[^\/]*\.dir\//, "", $4)
  sub(/\.o$/, "", $4)
  printf "%8.1f %s\n", ($2 - $1) / 1000, $4
}' build/dev/.ninja_log | sort -rn | sed -n 1,10p
