#!/usr/bin/python3
"""Makes one JUnit file of what the shards of a suite have reported (see shard.sh).

A shard that has not reported, or not all of it, is an error in that file; so is a test that several shards have run.
The status is 1 if there is an error or a failed test.
"""

from __future__ import annotations

import argparse
import re
import sys
from pathlib import Path
from tempfile import TemporaryDirectory
from xml.etree.ElementTree import ParseError

from junitparser import Error, Failure, JUnitXml, JUnitXmlError, TestCase, TestSuite


def take_from_log(results: Path) -> None:
    """Writes the files whose lines are in a log."""
    for line in sys.stdin:
        found = re.match(r"(shard-\d+\.xml): (.*)", line, re.DOTALL)
        if found:
            with open(results / found[1], "a", encoding="utf-8") as file:
                file.write(found[2])


def suites(path: Path) -> list[TestSuite]:
    """Returns the suites of a file; ctest writes a single one. Raises OSError or ParseError."""
    root = JUnitXml.fromfile(str(path))
    return [root] if isinstance(root, TestSuite) else list(root)


def error(index: int, name: str, message: str) -> TestSuite:
    """Returns a suite with one error."""
    case = TestCase(name, classname=f"shard {index}")
    case.result = [Error(message)]
    suite = TestSuite(f"shard {index}")
    suite.add_testcase(case)
    return suite


def merge(results: Path, count: int) -> JUnitXml:
    merged = JUnitXml()
    ran: dict[tuple[str | None, str], int] = {}
    for index in range(count):
        try:
            reported = suites(results / f"shard-{index}.xml")
        except (OSError, ParseError, JUnitXmlError):
            reported = [error(index, "report", "missing or cut off; the shard's log says why")]
        for suite in reported:
            suite.name = f"shard {index}"
            merged.append(suite)
            for case in suite:
                if ran.setdefault((case.classname, case.name), index) != index:
                    message = "a shard before has run it, too: all must find the same tests in the same order"
                    merged.append(error(index, f"{case.classname}.{case.name}", message))
    merged.update_statistics()
    return merged


def main() -> int:
    parser = argparse.ArgumentParser(description="Makes one JUnit file of those of all shards.")
    parser.add_argument("count", type=int, help="number of shards")
    parser.add_argument("results", help="folder of their files, or - for a log on standard input that has them")
    parser.add_argument("output", help="the JUnit file to write")
    arguments = parser.parse_args()
    if arguments.count < 1:
        parser.error(f"argument count: expected at least 1, not {arguments.count}")
    with TemporaryDirectory() as work:
        results = Path(work if arguments.results == "-" else arguments.results)
        if arguments.results == "-":
            take_from_log(results)
        merged = merge(results, arguments.count)
    try:
        merged.write(arguments.output)
    except OSError as failure:
        sys.exit(f"{parser.prog}: {failure}")
    for suite in merged:
        for case in suite:
            for result in case.result:
                if isinstance(result, (Error, Failure)):
                    what, _, _ = (result.message or "").partition("\n")
                    print(f"{suite.name}: {case.classname}.{case.name}: {what}")
    print(f"{merged.tests} tests in {arguments.count} shards: {merged.failures} failed, {merged.errors} errors")
    return 1 if merged.failures + merged.errors > 0 else 0


if __name__ == "__main__":
    sys.exit(main())
