#!/usr/bin/env bash
# Holds the manifest of examples/cluster to the types of Debian's kubectl, without a server, and runs what its pods run. A
# field that kubectl does not know, or of another type, is an error, but for those that came after its version, 1.20. What only
# a server checks, such as the values of fields, is not checked. The kubectl need not be installed: it is unpacked in build.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

newer="backoffLimitPerIndex completionMode podFailurePolicy" # of Kubernetes 1.29, 1.21 and 1.26
prepare_suite
kubectl=$PWD/build/kubernetes-client/usr/bin/kubectl
export KUBECONFIG=/dev/null # no cluster of the user's
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

get_kubectl() {
  cd "$work"
  apt-get download -q kubernetes-client || { as_root apt-get update -q && apt-get download -q kubernetes-client; }
  cd - >/dev/null
  dpkg -x "$work"/kubernetes-client_*.deb build/kubernetes-client
}
[ -x "$kubectl" ] || step "apt-get download kubernetes-client" quietly get_kubectl

# Prints the fields of a manifest that get lost when kubectl reads it as what it says to be. "annotate" keeps them all, "set
# image" has its types; both print something only if there is a change.
lost() {
  "$kubectl" annotate --local -f "$1" -o json a=b >"$work/written.json"
  "$kubectl" set image --local -f "$1" -o json shard=image >"$work/read.json" || return
  python3 - "$work/written.json" "$work/read.json" <<'END'
import json
import sys


def lost(written, read, path):
    if isinstance(written, dict) and isinstance(read, dict):
        for name, value in written.items():
            yield from lost(value, read.get(name), path + [name])
    elif isinstance(written, list) and isinstance(read, list) and len(written) == len(read):
        for number, (value, other) in enumerate(zip(written, read)):
            yield from lost(value, other, path + [str(number)])
    elif written != read and path[-1] not in ("annotations", "image"):
        yield ".".join(path[1:] if path[0] == "spec" else path)


print(*sorted(lost(*(json.load(open(name)) for name in sys.argv[1:]), [])))
END
}
fail() { echo "$*" >&2; exit 1; }

manifest=examples/cluster/job.yaml
"$kubectl" version --client --short
found=$(lost "$manifest")
echo "fields of $manifest that it does not know: $found"
[ "$found" = "$newer" ] || fail "expected: $newer"

# Whether that finds anything: each line makes one mistake.
while IFS='|' read -r change expected; do
  sed "$change" "$manifest" >"$work/job.yaml"
  ! cmp -s "$work/job.yaml" "$manifest" || fail "the manifest has nothing for $change"
  found=$(lost "$work/job.yaml" 2>&1) || true
  [[ $found == *"$expected"* ]] || fail "not found in a manifest changed by $change: $expected"
  echo "found after $change: $(grep -oF "$expected" <<<"$found" | head -1)"
done <<'END'
s/runAsNonRoot/runAsNonroot/|template.spec.securityContext.runAsNonroot
s/completions: 8/completions: eight/|JobSpec.Completions: readUint32
s/emptyDir/emptydir/|template.spec.volumes.0.emptydir
s/memory: 128Mi/memory: 128 MB/|quantities must match
s/kind: Job/kind: Jobb/|no kind "Jobb" is registered
END

# What the pods run, one after the other, and their logs
lost "$manifest" >/dev/null
mapfile -t command < <(python3 -c '
import json, sys
job = json.load(sys.stdin)["spec"]
container, = job["template"]["spec"]["containers"]
print(job["completions"], *container["command"], sep="\n")' <"$work/read.json")
shards=${command[0]}
cp -r examples/cluster "$work/suite"
cd "$work/suite"
for ((index = 0; index < shards; ++index)); do
  pod=("${command[@]:1}")
  # shellcheck disable=SC2016 # kubernetes replaces this, not a shell
  "${pod[@]//'$(JOB_COMPLETION_INDEX)'/$index}" || fail "a pod failed"
done >"$work/log"
./merge.py "$shards" - "$work/report.xml" <"$work/log"
