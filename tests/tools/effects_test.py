"""What docs/virtual_service.md says of each request, held to what the virtual service does.

effects_test.py PAGE, with a device of its own, and veskctl in PATH

Each request is sent with a value in every argument and field, which differs from all others where the service takes
any value, and to the second of two things of each kind. Each place that the page names must then have changed, and each
value must be found at one of them: as a value that has come or gone, or as the number of the thing that has changed.
Where a request's own answer is named, it must be another one when an argument is.

Then it is sent too early, twice, too often, with numbers of nothing, with values that are too low or too high, and so
on: it must be refused with the codes that the page names, and with no others.
"""
import itertools
import json
import os
import re
import subprocess
import sys

PRELUDE = """device reset
$other_inEngNo = OPEN_VI_PORT viPort=1; OPEN_VI_PORT viPort=2; OPEN_VO_PORT voPort=0; OPEN_VO_PORT voPort=1
$other_encStmNo = ENC_CREATE; ENC_CREATE; $other_decStmNo = DEC_CREATE; DEC_CREATE
SET_LOOP_MODE encNo=$encStmNo decNo=$decStmNo; SET_LOOP_MODE encNo=$encStmNo decNo=$decStmNo
OPEN_MOUSE_PORT openParam=1; OPEN_MOUSE_PORT openParam=1; OPEN_LOCAL_MOUSE; OPEN_LOCAL_MOUSE
INIT_UVC; OPEN_UVC_PORT; OPEN_UVC_PORT
CREATE_OVERLAY_CHANNEL_PARAM value=1 overlayChn=5; CREATE_OVERLAY_CHANNEL_PARAM value=1 overlayChn=6
GET_OVERLAY_QUE_HANDLE overlayChn=5
describe INIT"""
# What comes before a request, with the same values, if it is not its opposite: SET before GET, START before STOP.
BEFORE = {
    "SET_VO_SRC": ["VO_START", "DEC_START decStmNo=$other_decStmNo"], "SET_DISPLAY_MODE": ["VO_START"],
    "DEC_START decStmNo=$other_decStmNo": ["SET_DEC_PARAM decStmNo=$other_decStmNo w=640"],
    "VI_START": ["SET_VO_SRC subPic[0].decFlag=0 subPic[0].inputId=$inEngNo"],
    "VI_STOP": ["VI_START"], "CLOSE_VI_PORT": ["VI_START"], "DEC_STOP": ["DEC_START"], "DEC_DELETE": ["DEC_START"],
    "VO_STOP": ["VO_START"], "VO_CLOSE": ["VO_START"], "SET_DEFAULT_IMAGE": ["VO_START outEngNo=$outEngNo"],
    "VO_START outEngNo=$outEngNo": [], "SET_DEFAULT_IMAGE imageParam1=1": [], "SET_SCREEN_OFFSET": ["SET_VO_SRC"],
    "ENCODER_FREEZE": ["VI_START"], "SET_APP_CAPTURE_PARAM": ["VI_START"], "SET_VIRTUAL_VI_PARAM": ["VI_START"],
    "SET_VI_CUTOUT_PARAM": ["VI_START"], "SET_VI_PTZF_PARAM": ["VI_START"], "CAMERA_CONTROL": ["SET_VI_PTZF_PARAM"],
    "CAMERA_CONTROL cmdType=3": [], "SET_DEC_PARAM": ["SET_VO_SRC"], "SET_DEC_PARAM decStmNo=$other_decStmNo w=640": [],
    "MOUSE_CONNECT": ["DEC_START"], "CLOSE_MOUSE_PORT": ["MOUSE_CONNECT"],
    "SET_REMOTE_MOUSE_BACKGRAND_AREA": ["MOUSE_CONNECT"], "DESTROY_OVERLAY_PARAM": ["SET_OVERLAY_PARAM"],
    "LOCAL_MOUSE_SHOW_ENABLE": ["START_LOCAL_MOUSE"], "SET_LOCAL_MOUSE_INDEPENDENT": ["ATTACH_LOCAL_MOUSE"],
    "EXIT": ["CREATE_QUEUE"], "INIT_UVC": ["DEINIT_UVC"], "DESTROY_QUEUE": ["CREATE_QUEUE"],
    "OPEN_VI_PORT": ["CLOSE_VI_PORT"], "OPEN_VO_PORT": ["VO_CLOSE"], "GET_VI_QUE_HANDLE": ["VI_START"],
    "SET_VI_DISCONNECT": ["SET_VI_CONNECT"], "VI_MODIFY_INPUT": ["SET_VI_CONNECT stmNo=3"], "VI_ENABLE": ["VI_DISABLE"],
    "VI_DISABLE": ["VI_START"], "GET_PRESET_COUNT": ["SET_PRESET"], "QUERY_PRESET": ["SET_PRESET"],
    "GET_BOUNDARY_STATE": ["CAMERA_CONTROL cmdType=3"] * 10, "EXECUT_VI_TRACKING_PARAM": ["VI_START"],
    "GET_VI_PT_STATUS": ["EXECUT_VI_TRACKING_PARAM"], "GET_VI_AF_STATUS": ["VI_START"],
    "SET_ANDROID_MMEDIA_PROJECTION": ["INIT_ANDROID_OBJECTS"], "VO_START": ["SET_DEFAULT_IMAGE imageParam1=1"],
    "VO_ENABLE": ["VO_DISABLE"], "VO_DISABLE": ["VO_START"], "DELETE_FILTER_WINDOW": ["SET_FILTER_WINDOW"],
    "VO_WINDOW_DESTROY": ["DEC_START"], "SET_DEC_PARAMEX": ["DEC_START"], "ENC_START": ["SET_ENC_PARAM"],
    "ENC_FORCE_KEYFRAME": ["ENC_START"], "ENCODER_GET_STATUS": ["SET_ENC_PARAM"],
    "ENCODER_GET_CHR_STATISTICS": ["SET_ENC_PARAM"], "ENC_MODIFY_FRAME_RATE": ["SET_ENC_PARAM"],
    "DEC_START": ["SET_DEC_PARAM"], "DECODER_GET_STATUS": ["SET_DEC_PARAM"], "DECODER_GET_CHR_STATISTICS": ["DEC_STOP"],
    "ENABLE_OVERLAY_PARAM": ["SET_OVERLAY_PARAM"], "MOUSE_START": ["MOUSE_CONNECT"],
    "START_UVC_STREAM": ["SET_UVC_PARAM"], "UVC_REQ_I_FRAME": ["START_UVC_STREAM"],
}
# Values of names that cannot have any, of all requests or of one.
VALUES = {
    "viPort": 2, "port": 2, "sourceId": 2, "voPort": 1, "imageParam1": 1, "overlayChn": 6, "count": 2, "num": 3,
    "presetSelector": "$inEngNo", "presetCount": 3, "cmdType": 3, "displayMode": 2, "picNum": 2, "windowCount": 2,
    "inputId": ["$decStmNo", "$other_decStmNo"], "encNo": "$encStmNo", "decNo": "$decStmNo", "enable": 1,
    "capabilityType": 2, "w": 1024, "h": 576, "fr": 25, "frameRate": 24, "independent": 1, "lossRate": 0.25,
    "opacity": 50, "zoom": 250, "display": 1, "codcType": 1, "codecType": 1, "br": 2000, "engNo": "$inEngNo",
    "filterParam": 1, "pan": 3, "tilt": 4, "attachId": "$outEngNo", "GET_VI_PORT count": 3,
    "SET_VIRTUAL_VI_PARAM text": os.path.abspath(__file__),
    "CREATE_OVERLAY_CHANNEL_PARAM overlayChn": 7,
}
# Names of numbers that applications choose, but of something that must be there.
CHOSEN = {"viPort", "voPort", "port", "sourceId", "imageParam1", "overlayChn"}
# Names of numbers that may be of nothing, and other names of those that the state shows.
UNBOUND, ALIASES = {"attachId"}, {"engNo": "inEngNo"}
# Refusals that would take more things than this test can create.
UNREACHED = {("CREATE_QUEUE", "ROOM"), ("GET_VI_QUE_HANDLE", "ROOM"), ("GET_OVERLAY_QUE_HANDLE", "ROOM"),
             ("ENC_START", "ROOM"), ("SET_ENC_PARAM", "ROOM"), ("ENC_MODIFY_FRAME_RATE", "ROOM"),
             ("SET_FILTER_WINDOW", "ROOM")}
