#!/usr/bin/env bash
# Checks the scripts with shellcheck, Python with flake8, which folders include which, and the sources, but not the tests,
# with clang-tidy (see .clang-tidy). Any finding fails.
#
#   scripts/lint.sh [FOLDER...]     all folders with sources by default
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh
install_packages shellcheck flake8 clang-tidy-14 clang-tools-14 "${picture_packages[@]}"

git ls-files -z '*.sh' .ci/run | xargs -0 shellcheck
git ls-files -z '*.py' | xargs -0 flake8 --max-line-length 120 --per-file-ignores '__init__.py:F401,F403'

# A folder includes headers of those before it in this list; base/text.h, which includes none, is for all.
folders=(platform transport callback interface codec mouse uvc process_name base decoder steering service pictures tools)
git grep -E '^#include "[a-z_]+/' -- "${folders[@]}" | grep -vF '"base/text.h"' | awk -F '[:/"]' -v folders="${folders[*]}" '
  BEGIN { count = split(folders, names, " "); for (i = 1; i <= count; ++i) rank[names[i]] = i }
  { included = $0; sub(/^[^"]*"/, "", included); sub(/\/.*/, "", included) }
  rank[included] > rank[$1] { print "includes a folder that stands above it: " $0; found = 1 }
  END { exit found }'
# clang-tidy cannot read headers that another compiler has precompiled, and checks a source once for each target that
# has it: tests would have some of the others a second time.
quietly cmake --preset dev -B build/lint -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON -DVESK_BUILD_BENCHMARKS=ON \
  -DBUILD_TESTING=OFF
[ $# -gt 0 ] || set -- "${folders[@]}" examples bench
findings=$(mktemp)
trap 'rm -f "$findings"' EXIT
tidy() {
  run-clang-tidy-14 -p build/lint -quiet -extra-arg=-Wno-unknown-warning-option -j"$(nproc)" "$1" \
    >"$findings" 2>/dev/null
}
if ! alive "clang-tidy of $*" tidy "$PWD/($(IFS='|' && echo "$*"))/"; then
  grep -v '^clang-tidy-14 ' "$findings" >&2
  exit 1
fi
echo "shellcheck, flake8, includes and clang-tidy: no findings"
