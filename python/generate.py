#!/usr/bin/env python3
"""Writes the part of the package that follows from the headers, the list of messages and the layouts of the records.

    generate.py OUTPUT_FOLDER

What it does not understand is an error, so that the package cannot drift from them. The layouts that it has written are
compared with those listed.
"""

from __future__ import annotations

import ctypes
import re
import sys
from pathlib import Path
from types import ModuleType
from typing import Iterator, NamedTuple, NoReturn, Optional

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent
MESSAGES = ROOT / "include/vesk_video/messages.def"
NOTIFICATION_HEADER = ROOT / "include/vesk_video/notification.h"
SERVICE_HEADER = ROOT / "include/vesk_service/virtual_service.h"
PLATFORM_HEADER = ROOT / "platform/host/include/vesk_host/message.h"
LAYOUTS = ROOT / "abi/records.txt"
EXPORTED = ROOT / "abi/exported_names.txt"
VIEWS = ROOT / "decoder/virtual_service_views.txt"

HEADER_FIELDS = ["uwSubMsgID", "ulParam1", "ulParam2"]
INTEGERS = ("int32_t", "uint8_t", "uint16_t", "uint32_t", "uint64_t")

# What Python cannot use, or has in another form: docs/python.md says why.
NOT_OFFERED = {
    "GetSelfProcName",  # set_process_name
    "VeskVideoGetMsgResendQ",
    "VeskVideoRegOneMsgTask",
    "VeskVideoGetCallbackPtr",  # notifications.py
    "VeskProcDealToNorthInterfaceMsg",
    "VeskVideoCtrlToNorthMsg",
    "MsgOnVoPortDdcInfoNotify",
    "MsgOnViPortPlusStateNotify",
    "MsgOnDisplayFirstFrameNotify",
    "MsgOnCameraCtrlResultNotify",
    "MsgOnDisplayDestroyLinkNotify",
    "MsgOnVideoAnnotationReadyNotify",
    "MsgOnVideoproxyRestartNotify",
    "MsgOnVideoBgResourceInitReadyNotify",
}
WRAPPED = {"VeskVideoSetCallback"}  # by one of that name in notifications.py, which takes a function of Python's
VARIABLES = {"NORTH_RECV_PROC_NAME", "NORTH_RECV_TASK_NAME", "g_cbResendQueue", "g_veskVideoCallBackPtr"}
RECORDS_NOT_OFFERED = {"MsgTaskDesc", "NorthMsgResendInfo"}  # of addresses
ADDRESSES = {"VeskVideoNotifyCallback": "uint64_t"}

# What the package remembers once a function has succeeded.
AFTERWARDS = {"VeskVideoInit": "library.entered()", "VeskVideoExit": "library.left()"}


def fail(source: Path, text: str) -> NoReturn:
    sys.exit(f"generate.py: {source.relative_to(ROOT)}: {text}")


def headers() -> Iterator[Path]:
    for path in sorted((ROOT / "include/vesk_video").glob("*.h")):
        if path.name != "messages.h":  # whose enumerators come from the list of messages
            yield path
    yield SERVICE_HEADER
    yield PLATFORM_HEADER


# --- What the sources say ---------------------------------------------------------------------------------------------


class Comment(NamedTuple):
    """A documentation comment: its paragraphs, and its commands with their texts."""

    paragraphs: list[str]
    commands: list[tuple[str, str, str]]  # name, its first word for @param and @retval, text

    def of(self, command: str) -> list[tuple[str, str]]:
        return [(word, text) for name, word, text in self.commands if name == command]


class Parameter(NamedTuple):
    type: str
    name: str


class Function(NamedTuple):
    name: str
    result: str
    parameters: Optional[list[Parameter]]  # None: accepts and ignores any
    comment: Comment
    header: Path


class Field(NamedTuple):
    type: str
    name: str
    length: Optional[int]  # of an array
    offset: int
    size: int


class Request(NamedTuple):
    name: str
    number: int
    function: str
    arguments: list[str]  # of uwSubMsgID, ulParam1 and ulParam2, "" for none
    payload: str
    answer: str


class Notification(NamedTuple):
    name: str
    number: int
    arguments: list[str]
    record: str  # of the payload, or ""


def plain(text: str) -> str:
    """The words of a comment without its markup."""
    text = re.sub(r"@(?:p|ref|c)\s+", "", text)
    return " ".join(text.split())


