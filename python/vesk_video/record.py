"""What records and arguments are made of: checked values, and structures of the interface's layout.

ctypes cuts a number that is too large and takes any attribute. Here both are errors that name the place and the value.
"""

from __future__ import annotations

import ctypes
from operator import index

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Iterable, Iterator
    from typing import Any, Generic, Protocol, SupportsIndex, TypeVar, overload

    _Element = TypeVar("_Element")
    _Given = TypeVar("_Given", contravariant=True)
    _SomeRecord = TypeVar("_SomeRecord", bound="Record")
    _Structure = ctypes._CData  # which has no attributes but its own, while ctypes.Structure is said to have any

    class Kind(Protocol):
        """A C type: what a value has to be, and how ctypes stores it."""

        @property
        def ctype(self) -> Any:
            ...

        def __call__(self, owner: str, name: str, value: Any) -> Any:
            """The value as ctypes takes it; raises TypeError or ValueError, which say that it is owner's name."""

    class Array(Protocol[_Element]):
        """An array in a record. It shares the record's memory: assigning to an element changes the record."""

        def __len__(self) -> int:
            ...

        def __iter__(self) -> Iterator[_Element]:
            ...

        @overload
        def __getitem__(self, place: SupportsIndex) -> _Element:
            ...

        @overload
        def __getitem__(self, place: slice) -> list[_Element]:
            ...

        def __setitem__(self, place: SupportsIndex | slice, value: Any) -> None:
            ...

        def __bytes__(self) -> bytes:
            ...

    class ArrayField(Generic[_Element, _Given]):
        """An attribute that is read as an Array and set from anything that yields its first elements."""

        def __get__(self, record: object, owner: object = None) -> Array[_Element]:
            ...

        def __set__(self, record: object, values: Iterable[_Given]) -> None:
            ...

else:
    _Structure = ctypes.Structure


def nearest(word: str, words: Iterable[str]) -> str:
    """The end of an error about an unknown word: the words that look most like it."""
    from difflib import get_close_matches

    known = {known.lower(): known for known in words}
    found = get_close_matches(word.lower(), known, n=3)
    return "; did you mean " + " or ".join(known[name] for name in found) + "?" if found else ""


class Integer:
    """An integer of a C type."""

    def __init__(self, name: str, ctype: Any) -> None:
        self.name = name
        self.ctype = ctype
        bits = 8 * ctypes.sizeof(ctype)
        signed = ctype(-1).value < 0
        self.low = -(1 << bits - 1) if signed else 0
        self.high = (1 << bits - signed) - 1

    def __call__(self, owner: str, name: str, value: Any) -> int:
        if type(value) is not int:
            try:
                value = index(value)
            except TypeError:
                raise TypeError(f"{owner}: {name} is an integer, not {value!r}") from None
        if not self.low <= value <= self.high:
            raise ValueError(f"{owner}: {name}: {value} is out of range; {self.name} holds {self.low} to {self.high}")
        return value  # type: ignore[no-any-return]


class Float:
    """A float of 32 bits."""

    ctype: Any = ctypes.c_float

    def __call__(self, owner: str, name: str, value: Any) -> float:
        try:
            number = float(value) if not isinstance(value, str) else None
        except TypeError:
            number = None
        if number is None:
            raise TypeError(f"{owner}: {name} is a number, not {value!r}")
        if abs(self.ctype(number).value) == float("inf") != abs(number):
            raise ValueError(f"{owner}: {name}: {value} is out of range; float holds about -3.4e38 to 3.4e38")
        return number


INT32 = Integer("int32_t", ctypes.c_int32)
UINT8 = Integer("uint8_t", ctypes.c_uint8)
UINT16 = Integer("uint16_t", ctypes.c_uint16)
UINT32 = Integer("uint32_t", ctypes.c_uint32)
UINT64 = Integer("uint64_t", ctypes.c_uint64)
FLOAT = Float()


