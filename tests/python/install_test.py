"""What pip installs is what the build has, and leaves no trace in the source tree."""

from __future__ import annotations

import os
import subprocess
import sys
from importlib.util import find_spec
from pathlib import Path

import pytest

import vesk_video

SOURCES = Path(__file__).resolve().parents[2] / "python"


def texts(folder: Path) -> dict[str, str]:
    return {path.name: path.read_text() for path in folder.iterdir() if path.is_file()}


@pytest.mark.skipif(not all(map(find_spec, ["pip", "setuptools", "wheel"])), reason="needs pip, setuptools and wheel")
def test_pip(tmp_path: Path) -> None:
    before = sorted(SOURCES.rglob("*"))
    pip = [sys.executable, "-m", "pip", "install", "--no-build-isolation", "--no-index"]
    subprocess.run([*pip, "--target", tmp_path, SOURCES], check=True)
    assert sorted(SOURCES.rglob("*")) == before
    assert texts(tmp_path / "vesk_video") == texts(Path(vesk_video.__file__).parent)
    found = {**os.environ, "PYTHONPATH": str(tmp_path)}
    told = subprocess.check_output([sys.executable, "-m", "pytest", "--markers"], cwd=tmp_path, env=found, text=True)
    assert "@pytest.mark.vesk_device(" in told
