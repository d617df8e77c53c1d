"""What pip installs is what the build has, and leaves no trace in the source tree."""

import os
import subprocess
import sys
from pathlib import Path

import pytest
import vesk_video

SOURCES = Path(__file__).parents[2] / "python"


def contents(folder: Path) -> dict:
    return {path.name: path.read_text() for path in folder.iterdir() if path.suffix in (".py", ".typed")}


def test_pip(tmp_path: Path) -> None:
    for needed in "pip", "setuptools", "wheel":
        pytest.importorskip(needed)
    before = sorted(SOURCES.rglob("*"))
    pip = [sys.executable, "-m", "pip", "install", "--no-build-isolation", "--no-index", "--target", tmp_path, SOURCES]
    subprocess.run(pip, check=True)
    assert sorted(SOURCES.rglob("*")) == before
    assert contents(tmp_path / "vesk_video") == contents(Path(vesk_video.__file__).parent)
    told = subprocess.check_output([sys.executable, "-m", "pytest", "--fixtures", os.devnull],
                                   env={**os.environ, "PYTHONPATH": str(tmp_path)}, text=True)
    assert f"{tmp_path}/vesk_video/pytest_plugin.py" in told
