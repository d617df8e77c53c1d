#!/bin/sh
# Holds a service that is restarted against the interface, and expects a verdict.
#
#   check_restart.sh VESKCTL SERVICE ok|FAILED
set -eu
veskctl=$1
service=$2
VESK_RUNTIME_DIR=$(mktemp -d)
export VESK_RUNTIME_DIR VESK_LOG_TARGET=none veskctl
cd "$VESK_RUNTIME_DIR"
(while [ ! -e end ]; do
  "$service" >>log 2>&1 &
  echo $! >pid
  wait $! || true
done) &
trap 'touch end; kill "$(cat pid)"; wait; rm -rf "$VESK_RUNTIME_DIR"' EXIT
"$veskctl" wait-service
# shellcheck disable=SC2016 # for the shell that veskctl starts
restart='old=$(cat pid); kill "$old"; tail -f --pid="$old" -s 0.05 /dev/null; "$veskctl" wait-service'
"$veskctl" check restart --restart "$restart" | tee report
grep -q "^$3  *restart.clients " report
