"""Makes records and drives a browser through the HTML reports on them; called by html-trial.sh.

    html_trial.py records FOLDER             writes everything.jsonl, gathered.jsonl and those of large runs
    html_trial.py browse FOLDER [SCREENSHOTS]
"""
import base64
import datetime
import json
import os
import signal
import subprocess
import sys
import tempfile
import time
import urllib.request

EVENTS = 100_000
NOT_READABLE = "\x1b[31mred\x1b[0m \u202etxt </script><img src=x onerror=alert(1)>"


# ------------------------------------------------------------------------------------------------------------ records

class Record:
    """A run record; the clock goes on by what the calls take."""

    def __init__(self, path):
        self.file = open(path, "w", encoding="utf-8")
        self.ms = 0.0
        self.nodes = {}
        self.begin()

    def begin(self):
        self.add("record", version=2, engine="5.0.0", host="orvanta")

    def add(self, event, **keys):
        moment = datetime.datetime(2026, 11, 23, 18, 30) + datetime.timedelta(milliseconds=int(self.ms))
        stamp = moment.isoformat(timespec="milliseconds") + "Z"
        self.file.write(json.dumps({"event": event, "time": stamp, **keys}) + "\n")

    def start(self, name, file, nodes, meta=None):
        """A node is (path, element, name, label, whether it is a test)."""
        self.add("suite-load", file=file, loaded=True, problems=[])
        self.add("run-start", suite=name, file=file, library=name.replace(" ", ""), executionType=0, mode=0,
                 meta=meta or {})
        for line, (path, element, title, label, test) in enumerate(nodes, 2):
            keys = {"path": path, "element": element, "name": title, "label": label, "line": line}
            self.nodes[path] = keys
            self.add("node", **keys, selectable=True, selected=True, test=test)

    def state(self, path, state):
        self.add("state", **self.nodes[path], state=state)

    def log(self, text, level=3, status=0, second=0, **look):
        form = {"color": None, "background": None, "strength": 400, "italic": False, "underline": False, **look}
        self.add("log", status=status, second=second, level=level, format=form if look else None, text=text)

    def call(self, path, verdict, ms, reason="", passes=(), warnings=0, lines=lambda: None, test=True):
        self.state(path, "executing")
        self.log("|   - Entering x:Function.", 5)
        lines()
        self.ms += ms
        self.state(path, "passed" if verdict == "passed" else "failed")
        self.add("verdict", path=path, test=test, verdict=verdict, warnings=warnings, passes=list(passes), ms=ms,
                 reason=reason)

    def end(self, result, verdicts, closes=True):
        counts = dict(zip(("passed", "failed", "errors", "aborted", "notRun", "warned"), verdicts))
        self.add("run-end", status=0, result=result, reportName="", passed=result == "Passed", executed=1,
                 failedExecutions=0, tests=1, passes=1, warnings=0, aborts=0, failures=0, verdicts=counts,
                 seconds=round(self.ms / 1000, 3))
        if closes:
            self.file.close()


