"""What veskctl web answers to the page, to programs and to those who may not ask.

web_test.py VESKCTL SERVICE
"""
import http.client
import json
import os
import re
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time

VESKCTL, SERVICE = sys.argv[1:]
LABEL = r'\w+="(?:[^"\\\n]|\\["\\n])*"'
STREAM = """$in = OPEN_VI_PORT viPort=0
VI_START inEngNo=$in
SET_APP_CAPTURE_PARAM inEngNo=$in taskHandle=1 width=640 height=480 fr=25
$out = OPEN_VO_PORT voPort=0
SET_VO_SRC outEngNo=$out picNum=1 subPic[0].inputId=$in
VO_START outEngNo=$out
"""


def until(true):
    """What it gives, once it is anything; the test's own time-out is the limit."""
    while not (found := true()):
        time.sleep(0.05)
    return found


def start(*words, program=VESKCTL, **options):
    processes.append(subprocess.Popen([program, *words], text=True, **options))
    return processes[-1]


class Web:
    def __init__(self, *options):
        self.process = start("web", "--json", *options, stdout=subprocess.PIPE)
        started = json.loads(self.process.stdout.readline())
        self.address, self.port = started["address"], started["port"]
        self.token = self.address.partition("?token=")[2]
        self.bearer = {"Authorization": f"Bearer {self.token}"}

    def ask(self, path, headers=None, method="GET", body=None, **more):
        """Status, headers and content."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=30)
        headers = {**(self.bearer if headers is None else headers), **more}
        headers = {name: value for name, value in headers.items() if value is not None}
        connection.putrequest(method, path, skip_host="Host" in headers)
        for name, value in headers.items():
            connection.putheader(name, value)
        if body is not None:
            connection.putheader("Content-Length", str(len(body)))
        connection.endheaders(body)
        response = connection.getresponse()
        content = response.read()
        connection.close()
        return response.status, response.headers, content

    def get(self, path):
        status, headers, content = self.ask(path)
        assert status == 200, (path, status, content)
        return json.loads(content)

    def post(self, path, *words, headers=None):
        body = json.dumps({"words": words}).encode()
        status, _, content = self.ask(path, headers, "POST", body, **{"Content-Type": "application/json"})
        return status, json.loads(content)

    def end(self):
        self.process.send_signal(signal.SIGTERM)
        assert self.process.wait() == 0


def start_service():
    service = start(program=SERVICE)
    subprocess.run([VESKCTL, "wait-service"], check=True)
    return service


def call(*words):
    return subprocess.run([VESKCTL, *words], capture_output=True, text=True).stdout


def check_table(web):
    """Who asks for what, and what is the answer: its status, and what is found in headers and content."""
    own, other = f"http://127.0.0.1:{web.port}", "http://elsewhere.example"
    typed = {"Content-Type": "application/json"}
    words = b'{"words": ["fault", "list"]}'
    may_not = "Open the address"
    for path, headers, method, body, expected, content in [
        # who may ask
        *[(path, {"Cookie": f"token={web.token}"}, "GET", None, 403, may_not)
          for path in [f"/api/state?token={web.token}", "/displays/0.jpg", "/metrics", "/nothing"]],
        ("/api/state", {"Authorization": f"Bearer {web.token[:-1]}x"}, "GET", None, 403, may_not),
        ("/api/faults", {"Authorization": f"bearer {web.token}"}, "GET", None, 200, r"\[\]"),
        (f"/?token={web.token}", {}, "GET", None, 200, "(?s)default-src 'none'.*text/html"),
        ("/", {"Host": "elsewhere.example"}, "GET", None, 403, "127.0.0.1"),
        ("/", {"Host": f"elsewhere.example:{web.port}"}, "GET", None, 403, "127.0.0.1"),
        ("/", {"Host": "127.0.0.1"}, "GET", None, 403, "127.0.0.1"),
        ("/", {"Host": f"LOCALHOST:{web.port}"}, "GET", None, 200, "html"),
        ("/api/device", {**typed, "Origin": own}, "POST", words, 403, may_not),
        ("/api/device", {**web.bearer, **typed, "Origin": own}, "POST", words, 200, r'\{"answer":\[\]\}'),
        ("/api/device", {**web.bearer, **typed, "Origin": other}, "POST", words, 403, "Other pages"),
        ("/", {"Origin": "null"}, "GET", None, 403, "Other pages"),
        ("/api/device", {**web.bearer, "Content-Type": "text/plain"}, "POST", words, 415, "json"),
        # what there is
        ("/", web.bearer, "HEAD", None, 200, "text/html"), ("/", web.bearer, "PUT", None, 405, "Allow: GET"),
        ("/page/../index.html", web.bearer, "GET", None, 404, "no /page/"),
        ("/%2e%2e/CMakeLists.txt", web.bearer, "GET", None, 404, ""),
        ("//etc/passwd", web.bearer, "GET", None, 404, ""),
        ("/page/main.js%00.css", web.bearer, "GET", None, 404, ""), ("/api/x", web.bearer, "GET", None, 404, '"error"'),
        ("/api/state", {**web.bearer, **typed}, "POST", b"", 405, "GET"),
        ("/api/device", web.bearer, "GET", None, 405, "POST"),
        ("/api/graph", web.bearer, "GET", None, 200, "digraph device"),
        ("/api/scenes/77", web.bearer, "GET", None, 409, '"name":"NUMBER"|"refused"'),
        ("/api/scenes/1x", web.bearer, "GET", None, 400, "display 1x: expected a number"),
        ("/api/messages?match=INITT", web.bearer, "GET", None, 400, "nearest: INIT"),
        ("/displays/77.jpg", web.bearer, "GET", None, 409, "refused"),
        ("/displays/0.jpg?width=-1", web.bearer, "GET", None, 400, "width -1"),
        ("/displays/1.png", web.bearer, "GET", None, 200, r'(?s)image/png.*attachment; filename="display-1\.png".*PNG'),
        # what is too much
        ("/api/device", {**web.bearer, **typed}, "POST", b"[" * 65537, 413, "64 KiB"),
        ("/api/device", {**web.bearer, **typed}, "POST", b"[" * 65536, 400, "usage"),
        ("/api/device", {**web.bearer, **typed}, "POST", b'{"words": [1]}', 400, "expected words"),
        ("/", {**web.bearer, **{f"X-{i}": "1" for i in range(70)}}, "GET", None, 400, "too many"),
        ("/?" + "&".join(f"a{i}" for i in range(40)), web.bearer, "GET", None, 400, "too many"),
        ("/", {**web.bearer, "X": "x" * 40000}, "GET", None, 431, ""),
    ]:
        status, answered, found = web.ask(path, headers, method, body)
        text = f"{answered}\n{found.decode(errors='replace')}"
        assert status == expected and re.search(content, text), (path, headers, method, status, text[:1500])
    with socket.create_connection(("127.0.0.1", web.port)) as two_hosts:
        two_hosts.sendall(f"GET / HTTP/1.1\r\nHost: 127.0.0.1:{web.port}\r\nHost: x\r\n"
                          "Connection: close\r\n\r\n".encode())
        assert re.match(rb"HTTP/1.1 40[03]", two_hosts.recv(100))


def check_steering(web):
    assert web.post("/api/device", "fault", "add", "VO_START", "result", "BUSY", "--count", "1")[0] == 200
    assert "BUSY" in call("call", "VO_START", "outEngNo=1")
    (rule,) = web.get("/api/faults")
    assert rule["hits"] == 1 and rule["rule"].startswith("VO_START"), rule
    for words, status, kind, text in [
        (["plug", "input", "0"], 409, "refused", "input 0 is plugged in already: STATE"),
        (["fault", "add", "VO_STAR", "drop"], 400, "usage", "nearest: VO_START"),
        (["scenario", "-"], 400, "usage", "no installed scenario"), (["scenario", "/etc/passwd"], 400, "usage", ""),
        (["state"], 400, "usage", "no command 'state'"), (["fault", "--help"], 400, "usage", "no option"),
    ]:
        answered, problem = web.post("/api/device", *words)
        assert (answered, problem["kind"]) == (status, kind) and text in problem["error"], (words, problem)
    assert problem.keys() == {"error", "kind"}
    assert web.post("/api/device", "unplug", "output", "9")[1]["code"] == 515
    for words, expected in [(["fault", "add", "VO_STA"], ["VO_START"]), (["fa"], ["fault"]), (["state"], []),
                            (["scenario", "l"], ["loose_cable.toml"]),
                            (["fault", "add", "--a"], ["--after", "--app"]), ([], [])]:
        assert web.post("/api/complete", *words) == (200, {"completions": expected}), words


def check_messages(web):
    until(lambda: "watchers" in call("device", "state").lower() if web.get("/api/messages") else None)
    before = web.get("/api/messages?after=0")["next"]
    name = '<b>"\\\x7f\u202e</b>'
    call("device", "notify", "VO_PORT_PLUG_STATE", "--to", "nobody")
    call("call", "SET_VIRTUAL_VI_PARAM", "sourceId=2", f"text={name}")
    found = until(lambda: web.get(f"/api/messages?after={before}&match=SET_VIRTUAL_VI_PARAM")["messages"])
    assert found[0]["exchange"]["request"]["payload"] == {"text": name}, found
    assert found[0]["line"].isprintable() and "SET_VIRTUAL_VI_PARAM" in found[0]["line"]
    newest = web.get("/api/messages?limit=1")
    assert len(newest["messages"]) == 1 and newest["lost"] == 0
    first = web.get("/api/messages?after=0&limit=1")
    assert first["next"] == first["messages"][0]["id"] and first["lost"] == 0
    later = web.get(f"/api/messages?after={newest['next']}")["messages"]
    assert all(message["id"] > newest["next"] for message in later), later


def check_tags(web):
    call("device", "unplug", "output", "1")
    for path in ["/", "/api/scenarios", "/api/faults", "/api/graph", "/displays/1.jpg?width=320"]:
        _, headers, content = web.ask(path)
        again = web.ask(path, **{"If-None-Match": headers["ETag"]})
        assert again[0] == 304 and not again[2] and content, (path, again)
    assert web.ask("/api/scenarios", **{"If-None-Match": '"another"'})[0] == 200
    call("device", "plug", "output", "1")


def check_many(web):
    """Many at once get the same, in spite of those that never finish their requests. Displays that do not exist are
    no burden."""
    assert {web.ask(f"/api/scenes/{display}")[0] for display in range(2, 300)} == {409}
    assert web.ask("/api/scenes/1")[0] == 200
    slow = [socket.create_connection(("127.0.0.1", web.port)) for _ in range(60)]
    for connection in slow:
        connection.sendall(b"GET / HTTP/1.1\r\nHost: ")
    answers = []
    threads = [threading.Thread(target=lambda: answers.append(web.ask("/displays/0.jpg?width=640")[::2]))
               for _ in range(40)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(answers) == 40 and all(status == 200 and body[:2] == b"\xff\xd8" for status, body in answers)
    for connection in slow:
        connection.close()


def trickle(web):
    """Returns once the server has had enough of a request that does not end."""
    with socket.create_connection(("127.0.0.1", web.port)) as slow:
        slow.settimeout(0.5)
        while True:
            try:
                slow.sendall(b"G")
                if not slow.recv(1):
                    return
            except TimeoutError:
                pass
            except OSError:
                return


def check_metrics(web):
    status, headers, content = web.ask("/metrics")
    assert status == 200 and headers["Content-Type"].startswith("text/plain; version=0.0.4")
    types, values = {}, {}
    for line in content.decode().splitlines():
        if line.startswith("# TYPE"):
            types[line.split()[2]] = line.split()[3]
        elif not line.startswith("# HELP"):
            sample = re.fullmatch(rf"(\w+)((?:{{{LABEL}(?:,{LABEL})*}})?) (\S+)", line)
            assert sample, line
            assert re.sub("_(bucket|sum|count)$", "", sample[1]) in types or sample[1] in types, line
            assert sample[1] + sample[2] not in values, line
            values[sample[1] + sample[2]] = float(sample[3])
    assert values["vesk_service_up"] == 1 and values['vesk_requests_total{name="VO_START",result="BUSY"}'] == 1
    for name, value in values.items():
        if "_count{" in name:
            assert values[name.replace("_count{", "_bucket{")[:-1] + ',le="+Inf"}'] == value, name


def check_service(web, service):
    """The service hangs, ends and comes back."""
    service.send_signal(signal.SIGSTOP)
    begun = time.monotonic()
    asking = [threading.Thread(target=web.ask, args=("/api/state",)) for _ in range(20)]
    for thread in asking:
        thread.start()
    assert web.ask("/")[0] == 200 and time.monotonic() < begun + 0.9
    for thread in asking:
        thread.join()
    until(lambda: web.ask("/api/state")[0] == 504)  # what was answered a moment ago is answered again
    assert time.monotonic() < begun + 8
    service.send_signal(signal.SIGCONT)
    until(lambda: web.ask("/api/state")[0] == 200)
    service.terminate()
    service.wait()
    status, _, problem = until(lambda: (answer := web.ask("/api/state"))[0] == 503 and answer)
    assert status == 503 and json.loads(problem)["kind"] == "no service"
    assert web.post("/api/device", "reset")[0] == 503 and b"vesk_service_up 0\n" in web.ask("/metrics")[2]
    start_service()
    until(lambda: web.ask("/api/state")[0] == 200)
    check_messages(web)


processes = []
with tempfile.TemporaryDirectory() as folder:
    os.environ["VESK_RUNTIME_DIR"] = folder
    try:
        web = Web()
        assert web.ask("/")[0] == 200 and web.ask("/api/state")[0] == 503
        trickling = threading.Thread(target=trickle, args=(web,), daemon=True)
        trickling.start()
        service = start_service()
        stream = start("run", stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        stream.stdin.write(STREAM)
        stream.stdin.flush()
        for check in [check_table, check_steering, check_messages, check_tags, check_many, check_metrics]:
            check(web)
        check_service(web, service)
        trickling.join(60)
        assert not trickling.is_alive()
        web.end()
        again = Web("--port", str(web.port))
        assert again.port == web.port and again.token != web.token
        assert again.ask("/api/state", web.bearer)[0] == 403
        taken = subprocess.run([VESKCTL, "web", "--port", str(web.port)], capture_output=True, text=True)
        assert taken.returncode == 1 and f"port {web.port} of 127.0.0.1" in taken.stderr
        again.end()
    finally:
        for process in processes:
            process.kill()
