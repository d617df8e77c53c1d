"""The video interface library, called from Python: functions, records and notifications by their names in C.

A function returns what it gets through its pointers in C, and raises VeskError for any result but 0. The library is
loaded by the first call.
"""

from __future__ import annotations

from . import _functions, _messages, _records, _results
from ._functions import *
from ._messages import *
from ._records import *
from ._results import *
from .errors import VeskError
from .library import set_process_name
from .notifications import Notification, Notifications, VeskVideoGetCallbackPtr, VeskVideoSetCallback
from .record import Record

__all__ = [
    "Notification",
    "Notifications",
    "Record",
    "VeskError",
    "VeskVideoGetCallbackPtr",
    "VeskVideoSetCallback",
    "set_process_name",
]
__all__ += _functions.__all__
__all__ += _messages.__all__
__all__ += _records.__all__
__all__ += _results.__all__

TYPE_CHECKING = False
if TYPE_CHECKING:
    from .client import Client as Client, ClientEnded as ClientEnded
    from .device import Device as Device, DeviceError as DeviceError, Fault as Fault, Watch as Watch

else:
    _LATE = {"Client": "client", "ClientEnded": "client"}
    _LATE.update(dict.fromkeys(("Device", "DeviceError", "Fault", "Watch"), "device"))

    def __getattr__(name: str) -> object:
        """Loads what starts processes when it is first used: most programs do not."""
        if name not in _LATE:
            raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
        from importlib import import_module

        return getattr(import_module("." + _LATE[name], __name__), name)
