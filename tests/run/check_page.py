"""Opens pages of "tev view" in a browser without a display, and says what is wrong with them.

check_page.py HOW ARGUMENT...: prints what it finds, and ends with 1 if that is
anything. The pages are opened as files, as a reader opens them.
"""

import base64
import csv
import hashlib
import io
import json
import re
import subprocess
import sys
import time

import numpy
from PIL import Image, ImageDraw
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By

WAITS = 10000  # turns of 20 ms at least; far above what any page takes


class Page:
    """A page in a browser."""

    def __init__(self, path, width=1280, height=900):
        options = webdriver.ChromeOptions()
        for argument in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage",
                         "--use-gl=angle", "--use-angle=swiftshader", "--enable-unsafe-swiftshader",
                         "--hide-scrollbars", f"--window-size={width},{height}"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.driver.get("file://" + path)
        self.wait("document.body.dataset.ready")
        self.expect(self.run("return document.body.dataset.ready"), "yes", "ready")

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        errors = [each for each in self.driver.get_log("browser") if each["level"] == "SEVERE"]
        self.driver.quit()
        if kind is None and errors:
            fail(f"errors on the console: {errors}")

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def wait(self, condition):
        for _ in range(WAITS):
            if self.run("return Boolean(" + condition + ")"):
                return
            time.sleep(0.02)
        fail("in vain waited for " + condition)

    @staticmethod
    def expect(got, wanted, what):
        if got != wanted:
            fail(f"{what}: {got!r} in place of {wanted!r}")

    def text(self, name):
        return self.run("return document.getElementById(arguments[0]).textContent", name)

    def settle(self):
        """Waits for what follows from a choice: blocks that are unpacked, and a picture."""
        self.wait("document.body.dataset.asked === document.body.dataset.shown")
        self.driver.execute_async_script(
            "const done = arguments[0]; requestAnimationFrame(() => requestAnimationFrame(done))")

    def choose(self, name, value):
        self.run("""const element = document.getElementById(arguments[0]);
                    if (element.type === 'checkbox') { element.checked = arguments[1]; }
                    else { element.value = arguments[1]; }
                    for (const event of ['input', 'change'])
                      element.dispatchEvent(new Event(event, {bubbles: true}));""", name, value)
        self.settle()

    def choose_text(self, name, text):
        self.choose(name, self.run(
            "return [...document.getElementById(arguments[0]).options]"
            ".find((option) => option.textContent === arguments[1]).value", name, text))

    def press(self, selector):
        self.driver.find_element(By.CSS_SELECTOR, selector).click()
        self.settle()

    def pixels(self, name="canvas"):
        url = self.run("return document.getElementById(arguments[0]).toDataURL('image/png')", name)
        return numpy.array(Image.open(io.BytesIO(base64.b64decode(url.split(",")[1]))).convert("RGBA"))


class Wrong(Exception):
    pass


def fail(text):
    raise Wrong(text)


def differ(before, after, what, least=0.005):
    """That so large a part of the pixels is not as it was."""
    if before.shape != after.shape:
        fail(what + ": the pictures have other sizes")
    share = numpy.any(before != after, axis=2).mean()
    if share < least:
        fail(f"{what}: only {share:.2%} of the pixels change")


def answer(tev, *arguments):
    return subprocess.run([tev, *arguments], capture_output=True, check=True, text=True).stdout


def statistics_of(tev, model):
    """All figures by result, component and step, of the parts that a page shows at first."""
    entry = json.loads(answer(tev, "results", "--stats", "--json", model))["files"][0]
    own = {part["id"] for part in entry["parts"] if part["kind"] == "part"}
    found = {}
    for field in entry["fields"]:
        statistics = field["statistics"]
        if field["part"] not in own or statistics is None:
            continue
        figures = {str(i + 1): each for i, each in enumerate(statistics["components"])}
        if statistics["magnitude"]:
            figures["magnitude"] = statistics["magnitude"]
        for name, each in figures.items():
            if each["max"] is not None:
                key = field["result"], name, field["step"]
                found.setdefault(key, []).append((field["part"], field["location"], each))
    return found


