#!/usr/bin/env bash
# Builds the release preset and measures what virtual devices cost that run side by side; see bench/capacity.py.
#
#   scripts/capacity.sh [DEVICES...]     default: 1 10 50 200
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

install_packages python3
build release vesk-video-service vesk-device-tour
python3 bench/capacity.py build/release/service/vesk-video-service build/release/examples/vesk-device-tour "$@"