# After it, all notifications that had been sent have arrived.
BARRIER = "device notify NOTIFY_104; wait NOTIFY_104"
# What arguments have once more to get another answer.
OTHERS = {"count": 1, "num": 1, "presetCount": 1, "capabilityType": 1, "presetSelector": "$other_inEngNo",
          "overlayChn": 5}
# Places that need not show anything that was sent.
CONSEQUENCES = ("scene", "notification", "GET_PRESET_COUNT")
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
        self.given, self.texts = {}, {}
        shown = veskctl([PRELUDE, *(f"describe {name}" for name in names)])
        self.things = {name for one in shown if "answer" in one for name in one["answer"].get("payload", {})}
        self.forms = dict(zip(names, (one[0] for [one] in sections(shown)[1:])))

    def value(self, request, field, index=0, record=""):
        """The same for the same name, so that what one request has set another can name."""
        name, count = record + field["name"], field.get("count", 1)
        fixed = VALUES.get(f"{request} {name}", VALUES.get(name, "$" + name if name in self.things else None))
        if fixed is not None:
            return fixed[index] if isinstance(fixed, list) else fixed
        is_byte = field.get("size") == count
        number = self.given.setdefault((name, is_byte), 300 + 5 * len(self.given)) + index
        if OPAQUE.match(name) and "count" in field:
            return bytes((number + i) % 250 + 1 for i in range(field["size"])).hex()
        if field["type"] == "char":
            self.texts[name] = field["size"]
            return f"text{number}"
        return ",".join(str(number % 250 + 1 + i if is_byte else number + i) for i in range(count))

    def fields(self, request, fields, prefix="", index=0):
        for field in fields:
            path = prefix + field["name"]
            if "fields" not in field and not field["name"].startswith("padding"):
                yield path, self.value(request, field, index, re.sub(r".*\]\.", "", prefix))
            for i in range(min(field.get("count", 1), 2)):
                within = f"{path}[{i}]." if "count" in field else f"{path}."
                yield from self.fields(request, field.get("fields", []), within, max(i, index))

    def values(self, line, **other):
        """Values of all that the request of a line carries, of which the line may give some, and others others."""
        request, *given = line.split()
        payload, arguments = self.forms[request]["payload"], self.forms[request]["arguments"]
        values = {argument["name"]: self.value(request, argument) for argument in arguments}
        given = dict(word.split("=") for word in given) | other
        if payload["form"] == "text":
            values["text"] = VALUES.get(f"{request} text", "/text")
        elif payload["form"] == "bytes":
            values["data"] = "0123456789abcdef"
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
        name = request.split()[0]
        opposites = {re.sub("^GET_", "SET_", name), name.replace("STOP", "START")} - {name}
        for line in BEFORE.get(request, BEFORE.get(name, opposites & self.forms.keys())):
            yield from self.before(line)
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
    """All leaves of what is seen in the state, its scenes, answers and notifications."""
    state["scene"] = [output.pop("scene") for output in state["outputs"]]
    for scene in state["scene"]:
        del scene["atMs"]
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
        places, _, room = cells[2].partition("room for it:")
        self.request, self.codes = cells[0].strip("` "), set(re.findall("`([A-Z_]+)`", cells[3]))
        self.places, self.room = re.findall("`(.+?)`", places), re.findall("`(.+?)`", room)
        self.is_refused = ": always" in cells[3]

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
        needed = [*(one for one in shown[:first] if "request" in one), *([] if self.is_refused else [calls[count]])]
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
        """A value, as bytes too, and the numbers of the engine and port of which it names one."""
        entries = itertools.chain(self.state["inputEngines"], self.state["outputEngines"])
        numbers = (entry.get(number) for entry in entries if entry.get(ALIASES.get(name, name)) == value
                   for number in ("inEngNo", "viPort", "outEngNo", "voPort"))
        return {value, *numbers, value.to_bytes(8, "little").hex()[:8] if isinstance(value, int) else value}

    def judge(self):
        """How many arguments and fields there are, how many are seen, and what the page is wrong about."""
        sent, wrong = self.sent(), []
        room = {one: {name for name in sent if f"{name}.".startswith(f"{one}.")} for one in self.room}
        sent = {name: values for name, values in sent.items() if name not in set().union(*room.values())}
        for place in self.places:
            found = [leaf for leaf in self.changed if leaf.is_in(place)]
            here = set().union(*(leaf.values | leaf.things for leaf in found))
            names = {name for name in sent if all(self.ids(name, value) & here for value in sent[name])}
            self.seen |= names
            if place == "answer" and not answer_of(self.call)["payload"]:
                wrong.append("nothing is answered")
            elif place != "answer" and not (found and (names or not sent or place.startswith(CONSEQUENCES))):
                wrong.append(f"it is not seen in `{place}`")
        wrong += [f"the test gives `{name}` no value" for name in sent if not sent[name]]
        wrong += [f"there is no `{one}`" for one, names in room.items() if not names]
        wrong += [f"`{name}` is not seen" for name in sent if name not in self.seen]
        return len(sent), len(sent.keys() & self.seen), wrong

    def refusals(self, requests):
        """Sends the request in all ways in which it might be refused; first, with numbers of nothing."""
        def send(**other):
            return requests.words(self.request, **other)

        values = requests.values(self.request)
        numbers = [name for name, value in values.items() if (str(value)[0] == "$" and name not in UNBOUND) or
                   (name in CHOSEN and f"{self.request} {name}" not in VALUES)]
        self.numbers = len(numbers)
        yield from [PRELUDE, *(send(**{name: 60000}) for name in numbers), send(), *requests.before(self.request)]
        others = {name: value for name, value in values.items() if name not in (*numbers, "num", "windowCount") and
                  not OPAQUE.search(name)}  # nor one of entries that follow
        for name, value in others.items():
            wrong = ("", "x" * requests.texts.get(name, 1)) if "text" in str(value) else (0, 1, 255)
            yield from (send(**{name: one}) for one in wrong)
        yield from [send(), send(), "device unplug input 2; device unplug output 1", send()]
        yield from ["VI_DISABLE viPort=2; VO_DISABLE voPort=1", send()]
        yield from [send(inEngNo="$other_inEngNo")] if "inEngNo" in values else []
        for i in range(1, 70 if len(values) <= 4 else 1):  # what has more is kept, and takes no room
            yield send(**{name: f"text{i}" if "text" in str(value) else i for name, value in others.items()})
        yield from ["EXIT", send()]

    def judge_refusals(self, shown):
        """What the page is wrong about."""
        calls = [one for one in shown if "answer" in one and one["request"]["name"] == self.request]
        results = [answer_of(call)["result"] for call in calls]
        refused = set(results) - {"OK", "LENGTH", *(["NUMBER"] if self.numbers else [])}
        missed = {code for code in self.codes - set(results) if (self.request, code) not in UNREACHED}
        of_nothing = results[:self.numbers]
        wrong = [f"numbers of nothing give {of_nothing}"] if set(of_nothing) - {"NUMBER"} else []
        wrong += [f"it is refused with {code}" for code in refused - self.codes]
        return wrong + [f"it is not refused with {code}" for code in missed]


def main(page):
    with open(page, encoding="utf-8") as file:
        rows = [Row(line) for line in file if re.match(r"\| `[A-Z0-9_]+` \|", line)]
    rows.sort(key=lambda row: row.request == "EXIT")  # after which nothing is notified
    requests, total, total_seen, wrong = Requests([row.request for row in rows]), 0, 0, []
    effects = sections(veskctl(line for row in rows for line in row.effects(requests)))
    refusals = sections(veskctl(line for row in rows for line in row.refusals(requests)))
    for row, effect, refusal in zip(rows, effects, refusals):
        if problem := row.take(effect):
            wrong.append(f"{row.request}: {problem}")
            continue
        count, seen, problems = row.judge()
        total, total_seen = total + count, total_seen + seen
        wrong += [f"{row.request}: {problem}" for problem in [*problems, *row.judge_refusals(refusal)]]
    print(f"{total_seen} of {total} arguments and fields seen")
    sys.exit("\n".join(wrong) or 0)


main(*sys.argv[1:])