def text(owner: str, name: str, value: Any) -> bytes:
    """A text as the interface has it. What is not UTF-8 there is a surrogate in Python, and goes back unchanged."""
    if not isinstance(value, str):
        raise TypeError(f"{owner}: {name} is a str, not {value!r}")
    encoded = value.encode("utf-8", "surrogateescape")
    if b"\0" in encoded:
        raise ValueError(f"{owner}: {name}: {value!r} has a NUL, which would end the text")
    return encoded


class Text:
    """A NUL-terminated text in a field of fixed size."""

    def __init__(self, size: int) -> None:
        self.size = size
        self.ctype: Any = ctypes.c_char * size

    def __call__(self, owner: str, name: str, value: Any) -> bytes:
        encoded = text(owner, name, value)
        if len(encoded) >= self.size:
            raise ValueError(f"{owner}: {name}: {value!r} is too long; at most {self.size - 1} bytes fit")
        return encoded


class _TextField:
    """Lets a char array, which ctypes reads as bytes, be read as str."""

    def __init__(self, field: Any) -> None:
        self.offset: int = field.offset
        self.size: int = field.size

    def __get__(self, record: Any, owner: object = None) -> Any:
        if record is None:
            return self
        field = ctypes.string_at(ctypes.addressof(record) + self.offset, self.size)
        return field.partition(b"\0")[0].decode("utf-8", "surrogateescape")

    def __set__(self, record: Any, encoded: bytes) -> None:
        ctypes.memmove(ctypes.addressof(record) + self.offset, encoded.ljust(self.size, b"\0"), self.size)


class _Array:
    """What arrays add to those of ctypes: checks, comparison with any sequence, and a short repr."""

    kind: Kind
    place: str

    def __setitem__(self, place: Any, value: Any) -> None:
        if isinstance(place, slice):
            value = [self.kind(type(self).__name__, "an element", element) for element in value]
        else:
            value = self.kind(type(self).__name__, f"element {place}", value)
        super().__setitem__(place, value)  # type: ignore[misc]

    def __eq__(self, other: object) -> bool:
        try:
            return list(self) == list(other)  # type: ignore[call-overload,no-any-return]
        except TypeError:
            return NotImplemented

    __hash__ = None  # type: ignore[assignment]

    def __repr__(self) -> str:
        elements: list[Any] = list(self)  # type: ignore[call-overload]
        used = len(elements)
        while used != 0 and not _is_used(elements[used - 1]):
            used -= 1
        shown = [repr(element) for element in elements[: min(used, 16)]]
        if used > 16:
            shown.append(f"... {used - 16} more")
        if used < len(elements):
            shown.append(f"{len(elements) - used} x 0")
        return "[" + ", ".join(shown) + "]"


def _is_used(value: Any) -> bool:
    return any(bytes(value)) if isinstance(value, (ctypes.Array, Record)) else bool(value)


def _elements(owner: str, name: str, kind: Kind, values: Any) -> list[Any]:
    try:
        entries = list(values)
    except TypeError:
        raise TypeError(f"{owner}: {name} is a sequence, not {values!r}") from None
    return [kind(owner, f"{name}[{place}]", value) for place, value in enumerate(entries)]


class ArrayOf:
    """An array of fixed length. It is set from what yields its first elements; the others become 0."""

    def __init__(self, kind: Kind, count: int) -> None:
        self.kind = kind
        self.count = count
        members = {"_type_": kind.ctype, "_length_": count, "kind": kind}
        self.ctype: Any = type(f"{getattr(kind, 'name', 'array')}[{count}]", (_Array, ctypes.Array), members)

    def __call__(self, owner: str, name: str, value: Any) -> Any:
        if type(value) is self.ctype:
            return value
        elements = _elements(owner, name, self.kind, value)
        if len(elements) > self.count:
            raise ValueError(f"{owner}: {name} has {self.count} elements, not {len(elements)}")
        return self.ctype(*elements)


