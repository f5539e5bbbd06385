"""Opens pages of "tev view" in a browser without a display, and says what is wrong with them.

check_page.py [CHECK ARGUMENT... --]...: prints what it finds, and ends with 1 if that is anything. Here stand the checks that compare what is shown with what tev tells of a model.
"""

import collections
import csv
import functools
import io
import json
import re
import subprocess
import sys

import numpy
from PIL import Image, ImageDraw

import check_page_models
import check_page_use
from page_browser import Wrong, check_in_browser, differ, expect, fail


@functools.cache
def answer(tev, *arguments):
    return subprocess.run([tev, *arguments], capture_output=True, check=True, text=True).stdout


def facts_of(tev, model):
    return json.loads(answer(tev, "info", "--json", model))["files"][0]


def own_parts(tev, model):
    """Those that a page shows at first."""
    return {part["id"] for part in facts_of(tev, model)["parts"] if part["kind"] == "part"}


def rows_of(tev, model, *arguments):
    """Rows of the parts that a page shows at first."""
    own = {str(part) for part in own_parts(tev, model)}
    return [row for row in csv.reader(io.StringIO(answer(tev, "values", *arguments, model))) if row[0] in own]


def statistics_of(tev, model):
    """All figures by result, component and step, of the parts that a page shows at first."""
    own = own_parts(tev, model)
    found = {}
    for field in json.loads(answer(tev, "results", "--stats", "--json", model))["files"][0]["fields"]:
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


def choose_component(page, component):
    shown = "const list = document.getElementById('component'); return list.options[list.selectedIndex].text"
    if page.run(shown) != component:
        page.choose_text("component", component)


def check_marks(browser, tev, model, path, *results):
    """Marked extremes of the first and the last component of each result, magnitudes being last, are
    those that the statistics have, the first of several equal ones."""
    figures = statistics_of(tev, model)
    checked = 0
    with browser.page(path) as page:
        steps = int(page.get("step", "max"))
        for result, component in sorted({key[:2] for key in figures}):
            components = sorted(key[1] for key in figures if key[0] == result)
            if (results and result not in results) or component not in (components[0], components[-1]):
                continue
            page.choose_text("result", result)
            choose_component(page, component)
            for step in sorted({0, steps}):
                if steps > 0:
                    page.choose("step", step)
                rows = figures.get((result, component, page.text("step-text")))
                if rows is None:
                    continue
                for end, best in ("max", max), ("min", min):
                    value = best(each[end] for _, _, each in rows)
                    part, location, each = next(row for row in rows if row[2][end] == value)
                    page.press_mark(end)
                    got = page.told()
                    expect(got[:4], (value, location, str(each[end + "At"]), part),
                           f"{result} {component} {end}")
                    if got[4] is None:
                        fail(f"{result} {component} {end}: no place")
                    checked += 1
    if checked < 4:
        fail(f"only {checked} marks")


def check_pick(browser, tev, model, path, result, view):
    """The node under the marked maximum is the one that the statistics name."""
    figures = statistics_of(tev, model)
    with browser.page(path) as page:
        page.choose_text("result", result)
        page.press(f"[data-view='{view}']")
        key = result, "magnitude", page.text("step-text")
        _, _, each = max(figures[key], key=lambda row: row[2]["max"])
        left, top = page.mark("max")
        page.choose("marks", False)
        for x, y in ((0, 0), (1, 1), (-1, 1), (1, -1), (-1, -1)):  # it lies on the outline
            page.click(left + x, top + y)
            if page.text("picked"):
                break
        value, location, node, _, _ = page.told()
        expect((location, node), ("node", str(each["maxAt"])), "picked")
        if abs(value - each["max"]) > 1e-4 * abs(each["max"]):
            fail(f"picked value {value} in place of {each['max']}")


