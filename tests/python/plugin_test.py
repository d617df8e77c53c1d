"""The fixture vesk_device, the device and clients in processes of their own; and what becomes of a suite that fails."""

import os
import re
import subprocess
import sys
import time
from pathlib import Path

import pytest
import vesk_video
from vesk_video.client import ClientEnded
from vesk_video.device import Device, DeviceError

pytest_plugins = ["pytester"]

SUITE = """
    import os, signal, threading, pytest, vesk_video

    def test_first_frame(vesk_device):
        vesk_video.VeskVideoInit()
        engine = vesk_video.VeskVideoVoOpen(voPort=0)
        vesk_device.fault("VO_START result BUSY")
        vesk_video.VeskVideoVoStart(engine)

    @pytest.mark.vesk_device(device="large_room.toml", numbers=7, step=True)
    def test_room(vesk_device):
        assert len(vesk_device.state()["outputs"]) == 3 and vesk_device.time(5)["nowMs"] == 5

    @pytest.mark.vesk_device(scenario=[{"at": 0, "do": ["unplug input 0", "fault add '*' delay 1"]}])
    def test_scenario(vesk_device):
        state = vesk_device.state()
        assert not state["inputs"][0]["plugged"] and len(state["faults"]) == 1 and state["clients"] == []

    def test_forgotten(vesk_device):
        vesk_video.VeskVideoInit()
        threading.Thread(target=list, args=[vesk_video.Notifications().__enter__()]).start()
"""


def eventually(condition):
    end = time.monotonic() + 30
    while not condition() and time.monotonic() < end:
        time.sleep(0.01)
    return condition()


def processes_with(text):
    """Those whose environment has the text."""
    found = []
    for process in Path("/proc").glob("[0-9]*"):
        try:
            if text.encode() in (process / "environ").read_bytes():
                found.append((process / "comm").read_text())
        except OSError:
            pass
    return found


@pytest.mark.parametrize("options", [[], ["-n", "4"]])
def test_a_failure_shows_the_last_messages_and_the_log(pytester, options):
    pytester.makepyfile(SUITE)
    pytester.makeini("[pytest]\naddopts = --strict-markers\nvesk_lines = 3")
    result = pytester.runpytest_subprocess(*options)
    result.assert_outcomes(passed=3, failed=1)
    result.stdout.re_match_lines(
        [
            r".*VeskError: VeskVideoVoStart: .*BUSY.*",
            r"-+ messages of the virtual device -+",
            r"\.\.\. \d+ before",
            r".* OPEN_VO_PORT voPort=0 -> OK outEngNo=2001 .* ms",
            r".* VO_START outEngNo=2001 -> BUSY .* ms",
            r"-+ log of the virtual device -+",
        ]
    )


def test_the_examples_of_the_page_pass(pytester):
    page = (Path(__file__).resolve().parents[2] / "docs/pytest.md").read_text()
    examples = re.findall("^```python\n(.*?)^```$", page, re.S | re.M)
    pytester.makepyfile("\n".join(examples))
    pytester.runpytest_subprocess().assert_outcomes(passed=5)


def test_nothing_outlives_a_killed_suite(pytester):
    pytester.makepyfile(
        """
        import os, time
        def test_killed(vesk_device):
            vesk_device.client("camera").pause()
            open("ready", "w").write(vesk_device.directory)
            os.rename("ready", "directory")
            time.sleep(60)
        """
    )
    suite = subprocess.Popen([sys.executable, "-m", "pytest"], stdout=subprocess.DEVNULL)
    assert eventually(Path("directory").exists)
    directory = Path("directory").read_text()
    assert len(processes_with(directory)) >= 3
    suite.kill()
    suite.wait()
    assert eventually(lambda: not os.path.exists(directory)), directory
    assert eventually(lambda: not processes_with(directory)), processes_with(directory)


