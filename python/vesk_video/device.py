"""A virtual device of one's own: the service as a process that ends with this one, steered through veskctl."""

from __future__ import annotations

import json
import os
import queue
import select
import shlex
import shutil
import signal
import subprocess
import threading
import time
from collections.abc import Mapping
from pathlib import Path

from . import runtime

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Iterable, Iterator
    from types import TracebackType
    from typing import Any, Union

    from .client import Client

    Step = Mapping[str, Any]
    Scenario = Union[str, os.PathLike[str], Iterable[Step]]

_LONGEST_START = 30.0  # seconds
_LONGEST_END = 10.0


class DeviceError(Exception):
    """The device, or a command for it, has failed. The text is what the service or veskctl has said."""

    def __init__(self, text: str, status: int = 1) -> None:
        super().__init__(text, status)
        self.text = text
        self.status = status
        """The exit status of veskctl: 2 usage, 3 refused by the service, 4 no service, 5 timed out; else 1."""

    def __str__(self) -> str:
        return self.text


class Fault:
    """A rule that changes messages of the device."""

    def __init__(self, device: Device, number: int) -> None:
        self._device = device
        self.number = number

    def __repr__(self) -> str:
        return f"Fault({self.number})"

    def _state(self) -> dict[str, Any]:
        for fault in self._device.faults():
            if fault["fault"] == self.number:
                return fault
        raise DeviceError(f"there is no fault {self.number} any more")

    @property
    def rule(self) -> str:
        """The rule in the words of veskctl."""
        return str(self._state()["rule"])

    @property
    def matches(self) -> int:
        """How many messages it was about."""
        return int(self._state()["matches"])

    @property
    def hits(self) -> int:
        """How many messages it has changed."""
        return int(self._state()["hits"])

    def clear(self) -> None:
        """Removes the rule."""
        self._device.command("fault", "clear", self.number)


class Watch:
    """Messages of all applications as they pass, each as "veskctl device watch --json" prints it.

    Iterating waits for the next one, until stop(). What came before is still given after that.
    """

    def __init__(self, device: Device, match: Iterable[str], slow: float | None) -> None:
        options = [word for term in match for word in ("--match", term)]
        if slow is not None:
            options += ["--slow", str(slow)]
        self._process = device._start_watch(["--json"], options, subprocess.PIPE)
        self._lines: queue.Queue[str | None] = queue.Queue()
        self._has_ended = False
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self) -> None:
        assert self._process.stdout is not None
        with self._process.stdout as lines:
            for line in lines:
                self._lines.put(line.decode())
        self._lines.put(None)

    def next(self, timeout: float | None = 5.0) -> dict[str, Any]:
        """The next message; raises TimeoutError if none comes in so many seconds, StopIteration after the last one."""
        if self._has_ended:
            raise StopIteration
        try:
            line = self._lines.get(timeout=timeout)
        except queue.Empty:
            raise TimeoutError(f"no message within {timeout} s") from None
        if line is None:
            self._has_ended = True
            raise StopIteration
        message: dict[str, Any] = json.loads(line)
        return message

    def __iter__(self) -> Iterator[dict[str, Any]]:
        return self

    def __next__(self) -> dict[str, Any]:
        return self.next(timeout=None)

    def stop(self) -> list[dict[str, Any]]:
        """Ends the watch. Returns the messages that have passed and were not read."""
        _end(self._process, signal.SIGINT)
        return list(self)

    def __enter__(self) -> Watch:
        return self

    def __exit__(self, *_: object) -> None:
        _end(self._process, signal.SIGINT)


