"""A browser without a display, and pages of "tev view" in it, opened as files as readers open them."""

import base64
import io
import json
import re
import shutil
import time
import zlib

import numpy
from PIL import Image
from selenium import webdriver
from selenium.common.exceptions import WebDriverException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By

WAITS = 10000  # turns of 10 ms at least; far above what any page takes
NEEDED = "chromium", "chromedriver"
SWITCHES = ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--use-gl=angle",
            "--use-angle=swiftshader", "--enable-unsafe-swiftshader", "--disable-gpu-compositing",
            "--hide-scrollbars", "--disable-extensions", "--disable-background-networking", "--no-first-run",
            "--window-size=1000,600")  # narrower ones have their controls above the view


class Wrong(Exception):
    """What is wrong with a page."""


def fail(text):
    raise Wrong(text)


def expect(got, wanted, what):
    if got != wanted:
        fail(f"{what}: {got!r} in place of {wanted!r}")


def same(before, after):
    """Which part of the pixels is as it was."""
    if before.shape != after.shape:
        fail("the pictures have other sizes")
    return numpy.all(before == after, axis=2).mean()


def differ(before, after, what, least=0.005):
    """That so large a part of the pixels is not as it was."""
    share = 1 - same(before, after)
    if share < least:
        fail(f"{what}: only {share:.2%} of the pixels change")


class Browser:
    """One browser, which shows one page after the other, each loaded anew."""

    def __init__(self):
        self.driver = None

    def __enter__(self):
        for program in NEEDED:
            if shutil.which(program) is None:
                fail(f"{program} is missing: pages are tested in a browser (./dev lists its packages)")
        options = webdriver.ChromeOptions()
        for switch in SWITCHES:
            options.add_argument(switch)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
        return self

    def __exit__(self, *_):
        if self.driver:
            self.driver.quit()

    def page(self, path, first=""):
        """A page; "first" is a script that runs before those of the page."""
        return Page(self.driver, path, first)


