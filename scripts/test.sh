#!/usr/bin/env bash
# Builds a preset and runs all of its tests.
#
#   scripts/test.sh [dev|release|asan|tsan|clang|aarch64]     default: dev
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

preset=${1:-dev}
case "$preset" in
  dev | release | asan) install_test_packages ;;
  tsan) install_packages ;;
  clang) install_test_packages clang-14 ;;
  aarch64)
    dpkg --print-foreign-architectures | grep -qx arm64 || as_root dpkg --add-architecture arm64
    install_packages g++-aarch64-linux-gnu qemu-user libspdlog-dev:arm64 libedit-dev:arm64 libgtest-dev:arm64
    ;;
  *) echo "usage: $0 [dev|release|asan|tsan|clang|aarch64]" >&2; exit 2 ;;
esac

build "$preset"
step "testing $preset" ctest --preset "$preset" --parallel "$(nproc)"