class Device:
    """A virtual device: a service that starts with it, and ends with it or with this process.

    A process has one runtime directory for all its devices, and one device at a time: the library in this process
    and the processes that it starts find the device there, by VESK_RUNTIME_DIR.
    """

    _running: Device | None = None

    def __init__(
        self,
        *,
        device: str | os.PathLike[str] | None = None,
        scenario: Scenario | None = None,
        numbers: int | None = None,
        step: bool = False,
        time_scale: float | None = None,
        service_program: str | os.PathLike[str] | None = None,
        records: bool = False,
    ) -> None:
        """Describes the device; start() or "with" starts it.

        device and scenario are files, or names of installed ones; a scenario can be a list of steps as well. numbers,
        step and time_scale are the service's options. If it records, messages() has what has passed.
        """
        self._options: list[str] = []
        if device is not None:
            self._options += ["--device", os.fspath(device)]
        if numbers is not None:
            self._options += ["--numbers", str(numbers)]
        if step:
            self._options.append("--step")
        if time_scale is not None:
            self._options += ["--time-scale", str(time_scale)]
        self._scenario = scenario
        self._program = os.fspath(service_program) if service_program is not None else None
        self._records = records
        self._service: subprocess.Popen[bytes] | None = None
        self._recorder: subprocess.Popen[bytes] | None = None
        self._clients: list[Client] = []
        self._watches: list[Watch] = []

    # Its life.

    def start(self) -> Device:
        """Starts the service, with no memory of one before, and returns when it serves."""
        for file in ("service.log", "messages.log", "VIDEO.VCTL.clients"):
            Path(runtime.directory(), file).unlink(missing_ok=True)
        self._start()
        return self

    def _start(self) -> None:
        if Device._running not in (None, self):
            raise DeviceError("this process has a device already; stop it before starting another")
        if self._service is not None and self._service.poll() is None:
            raise DeviceError("the device has been started already")
        command = [self._program or _find_service(), "--end-with-input", *self._options]
        if self._scenario is not None:
            command += ["--scenario", _scenario_file(self._scenario)]
        with open(self._log_file(), "ab") as log:
            self._service = _spawn(
                command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=log, VESK_LOG_TARGET="stderr"
            )
        Device._running = self
        try:
            self._await_serving()
            if self._records:
                with open(self._messages_file(), "ab") as messages:
                    self._recorder = self._start_watch([], [], messages)
        except BaseException:
            self.kill()
            Device._running = None
            raise

    def _await_serving(self) -> None:
        assert self._service is not None and self._service.stdout is not None
        said = self._service.stdout
        end = time.monotonic() + _LONGEST_START
        while select.select([said], [], [], max(0.0, end - time.monotonic()))[0]:
            line = said.readline()
            if b": serving " in line:
                return
            if not line:
                status = self._service.wait()
                raise DeviceError(self.log().strip() or f"the service {runtime.ending(status)}", 4)
        raise DeviceError(f"the service does not serve after {_LONGEST_START:.0f} s\n{self.log()}", 4)

    def stop(self) -> None:
        """Ends the service as SIGTERM does. Raises DeviceError if it does not end in order."""
        self.close_clients()
        while self._watches:
            _end(self._watches.pop()._process, signal.SIGKILL)
        Device._running = None
        self._end_in_order()

    def _end_in_order(self) -> None:
        has_run = self.is_running
        self._end_recording()
        status = self._end_service(signal.SIGTERM)
        if has_run and status != 0:
            raise DeviceError(f"the service {runtime.ending(status)}\n{self.log()}")

    def _end_service(self, by: signal.Signals) -> int:
        if self._service is None:
            return 0
        status = _end(self._service, by)
        assert self._service.stdout is not None
        self._service.stdout.close()
        return status

    def kill(self) -> None:
        """Ends the service as a crash does: at once, without a word to its clients."""
        self._end_service(signal.SIGKILL)

    def restart(self) -> None:
        """Starts the service anew, after ending it if it runs; clients that still run are told."""
        self._end_in_order()
        self._start()

    @property
    def is_running(self) -> bool:
        """Whether the service runs."""
        return self._service is not None and self._service.poll() is None

    @property
    def process(self) -> int | None:
        """The number of the service's process."""
        return self._service.pid if self._service is not None else None

    @property
    def directory(self) -> str:
        """The runtime directory."""
        return runtime.directory()

    def __enter__(self) -> Device:
        return self.start()

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, traceback: TracebackType | None
    ) -> None:
        try:
            self.stop()
        except DeviceError:
            if error is None:  # what has happened before says more
                raise

    # Steering, in the words of "veskctl device".

    def command(self, *words: object) -> Any:
        """Runs "veskctl device WORDS --json" and returns its document; raises DeviceError with what veskctl says."""
        if not self.is_running:
            raise DeviceError(self._why_not_running(), 4)
        done = subprocess.run(
            [_find("veskctl"), "--json", "device", *map(str, words)],
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            env=_environment(),
        )
        if done.returncode != 0:
            raise DeviceError(done.stderr.decode(errors="replace").strip(), done.returncode)
        return json.loads(done.stdout) if done.stdout.strip() else None

    def plug(self, direction: str, port: int, *, mode: str | None = None) -> None:
        """Plugs in a source ("input") or display ("output"), in a mode such as "1920x1080@60"."""
        self.command("plug", direction, port, *(["--mode", mode] if mode is not None else []))

    def unplug(self, direction: str, port: int) -> None:
        """Unplugs a source or display."""
        self.command("unplug", direction, port)

    def mode(self, direction: str, port: int, mode: str) -> None:
        """Changes the mode of what is plugged in."""
        self.command("mode", direction, port, mode)

    def fault(
        self,
        rule: str,
        *,
        app: str | None = None,
        after: int | None = None,
        every: int | None = None,
        percent: int | None = None,
        count: int | None = None,
        seed: int | None = None,
    ) -> Fault:
        """Adds a rule, a line such as "VO_START outEngNo=2001 result BUSY"; words are quoted as in a shell."""
        given = {"app": app, "after": after, "every": every, "percent": percent, "count": count, "seed": seed}
        try:
            words = shlex.split(rule)
        except ValueError as error:
            raise DeviceError(f"fault: {rule!r}: {error}", 2) from None
        answer = self.command("fault", "add", *words, *_options(given))
        return Fault(self, answer["fault"])

    def faults(self) -> list[dict[str, Any]]:
        """All rules, and how often each has matched."""
        rules: list[dict[str, Any]] = self.command("fault", "list")
        return rules

    def clear_faults(self) -> None:
        """Removes all rules."""
        self.command("fault", "clear")

    def scenario(self, scenario: Scenario) -> None:
        """Begins a scenario: a file, the name of an installed one, or steps.

        A step is a mapping such as {"at": 2.5, "do": "unplug input 0"}.
        """
        self.command("scenario", _scenario_file(scenario))

    def end_scenario(self) -> None:
        """Ends the scenario that runs."""
        self.command("scenario", "--end")

    def notify(
        self,
        notification: str,
        /,
        *,
        to: str | None = None,
        raw: bytes | None = None,
        length: int | None = None,
        **fields: object,
    ) -> int:
        """Sends a notification to one application or all. Returns to how many."""
        words = [f"{name}={value}" for name, value in fields.items()]
        options = _options({"to": to, "raw": raw.hex() if raw is not None else None, "length": length})
        return int(self.command("notify", notification, *words, *options)["clients"])

    def time(self, ms: int | None = None) -> dict[str, Any]:
        """The device's time; with a number, moves it on, if it runs by step."""
        answer: dict[str, Any] = self.command("time", *([ms] if ms is not None else []))
        return answer

    def state(self) -> dict[str, Any]:
        """Ports, engines, channels, clients and counters."""
        document: dict[str, Any] = self.command("state")
        return document

    def scene(self, display: int) -> dict[str, Any]:
        """What a display shows: its layers from back to front."""
        scene: dict[str, Any] = self.command("scene", display)["scenes"][0]
        return scene

    def reset(self) -> None:
        """Goes back to the described device; what is open, faults and the scenario are gone."""
        self.command("reset")

    def watch(self, *match: str, slow: float | None = None) -> Watch:
        """Watches the messages of all applications from now on: of these names, patterns, numbers or FIELD=VALUE."""
        if not self.is_running:
            raise DeviceError(self._why_not_running(), 4)
        watch = Watch(self, match, slow)
        self._watches.append(watch)
        return watch

    def client(self, name: str) -> Client:
        """A client in a process of its own, which ends with the device."""
        from .client import Client

        # The service would take its requests, but send it no notifications.
        if any(client.name == name and client.is_running for client in self._clients):
            raise DeviceError(f"there is a client {name!r} already; two need different names")
        client = Client(name)
        self._clients.append(client)
        return client

    def close_clients(self) -> None:
        """Ends all of its clients."""
        while self._clients:
            self._clients.pop().close()

    # What it has said.

    def log(self) -> str:
        """The log of the service."""
        return _contents(self._log_file())

    def messages(self) -> list[str]:
        """What has passed, a line for each message as "veskctl device watch" shows it. Ends the recording."""
        self._end_recording()
        return _contents(self._messages_file()).splitlines()

    def _log_file(self) -> str:
        return os.path.join(runtime.directory(), "service.log")

    def _messages_file(self) -> str:
        return os.path.join(runtime.directory(), "messages.log")

    def _end_recording(self, by: signal.Signals = signal.SIGINT) -> None:
        """SIGINT has it write what is on its way; SIGKILL is faster."""
        if self._recorder is not None:
            _end(self._recorder, by)
            self._recorder = None

    def _why_not_running(self) -> str:
        if self._service is None:
            return "the device has not been started"
        return f"the service {runtime.ending(self._service.wait())}"

    def _start_watch(self, before: list[str], options: list[str], output: Any) -> subprocess.Popen[bytes]:
        """Returns when it sees messages."""
        ready, told = os.pipe()
        command = [_find("veskctl"), *before, "device", "watch", "--ready-fd", str(told), *options]
        with open(ready, "rb") as said:
            try:
                watch = _spawn(command, stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.PIPE, keeps=(told,))
            finally:
                os.close(told)
            if said.read(1) == b"\n":
                return watch
        _, error = watch.communicate()
        raise DeviceError(error.decode(errors="replace").strip(), watch.returncode)


