"""What docs/virtual_service.md says of where each request's effect is seen, held to what is seen there.

effects_test.py PAGE, with a device of its own of two cameras and two displays, and veskctl in PATH

Each request is sent with a value in every argument and field, which differs from all others where the service takes any
value, and to the second of two things of each kind. Each place that the page names must then have changed, and each value
must be found at one of them: as a value that has come or gone, or as the number of the thing that has changed. Where a
request's own answer is named, it must be another one when an argument is.
"""
import itertools
import json
import re
import subprocess
import sys

PRELUDE = """device reset
$other_inEngNo = OPEN_VI_PORT viPort=0; OPEN_VI_PORT viPort=1; $other_outEngNo = OPEN_VO_PORT voPort=0; OPEN_VO_PORT voPort=1
$other_encStmNo = ENC_CREATE; ENC_CREATE; $other_decStmNo = DEC_CREATE; DEC_CREATE
$other_loop = SET_LOOP_MODE encNo=$encStmNo decNo=$decStmNo; $loop = SET_LOOP_MODE encNo=$encStmNo decNo=$decStmNo
OPEN_MOUSE_PORT openParam=1; OPEN_MOUSE_PORT openParam=1; OPEN_LOCAL_MOUSE; OPEN_LOCAL_MOUSE
INIT_UVC; OPEN_UVC_PORT; OPEN_UVC_PORT
CREATE_OVERLAY_CHANNEL_PARAM value=1 overlayChn=5; CREATE_OVERLAY_CHANNEL_PARAM value=1 overlayChn=6
GET_OVERLAY_QUE_HANDLE overlayChn=5"""
# What comes before a request, with the same values.
BEFORE = {
    "EXIT": ["CREATE_QUEUE"], "INIT_UVC": ["DEINIT_UVC"], "DESTROY_QUEUE": ["CREATE_QUEUE"], "OPEN_VI_PORT": ["CLOSE_VI_PORT"], "OPEN_VO_PORT": ["VO_CLOSE"],
    "GET_VI_QUE_HANDLE": ["VI_START"], "GET_VI_PARAM": ["SET_VI_PARAM"], "SET_VI_DISCONNECT": ["SET_VI_CONNECT"],
    "VI_STOP": ["VI_START"], "VI_MODIFY_INPUT": ["SET_VI_CONNECT stmNo=3"], "VI_ENABLE": ["VI_DISABLE"],
    "VI_DISABLE": ["VI_START"], "GET_PRESET_COUNT": ["SET_PRESET"], "QUERY_PRESET": ["SET_PRESET"],
    "GET_BOUNDARY_STATE": ["CAMERA_CONTROL"] * 10, "GET_VI_CUTOUT_PARAM": ["SET_VI_CUTOUT_PARAM"],
    "GET_VI_PTZF_PARAM": ["SET_VI_PTZF_PARAM"], "EXECUT_VI_TRACKING_PARAM": ["VI_START"],
    "GET_VI_PT_STATUS": ["EXECUT_VI_TRACKING_PARAM"], "GET_VI_AF_STATUS": ["VI_START"],
    "SET_ANDROID_MMEDIA_PROJECTION": ["INIT_ANDROID_OBJECTS"], "GET_VO_PARAM": ["SET_VO_PARAM"],
    "VO_START": ["SET_DEFAULT_IMAGE"], "VO_STOP": ["VO_START"], "VO_ENABLE": ["VO_DISABLE"], "VO_DISABLE": ["VO_START"],
    "DELETE_FILTER_WINDOW": ["SET_FILTER_WINDOW"], "VO_WINDOW_DESTROY": ["SET_VO_SRC"],
    "GET_ENC_PARAM": ["SET_ENC_PARAM"], "ENC_START": ["SET_ENC_PARAM"], "ENC_STOP": ["ENC_START"],
    "ENC_FORCE_KEYFRAME": ["ENC_START"], "ENCODER_GET_STATUS": ["SET_ENC_PARAM"],
    "ENCODER_GET_CHR_STATISTICS": ["SET_ENC_PARAM"], "ENC_MODIFY_FRAME_RATE": ["SET_ENC_PARAM"],
    "GET_ENC_PARAM_EX": ["SET_ENC_PARAM_EX"], "GET_DEC_PARAM": ["SET_DEC_PARAM"], "DEC_START": ["SET_DEC_PARAM"],
    "DEC_STOP": ["DEC_START"], "DECODER_GET_STATUS": ["SET_DEC_PARAM"], "DECODER_GET_CHR_STATISTICS": ["DEC_START"],
    "GET_OVERLAY_QUE_HANDLE": [], "ENABLE_OVERLAY_PARAM": ["SET_OVERLAY_PARAM"], "MOUSE_START": ["MOUSE_CONNECT"],
    "MOUSE_STOP": ["MOUSE_START"], "STOP_LOCAL_MOUSE": ["START_LOCAL_MOUSE"], "START_UVC_STREAM": ["SET_UVC_PARAM"],
    "STOP_UVC_STREAM": ["START_UVC_STREAM"], "UVC_REQ_I_FRAME": ["START_UVC_STREAM"],
}
# Values of names that cannot have any, of all requests or of one.
VALUES = {
    "viPort": 1, "port": 1, "sourceId": 1, "voPort": 1, "imageParam1": 1, "overlayChn": 6, "count": 3, "num": 3,
    "presetSelector": "$inEngNo", "presetCount": 3, "cmdType": 2, "displayMode": 2, "picNum": 2, "windowCount": 2,
    "inputId": ["$decStmNo", "$other_decStmNo"], "encNo": "$encStmNo", "decNo": "$decStmNo", "enable": 1,
    "capabilityType": 2, "w": 1024, "h": 576, "fr": 25, "frameRate": 24, "independent": 1, "lossRate": 0.25,
    "CREATE_OVERLAY_CHANNEL_PARAM overlayChn": 7,
}
# After it, all notifications that had been sent have arrived.
BARRIER = ["device notify NOTIFY_104", "wait NOTIFY_104"]
# What arguments have once more to get another answer.
OTHERS = {"count": 1, "num": 1, "presetCount": 1, "capabilityType": 1, "presetSelector": "$other_inEngNo",
          "overlayChn": 5}