class Record(_Structure):
    """A record of the interface: made from keywords, with all other fields 0, and read and set by its fields' names."""

    _kinds: dict[str, Kind] = {}

    def __init__(self, **fields: Any) -> None:
        super().__init__()
        for name, value in fields.items():
            setattr(self, name, value)

    if not TYPE_CHECKING:

        def __setattr__(self, name: str, value: Any) -> None:
            kind = self._kinds.get(name)
            if kind is None:
                raise AttributeError(f"{type(self).__name__} has no field {name!r}{nearest(name, self._kinds)}")
            super().__setattr__(name, kind(type(self).__name__, name, value))

        def __getattr__(self, name: str) -> Any:
            raise AttributeError(f"{type(self).__name__} has no field {name!r}{nearest(name, self._kinds)}")

    @classmethod
    def from_bytes(cls: type[_SomeRecord], data: bytes) -> _SomeRecord:
        """A record of these bytes, of which there have to be as many as it has."""
        if len(data) != ctypes.sizeof(cls):
            raise ValueError(f"{cls.__name__} has {ctypes.sizeof(cls)} bytes, not {len(data)}")
        return cls.from_buffer_copy(data)

    @classmethod
    def names(cls) -> tuple[str, ...]:
        """The names of its fields, in their order."""
        return tuple(cls._kinds)

    def __eq__(self, other: object) -> bool:
        if type(self) is not type(other):
            return NotImplemented
        return bytes(self) == bytes(other) or all(  # type: ignore[call-overload]
            getattr(self, name) == getattr(other, name) for name in self._kinds
        )

    __hash__ = None  # type: ignore[assignment]

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self).from_bytes, (bytes(self),)

    def __repr__(self) -> str:
        fields = [(name, getattr(self, name)) for name in self._kinds]
        # What is only there to fill the layout is shown if it is in use.
        shown = [f"{name}={value!r}" for name, value in fields if not isinstance(value, _Array) or _is_used(value)]
        return f"{type(self).__name__}({', '.join(shown)})"


class Nested:
    """A record as a field, an element or an argument. Its view, which has the same bytes, is taken in its place."""

    def __init__(self, record: type[Record]) -> None:
        self.ctype: Any = record
        self.name = record.__name__
        self.view: Any = getattr(record, "_view", record)

    def __call__(self, owner: str, name: str, value: Any) -> Any:
        if isinstance(value, self.ctype):
            return value
        if not isinstance(value, self.view):
            raise TypeError(f"{owner}: {name} is a {self.name}, not {value!r}")
        return self.ctype.from_bytes(bytes(value).ljust(ctypes.sizeof(self.ctype), b"\0"))


def layout(record: type[Record], **kinds: Kind) -> None:
    """Gives a class its fields, in the order of the layout."""
    record._kinds = kinds
    record._fields_ = [(name, kind.ctype) for name, kind in kinds.items()]  # type: ignore[attr-defined]
    for name, kind in kinds.items():
        if isinstance(kind, Text):
            setattr(record, name, _TextField(getattr(record, name)))


def record_argument(owner: str, name: str, record: type[Record], value: Any) -> Any:
    """A record as an argument that the library reads."""
    return ctypes.byref(Nested(record)(owner, name, value))


def records_argument(owner: str, name: str, record: type[Record], values: Any) -> Any:
    """Records as an array, as long as they are many."""
    elements = _elements(owner, name, Nested(record), values)
    return (record * len(elements))(*elements)


def data_argument(owner: str, name: str, value: Any) -> bytes:
    """Bytes that the library reads."""
    if isinstance(value, (Record, _Array)):
        return bytes(value)  # type: ignore[arg-type]
    try:
        return bytes(memoryview(value))
    except TypeError:
        raise TypeError(f"{owner}: {name} is bytes or a record, not {value!r}") from None


def buffer_argument(owner: str, name: str, value: Any, size: Any) -> ctypes.Array[ctypes.c_char] | None:
    """A buffer that is sent and received: of that size if it is given, else of that of the data; None for neither."""
    data = b"" if value is None else data_argument(owner, name, value)
    if size is not None:
        data = data.ljust(UINT32(owner, "the length", size), b"\0")
    return ctypes.create_string_buffer(data, len(data)) if data else None
