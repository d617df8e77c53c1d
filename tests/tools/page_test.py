"""The device's page in a browser: what it shows, and what becomes of what is done on it.

page_test.py, with veskctl and vesk-video-service in PATH. The names of the device's ports are hostile.
"""
import json
import os
import subprocess
import sys
import tempfile
import time
import unittest

try:
    from selenium import webdriver
    from selenium.common.exceptions import WebDriverException
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
except ImportError:
    print("python3-selenium is not installed: the page is not tested")
    sys.exit(77)

WAIT_S = 20
MARKUP = "<script>alert(1)</script><img src=x onerror=alert(2)>"
LONG = "W" * 63
DEVICE = f"""
inputs = [{{name = "CAMERA", kind = "camera", width = 1920, height = 1080, fr = 30}},
          {{name = "{MARKUP}", kind = "pc", plugged = false}}]
outputs = [{{name = "{LONG}", width = 1920, height = 1080, fr = 60}},
           {{name = "\\u202e{MARKUP}", width = 1280, height = 720, fr = 60}}]
"""
# An application with 25 pictures on a display, which stays until its input ends.
APPLICATION = ["OPEN_VI_PORT viPort=0", "VI_START inEngNo=1001", "OPEN_VO_PORT voPort=0", "VO_START outEngNo=2001",
               "SET_VO_SRC outEngNo=2001 picNum=25 "
               + " ".join(f"subPic[{i}].inputId=1001" for i in range(25)) + " subPic[7].window.x=960"
               " subPic[7].window.y=540 subPic[7].window.width=960 subPic[7].window.height=540"]
# Reached with Tab alone: a control's label, what is typed there, and what the state then says.
DEEDS = [
    ("Unplug input 0", Keys.ENTER, lambda state: not state["inputs"][0]["plugged"]),
    ("Plug input 0", Keys.SPACE, lambda state: state["inputs"][0]["plugged"]),
    ("Mode of input 1, as 1920x1080@60", "640x480@25" + Keys.ENTER, lambda state: state["inputs"][1]["fr"] == 25),
    ("Unplug output 1", Keys.ENTER, lambda state: not state["outputs"][1]["plugged"]),
    ("Mode of output 0, as 1920x1080@60", "3840x2160@30" + Keys.ENTER, lambda state: state["outputs"][0]["fr"] == 30),
    ("Start loose_cable.toml", Keys.ENTER, lambda state: state["scenario"]["steps"] > 0),
    ("End", Keys.ENTER, lambda state: state["scenario"]["steps"] == 0),
    ("Reset…", Keys.ENTER + Keys.TAB + Keys.ENTER, lambda state: state["outputs"][0]["fr"] == 60),
]
PIXELS = """const image = document.querySelector('#displays img');
if (!image.naturalWidth) return '';
const canvas = document.createElement('canvas'); canvas.width = canvas.height = 64;
canvas.getContext('2d').drawImage(image, 0, 0, 64, 64);
return canvas.toDataURL();"""
SHOWN = "return [...document.querySelectorAll('#displays img')].filter((image) => image.naturalWidth > 0).length"
LABEL = "const at = document.activeElement; return at.getAttribute('aria-label') ?? at.textContent"
HIDE = """Object.defineProperty(document, 'hidden', { get: () => arguments[0], configurable: true });
document.dispatchEvent(new Event('visibilitychange'));"""
REQUESTS = "return performance.getEntriesByType('resource').length"
OPEN_ALL = "document.querySelectorAll('main > div > details, #requests').forEach((part) => { part.open = true; })"
FITS = "return document.documentElement.scrollWidth <= innerWidth"


def browser():
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for argument in ["--headless=new", "--disable-dev-shm-usage", "--window-size=1400,1000",
                     *(["--no-sandbox"] if os.geteuid() == 0 else [])]:
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    service = webdriver.chrome.service.Service("/usr/bin/chromedriver")
    try:
        return webdriver.Chrome(service=service, options=options)
    except WebDriverException as error:
        print(f"there is no Chromium, so the page is not tested: {error}")
        sys.exit(77)


def started(*command, **options):
    return subprocess.Popen(command, text=True, stdin=subprocess.PIPE, stdout=subprocess.PIPE, **options)


def ended(process):
    process.terminate()
    process.communicate()


def ctl(*words):
    return subprocess.run(["veskctl", *words], capture_output=True, text=True, check=False)


