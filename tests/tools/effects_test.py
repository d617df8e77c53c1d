"""What docs/virtual_service.md says of each request, held to what the virtual service does.

effects_test.py PAGE, with large_room.toml as a device of its own, and veskctl in PATH

Each request is sent with a value in every argument and field, which differs from all others where the service takes any
value, and to the second of two things of each kind. Each place that the page names must then have changed, and each value
must be found at one of them: as a value that has come or gone, or as the number of the thing that has changed. Where a
request's own answer is named, it must be another one when an argument is.

Then it is sent too early, twice, too often, with numbers of nothing, with values that are too low or too high, and so on:
it must be refused with the codes that the page names, and with no others.
"""
import itertools
import json
import re
import subprocess
import sys

PRELUDE = """device reset
$other_inEngNo = OPEN_VI_PORT viPort=2; OPEN_VI_PORT viPort=1; OPEN_VO_PORT voPort=0; OPEN_VO_PORT voPort=1
$other_encStmNo = ENC_CREATE; ENC_CREATE; $other_decStmNo = DEC_CREATE; DEC_CREATE
SET_LOOP_MODE encNo=$encStmNo decNo=$decStmNo; SET_LOOP_MODE encNo=$encStmNo decNo=$decStmNo
OPEN_MOUSE_PORT openParam=1; OPEN_MOUSE_PORT openParam=1; OPEN_LOCAL_MOUSE; OPEN_LOCAL_MOUSE
INIT_UVC; OPEN_UVC_PORT; OPEN_UVC_PORT
CREATE_OVERLAY_CHANNEL_PARAM value=1 overlayChn=5; CREATE_OVERLAY_CHANNEL_PARAM value=1 overlayChn=6
GET_OVERLAY_QUE_HANDLE overlayChn=5
describe INIT"""
# What comes before a request, with the same values, if it is not its opposite: SET before GET, START before STOP.
BEFORE = {
    "EXIT": ["CREATE_QUEUE"], "INIT_UVC": ["DEINIT_UVC"], "DESTROY_QUEUE": ["CREATE_QUEUE"],
    "OPEN_VI_PORT": ["CLOSE_VI_PORT"], "OPEN_VO_PORT": ["VO_CLOSE"], "GET_VI_QUE_HANDLE": ["VI_START"],
    "SET_VI_DISCONNECT": ["SET_VI_CONNECT"], "VI_MODIFY_INPUT": ["SET_VI_CONNECT stmNo=3"], "VI_ENABLE": ["VI_DISABLE"],
    "VI_DISABLE": ["VI_START"], "GET_PRESET_COUNT": ["SET_PRESET"], "QUERY_PRESET": ["SET_PRESET"],
    "GET_BOUNDARY_STATE": ["CAMERA_CONTROL"] * 10, "EXECUT_VI_TRACKING_PARAM": ["VI_START"],
    "GET_VI_PT_STATUS": ["EXECUT_VI_TRACKING_PARAM"], "GET_VI_AF_STATUS": ["VI_START"],
    "SET_ANDROID_MMEDIA_PROJECTION": ["INIT_ANDROID_OBJECTS"], "VO_START": ["SET_DEFAULT_IMAGE"],
    "VO_ENABLE": ["VO_DISABLE"], "VO_DISABLE": ["VO_START"], "DELETE_FILTER_WINDOW": ["SET_FILTER_WINDOW"],
    "VO_WINDOW_DESTROY": ["SET_VO_SRC"], "SET_DEC_PARAMEX": ["DEC_START"], "ENC_START": ["SET_ENC_PARAM"],
    "ENC_FORCE_KEYFRAME": ["ENC_START"], "ENCODER_GET_STATUS": ["SET_ENC_PARAM"],
    "ENCODER_GET_CHR_STATISTICS": ["SET_ENC_PARAM"], "ENC_MODIFY_FRAME_RATE": ["SET_ENC_PARAM"],
    "DEC_START": ["SET_DEC_PARAM"], "DECODER_GET_STATUS": ["SET_DEC_PARAM"], "DECODER_GET_CHR_STATISTICS": ["DEC_START"],
    "ENABLE_OVERLAY_PARAM": ["SET_OVERLAY_PARAM"], "MOUSE_START": ["MOUSE_CONNECT"],
    "START_UVC_STREAM": ["SET_UVC_PARAM"], "UVC_REQ_I_FRAME": ["START_UVC_STREAM"],
}
# Values of names that cannot have any, of all requests or of one.
VALUES = {
    "viPort": 1, "port": 1, "sourceId": 1, "voPort": 1, "imageParam1": 1, "overlayChn": 6, "count": 3, "num": 3,
    "presetSelector": "$inEngNo", "presetCount": 3, "cmdType": 2, "displayMode": 2, "picNum": 2, "windowCount": 2,
    "inputId": ["$decStmNo", "$other_decStmNo"], "encNo": "$encStmNo", "decNo": "$decStmNo", "enable": 1,
    "capabilityType": 2, "w": 1024, "h": 576, "fr": 25, "frameRate": 24, "independent": 1, "lossRate": 0.25,
    "opacity": 50, "zoom": 250, "display": 1,
    "CREATE_OVERLAY_CHANNEL_PARAM overlayChn": 7,
}
# Names of numbers that applications choose, but of something that must be there.
CHOSEN = {"viPort", "voPort", "port", "sourceId", "imageParam1", "overlayChn"}
# Refusals that would take more things than this test can create.
UNREACHED = {("CREATE_QUEUE", "ROOM"), ("GET_VI_QUE_HANDLE", "ROOM"), ("GET_OVERLAY_QUE_HANDLE", "ROOM"),
             ("ENC_START", "ROOM"), ("SET_FILTER_WINDOW", "ROOM")}
