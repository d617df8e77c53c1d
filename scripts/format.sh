#!/usr/bin/env bash
# Formats all C and C++ sources. With --check, only reports what is not formatted and fails if there is any.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh
install_packages clang-format-14

mode=(-i)
[ "${1:-}" != --check ] || mode=(--dry-run --Werror)
git ls-files -co --exclude-standard '*.h' '*.cpp' '*.c' | xargs clang-format-14 "${mode[@]}"