def _environment(**changes: str) -> dict[str, str]:
    return {**os.environ, "VESK_RUNTIME_DIR": runtime.directory(), **changes}


def _spawn(
    command: list[str], *, stdin: int, stdout: Any, stderr: Any, keeps: tuple[int, ...] = (), **environment: str
) -> subprocess.Popen[bytes]:
    """Starts a program out of reach of the terminal's signals. The directory stays as long as it runs."""
    try:
        return subprocess.Popen(
            command,
            stdin=stdin,
            stdout=stdout,
            stderr=stderr,
            env=_environment(**environment),
            pass_fds=(*keeps, runtime.hold()),
            start_new_session=True,
        )
    except OSError as error:
        raise DeviceError(f"cannot start {command[0]}: {error.strerror}", 4) from None


def _end(process: subprocess.Popen[bytes], by: signal.Signals) -> int:
    """Ends a process, by SIGKILL if it takes long, and returns its status."""
    try:
        process.send_signal(by)
        process.wait(_LONGEST_END)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()
    for stream in (process.stdin, process.stderr):
        if stream is not None:
            stream.close()
    return process.returncode


def _find(program: str) -> str:
    found = shutil.which(program)
    if found is None:
        raise DeviceError(f"there is no {program} in PATH; Debian's package is vesk-tools", 4)
    return found


