"""The package against the library and a virtual device: values, refusals, notifications, the end of the interpreter."""

from __future__ import annotations

import copy
import ctypes
import json
import os
import pickle
import shutil
import subprocess
import sys
import threading
import time
from pathlib import Path
from typing import Any, Callable

import pytest

import vesk_video as vesk
from vesk_video import _messages, _results

ROOT = Path(__file__).resolve().parents[2]


def run(*command: str, **variables: str) -> subprocess.CompletedProcess[str]:
    return subprocess.run(command, env={**os.environ, **variables}, capture_output=True, text=True, timeout=120)


def on_device(test: Callable[[], None]) -> Callable[[], None]:
    """Runs a test in a process of its own with a virtual device of its own."""

    def start() -> None:
        done = run("veskctl", "with-device", "--", sys.executable, __file__, test.__name__)
        assert done.returncode == 0, done.stderr

    start.body = test  # type: ignore[attr-defined]
    return start


def test_says_what_veskctl_says() -> None:
    listed = json.loads(run("veskctl", "list", "--json").stdout)
    results = {result["code"]: (result["name"], result["meaning"]) for result in listed["results"]}
    assert results == _results.RESULTS
    for notification in listed["notifications"]:
        assert _messages.NOTIFICATIONS[notification["number"]][0] == notification["name"]
    sizes = {record["name"]: record["size"] for record in listed["records"] if hasattr(vesk, record["name"])}
    assert sizes == {name: ctypes.sizeof(getattr(vesk, name)) for name in sizes} and len(sizes) > 60
    # What is returned, and what is as many as a list has.
    elsewhere = {
        "BuffCreateQueue": "queHandle",
        "AddFilterWindows": "windowCount",
        "DeleteFilterWindows": "windowCount",
    }
    for request in listed["requests"]:
        code = getattr(vesk, request["function"]).__code__
        missing = {argument.split()[-1] for argument in request["arguments"].split()} - set(
            code.co_varnames[: code.co_argcount]
        )
        assert " ".join(missing) == elsewhere.get(request["function"].removeprefix("VeskVideo"), ""), request


