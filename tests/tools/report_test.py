#!/usr/bin/python3
"""The page of sysconfctl report in Chromium.

usage: report_test.py SYSCONFCTL SOURCE-DIRECTORY

With SYSCONF_SCREENSHOTS=DIRECTORY in the environment, the screenshots are kept there.
"""

import base64
import fcntl
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SYSCONFCTL = sys.argv[1]
SOURCE = pathlib.Path(sys.argv[2])
FIRST_FREE = 10  # descriptors: 3 and 4 are those of the browser

HOSTILE = "</td></script><script>window.hacked = 1</script><img src=x onerror='hacked=1'>&amp;\"'"


class Browser:
    """Chromium without a window, controlled over a pipe."""

    def __init__(self, folder):
        program = shutil.which("chromium")
        if program is None:
            raise AssertionError("chromium is not installed; scripts/test installs it")
        commands, self.write_to = os.pipe()
        self.read_from, events = os.pipe()
        descriptors = [fcntl.fcntl(one, fcntl.F_DUPFD, FIRST_FREE) for one in (commands, events)]

        def connect():
            os.dup2(descriptors[0], 3)
            os.dup2(descriptors[1], 4)

        self.process = subprocess.Popen(
            [program, "--headless=new", "--no-sandbox", "--disable-gpu", "--no-first-run",
             "--disable-dev-shm-usage", "--disable-background-networking", "--window-size=1280,900",
             f"--user-data-dir={folder}", "--remote-debugging-pipe", "about:blank"],
            preexec_fn=connect, pass_fds=(3, 4), stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        for one in (commands, events, *descriptors):
            os.close(one)
        self.pending = b""
        self.events = []
        self.number = 0
        self.session = None
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target,
                                 flatten=True)["sessionId"]
        for domain in ("Page", "Network", "Log", "Runtime"):
            self.call(f"{domain}.enable")

    def close(self):
        self.process.kill()
        self.process.wait()
        os.close(self.write_to)
        os.close(self.read_from)

    def message(self):
        while b"\0" not in self.pending:
            data = os.read(self.read_from, 65536)
            if not data:
                raise AssertionError("Chromium has ended")
            self.pending += data
        text, self.pending = self.pending.split(b"\0", 1)
        return json.loads(text)

    def call(self, method, **parameters):
        self.number += 1
        request = {"id": self.number, "method": method, "params": parameters}
        if self.session is not None:
            request["sessionId"] = self.session
        os.write(self.write_to, json.dumps(request).encode() + b"\0")
        while True:
            message = self.message()
            if message.get("id") == self.number:
                if "error" in message:
                    raise AssertionError(f"{method}: {message['error']}")
                return message["result"]
            self.events.append(message)

    def wait(self, method):
        while not any(event.get("method") == method for event in self.events):
            self.events.append(self.message())

    def open(self, path):
        self.events.clear()
        self.call("Page.navigate", url=path.as_uri())
        self.wait("Page.loadEventFired")

    def value(self, expression):
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True)
        if "exceptionDetails" in result:
            raise AssertionError(result["exceptionDetails"])
        return result["result"].get("value")

    def scheme(self, name):
        self.call("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": name}])

    def screenshot(self):
        size = self.call("Page.getLayoutMetrics")["cssContentSize"]
        clip = {"x": 0, "y": 0, "width": size["width"], "height": min(size["height"], 4000),
                "scale": 1}
        return base64.b64decode(self.call("Page.captureScreenshot", clip=clip,
                                          captureBeyondViewport=True)["data"])


def hostile_deployment(folder):
    nodes = {"nodeList": {HOSTILE: {
        "assignedToTenancy": HOSTILE,
        "extAttr": {"hostType": HOSTILE, "HOSTID": HOSTILE},
        "IPAddresses": [{"IP": HOSTILE, "usage": ["service", HOSTILE]}]}}}
    config = {"databases": {HOSTILE: [{"type": HOSTILE, "passwd": "hush-hush"}]},
              "processes": {HOSTILE: {"nodeId": HOSTILE, "wss": {"ip": HOSTILE}}}}
    for name in ("nodelist.json", "nodelists.json"):
        target = folder / "etc/sysconf" / name
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(json.dumps(nodes))
    (folder / "app.json").write_text(json.dumps(config))
    return {"APP_CONF_FILE": str(folder / "app.json"), "PROCESS_INSTANCE_ID": HOSTILE,
            "APP_ROOT": str(folder), "TOLM_ROOT": str(folder)}


# The contrast of each text with its background, if that is a plain colour.
CONTRASTS = """(() => {
  const luminance = (color) => {
    const parts = color.match(/[\\d.]+/g).slice(0, 3).map((part) => {
      const share = part / 255;
      return share <= 0.03928 ? share / 12.92 : ((share + 0.055) / 1.055) ** 2.4;
    });
    return 0.2126 * parts[0] + 0.7152 * parts[1] + 0.0722 * parts[2];
  };
  const transparent = (color) => color === "rgba(0, 0, 0, 0)";
  const backdrop = (element) => {
    for (let at = element; at; at = at.parentElement) {
      const color = getComputedStyle(at).backgroundColor;
      if (!transparent(color)) return color;
    }
    return "rgb(255, 255, 255)";
  };
  const contrast = (one, other) => {
    const [high, low] = [luminance(one), luminance(other)].sort((a, b) => b - a);
    return (high + 0.05) / (low + 0.05);
  };
  const texts = [...document.querySelectorAll("p, dt, dd, th, td, code, pre, b, li, h1, h2, h3")]
    .map((e) => [e.tagName, contrast(getComputedStyle(e).color, backdrop(e))]);
  const labels = [...document.querySelectorAll("svg .node")].map((group) => ["svg", contrast(
    getComputedStyle(group.querySelector("text")).fill,
    getComputedStyle(group.querySelector("path, polygon")).fill)]);
  return [...texts, ...labels];
})()"""


