"""A display shows its first frame in any mode, a refusal is passed on, and cables are noticed."""

from __future__ import annotations

import pytest
import vesk_video as vesk
from vesk_video.device import Device


@pytest.fixture
def display(vesk_device: Device) -> int:
    """A display with something to show."""
    vesk.VeskVideoInit()
    engine = vesk.VeskVideoVoOpen(voPort=0)
    vesk.VeskVideoVoSetDefaultImage(0, 0, "wallpaper.png")
    return engine


@pytest.mark.parametrize("rate", [25, 30, 50, 60])
@pytest.mark.parametrize("size", ["640x480", "1280x720", "1920x1080", "3840x2160"])
def test_first_frame(vesk_device: Device, display: int, size: str, rate: int) -> None:
    vesk_device.mode("output", 0, f"{size}@{rate}")
    with vesk.Notifications() as notifications:
        vesk.VeskVideoVoStart(display)
        notifications.wait_for("DISPLAY_FIRST_FRAME", portName="HDMI-OUT-1")


@pytest.mark.parametrize("result", ["BUSY", "STATE", "ROOM"])
def test_refused_once(vesk_device: Device, display: int, result: str) -> None:
    vesk_device.fault(f"VO_START result {result}", count=1)
    with pytest.raises(vesk.VeskError, match=result):
        vesk.VeskVideoVoStart(display)
    vesk.VeskVideoVoStart(display)


@pytest.mark.parametrize("port", [0, 2])
def test_cable(vesk_device: Device, display: int, port: int) -> None:
    with vesk.Notifications() as notifications:
        vesk_device.unplug("input", port)
        notifications.wait_for("VI_PORT_PLUG_STATE", port=port, val=0)
        vesk_device.plug("input", port)
        notifications.wait_for("VI_PORT_PLUG_STATE", port=port, val=1)
