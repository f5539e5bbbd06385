"""Checks of pages of models that were made for them: of a block of cubes with a number for each, of
a cube that grows, of two parts with one mesh, and of one with little that can be shown."""

import numpy

from page_browser import expect, fail

LIGHT = 0.65 + 0.35 * 0.85  # on what is seen straight from the front


def size_of(drawn):
    rows, columns = numpy.nonzero(drawn)
    return numpy.array([columns.max() - columns.min() + 1, rows.max() - rows.min() + 1])


def expect_near(got, wanted, what, by):
    if numpy.abs(numpy.subtract(got, wanted)).max() > by:
        fail(f"{what}: {got} in place of {wanted}")


def colour_of(page, place):
    """The colour of a place in the range, from 0 to 1."""
    table = bytes.fromhex(page.model()["view"]["colours"]["viridis"])
    index = 3 * round(place * 255)
    return numpy.array(list(table[index:index + 3]))


def check_elements(browser, path):
    """Each face of 3 x 3 x 3 cubes has the one colour of its number, which is its place, and 100 in
    the middle, where a mark is seen through the others."""
    with browser.page(path) as page:
        page.choose("marks", False)
        page.press("[data-view='+z']")
        pixels = page.pixels()
        edge = size_of(pixels[:, :, 3] > 127)[0] / 3
        height, width = pixels.shape[:2]
        for place in range(18, 27):  # those on top
            x = width / 2 + (place % 3 - 1) * edge
            y = height / 2 - (place // 3 % 3 - 1) * edge
            reach = 0.4 * edge
            square = pixels[round(y - reach):round(y + reach), round(x - reach):round(x + reach)]
            colours = numpy.unique(square.reshape(-1, 4), axis=0)
            expect(len(colours), 1, f"colours of element {place}")
            expect_near(colours[0][:3], LIGHT * colour_of(page, place / 100), f"element {place}", 3)
        page.click(edge, -edge)
        expect(page.told()[1:4], ("element", "127", page.model()["info"]["parts"][0]["id"]), "picked")
        expect_near(page.told()[0], 26, "picked", 51 / 65535)
        page.choose("marks", True)
        for view in "+z", "iso":
            page.press(f"[data-view='{view}']")
            expect_near(page.mark("max"), (0, 0), "mark of the maximum", 1)
            page.press(".mark.max")  # which fails where it is covered
            got = page.told()
            expect((got[:3], got[4]), ((100, "element", "114"), [1.5, 1.5, 1.5]), "maximum")


def check_growth(browser, path):
    """A cube is four times as long at the second step; so is what is told of its nodes."""
    with browser.page(path) as page:
        meshes = page.model()["view"]["parts"][0]
        expect((len(meshes), len({mesh["xyz"] for mesh in meshes}), len({mesh["nodes"] for mesh in meshes})),
               (3, 2, 1), "meshes, the first also for other steps, their coordinates, their faces")
        page.press("[data-view='+z']")
        longer = size_of(page.drawn())
        expect_near(longer[0] / longer[1], 4, "second step", 0.1)
        page.press_mark("max")
        expect(page.told()[4], [4, 1, 1], "place of the maximum")
        page.choose("step", 0)
        cube = size_of(page.drawn())
        expect_near(cube, (longer[1], longer[1]), "first step", 1)
        expect(page.told()[4], [1, 1, 1], "place of the maximum")
        page.press("#fit")
        page.click(0.3 * size_of(page.drawn())[0], -0.3 * size_of(page.drawn())[0])
        expect(page.told()[4], [1, 1, 1], "place of a node")
        page.choose("step", 1)
        expect(page.text("picked"), "", "picked in a mesh that is not shown any more")


def check_shared(browser, path):
    """Two parts of one mesh: it is once on the page. What is shown of them says range and marks."""
    with browser.page(path) as page:
        model = page.model()
        first, second = [{name: each for name, each in part[0].items()} for part in model["view"]["parts"]]
        expect(first, second, "meshes")
        ids = [part["id"] for part in model["info"]["parts"]]

        def expect_shown(wanted):
            """Range, and the parts of the least and the greatest value."""
            low, high, ofMin, ofMax = wanted
            expect([page.texts("#legend li")[i] for i in (-1, 0)], [str(low), str(high)], "range")
            for end, part in ("min", ofMin), ("max", ofMax):
                page.press_mark(end)
                expect(page.told()[3], ids[part], "part of the " + end)
            if not page.drawn().any():
                fail("nothing is drawn")
            return page.pixels()

        expect_shown((1, 18, 0, 1))
        page.switch(0)
        ofSecond = expect_shown((11, 18, 1, 1))
        page.switch(1)
        expect((page.drawn().any(), page.is_seen("legend"), page.texts(".mark"), page.text("picked")),
               (False, False, [], ""), "without parts: pixels, legend, marks, picked")
        page.switch(0)
        expect_shown((1, 8, 0, 0))
        page.press("#parts-all")
        expect_shown((1, 18, 0, 1))
        page.press("#parts-none")
        page.switch(1)
        expect(numpy.array_equal(ofSecond, expect_shown((11, 18, 1, 1))), True, "the second part again")


def check_odd(browser, path):
    """Whatever is chosen, the page follows, and tells of what there is."""
    with browser.page(path) as page:
        seen = {}
        for result in page.texts("#result option"):
            page.choose_text("result", result)
            for step in range(int(page.get("step", "max")) + 1):
                page.choose("step", step)
                seen[result, step] = page.is_seen("legend"), len(page.texts(".mark"))
            page.click(0, 0)
        marks = lambda result: {step: both for (name, step), both in seen.items() if name == result}
        expect(marks("none"), {0: (False, 0), 1: (False, 0)}, "no result")
        expect(marks("Nothing"), {0: (False, 0), 1: (False, 0)}, "result without a number")
        expect(marks("Half"), {0: (True, 2), 1: (True, 0)}, "result of one step")
        expect(marks("Always"), {0: (True, 2), 1: (True, 2)}, "result without steps")
        expect(marks("Later"), {0: (True, 2), 1: (True, 2)}, "result of a part without a mesh at a step")
        page.choose_text("result", "Half")
        page.choose("step", 0)
        page.press("[data-part='1']")  # which lies in the same plane
        page.press("[data-view='+z']")
        for x, wanted in (-60, "4"), (60, "–"):
            page.click(x, -60)
            expect(page.text("picked").split()[2], wanted + ",", "picked")
        for name in "edges", "deformed", "cividis":
            page.choose(name, True)
        page.choose("scale", "1e300")
        page.choose("scale", "-1")
        page.choose("range-min", "what")
        page.choose("range-max", "1e999")
        expect(page.is_seen("legend"), True, "legend of limits that are none")
        page.press("#parts-none")
        page.press("#fit")
        page.keys(*"0123456f+-n.,")


def check_gaps(browser, path):
    """A part is shown by the mesh of a step that is left out, where its numbers belong to that."""
    with browser.page(path) as page:
        expect(page.texts("#notes li")[0].split(" steps")[0], "Shown are 2 of 3", "steps")
        page.choose_text("result", "T")
        for step, wanted in (0, "Time = 1"), (1, "Time = 3"):
            page.choose("step", step)
            page.press_mark("max")
            got = page.told()
            expect((page.text("step-text"), got[:3], got[4]), (wanted, (8, "node", "[7]"), [0, 1, 1]), "maximum")
            if len(numpy.unique(page.pixels()[page.drawn()], axis=0)) < 20:
                fail("the part has no colours")


def check_stepless(browser, path):
    """Without steps there is none to choose."""
    with browser.page(path) as page:
        expect([page.get(name, "disabled") for name in ("step", "play", "step-back", "step-on")], [True] * 4,
               "step, play, step before, next step")
        expect((page.text("step-text"), page.is_seen("chart"), len(page.texts(".mark"))), ("none", False, 2),
               "step, chart, marks")
        page.keys(" ", ".", ",")
        page.press_mark("max")
        expect(page.told()[:3], (8, "node", "[7]"), "maximum")


def check_thin(browser, path):
    """Points and lines have the colours of their numbers, seen from any side."""
    with browser.page(path) as page:
        page.choose("marks", False)
        for view in "iso", "-y":
            page.press(f"[data-view='{view}']")
            drawn = page.pixels()
            colours = drawn[drawn[:, :, 3] == 255][:, :3].astype(int)
            for name, place in (("least", 0), ("greatest", 1)):
                if not (abs(colours - colour_of(page, place)).max(axis=1) < 12).any():
                    fail(f"{view}: no pixel has the colour of the {name} number")


def check_damaged(browser, path):
    """What cannot be read is told on the page."""
    with browser.page(path) as page:
        if "Damaged: part \"Frame\", mesh" not in page.text("notes"):
            fail("notes: " + page.text("notes"))


CHECKS = {"elements": check_elements, "growth": check_growth, "shared": check_shared, "odd": check_odd,
          "stepless": check_stepless, "gaps": check_gaps, "thin": check_thin, "damaged": check_damaged}
