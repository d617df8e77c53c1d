"""Finds and loads the library at the first call, names the process, and takes its leave when the interpreter ends."""

from __future__ import annotations

import ctypes
import os

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Callable
    from typing import Any

_FILE = "libvesk_video_interface.so.2"
_NAME_MODULE = os.path.join("vesk-video", "process_name.so")
_MAX_NAME = 15

_library: Any = None
_names_process = False
_process_name: bytes | None = None
_entered_by = 0  # number of the process that has called VeskVideoInit; a forked child is none
before_exit: list[Callable[[], None]] = []
"""Called, after VeskVideoExit, when the interpreter ends."""


def load() -> Any:
    """The library; loaded by the first call, at which VESK_VIDEO_LIBRARY may name its file."""
    global _library, _names_process
    if _library is None:
        path = os.environ.get("VESK_VIDEO_LIBRARY") or _FILE
        module = _find_name_module(path)
        try:
            # Before the library, which binds the hook when it is loaded.
            if module is not None:
                ctypes.CDLL(module, mode=ctypes.RTLD_GLOBAL)
            library = ctypes.CDLL(path)
        except OSError as error:
            raise OSError(_advice(path, error)) from None
        _names_process = module is not None
        _library = library
        import atexit

        atexit.register(_end)
    return _library


def _advice(path: str, error: OSError) -> str:
    if "VESK_VIDEO_LIBRARY" in os.environ:
        return f"cannot load {path}, which VESK_VIDEO_LIBRARY names: {error}"
    return (
        f"cannot load {path}: {error}. Install libvesk-video-interface2, add its folder to LD_LIBRARY_PATH, or name the"
        " file in VESK_VIDEO_LIBRARY"
    )


def _find_name_module(library: str) -> str | None:
    """The module that names the process: what VESK_PROCESS_NAME_MODULE names, or what lies beside the library."""
    named = os.environ.get("VESK_PROCESS_NAME_MODULE")
    if named:
        return named
    for folder in _folders(library):
        if os.path.exists(os.path.join(folder, os.path.basename(library))):
            module = os.path.join(folder, _NAME_MODULE)
            return module if os.path.exists(module) else None
    return None


def _folders(library: str) -> list[str]:
    """Where the loader looks for a library, as far as its module can lie there, too."""
    if os.path.dirname(library):
        return [os.path.dirname(os.path.realpath(library))]
    from sysconfig import get_config_var

    listed = os.environ.get("LD_LIBRARY_PATH", "").replace(";", ":").split(":")
    triplet = get_config_var("MULTIARCH") or ""
    standard = [os.path.join(prefix, "lib", triplet) for prefix in ("/usr/local", "/usr")]
    return [folder for folder in listed if folder] + standard + ["/usr/local/lib", "/usr/lib64", "/usr/lib"]


class Functions(dict):  # type: ignore[type-arg]
    """The functions of the library by their names, each found when it is first called."""

    def __init__(self, signatures: dict[str, tuple[Any, ...]]) -> None:
        super().__init__()
        self._signatures = signatures

    def __missing__(self, name: str) -> Any:
        try:
            function = getattr(load(), name)
        except AttributeError:
            raise OSError(f"{load()._name} has no function {name}; it is older than this package") from None
        function.restype, *function.argtypes = self._signatures[name]
        self[name] = function
        return function


def set_process_name(name: str) -> None:
    """Names this process for the service, from the next VeskVideoInit on: at most 15 bytes.

    Processes that share a runtime directory need different names. Without a name it is the one of the program, for
    which the module process_name.so stands beside the library; without the module the library's default holds, and a
    name of one's own is an error.
    """
    global _process_name
    if not isinstance(name, str):
        raise TypeError(f"set_process_name: the name is a str, not {name!r}")
    encoded = os.fsencode(name)
    if not 0 < len(encoded) <= _MAX_NAME or b"\0" in encoded or b"/" in encoded:
        raise ValueError(f"set_process_name: {name!r} is no name; it has 1 to {_MAX_NAME} bytes, no NUL and no '/'")
    load()
    if not _names_process:
        raise RuntimeError(
            f"set_process_name: {name!r} cannot be set: there is no {_NAME_MODULE} beside the library, and"
            " VESK_PROCESS_NAME_MODULE names none"
        )
    _process_name = encoded  # the variable only points to it
    ctypes.c_char_p.in_dll(ctypes.CDLL(None), "program_invocation_short_name").value = encoded


def entered() -> None:
    """VeskVideoInit has succeeded."""
    global _entered_by
    _entered_by = os.getpid()


def left() -> None:
    """VeskVideoExit has been called."""
    global _entered_by
    _entered_by = 0


def is_used() -> bool:
    """Whether this process, or the one that it was forked from, has called the library."""
    return _library is not None


def leave() -> None:
    """Calls VeskVideoExit for a process that has called VeskVideoInit alone. There may be no service any more."""
    if _entered_by == os.getpid():
        load().VeskVideoExit()
        left()


def _end() -> None:
    """Ends the use of the library while the interpreter can still run what the library calls."""
    leave()
    for step in before_exit:
        step()