def parse_comment(text: str) -> Comment:
    lines = [re.sub(r"^\s*\*? ?", "", line).rstrip() for line in text.strip().splitlines()]
    paragraphs: list[str] = []
    commands: list[tuple[str, str, str]] = []
    for block in "\n".join(lines).split("\n\n"):
        parts = re.split(r"^@(pre|param|retval|return|ingroup)\s+", block, flags=re.M)
        if parts[0].strip():
            paragraphs.append(plain(parts[0]))
        for name, body in zip(parts[1::2], parts[2::2]):
            word = ""
            if name in ("param", "retval"):
                word, _, body = body.partition(" ")
            commands.append((name, word, plain(body)))
    return Comment(paragraphs, commands)


DOCUMENTED = r"(?:/\*\*(?P<doc>(?:(?!\*/).)*)\*/\s*)?^"
DECLARATION = re.compile(DOCUMENTED + r"VESK_VIDEO_API (?P<text>[^;]+);", re.S | re.M)
TYPEDEF = re.compile(DOCUMENTED + r"typedef struct (?P<name>\w+) \{(?P<body>.*?)^\} (?P=name);", re.S | re.M)
ENUM = re.compile(r"^(?:typedef )?enum \w* ?\{(?P<body>.*?)^\}", re.S | re.M)


def parse_functions() -> dict[str, Function]:
    functions = {}
    for header in headers():
        for match in DECLARATION.finditer(header.read_text(encoding="utf-8")):
            text = " ".join(match["text"].split())
            prototype = re.fullmatch(r"(.+?[ *])(\w+)\((.*)\)", text)
            if prototype is None:
                fail(header, f"not a prototype: {text}")
            result, name, parameters = prototype.groups()
            if match["doc"] is None:
                fail(header, f"{name} has no comment")
            functions[name] = Function(
                name, result.strip(), parse_parameters(header, name, parameters), parse_comment(match["doc"]), header
            )
    exported = {line for line in EXPORTED.read_text(encoding="utf-8").splitlines() if line and not line.startswith("#")}
    if exported - VARIABLES != functions.keys():
        fail(EXPORTED, f"in only one of it and the headers: {sorted((exported - VARIABLES) ^ functions.keys())}")
    if not NOT_OFFERED <= functions.keys():
        fail(EXPORTED, f"there is no {sorted(NOT_OFFERED - functions.keys())}")
    return functions


def parse_parameters(header: Path, function: str, text: str) -> Optional[list[Parameter]]:
    if text == "VESK_VIDEO_ANY_ARGUMENTS":
        return None
    parameters = []
    for part in [] if text == "void" else text.split(","):
        match = re.fullmatch(r"\s*(.+?[ *&])(\w+)\s*", part)
        if match is None:
            fail(header, f"{function}: not a parameter: {part}")
        parameters.append(Parameter(match[1].strip(), match[2]))
    return parameters


def parse_layouts() -> dict[str, tuple[int, list[Field]]]:
    """The size and the fields of each record, those that hold others after them."""
    sizes: dict[str, int] = {}
    fields: dict[str, list[Field]] = {}
    for line in LAYOUTS.read_text(encoding="utf-8").splitlines():
        if size := re.fullmatch(r"(\w+) has (\d+) bytes", line):
            sizes[size[1]] = int(size[2])
            fields[size[1]] = []
        elif field := re.fullmatch(r"(\w+): (.+?) (\w+)(?:\[(\d+)\])? at (\d+), (\d+) bytes", line):
            count = int(field[4]) if field[4] else None
            kind = ADDRESSES.get(field[2], field[2])
            fields[field[1]].append(Field(kind, field[3], count, int(field[5]), int(field[6])))
        elif "(*" not in line or line.partition(":")[0] not in RECORDS_NOT_OFFERED:
            fail(LAYOUTS, f"neither a record nor a field: {line}")
    ordered: dict[str, tuple[int, list[Field]]] = {}

    def add(name: str) -> None:
        if name in ordered or name in RECORDS_NOT_OFFERED or name.startswith("VeskControl"):
            return
        members = sorted(fields[name], key=lambda field: field.offset)
        for field in members:
            if field.type in sizes:
                add(field.type)
            elif field.type not in INTEGERS + ("float", "char"):
                fail(LAYOUTS, f"{name}: {field.name} has an unknown type: {field.type}")
        ordered[name] = (sizes[name], members)

    # The virtual service's first, as the others have views of them.
    for name in sorted(sizes, key=lambda name: (not name.startswith("VeskService"), name)):
        add(name)
    if missing := RECORDS_NOT_OFFERED - sizes.keys():
        fail(LAYOUTS, f"there is no {sorted(missing)}")
    return ordered