def veskctl(lines):
    """What a script of lines shows. Requests may be refused in it."""
    ended = subprocess.run(["veskctl", "--json", "run", "-k"], input="\n".join(lines), capture_output=True, text=True, check=False)
    return [json.loads(line) for line in ended.stdout.splitlines()]


class Requests:
    """Writes requests with values for all of their arguments and fields."""

    def __init__(self, names):
        self.given = {}
        shown = veskctl([*PRELUDE.replace("; ", "\n").splitlines(), *(f"describe {name}" for name in names)])
        self.things = {name for one in shown if "answer" in one for name in one["answer"].get("payload", {})}
        self.forms = dict(zip(names, (one[0] for one in shown if isinstance(one, list))))

    def value(self, request, name, size, index=0, field=None):
        """The same for the same name, so that what one request has set another can name."""
        fixed = VALUES.get(f"{request} {name}", VALUES.get(name, "$" + name if name in self.things else None))
        if fixed is not None:
            return fixed[index] if isinstance(fixed, list) else fixed
        kind = (name, size == 1)
        first = self.given.setdefault(kind, len(self.given) * 5 + 1000) + index
        number = first if size > 1 else first % 250 + 1
        if field is None or "count" not in field:
            return number
        if field["type"] == "char":
            return f"text{number}"
        elements = [(number + i) % 250 + 1 for i in range(size)]
        if re.match("(serviceData|bytes)[0-9]*$", name):
            return bytes(elements).hex()
        return ",".join(str(number + i) for i in range(field["count"]))

    def fields(self, request, fields, prefix="", index=0):
        for field in fields:
            name = field["name"]
            if re.match("(padding|reserved)[0-9]*$", name):
                continue
            if "fields" not in field:
                size = field["size"] // (1 if field["type"] == "char" else field.get("count", 1))
                opaque = re.match("(serviceData|bytes)[0-9]*$", name)
                yield prefix + name, self.value(request, name, field["size"] if opaque else size, index, field)
            elif "count" not in field:
                yield from self.fields(request, field["fields"], f"{prefix}{name}.", index)
            else:
                for i in range(2):
                    yield from self.fields(request, field["fields"], f"{prefix}{name}[{i}].", i)

    def words(self, line, **other):
        """A line that sends the request, with the values that it gives and those of @p other."""
        request, *given = line.split()
        form = self.forms[request]
        values = {argument["name"]: self.value(request, argument["name"], 8) for argument in form["arguments"]}
        values.update(word.split("=") for word in given)
        values.update(other)
        payload = form["payload"]
        if payload["form"] == "text":
            values["text"] = "/text"
        elif payload["form"] == "bytes":
            values["data"] = "0123456789abcdef"
        elif payload["form"] == "record":
            values.update(self.fields(request, payload["shown"]["fields"]))
        elif payload["form"] == "array":
            count = next(one["name"] for one in form["arguments"] if one["field"] == payload["count"])
            for i in range(int(values[count])):
                values.update(self.fields(request, payload["shown"]["fields"], f"[{i}].", i))
        return " ".join([request, *(f"{name}={value}" for name, value in values.items())])

    def before(self, request):
        for line in BEFORE.get(request, []):
            yield from self.before(line.split()[0])
            yield self.words(line)


