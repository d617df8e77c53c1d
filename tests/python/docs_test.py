"""Runs the examples of docs/python.md, and those of examples/python."""

from __future__ import annotations

import re
import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]


def blocks() -> list[str]:
    """The page's programs. A block that imports nothing of the package goes on from the one before it."""
    programs: list[str] = []
    for block in re.findall(r"^```py\n(.*?)^```$", (ROOT / "docs/python.md").read_text(), re.S | re.M):
        goes_on = programs and not re.search(r"import vesk_video|def test_", block)
        programs.append(programs[-1] + block if goes_on else block)
    return programs


EXAMPLES = blocks() + [path.read_text() for path in sorted((ROOT / "examples/python").glob("*.py"))]


@pytest.mark.parametrize("text", EXAMPLES, ids=range(len(EXAMPLES)))
def test_example(text: str, tmp_path: Path) -> None:
    program = tmp_path / "test_example.py"
    program.write_text(text)
    command = ["veskctl", "with-device", "--", sys.executable, str(program)]
    if "def test_" in text:
        command = [sys.executable, "-m", "pytest", "-p", "no:cacheprovider", str(program)]
    done = subprocess.run(command, cwd=tmp_path, capture_output=True, text=True, timeout=120)
    assert done.returncode == 0, done.stdout + done.stderr