def parse_record_comments() -> dict[str, tuple[str, dict[str, str]]]:
    """What the headers say of each record and of its fields."""
    comments = {}
    for header in headers():
        for match in TYPEDEF.finditer(header.read_text(encoding="utf-8")):
            fields = re.findall(r"(\w+)(?:\[\w+\])?;\s*/\*\*< (.*?) \*/", match["body"], re.S)
            summary = " ".join(parse_comment(match["doc"] or "").paragraphs)
            comments[match["name"]] = (summary, {name: plain(text) for name, text in fields})
    return comments


def parse_views() -> tuple[dict[str, str], dict[str, str]]:
    """The virtual service's views of records, and of the payloads of notifications."""
    records, payloads = {}, {}
    for line in VIEWS.read_text(encoding="utf-8").splitlines():
        match = re.fullmatch(r"(\w+)( payload| answer)? shown as (\w+)", line)
        if match is None:
            if not line.startswith("#"):
                fail(VIEWS, f"not a view: {line}")
        elif match[2] is None:
            records[match[1]] = match[3]
        elif match[2] == " payload" and match[1].startswith("VESK_VIDEO_ON_"):
            payloads[match[1]] = match[3]
    return records, payloads


def parse_messages() -> tuple[list[Request], list[Notification]]:
    requests, notifications = [], []
    for line in MESSAGES.read_text(encoding="utf-8").splitlines():
        match = re.fullmatch(r"VESK_(REQUEST|NOTIFICATION)\((.+)\)", line)
        if match is None:
            if line.startswith("VESK_"):
                fail(MESSAGES, f"not a message: {line}")
            continue
        parts = [part.strip() for part in re.split(r",(?![^(]*\))", match[2])]
        if match[1] == "REQUEST" and len(parts) == 8:
            arguments = [argument_name(part) for part in parts[3:6]]
            requests.append(Request(parts[0], int(parts[1]), parts[2], arguments, parts[6], parts[7]))
        elif match[1] == "NOTIFICATION" and len(parts) == 5:
            record = inner(parts[4], "RECORD") or ""
            arguments = [name for name in map(argument_name, parts[2:4]) if name]
            notifications.append(Notification(parts[0], int(parts[1]), arguments, record))
        else:
            fail(MESSAGES, f"has {len(parts)} parts: {line}")
    return requests, notifications


def argument_name(text: str) -> str:
    """The name of an argument, whose C type can come first."""
    return "" if text == "-" else text.split()[-1]


def inner(text: str, form: str) -> Optional[str]:
    """What a payload's form has in its parentheses, such as the type of an ARRAY(type, field)."""
    match = re.fullmatch(rf"{form}\((\w+)(?:, (\w+))?\)", text)
    return match[1] if match else None


def parse_delivered() -> dict[int, str]:
    """What the callback receives for each notification, by the table in notification.h: a type, or "" for bytes."""
    delivered = {}
    for line in NOTIFICATION_HEADER.read_text(encoding="utf-8").splitlines():
        row = re.fullmatch(r" \* \| (\d+)(?: to (\d+)|, (\d+))? \| [^|]+ \| ([^|]+) \| [^|]+ \| [^|]+ \|", line)
        if row is None:
            continue
        kind = re.fullmatch(r"(uint32_t|uint64_t): .*|(\w+)|service-defined payload", row[4])
        if kind is None:
            fail(NOTIFICATION_HEADER, f"unknown kind of data: {row[4]}")
        for number in range(int(row[1]), int(row[2] or row[3] or row[1]) + 1):
            delivered[number] = kind[1] or kind[2] or ""
    return delivered


def parse_constants() -> dict[str, tuple[int, str]]:
    """The value and the comment of each enumerator."""
    constants = {}
    for header in headers():
        for enum in ENUM.finditer(header.read_text(encoding="utf-8")):
            value = -1
            body = re.sub(r"/\*\*(?!<).*?\*/", "", enum["body"], flags=re.S)
            for item in re.finditer(r"(\w+)(?:\s*=\s*(\w+))?\s*,?\s*(?:/\*\*< (.*?) \*/)?", body, re.S):
                try:
                    value = int(item[2], 0) if item[2] else value + 1
                except ValueError:
                    fail(header, f"{item[1]}: not a number: {item[2]}")
                constants[item[1]] = (value, plain(item[3] or ""))
    return constants


# --- What is written --------------------------------------------------------------------------------------------------