class Leaf:
    """A value, the name of its place, and the numbers of the things in which it is."""

    def __init__(self, place, value, things):
        self.place, self.values, self.things = place, set(value if isinstance(value, list) else [value]), things


def leaves(value, place, key, things):
    if isinstance(value, dict):
        for name, member in value.items():
            yield from leaves(member, f"{place}.{name}", (*key, name), things)
    elif isinstance(value, list) and value and isinstance(value[0], dict):
        seen = {}
        for entry in value:
            thing = next((member for member in entry.values() if not isinstance(member, (dict, list))), None)
            seen[thing] = seen.get(thing, 0) + 1
            yield from leaves(entry, place, (*key, thing, seen[thing]), things | {thing})
    else:
        yield key, Leaf(place, value, things)


def answer_of(call):
    answer = call.get("answer", {})
    return {"result": answer.get("result", 0), "payload": answer.get("payload", {})}


class Row:
    """A row of the page, and what comes of its request."""

    def __init__(self, line):
        self.request, _, seen, _ = (cell.strip() for cell in line.strip("|\n").split("|"))
        self.request = self.request.strip("`")
        places, _, hidden = seen.partition("not seen:")
        self.places, self.hidden = re.findall("`(.+?)`", places), re.findall("`(.+?)`", hidden)

    def script(self, requests):
        """Sends the request between two looks at all places, and then with another value for each argument."""
        form = requests.forms[self.request]
        self.arguments = [one["name"] for one in form["arguments"] if "answer" in self.places]
        self.probes = [requests.words(place) for place in self.places if place.isupper()]
        hears = any(place.startswith("notification") for place in self.places)
        yield from PRELUDE.replace("; ", "\n").splitlines()
        yield from requests.before(self.request)
        yield from [*BARRIER, "device state", *self.probes, requests.words(self.request)]
        yield from [*(BARRIER if hears else []), "device state", *self.probes]
        for name in self.arguments:
            yield requests.words(self.request, **{name: OTHERS.get(name, f"$other_{name}")})

    def take(self, shown):
        """What the script has shown."""
        first, second = (i for i, one in enumerate(shown) if "service" in one)
        refused = [one for one in shown[:first] if one.get("answer", {}).get("result", 0) != 0]
        assert not refused, f"{self.request}: {refused}"
        calls, count = [one for one in shown[first:] if "request" in one], len(self.probes)
        self.call, self.state = calls[count], shown[first]
        assert not self.places or answer_of(self.call)["result"] == 0, f"{self.request}: {self.call}"
        heard = [one for one in shown[first:second] if one.get("kind") == "notification"]
        before = self.look(shown[first], calls[:count], [])
        after = self.look(shown[second], calls[count + 1:2 * count + 1], heard)
        self.changed = list(self.changes(before, after))
        self.answered = {name for name, other in zip(self.arguments, calls[2 * count + 1:])
                         if answer_of(other) != answer_of(self.call)}

    @staticmethod
    def look(state, calls, heard):
        found = {}
        for section, value in state.items():
            found.update(leaves(value, section, (section,), frozenset()))
        for call in calls:
            place, things = call["request"]["name"], frozenset(call["request"].get("arguments", {}).values())
            found.update(leaves(answer_of(call), place, (place,), things))
        for i, one in enumerate(heard):
            place, content = f"notification {one['number']}", [one.get("arguments", {}), one.get("payload", {})]
            found.update(leaves({} if content == [{}, {}] else content, place, (place, i), frozenset()))
        return found

    @staticmethod
    def changes(before, after):
        """What has changed, with the values that have come or gone there."""
        for key in before.keys() | after.keys():
            old, new = before.get(key), after.get(key)
            values = (old.values if old else set()) ^ (new.values if new else set())
            if values:
                yield Leaf((old or new).place, list(values), (old or new).things)

    def sent(self):
        """The values of each argument and field, of which an array has several."""
        sent = {}
        request = self.call["request"]
        for part in (request.get("arguments", {}), request.get("payload", {})):
            for _, leaf in leaves(part, "", (), frozenset()):
                sent.setdefault(leaf.place.strip("."), set()).update(leaf.values - {0, ""})
        return sent

    def ids(self, name, value):
        """A value, as bytes too, and the port of the engine that it names."""
        entries = itertools.chain(self.state["inputEngines"], self.state["outputEngines"])
        ports = {entry.get("viPort", entry.get("voPort")) for entry in entries if entry.get(name) == value}
        return {value, *ports, value.to_bytes(8, "little").hex()[:8] if isinstance(value, int) else value}

    def judge(self):
        """Names of all arguments and fields, of those that are not seen, and what the page is wrong about."""
        sent, seen, wrong = self.sent(), set(self.answered), []
        hidden = {name for name in sent for one in self.hidden if f"{name}.".startswith(f"{one}.")}
        wrong += [f"the test gives `{name}` no value" for name in sent if not sent[name]]
        wrong += [f"there is no `{one}`" for one in self.hidden if not any(f"{name}.".startswith(f"{one}.") for name in sent)]
        for place in self.places:
            found = [leaf for leaf in self.changed if f"{leaf.place}.".startswith(f"{place}.")]
            here = set().union(*(leaf.values | leaf.things for leaf in found))
            names = {name for name in sent if all(self.ids(name, value) & here for value in sent[name])}
            seen |= names
            if place == "answer" and not answer_of(self.call)["payload"]:
                wrong.append("nothing is answered")
            elif place != "answer" and (not found or (sent.keys() - hidden and not names)):
                wrong.append(f"it is not seen in `{place}`")
        wrong += [f"`{name}` is not seen" for name in sent if name not in seen | hidden]
        wrong += [f"`{name}` is seen" for name in sent if name in seen & hidden]
        return list(sent), [name for name in sent if name not in seen], wrong


def main(page):
    with open(page, encoding="utf-8") as file:
        rows = [Row(line) for line in file if re.match(r"\| `[A-Z0-9_]+` \|", line)]
    rows.sort(key=lambda row: row.request == "EXIT")  # after which nothing is notified
    requests, total, hidden, wrong = Requests([row.request for row in rows]), 0, [], []
    shown = veskctl(line for row in rows for line in row.script(requests))
    resets = [i for i, one in enumerate(shown) if one == {}]
    for row, first, end in zip(rows, resets, [*resets[1:], None]):
        row.take(shown[first:end])
        names, unseen, problems = row.judge()
        total += len(names)
        hidden += [f"{row.request} {name}" for name in unseen]
        wrong += [f"{row.request}: {problem}" for problem in problems]
    print(f"{total - len(hidden)} of {total} arguments and fields seen; not seen: {', '.join(hidden)}")
    sys.exit("\n".join(wrong) or 0)


main(*sys.argv[1:])
