#!/usr/bin/env bash
# Builds the release preset and compares the cost of calls and notifications with that of a bare socket pair.
#
#   scripts/bench.sh [--quick] [--json] [--syscalls]     --syscalls also counts system calls, with strace
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

for option in "$@"; do
  case "$option" in
    --quick | --json) ;;
    --syscalls) install_packages strace ;;
    *) echo "usage: $0 [--quick] [--json] [--syscalls]" >&2; exit 2 ;;
  esac
done
install_packages "${picture_packages[@]}"
install_benchmark_packages

build release vesk_bench
results=$(alive "measuring" build/release/bench/vesk_bench "$@")
printf '%s\n' "$results"