@on_device
def test_values() -> None:
    vesk.VeskVideoInit()
    assert vesk.VeskVideoGetVersion().count(".") == 4 and vesk.VeskVideoSearchTaskName(taskId=1) == "VAPI"
    outputs = [port.view() for port in vesk.VeskVideoGetVoPort(count=vesk.VeskVideoGetVoCount())]
    assert [(port.port, port.name, port.width) for port in outputs] == [
        (0, "HDMI-OUT-1", 3840),
        (1, "HDMI-OUT-2", 1920),
    ]
    engine = vesk.VeskVideoVoOpen(voPort=1)
    param = vesk.VeskVideoVoPortParam(
        param0=2**32 - 1, param2=-(2**31), param7=2**31 - 1, param8=255, padding=[1, 2]
    )
    vesk.VeskVideoVoSetParam(outEngNo=engine, voPortParam=param)
    read = vesk.VeskVideoVoGetParam(engine)
    assert read == param == copy.deepcopy(param) == pickle.loads(pickle.dumps(param)) and read is not param
    assert (read.param0, read.param2, read.param7, read.param8, list(read.padding)) == (
        2**32 - 1, -(2**31), 2**31 - 1, 255, [1, 2, 0])  # fmt: skip
    read.param3 = 1
    assert read != param and repr(param).startswith(
        "VeskVideoVoPortParam(param0=4294967295, param1=0, param2=-2147483648"
    )
    vesk.VeskVideoVoSetOffset(engine, xOffset=-7, yOffset=8)
    vesk.VeskVideoVoSetDefaultImage(1, 0, "/bilder/grün\udcff.png")
    shown = vesk.VeskVideoGetVoPort(2)[1].view()
    assert (shown.xOffset, shown.yOffset, shown.defaultImage) == (-7, 8, "/bilder/grün\udcff.png")
    vesk.VeskVideoCreateOverlayChannel(overlayChn=3, value=0)
    overlay = vesk.VeskVideoOverlayParam(flag1=1)
    overlay.view().window = vesk.VeskServiceRect(x=1, y=2, width=3, height=4)  # the same memory
    overlay.view().window.width = 5
    assert list(overlay.value)[:5] == [1, 2, 5, 4, 0] and overlay.view().flag1 == 1
    vesk.VeskVideoSetOverlayParam(3, overlay)
    camera = vesk.VeskVideoViOpen(0)
    vesk.VeskVideoCamControl(camera, vesk.VESK_SERVICE_CAM_UP)
    state = vesk.VeskVideoCamControl(camera, vesk.VESK_VIDEO_CAM_CTRL_QUERY, ctrlDataLen=12)
    assert vesk.VeskServiceCameraState.from_bytes(state) == vesk.VeskServiceCameraState(pan=0, tilt=1, commands=1)
    vesk.VeskVideoCamSetPreset(camera, vesk.VeskVideoPresetInfo(isValid=True, presetId=7))
    presets = vesk.VeskVideoCamQueryPreset(camera, presetCount=2)
    assert [(preset.isValid, preset.presetId) for preset in presets] == [(1, 7), (0, 0)]
    vesk.VeskVideoSetViPortEptzParam(0, vesk.VeskServiceEptz(crop=vesk.VeskServiceRect(width=9, height=8)))
    eptz = vesk.VeskVideoGetViPortEptzParam(inEngNo=camera)
    assert list(eptz.serviceData)[:5] == [0, 0, 9, 8, 0] and vesk.VeskVideoGetViPortPtStatus(camera) in (0, 1)
    vesk.VeskVideoViFreeze(camera, 1, b"frozen")
    assert vesk.VeskVideoGetViPort(1)[0].view().frozenLength == 6
    encoder = vesk.VeskVideoEncoderCreate()
    vesk.VeskVideoEncoderSetFecParam(encoder, vesk.VeskVideoEncFecParam(lossRate=0.25))
    assert [info.view().stmNo for info in vesk.VeskVideoEncoderGetStatusInfos(num=1)] == [encoder]
    vesk.VeskVideoAddFilterWindows(1, [vesk.VeskServiceFilterWindow(width=1, height=2), vesk.VeskVideoFilterWindow()])
    assert vesk.VeskVideoGetVoPort(1)[0].view().filterWindows == 2
    head = vesk.VeskVideoMsgHead(msgId=vesk.VESK_VIDEO_MSG_GET_VO_COUNT)
    assert vesk.VeskVideoSendSyncMsg(head, rspBufLen=4) == b"\2\0\0\0"
    vesk.VeskVideoGetOrientation(1, "any arguments")


