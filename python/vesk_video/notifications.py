"""Notifications: each as an object, all of them in order of arrival or by what is awaited, and the callback itself."""

from __future__ import annotations

import ctypes
import struct

from . import _functions, library
from ._messages import NOTIFICATIONS
from ._records import VeskVideoCallbackInfo
from .record import Record, data_argument, nearest

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Iterator
    from types import TracebackType
    from typing import Any, Callable

_NUMBERS = {name: number for number, (name, *_) in NOTIFICATIONS.items()}
_SHOWN = 10  # notifications in the error of a wait


class Notification:
    """One notification. Its fields are attributes: the arguments of its header and the fields of its record.

    Where the interface leaves them opaque, the names that the virtual service's view gives them are attributes, too.
    """

    __slots__ = ("number", "name", "data", "payload", "arguments")

    def __init__(self, number: int, data: bytes) -> None:
        self.number = number
        self.name, arguments, form, record = NOTIFICATIONS[number]
        self.data = data
        """What the callback was given."""
        self.payload: Record | bytes = data
        """The record, or the bytes of a notification without one or of one that is shorter than its record."""
        self.arguments: dict[str, int] = {}
        """The arguments of the header."""
        if form and data:
            self.arguments = dict(zip(arguments, struct.unpack(form, data)))
            self.payload = b""
        elif record is not None and len(data) >= ctypes.sizeof(record):
            self.payload = record.from_buffer_copy(data)

    def __getattr__(self, name: str) -> Any:
        if name in self.arguments:
            return self.arguments[name]
        for record in _records_of(self.payload):
            if name in record.names():
                return getattr(record, name)
        raise AttributeError(f"{self!r} has no {name!r}{nearest(name, _fields(self.number))}")

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Notification):
            return NotImplemented
        return (self.number, self.data) == (other.number, other.data)

    __hash__ = None  # type: ignore[assignment]

    def __reduce__(self) -> tuple[Any, ...]:
        return Notification, (self.number, self.data)

    def __repr__(self) -> str:
        if isinstance(self.payload, Record):
            return self.name + repr(self.payload).partition(type(self.payload).__name__)[2]
        fields = [f"{name}={value}" for name, value in self.arguments.items()]
        if self.payload:
            fields.append(repr(self.payload))
        return f"{self.name}({', '.join(fields)})"


def _records_of(payload: Record | bytes) -> Iterator[Record]:
    if isinstance(payload, Record):
        yield payload
        if hasattr(type(payload), "view"):
            yield payload.view()  # type: ignore[attr-defined]


def _fields(number: int) -> dict[str, Callable[[str, str, Any], Any] | None]:
    """The names of a notification's fields, and what checks a value of each."""
    _, arguments, _, record = NOTIFICATIONS[number]
    fields: dict[str, Any] = dict.fromkeys(arguments)
    if record is not None:
        fields.update(getattr(record, "_view", record)._kinds)
        fields.update(record._kinds)
    return fields


# --- The callback -----------------------------------------------------------------------------------------------------

_C_CALLBACK = ctypes.CFUNCTYPE(ctypes.c_uint32, ctypes.c_uint32, ctypes.c_void_p, ctypes.c_uint32)


_callback: Callable[[Notification], object] | None = None
_running: list[int] = []  # the calls of the callback that have not returned


def _receive(number: int, address: int | None, length: int) -> int:
    """What the library calls. ctypes reports what is raised here as unraisable; nothing crosses the library."""
    _running.append(number)
    try:
        callback = _callback
        if callback is not None and number in NOTIFICATIONS:
            form = NOTIFICATIONS[number][2]  # of such a number, the length is another's
            size = struct.calcsize(form) if form else length
            callback(Notification(number, ctypes.string_at(address, size) if address else b""))
    finally:
        _running.pop()
    return 0


_receiver = _C_CALLBACK(_receive)  # lives as long as the library may call it
_receiver_address = ctypes.cast(_receiver, ctypes.c_void_p).value or 0


def _installed() -> Any:
    return ctypes.c_void_p.in_dll(library.load(), "g_veskVideoCallBackPtr")


def VeskVideoSetCallback(notifyCallback: Callable[[Notification], object] | None, serviceData: bytes = b"") -> None:
    """Installs the application's callback or, if it is None, sends a record to the service.

    The callback is called with each Notification, on a thread of the library, one at a time and in order of arrival.
    Those that the library has held are delivered on the calling thread before this returns. What the callback raises
    goes to sys.unraisablehook, and what it returns is ignored. While it runs, all later notifications wait.

    Precondition: VeskVideoInit has been called, which removes any callback.

    Arguments:
        notifyCallback: The callback; it replaces the one that is installed. None sends serviceData instead.
        serviceData: Data for the service, at most 32 bytes.
    """
    global _callback
    info = VeskVideoCallbackInfo(serviceData=data_argument("VeskVideoSetCallback", "serviceData", serviceData))
    if notifyCallback is not None:
        if not callable(notifyCallback):
            raise TypeError(f"VeskVideoSetCallback: notifyCallback is a function, not {notifyCallback!r}")
        _callback = notifyCallback
        info.notifyCallback = _receiver_address
    _functions.VeskVideoSetCallback(info)


def VeskVideoGetCallbackPtr() -> Callable[..., object] | None:
    """Gets the installed callback, or None if none is installed."""
    address = _installed().value
    if address is None:
        return None
    return _callback if address == _receiver_address else _C_CALLBACK(address)


def _remove_callback() -> None:
    """Takes the callback away, so that the library holds what it holds without one."""
    _installed().value = None


