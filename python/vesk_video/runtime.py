"""The one runtime directory of this process, which does not outlive it."""

from __future__ import annotations

import atexit
import fcntl
import os
import shutil
import signal
import subprocess
import tempfile

from . import library

_LONGEST = 70  # bytes of a folder in which the names of sockets still fit into an address

_directory: str | None = None
_owner: int | None = None  # the process that has made it; a forked child has not
_held: int | None = None


def directory() -> str:
    """The directory, which is made at the first call and becomes VESK_RUNTIME_DIR of this process.

    It is named and locked as those of "veskctl with-device", which are found by Wireshark, and removed once
    their owner has ended.
    """
    global _directory, _owner
    if _directory is not None:
        return _directory
    _check_library()
    parent = tempfile.gettempdir()
    path = _make(parent if len(os.fsencode(parent)) <= _LONGEST else "/tmp")
    _start_keeper(path)
    os.environ["VESK_RUNTIME_DIR"] = path
    _directory, _owner = path, os.getpid()
    atexit.register(_remove)
    return path


def is_made() -> bool:
    """Whether this process has one of its own."""
    return _directory is not None


def hold() -> int:
    """A descriptor with which a process that inherits it keeps the directory."""
    directory()
    assert _held is not None
    return _held


def ending(status: int) -> str:
    """How a process has ended, in words that follow its name."""
    return f"was ended by {signal.Signals(-status).name}" if status < 0 else f"ended with status {status}"


def _check_library() -> None:
    """The platform reads the variable once, so the library must not have been used before."""
    if library.is_used():
        used = os.environ.get("VESK_RUNTIME_DIR", "the default one")
        raise RuntimeError(
            f"this process has used the library in another runtime directory ({used}) already, which cannot be changed;"
            " start the first device before the first call"
        )


def _make(parent: str) -> str:
    """Makes a directory and locks it until this process ends."""
    while True:
        path = tempfile.mkdtemp(prefix="vesk-device-", dir=parent)
        try:
            lock = os.open(os.path.join(path, "owner"), os.O_RDWR | os.O_CREAT, 0o600)
        except FileNotFoundError:
            continue  # another process has taken it for one that was left
        fcntl.lockf(lock, fcntl.LOCK_EX)
        if os.fstat(lock).st_nlink != 0:
            return path
        os.close(lock)


def _start_keeper(path: str) -> None:
    """Has a shell remove the directory when this process, and all that hold it, have ended, however they do."""
    global _held
    end, _held = os.pipe()
    keeper = subprocess.Popen(
        ["/bin/sh", "-c", 'read -r end; rm -rf -- "$1"', "sh", path],
        stdin=end,
        stdout=subprocess.DEVNULL,
        stderr=subprocess.DEVNULL,
        cwd="/",
        start_new_session=True,
    )
    os.close(end)
    keeper.returncode = 0  # it outlives this process, so nobody waits for it


def _remove() -> None:
    if _directory is not None and _owner == os.getpid():
        shutil.rmtree(_directory, ignore_errors=True)
