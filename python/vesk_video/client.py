"""Several clients in one test: each is a process of its own, in which functions are called from here."""

from __future__ import annotations

import ctypes
import json
import os
import signal
import socket
import subprocess
import sys
import threading
from multiprocessing.connection import Connection
from multiprocessing.reduction import ForkingPickler

from . import runtime

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any, Callable

    from .notifications import Notification

_LONGEST_END = 5.0  # seconds
_PR_SET_PDEATHSIG = 1
_START = "import json, sys; sys.path[:] = json.loads(sys.argv[1]); from vesk_video.client import _serve; _serve()"


class ClientEnded(Exception):
    """The client's process has ended, or does during the call."""


class Client:
    """A client of the service under a name of its own, in a process that ends with this one.

    The exported functions are its methods, and so is wait_for; arguments, records and VeskError pass between the
    processes.
    """

    def __init__(self, name: str) -> None:
        """Starts the process, which calls VeskVideoInit."""
        self.name = name
        self._lock = threading.RLock()
        ours, theirs = socket.socketpair()
        # The kernel ends it with the thread that has started it, which for the main thread is the process.
        is_main = threading.current_thread() is threading.main_thread()
        parent = os.getpid() if is_main else 0
        command = [sys.executable, "-c", _START, json.dumps(sys.path), str(theirs.fileno()), str(parent)]
        with theirs:
            self._process = subprocess.Popen(
                command,
                stdin=subprocess.DEVNULL,
                pass_fds=(theirs.fileno(), *_held()),
                start_new_session=True,
            )
        self._connection = Connection(ours.detach())
        try:
            self._call("set_process_name", (name,), {})
            self._call("VeskVideoInit", (), {})
            self._call("_receive", (), {})
        except BaseException:
            self.kill()
            raise

    @property
    def process(self) -> int:
        """The number of its process."""
        return self._process.pid

    @property
    def is_running(self) -> bool:
        """Whether its process runs."""
        return self._process.poll() is None

    def __getattr__(self, name: str) -> Callable[..., Any]:
        if not name.startswith("VeskVideo"):
            raise AttributeError(f"a client has no {name!r}; its methods are the functions of the interface")
        import vesk_video

        if not callable(getattr(vesk_video, name, None)):
            raise AttributeError(f"the interface has no function {name!r}")

        def call(*arguments: Any, **named: Any) -> Any:
            return self._call(name, arguments, named)

        call.__name__ = name
        return call

    def wait_for(self, name: str | int, /, *, timeout: float = 5.0, **fields: Any) -> Notification:
        """Takes the first notification of this name whose fields have these values, as Notifications.wait_for does."""
        notification: Notification = self._call("wait_for", (name,), {"timeout": timeout, **fields})
        return notification

    def notifications(self) -> list[Notification]:
        """Takes all notifications that have arrived, in their order."""
        taken: list[Notification] = self._call("take_all", (), {})
        return taken

    def _call(self, name: str, arguments: tuple[Any, ...], named: dict[str, Any]) -> Any:
        try:
            request = ForkingPickler.dumps((name, arguments, named))
        except Exception as error:
            raise TypeError(f"client {self.name}: {name}: what cannot be passed to its process: {error}") from None
        with self._lock:
            try:
                self._connection.send_bytes(request)
                is_result, result = self._connection.recv()
            except (EOFError, OSError):
                raise ClientEnded(f"client {self.name} {self._reap()}: {name} has no result") from None
            except BaseException:  # such as KeyboardInterrupt: the next call would get this one's result
                self.kill()
                raise
        if is_result:
            return result
        raise result

    def pause(self) -> None:
        """Stops its process where it is, until resume()."""
        self._process.send_signal(signal.SIGSTOP)

    def resume(self) -> None:
        """Has its process go on."""
        self._process.send_signal(signal.SIGCONT)

    def kill(self) -> None:
        """Ends its process as a crash does, at once."""
        self._process.kill()
        self._reap()

    def close(self) -> None:
        """Has it call VeskVideoExit and end; one that does not is killed."""
        self.resume()
        self._connection.close()
        self._reap()

    def __enter__(self) -> Client:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def _reap(self) -> str:
        self._connection.close()
        try:
            status = self._process.wait(_LONGEST_END)
        except subprocess.TimeoutExpired:
            self._process.kill()
            status = self._process.wait()
        return runtime.ending(status)


def _held() -> tuple[int, ...]:
    """What keeps the runtime directory while a process runs, if it is this process's own."""
    return (runtime.hold(),) if runtime.is_made() else ()


def _serve() -> None:
    """What runs in the client's process: calls what it is told to, until the other end is closed."""
    import vesk_video
    from .notifications import Notifications

    file, parent = int(sys.argv[2]), int(sys.argv[3])
    if parent:
        ctypes.CDLL(None).prctl(_PR_SET_PDEATHSIG, signal.SIGKILL)
        if os.getppid() != parent:
            return
    received = Notifications()
    own: dict[str, Callable[..., Any]] = {
        "_receive": received.__enter__,
        "wait_for": received.wait_for,
        "take_all": received.take_all,
    }
    connection = Connection(file)
    while True:
        try:
            name, arguments, named = connection.recv()
        except (EOFError, OSError):
            return
        try:
            result = own[name](*arguments, **named) if name in own else getattr(vesk_video, name)(*arguments, **named)
            answer = (True, result if name != "_receive" else None)
        except Exception as error:
            answer = (False, error)
        try:
            connection.send(answer)
        except OSError:
            return
        except Exception as error:  # what cannot be passed on
            connection.send((False, TypeError(f"{name}: {error}")))