@library.before_exit.append
def _let_callbacks_return() -> None:
    """Lets the calls that have begun return while they can; without a callback none begins any more.

    The interpreter ends a thread that enters it after its end: with the callback half done, and within functions of the
    library and the platform.
    """
    global _callback
    if _callback is None:
        return
    from time import monotonic, sleep

    _remove_callback()
    _callback = None
    end = monotonic() + 1
    while _running and monotonic() < end:
        sleep(0.001)
    sleep(0.02)  # one may have been about to begin


# --- Waiting for notifications ----------------------------------------------------------------------------------------


class Notifications:
    """Receives notifications while it is open, as a context manager.

    Iterating takes them in order of arrival, and waits for the next one. wait_for takes the first that matches. Of
    several that are open at the same time, each receives all. The callback that was installed before is installed again
    when the last one is closed.
    """

    def __init__(self) -> None:
        from collections import deque
        from threading import Condition

        self._arrived: deque[Notification] = deque()
        self._condition = Condition()
        self._taken = 0
        self._is_open = False

    def __enter__(self) -> Notifications:
        global _callback_before
        self._is_open = True
        _open.append(self)
        before = VeskVideoGetCallbackPtr()
        if before is not _distribute:
            _callback_before = before
            try:
                VeskVideoSetCallback(_distribute)
            except BaseException:
                self.close()
                raise
        return self

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        self.close()

    def close(self) -> None:
        """Ends receiving. What has arrived can still be taken."""
        with self._condition:
            self._is_open = False
            self._condition.notify_all()
        if self in _open:
            _open.remove(self)
            if not _open and VeskVideoGetCallbackPtr() is _distribute:
                _remove_callback()
                if _callback_before is not None:
                    VeskVideoSetCallback(_callback_before)

    def __iter__(self) -> Notifications:
        return self

    def __next__(self) -> Notification:
        with self._condition:
            while not self._arrived:
                if not self._is_open:
                    raise StopIteration
                self._condition.wait()
            self._taken += 1
            return self._arrived.popleft()

    def take_all(self) -> list[Notification]:
        """Takes all that have arrived, without waiting."""
        with self._condition:
            taken = list(self._arrived)
            self._arrived.clear()
            self._taken += len(taken)
        return taken

    def wait_for(self, name: str | int, /, *, timeout: float = 5.0, **fields: Any) -> Notification:
        """Takes the first notification of this name whose fields have these values, and leaves all others in order.

        Arguments:
            name: Its name as veskctl list shows it, such as "DISPLAY_FIRST_FRAME", or its number.
            timeout: Seconds to wait; then TimeoutError says what has arrived instead.
            fields: Values of its fields.
        """
        from time import monotonic

        number = _number(name)
        known = _fields(number)
        wanted = NOTIFICATIONS[number][0]
        for field, value in fields.items():
            if field not in known:
                raise ValueError(f"wait_for: {wanted} has no field {field!r}{nearest(field, known)}")
            check = known[field]
            if check is not None:
                check(f"wait_for: {wanted}", field, value)
        end = monotonic() + timeout
        with self._condition:
            seen, taken = 0, self._taken
            while True:
                if taken != self._taken:  # by another thread: the places have changed
                    seen, taken = 0, self._taken
                for place in range(seen, len(self._arrived)):
                    notification = self._arrived[place]
                    if notification.number == number and _has(notification, fields):
                        del self._arrived[place]
                        self._taken += 1
                        return notification
                seen = len(self._arrived)
                left = end - monotonic()
                if left <= 0:
                    raise TimeoutError(_missing(wanted, fields, timeout, list(self._arrived)))
                if not self._is_open or VeskVideoGetCallbackPtr() is not _distribute:
                    raise RuntimeError(f"wait_for: {wanted} cannot arrive: {self._why_closed()}")
                self._condition.wait(left)

    def _why_closed(self) -> str:
        if not self._is_open:
            return "these Notifications are not open; use them in a with statement"
        return "VeskVideoInit, VeskVideoExit or VeskVideoSetCallback has removed the callback since they were opened"

    def _put(self, notification: Notification) -> None:
        with self._condition:
            self._arrived.append(notification)
            self._condition.notify_all()


_open: list[Notifications] = []
_callback_before: Callable[..., object] | None = None


def close_all() -> None:
    """Closes all that are open; what waits for one of them ends."""
    for receiver in list(_open):
        receiver.close()


def _distribute(notification: Notification) -> None:
    for receiver in list(_open):
        receiver._put(notification)


def _number(name: str | int) -> int:
    if isinstance(name, int):
        if name not in NOTIFICATIONS:
            raise ValueError(f"wait_for: there is no notification {name}")
        return name
    if name not in _NUMBERS:
        raise ValueError(f"wait_for: there is no notification {name!r}{nearest(str(name), _NUMBERS)}")
    return _NUMBERS[name]


def _has(notification: Notification, fields: dict[str, Any]) -> bool:
    return all(getattr(notification, name, None) == value for name, value in fields.items())


def _missing(wanted: str, fields: dict[str, Any], timeout: float, arrived: list[Notification]) -> str:
    conditions = ", ".join(f"{name}={value!r}" for name, value in fields.items())
    text = f"no {wanted}{f' with {conditions}' if conditions else ''} within {timeout:g} s; "
    if not arrived:
        return text + "nothing has arrived"
    more = f" and {len(arrived) - _SHOWN} before them" if len(arrived) > _SHOWN else ""
    return text + "arrived instead: " + ", ".join(map(repr, arrived[-_SHOWN:])) + more
