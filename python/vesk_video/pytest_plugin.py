"""pytest's fixture vesk_device: a virtual device of the test's own."""

from __future__ import annotations

import os
import signal
from collections.abc import Generator, Iterator

import pytest

from .device import Device

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

_DEVICE: pytest.StashKey[Device] = pytest.StashKey()
_MARKER = (
    "vesk_device(device=FILE, scenario=FILE or STEPS, numbers=SEED, step=BOOL, time_scale=FACTOR): what the fixture"
    " vesk_device starts; files are beside the test, in the current folder, or installed"
)


def pytest_addoption(parser: pytest.Parser) -> None:
    group = parser.getgroup("vesk_video", "virtual video devices")
    group.addoption("--vesk-service-program", metavar="FILE", help="service that vesk_device starts")
    group.addoption(
        "--vesk-lines", type=int, metavar="N", help="number of messages and of lines of the log that a failure shows"
    )
    parser.addini("vesk_service_program", "default of --vesk-service-program")
    parser.addini("vesk_lines", "default of --vesk-lines", default="40")


def pytest_configure(config: pytest.Config) -> None:
    config.addinivalue_line("markers", _MARKER)
    _lines(config)


def _option(config: pytest.Config, name: str) -> Any:
    given = config.getoption(name)
    return given if given is not None else config.getini(name) or None


def _lines(config: pytest.Config) -> int:
    given = _option(config, "vesk_lines")
    try:
        return int(given)
    except (TypeError, ValueError):
        raise pytest.UsageError(f"vesk_lines: {given!r} is not a number of lines") from None


def _leave() -> None:
    """Has this process leave the library, if it has used it, as the next test expects to find it."""
    from . import library

    if not library.is_used():
        return
    from .notifications import VeskVideoSetCallback, close_all

    close_all()
    library.leave()
    # Takes what the library holds, and what is on its way, until the next VeskVideoInit.
    VeskVideoSetCallback(_ignore)


def _ignore(_: object) -> None:
    pass


@pytest.fixture
def vesk_device(request: pytest.FixtureRequest) -> Iterator[Device]:
    """A virtual device of the test's own, as its marker describes; see vesk_video.Device."""
    marker = request.node.get_closest_marker("vesk_device")
    if marker is not None and marker.args:
        raise TypeError(f"vesk_device: what the marker says needs a name: {marker.args[0]!r}")
    options = dict(marker.kwargs) if marker is not None else {}
    for name in ("device", "scenario"):
        if isinstance(options.get(name), (str, os.PathLike)):
            beside = request.path.parent / options[name]
            options[name] = beside if beside.exists() else options[name]
    options.setdefault("service_program", _option(request.config, "vesk_service_program"))
    with Device(**options, records=True) as device:
        request.node.stash[_DEVICE] = device
        try:
            yield device
        finally:
            _leave()
            device._end_recording(signal.SIGKILL)  # whoever wants to see it has


@pytest.hookimpl(hookwrapper=True)  # type: ignore[misc]
def pytest_runtest_makereport(item: pytest.Item) -> Generator[None, Any, None]:
    outcome = yield
    report: pytest.TestReport = outcome.get_result()
    device = item.stash.get(_DEVICE, None)
    if device is None or not report.failed:
        return
    shown = _lines(item.config)
    for title, lines in (
        ("messages of the virtual device", device.messages()),
        ("log of the virtual device", device.log().splitlines()),
    ):
        left_out = [f"... {len(lines) - shown} before"] if len(lines) > shown else []
        last = lines[-shown:] if shown > 0 else []
        report.sections.append((title, "\n".join(left_out + last) or "(nothing)"))