def check_values(browser, tev, model, path, result, component, how="in steps"):
    """Values of picked nodes are those of the model, to a step of the range over all steps; what is
    told of a picked node is of the step that is shown."""
    values = {(row[0], row[2], row[4]): float(row[4 + int(component)])
              for row in rows_of(tev, model, "--result", result)}
    step = (max(values.values()) - min(values.values())) / 65535

    def compare(page):
        value, _, node, part, _ = page.told()
        wanted = values[str(part), page.text("step-text"), node]
        isSame = numpy.float32(value) == numpy.float32(wanted)
        isNear = how != "exact" and abs(value - wanted) <= 0.51 * step + 1e-6 * abs(wanted)
        if not isSame and not isNear:
            fail(f"node {node} at {page.text('step-text')}: {value} in place of {wanted}")

    checked = 0
    with browser.page(path) as page:
        page.choose_text("result", result)
        choose_component(page, component)
        page.choose("marks", False)
        for x, y in ((0, 0), (30, 15), (-45, 40)):
            page.click(x, y)
            for turn in 0, 3, int(page.get("step", "max")):
                page.choose("step", turn)
                if page.text("picked"):
                    compare(page)
                    checked += 1
    if checked < 9:
        fail(f"only {checked} nodes")


def check_legend(browser, tev, model, path, result, component):
    """The numbers of the legend are those of the statistics: over all steps, of one, as typed."""
    figures = {key[2]: [row[2] for row in rows] for key, rows in statistics_of(tev, model).items()
               if key[:2] == (result, component)}
    ends_of = lambda rows: [max(row["max"] for row in rows), min(row["min"] for row in rows)]
    with browser.page(path) as page:
        def expect_ends(wanted, what):
            titles = page.run("return [...document.querySelectorAll('#legend li')].map(({title}) => title)")
            expect([float(titles[0]), float(titles[-1])], wanted, what)
            texts = [float(text) for text in page.texts("#legend li")]
            for text, number in zip(texts, (wanted[0], None, sum(wanted) / 2, None, wanted[1])):
                # Numbers that are floats in the model are shown as these floats, others with seven digits.
                isExact = number in wanted and component != "magnitude"
                if number is not None and (numpy.float32(text) != numpy.float32(number) if isExact
                                           else abs(text - number) > 5e-7 * abs(number)):
                    fail(f"{what}: {text} is shown in place of {number}")

        page.choose_text("result", result)
        choose_component(page, component)
        expect_ends(ends_of(sum(figures.values(), [])), "range of all steps")
        page.choose("range", "step")
        for step in 0, int(page.get("step", "max")) // 2:
            page.choose("step", step)
            expect_ends(ends_of(figures[page.text("step-text")]), "range of a step")
        page.choose("range-max", "1,25e6")
        expect_ends([1250000, ends_of(figures[page.text("step-text")])[1]], "typed maximum")
        page.choose("range-min", "-0.5")
        page.choose("step", 0)
        expect_ends([1250000, -0.5], "typed range")
        page.choose("range-max", "-1")
        expect_ends([-0.5, -1], "typed the other way around")


SIDES = (0, 1, 2, 4, 5, 6), (0, 1, 3, 4, 8, 7), (1, 2, 3, 5, 9, 8), (2, 0, 3, 6, 7, 9)  # corners, middles
OF_SIDE = (0, 3, 5), (1, 4, 3), (2, 5, 4), (3, 4, 5)


def triangles_of(tev, model, step, scale):
    """Triangles of the sides that only one of the parts' tetrahedra of ten nodes has, each node where it
    is moved to."""
    points = {(row[0], row[3]): numpy.array([float(x) for x in row[5:8]])
              for row in rows_of(tev, model, "--result", "Coordinates")}
    if scale != 0:
        for row in rows_of(tev, model, "--result", "Displacement", "--step", step):
            points[row[0], row[3]] += scale * numpy.array([float(x) for x in row[5:8]])
    sides = [[(row[0], row[4 + node]) for node in side] for row in rows_of(tev, model, "--mesh") for side in SIDES]
    count = collections.Counter(frozenset(side) for side in sides)
    return numpy.array([[points[side[i]] for i in triangle] for side in sides if count[frozenset(side)] == 1
                        for triangle in OF_SIDE])


def outline_of(triangles, width, height):
    """Where triangles of a plane cover pixels, from one edge of the picture to the other."""
    low = triangles.min(axis=(0, 1))
    size = triangles.max(axis=(0, 1)) - low
    if abs(width / height - size[0] / size[1]) > 0.02 * size[0] / size[1]:
        fail(f"{width} x {height} pixels for {size}")
    image = Image.new("1", (width, height))
    draw = ImageDraw.Draw(image)
    for triangle in (triangles - low) / size * (width - 1, height - 1):
        draw.polygon([tuple(point) for point in triangle], fill=1)
    return numpy.array(image)