class Report(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp())
        cls.browser = Browser(cls.folder / "profile")

    @classmethod
    def tearDownClass(cls):
        cls.browser.close()
        shutil.rmtree(cls.folder, ignore_errors=True)

    def page(self, *arguments, environment=None):
        path = self.folder / f"{self.id()}.html"
        subprocess.run([SYSCONFCTL, "report", "-o", str(path), *arguments], check=True,
                       env={**os.environ, **(environment or {})})
        self.browser.open(path)
        return path

    def sample(self, name):
        return self.page("--env-file", str(SOURCE / "samples" / name))

    def test_Page_RequestsNothingAndHasNoErrors(self):
        path = self.sample("two-tenancies/east-access-1.env")
        urls = [event["params"]["request"]["url"] for event in self.browser.events
                if event.get("method") == "Network.requestWillBeSent"]
        self.assertEqual(urls, [path.as_uri()])
        # Script errors and violations of the page's policy are logged here.
        entries = [event for event in self.browser.events if event.get("method") in
                   ("Log.entryAdded", "Runtime.exceptionThrown")]
        self.assertEqual(entries, [])

    def test_Sections_HaveWhatTheCommandsShow(self):
        self.sample("two-tenancies/east-access-1.env")
        text = self.browser.value("document.body.innerText")
        file = ["--env-file", str(SOURCE / "samples/two-tenancies/east-access-1.env")]

        def run(*command):
            return json.loads(subprocess.run([SYSCONFCTL, *command, *file, "-o", "json"],
                                             capture_output=True, check=True).stdout)

        for one in run("explain", "--all")["explanations"]:
            self.assertIn(one["verdict"], text)
        for node in run("nodes")["nodes"]:
            self.assertIn(node["id"], text)
        for finding in run("check")["findings"]:
            self.assertIn(finding["text"], text)
        self.assertEqual(self.browser.value("document.querySelectorAll('svg .node').length"),
                         13)  # twelve nodes and the process

    def test_Search_ShowsTheRowsWithAllWords(self):
        self.sample("two-tenancies/east-access-1.env")

        def shown(words):
            return self.browser.value(f"""(() => {{
                const input = document.querySelector("#search input");
                input.value = {json.dumps(words)};
                input.dispatchEvent(new Event("input"));
                return [...document.querySelectorAll("#nodes tbody tr")]
                    .filter((row) => row.offsetHeight > 0)
                    .map((row) => row.querySelector("th").textContent);
            }})()""")

        self.assertEqual(len(shown("")), 12)
        self.assertEqual(shown("WEST data"), ["west-data-1", "west-data-2"])
        self.assertEqual(self.browser.value("document.getElementById('matches').textContent"),
                         "2 of 12 nodes")
        self.assertEqual(shown("203.0.113.121"), ["east-collect-1"])
        self.assertEqual(shown("<b>"), [])

    def test_WithoutScripts_EverythingIsThereButTheSearch(self):
        self.browser.call("Emulation.setScriptExecutionDisabled", value=True)
        try:
            self.sample("two-tenancies/east-access-1.env")
            self.assertEqual(self.browser.value("document.getElementById('search').offsetHeight"),
                             0)
            heights = self.browser.value("""[...document.querySelectorAll("#nodes tbody tr")]
                .map((row) => row.offsetHeight)""")
            self.assertEqual(len(heights), 12)
            self.assertGreater(min(heights), 0)
        finally:
            self.browser.call("Emulation.setScriptExecutionDisabled", value=False)

    def test_HostileTexts_AreShownAndNotInterpreted(self):
        deployment = self.folder / "hostile"
        self.page(environment=hostile_deployment(deployment))
        self.assertIsNone(self.browser.value("window.hacked"))
        self.assertEqual(self.browser.value("document.querySelectorAll('img, iframe').length"), 0)
        self.assertEqual(self.browser.value("document.scripts.length"), 1)
        for place in ("#nodes tbody th", "#nodes tbody td", "#answers td", "header dd",
                      "#picture svg"):
            text = self.browser.value(f"""[...document.querySelectorAll({json.dumps(place)})]
                .map((element) => element.textContent).join("\\n")""")
            self.assertIn(HOSTILE, text.replace("\u00a0", " "), place)
        self.assertNotIn("hush-hush", self.browser.value("document.documentElement.outerHTML"))

    def test_BothSchemes_AreReadable(self):
        pictures = {}
        for sample in ("ha-pair/standby.env", "two-tenancies/east-access-1.env"):
            self.sample(sample)
            for scheme in ("light", "dark"):
                self.browser.scheme(scheme)
                back = self.browser.value("getComputedStyle(document.body).backgroundColor")
                self.assertEqual(back, {"light": "rgb(255, 255, 255)",
                                        "dark": "rgb(23, 25, 28)"}[scheme])
                contrasts = self.browser.value(CONTRASTS)
                self.assertGreater(len([one for one in contrasts if one[0] == "svg"]), 2)
                self.assertEqual([one for one in contrasts if one[1] < 4.5], [], scheme)
                pictures[f"{pathlib.Path(sample).stem}-{scheme}.png"] = self.browser.screenshot()
        kept = os.environ.get("SYSCONF_SCREENSHOTS")
        for name, picture in pictures.items() if kept else ():
            (pathlib.Path(kept) / name).write_bytes(picture)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
