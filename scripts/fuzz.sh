#!/usr/bin/env bash
# Builds the fuzz targets and runs them, two at a time. What a target finds interesting is kept in
# build/fuzz/corpus/TARGET and is where its next run begins; an input that fails is left in build/fuzz/failed.
#
#   scripts/fuzz.sh [SECONDS] [TARGET]     SECONDS for each target, 60 by default; all targets by default
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

seconds=${1:-60}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || { echo "usage: $0 [SECONDS] [TARGET]" >&2; exit 2; }
folder=build/fuzz
install_packages clang-14 libclang-rt-14-dev
build fuzz

run() {
  local name=$1 log=$3/$1.log status=0 examples=()
  case $name in # texts that chance would not write
    device_file) examples=(service/devices) ;;
    scenario_file) examples=(service/scenarios) ;;
  esac
  mkdir -p "$3/corpus/$name" "$3/failed"
  "$3/tests/fuzz/fuzz_$name" -max_total_time="$2" -timeout=15 -rss_limit_mb=1024 -max_len=8192 \
    -artifact_prefix="$3/failed/$name-" -print_final_stats=1 -close_fd_mask=1 \
    "$3/corpus/$name" "${examples[@]}" >"$log" 2>&1 || status=$?
  progress
  [ $status -eq 0 ] || tail -n 60 "$log" >&2
  echo "$name: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1) inputs," \
    "$(find "$3/corpus/$name" -type f | wc -l) kept, status $status"
  return $status
}
export -f run progress

targets=()
for source in tests/fuzz/*.cpp; do targets+=("$(basename "$source" .cpp)"); done
if [ -n "${2:-}" ]; then
  [ -f "tests/fuzz/$2.cpp" ] || { echo "no target '$2'; there are: ${targets[*]}" >&2; exit 2; }
  targets=("$2")
fi
printf '%s\n' "${targets[@]}" | alive "${#targets[@]} targets, two at a time, $seconds s each" \
  xargs -P 2 -I{} bash -c 'run "$@"' run {} "$seconds" "$folder"