LIMIT = 120


def wrapped(text: str, indent: str, hanging: str = "") -> str:
    lines, line = [], indent
    for word in text.split():
        if len(line) + 1 + len(word) > LIMIT and line.strip():
            lines.append(line)
            line = indent + hanging
        line += word if not line.strip() else " " + word
    return "\n".join(lines + [line])


def docstring(paragraphs: list[str], items: list[tuple[str, list[tuple[str, str]]]], indent: str = "    ") -> str:
    """Paragraphs, then titles with "name: text" below them."""
    first = paragraphs[0]
    lines = [wrapped(f'"""{first}', indent)]
    for paragraph in paragraphs[1:]:
        lines += ["", wrapped(paragraph, indent)]
    for title, entries in items:
        if entries:
            lines += ["", f"{indent}{title}:"]
            lines += [wrapped(f"{name}: {text}" if name else text, indent + "    ", "    ") for name, text in entries]
    if len(lines) == 1 and len(lines[0].splitlines()[-1]) + 3 <= LIMIT:
        return lines[0] + '"""\n'
    return "\n".join(lines) + f'\n{indent}"""\n'


def file_text(summary: str, source: str, body: str, names: list[str]) -> str:
    listed = "".join(f'    "{name}",\n' for name in names)
    head = f'"""{summary} Generated from {source}."""\n\nfrom __future__ import annotations\n\n'
    return f"{head}{body}\n__all__ = [\n{listed}]\n"


def c_type(field: Field) -> str:
    return f"{field.type}[{field.length}]" if field.length else field.type


def kind_of(field: Field, records: set[str]) -> str:
    """The expression for the kind of a field (record.py)."""
    if field.type == "char" and field.length:
        return f"Text({field.length})"
    kind = f"Nested({field.type})" if field.type in records else field.type.removesuffix("_t").upper()
    return f"ArrayOf({kind}, {field.length})" if field.length else kind


def hint_of(field: Field, views: dict[str, str], given: bool) -> str:
    """The type of a field in Python; given: what it can be set from."""
    if field.type == "char":
        return "str"
    hint = {"float": "float"}.get(field.type, "int" if field.type in INTEGERS else field.type)
    if field.type in views and given:
        hint += f" | {views[field.type]}"
    if not field.length:
        return hint
    return f"Iterable[{hint}]" if given else f"ArrayField[{hint}, {hint_of(field._replace(length=None), views, True)}]"


def write_records(layouts: dict[str, tuple[int, list[Field]]], views: dict[str, str]) -> str:
    comments = parse_record_comments()
    names = set(layouts)
    body = (
        "from .record import FLOAT, INT32, UINT8, UINT16, UINT32, UINT64, ArrayOf, Nested, Record, Text, layout\n\n"
        "TYPE_CHECKING = False\n"
        "if TYPE_CHECKING:\n"
        "    from collections.abc import Iterable\n\n"
        "    from .record import ArrayField\n\n"
    )
    for name, (_, fields) in layouts.items():
        if name not in comments:
            fail(LAYOUTS, f"no header describes {name}")
        summary, texts = comments[name]
        body += f"\nclass {name}(Record):\n"
        described = [(field.name, f"{c_type(field)}. {texts.get(field.name, '')}") for field in fields]
        body += docstring([summary], [("Fields", described)])
        body += "\n    if TYPE_CHECKING:\n"
        for field in fields:
            body += f"        {field.name}: {hint_of(field, views, False)}\n"
        body += "\n        def __init__(\n            self,\n            *,\n"
        for field in fields:
            body += f"            {field.name}: {hint_of(field, views, True)} = ...,\n"
        body += "        ) -> None: ...\n"
        if name in views:
            view = views[name]
            body += (
                f"\n    _view = {view}\n\n    def view(self) -> {view}:\n"
                f'        """What the virtual service has in it: the same memory, with names for the fields."""\n'
                f"        return {view}.from_buffer(self)\n"
            )
        body += f"\n\nlayout(\n    {name},\n"
        for field in fields:
            body += f"    {field.name}={kind_of(field, names)},\n"
        body += ")\n\n"
    return file_text("The records.", "abi/records.txt and the headers", body, list(layouts))


def is_length(name: str) -> bool:
    return re.search(r"len(gth)?$", name, re.I) is not None


def has_length(following: list[Parameter]) -> bool:
    """True if the parameters after a buffer begin with its length."""
    return bool(following) and is_length(following[0].name)