PARAM = vesk.VeskVideoVoPortParam
REFUSED: list[tuple[type[Exception], str, Callable[[], Any]]] = [
    (
        ValueError,
        "VeskVideoVoOpen: voPort: 4294967296 is out of range; uint32_t",
        lambda: vesk.VeskVideoVoOpen(1 << 32),
    ),
    (ValueError, "cmdType: -2147483649 is out of range", lambda: vesk.VeskVideoCamControl(1, -(2**31) - 1)),
    (TypeError, "VeskVideoVoOpen: voPort is an integer, not '1'", lambda: vesk.VeskVideoVoOpen("1")),  # type: ignore
    (TypeError, "voPortParam is a VeskVideoVoPortParam, not 5", lambda: vesk.VeskVideoVoSetParam(1, 5)),  # type: ignore
    (TypeError, "filePath is a str, not b''", lambda: vesk.VeskVideoSetVirtualViSrc(0, b"")),  # type: ignore
    (ValueError, "filePath: 'a\\\\x00b' has a NUL", lambda: vesk.VeskVideoSetVirtualViSrc(0, "a\0b")),
    (ValueError, "param8: 256 is out of range; uint8_t", lambda: PARAM(param8=256)),
    (AttributeError, "has no field 'parm0'; did you mean param0", lambda: PARAM(parm0=1)),  # type: ignore
    (AttributeError, "has no field 'height'", lambda: setattr(PARAM(), "height", 1)),
    (ValueError, "element 2: 300 is out of range", lambda: PARAM().padding.__setitem__(2, 300)),
    (ValueError, "padding has 3 elements, not 4", lambda: PARAM(padding=[0] * 4)),
    (ValueError, "portName: .* at most 63 bytes fit", lambda: vesk.VeskVideoDisplayLink(portName="x" * 64)),
    (ValueError, "lossRate: 1e.39 is out of range", lambda: vesk.VeskVideoEncFecParam(lossRate=1e39)),
    (ValueError, "has 36 bytes, not 35", lambda: PARAM.from_bytes(bytes(35))),
    (ValueError, "'a/b' is no name", lambda: vesk.set_process_name("a/b")),
    (ValueError, "serviceData has 32 elements, not 33", lambda: vesk.VeskVideoSetCallback(None, bytes(33))),
    (ValueError, "DISPLAY_FIRST_FRAM'; did you mean", lambda: vesk.Notifications().wait_for("DISPLAY_FIRST_FRAM")),
    (ValueError, "no field 'port'; did you", lambda: vesk.Notifications().wait_for("DISPLAY_FIRST_FRAME", port=1)),
    (ValueError, "val: -1 is out of", lambda: vesk.Notifications().wait_for("VO_PORT_PLUG_STATE", val=-1)),
    (RuntimeError, "not open; use them in a with", lambda: vesk.Notifications().wait_for("VIDEO_DIE")),
]


@pytest.mark.parametrize("error, text, call", REFUSED, ids=[text for _, text, _ in REFUSED])
def test_refuses(error: type[Exception], text: str, call: Callable[[], Any]) -> None:
    with pytest.raises(error, match=text):
        call()


@on_device
def test_notifications() -> None:
    vesk.VeskVideoInit()
    unraisable: list[Any] = []
    sys.unraisablehook = unraisable.append
    with vesk.Notifications() as notifications, vesk.Notifications() as others:
        assert notifications.wait_for("VO_PORT_PLUG_STATE", port=1).val == 1
        for name, field in (
            ("IFREAME_REQUEST", "encStmNo=4294967297"),
            ("DECODE_STATUS", "state=3"),
            ("NOTIFY_104", ""),
        ):
            subprocess.run(["veskctl", "device", "notify", name] + field.split(), check=True)
        last = notifications.wait_for("NOTIFY_104")
        assert last.payload == b"" and pickle.loads(pickle.dumps(last)) == last
        assert notifications.wait_for(4, state=3, decStmNo=0).name == "DECODE_STATUS"  # by the service's view
        assert next(notifications).name == "VO_PORT_PLUG_STATE"  # what was left is in order
        rest = notifications.take_all()
        assert (rest[-1].name, rest[-1].encStmNo) == ("IFREAME_REQUEST", 2**32 + 1)
        assert others.wait_for("NOTIFY_104") == last  # each receives all, one after the other
        names = [notification.name for notification in others.take_all()]  # those that were held are the first one's
        assert names[-2:] == ["IFREAME_REQUEST", "DECODE_STATUS"]
        subprocess.run(["veskctl", "device", "unplug", "output", "1"], check=True)
        begin = time.monotonic()
        with pytest.raises(
            TimeoutError, match=r"no VO_PORT_PLUG_STATE with port=0, val=0 within 0.3 s; .*\(port=1, val=0"
        ):
            others.wait_for("VO_PORT_PLUG_STATE", port=0, val=0, timeout=0.3)
        assert 0.3 <= time.monotonic() - begin < 3
        vesk.VeskVideoInit()
        with pytest.raises(RuntimeError, match="VeskVideoInit, .* has removed the callback"):
            others.wait_for("VIDEO_DIE")
    assert [notification.port for notification in others if notification.number == 100] == [1]  # ends: it is closed

    called = threading.Event()

    def fail(notification: vesk.Notification) -> None:
        called.set()
        raise KeyError(notification.name)

    vesk.VeskVideoSetCallback(fail)
    assert vesk.VeskVideoGetCallbackPtr() is fail and called.wait(5)
    vesk.VeskVideoExit()
    while not unraisable:
        time.sleep(0.001)
    assert isinstance(unraisable[0].exc_value, KeyError) and vesk.VeskVideoGetCallbackPtr() is None