def _find_service() -> str:
    """The service that VESK_SERVICE names, beside veskctl, of the build tree, or in PATH."""
    named = os.environ.get("VESK_SERVICE")
    if named:
        return named
    folder = os.path.dirname(os.path.realpath(_find("veskctl")))
    for place in ("vesk-video-service", "../../service/vesk-video-service"):
        path = os.path.normpath(os.path.join(folder, place))
        if os.access(path, os.X_OK):
            return path
    return "vesk-video-service"


def _options(given: Mapping[str, object]) -> list[str]:
    return [word for name, value in given.items() if value is not None for word in ("--" + name, str(value))]


def _scenario_file(scenario: Scenario) -> str:
    """The name of the file, or of one that has these steps."""
    if isinstance(scenario, (str, os.PathLike)):
        return os.fspath(scenario)
    lines: list[str] = []
    for step in scenario:
        if not isinstance(step, Mapping):
            raise TypeError(f'a step is a mapping such as {{"at": 2.5, "do": "unplug input 0"}}, not {step!r}')
        lines.append("[[step]]")
        # JSON writes numbers, texts and lists as TOML does, as long as it leaves other letters as they are.
        lines += [f"{name} = {json.dumps(value, ensure_ascii=False)}" for name, value in step.items()]
    path = os.path.join(runtime.directory(), "scenario.toml")
    Path(path).write_text("\n".join(lines) + "\n", encoding="utf-8")
    return path


def _contents(path: str) -> str:
    try:
        return Path(path).read_text(encoding="utf-8", errors="replace")
    except FileNotFoundError:
        return ""