# After it, all notifications that had been sent have arrived.
BARRIER = "device notify NOTIFY_104; wait NOTIFY_104"
# What arguments have once more to get another answer.
OTHERS = {"count": 1, "num": 1, "presetCount": 1, "capabilityType": 1, "presetSelector": "$other_inEngNo",
          "overlayChn": 5}
OPAQUE = re.compile("(serviceData|bytes|reserved)[0-9]*$")


def veskctl(lines):
    """What a script of lines shows. Requests may be refused in it."""
    script = "\n".join(line.replace("; ", "\n") for line in lines)
    run = ["veskctl", "--json", "run", "--keep-going"]
    ended = subprocess.run(run, input=script, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=False)
    return [json.loads(line) for line in ended.stdout.splitlines()]


def sections(shown):
    """What a script has shown after each prelude."""
    starts = [i for i, one in enumerate(shown) if isinstance(one, list)]
    return [shown[start:end] for start, end in zip(starts, [*starts[1:], None])]


def answer_of(call):
    answer = call.get("answer", {})
    return {"result": answer.get("resultName", "OK"), "payload": answer.get("payload", {})}


class Requests:
    """Writes requests with values for all of their arguments and fields."""

    def __init__(self, names):
        self.given = {}
        shown = veskctl([PRELUDE, *(f"describe {name}" for name in names)])
        self.things = {name for one in shown if "answer" in one for name in one["answer"].get("payload", {})}
        self.forms = dict(zip(names, (one[0] for [one] in sections(shown)[1:])))

    def value(self, request, field, index=0):
        """The same for the same name, so that what one request has set another can name."""
        name, count = field["name"], field.get("count", 1)
        fixed = VALUES.get(f"{request} {name}", VALUES.get(name, "$" + name if name in self.things else None))
        if fixed is not None:
            return fixed[index] if isinstance(fixed, list) else fixed
        is_byte = field.get("size") == count
        number = self.given.setdefault((name, is_byte), 20000 + 5 * len(self.given)) + index
        if OPAQUE.match(name):
            return bytes((number + i) % 250 + 1 for i in range(field["size"])).hex()
        if field["type"] == "char":
            return f"text{number}"
        return ",".join(str(number % 250 + 1 + i if is_byte else number + i) for i in range(count))

    def fields(self, request, fields, prefix="", index=0):
        for field in fields:
            path = prefix + field["name"]
            is_bare = field["name"] == "reserved" and "count" not in field
            if "fields" not in field and not field["name"].startswith("padding") and not is_bare:
                yield path, self.value(request, field, index)
            for i in range(min(field.get("count", 1), 2)):
                within = f"{path}[{i}]." if "count" in field else f"{path}."
                yield from self.fields(request, field.get("fields", []), within, max(i, index))

    def values(self, line, **other):
        """Values of all that the request of a line carries, of which the line may give some, and others others."""
        request, *given = line.split()
        payload, arguments = self.forms[request]["payload"], self.forms[request]["arguments"]
        values = {argument["name"]: self.value(request, argument) for argument in arguments}
        given = dict(word.split("=") for word in given) | other
        if payload["form"] in ("text", "bytes"):
            values.update({"text": "/text"} if payload["form"] == "text" else {"data": "0123456789abcdef"})
        elif payload["form"] == "record":
            values.update(self.fields(request, payload["shown"]["fields"]))
        elif payload["form"] == "array":
            count = next(argument["name"] for argument in arguments if argument["field"] == payload["count"])
            for i in range(int(given.get(count, values[count]))):
                values.update(self.fields(request, payload["shown"]["fields"], f"[{i}].", i))
        return values | given

    def words(self, line, **other):
        return " ".join([line.split()[0], *(f"{name}={value}" for name, value in self.values(line, **other).items())])

    def before(self, request):
        opposites = {re.sub("^GET_", "SET_", request), request.replace("STOP", "START")} - {request}
        for line in BEFORE.get(request, opposites & self.forms.keys()):
            yield from self.before(line.split()[0])
            yield self.words(line)