def told(page):
    """What the page tells of a picked mark: value, location, id, part."""
    text = page.text("picked")
    match = re.fullmatch(r".* (?:=|≈) (\S+), (node|element) (\S+) of part \".*\" \(id (\d+)\)"
                         r"(?:, at \((.*)\))?", text, re.DOTALL)
    if match is None:
        fail("picked: " + text)
    return float(match[1]), match[2], match[3], int(match[4]), match[5]


def check_marks(tev, model, path):
    """Each marked extreme is the one that the statistics have, the first of several equal ones."""
    figures = statistics_of(tev, model)
    with Page(path) as page:
        checked = 0
        steps = int(page.run("return document.getElementById('step').max"))
        for result, component in sorted({key[:2] for key in figures}):
            page.choose_text("result", result)
            if page.run("return !document.getElementById('component').disabled"):
                page.choose_text("component", component)
            for step in sorted({0, steps // 2, steps}):
                page.choose("step", step)
                rows = figures.get((result, component, page.text("step-text")))
                if rows is None:
                    continue
                for end, best in ("max", max), ("min", min):
                    value = best(each[end] for _, _, each in rows)
                    part, location, each = next(row for row in rows if row[2][end] == value)
                    page.run("document.querySelector('.mark.' + arguments[0]).click()", end)
                    got = told(page)
                    page.expect(got[:4], (value, location, str(each[end + "At"]), part),
                                f"{result} {component} {end}")
                    if got[4] is None:
                        fail(f"{result} {component} {end}: no place")
                    checked += 1
        if checked < 4:
            fail(f"only {checked} marks")


def check_pick(tev, model, path, result, view):
    """The node under the marked maximum is the one that the statistics name."""
    figures = statistics_of(tev, model)
    with Page(path) as page:
        page.choose_text("result", result)
        page.press(f"[data-view='{view}']")
        key = result, "magnitude", page.text("step-text")
        _, _, each = max(figures[key], key=lambda row: row[2]["max"])
        box = page.run("""const mark = document.querySelector('.mark.max');
                          const canvas = document.getElementById('canvas').getBoundingClientRect();
                          return [parseFloat(mark.style.left) - canvas.width / 2,
                                  parseFloat(mark.style.top) - canvas.height / 2];""")
        page.choose("marks", False)
        canvas = page.driver.find_element(By.ID, "canvas")
        for x, y in ((0, 0), (1, 1), (-1, 1), (1, -1), (-1, -1)):  # it lies on the outline
            ActionChains(page.driver).move_to_element_with_offset(
                canvas, round(box[0]) + x, round(box[1]) + y).click().perform()
            page.settle()
            if page.text("picked"):
                break
        value, location, node, _, _ = told(page)
        page.expect((location, node), ("node", str(each["maxAt"])), "picked")
        if abs(value - each["max"]) > 1e-4 * abs(each["max"]):
            fail(f"picked value {value} in place of {each['max']}")


def check_values(tev, model, path, result, component):
    """Values of picked nodes are those of the model, to a step of the range over all steps."""
    values = {}
    for row in csv.reader(io.StringIO(answer(tev, "values", "--result", result, model))):
        if row[0] != "part":
            values[row[0], row[2], row[4]] = float(row[4 + int(component)])
    step = (max(values.values()) - min(values.values())) / 65535
    with Page(path) as page:
        page.choose_text("result", result)
        page.choose_text("component", component)
        page.choose("marks", False)
        canvas = page.driver.find_element(By.ID, "canvas")
        checked = 0
        for turn in 0, 3, int(page.run("return document.getElementById('step').max")):
            page.choose("step", turn)
            for x, y in ((0, 0), (40, 20), (-60, 50), (90, -30), (-30, 120), (20, 150)):
                ActionChains(page.driver).move_to_element_with_offset(canvas, x, y).click().perform()
                page.settle()
                if page.text("picked"):
                    value, _, node, part, _ = told(page)
                    wanted = values[str(part), page.text("step-text"), node]
                    if abs(value - wanted) > 0.51 * step + 1e-6 * abs(wanted):
                        fail(f"node {node} at {page.text('step-text')}: {value} in place of {wanted}")
                    checked += 1
        if checked < 9:
            fail(f"only {checked} nodes")


def check_changes(path, *what):
    """Pixels follow what is chosen."""
    with Page(path) as page:
        before = page.pixels()
        legend = page.pixels("legend-bar")
        for each in what:
            name, value = each.split("=")
            page.choose(name, {"on": True, "off": False}.get(value, value))
            after = page.pixels()
            differ(before, after, each)
            if name == "cividis":
                differ(legend, page.pixels("legend-bar"), "legend", 0.9)
            if name == "range-max":
                page.expect(page.run("return document.querySelector('#legend li').title"), value,
                            "legend")
            before = after
        page.press("#parts-none")
        if page.pixels()[:, :, 3].any():
            fail("something is drawn without parts")


def projected(tev, model, axes):
    """Triangles of all solids of the parts, as points of a plane, by their nodes' coordinates."""
    parts = json.loads(answer(tev, "info", "--json", model))["files"][0]["parts"]
    own = {str(part["id"]) for part in parts if part["kind"] == "part"}
    points = {}
    for row in csv.reader(io.StringIO(answer(tev, "values", "--result", "Coordinates", model))):
        points[row[0], row[3]] = [float(row[5 + axis]) for axis in axes] if row[0] in own else None
    for row in csv.reader(io.StringIO(answer(tev, "values", "--mesh", model))):
        if row[0] in own:
            corners = [points[row[0], node] for node in row[4:8]]
            for leftOut in range(4):
                yield [corner for i, corner in enumerate(corners) if i != leftOut]


def cut_out(mask):
    rows, columns = numpy.nonzero(mask)
    return mask[rows.min():rows.max() + 1, columns.min():columns.max() + 1]


def check_silhouette(tev, model, path):
    """Where something is drawn is where the solids are."""
    for view, axes, signs in ("+z", (0, 1), (1, -1)), ("+x", (1, 2), (1, -1)), ("-y", (0, 2), (1, -1)):
        with Page(path) as page:
            page.press(f"[data-view='{view}']")
            seen = cut_out(page.pixels()[:, :, 3] > 127)
        triangles = numpy.array(list(projected(tev, model, axes))) * signs
        low = triangles.min(axis=(0, 1))
        size = triangles.max(axis=(0, 1)) - low
        height, width = seen.shape
        if abs(width / height - size[0] / size[1]) > 0.02 * size[0] / size[1]:
            fail(f"{view}: {width} x {height} pixels for {size}")
        image = Image.new("1", (width, height))
        draw = ImageDraw.Draw(image)
        for triangle in (triangles - low) / size * (width - 1, height - 1):
            draw.polygon([tuple(point) for point in triangle], fill=1)
        other = (numpy.array(image) != seen).mean()
        if other > 0.01:
            fail(f"{view}: {other:.2%} of the pixels are not those of the solids")


def check_frame(path):
    """The policy names the hashes of what stands in the page, and nothing is asked for elsewhere."""
    text = open(path, encoding="utf-8").read()
    policy = re.search(r'Content-Security-Policy" content="([^"]*)"', text)[1]
    of_hash = lambda inner: "sha256-" + base64.b64encode(hashlib.sha256(inner.encode()).digest()).decode()
    script = re.search(r"<script>(.*?)</script>", text, re.DOTALL)[1]
    style = re.search(r"<style>(.*?)</style>", text, re.DOTALL)[1]
    wanted = (f"default-src 'none'; script-src '{of_hash(script)}' blob:; style-src '{of_hash(style)}'; "
              "img-src data: blob:; base-uri 'none'; form-action 'none'")
    Page.expect(policy, wanted, "policy")
    with Page(path) as page:
        names = page.run("return performance.getEntriesByType('resource').map((each) => each.name)")
        strangers = [name for name in names if not name.startswith(("blob:", "data:"))]
        Page.expect(strangers, [], "asked for")


def check_people(path):
    """It fits narrow and wide windows, has a dark form, is used by keys, and prints to one page."""
    with Page(path) as page:
        for width in 360, 2560:
            page.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
                "width": width, "height": 800, "deviceScaleFactor": 1, "mobile": False})
            page.settle()
            if page.run("return document.documentElement.scrollWidth") > width:
                fail(f"wider than {width} pixels")
        page.driver.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})
        colour = "return getComputedStyle(document.body).backgroundColor"
        light = page.run(colour)
        page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": "prefers-color-scheme", "value": "dark"}]})
        if page.run(colour) == light:
            fail("no dark form")
        page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": []})
        page.settle()
        canvas = page.driver.find_element(By.ID, "canvas")
        for key in "5", "\ue012", "+", "0":  # a view, the left arrow, nearer, the first view
            before = page.pixels()
            canvas.send_keys(key)
            page.settle()
            differ(before, page.pixels(), f"key {key!r}")
        canvas.send_keys("n")
        if "mark" not in page.run("return document.activeElement.className"):
            fail("N goes to no mark")
        unnamed = page.run("""return [...document.querySelectorAll('button, input, select')]
            .filter((each) => !(each.getAttribute('aria-label') || each.textContent.trim()
              || [...(each.labels || [])].some((label) => label.textContent.trim())))
            .map((each) => each.outerHTML)""")
        Page.expect(unnamed, [], "controls without a name")
        pdf = base64.b64decode(page.driver.execute_cdp_cmd(
            "Page.printToPDF", {"printBackground": True, "preferCSSPageSize": True})["data"])
        Page.expect(len(re.findall(rb"/Type\s*/Page\b", pdf)), 1, "printed pages")