def python_names(function: Function, request: Optional[Request], fields: set[str]) -> dict[str, str]:
    """What the list of messages calls each number that the function takes: the names of its parameters in Python.

    A parameter is the argument of the same name, or the one whose name ends as its own does, or the only one left.
    """
    parameters = function.parameters or []
    numbers = [
        parameter.name
        for place, parameter in enumerate(parameters)
        if parameter.type in INTEGERS or parameter.type == "void*" and not has_length(parameters[1 + place:])
    ]
    names = {name: name for name in numbers}
    if request is None:
        return names
    left = [argument for argument in request.arguments if argument]
    unmatched = []
    for name in numbers:
        if name in left:
            left.remove(name)
        elif name not in fields and not is_length(name):
            unmatched.append(name)
    for name in list(unmatched):
        ending = [argument for argument in left if argument.lower().endswith(name.lower())]
        if len(ending) == 1:
            names[name] = ending[0]
            left.remove(ending[0])
            unmatched.remove(name)
    if len(unmatched) == 1 and len(left) == 1:
        names[unmatched.pop()] = left.pop()
    if unmatched:
        fail(MESSAGES, f"{request.name}: which of its arguments {left} are {unmatched} of {function.name}?")
    return names


def counted(request: Optional[Request]) -> tuple[str, str]:
    if request is not None:
        for text in (request.payload, request.answer):
            if array := re.fullmatch(r"ARRAY\((\w+), (\w+)\)", text):
                return array[1], request.arguments[HEADER_FIELDS.index(array[2])]
    return "", ""


