#!/usr/bin/env bash
# Runs all tests of "veskctl check" under each fault of tests/tools/check_faults.txt: no test may fail that has nothing
# to do with it. Needs the dev preset built.
#
#   scripts/check_faults.sh
set -euo pipefail
cd "$(dirname "$0")/.."
PATH=$PWD/build/dev/tools/veskctl:$PATH exec python3 tests/tools/worth_test.py tests/tools/check_faults.txt \
  "$PWD/build/dev/tests/altered_service" --whole