def check_names(path, name):
    """Names are text: the model's title, its parts, results and sets are all this one."""
    with Page(path) as page:
        Page.expect(page.text("title"), name, "heading")
        Page.expect(page.driver.title, name.strip(), "title")
        labels = page.run("return [...document.querySelectorAll('#parts span')].map((each) => each.textContent)")
        if name not in labels:
            fail(f"parts: {labels}")
        cells = page.run("return [...document.querySelectorAll('#facts td')].map((each) => each.textContent)")
        if cells.count(name) < 4:
            fail(f"facts: {cells}")
        Page.expect(page.run("return document.images.length"), 1, "pictures")
        Page.expect(page.run("return typeof window.owned"), "undefined", "a script of a name ran")


def check_steps(tev, model, path):
    """Steps are left out evenly, the last one stays, and the page says how many there are."""
    steps = [step["text"] for step in json.loads(answer(tev, "info", "--json", model))["files"][0]["steps"]]
    with Page(path) as page:
        match = re.search(r"Shown are (\d+) of (\d+) steps", page.text("notes"))
        if match is None:
            fail("notes: " + page.text("notes"))
        shown = int(match[1])
        Page.expect(int(match[2]), len(steps), "steps of the model")
        Page.expect(page.run("return document.getElementById('step').max"), str(shown - 1), "steps")
        Page.expect(page.run("return document.querySelectorAll('#chart circle').length"), len(steps), "chart")
        places = []
        for step in range(shown):
            page.choose("step", step)
            places.append(steps.index(page.text("step-text")))
        gaps = {after - before for before, after in zip(places, places[1:])}
        if places[-1] != len(steps) - 1 or max(gaps) - min(gaps) > 1 or not 1 < shown < len(steps):
            fail(f"steps {places}")


CHECKS = {"marks": check_marks, "pick": check_pick, "changes": check_changes, "values": check_values,
          "frame": check_frame,
          "silhouette": check_silhouette, "people": check_people, "names": check_names,
          "steps": check_steps}

if __name__ == "__main__":
    try:
        CHECKS[sys.argv[1]](*sys.argv[2:])
    except Wrong as wrong:
        print(wrong)
        sys.exit(1)