class Page:
    """A page as it has just been loaded. Whoever leaves it expects no error on the console."""

    def __init__(self, driver, path, first=""):
        self.driver = driver
        self.path = path
        self.first = first

    def __enter__(self):
        added = self.driver.execute_cdp_cmd(
            "Page.addScriptToEvaluateOnNewDocument", {"source": self.first})
        self.driver.get("file://" + self.path)
        self.driver.execute_cdp_cmd("Page.removeScriptToEvaluateOnNewDocument", added)
        self.wait("document.body.dataset.ready")
        expect(self.run("return document.body.dataset.ready"), "yes", "ready")
        return self

    def __exit__(self, kind, *_):
        errors = [each for each in self.driver.get_log("browser") if each["level"] == "SEVERE"]
        if kind is None and errors:
            fail(f"errors on the console: {errors}")

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def wait(self, condition):
        for _ in range(WAITS):
            if self.run("return Boolean(" + condition + ")"):
                return
            time.sleep(0.01)
        fail("in vain waited for " + condition)

    def settle(self, script="", *arguments):
        """Waits for what follows from a script or from a choice: blocks that are unpacked, and a picture."""
        self.driver.execute_async_script(script + """;
            const done = arguments[arguments.length - 1];
            const wait = () => requestAnimationFrame(
              () => document.body.dataset.asked === document.body.dataset.shown ? done() : wait());
            wait();""", *arguments)

    def frame(self):
        """Waits until what was asked for is drawn."""
        self.driver.execute_async_script(
            "const done = arguments[0]; requestAnimationFrame(() => done())")

    # --- What a reader sees ---------------------------------------------------------------------

    def model(self):
        """What the script of the page reads."""
        text = open(self.path, encoding="utf-8").read()
        packed = re.search(r'id="block-model">([^<]*)<', text)[1]
        return json.loads(zlib.decompress(base64.b64decode(packed)))

    def text(self, name):
        return self.run("return document.getElementById(arguments[0]).textContent", name)

    def texts(self, selector):
        return self.run("return [...document.querySelectorAll(arguments[0])].map((each) => each.textContent)",
                        selector)

    def get(self, name, what):
        return self.run("return document.getElementById(arguments[0])[arguments[1]]", name, what)

    def is_seen(self, name):
        return self.driver.find_element(By.ID, name).is_displayed()

    def pixels(self, name="canvas"):
        self.frame()
        url = self.run("return document.getElementById(arguments[0]).toDataURL('image/png')", name)
        return numpy.array(Image.open(io.BytesIO(base64.b64decode(url.split(",")[1]))).convert("RGBA"))

    def drawn(self):
        """Where the canvas has something."""
        return self.pixels()[:, :, 3] > 127

    def mark(self, end):
        """Where a mark is on the canvas, from its middle; None for one that is not seen."""
        self.frame()
        return self.run("""const mark = document.querySelector('.mark.' + arguments[0]);
                           const canvas = document.getElementById('canvas').getBoundingClientRect();
                           return mark.hidden ? null : [parseFloat(mark.style.left) - canvas.width / 2,
                                                        parseFloat(mark.style.top) - canvas.height / 2]""", end)

    def told(self):
        """What is told of a picked place: value, location, id, part, place."""
        text = self.text("picked")
        match = re.fullmatch(r".* (?:=|≈) (\S+), (node|element) (\S+) of part \".*\" \(id (\d+)\)"
                             r"(?:, nearest node \S+)?(?:, at \((.*)\))?", text, re.DOTALL)
        if match is None:
            fail("picked: " + text)
        return (float(match[1]), match[2], match[3], int(match[4]),
                match[5] and [float(each) for each in match[5].split(", ")])

    # --- What a reader does ---------------------------------------------------------------------

    def choose(self, name, value):
        self.settle("""const element = document.getElementById(arguments[0]);
                       if (element.type === 'checkbox') { element.checked = arguments[1]; }
                       else { element.value = arguments[1]; }
                       for (const event of ['input', 'change'])
                         element.dispatchEvent(new Event(event, {bubbles: true}));""", name, value)

    def choose_text(self, name, text):
        self.choose(name, self.run(
            "return [...document.getElementById(arguments[0]).options]"
            ".find((option) => option.textContent === arguments[1]).value", name, text))

    def switch(self, part):
        """Shows a part or hides it, by its place in the list."""
        self.settle("document.querySelector('[data-part=\"' + arguments[0] + '\"]').click()", part)

    def press(self, selector):
        """As a reader does; what is covered by another thing is not pressed."""
        self.driver.find_element(By.CSS_SELECTOR, selector).click()
        self.settle()

    def press_mark(self, end):
        self.run("document.querySelector('.mark.' + arguments[0]).click()", end)

    def press_dot(self, step):
        """Presses the dot of a step on the chart."""
        dot = self.driver.find_elements(By.CSS_SELECTOR, "#chart circle")[step]
        self.run("arguments[0].scrollIntoView({block: 'center'})", dot)
        ActionChains(self.driver).move_to_element(dot).click().perform()
        self.settle()

    def on_canvas(self, x, y):
        """A chain of actions that begins so far from the middle of the canvas."""
        return ActionChains(self.driver, duration=10).move_to_element_with_offset(
            self.driver.find_element(By.ID, "canvas"), round(x), round(y))

    def click(self, x, y):
        self.on_canvas(x, y).click().perform()
        self.settle()

    def keys(self, *keys):
        self.driver.find_element(By.ID, "canvas").send_keys(*keys)
        self.settle()


def check_in_browser(checks, arguments):
    """Does "CHECK ARGUMENT... --" one after the other; the number of checks that find something."""
    failed = 0
    with Browser() as browser:
        while arguments:
            end = arguments.index("--")
            name, *others = arguments[:end]
            arguments = arguments[end + 1:]
            try:
                checks[name](browser, *others)
            except (Wrong, WebDriverException) as wrong:
                print(f"{name}: {wrong}")
                failed += 1
    return failed
