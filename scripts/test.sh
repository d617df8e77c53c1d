#!/usr/bin/env bash
# Builds a preset and runs all its tests.
#
#   scripts/test.sh [dev|release|asan|tsan|clang]     dev unless said otherwise
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

preset=${1:-dev}
case "$preset" in
  dev | release | asan | tsan) install_packages ;;
  clang) install_packages clang-14 ;;
  *) echo "usage: $0 [dev|release|asan|tsan|clang]" >&2; exit 2 ;;
esac

jobs=$(nproc)
quietly cmake --preset "$preset"
quietly cmake --build --preset "$preset" --parallel "$jobs"
ctest --preset "$preset" --parallel "$jobs"