class Call:
    """The Python function for a C function, put together parameter by parameter."""

    def __init__(
        self,
        function: Function,
        request: Optional[Request],
        layouts: dict[str, tuple[int, list[Field]]],
        views: dict[str, str],
    ) -> None:
        self.function = function
        self.request = request
        self.layouts = layouts
        self.views = views
        self.signature: list[str] = []
        self.optional: list[str] = []
        self.before: list[str] = []
        self.passed: list[str] = []
        self.types: list[str] = []
        self.results: list[tuple[str, str, str]] = []  # parameter, expression, hint
        self.documented: list[tuple[str, str]] = []
        self.parameters = list(function.parameters or [])
        record = inner(request.payload, "RECORD") if request else None
        fields = {field.name for field in layouts[record][1]} if record in layouts else set()
        self.names = python_names(function, request, fields)
        # The record of which the message has an array, and the argument that says of how many.
        self.counted, self.count = counted(request)
        self.texts = dict(function.comment.of("param"))
        while self.parameters:
            self.add(self.parameters.pop(0))

    def problem(self, parameter: Parameter) -> NoReturn:
        fail(self.function.header, f"{self.function.name}: what is {parameter.type} {parameter.name} in Python?")

    def where(self, name: str) -> str:
        return f'"{self.function.name}", "{name}"'

    def takes(self, parameter: Parameter, name: str, hint: str, optional: bool = False) -> None:
        if parameter.name not in self.texts:
            self.problem(parameter)
        if optional:
            self.optional.append(f"{name}: {hint} | None = None")
        else:
            self.signature.append(f"{name}: {hint}")
        self.documented.append((name, self.texts[parameter.name].replace("null", "None")))

    def passes(self, ctype: str, expression: str) -> None:
        self.types.append(ctype)
        self.passed.append(expression)

    def number(self, parameter: Parameter) -> str:
        """Takes a number; the expression for it."""
        name = self.names[parameter.name]
        self.takes(parameter, name, "int")
        kind = "UINT64" if parameter.type == "void*" else parameter.type.removesuffix("_t").upper()
        return f"{kind}({self.where(name)}, {name})"

    def next_length(self) -> bool:
        """True, and taken away, if the length of a buffer is the next parameter."""
        if not has_length(self.parameters):
            return False
        self.parameters.pop(0)
        return True

    def add(self, parameter: Parameter) -> None:
        kind, name = parameter
        nullable = bool(re.search(r"\bnull (sends none|for none)", self.texts.get(name, "").lower()))
        pointed = re.fullmatch(r"(const )?(\w+)\*", kind)
        if kind in INTEGERS:
            ctype = f"c_{kind.removesuffix('_t')}"
            if self.parameters and self.is_list(self.parameters[0]) and name == self.count:
                self.array(parameter, self.parameters.pop(0))
            else:
                self.passes(ctype, self.number(parameter))
        elif pointed is None:
            self.problem(parameter)
        elif kind == "const char*":
            self.takes(parameter, name, "str")
            self.passes("c_char_p", f"text({self.where(name)}, {name})")
        elif kind == "char*":
            self.text_buffer(parameter)
        elif kind == "const void*":
            self.data(parameter, nullable)
        elif kind == "void*":
            self.buffer(parameter)
        elif pointed[2] in self.layouts and pointed[1]:
            self.record(parameter, pointed[2], nullable)
        elif pointed[2] == self.counted and self.parameters:
            self.array_out(parameter, self.parameters.pop(0))
        elif pointed[2] in self.layouts:
            self.before.append(f"{name} = {pointed[2]}()")
            self.passes("c_void_p", f"byref({name})")
            self.result(name, name, pointed[2])
        elif pointed[2] in INTEGERS and not pointed[1]:
            self.before.append(f"{name} = c_{pointed[2].removesuffix('_t')}()")
            self.passes("c_void_p", f"byref({name})")
            self.result(name, f"{name}.value", "int")
        else:
            self.problem(parameter)

    def result(self, name: str, expression: str, hint: str) -> None:
        self.results.append((name, expression, hint))

    def is_list(self, parameter: Parameter) -> bool:
        return parameter.type in ("const void*", f"{self.counted}*")

    def array(self, count: Parameter, records: Parameter) -> None:
        """A number of records and the records: read, or read and replaced by the answer."""
        record = self.counted
        hint = f"Sequence[{self.hint(record)}]"
        name = records.name
        if records.type == "const void*":
            self.takes(records, name, hint)
            self.before.append(f"entries = records_argument({self.where(name)}, {record}, {name})")
            self.passes("c_uint32", "len(entries)")
            self.passes("c_void_p", "entries if len(entries) else None")
            return
        number = self.number(count)
        self.takes(records, name, hint, optional=True)
        self.before.append(f"entries = ArrayOf(Nested({record}), {number})({self.where(name)}, {name} or ())")
        self.passes("c_uint32", "len(entries)")
        self.passes("c_void_p", "entries")
        if self.next_length():
            self.passes("c_uint32", "sizeof(entries)")
        self.result(name, "list(entries)", f"list[{record}]")

    def array_out(self, records: Parameter, count: Parameter) -> None:
        """Records that are received, and how many."""
        record = self.counted
        number = self.number(count)
        self.before.append(f"entries = ({record} * {number})()")
        self.passes("c_void_p", "entries")
        self.passes("c_uint32", "len(entries)")
        self.result(records.name, "list(entries)", f"list[{record}]")

    def hint(self, record: str) -> str:
        return f"{record} | {self.views[record]}" if record in self.views else record

    def record(self, parameter: Parameter, record: str, nullable: bool) -> None:
        name = parameter.name
        self.takes(parameter, name, self.hint(record), nullable)
        expression = f"record_argument({self.where(name)}, {record}, {name})"
        self.passes("c_void_p", f"None if {name} is None else {expression}" if nullable else expression)

    def data(self, parameter: Parameter, nullable: bool) -> None:
        """Bytes that are read, and their number."""
        name = parameter.name
        if not self.next_length():
            self.problem(parameter)
        self.takes(parameter, name, "bytes | Record", nullable)
        self.before.append(f"sent = None if {name} is None else data_argument({self.where(name)}, {name})")
        self.passes("c_void_p", "sent")
        self.passes("c_uint32", "len(sent or b'')")

    def text_buffer(self, parameter: Parameter) -> None:
        """A buffer for a text. Its size is the last parameter, whatever else lies between."""
        length = self.parameters.pop()
        if not length.name.endswith("Len"):
            self.problem(parameter)
        self.before.append("buffer = create_string_buffer(256)")
        self.passes("c_void_p", "buffer")
        while self.parameters:
            self.add(self.parameters.pop(0))
        self.passes("c_uint32", "len(buffer)")
        self.result(parameter.name, 'buffer.value.decode("utf-8", "surrogateescape")', "str")

    def buffer(self, parameter: Parameter) -> None:
        """An address in another's memory; or, with a length, a buffer for an answer, which may send data before."""
        name = parameter.name
        if not has_length(self.parameters):
            self.passes("c_void_p", self.number(parameter))
            return
        length = self.parameters.pop(0)
        if self.request is None:
            self.takes(length, length.name, "int")
            self.before.append(f"buffer = create_string_buffer(UINT32({self.where(length.name)}, {length.name}))")
        else:
            self.takes(parameter, name, "bytes | Record", optional=True)
            self.takes(length, length.name, "int", optional=True)
            self.before.append(f"buffer = buffer_argument({self.where(name)}, {name}, {length.name})")
        self.passes("c_void_p", "buffer")
        self.passes("c_uint32", "0 if buffer is None else len(buffer)")
        self.result(name, "b'' if buffer is None else buffer.raw", "bytes")

    def python(self) -> str:
        function = self.function
        results = self.results
        hint = "None" if not results else results[0][2]
        if len(results) > 1:
            fail(function.header, f"{function.name} has more than one result")
        signature = ", ".join(self.signature + self.optional)
        call = f'functions["{function.name}"]({", ".join(self.passed)})'
        if function.parameters is None:
            signature = "*arguments: object"
        if function.result == "const char*":
            hint = "str"
        body = f"\n\ndef {function.name}({signature}) -> {hint}:\n" + self.documentation()
        body += "".join(f"    {line}\n" for line in self.before)
        if function.result == "void":
            body += f"    {call}\n"
        elif function.result == "const char*":
            body += f'    return {call}.decode("utf-8", "surrogateescape")  # type: ignore[no-any-return]\n'
        elif function.result == "uint32_t":
            body += f'    result = {call}\n    if result != 0:\n        raise VeskError("{function.name}", result)\n'
            if function.name in AFTERWARDS:
                body += f"    {AFTERWARDS[function.name]}\n"
            if results:
                body += f"    return {results[0][1]}\n"
        else:
            fail(function.header, f"{function.name} returns a {function.result}")
        return body

    def documentation(self) -> str:
        comment = self.function.comment
        paragraphs = comment.paragraphs + [f"Precondition: {text}" for _, text in comment.of("pre")]
        taken = {name for name, _ in self.documented}
        returned = [
            f"{name} as it is after the call." if name in taken else self.texts[name].removeprefix("Receives ")
            for name, _, _ in self.results
        ]
        causes = [
            (code, text)
            for code, text in comment.of("retval")
            if code != "VESK_VIDEO_OK" and not re.fullmatch(r"(\w+|Either pointer|\w+ or \w+) is null\.", text)
        ]
        return docstring(
            paragraphs,
            [
                ("Arguments", self.documented),
                ("Returns", [("", text[0].upper() + text[1:]) for text in returned]),
                ("Raises VeskError", [(code, text.replace("null", "None")) for code, text in causes]),
            ],
        )

    def ctypes(self) -> str:
        result = {"void": "None", "const char*": "c_char_p"}.get(self.function.result, "c_uint32")
        return f'    "{self.function.name}": ({", ".join([result] + self.types)},),\n'


