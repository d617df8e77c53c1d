#!/usr/bin/env bash
# Builds the reference in build/docs/html. Fails if anything public is undocumented.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh
{ command -v doxygen && command -v dot; } >/dev/null || install_packages doxygen graphviz
mkdir -p build/docs
version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
{ cat docs/Doxyfile; echo "PROJECT_NUMBER = $version"; echo "OUTPUT_DIRECTORY = build/docs"; } | quietly doxygen -
echo "build/docs/html/index.html"
