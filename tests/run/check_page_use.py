"""Checks of how a page of "tev view" is used: by mouse and keys, on paper, by browsers that can less,
and with models that have little to show."""

import base64
import hashlib
import re

import numpy
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.actions.mouse_button import MouseButton
from selenium.webdriver.common.actions.wheel_input import ScrollOrigin
from selenium.webdriver.common.by import By

from page_browser import differ, expect, fail, same

NO_WEBGL = """
  const getContext = HTMLCanvasElement.prototype.getContext;
  HTMLCanvasElement.prototype.getContext = function (kind, ...others) {
    return /webgl/.test(kind) ? null : getContext.call(this, kind, ...others);
  };"""

OWN_CLOCK = """
  window.waiting = [];
  window.setTimeout = (act) => window.waiting.push(act);"""


def expect_same(before, after, what):
    if same(before, after) < 0.999:
        fail(f"{what}: {1 - same(before, after):.2%} of the pixels change")


def check_frame(browser, path):
    """The policy names the hashes of what stands in the page, and nothing is asked for elsewhere."""
    text = open(path, encoding="utf-8").read()
    policy = re.search(r'Content-Security-Policy" content="([^"]*)"', text)[1]
    of_hash = lambda inner: "sha256-" + base64.b64encode(hashlib.sha256(inner.encode()).digest()).decode()
    script = re.search(r"<script>(.*?)</script>", text, re.DOTALL)[1]
    style = re.search(r"<style>(.*?)</style>", text, re.DOTALL)[1]
    wanted = (f"default-src 'none'; script-src '{of_hash(script)}' blob:; style-src '{of_hash(style)}'; "
              "img-src data: blob:; base-uri 'none'; form-action 'none'")
    expect(policy, wanted, "policy")
    with browser.page(path) as page:
        names = page.run("return performance.getEntriesByType('resource').map((each) => each.name)")
        expect([name for name in names if not name.startswith(("blob:", "data:"))], [], "asked for")


def check_changes(browser, path, *what):
    """Pixels follow what is chosen."""
    with browser.page(path) as page:
        before = page.pixels()
        legend = page.pixels("legend-bar")
        for each in what:
            name, value = each.split("=")
            page.choose(name, {"on": True, "off": False}.get(value, value))
            after = page.pixels()
            differ(before, after, each)
            if name == "cividis":
                differ(legend, page.pixels("legend-bar"), "legend", 0.9)
            before = after
        page.press("#parts-none")
        if page.drawn().any():
            fail("something is drawn without parts")


def box_of(drawn):
    rows, columns = numpy.nonzero(drawn)
    return numpy.array([columns.min(), rows.min(), columns.max(), rows.max()])


def check_camera(browser, path):
    """Dragging turns, with the right button it moves, the wheel zooms; Fit and views bring it back."""
    with browser.page(path) as page:
        start = page.pixels()
        page.on_canvas(0, 0).click_and_hold().move_by_offset(60, 20).release().perform()
        differ(start, page.pixels(), "turned")
        page.press("[data-view='iso']")
        expect_same(start, page.pixels(), "view again")

        box = box_of(start[:, :, 3] > 127)
        chain = page.on_canvas(0, 0)
        pointer = chain.w3c_actions.pointer_action
        pointer.pointer_down(MouseButton.RIGHT)
        chain.move_by_offset(-30, 10)
        pointer.pointer_up(MouseButton.RIGHT)
        chain.perform()
        moved = box_of(page.drawn()) - box
        if numpy.abs(moved - (-30, 10, -30, 10)).max() > 1:
            fail(f"moved by {moved}")
        page.press("#fit")
        expect_same(start, page.pixels(), "fitted")

        origin = ScrollOrigin.from_element(page.driver.find_element(By.ID, "canvas"))
        ActionChains(page.driver).scroll_from_origin(origin, 0, 240).perform()
        farther = box_of(page.drawn())
        if not (farther[0] > box[0] + 4 and farther[2] < box[2] - 4):
            fail(f"zoomed from {box} to {farther}")
        page.press("#fit")
        expect_same(start, page.pixels(), "fitted again")
        expect(page.text("picked"), "", "picked by what is no click")
        for view in "+x", "-x", "+y", "-y", "+z", "-z":
            page.press(f"[data-view='{view}']")
            seen = page.pixels()
            left, top, right, bottom = box_of(seen[:, :, 3] > 127)
            if min(left, top) < 2 or right > seen.shape[1] - 3 or bottom > seen.shape[0] - 3:
                fail(f"{view} goes beyond the canvas")
            page.press("#fit")
            expect_same(seen, page.pixels(), f"{view} fitted")