def everything(path):
    record = Record(path)
    record.add("suite-load", file="broken.xml", loaded=False, problems=[
        {"line": 14, "column": 7, "severity": "error", "rule": "schema", "message": "'lable' is not declared"},
        {"line": 20, "column": 3, "severity": "warning", "rule": "ignored", "message": NOT_READABLE}])
    long_label = "Symbolic links of a name long enough to need a second line on narrow screens"
    record.start("Power board", "suites/power-board.xml", [
        ("/", "x:TestSuite", "Power board", "Power board acceptance", False),
        ("/0", "x:InitGroup", "", "", False), ("/0/0", "x:Function", "OpenPort", "Open the port", False),
        ("/1", "x:Group", "Supply", "Supply voltages", False), ("/1/0", "x:Function", "Rail3", "3.3 V rail", True),
        ("/1/1", "x:Function", "Rail5", "5 V rail", True), ("/1/2", "x:Function", "Ripple", "Ripple under load", True),
        ("/2", "x:Group", "Links", "", False), ("/2/0", "x:NextIteration", "Depth", "", False),
        ("/2/0/0", "x:Function", "Symbolic", long_label, True), ("/2/1", "x:Function", "Hard", "Hard links", True),
        ("/3", "x:Group", "Operator", "", False), ("/3/0", "x:BooleanPopup", "Lamp", "The lamp", False),
        ("/3/1", "x:Function", "Sensor", "Read the sensor", True),
        ("/3/2", "x:Function", "Calibrate", "Calibrate", True)],
        {"serial": "PB-2026-00417", "station": "Bench 3", "note": NOT_READABLE})

    def measure(node, name, value, unit, lower, upper, passed):
        record.add("measurement", path=node, name=name, value=value, unit=unit, lower=lower, upper=upper,
                   passed=passed)

    def rail5():
        record.log("waiting for the rail ", second=4)
        record.log("settled", color=[0, 128, 0, 255], strength=700)
        measure("/1/1", "U(5V)", 4.61, "V", 4.75, 5.25, False)
        record.log("U(5V) = 4.61 V is below 4.75 V", 2, 0x20000000)
        record.log("blue on yellow", color=[0, 0, 160, 255], background=[255, 255, 120, 255], italic=True)
        record.log("pale yellow", color=[255, 255, 160, 255])
        record.log("black", color=[0, 0, 0, 255], strength=700)

    def ripple():
        record.log("the ripple is close to its limit", 4, color=[176, 96, 0, 255])
        measure("/1/2", "Ripple", 48.2, "mV", None, 50, True)

    def sensor():
        record.add("output", path="/3/1", stream="stderr", text="sensor: bus error\n")
        record.log("crashed: SIGSEGV at address 0x8", 1, 0x40000000)
        record.add("abort", text="crashed: SIGSEGV at address 0x8", by="crash")

    for node in ("/", "/0"):
        record.state(node, "executing")
    record.call("/0/0", "passed", 41.2, test=False, lines=lambda: record.log("Port opened at 115200 baud"))
    record.state("/0", "passed")
    record.state("/1", "executing")
    record.call("/1/0", "passed", 312, lines=lambda: measure("/1/0", "U(3V3)", 3.312, "V", 3.2, 3.4, True))
    record.call("/1/1", "failed", 1304, "U(5V) = 4.61 V is below 4.75 V", lines=rail5)
    record.call("/1/2", "passed", 2210, warnings=1, lines=ripple)
    record.state("/1", "failed")
    for node in ("/2", "/2/0"):
        record.state(node, "executing")
    for number in range(1, 6):
        record.add("pass", path="/2/0", number=number, iterator=2 ** number, variable="$Depth")
        reason = "Check failed: stat(path) == 0 (LinkTests.cpp:88)\n" + NOT_READABLE if number == 4 else ""
        record.call("/2/0/0", "failed" if reason else "passed", 9.3, reason, [number],
                    lines=lambda why=reason: record.log(why or "following the chain", 3, 0x20000000 if why else 0))
    record.state("/2/0", "failed")
    record.add("skip", path="/2/1")
    record.state("/2", "failed")
    for node in ("/3", "/3/0"):
        record.state(node, "executing")
    prompt = {"kind": "boolean", "text": "Is the green lamp on?", "yes": "It is", "no": "It is dark", "timeout": 60}
    record.add("prompt-open", **prompt, id=1)
    record.ms += 4200
    record.add("prompt", **prompt, answer=True, id=1)
    record.state("/3/0", "passed")
    record.add("verdict", path="/3/0", test=False, verdict="passed", warnings=0, passes=[], ms=4200, reason="")
    record.call("/3/1", "error", 600, "crashed: SIGSEGV at address 0x8", lines=sensor)
    record.state("/3", "failed")
    record.state("/", "failed")
    record.add("not-run", path="/2/1", reason="condition")
    record.add("not-run", path="/3/2", reason="stopped")
    record.end("Aborted", (6, 2, 1, 0, 2, 1))