class Leaf:
    """A value, the name of its place, and the numbers of the things in which it is."""

    def __init__(self, place, value, things):
        self.place, self.values, self.things = place, set(value if isinstance(value, list) else [value]), things

    def is_in(self, place):
        return f"{self.place}.".startswith(f"{place}.")


def leaves(value, place, key=(), things=frozenset()):
    if isinstance(value, dict):
        for name, member in value.items():
            yield from leaves(member, f"{place}.{name}".strip("."), (*key, name), things)
    elif isinstance(value, list) and value and isinstance(value[0], dict):
        seen = {}
        for entry in value:
            thing = next((member for member in entry.values() if not isinstance(member, (dict, list))), None)
            seen[thing] = seen.get(thing, 0) + 1
            yield from leaves(entry, place, (*key, thing, seen[thing]), things | {thing})
    else:
        yield (place, *key), Leaf(place, value, things)


def look(state, calls, heard=()):
    """All leaves of what is seen in the state, in answers and in notifications."""
    found = dict(leaves(state, ""))
    for call in calls:
        things = frozenset(call["request"].get("arguments", {}).values())
        found.update(leaves(answer_of(call), call["request"]["name"], (), things))
    for i, one in enumerate(heard):
        content = [{"": one["number"]}, one.get("arguments", {}), one.get("payload", {})]
        found.update(leaves(content, f"notification {one['number']}", (i,)))
    return found


def changes(before, after):
    """What has changed, with the values that have come or gone there."""
    for key in before.keys() | after.keys():
        old, new = before.get(key), after.get(key)
        values = (old.values if old else set()) ^ (new.values if new else set())
        if values:
            yield Leaf((old or new).place, list(values), (old or new).things)