def write_functions(
    functions: dict[str, Function],
    requests: list[Request],
    layouts: dict[str, tuple[int, list[Field]]],
    views: dict[str, str],
) -> str:
    by_function = {request.function: request for request in requests}
    if unknown := by_function.keys() - functions.keys():
        fail(MESSAGES, f"there is no function {sorted(unknown)}")
    calls = [
        Call(function, by_function.get(name), layouts, views)
        for name, function in functions.items()
        if name not in NOT_OFFERED
    ]
    body = (
        "from ctypes import byref, c_char_p, c_int32, c_uint8, c_uint32, c_void_p, create_string_buffer, sizeof\n\n"
        "from . import library\n"
        "from ._records import *\n"
        "from .errors import VeskError\n"
        "from .record import INT32, UINT8, UINT32, UINT64, ArrayOf, Nested, Record\n"
        "from .record import buffer_argument, data_argument, record_argument, records_argument, text\n\n"
        "TYPE_CHECKING = False\n"
        "if TYPE_CHECKING:\n"
        "    from collections.abc import Sequence\n\n"
        "# The type of each function's result, then those of its parameters.\n"
        "functions = library.Functions({\n" + "".join(call.ctypes() for call in calls) + "})\n"
    )
    body += "".join(call.python() for call in calls) + "\n"
    names = [call.function.name for call in calls if call.function.name not in WRAPPED]
    return file_text("The functions.", "the headers and the list of messages", body, names)