# Its camera commands are notified faster than they can be handled, on another thread, when the interpreter ends.
FLOOD = """
import sys, threading, vesk_video as vesk
def flood():
    while True:
        vesk.VeskVideoCamControl(camera, vesk.VESK_SERVICE_CAM_LEFT)
vesk.VeskVideoInit()
camera = vesk.VeskVideoViOpen(0)
seen = vesk.Notifications().__enter__()
threading.Thread(target=flood, daemon=True).start()
for _ in range(20):
    seen.wait_for("CAMERA_CTRL_RESULT")
if sys.argv[1] == "callback":
    vesk.VeskVideoSetCallback(lambda notification: [].append(notification.viPort))
"""


@pytest.mark.parametrize("receiver", ["notifications", "callback"])
def test_ends_while_notifications_arrive(receiver: str) -> None:
    loop = 'for i in $(seq 10); do timeout 20 "$@" || exit; done'
    done = run("veskctl", "with-device", "--", "sh", "-c", loop, "sh", sys.executable, "-c", FLOOD, receiver)
    assert done.returncode == 0, done.stderr[-2000:]


# Its callback has begun when the interpreter ends.
SLOW = """
import os, threading, time, vesk_video as vesk
def receive(notification):
    begun.set()
    while vesk.VeskVideoGetCallbackPtr():
        time.sleep(0.001)
    os.write(1, b"returned")
begun = threading.Event()
vesk.VeskVideoInit()
threading.Thread(target=vesk.VeskVideoSetCallback, args=[receive], daemon=True).start()
begun.wait()
"""


def test_lets_a_callback_return() -> None:
    assert "returned" in run("veskctl", "with-device", "--", sys.executable, "-c", SLOW).stdout


def test_says_what_is_missing() -> None:
    done = run(sys.executable, "-c", "import vesk_video; vesk_video.VeskVideoInit()", VESK_VIDEO_LIBRARY="/no/lib.so")
    assert "OSError: cannot load /no/lib.so, which VESK_VIDEO_LIBRARY names" in done.stderr


@pytest.mark.parametrize(
    "file, found, replaced, error",
    [
        ("abi/records.txt", "taskId at 264, 4", "taskId at 268, 4", "taskId is at 268, but at 264 in Python"),
        ("include/vesk_video/messages.def", "encStmNo, frameRate,", "first, second,", "which of its arguments"),
        (
            "include/vesk_video/output.h",
            "uint32_t voPort, uint32_t* out",
            "wchar_t voPort, uint32_t* out",
            "what is wchar_t",
        ),
        ("include/vesk_video/notification.h", "| VeskVideoCamCtrlResult |", "| uint64_t: x |", "CAMERA_CTRL_RESULT"),
    ],
)
def test_generator_notices(tmp_path: Path, file: str, found: str, replaced: str, error: str) -> None:
    for part in ("abi", "decoder/virtual_service_views.txt", "include", "platform/host/include", "python"):
        copier = shutil.copytree if (ROOT / part).is_dir() else shutil.copy
        (tmp_path / part).parent.mkdir(parents=True, exist_ok=True)
        copier(ROOT / part, tmp_path / part)
    text = (tmp_path / file).read_text()
    assert found in text
    (tmp_path / file).write_text(text.replace(found, replaced))
    done = run(sys.executable, str(tmp_path / "python/generate.py"), str(tmp_path / "out"))
    assert done.returncode != 0 and error in done.stderr


if __name__ == "__main__":
    globals()[sys.argv[1]].body()