STEERING = [
    (lambda device: device.unplug("input", 0), lambda state: state["inputs"][0]["plugged"] == 0),
    (lambda device: device.plug("input", 1, mode="640x480@30"), lambda state: state["inputs"][1]["width"] == 640),
    (lambda device: device.mode("output", 0, "800x600@50"), lambda state: state["outputs"][0]["fr"] == 50),
    (lambda device: device.fault("* close", count=2), lambda state: state["faults"][0]["rule"] == "* close --count 2"),
    (lambda device: device.fault("VO_STOP close").clear(), lambda state: len(state["faults"]) == 1),
    (lambda device: device.clear_faults(), lambda state: state["faults"] == []),
    (lambda device: device.scenario([{"at": 9, "do": "fault clear"}]), lambda state: state["scenario"]["steps"] == 1),
    (lambda device: device.scenario("loose_cable.toml"), lambda state: state["scenario"]["steps"] > 1),
    (lambda device: device.end_scenario(), lambda state: state["scenario"]["steps"] == 0),
    (lambda device: device.reset(), lambda state: state["outputs"][0]["fr"] == 60),
    (lambda device: [device.fault("* close"), device.restart()], lambda state: state["faults"] == []),
    (lambda device: [device.fault("* die"), device.kill(), device.restart()], lambda state: state["faults"] == []),
]
REFUSALS = [
    (lambda device: device.unplug("input", 7), 3, "veskctl: there is no input 7: NUMBER (0x203)"),
    (lambda device: device.fault("VO_STOP drop"), 2, "drop is an effect of notifications; VO_STOP is a request"),
    (lambda device: device.scenario([{"at": "soon", "do": []}]), 2, '[0].at: expected seconds, 0 to 86400, not "so'),
    (lambda device: device.fault("VO_STOP 'close"), 2, "fault: \"VO_STOP 'close\": No closing quotation"),
    (lambda device: device.watch("NOTHING"), 2, "'NOTHING'"),
    (lambda device: [device.client("twin") for _ in "12"], 1, "there is a client 'twin' already"),
    (lambda device: Device().start(), 1, "this process has a device already"),
    (lambda device: [device.kill(), device.state()], 4, "the service was ended by SIGKILL"),
]


def test_what_steers_it_shows_in_its_state(vesk_device):
    for number, (step, holds) in enumerate(STEERING):
        step(vesk_device)
        assert holds(vesk_device.state()), number
    assert vesk_device.scene(1)["voPort"] == 1
    for step, status, text in REFUSALS:
        with pytest.raises(DeviceError) as refused:
            step(vesk_device)
        assert refused.value.status == status and text in str(refused.value)


@pytest.mark.parametrize(
    "options, text",
    [
        ({"device": "no.toml"}, "no.toml"),
        ({"device": "-"}, "standard input serves one of --device -, --scenario - and --end-with-input"),
        ({"service_program": "/nowhere"}, "cannot start /nowhere: No such file"),
        ({"scenario": [{"at": 0, "do": "unplgu"}]}, "there is no command 'unplgu'; nearest: unplug"),
    ],
)
def test_a_device_that_cannot_start_says_why(options, text):
    with pytest.raises(DeviceError) as failed:
        Device(**options).start()
    assert text in str(failed.value)
    with Device() as device:
        watch = device.watch("*")
    with pytest.raises(StopIteration):
        watch.next()


def test_clients_are_processes(vesk_device):
    fault = vesk_device.fault("GET_VI_COUNT delay 1", app="camera-1")
    with vesk_device.watch("VI_START", "GET_VI_COUNT") as messages:
        first, second = vesk_device.client("camera-1"), vesk_device.client("camera-2")
        assert first.VeskVideoGetViCount() == 3
        number = second.VeskVideoViOpen(viPort=0)
        with pytest.raises(vesk_video.VeskError, match="VeskVideoViOpen: .*BUSY"):
            first.VeskVideoViOpen(0)
        assert vesk_device.notify("VI_PORT_PLUG_STATE", port=0, val=7, to="camera-2") == 1
        assert second.wait_for("VI_PORT_PLUG_STATE", val=7).port == 0
        with pytest.raises(TimeoutError):
            first.wait_for("VI_PORT_PLUG_STATE", val=7, timeout=0.01)
        assert messages.next()["request"]["name"] == "GET_VI_COUNT"
        second.VeskVideoViStart(number)
        assert [message["request"]["name"] for message in messages.stop()] == ["VI_START"]
    assert (fault.matches, fault.hits) == (1, 1)
    with pytest.raises(TypeError, match="client camera-1: VeskVideoSetCallback: what cannot be passed"):
        first.VeskVideoSetCallback(lambda _: None)
    first.pause()
    first.resume()
    second.kill()
    with pytest.raises(ClientEnded, match="client camera-2 was ended by SIGKILL: VeskVideoViOpen has no result"):
        second.VeskVideoViOpen(0)
    assert first.VeskVideoViOpen(0) == number + 1
    first.pause()
    vesk_device.close_clients()
    assert vesk_device.state()["clients"] == []