class Row:
    """A row of the page, and what comes of its request."""

    def __init__(self, line):
        cells = line.strip("|\n").split("|")
        places, _, hidden = cells[2].partition("not seen:")
        self.request, self.codes = cells[0].strip("` "), set(re.findall("`([A-Z_]+)`", cells[3]))
        self.places, self.hidden = re.findall("`(.+?)`", places), re.findall("`(.+?)`", hidden)

    def effects(self, requests):
        """Sends the request between two looks at all places, and then with another value for each argument."""
        form = requests.forms[self.request]
        self.arguments = [one["name"] for one in form["arguments"] if "answer" in self.places]
        self.probes = [requests.words(place) for place in self.places if place.isupper()]
        barrier = BARRIER if any(place.startswith("notification") for place in self.places) else ""
        yield from [PRELUDE, *requests.before(self.request), barrier, "device state", *self.probes]
        yield from [requests.words(self.request), barrier, "device state", *self.probes]
        for name in self.arguments:
            yield requests.words(self.request, **{name: OTHERS.get(name, f"$other_{name}")})

    def take(self, shown):
        """What the script of the effects has shown. Returns what was refused, if anything was."""
        first, second = (i for i, one in enumerate(shown) if "service" in one)
        calls, count = [one for one in shown[first:] if "request" in one], len(self.probes)
        needed = [*(one for one in shown[:first] if "request" in one), *([calls[count]] if self.places else [])]
        self.call, self.state = calls[count], shown[first]
        heard = [one for one in shown[first:second] if one.get("kind") == "notification"]
        after = look(shown[second], calls[count + 1:2 * count + 1], heard)
        self.changed = list(changes(look(shown[first], calls[:count]), after))
        self.seen = {name for name, other in zip(self.arguments, calls[2 * count + 1:])
                     if answer_of(other) != answer_of(self.call)}
        return next((one for one in needed if answer_of(one)["result"] != "OK"), None)

    def sent(self):
        """The values of each argument and field, of which an array has several."""
        sent = {}
        for part in ("arguments", "payload"):
            for _, leaf in leaves(self.call["request"].get(part, {}), ""):
                sent.setdefault(leaf.place, set()).update(leaf.values - {0, ""})
        return sent

    def ids(self, name, value):
        """A value, as bytes too, and the port of the engine that it names."""
        entries = itertools.chain(self.state["inputEngines"], self.state["outputEngines"])
        ports = {entry.get("viPort", entry.get("voPort")) for entry in entries if entry.get(name) == value}
        return {value, *ports, value.to_bytes(8, "little").hex()[:8] if isinstance(value, int) else value}

    def judge(self):
        """Names of all arguments and fields, of those that are not seen, and what the page is wrong about."""
        sent, wrong = self.sent(), []
        hidden = {one: {name for name in sent if f"{name}.".startswith(f"{one}.")} for one in self.hidden}
        excepted = set().union(*hidden.values())
        for place in self.places:
            found = [leaf for leaf in self.changed if leaf.is_in(place)]
            here = set().union(*(leaf.values | leaf.things for leaf in found))
            names = {name for name in sent if all(self.ids(name, value) & here for value in sent[name])}
            self.seen |= names
            if place == "answer" and not answer_of(self.call)["payload"]:
                wrong.append("nothing is answered")
            elif place != "answer" and (not found or (sent.keys() - excepted and not names)):
                wrong.append(f"it is not seen in `{place}`")
        wrong += [f"the test gives `{name}` no value" for name in sent if not sent[name]]
        wrong += [f"there is no `{one}`" for one, names in hidden.items() if not names]
        wrong += [f"`{name}` is not seen" for name in sent if name not in self.seen | excepted]
        wrong += [f"`{name}` is seen" for name in sent if name in self.seen & excepted]
        return list(sent), [name for name in sent if name not in self.seen], wrong

    def refusals(self, requests):
        """Sends the request in all ways in which it might be refused; first, with numbers of nothing."""
        def send(**other):
            return requests.words(self.request, **other)

        values = requests.values(self.request)
        numbers = [name for name, value in values.items() if str(value)[0] == "$" or
                   (name in CHOSEN and f"{self.request} {name}" not in VALUES)]
        self.numbers = len(numbers)
        yield from [PRELUDE, *(send(**{name: 60000}) for name in numbers), send(), *requests.before(self.request)]
        others = {name: value for name, value in values.items() if name not in (*numbers, "num", "windowCount") and
                  not OPAQUE.search(name)}  # nor one of entries that follow
        for name, value in others.items():
            yield from [send(**{name: ""})] if "text" in str(value) else [send(**{name: one}) for one in (0, 255)]
        yield from [send(), send(), "device unplug input 1; device unplug output 1", send()]
        yield from ["VI_DISABLE viPort=1; VO_DISABLE voPort=1", send()]
        yield from [send(inEngNo="$other_inEngNo")] if "inEngNo" in values else []
        for i in range(1, 70 if len(values) <= 3 else 1):  # what has more is kept, and takes no room
            yield send(**{name: f"text{i}" if "text" in str(value) else i for name, value in others.items()})
        yield from ["EXIT", send()]

    def judge_refusals(self, shown):
        """What the page is wrong about."""
        calls = [one for one in shown if "answer" in one and one["request"]["name"] == self.request]
        results = [answer_of(call)["result"] for call in calls]
        refused = set(results) - {"OK", "LENGTH", *(["NUMBER"] if self.numbers else [])}
        missed = {code for code in self.codes - set(results) if (self.request, code) not in UNREACHED}
        wrong = [f"numbers of nothing give {results[:self.numbers]}"] if set(results[:self.numbers]) - {"NUMBER"} else []
        wrong += [f"it is refused with {code}" for code in refused - self.codes]
        return wrong + [f"it is not refused with {code}" for code in missed]


def main(page):
    with open(page, encoding="utf-8") as file:
        rows = [Row(line) for line in file if re.match(r"\| `[A-Z0-9_]+` \|", line)]
    rows.sort(key=lambda row: row.request == "EXIT")  # after which nothing is notified
    requests, total, hidden, wrong = Requests([row.request for row in rows]), 0, [], []
    effects = sections(veskctl(line for row in rows for line in row.effects(requests)))
    refusals = sections(veskctl(line for row in rows for line in row.refusals(requests)))
    for row, effect, refusal in zip(rows, effects, refusals):
        if problem := row.take(effect):
            wrong.append(f"{row.request}: {problem}")
            continue
        names, unseen, problems = row.judge()
        total += len(names)
        hidden += [f"{row.request} {name}" for name in unseen]
        wrong += [f"{row.request}: {problem}" for problem in [*problems, *row.judge_refusals(refusal)]]
    print(f"{total - len(hidden)} of {total} arguments and fields seen; not seen: {', '.join(hidden)}")
    sys.exit("\n".join(wrong) or 0)


main(*sys.argv[1:])