def cut_out(mask):
    rows, columns = numpy.nonzero(mask)
    return mask[rows.min():rows.max() + 1, columns.min():columns.max() + 1]


def edges_of(mask):
    """Pixels beside which there are others."""
    wide = numpy.pad(mask, 1)
    moved = [wide[1 + y:wide.shape[0] - 1 + y, 1 + x:wide.shape[1] - 1 + x] for x in (-1, 0, 1) for y in (-1, 0, 1)]
    return numpy.any(moved, axis=0) != numpy.all(moved, axis=0)


def compare_outlines(page, triangles, what):
    for view, axes, signs in ("+z", (0, 1), (1, -1)), ("+x", (1, 2), (1, -1)), ("-y", (0, 2), (1, -1)):
        page.press(f"[data-view='{view}']")
        seen = cut_out(page.drawn())
        height, width = seen.shape
        wanted = outline_of(triangles[:, :, axes] * signs, width, height)
        other = ((wanted != seen) & ~edges_of(wanted)).mean()
        if other > 0.001:
            fail(f"{what}, {view}: {other:.2%} of the pixels are not those of the solids")


def check_shape(browser, tev, model, path, scale):
    """Where something is drawn is where the solids are, also moved by so many times their
    displacement. A scale is proposed that lets it be seen."""
    with browser.page(path) as page:
        step = page.text("step-text")
        start = page.drawn()
        page.choose("deformed", True)
        proposed = float(page.get("scale", "value"))
        differ(start[:, :, None], page.drawn()[:, :, None], "deformed as is proposed")
        page.choose("scale", scale)
        differ(start[:, :, None], page.drawn()[:, :, None], "deformed as typed")
        compare_outlines(page, triangles_of(tev, model, step, float(scale)), "deformed")
        page.choose("scale", "")
        expect(float(page.get("scale", "value")), proposed, "scale that is proposed again")
        page.press("#parts-none")
        page.choose("scale", "")
        page.press("#parts-all")
        expect(float(page.get("scale", "value")), proposed, "scale after nothing was shown")
        page.choose("deformed", False)
        compare_outlines(page, triangles_of(tev, model, step, 0), "as it is")


def check_steps(browser, tev, model, path):
    """Steps are left out evenly, the last one stays, and the page says how many there are. Dots of the
    chart lead to those that there are."""
    steps = [step["text"] for step in facts_of(tev, model)["steps"]]
    with browser.page(path) as page:
        match = re.search(r"Shown are (\d+) of (\d+) steps", page.text("notes"))
        if match is None:
            fail("notes: " + page.text("notes"))
        shown = int(match[1])
        expect(int(match[2]), len(steps), "steps of the model")
        expect(page.get("step", "max"), str(shown - 1), "steps")
        expect(len(page.texts("#chart circle")), len(steps), "chart")
        places = []
        for step in range(shown):
            page.choose("step", step)
            places.append(steps.index(page.text("step-text")))
        for place, wanted in (1, places[-1]), (places[0], places[0]), (places[2], places[2]):
            page.press_dot(place)  # that of the second step, which is left out, leads nowhere
            expect(page.text("step-text"), steps[wanted], "step by the chart")
            expect(page.run("return [...document.querySelectorAll('#chart circle')]"
                            ".findIndex((each) => each.classList.contains('here'))"), wanted, "dot")
        gaps = {after - before for before, after in zip(places, places[1:])}
        if places[-1] != len(steps) - 1 or max(gaps) - min(gaps) > 1 or not 1 < shown < len(steps):
            fail(f"steps {places}")


CHECKS = {"marks": check_marks, "pick": check_pick, "values": check_values, "legend": check_legend,
          "shape": check_shape, "steps": check_steps}

if __name__ == "__main__":
    try:
        sys.exit(check_in_browser({**CHECKS, **check_page_use.CHECKS, **check_page_models.CHECKS}, sys.argv[1:]) > 0)
    except Wrong as wrong:
        print(wrong)
        sys.exit(1)
