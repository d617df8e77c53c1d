#!/usr/bin/env bash
# Builds the reference into build/docs/html; fails when something public is not documented.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
install_packages doxygen
mkdir -p build/docs
{ cat docs/Doxyfile; echo "OUTPUT_DIRECTORY = build/docs"; } | quietly doxygen -
echo "build/docs/html/index.html"
