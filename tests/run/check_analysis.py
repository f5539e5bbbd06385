#!/usr/bin/env python3
"""Compares what `tev` tells of a model's numbers, read from standard input, with the truth.

  check_analysis.py stats TRUTH.json.gz    (tev results --stats --json, of one model)
  check_analysis.py csv TRUTH.json.gz PART RESULT STEP    (tev values)
  check_analysis.py npy TRUTH.json.gz PART RESULT STEP    (the same, --format npy)
  check_analysis.py values TRUTH.json.gz TEV MODEL
  check_analysis.py mesh TRUTH.json.gz PART OFFSETS.npy INDICES.npy

PART is an id; STEP may be empty. "values" runs the program TEV on each field and each mesh variable of
MODEL, in both formats. Values must be the same bit for bit. TRUTH lists what the model was made from.
Statistics are worked out here in double precision, with exact sums. Exit status: 0 right, 1 wrong (the
first difference is shown).
"""

import csv
import gzip
import io
import json
import math
import struct
import subprocess
import sys

import numpy

SEPARATOR = "\x1e"
MESH = ("Node Ids", "Coordinates", "Connectivity", "Polylength", "Element Ids", "Element Indices",
        "Element IDs")
RELATIVE = 1e-12


def require(good, *what):
    if not good:
        sys.exit("wrong: " + " ".join(str(part) for part in what))


def single(value):
    """The double that a number of the truth is when it is stored in four bytes."""
    return struct.unpack("<f", struct.pack("<f", value))[0]


class Truth:
    """The variables of a model's parts, with links followed."""

    def __init__(self, path):
        with gzip.open(path, "rt", encoding="utf-8") as file:
            self.nodes = {node["id"]: node for node in json.load(file)["nodes"]}

    def parts(self):
        """Id and geometry of each shape."""
        return [(node["id"], self.nodes[node["firstChild"]])
                for _, node in sorted(self.nodes.items()) if node["type"] == "Shape"]

    def values(self, variable):
        if variable["linked"]:
            variable = self.nodes[variable["linkNodeId"]]["variables"][
                variable["linkVariableIndex"]]
        if variable["kind"] == "float32":
            return variable["width"], [single(value) for value in variable["values"]]
        return variable["width"], variable["values"]

    def mesh(self, geometry, name):
        for variable in geometry["variables"]:
            if variable["name"] == name:
                return self.values(variable)[1]
        return None

    def fields(self):
        """(part id, geometry, result, step, width, values) of each field."""
        for part, geometry in self.parts():
            for variable in geometry["variables"]:
                result, _, step = variable["name"].partition(SEPARATOR)
                if variable["type"] > 11 and result not in MESH:
                    yield (part, geometry, result, step.replace(SEPARATOR, " ") or None,
                           *self.values(variable))


def close(found, expected, scale):
    return abs(found - expected) <= RELATIVE * scale


def check_figures(figures, numbers, places, ids, what):
    """"numbers" of the tuples at "places"."""
    least, most = min(numbers), max(numbers)
    for name, extreme in (("min", least), ("max", most)):
        index = places[numbers.index(extreme)]
        require(close(figures[name], extreme, abs(extreme)), what, name, figures[name], extreme)
        require(figures[name + "Index"] == index, what, name + "Index", figures, index)
        require(figures[name + "At"] == (int(ids[index]) if ids else None), what, name + "At",
                figures)
    mean = math.fsum(numbers) / len(numbers)
    size = math.fsum(abs(number) for number in numbers) / len(numbers)
    require(close(figures["mean"], mean, size), what, "mean", figures["mean"], mean)
    rms = math.sqrt(math.fsum(number * number for number in numbers) / len(numbers))
    require(close(figures["rms"], rms, rms), what, "rms", figures["rms"], rms)


def check_stats(answer, truth):
    fields = iter(answer["files"][0]["fields"])
    count = 0
    for part, geometry, result, step, width, values in truth.fields():
        field = next(fields)
        what = f"part {part}, {result}, {step}:"
        require((field["part"], field["result"], field["step"]) == (part, result, step), what,
                field)
        tuples = [values[i:i + width] for i in range(0, len(values), width)]
        require((field["components"], field["count"]) == (width, len(tuples)), what, field)
        is_node = len(tuples) == len(truth.mesh(geometry, "Coordinates")) // 3
        require(field["location"] == ("node" if is_node else "element"), what, field["location"])
        places = (sorted(set(truth.mesh(geometry, "Connectivity"))) if is_node
                  else range(len(tuples)))
        ids = truth.mesh(geometry, "Node Ids" if is_node else "Element Ids")
        statistics = field["statistics"]
        require(statistics["counted"] == len(places), what, "counted", statistics["counted"])
        require(statistics["notFinite"] == 0, what, "notFinite")
        require(len(statistics["components"]) == width, what, "components")
        for i, figures in enumerate(statistics["components"]):
            check_figures(figures, [tuples[place][i] for place in places], places, ids,
                          f"{what} component {i}")
        require((statistics["magnitude"] is not None) == (width == 3), what, "magnitude")
        if width == 3:
            check_figures(statistics["magnitude"],
                          [math.sqrt(sum(x * x for x in tuples[place])) for place in places],
                          places, ids, f"{what} magnitude")
        count += 1
    require(next(fields, None) is None, "there are more fields than the truth has")
    require(count > 15, "the truth has few fields")


