#!/usr/bin/env python3
"""Compares a data dump with the numbers that its model was made from.

  compare_dump.py TRUTH.json.gz DUMP.txt

TRUTH lists the model's nodes with every value of every variable. The whole text of the dump is made
from it anew, without any code of the program under test, and must be that of DUMP byte for byte.
Exit status: 0 the same, 1 different (the first difference is shown), 2 bad usage.
"""

import gzip
import json
import math
import struct
import sys

INDENT = "    "
MESH_NAMES = ("Connectivity", "Coordinates", "Polylength", "Node Ids")
INTEGER_TYPES = (4, 5, 6, 9)


class Dataset:
    """The values of one variable: floats or integers, never both."""

    def __init__(self, group, name, variable, geometry):
        self.group = group
        self.result, _, self.instance = name.partition("\x1e")
        values = variable["values"]
        self.size = len(values)
        is_integer = variable["type"] in INTEGER_TYPES
        self.integers = values if is_integer else []
        self.floats = [] if is_integer else single_precision(values)
        self.names = [geometry]


def single_precision(values):
    layout = "<%df" % len(values)
    return struct.unpack(layout, struct.pack(layout, *values))


def node_id(value):
    if math.isnan(value):
        return 0
    return int(max(-(2.0**31), min(2.0**31 - 1, value)))


def column(text, width):
    return INDENT + text.rjust(width)


def float_column(value):
    return column("%g" % value, 10)


def id_column(value):
    return column(str(node_id(value)), 10)


# ---------------------------------------------------------------- gathering


def group_name(node):
    return node["name"] if node is not None and node["type"] == "Group" else None


def parent_of(nodes, node):
    return nodes.get(node["parent"]) if node is not None else None


def part_name(nodes, shape):
    parent = parent_of(nodes, shape)
    grandparent = parent_of(nodes, parent)
    name = group_name(parent) or ""
    is_direct = name == "Geometry"
    above = group_name(grandparent)
    if above is None:
        return name
    highest = group_name(parent_of(nodes, grandparent))
    if not is_direct and above == "Geometry" and highest is not None:
        return highest
    return above


def gather(nodes):
    datasets = []
    owned = {}
    for _, shape in sorted(nodes.items()):
        if shape["type"] != "Shape":
            continue
        geometry = nodes[shape["firstChild"]]
        for index, variable in enumerate(geometry["variables"]):
            if variable["linked"]:
                target = owned.get((variable["linkNodeId"], variable["linkVariableIndex"]))
                if target is not None:
                    target.names.append(geometry["name"])
                continue
            dataset = Dataset(
                part_name(nodes, shape), variable["name"], variable, geometry["name"]
            )
            owned[(geometry["id"], index)] = dataset
            datasets.append(dataset)
    return datasets


# ---------------------------------------------------------------- writing


def rows(count, cells_of):
    """Rows up to the first one that lacks a value, with what that one has."""
    text = []
    for number in range(count):
        cells = []
        try:
            for cell in cells_of(number):
                cells.append(cell)
        except IndexError:
            if cells:
                text.append("".join(cells) + "\n")
            break
        text.append("".join(cells) + "\n")
    return "".join(text)


def mesh_text(datasets):
    last = {dataset.result: dataset for dataset in datasets}
    floats = {name: last[name].floats if name in last else [] for name in MESH_NAMES}
    integers = {name: last[name].integers if name in last else [] for name in MESH_NAMES}
    counts = [d.size for d in datasets if d.result in ("Polylength", "Element Ids")]
    starts = [0]
    for length in integers["Polylength"]:
        starts.append(starts[-1] + length)

    def node_row(number):
        yield id_column(floats["Node Ids"][number])
        for axis in range(3):
            yield float_column(floats["Coordinates"][3 * number + axis])

    def element_row(number):
        length = integers["Polylength"][number]
        yield column(str(length), 6)
        for position in range(starts[number], starts[number] + length):
            yield column(str(integers["Connectivity"][position]), 8)

    node_count = last["Node Ids"].size if "Node Ids" in last else 0
    return (
        "    Coordinates : \n"
        + rows(node_count, node_row)
        + "\n    Connectivity : \n"
        + rows(counts[-1] if counts else 0, element_row)
        + "\n"
    )


def table_text(instance, listed, node_count):
    columns = []
    for dataset in listed:
        components = dataset.size // node_count
        columns += [(dataset, components, component) for component in range(components)]

    def row(number):
        for dataset, components, component in columns:
            if dataset.result == "Node Ids":
                yield id_column(dataset.floats[number])
            else:
                yield float_column(dataset.floats[component + components * number])

    return (
        "Data : \n"
        + ("    Instance : " + instance + "\n" if instance else "")
        + "    Results: "
        + ", ".join(dataset.result for dataset in listed)
        + "\n    Values : \n"
        + rows(node_count, row)
        + "\n"
    )


def in_byte_order(names):
    return sorted(names, key=lambda name: name.encode())


def overview_text(by_result, by_instance, node_count):
    text = "Results : \n"
    for result in in_byte_order(by_result):
        text += INDENT + result + INDENT + str(by_result[result][0].size // node_count) + "\n"
    text += "\nInstances : \n"
    for instance in in_byte_order(by_instance):
        text += INDENT + instance + "\n"
    return text + "\n"


def group_text(group, datasets):
    by_result = {}
    by_instance = {}
    for dataset in datasets:
        if dataset.result not in MESH_NAMES:
            by_result.setdefault(dataset.result, []).append(dataset)
            by_instance.setdefault(dataset.instance, []).append(dataset)
    node_sets = [d for d in datasets if d.result == "Node Ids" and not d.instance]
    node_count = node_sets[-1].size if node_sets else 0

    text = "Analysis : \n" + INDENT + group + "\n\nElement Sets : \n"
    text += "".join(INDENT + name + "\n" for name in datasets[0].names) + "\n"
    if node_count:
        text += overview_text(by_result, by_instance, node_count)
    text += mesh_text(datasets)
    if node_count:
        for instance in in_byte_order(by_instance):
            text += table_text(instance, by_instance[instance] + node_sets, node_count)
    return text


def dump_text(datasets):
    groups = {}
    for dataset in datasets:
        groups.setdefault(dataset.group, []).append(dataset)
    return "".join(group_text(group, groups[group]) for group in in_byte_order(groups))


# ---------------------------------------------------------------- comparing


def first_difference(expected, found):
    expected_lines = expected.split(b"\n")
    found_lines = found.split(b"\n")
    for number, pair in enumerate(zip(expected_lines, found_lines), 1):
        if pair[0] != pair[1]:
            return "line %d\n  expected %r\n  found    %r" % (number, *pair)
    return "%d lines in place of %d" % (len(found_lines), len(expected_lines))


def main(arguments):
    if len(arguments) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    with gzip.open(arguments[0], "rt", encoding="utf-8") as truth:
        nodes = {node["id"]: node for node in json.load(truth)["nodes"]}
    datasets = gather(nodes)
    expected = dump_text(datasets).encode()
    with open(arguments[1], "rb") as dump:
        found = dump.read()
    if expected != found:
        print(first_difference(expected, found))
        return 1
    values = sum(dataset.size for dataset in datasets)
    print("%d bytes from %d values are the same" % (len(expected), values))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