def check_play(browser, path):
    """Play goes through the steps and begins anew, until it is stopped; so do keys."""
    with browser.page(path, OWN_CLOCK) as page:
        last = int(page.get("step", "max"))
        on = lambda: page.run("for (const act of waiting.splice(0)) { act(); }")

        def expect_step(step, what):
            page.settle()
            expect(int(page.get("step", "value")), step % (last + 1), what)

        before = page.pixels()
        page.press("#play")
        expect_step(0, "after the last step")
        differ(before, page.pixels(), "the step")
        for step in range(1, last + 3):
            page.wait("waiting.length > 0")
            on()
            expect_step(step, "played")
        expect((page.text("play"), page.run("return document.getElementById('play').ariaPressed")),
               ("Stop", "true"), "button")
        page.press("#play")  # once more and again, while the last step waits
        page.press("#play")
        expect_step(last + 3, "begun again")
        page.wait("waiting.length > 1")
        on()
        expect_step(last + 4, "played once at a time")
        page.press("#play")
        page.wait("waiting.length > 0")
        on()
        expect_step(last + 4, "stopped")
        expect((page.run("return waiting.length"), page.text("play")), (0, "Play"), "stopped")
        page.keys(" ")
        expect_step(last + 5, "by the space bar")
        page.keys(" ")
        page.choose("step", 2)
        page.keys(",", ",", ",")
        expect_step(0, "back, as far as it goes")
        page.press("#step-on")
        expect_step(1, "on")


def check_keys(browser, path):
    """Everything goes by keys, and everything has a name for those who do not see it."""
    with browser.page(path) as page:
        for key in "5", "\ue012", "+", "f", "0":  # a view, the left arrow, nearer, all, the first view
            before = page.pixels()
            page.keys(key)
            differ(before, page.pixels(), f"key {key!r}")
        focused = lambda: page.run("return document.activeElement.className")
        press = lambda key: (page.driver.switch_to.active_element.send_keys(key), page.settle())
        page.keys("n")
        expect(focused(), "mark max", "N")
        before = page.get("step", "value")
        press(",")
        expect((focused(), int(page.get("step", "value"))), ("mark max", int(before) - 1), "step before")
        press("n")
        expect(focused(), "mark min", "N again")
        press("\ue007")  # the enter key
        expect(page.text("picked").split()[0], "Minimum", "picked")
        press("n")
        expect(focused(), "mark max", "N once more")
        expect(page.run("""return [...document.querySelectorAll('button, input, select')]
            .filter((each) => !(each.getAttribute('aria-label') || each.textContent.trim()
              || [...(each.labels || [])].some((label) => label.textContent.trim())))
            .map((each) => each.outerHTML)"""), [], "controls without a name")


def expect_print(page, isPicture):
    """One page with the picture, or with what is seen."""
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print"})
    seen = page.is_seen("picture"), page.is_seen("figure"), page.is_seen("controls")
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": ""})
    expect(seen, (isPicture, not isPicture, False), "on paper: picture, figure, controls")
    pdf = base64.b64decode(page.driver.execute_cdp_cmd(
        "Page.printToPDF", {"printBackground": True, "preferCSSPageSize": True})["data"])
    expect(len(re.findall(rb"/Type\s*/Page\b", pdf)), 1, "printed pages")


def expect_screens(page):
    """It fits narrow and wide windows, and has a dark form."""
    for width in 360, 2560:
        page.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": 400, "deviceScaleFactor": 1, "mobile": False})
        page.frame()
        if page.run("return document.documentElement.scrollWidth") > width:
            fail(f"wider than {width} pixels")
    page.driver.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})
    colour = "return getComputedStyle(document.body).backgroundColor"
    light = page.run(colour)
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {
        "features": [{"name": "prefers-color-scheme", "value": "dark"}]})
    dark = page.run(colour)
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": []})
    if dark == light:
        fail("no dark form")


def check_media(browser, path):
    """It fits screens. The picture is printed until something is changed, and then what is seen."""
    ways = {"a control": lambda page: page.choose("cividis", True),
            "a button": lambda page: page.press("[data-view='+x']"),
            "a key": lambda page: page.keys("+"),
            "the mouse": lambda page: page.on_canvas(0, 0).click_and_hold().move_by_offset(9, 9).release().perform(),
            "the chart": lambda page: page.press_dot(1)}
    with browser.page(path) as page:
        expect_screens(page)
        page.click(0, 0)
        page.press_mark("max")
        expect_print(page, True)
        for name, change in ways.items():
            page.run("delete document.body.dataset.changed")
            change(page)
            expect(page.run("return 'changed' in document.body.dataset"), True, "changed by " + name)
        expect_print(page, False)


def check_without_webgl(browser, path):
    """Picture and facts, and nothing that does nothing."""
    with browser.page(path, NO_WEBGL) as page:
        expect([page.is_seen(name) for name in ("picture", "facts", "controls", "figure", "chart")],
               [True, True, False, False, False], "picture, facts, controls, figure, chart")
        if page.get("picture", "naturalWidth") < 300 or len(page.texts("#facts td")) < 20:
            fail("no picture or no facts")
        expect(page.texts("#notes li")[0], "This browser shows nothing in three dimensions: it has no WebGL",
               "note")
        expect_print(page, True)


def check_names(browser, path, name):
    """Names are text: the model's title, its parts, results and sets are all this one."""
    with browser.page(path) as page:
        expect(page.text("title"), name, "heading")
        expect(page.driver.title, name.strip(), "title")
        labels = page.texts("#parts span")
        if name not in labels:
            fail(f"parts: {labels}")
        cells = page.texts("#facts td")
        if cells.count(name) < 4:
            fail(f"facts: {cells}")
        expect(page.run("return document.images.length"), 1, "pictures")
        expect(page.run("return typeof window.owned"), "undefined", "a script of a name ran")


CHECKS = {"frame": check_frame, "changes": check_changes, "camera": check_camera, "play": check_play,
          "keys": check_keys, "media": check_media,
          "without_webgl": check_without_webgl, "names": check_names}