def state():
    return json.loads(ctl("device", "state", "--json").stdout)


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.driver = browser()
        cls.addClassCleanup(cls.driver.quit)
        folder = cls.enterClassContext(tempfile.TemporaryDirectory())
        os.environ["VESK_RUNTIME_DIR"] = os.path.join(folder, "run")
        cls.device = os.path.join(folder, "device.toml")
        with open(cls.device, "w", encoding="utf-8") as file:
            file.write(DEVICE)
        cls.start_service()
        cls.start_server("0")

    @classmethod
    def start_service(cls):
        cls.service = started("vesk-video-service", "--device", cls.device)
        cls.addClassCleanup(ended, cls.service)
        ctl("wait-service")

    @classmethod
    def start_server(cls, port):
        cls.server = started("veskctl", "web", "--port", port)
        cls.addClassCleanup(ended, cls.server)
        cls.address = cls.server.stdout.readline().strip()

    def setUp(self):
        ctl("device", "reset")
        self.driver.get(self.address)
        self.until(lambda: self.driver.execute_script(SHOWN) == 2, "two displays are shown")

    def tearDown(self):
        problems = [entry["message"] for entry in self.driver.get_log("browser")]
        problems = [text for text in problems if "Failed to load resource" not in text]
        self.assertEqual(problems, [], "the console has no errors, and nothing was kept from loading or running")

    def until(self, condition, what):
        end = time.monotonic() + WAIT_S
        while not condition():
            self.assertLess(time.monotonic(), end, what)
            time.sleep(0.05)

    def find(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def text(self, selector):
        return self.driver.execute_script("return document.querySelector(arguments[0])?.textContent ?? ''", selector)

    def until_text(self, selector, text):
        self.until(lambda: text in self.text(selector), f"{selector} has {text}")

    def press(self, keys):
        webdriver.ActionChains(self.driver).send_keys(keys).perform()

    def application(self):
        process = started("veskctl", "run", "-", stderr=subprocess.DEVNULL)
        self.addCleanup(ended, process)
        process.stdin.write("\n".join([*APPLICATION, ""]))
        process.stdin.flush()
        self.until_text("#displays .showing", "live")
        return process

    def test_keyboard(self):
        for label, keys, is_done in DEEDS:
            with self.subTest(label):
                for _ in range(100):
                    if self.driver.execute_script(LABEL) == label:
                        break
                    self.press(Keys.TAB)
                self.press(keys)
                self.until(lambda: is_done(state()), "the device has changed")
                self.until(lambda: self.text("#announcement"), "the page says so")
                time.sleep(0.5)  # until the labels are those of the new state

    def test_application_sees_cable(self):
        waiting = started("veskctl", "wait", "VI_PORT_PLUG_STATE", "port=0", "val=0")
        self.until_text("#applications", "veskctl-")
        self.find("[aria-label='Unplug input 0']").click()
        self.assertIn("port=0 val=0", waiting.communicate(timeout=WAIT_S)[0])

    def test_faults(self):
        rule = self.find("#rule")
        for wrong in ["nosuch result BUSY", "VO_START resutl BUSY", "VO_START nosuch=1 result BUSY"]:
            rule.clear()
            rule.send_keys(wrong, Keys.ENTER)
            told = ctl("device", "fault", "add", *wrong.split()).stderr
            self.until_text("#rule-problem", told.removeprefix("veskctl: ").strip())
        rule.clear()
        rule.send_keys("VO_STAR")
        self.until(lambda: self.text("[role=option]") == "VO_START", "the name is completed")
        rule.send_keys(Keys.ARROW_DOWN, Keys.ENTER, "result BUSY", Keys.ENTER)
        self.until_text("#faults code", "VO_START result BUSY")
        self.assertIn("BUSY", ctl("call", "VO_START", "outEngNo=2001").stderr)
        self.until_text("#faults", "1 match, 1 hit")
        self.find("[aria-label^='Remove fault']").click()
        self.until(lambda: self.text("#faults") == "", "the fault is gone")

    def test_messages(self):
        self.until(lambda: state()["watchers"], "the page watches")
        ctl("call", "GET_VO_COUNT")
        row = "#messages .message:last-child"
        self.until_text("#messages", "GET_VO_COUNT")
        self.until_text(row, "EXIT")
        self.find("#match").send_keys("GET_VO_COUNT", Keys.ENTER)
        self.until(lambda: "EXIT" not in self.text("#messages") and "GET_VO_COUNT" in self.text(row), "others are gone")
        self.find(row + " summary").click()
        self.until_text(row + " .branch", "count")
        for wrong, keys in [(True, " nosuch=1"), (False, Keys.BACKSPACE * 9)]:
            self.find("#match").send_keys(keys, Keys.ENTER)
            self.until(lambda: self.find("#match-problem").is_displayed() == wrong, f"a wrong filter: {wrong}")

    def test_pictures(self):
        dark = self.driver.execute_script(PIXELS)
        self.application()
        seen = {dark}
        self.until(lambda: seen.add(self.driver.execute_script(PIXELS)) or len(seen) > 3, "pictures move")
        self.until(lambda: len(self.driver.find_elements(By.CSS_SELECTOR, "#displays .layer")) == 25, "all are listed")
        self.driver.execute_script("document.querySelectorAll('#displays .layer')[7].focus()")
        self.until_text(".placed", "SET_VO_SRC outEngNo=2001 subPic[7].inputId=1001 of veskctl-")
        mark, picture = self.find(".mark").rect, self.find("#displays .picture").rect
        self.assertAlmostEqual(mark["x"], picture["x"] + picture["width"] / 2, delta=2)
        self.assertAlmostEqual(mark["height"], picture["height"] / 2, delta=2)
        self.find("#displays .enlarge").click()
        self.until(lambda: self.find("#large img").rect["width"] > 2 * mark["width"], "the display is enlarged")
        self.press(Keys.ESCAPE)
        self.until(lambda: not self.driver.find_elements(By.CSS_SELECTOR, "#large img"), "the dialog is closed")
        folder = self.enterContext(tempfile.TemporaryDirectory())
        self.driver.execute_cdp_cmd("Browser.setDownloadBehavior", {"behavior": "allow", "downloadPath": folder})
        self.find("[aria-label='Download display 1 as PNG']").click()
        self.until(lambda: os.listdir(folder) == ["display-1.png"], "the display is downloaded")

    def test_hidden_page_rests(self):
        self.application()
        self.driver.execute_script(HIDE, True)
        time.sleep(1)
        self.driver.execute_script("performance.clearResourceTimings()")
        time.sleep(1)
        self.assertEqual(self.driver.execute_script(REQUESTS), 0)
        self.driver.execute_script(HIDE, False)
        self.until(lambda: self.driver.execute_script(REQUESTS) > 5,
                   "it goes on")

    def test_names_are_text(self):
        self.assertIn(MARKUP, self.text("#inputs"))
        self.assertIn("\\u202e<script>", self.text("#outputs"))
        self.assertEqual(len(self.driver.find_elements(By.CSS_SELECTOR, "script, img[src=x]")), 1)

    def test_narrow(self):
        self.addCleanup(self.driver.execute_cdp_cmd, "Emulation.clearDeviceMetricsOverride", {})
        self.application()
        self.driver.execute_script(OPEN_ALL)
        for width in [1400, 800, 390, 320]:
            self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
                "width": width, "height": 800, "deviceScaleFactor": 1, "mobile": width < 500})
            time.sleep(0.5)
            self.assertTrue(self.driver.execute_script(FITS), f"no scrolling sideways at {width} pixels")

    def test_twenty_pages(self):
        first = self.driver.current_window_handle
        for _ in range(19):
            self.driver.switch_to.new_window("tab")
            self.driver.get(self.address.partition("?")[0])
        for page in self.driver.window_handles:
            self.driver.switch_to.window(page)
            self.until(lambda: self.driver.execute_script(SHOWN) == 2, "each page shows the displays")
            if page != first:
                self.driver.close()
        self.driver.switch_to.window(first)

    def test_ends_and_returns(self):
        ended(self.service)
        self.until_text("#connection", "The service has ended")
        self.start_service()
        self.until(lambda: not self.find("#connection").is_displayed(), "the page goes on")
        self.find("[aria-label='Unplug input 0']").click()
        self.until_text("#announcement", "input 0 is unplugged")
        ended(self.server)
        self.until_text("#connection", "veskctl web has ended")
        self.start_server(self.address.split(":")[2].split("/")[0])
        self.until_text("#connection", "Open the address")


if __name__ == "__main__":
    unittest.main()
