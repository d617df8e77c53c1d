#!/usr/bin/env bash
# Checks the scripts with shellcheck and the sources, but not the tests, with clang-tidy (see .clang-tidy).
# Any finding fails.
#
#   scripts/lint.sh [FOLDER...]     all folders with sources by default
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh
install_packages shellcheck clang-tidy-14 clang-tools-14

git ls-files -z '*.sh' .ci/run | xargs -0 shellcheck
build dev # the generated headers
[ $# -gt 0 ] || set -- transport interface callback codec mouse uvc process_name platform base decoder steering service tools examples bench
findings=$(mktemp)
trap 'rm -f "$findings"' EXIT
if ! run-clang-tidy-14 -p build/dev -quiet -extra-arg=-Wno-unknown-warning-option -j"$(nproc)" \
  "$PWD/($(IFS='|' && echo "$*"))/" >"$findings" 2>/dev/null; then
  grep -v '^clang-tidy-14 ' "$findings" >&2
  exit 1
fi
echo "shellcheck and clang-tidy: no findings"
