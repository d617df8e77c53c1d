"""Builds the package for pip and Debian: generate.py adds its sources to those that are written by hand."""

from __future__ import annotations

import re
import subprocess
import sys
import tempfile
from pathlib import Path

from setuptools import setup
from setuptools.command.build_py import build_py

HERE = Path(__file__).resolve().parent


class BuildPackage(build_py):
    """Generates into the folder that the sources have been copied to."""

    def run(self) -> None:
        if self.editable_mode:
            raise SystemExit("the tree has no place for generated sources; set PYTHONPATH to build/PRESET/python")
        super().run()
        subprocess.run([sys.executable, HERE / "generate.py", Path(self.build_lib, "vesk_video")], check=True)


def project_version() -> str:
    """The version, which is written in the CMake project alone."""
    lists = HERE.parent / "CMakeLists.txt"
    found = re.search(r"^project\(\S+ VERSION (\S+)", lists.read_text(encoding="utf-8"), re.MULTILINE)
    if found is None:
        raise SystemExit(f"{lists} has no project with a version")
    return found[1]


# The source tree stays as it is.
with tempfile.TemporaryDirectory() as work:
    setup(
        version=project_version(),
        cmdclass={"build_py": BuildPackage},
        options={"build": {"build_base": work}, "egg_info": {"egg_base": work}},
    )
