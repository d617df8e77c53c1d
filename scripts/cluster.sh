#!/usr/bin/env bash
# Runs the suite of examples/cluster in shards on a Slurm cluster of this machine alone, twice: as it is, and with a test that
# fails and one that ends its shard, which both must be seen. The cluster's daemons are started for that, with a key, sockets,
# ports and a configuration of their own, and are gone afterwards. No root is needed but for installing packages.
#
#   scripts/cluster.sh [SHARDS]     default: 8
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

shards=${1:-8}
[[ $# -le 1 && $shards =~ ^([2-9]|[1-9][0-9])$ ]] || { echo "usage: $0 [SHARDS]     at least 2" >&2; exit 2; }
prepare_suite slurmctld slurmd slurm-client munge

rm -rf build/cluster
cp -r examples/cluster build/cluster
cd build/cluster
mkdir results
work=$(mktemp -d)
chmod 711 "$work" # munged insists that others can reach its socket
controller=0 node=0
finish() {
  local status=$? jobs
  trap - EXIT
  [ "$controller" -eq 0 ] || timeout 10 scancel --me 2>/dev/null || true
  mapfile -t jobs < <(left_behind)
  await_end "${jobs[@]}"
  [ "$node" -eq 0 ] || end "$node"
  [ "$controller" -eq 0 ] || end "$controller"
  [ ! -f "$work/munged.pid" ] || munged --stop --socket="$work/munge.socket" --pid-file="$work/munged.pid" >/dev/null
  [ $status -eq 0 ] || tail -n 5 "$work"/*.log >&2 || true
  rm -rf "$work"
  exit $status
}
end() { kill -TERM "$1" 2>/dev/null || true; await_end "$1"; }
await_end() { # of all of them, within 10 seconds
  local pid end=$((SECONDS + 10))
  for pid in "$@"; do
    timeout $((end > SECONDS ? end - SECONDS : 1)) tail --pid="$pid" -s 0.1 -f /dev/null || kill -KILL "$pid" 2>/dev/null || true
  done
}
# Whatever this cluster has started has its configuration in its environment; printed are the jobs' processes.
left_behind() {
  local file
  grep -lszxF "SLURM_CONF=$work/slurm.conf" /proc/[0-9]*/environ | while read -r file; do
    grep -qsxE 'munged|slurmctld|slurmscriptd|slurmd' "${file%environ}comm" || basename "${file%/environ}"
  done
}
trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

start_cluster() {
  local host user ports
  host=$(hostname -s) user=$(id -un)
  mapfile -t ports < <(python3 -c 'import socket
for held in [socket.create_server(("127.0.0.1", 0)) for _ in range(2)]: print(held.getsockname()[1])')
  mkdir "$work/state" "$work/spool"
  head -c 1024 /dev/urandom >"$work/munge.key"
  chmod 400 "$work/munge.key"
  sed 's/^ *//' >"$work/slurm.conf" <<END
    ClusterName=tests
    SlurmctldHost=$host(127.0.0.1)
    SlurmctldPort=${ports[0]}
    SlurmdPort=${ports[1]}
    SlurmUser=$user
    SlurmdUser=$user
    AuthType=auth/munge
    AuthInfo=socket=$work/munge.socket
    StateSaveLocation=$work/state
    SlurmdSpoolDir=$work/spool
    SlurmctldPidFile=$work/slurmctld.pid
    SlurmdPidFile=$work/slurmd.pid
    SlurmdParameters=config_overrides
    ProctrackType=proctrack/linuxproc
    KillWait=1
    TaskPlugin=task/none
    MpiDefault=none
    SelectType=select/cons_tres
    SelectTypeParameters=CR_CPU_Memory
    NodeName=$host NodeAddr=127.0.0.1 CPUs=4 RealMemory=2048
    SchedulerParameters=batch_sched_delay=0,sched_interval=1
    PartitionName=tests Nodes=$host Default=YES
END
  export SLURM_CONF=$work/slurm.conf
  munged --key-file="$work/munge.key" --socket="$work/munge.socket" --pid-file="$work/munged.pid" \
    --log-file="$work/munged.log" --seed-file="$work/munged.seed"
  setsid slurmctld -D >"$work/slurmctld.log" 2>&1 &
  controller=$! # out of reach of the terminal's Ctrl-C: it is needed to end the jobs
  setsid slurmd -D >"$work/slurmd.log" 2>&1 &
  node=$!
}

show() { printf '$ %s\n' "$*"; "$@"; }

# run SUITE EXPECTED: runs a suite as a user does; the status of the whole must be as expected
run() {
  local status=0
  echo "\$ sbatch --array=0-$((shards - 1)) shards.sbatch $1"
  job=$(sbatch --parsable --array="0-$((shards - 1))" shards.sbatch "$1")
  show timeout 15m srun --quiet --dependency="afterany:$job" ./merge.py "$shards" "results/$job" "results/$job.xml" &
  wait $! || status=$? # a signal ends this wait at once
  show squeue --jobs="$job" --states=all --array --sort=i --Format=JobArrayID:8,Name:12,State:11,StartTime:21,EndTime:20
  tail -qn 1 "results/$job"-*.log
  [ $status -eq "$2" ] || fail "merge.py ended with status $status, not $2"
}
fail() { echo "$*" >&2; exit 1; }

start_cluster
show sinfo
run suite 0
(cd suite && pytest --collect-only -q | grep ::) | sort >"$work/collected"
sed 's/<testcase/\n&/g' "results/$job.xml" | sed -n 's/^<testcase classname="\([^"]*\)" name="\([^"]*\)".*/\1.py::\2/p' |
  sort | diff "$work/collected" - || fail "not every test has run once"

cp -r suite faulty
cat >faulty/test_faulty.py <<'END'
import os


def test_fails():
    assert 1 + 1 == 3


def test_ends_its_shard():
    os._exit(0)
END
run faulty 1
for expected in '<failure message="assert (1 + 1) == 3"' '<error message="missing or cut off' ' failures="1" errors="1" '; do
  grep -qF "$expected" "results/$job.xml" || fail "the report of $job lacks $expected"
done
sinfo
echo "as expected; the reports and logs are in build/cluster/results"
