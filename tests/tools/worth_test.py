"""What each test of "veskctl check" is worth: a fault under which it fails, and nothing unrelated does.

worth_test.py TABLE SERVICE [--whole], with veskctl in PATH

A row of the table is a test, a fault of the service and, with --whole, the other tests that may fail by it:

    life.start-twice | fault VO_START result OK | values.* life.stop-twice
    life.exit        | alter skip EXIT OK       | life.*

The fault is a rule of "veskctl device fault add", or what SERVICE, the altered one, does wrong. Each test must find its
fault. With --whole, which takes long, all tests are run under each fault instead, and no others may find anything; the
test itself need not, as a fault of one moment, or an end of the service, then comes elsewhere.
"""
import fnmatch
import json
import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

CHECK = ["veskctl", "--json", "check"]
OPTIONS = {"values.profile": ["--profile", "/dev/stdin"]}
PROFILE = "[requests]\nGET_SNAPSHOT = 'BUSY'\n"
FINDINGS = ("failed", "warning")
ELSEWHERE = {"restart.clients"}  # check_restart.sh


def rows(table):
    with open(table, encoding="utf-8") as lines:
        for line in lines:
            if line.strip() and not line.startswith("#"):
                test, fault, *others = (column.strip() for column in line.split("|"))
                yield test, fault, others[0].split() if others else []


def verdicts(fault, service, arguments):
    """What came of the tests under a fault."""
    kind, words = fault.split(" ", 1)
    command = [*CHECK, *arguments]
    program, environment = [], dict(os.environ)
    if kind == "alter":
        program, environment["VESK_ALTER"] = ["--service-program", service], words
    else:
        rule = ["veskctl", "device", "fault", "add", *words.split()]
        command = ["sh", "-c", '"$@" >&2 && exec ' + " ".join(command), "sh", *rule]
    ended = subprocess.run(["veskctl", "with-device", *program, "--", *command], env=environment, input=PROFILE,
                           stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
    results = [json.loads(line) for line in ended.stdout.splitlines()]
    return {result["test"]: result["verdict"] for result in results if "test" in result}, ended.stderr


def main(table, service, *flags):
    listed = subprocess.check_output([*CHECK, "--list"], text=True).splitlines()
    known = {test["test"]: test for test in map(json.loads, listed)}
    faults = list(rows(table))
    problems = [f"{test} is in no row" for test in sorted(known.keys() - ELSEWHERE - {test for test, *_ in faults})]

    def options(test):
        return OPTIONS.get(test, []) + ([] if known[test]["isLong"] else ["--quick"])

    def own(row):
        test, fault, _ = row
        for _ in range(2):  # a busy machine may keep a fault from its moment
            found, log = verdicts(fault, service, [test, *options(test)])
            if found.get(test) in FINDINGS:
                return
        yield f"{test} finds nothing ({found.get(test)}) under: {fault}\n{log[-300:]}"

    def unrelated(row):
        test, fault, others = row
        found, _ = verdicts(fault, service, options(test))
        for name in sorted(name for name in found if name != test and found[name] in FINDINGS):
            if not any(fnmatch.fnmatch(name, other) for other in others):
                yield f"{name}, too, under: {fault}"

    run = unrelated if "--whole" in flags else own
    with ThreadPoolExecutor(os.cpu_count()) as workers:
        for found in workers.map(lambda row: list(run(row)), faults):
            problems += found
    print(*problems, f"{len(faults)} faults, {len(known)} tests, {len(problems)} problems", sep="\n")
    return len(problems) > 0


sys.exit(main(*sys.argv[1:]))
