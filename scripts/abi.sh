#!/usr/bin/env bash
# Keeps the layout of the public records, as the debug information has it, against abi/records.txt.
#
#   scripts/abi.sh check [C-COMPILER]    fails with a line for each record or field that changed
#   scripts/abi.sh update [C-COMPILER]   writes the baseline anew, for a change that is meant
#
# The exported names have a list of their own, abi/exported_names.txt.
set -euo pipefail
cd "$(dirname "$0")/.."
baseline=abi/records.txt
compiler=${2:-gcc}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo '#include "vesk_video/vesk_video.h"' |
  "$compiler" -std=c11 -g -fno-eliminate-unused-debug-types -Iinclude -x c -c -o "$work/interface.o" -
# "struct Record {" and "type field; /* offset size */" become a line each.
pahole "$work/interface.o" | awk '
  /^struct [A-Z]/ { record = $2; next }
  record != "" && /^}/ { record = ""; next }
  record != "" && /size: [0-9]+,/ { sub(",", "", $3); print record " has " $3 " bytes"; next }
  record != "" && /\/\* +[0-9]+ +[0-9]+ \*\// {
    size = $(NF - 1); offset = $(NF - 2); text = $0
    sub(/;.*/, "", text); gsub(/[ \t]+/, " ", text); sub(/^ /, "", text)
    print record ": " text " at " offset ", " size " bytes"
  }' | LC_ALL=C sort >"$work/records.txt"
[ -s "$work/records.txt" ] || { echo "no record was found in the debug information" >&2; exit 1; }

case "${1:-}" in
  update) mkdir -p abi && cp "$work/records.txt" "$baseline" ;;
  check)
    if ! diff "$baseline" "$work/records.txt" >"$work/diff.txt"; then
      sed -n 's/^< /was: /p; s/^> /now: /p' "$work/diff.txt" >&2
      exit 1
    fi
    echo "$(grep -c ' has ' "$baseline") records as they were"
    ;;
  *) echo "usage: $0 check|update [C-COMPILER]" >&2; exit 2 ;;
esac