def gathered(path):
    """Two records far apart: a test that did not run in a run that passed; a helper that failed, then an abort."""
    record = Record(path)
    nodes = [("/", "x:TestSuite", "Levels", "", False), ("/0", "x:Group", "", "Supply", False),
             ("/0/0", "x:Function", "Ask", "Ask for the level", False), ("/0/1", "x:Function", "Measure", "", True),
             ("/0/2", "x:Function", "Later", "", True)]
    for suite, helper in (("Morning", "passed"), ("Evening", "failed")):
        if suite == "Evening":
            record.ms += 48 * 3600e3
            record.begin()
        record.start(suite, suite.lower() + ".xml", nodes, {"serial": "PB-7", "note": ""})
        for node in ("/", "/0"):
            record.state(node, "executing")

        def ask():
            prompt = {"kind": "integer", "text": "Set the mask.\nThen read it.", "label": "Mask", "base": 16,
                      "initialize": True, "initial": 12, "min": 16, "max": 2 ** 64 - 1, "timeout": None}
            record.add("prompt-open", **prompt, id=1)
            record.add("prompt", **prompt, answer=300, id=1)

        def measure():
            for value, upper in ((None, 10), (0.1 + 0.2, 1e15), (12345678901234, None)):
                record.add("measurement", path="/0/1", name="U", value=value, unit="V", lower=0, upper=upper,
                           passed=value is not None)

        record.call("/0/0", helper, 20, "no answer" if helper == "failed" else "", test=False, lines=ask)
        record.call("/0/1", "passed", 20, lines=measure)
        record.add("skip", path="/0/2")
        record.state("/0", helper)
        record.state("/", helper)
        record.add("not-run", path="/0/2", reason="condition")
        record.log(f"the {suite.lower()} is over")
        if helper == "failed":
            record.add("abort", text="stopped by hand", by="operator")
        record.end({"failed": "Aborted", "passed": "Passed"}[helper], (1, 0, 0, 0, 1, 0), closes=False)
    record.add("vanished", signal=11, status=None, path="")
    record.file.close()


def deep(path):
    """A test below very many groups with long labels."""
    record = Record(path)
    nodes = ["/" + "/".join("0" * level) for level in range(240)]
    record.start("Deep", "deep.xml", [(node, "x:Group", "", f"Level {node.count('0')} {'w' * 300}", False)
                                      for node in nodes] + [(nodes[-1] + "/0", "x:Function", "Deepest", "", True)])
    for node in nodes:
        record.state(node, "executing")
    record.call(nodes[-1] + "/0", "failed", 1, "x" * 5000,
                lines=lambda: [record.log(f"line {number} of the test") for number in range(400)])
    for node in reversed(nodes):
        record.state(node, "failed")
    record.end("Failed", (0, 1, 0, 0, 0, 0))


def passes(path):
    """A loop with very many passes, of which the last fails."""
    record = Record(path)
    record.start("Endurance", "endurance.xml", [("/", "x:TestSuite", "Endurance", "", False),
                                                ("/0", "x:NextIteration", "Loop", "", False),
                                                ("/0/0", "x:Function", "Beat", "Beat", True)])
    record.state("/", "executing")
    record.state("/0", "executing")
    count = EVENTS // 6
    for number in range(1, count + 1):
        record.add("pass", path="/0", number=number, iterator=number, variable="$i")
        record.call("/0/0", "failed" if number == count else "passed", 0.8, "the last one" if number == count else "",
                    [number], lines=lambda: record.log(f"beat {number}"))
    record.state("/0", "failed")
    record.state("/", "failed")
    record.end("Failed", (count - 1, 1, 0, 0, 0, 0))


def lines(path):
    """One test that logs very many lines."""
    record = Record(path)
    record.start("Talker", "talker.xml", [("/", "x:TestSuite", "Talker", "", False),
                                          ("/0", "x:Function", "Talk", "Talk", True)])
    record.state("/", "executing")
    record.call("/0", "passed", 5000, lines=lambda: [record.log(f"line {number} of the talker")
                                                     for number in range(EVENTS)])
    record.state("/", "passed")
    record.end("Passed", (1, 0, 0, 0, 0, 0))


