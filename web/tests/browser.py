"""The page in a real browser, driven as a hand would: real mouse events, real keys, files through the file field."""
import contextlib
import json
import pathlib
import tempfile
import time

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By

PATIENCE = 90  # seconds until a state has to come about, on a busy machine
ARGUMENTS = ("--headless=new", "--no-sandbox", "--use-gl=angle", "--use-angle=swiftshader",
             "--enable-unsafe-swiftshader", "--hide-scrollbars", "--disable-dev-shm-usage")


class Page:
    """One browser with the network taken away. `pictures` is a folder for what it looks like."""

    def __init__(self, pictures, width=1280, height=800):
        options = webdriver.ChromeOptions()
        for argument in ARGUMENTS:
            options.add_argument(argument)
        # Every file that is saved, without asking.
        options.add_experimental_option("prefs", {"profile.default_content_setting_values.automatic_downloads": 1})
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.driver.set_script_timeout(PATIENCE)
        self.pictures = pictures
        self.downloads = pathlib.Path(tempfile.mkdtemp())
        self.command("Network.enable")
        self.command("Network.emulateNetworkConditions", offline=True, latency=0, downloadThroughput=0, uploadThroughput=0)
        self.command("Browser.setDownloadBehavior", behavior="allow", downloadPath=str(self.downloads))
        self.size(width, height)

    def command(self, name, **arguments):
        return self.driver.execute_cdp_cmd(name, arguments)

    def size(self, width, height, theme="light"):
        self.command("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        self.command("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": theme}])

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def until(self, condition, what):
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end:
            found = condition()
            if found:
                return found
            time.sleep(0.05)
        raise AssertionError(f"{what} never came; the console says {self.console()}")

    def ready(self):
        def drawn():
            state = self.run("const p = document.getElementById('problem'); return [document.body.dataset.state,"
                             "document.body.dataset.drapes, p.hidden ? '' : p.innerText]")
            if state[0] in ("ready", "failed") and state[2]:
                raise AssertionError(f"the page says: {state[2]}")
            return state[0] == "ready" and state[1]

        self.until(drawn, "a drape")

    def open(self, path):
        self.driver.get(pathlib.Path(path).resolve().as_uri())
        self.ready()

    def drapes(self):
        return int(self.run("return document.body.dataset.drapes ?? 0"))

    @contextlib.contextmanager
    def drape(self):
        """Waits for the drape that what is done inside leads to."""
        before = self.drapes()
        yield
        self.until(lambda: self.drapes() > before, "another drape")
        self.ready()

    def element(self, name):
        return self.driver.find_element(By.ID, name)

    def text(self, name):
        return self.run("return document.getElementById(arguments[0]).innerText", name)

    def choose_file(self, path):
        self.element("open").send_keys(str(path))

    def sample(self, file):
        with self.drape():
            self.run("const s = document.getElementById('samples'); s.value = arguments[0];"
                     "s.dispatchEvent(new Event('change'))", file)

    def type(self, name, value):
        self.run("const e = document.getElementById(arguments[0]); e.value = arguments[1];"
                 "e.dispatchEvent(new Event('change'))", name, str(value))

    def click(self, name):
        self.run("document.getElementById(arguments[0]).click()", name)

    def press(self, key, code, modifiers=0):
        for kind in ("keyDown", "keyUp"):
            self.command("Input.dispatchKeyEvent", type=kind, key=key, code=code, modifiers=modifiers)

    def middle_of(self, name):
        return self.run("const b = document.getElementById(arguments[0]).getBoundingClientRect();"
                        "return [b.left + b.width / 2, b.top + b.height / 2]", name)

    def settled(self, name):
        """Where a mark has come to rest."""
        places = [None]

        def resting():
            places.append(self.middle_of(name))
            time.sleep(0.25)
            return places[-1] if places[-1] == places[-2] else None

        return self.until(resting, f"{name} at rest")

    def mouse(self, kind, x, y, buttons=0, clicks=1):
        self.command("Input.dispatchMouseEvent", type=kind, x=x, y=y, buttons=buttons, clickCount=clicks,
                     button="none" if kind == "mouseMoved" and not buttons else "left")

    def drag(self, name, moves):
        """Takes hold of a mark, moves it by steps of pixels, each until a drape has followed, and lets go."""
        x, y = self.settled(name)
        self.mouse("mouseMoved", x, y)
        self.mouse("mousePressed", x, y, 1)
        for right, down in moves:
            x, y = x + right, y + down
            before = self.drapes()
            self.mouse("mouseMoved", x, y, 1)
            self.until(lambda: self.drapes() > before, "a drape while dragging")
        with self.drape():
            self.mouse("mouseReleased", x, y)

    def fingers(self, *paths):
        """Puts fingers down, one per path of places, moves all along theirs and lifts them."""
        self.command("Emulation.setTouchEmulationEnabled", enabled=True, maxTouchPoints=5)
        for step, places in enumerate(zip(*paths)):
            points = [{"x": x, "y": y, "id": number} for number, (x, y) in enumerate(places)]
            self.command("Input.dispatchTouchEvent", type="touchMove" if step else "touchStart", touchPoints=points)
            time.sleep(0.05)
        self.command("Input.dispatchTouchEvent", type="touchEnd", touchPoints=[])
        self.command("Emulation.setTouchEmulationEnabled", enabled=False)

    def saved(self, kind):
        """Bytes of a file that the page saves."""
        before = set(self.downloads.iterdir())
        self.run("document.querySelector(`[data-save=\"${arguments[0]}\"]`).click()", kind)

        def whole():
            new = [path for path in set(self.downloads.iterdir()) - before if path.suffix not in (".crdownload", ".tmp")]
            return new[0] if new and new[0].stat().st_size and not new[0].name.startswith(".") else None

        path = self.until(whole, f"a file of kind {kind}")
        data = path.read_bytes()
        path.unlink()  # the next one of this name would take its place unseen
        return data

    def report(self):
        return json.loads(self.saved("json"))

    def summary(self):
        """The program's words, name by name."""
        return self.run("const names = [...document.querySelectorAll('#summary dt')];"
                        "return Object.fromEntries(names.map((n) => [n.textContent, n.nextSibling.textContent]))")

    def problem(self):
        return self.until(lambda: self.run("const p = document.getElementById('problem');"
                                           "return p.hidden ? '' : p.querySelector('p').textContent"), "a message")

    def console(self):
        return [entry["message"] for entry in self.driver.get_log("browser") if entry["level"] in ("SEVERE", "WARNING")]

    def picture(self, name):
        time.sleep(0.6)
        self.pictures.mkdir(parents=True, exist_ok=True)
        self.driver.save_screenshot(str(self.pictures / f"{name}.png"))

    def quit(self):
        self.driver.quit()