def write_messages(
    requests: list[Request],
    notifications: list[Notification],
    layouts: dict[str, tuple[int, list[Field]]],
    payload_views: dict[str, str],
) -> str:
    delivered = parse_delivered()
    if delivered.keys() != {notification.number for notification in notifications}:
        fail(NOTIFICATION_HEADER, "its table has not the notifications of the list")
    body = (
        "from ._records import *\n\n"
        "TYPE_CHECKING = False\n"
        "if TYPE_CHECKING:\n"
        "    from .record import Record\n\n"
    )
    numbers = {message.name: message.number for message in requests}
    numbers.update((message.name, message.number) for message in notifications)
    body += "".join(f"{name} = {number}\n" for name, number in numbers.items())
    body += (
        "\n# The name of each notification, the names of its arguments, how the callback receives them (a ctypes format"
        "\n# of struct) or the record of its payload, and the virtual service's view of a payload without one.\n"
        "NOTIFICATIONS: dict[int, tuple[str, tuple[str, ...], str, type[Record] | None]] = {\n"
    )
    formats = {"uint32_t": "=I", "uint64_t": "=Q"}
    for notification in notifications:
        kind = delivered[notification.number]
        if kind in formats and len(notification.arguments) == 1:
            arguments, form, record = notification.arguments, formats[kind], "None"
        elif kind in layouts and (kind == notification.record or notification.arguments):
            arguments, form, record = [], "", kind
            names = [field.name for field in layouts[kind][1]]
            if notification.arguments and notification.arguments != names:
                fail(NOTIFICATION_HEADER, f"{notification.name}: {kind} has not the fields {notification.arguments}")
        elif kind == "" and not notification.record and not notification.arguments:
            arguments, form, record = [], "", payload_views.get(notification.name, "None")
        else:
            fail(NOTIFICATION_HEADER, f"{notification.name}: its table says {kind}, the list of messages does not")
        name = notification.name.removeprefix("VESK_VIDEO_ON_").removesuffix("_NOTIFY")
        listed = "".join(f'"{argument}", ' for argument in arguments).rstrip()
        body += f'    {notification.number}: ("{name}", ({listed}), "{form}", {record}),\n'
    body += "}\n"
    return file_text("The numbers of the messages.", "the list of messages and notification.h", body, list(numbers))


def write_results() -> str:
    constants = parse_constants()
    body = ""
    for name, (value, text) in constants.items():
        body += wrapped(f"# {text}", "", "# ") + "\n" if text else ""
        body += f"{name} = {value}\n"
    body += "\n# The name and the meaning of each result code.\nRESULTS: dict[int, tuple[str, str]] = {\n"
    for name, (value, text) in constants.items():
        if re.fullmatch(r"VESK_VIDEO_OK|(VESK_VIDEO|VESK_SERVICE|HOST_MSG)_ERR_\w+", name):
            if not text:
                fail(ROOT / "include", f"no comment says what {name} means")
            body += f'    {name}: ("{name}", "{text}"),\n'
    body += "}\n"
    return file_text("Result codes and other constants.", "the headers", body, list(constants))


# --- What is checked --------------------------------------------------------------------------------------------------


def check_layouts(text: str, layouts: dict[str, tuple[int, list[Field]]]) -> None:
    """Compares what ctypes makes of the records that are to be written with their listed layouts."""
    sys.dont_write_bytecode = True  # the source tree stays as it is
    package = ModuleType("vesk_video")
    package.__path__ = [str(HERE / "vesk_video")]  # without running its __init__, which needs what is written here
    sys.modules["vesk_video"] = package
    module = ModuleType("vesk_video._records")
    module.__package__ = "vesk_video"
    exec(compile(text, "_records.py", "exec"), module.__dict__)
    for name, (size, fields) in layouts.items():
        record = getattr(module, name)
        if ctypes.sizeof(record) != size:
            fail(LAYOUTS, f"{name} has {size} bytes, but {ctypes.sizeof(record)} in Python")
        for field in fields:
            if hasattr(module.Record, field.name):
                fail(LAYOUTS, f"{name}: {field.name} is a name that every record has in Python")
            made = getattr(record, field.name)
            if (made.offset, made.size) != (field.offset, field.size):
                fail(LAYOUTS, f"{name}: {field.name} is at {field.offset}, but at {made.offset} in Python")


def main() -> None:
    if len(sys.argv) != 2 or sys.argv[1].startswith("-"):
        sys.exit(__doc__)
    layouts = parse_layouts()
    record_views, payload_views = parse_views()
    requests, notifications = parse_messages()
    records = write_records(layouts, record_views)
    check_layouts(records, layouts)
    written = {
        "_records.py": records,
        "_functions.py": write_functions(parse_functions(), requests, layouts, record_views),
        "_messages.py": write_messages(requests, notifications, layouts, payload_views),
        "_results.py": write_results(),
    }
    folder = Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    for name, text in written.items():
        (folder / name).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