def wide(path):
    """Very many tests in groups, of which every other fails."""
    record = Record(path)
    groups = range(200)
    tests = range(EVENTS // 1000)
    record.start("Wide", "wide.xml", [("/", "x:TestSuite", "Wide", "", False)] + [
        node for group in groups for node in [(f"/{group}", "x:Group", f"Group {group}", "", False)] + [
            (f"/{group}/{test}", "x:Function", f"Test {group}.{test}", "", True) for test in tests]])
    record.state("/", "executing")
    for group in groups:
        record.state(f"/{group}", "executing")
        for test in tests:
            record.call(f"/{group}/{test}", *(("failed", 1, "returned false") if test % 2 else ("passed", 1)))
        record.state(f"/{group}", "failed")
    record.state("/", "failed")
    half = len(groups) * len(tests) // 2
    record.end("Failed", (half, half, 0, 0, 0, 0))


# ------------------------------------------------------------------------------------------------------------ browser

class Browser:
    """One page in a browser that is driven over the WebDriver protocol."""

    def __init__(self):
        self.profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        self.driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                       text=True, start_new_session=True)
        while "successfully on port" not in (line := self.driver.stdout.readline()):
            if not line:
                raise RuntimeError("chromedriver does not start")
        port = line.strip(" .\n").rsplit(" ", 1)[1]
        self.base = f"http://127.0.0.1:{port}/session"
        options = {"args": ["--headless", "--no-sandbox", "--disable-gpu", "--no-first-run", "--hide-scrollbars",
                            "--disable-background-networking", "--disable-component-update", "--disable-sync",
                            "--user-data-dir=" + self.profile.name]}
        always = {"goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}
        self.base += "/" + self.send("POST", "", {"capabilities": {"alwaysMatch": always}})["sessionId"]
        self.size(1200, 900)

    def close(self):
        try:
            self.send("DELETE", "")
        finally:
            os.killpg(self.driver.pid, signal.SIGTERM)  # the browser too, when it does not answer
            self.driver.wait()
            self.profile.cleanup()

    def send(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.base + path, data, {"Content-Type": "application/json"}, method=method)
        with urllib.request.urlopen(request, timeout=120) as answer:
            return json.load(answer)["value"]

    def devtools(self, command, **parameters):
        return self.send("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def size(self, width, height):
        self.devtools("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1,
                      mobile=False)

    def theme(self, name):
        self.devtools("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": name}])

    def open(self, path):
        """Milliseconds until the page can be used."""
        self.send("POST", "/url", {"url": "about:blank"})
        self.send("POST", "/url", {"url": "file://" + path})
        return self.run("return performance.getEntriesByName('ready')[0]?.startTime ?? -1")

    def run(self, script, *arguments):
        return self.send("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def wait(self, condition, seconds=5):
        end = time.monotonic() + seconds
        while not (value := self.run("return " + condition)) and time.monotonic() < end:
            time.sleep(0.02)
        return value

    def type(self, keys):
        actions = [{"type": kind, "value": key} for key in keys for kind in ("keyDown", "keyUp")]
        self.send("POST", "/actions", {"actions": [{"type": "key", "id": "keyboard", "actions": actions}]})

    def search(self, text):
        """Milliseconds until the tree shows what fits."""
        return self.run("""const search = document.getElementById("search");
            const begin = performance.now();
            search.value = arguments[0];
            query = search.value.toLowerCase();
            showTree();
            document.body.offsetHeight;
            return performance.now() - begin;""", text)

    def complaints(self):
        return [entry["message"] for entry in self.send("POST", "/se/log", {"type": "browser"})]

    def shot(self, path, whole=True):
        size = self.devtools("Page.getLayoutMetrics")["cssContentSize"]
        clip = {"x": 0, "y": 0, "width": size["width"], "height": min(size["height"], 12000), "scale": 1}
        data = self.devtools("Page.captureScreenshot", captureBeyondViewport=True, **({"clip": clip} if whole else {}))
        with open(path, "wb") as file:
            file.write(base64.b64decode(data["data"]))


# What is shown too faintly: texts whose contrast with what lies behind them is below 4.5.
FAINT = """
const parts = text => {
    const all = text.match(/[\\d.]+/g).map(Number);
    const color = text.startsWith("color(srgb") ? all.slice(0, 3).map(part => part * 255) : all.slice(0, 3);
    return [...color, all[3] ?? 1];
};
const light = color => color.slice(0, 3).map(part => part / 255)
    .map(part => part <= .04045 ? part / 12.92 : ((part + .055) / 1.055) ** 2.4)
    .reduce((sum, part, i) => sum + part * [.2126, .7152, .0722][i], 0);
const behind = element => {
    for (let at = element; at; at = at.parentElement) {
        const color = parts(getComputedStyle(at).backgroundColor);
        if (color[3] > .99) {
            return color;
        }
    }
    return [255, 255, 255, 1];
};
const faint = new Set();
const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
while (walker.nextNode()) {
    const text = walker.currentNode.data.trim();
    const element = walker.currentNode.parentElement;
    if (text && element.offsetParent && !element.closest(".aside, .skip, script, noscript")) {
        const [a, b] = [light(parts(getComputedStyle(element).color)), light(behind(element))];
        if ((Math.max(a, b) + .05) / (Math.min(a, b) + .05) < 4.45) {
            faint.add(element.className + ": " + text.slice(0, 40));
        }
    }
}
return [...faint];
"""


class Trial:
    """Checks, one line each; what does not hold is counted."""

    def __init__(self, folder, shots):
        self.folder = os.path.abspath(folder)
        self.shots = shots
        self.bad = 0
        self.browser = Browser()

    def check(self, what, holds, seen=""):
        self.bad += 0 if holds else 1
        print(f"{'ok ' if holds else 'BAD'} {what}{f': {seen}' if seen != '' else ''}", flush=True)

    def equal(self, what, actual, expected):
        self.check(what, actual == expected, actual if actual == expected else f"{actual!r}, expected {expected!r}")

    def open(self, name, limit=2000):
        taken = self.browser.open(os.path.join(self.folder, name + ".html"))
        self.check(f"{name} opens within {limit} ms", 0 <= taken <= limit, f"{taken:.0f} ms")

    def quiet(self, name):
        self.equal(f"{name}: the browser has nothing to complain of", self.browser.complaints(), [])

    def text(self, selector):
        found = self.browser.run("return document.querySelector(arguments[0])?.innerText.trim()", selector)
        return (found or "").replace("\u00a0", " ")

    def count(self, selector):
        return self.browser.run("return document.querySelectorAll(arguments[0]).length", selector)

    def picture(self, name, whole=True):
        if self.shots:
            self.browser.shot(os.path.join(self.shots, name + ".png"), whole)

    def demo(self):
        self.open("demo")
        self.equal("demo: verdict", self.text("h1"), "Passed")
        self.equal("demo: nothing failed", self.count(".card"), 0)
        self.equal("demo: prompts", self.count("#prompts-section tbody tr"), 3)
        self.check("demo: slowest executions", self.count(".slow li") == 15)
        self.picture("demo")
        self.quiet("demo")
        self.open("unanswered")
        self.equal("unanswered: verdict", self.text("h1"), "Failed")
        self.check("unanswered: the prompt is told first", "timed out" in self.text(".card"))

    def use(self):
        browser = self.browser
        self.open("everything")
        self.equal("verdict", self.text("h1"), "Error")
        self.equal("what did not pass", self.count(".card"), 3)
        self.check("a card says where", all(part in self.text(".card") for part in
                   ("Failed", "Supply voltages / 5 V rail", "/1/1", "power-board.xml:7", "1.30 s", "below 4.75 V")))
        self.check("a card says in which pass", "[4] $Depth=16" in self.text(".card:nth-child(2) h3"))
        self.check("a card has the log in its colours", self.count(".card .line .tone") > 3)
        chips = self.browser.run("return [...document.querySelectorAll('.chip')].map(one => one.ariaLabel)")
        self.equal("chips count as the header does, and tell other steps apart", chips, [
            "Passed: 6 tests, 2 other steps", "Failed: 2 tests", "Error: 1 test", "Not run: 2 tests",
            "Skipped: 1 test", "With warnings: 1 test"])
        self.check("the head says what came first", "First: broken.xml: 'lable'" in self.text("#verdict"))
        names = [node["name"]["value"] for node in browser.devtools("Accessibility.getFullAXTree")["nodes"]
                 if node.get("role", {}).get("value") in ("button", "link") and not node["ignored"]]
        self.check("a screen reader hears of a test once", "5 V rail, Function Rail5, /1/1, Failed" in names)
        self.equal("and no two links or buttons alike", [name for name in set(names) if names.count(name) > 1
                                                         and "Power board: " not in name], [])
        self.check("texts are shown as texts", "\\x1B[31mred\\x1B[0m \\u202Etxt </script><img" in self.text("#main"))
        self.equal("nothing was made of them", self.count("img"), 0)
        self.equal("measurements", self.count("#measurements-section tbody tr"), 3)
        self.check("a prompt has its answer", "It is" in self.text("#prompts-section tbody"))
        is_open = "return document.querySelector(`[data-id='${arguments[0]}'] .fold`).getAttribute('aria-expanded')"
        self.equal("a failed branch is open", browser.run(is_open, "s2/1"), "true")
        self.equal("a passed one is not", browser.run(is_open, "s2/0"), "false")

        browser.run("document.querySelector(`[data-id='s2/0'] .fold`).focus()")
        browser.type(["\ue014"])  # right
        self.equal("the right arrow unfolds", browser.run(is_open, "s2/0"), "true")
        browser.type(["\ue014"])
        self.equal("and goes to the first child", browser.run("return document.activeElement.closest('li').dataset.id"),
                   "s2/0/0")
        browser.type(["\ue012", "\ue012"])  # left
        self.equal("the left arrow goes back and folds", browser.run(is_open, "s2/0"), "false")

        browser.type(["/"])
        self.equal("a slash goes to the search", browser.run("return document.activeElement.id"), "search")
        browser.type(list("baud"))
        browser.wait("document.documentElement.dataset.shown === '1'")
        self.equal("searching a log text", self.text("#found"), "1 node and 1 line")
        self.equal("marks it", self.text("#tree mark"), "baud")
        browser.type(["\ue00c"])  # escape
        self.equal("escape ends the search", browser.run("return document.documentElement.dataset.shown"), "all")
        browser.run("document.querySelector('.chip.failed').click()")
        left = browser.run("return [...document.querySelectorAll('#tree li')].map(item => item.dataset.id)")
        self.equal("the filter leaves what failed, and what is around it", left,
                   ["s2/", "s2/1", "s2/1/1", "s2/2", "s2/2/0", "s2/2/0/0"])
        browser.run("location.hash = '#s2/0/0'")
        self.check("a link unfolds the tree and drops a filter that hides its test", browser.wait(
            "document.activeElement.closest('li')?.dataset.id === 's2/0/0'"))
        self.quiet("everything")
        browser.run("""const script = document.createElement("script");
            script.textContent = "window.isForeign = true";
            const image = document.createElement("img");
            image.src = "file:///usr/share/pixmaps/debian-logo.png";
            document.body.append(script, image);""")
        self.equal("a script that is not the page's own does not run", browser.run("return window.isForeign"), None)
        self.equal("nor is anything fetched", sum("violates" in text for text in browser.complaints()), 2)

    def gathered(self):
        browser = self.browser
        self.open("gathered")
        self.equal("gathered: verdict", self.text("h1"), "Error")
        self.check("gathered: what vanished outside of the runs is no suite's", "outside of a run" in
                   self.text("#verdict .note") and self.count(".note.vanished") == 1)
        suites = browser.run("return [...document.querySelectorAll('.suite > summary')].map(one => one.innerText)")
        self.check("gathered: each suite has its own verdict", [text.split()[0] for text in suites] ==
                   ["Passed", "Aborted"])
        self.check("gathered: and its facts in sight", all(part in suites[0] for part in
                   ("morning.xml", "library Morning", "serial: PB-7", "note: (empty)")))
        self.check("gathered: the helper that failed is counted", "1 other step failed" in
                   " ".join(self.text(".counts").split()))
        state = "return document.querySelector(`[data-id='${arguments[0]}']`).className"
        self.equal("gathered: a group with a test that did not run is not green", browser.run(state, "s1/0"), "not-run")
        self.equal("gathered: the root is as the run", [browser.run(state, node) for node in ("s1/", "s2/")],
                   ["passed", "aborted"])
        row = "return [...document.querySelector(arguments[0]).cells].map(cell => cell.innerText.trim())"
        self.equal("gathered: a hexadecimal prompt", browser.run(row, "#prompts-section tbody tr")[1:4], [
            "Mask\nSet the mask.\nThen read it.\nMorning: Supply / Ask for the level",
            "0x10 to 0xFFFFFFFFFFFFFFFF, at first 0xC", "0x12C"])
        cells = [browser.run(row, f"#measurements-section tbody tr:nth-child({i})") for i in (1, 2, 3)]
        self.equal("gathered: numbers for people", [[part.replace("\u00a0", " ") for part in (cell[2], cell[5])]
                                                    for cell in cells],
                   [["not finite", "10"], ["0.3", "1 × 10¹⁵"], ["1.23456789 × 10¹³", "none"]])
        self.check("gathered: a list of the slowest, no empty axis", self.count(".axis") == 0 and browser.run(
            "return document.querySelector('.slow .bar').offsetWidth") > 100)
        self.check("gathered: tests that did not run have their suite", "Evening: Supply / Later" in
                   self.text("#not-run-section"))
        browser.search("evening is over")
        self.equal("gathered: a search finds what is outside of the tree", self.text("#found"), "0 nodes and 1 line")
        browser.size(360, 780)
        fits = browser.run("""const box = document.querySelector("#prompts-section .scroll");
            return box.scrollWidth > box.clientWidth && document.documentElement.scrollWidth <= 360""")
        self.check("gathered: a table scrolls in its own box", fits)
        browser.size(1200, 900)
        self.quiet("gathered")

    def deep(self):
        browser = self.browser
        target = "return document.querySelector('.target > .row').getBoundingClientRect()"
        for width in (1200, 360):
            browser.size(width, 900)
            self.open("deep")
            browser.run("document.querySelector('.to-tree').click()")
            self.check(f"deep: {width} pixels are enough", browser.wait("document.querySelector('.target')") and
                       browser.run("return document.documentElement.scrollWidth") <= width)
            room = browser.run(target)
            self.check(f"deep: {width}: the test has room", room["width"] > width / 2 and room["right"] <= width, room)
            height = browser.run("return document.querySelector('.card').offsetHeight")
            self.check(f"deep: {width}: a card is no longer than a screen", height < 900, height)
        browser.size(1200, 900)
        shown = browser.run("""const reason = document.querySelector(".reason");
            reason.querySelector(".more").click();
            return reason.innerText.length""")
        self.equal("deep: the whole is there on demand", shown, 5000)
        self.open("deep")
        paper = self.paper()
        self.check("deep: the tree is on the paper", "Deepest" in paper[paper.index("Tree"):])
        self.check("deep: the log of the test too, cut in words", all(part in paper for part in (
            "line 0 of the test", "line 399 of the test", "lines in between, not printed", "cut: the page shows all")))
        browser.run("dispatchEvent(new Event('afterprint'))")
        self.equal("deep: boxes that paper opened are closed again", self.count(".card details[open]"), 0)
        self.quiet("deep")

    def paper(self):
        """What is printed, as text."""
        self.browser.devtools("Emulation.setEmulatedMedia", media="print")
        text = self.browser.run("dispatchEvent(new Event('beforeprint')); return document.body.innerText")
        self.browser.devtools("Emulation.setEmulatedMedia", media="")
        return text

    def looks(self):
        browser = self.browser
        for theme in ("light", "dark"):
            browser.theme(theme)
            self.open("everything")
            browser.run("document.querySelectorAll('.fold[aria-expanded=false]').forEach(one => one.click())")
            self.equal(f"{theme}: the theme of the system", browser.run(
                "return document.documentElement.dataset.theme"), theme)
            self.equal(f"{theme}: nothing is too faint", browser.run(FAINT), [])
            self.picture(theme)
            browser.size(360, 780)
            wide = browser.run("return document.documentElement.scrollWidth")
            self.check(f"{theme}: 360 pixels are enough", wide <= 360, wide)
            self.picture("narrow-" + theme)
            browser.size(1200, 900)
        browser.run("document.getElementById('theme').click()")
        self.equal("the button overrides the system", browser.run("return document.documentElement.dataset.theme"),
                   "light")
        browser.run("localStorage.clear()")
        browser.theme("light")
        pdf = base64.b64decode(browser.devtools("Page.printToPDF")["data"])
        self.check("it prints", pdf.startswith(b"%PDF"), f"{len(pdf)} bytes")
        if self.shots:
            with open(os.path.join(self.shots, "print.pdf"), "wb") as file:
                file.write(pdf)

    def address(self):
        """A link to a test from elsewhere."""
        self.browser.send("POST", "/url", {"url": "about:blank"})
        self.browser.send("POST", "/url", {"url": f"file://{self.folder}/everything.html#s2/2/0/0"})
        self.equal("a link from elsewhere", self.browser.run(
            "return document.activeElement.closest('li')?.dataset.id"), "s2/2/0/0")

    def large(self):
        browser = self.browser
        self.open("passes")
        elements = self.count("*")
        self.check("passes: few elements at first", elements < 3000, elements)
        self.check("passes: the one that failed is told", "the last one" in self.text(".card"))
        taken = browser.search("beat 16000")
        self.check("passes: a search within 1000 ms", taken < 1000, f"{taken:.0f} ms")
        self.check("passes: finds it", "beat 16000" in self.text("#tree .lines"))
        browser.run("resetChoice()")
        below = browser.run("""const top = id => document.querySelector(`[data-id='${id}'] > .row`).offsetTop;
            return top("s1/0/0") - top("s1/0")""")
        self.check("passes: what failed is not buried below them", below < 200, f"{below} pixels")
        browser.run("location.hash = '#s1/0/0'")
        browser.wait("document.querySelector(`[data-id='s1/0/0'] .line`)")
        self.check("passes: a test of all passes unfolds", self.count(".line") > 0, self.count(".line"))
        self.quiet("passes")
        self.open("lines")
        begin = time.monotonic()
        browser.run("location.hash = '#s1/0'")
        shown = browser.wait("document.querySelectorAll('#tree .line').length")
        self.check("lines: 100,000 lines unfold", shown and shown < 3000,
                   f"{shown} of them made in {(time.monotonic() - begin) * 1000:.0f} ms")
        browser.run("document.querySelector('.lines').scrollIntoView({block: 'end'})")
        self.check("lines: the last is there at the end", browser.wait(
            "document.querySelector('.lines').lastElementChild.innerText.includes('line 99999')"))
        for place in range(1, 40):
            browser.run("scrollTo(0, document.body.scrollHeight * arguments[0] / 40)", place)
            time.sleep(0.02)
        elements = self.count("*")
        self.check("lines: what is out of sight is let go", elements < 6000, elements)
        taken = browser.search("line 99998 ")
        self.check("lines: a search within 1000 ms", taken < 1000, f"{taken:.0f} ms")
        self.equal("lines: finds it", self.text("#found"), "1 node and 1 line")
        self.quiet("lines")

    def many(self):
        browser = self.browser
        self.open("wide")
        taken = browser.run("const begin = performance.now(); showTree(true); document.body.offsetHeight;"
                            "return performance.now() - begin")
        self.check("wide: 20,000 nodes unfold within 1000 ms", taken < 1000, f"{taken:.0f} ms")
        browser.run("location.hash = '#s1/150/77'")
        self.check("wide: a link leads to a test far down", browser.wait(
            "document.activeElement.closest('li')?.dataset.id === 's1/150/77'"))
        browser.run("showTree(true); location.hash = '#s1/120/33'")
        tops = []
        for _ in range(4):
            time.sleep(.4)
            tops.append(browser.run("return document.querySelector('.target > .row')?.getBoundingClientRect().top"))
        self.check("wide: also when all is unfolded, and stays there", 0 <= min(tops) and max(tops[1:]) < 300, tops)
        elements = self.count("*")
        self.check("wide: few elements", elements < 6000, elements)
        begin = time.monotonic()
        browser.devtools("Page.printToPDF")
        self.check("wide: it prints within 20 s", time.monotonic() - begin < 20, f"{time.monotonic() - begin:.1f} s")
        self.equal("wide: all that failed is on the paper", self.count(".chunk:not(.unprinted) .card")
                   + self.count("#not-passed-rest li"), 10000)
        paper = self.paper()
        self.equal("wide: 2000 lines of the tree", self.count("#paper-tree li"), 2000)
        self.check("wide: the paper says what it lacks", "18,201 further nodes, not printed" in paper
                   and "The other 9,800 follow without their logs" in paper)
        self.quiet("wide")

    def all(self):
        try:
            for part in (self.demo, self.use, self.gathered, self.looks, self.address, self.deep, self.large,
                         self.many):
                part()
        finally:
            self.browser.close()
        print(f"{self.bad} bad")
        return 1 if self.bad else 0


def main():
    command, folder = sys.argv[1:3]
    if command == "records":
        for make in (everything, gathered, deep, passes, lines, wide):
            make(os.path.join(folder, make.__name__ + ".jsonl"))
        return 0
    return Trial(folder, sys.argv[3] if len(sys.argv) > 3 else "").all()


if __name__ == "__main__":
    sys.exit(main())
