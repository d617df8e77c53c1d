"""What veskctl prints with --json, held to docs/veskctl.schema.json and docs/json.md. Runs with a device of its own.

json_test.py DOCS SCENE, in an empty folder, with programs in PATH
"""
import json
import re
import subprocess
import sys

try:
    import jsonschema
except ImportError:
    print("python3-jsonschema is not installed: JSON is not checked")
    sys.exit(77)

PRELUDE = """J() { veskctl --json "$@"; }
other() { veskctl --service A/B "$@"; }
watched() { veskctl device state | grep Watchers; }
until_ready() { for _ in {1..2000}; do "$@" > /dev/null 2>&1 && return; sleep 0.05; done; }
"""
COMMANDS = r"""
J list; J list results
J describe 0; J describe GET_VO_PORT; J describe VO_PORT_PLUG_STATE; J describe CONTROL_FAULT_ADD; J describe INIT_UVC
J describe SET_DEFAULT_IMAGE; J describe VeskVideoVoPortInfo; J describe GET_CAPABILITY --peer unknown; J describe 0x204
J call GET_VO_PORT count=2 --all --peer unknown; J call GET_VO_PORT count=2; J call 999 --raw 00; J call INIT_UVC
J call INIT --service NOBODY/VCTL
J wait VO_PORT_PLUG_STATE
J monitor --count 2
printf '%s\n' 'device notify 208' 'wait 208' 'expect 515 VO_START outEngNo=77' 'list records' 'describe 0' | J run
printf '%s\n' 'device state' 'expect NUMBER' 'device fault clear 77' | J run
J trace --summary -- vesk-device-tour > /dev/null
veskctl trace -o tour -- vesk-device-tour > /dev/null && J decode tour --all --peer unknown; J decode tour --summary
J replay tour
veskctl run $SCENE > scene 2>&1 & until_ready grep DEC_DELETE scene && J device state; J device scene
J check --list; J check framing.short-payload
veskctl device fault add SET_VO_PARAM result OK > /dev/null && J check framing.short-payload
J device fault add VO_START result BUSY; J device fault list; J device fault clear
J device notify 208; J device time; J device unplug input 0; J device plug input 0; J device mode input 0 640x480@30
printf '[[step]]\nat = 0\ndo = "fault clear"\n' > scenario && J device scenario scenario; J device reset
J device scenario
J device top --count 2 --interval 0.5 & until_ready watched; veskctl call INIT > called; wait $!
J device watch --count 1 --summary & until_ready watched; veskctl call INIT > called; wait $!
J serve tour --once --strict --service A/B & other wait-service; other call VO_STOP outEngNo=88 > called; wait $!
"""
PICTURES = r"""
J device screenshot --size 64x; J device compare display-0.png display-0.png
J device record 0 -o video.mkv --for 0.1 --rate 10 --size 64x
printf 'expect-picture 0 new.png --size 64x\n' > expect && J run --update expect; J run expect
"""
WEB = r"""
veskctl --json web > served & until_ready test -s served; cat served; kill $! # J web
"""
# Commands whose module may not have been built: how that is told, what they print, and their names.
MODULES = [("device screenshot --size x", PICTURES, {"device screenshot", "device compare", "device record"}),
           ("web --service x", WEB, {"web"})]


class Forms:
    """Checks documents, and that the same with a member of another name would be refused."""

    def __init__(self, schema):
        self.schema = schema
        self.commands = {name for name in schema["$defs"] if name[0].islower()}
        self.free = {"cut", *re.findall(r'"(\w+)": {"\$ref": "#/\$defs/Fields"', json.dumps(schema))}
        self.checked, self.renamed = [], set()

    def command(self, words):
        return max((name for name in self.commands if f"{words} ".startswith(f"{name} ")), key=len)

    def members(self, value):
        """Names of all members that the schema describes."""
        if isinstance(value, dict):
            yield from value.get("properties", [])
            value = list(value.values())
        for entry in value if isinstance(value, list) else []:
            yield from self.members(entry)

    def fixed_objects(self, value):
        """Those in which members have the names of the schema."""
        if isinstance(value, dict):
            yield value
            value = [member for name, member in value.items() if name not in self.free]
        for entry in value if isinstance(value, list) else []:
            yield from self.fixed_objects(entry)

    def check(self, command, document):
        reference = "#/$defs/" + command.replace(" ", "%20")
        form = jsonschema.Draft202012Validator({"$defs": self.schema["$defs"], "$ref": reference})
        errors = [error.message for error in form.iter_errors(document)]
        assert not errors, f"{command}: {str(document)[:2000]}\n{errors}"
        self.checked.append(command)
        for one in self.fixed_objects(document):
            for name in set(one):
                variant = (command, name, *sorted(one))
                if variant not in self.renamed:
                    self.renamed.add(variant)
                    one[name + "X"] = one.pop(name)
                    assert not form.is_valid(document), f"{command}: '{name}' may have another name: {one}"
                    one[name] = one.pop(name + "X")


def documents(text):
    while text := text.strip():
        document, end = json.JSONDecoder().raw_decode(text)
        yield document
        text = text[end:]


def require_definitions(forms, words):
    """What has no definition must be a group of commands that have one."""
    if words not in forms.commands:
        below = subprocess.run(["veskctl", "complete", "--", *words.split(), ""], capture_output=True, text=True)
        assert below.stdout and words.count(" ") < 2, f"'veskctl {words}' is not in the schema"
        for word in below.stdout.split():
            require_definitions(forms, f"{words} {word}".strip())


def main(docs, scene):
    with open(f"{docs}/veskctl.schema.json", encoding="utf-8") as file:
        forms = Forms(json.load(file))
    with open(f"{docs}/json.md", encoding="utf-8") as file:
        page = file.read()
    jsonschema.Draft202012Validator.check_schema(forms.schema)
    require_definitions(forms, "")
    commands, missing = COMMANDS, set()
    for words, lines, names in MODULES:
        if ".so, which is neither installed" in subprocess.run(["veskctl", *words.split()], capture_output=True,
                                                               text=True).stderr:
            missing |= names
        else:
            commands += lines.lstrip()
    for line in re.split("\n|; (?=J )", commands.strip()):
        shown = subprocess.run(["bash", "-c", f"SCENE={scene}\n{PRELUDE}{line}"], capture_output=True, text=True)
        text = shown.stdout + "".join(re.findall("^{.*\n", shown.stderr, re.MULTILINE))
        assert text, f"{line}: {shown.stderr}"
        for document in documents(text):
            forms.check(forms.command(line.partition("J ")[2]), document)
    assert {name for name in forms.commands if forms.schema["$defs"][name]} - missing == set(forms.checked)
    for block in re.findall("^```\n(.*?)^```", page, re.MULTILINE | re.DOTALL):
        for words, text in re.findall(r"^\$ veskctl (.*?) --json.*\n((?:[^$].*\n)+)", block, re.MULTILINE):
            for document in documents(text):
                forms.check(forms.command(words), document)
    unexplained = [name for name in forms.members(forms.schema) if f"`{name}`" not in page]
    assert not unexplained, f"json.md does not mention {unexplained}"
    print(len(forms.checked), "documents checked,", len(forms.renamed), "renamed members refused")


main(*sys.argv[1:])