def numbers_of(truth, part, result, step):
    """Width, values, and ids of one variable."""
    geometry = dict(truth.parts())[int(part)]
    name = result + (SEPARATOR + step if step else "")
    variable = next(each for each in geometry["variables"] if each["name"] == name)
    width, values = truth.values(variable)
    is_node = len(values) // width == len(truth.mesh(geometry, "Coordinates")) // 3
    return width, values, truth.mesh(geometry, "Node Ids" if is_node else "Element Ids")


def bits(value):
    return struct.pack("<f", float(value))


def check_csv(text, truth, part, result, step):
    width, values, ids = numbers_of(truth, part, result, step)
    rows = list(csv.reader(text.splitlines()))
    require(rows[0] == ["part", "result", "step", "index", "id",
                        *(f"v{i + 1}" for i in range(width))], rows[0])
    require(len(rows) == len(values) // width + 1, "rows", len(rows))
    for i, row in enumerate(rows[1:]):
        require(row[:5] == [part, result, step, str(i), str(int(ids[i]))], row)
        require([bits(cell) for cell in row[5:]]
                == [bits(value) for value in values[i * width:(i + 1) * width]], row)


def check_npy(data, truth, part, result, step):
    width, values, _ = numbers_of(truth, part, result, step)
    array = numpy.load(io.BytesIO(data))
    is_ids = result in ("Node Ids", "Element Ids")
    require(array.dtype == numpy.dtype("<i8" if is_ids else "<f4"), array.dtype)
    require(array.shape == ((len(values),) if width == 1 else (len(values) // width, width)),
            array.shape)
    require(data[6:8] == bytes([1, 0]) and array.flags["C_CONTIGUOUS"], "format")
    expected = numpy.array(values, "<i8" if is_ids else "<f4").reshape(array.shape)
    require(array.tobytes() == expected.tobytes(), "the values differ")


def check_all_values(truth, tev, model):
    """Each field and each mesh variable, in both formats; parts of the truth's own order."""
    asked = [(part, result, step or "") for part, _, result, step, *_ in truth.fields()]
    asked += [(part, name, "") for part, geometry in truth.parts()
              for name in ("Coordinates", "Node Ids", "Element Ids")
              if truth.mesh(geometry, name) is not None]
    require(len(asked) > 15, "the truth has few fields")
    for part, result, step in asked:
        for form in ("csv", "npy"):
            run = subprocess.run([tev, "values", model, "--part", str(part), "--result", result,
                                  "--step", step, "--format", form],
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
            require(run.returncode == 0 and not run.stderr, part, result, step, form, run.stderr)
            if form == "csv":
                check_csv(run.stdout.decode(), truth, str(part), result, step)
            else:
                check_npy(run.stdout, truth, str(part), result, step)


def check_mesh(truth, part, offsets, indices):
    geometry = dict(truth.parts())[int(part)]
    lengths = numpy.diff(numpy.load(offsets))
    require(numpy.load(offsets).dtype == numpy.dtype("<u4"), "the type of the offsets")
    require(numpy.load(offsets)[0] == 0, "the first offset")
    require(list(lengths) == truth.mesh(geometry, "Polylength"), "the lengths")
    require(list(numpy.load(indices)) == truth.mesh(geometry, "Connectivity"), "the indices")


def main():
    how, truth = sys.argv[1], Truth(sys.argv[2])
    rest = sys.argv[3:]
    {"stats": lambda: check_stats(json.load(sys.stdin), truth),
     "csv": lambda: check_csv(sys.stdin.read(), truth, *rest),
     "npy": lambda: check_npy(sys.stdin.buffer.read(), truth, *rest),
     "values": lambda: check_all_values(truth, *rest),
     "mesh": lambda: check_mesh(truth, *rest)}[how]()


if __name__ == "__main__":
    main()
