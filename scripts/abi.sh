#!/usr/bin/env bash
# Compares the layout of the public records, the virtual service's among them, with the baseline abi/records.txt. The
# layout is taken from debug information. The tools read the baseline to name the fields of a message.
#
#   scripts/abi.sh check [C-COMPILER]    prints each record or field that changed, and fails if there is any
#   scripts/abi.sh update [C-COMPILER]   rewrites the baseline after an intended change
#
# The exported names are listed separately, in abi/exported_names.txt.
set -euo pipefail
cd "$(dirname "$0")/.."
baseline=abi/records.txt
compiler=${2:-gcc}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

printf '#include "%s"\n' vesk_video/vesk_video.h vesk_service/control.h |
  "$compiler" -std=c11 -g -fno-eliminate-unused-debug-types -Iinclude -x c -c -o "$work/interface.o" -
# One line for each "struct Record {" and each "type field; /* offset size */".
pahole "$work/interface.o" | awk '
  /^struct [A-Z]/ { record = $2; next }
  record != "" && /^}/ { record = ""; next }
  record != "" && /size: [0-9]+,/ { sub(",", "", $3); print record " has " $3 " bytes"; next }
  record != "" && /\/\* +[0-9]+ +[0-9]+ \*\// {
    size = $(NF - 1); offset = $(NF - 2); text = $0
    sub(/;.*/, "", text); gsub(/[ \t]+/, " ", text); sub(/^ /, "", text)
    print record ": " text " at " offset ", " size " bytes"
  }' | LC_ALL=C sort >"$work/records.txt"
[ -s "$work/records.txt" ] || { echo "no records found in the debug information" >&2; exit 1; }

case "${1:-}" in
  update) mkdir -p abi && cp "$work/records.txt" "$baseline" ;;
  check)
    if ! diff "$baseline" "$work/records.txt" >"$work/diff.txt"; then
      sed -n 's/^< /was: /p; s/^> /now: /p' "$work/diff.txt" >&2
      exit 1
    fi
    echo "$(grep -c ' has ' "$baseline") records unchanged"
    ;;
  *) echo "usage: $0 check|update [C-COMPILER]" >&2; exit 2 ;;
esac
