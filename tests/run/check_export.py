#!/usr/bin/env python3
"""Reads what `tev export` wrote by other programs' hands and compares it with the truth, bit for bit.

  check_export.py vtu TRUTH.json.gz FILE.vtu [STEP]      by VTK and by meshio
  check_export.py pvd TRUTH.json.gz FILE.pvd             each file that it lists, by VTK
  check_export.py hdf TRUTH.json.gz FILE.hdf [STEP]      by VTK and by h5py
  check_export.py xdmf TRUTH.json.gz FILE.xdmf           by following its references with h5py
  check_export.py volumes TRUTH.json.gz FILE.vtu         volumes of quadratic tetrahedra, by meshio
  check_export.py shared FILE.xdmf NUMBER                how many data sets of points there are
  check_export.py set FILE.xdmf PART NAME ID...          the node ids of a set in a part
  check_export.py ids FILE NODES ELEMENTS                the ids of the only part; "" for none
  check_export.py names FILE.hdf PART RESULT...          the names of the only part and its results

STEP is the text of a step. "--cells RULES" in front of all: what elements of a number of nodes have to
be, as tev export has it. Exit status: 0 right, 1 wrong (the first difference is shown), 77 where a
reader is not installed.
"""

import os
import sys
import xml.etree.ElementTree

import numpy

from check_analysis import MESH, SEPARATOR, Truth, require

try:
    import h5py
    import meshio
    from vtkmodules.util.numpy_support import vtk_to_numpy
    from vtkmodules.vtkIOHDF import vtkHDFReader
    from vtkmodules.vtkIOXML import vtkXMLUnstructuredGridReader
except ImportError as missing:
    print(missing)
    sys.exit(77)


def bits(values):
    return numpy.ascontiguousarray(values, dtype="<f4").view("<u4")


def same(found, expected, *what):
    """Whether floats are the same, bit for bit."""
    found, expected = numpy.asarray(found), numpy.asarray(expected, dtype="<f4")
    require(found.dtype == numpy.float32, *what, "is of", found.dtype)
    require(found.size == expected.size, *what, "has", found.size, "numbers, not", expected.size)
    require((bits(found).ravel() == bits(expected).ravel()).all(), *what)


class Cells:
    """The types of VTK that elements have to be of, by their numbers of nodes."""

    OF_RULES = {"quad": 9, "tetra": 10, "tetra10": 24}
    of_nodes = {}

    @classmethod
    def take(cls, rules):
        for rule in rules.split(","):
            nodes, _, name = rule.partition("=")
            cls.of_nodes[int(nodes)] = cls.OF_RULES[name]

    @classmethod
    def types(cls, lengths):
        surfaces = {1: 1, 2: 3, 3: 5, 4: 9}
        return numpy.array([cls.of_nodes.get(length, surfaces.get(length, 7))
                            for length in lengths.tolist()])


class Part:
    """A part of the truth at a step: its mesh, and the fields that it has there."""

    def __init__(self, truth, part, geometry, step):
        def mesh(name, dtype):
            values = truth.mesh(geometry, name)
            return None if values is None else numpy.array(values, dtype=dtype)

        self.id = part
        self.name = next(node["name"] for node in truth.nodes.values()
                         if node["type"] == "Shape" and node["id"] == part)
        self.points = mesh("Coordinates", "<f4").reshape(-1, 3)
        self.nodes = mesh("Connectivity", "<i8")
        self.lengths = mesh("Polylength", "<i8")
        self.types = Cells.types(self.lengths)
        self.node_ids = mesh("Node Ids", "<i8")
        self.element_ids = mesh("Element Ids", "<i8")
        self.used = numpy.unique(self.nodes)
        self.fields = {}
        for variable in geometry["variables"]:
            result, _, instance = variable["name"].partition(SEPARATOR)
            if variable["type"] > 11 and result not in MESH and instance == step:
                width, values = truth.values(variable)
                self.fields[result] = numpy.array(values, dtype="<f4").reshape(-1, width)

    def is_of_nodes(self, values):
        return len(values) == len(self.points)


def parts_of(path, step):
    truth = Truth(path)
    return [Part(truth, part, geometry, step) for part, geometry in truth.parts()]


def steps_of(path):
    """All steps of a model that have one label, by their value."""
    steps = set()
    for _, geometry in Truth(path).parts():
        for variable in geometry["variables"]:
            _, _, instance = variable["name"].partition(SEPARATOR)
            if instance:
                steps.add(instance)
    return sorted(steps, key=lambda step: float(step.partition(" = ")[2]))


def check_merged(parts, grid):
    """A grid of all parts. It has: points, connectivity, offsets (of ends), types, point and cell
    data."""
    used = [part.used for part in parts]
    first = numpy.cumsum([0] + [len(nodes) for nodes in used])
    same(grid["points"], numpy.concatenate([p.points[u] for p, u in zip(parts, used)]), "points")
    connectivity = [numpy.searchsorted(u, p.nodes) + start
                    for p, u, start in zip(parts, used, first)]
    lengths = numpy.concatenate([part.lengths for part in parts])
    require((grid["connectivity"] == numpy.concatenate(connectivity)).all(), "connectivity")
    require((grid["offsets"] == numpy.cumsum(lengths)).all(), "offsets")
    require((grid["types"] == numpy.concatenate([part.types for part in parts])).all(), "types")

    point, cell = grid["point"], grid["cell"]
    ids = numpy.repeat([part.id for part in parts], [len(part.lengths) for part in parts])
    require((cell["Part Ids"] == ids).all(), "Part Ids")
    require((point["Node Ids"] == numpy.concatenate(
        [p.node_ids[u] for p, u in zip(parts, used)])).all(), "Node Ids")
    elements = [part.element_ids if part.element_ids is not None
                else numpy.full(len(part.lengths), -1) for part in parts]
    require((cell["Element Ids"] == numpy.concatenate(elements)).all(), "Element Ids")

    expected = {(result, part.is_of_nodes(values)): values.shape[1]
                for part in parts for result, values in part.fields.items()}
    require(expected, "the truth has no fields")
    require(set(point) - {"Node Ids"} == {result for result, nodes in expected if nodes}, set(point))
    require(set(cell) - {"Part Ids", "Element Ids"} ==
            {result for result, nodes in expected if not nodes}, set(cell))
    for (result, of_nodes), width in expected.items():
        found = (point if of_nodes else cell)[result]
        require(found.size == width * (first[-1] if of_nodes else len(lengths)), result, "has size",
                found.size)
        found = found.reshape(-1, width)
        start = 0
        for part, nodes in zip(parts, used):
            count = len(nodes) if of_nodes else len(part.lengths)
            values = part.fields.get(result)
            piece = found[start:start + count]
            if values is None or part.is_of_nodes(values) != of_nodes:
                require(numpy.isnan(piece).all(), result, "of", part.name)
            else:
                same(piece, values[nodes] if of_nodes else values, result, "of", part.name)
            start += count


def grid_of_vtk(data):
    def arrays(attributes):
        return {attributes.GetArrayName(i): vtk_to_numpy(attributes.GetArray(i))
                for i in range(attributes.GetNumberOfArrays())}

    cells = data.GetCells()
    return {"points": vtk_to_numpy(data.GetPoints().GetData()),
            "connectivity": vtk_to_numpy(cells.GetConnectivityArray()),
            "offsets": vtk_to_numpy(cells.GetOffsetsArray())[1:],
            "types": vtk_to_numpy(data.GetCellTypesArray()),
            "point": arrays(data.GetPointData()), "cell": arrays(data.GetCellData())}


def read_vtk(reader, path):
    reader.SetFileName(path)
    reader.Update()
    data = reader.GetOutput()
    require(data is not None and data.GetNumberOfCells() > 0, path, "has no cells for VTK")
    return data


def check_meshio(parts, path):
    """meshio sorts cells by their types in blocks of neighbours."""
    mesh = meshio.read(path)
    same(mesh.points, numpy.concatenate([part.points[part.used] for part in parts]), "points")
    lengths = numpy.concatenate([numpy.full(len(block.data), block.data.shape[1])
                                 for block in mesh.cells])
    require((lengths == numpy.concatenate([part.lengths for part in parts])).all(), "cells")
    for result, values in parts[0].fields.items():
        if parts[0].is_of_nodes(values):
            same(mesh.point_data[result][:len(parts[0].used)], values[parts[0].used], result)
        else:
            found = numpy.concatenate(mesh.cell_data[result])
            same(found[:len(values)], values, result)


def check_vtu(truth, path, step):
    parts = parts_of(truth, step)
    check_merged(parts, grid_of_vtk(read_vtk(vtkXMLUnstructuredGridReader(), path)))
    check_meshio(parts, path)
    with open(path, encoding="utf-8") as file:
        head = file.read(10000)
    for part in parts:
        require(f"\n{part.id}: {part.name}\n" in head, part.name, "is not listed")


def check_pvd(truth, path):
    steps = steps_of(truth)
    listed = list(xml.etree.ElementTree.parse(path).iter("DataSet"))
    require([float(entry.get("timestep")) for entry in listed] ==
            [float(step.partition(" = ")[2]) for step in steps], "the times")
    for entry, step in zip(listed, steps):
        file = os.path.join(os.path.dirname(path), entry.get("file"))
        check_merged(parts_of(truth, step), grid_of_vtk(read_vtk(vtkXMLUnstructuredGridReader(), file)))


def check_hdf(truth, path, step):
    parts = parts_of(truth, step)
    check_merged(parts, grid_of_vtk(read_vtk(vtkHDFReader(), path)))
    with h5py.File(path) as file:
        root = file["VTKHDF"]
        require(list(root.attrs["Version"]) == [1, 0], "version", root.attrs["Version"])
        check_merged(parts, {"points": root["Points"][:], "connectivity": root["Connectivity"][:],
                             "offsets": root["Offsets"][1:], "types": root["Types"][:],
                             "point": {name: root["PointData"][name][:] for name in root["PointData"]},
                             "cell": {name: root["CellData"][name][:] for name in root["CellData"]}})
        names = root["CellData/Part Ids"].attrs
        require(list(names["names"]) == [part.name for part in parts], list(names["names"]))
        require(list(names["ids"]) == [part.id for part in parts], list(names["ids"]))


class Xdmf:
    """The grids of an XDMF file, by step and part, with their references followed."""

    KINDS = {"Float": "f", "Int": "i", "UInt": "u"}

    def __init__(self, path):
        self.folder = os.path.dirname(path)
        self.root = xml.etree.ElementTree.parse(path).getroot()
        require(self.root.tag == "Xdmf" and self.root.get("Version") == "3.0", "no XDMF 3")
        self.read = {}

    def steps(self):
        collection = self.root.find("Domain/Grid")
        require(collection.get("CollectionType") == "Temporal", "no temporal collection")
        for step in collection.findall("Grid"):
            require(step.get("CollectionType") == "Spatial", "no spatial collection")
            information = step.find("Information")
            yield (float(step.find("Time").get("Value")),
                   None if information is None else information.get("Value"), step.findall("Grid"))

    def values(self, element):
        item = element.find("DataItem")
        require(item.get("Format") == "HDF", "format")
        file, _, place = item.text.strip().partition(":")
        if place not in self.read:
            with h5py.File(os.path.join(self.folder, file)) as numbers:
                self.read[place] = numbers[place][:]
        values = self.read[place]
        require(list(values.shape) == [int(size) for size in item.get("Dimensions").split()], place)
        require(values.dtype.kind == self.KINDS[item.get("NumberType")], place, values.dtype)
        require(values.dtype.itemsize == int(item.get("Precision")), place)
        return values

    def attributes(self, grid, center):
        return {attribute.get("Name"): self.values(attribute)
                for attribute in grid.findall("Attribute") if attribute.get("Center") == center}

    # The numbers of nodes and the types of VTK, of cells by their names and by their codes in lists.
    NAMED = {"Polyvertex": (None, 1), "Polyline": (None, 3), "Polygon": (None, 7), "Triangle": (3, 5),
             "Quadrilateral": (4, 9), "Tetrahedron": (4, 10), "Tetrahedron_10": (10, 24)}
    CODES = {1: (None, 1), 2: (None, 3), 3: (None, 7), 4: (3, 5), 5: (4, 9), 6: (4, 10), 38: (10, 24)}

    def cells(self, grid):
        """The nodes of all cells, their lengths and their types."""
        topology = grid.find("Topology")
        values = self.values(topology)
        count = int(topology.get("NumberOfElements"))
        if topology.get("TopologyType") != "Mixed":
            known, kind = self.NAMED[topology.get("TopologyType")]
            length = known or int(topology.get("NodesPerElement"))
            return values.ravel(), numpy.full(count, length), numpy.full(count, kind)
        nodes, lengths, types, next_one = [], [], [], 0
        while next_one < len(values):
            length, kind = self.CODES[int(values[next_one])]
            next_one += 1
            if length is None:
                length = int(values[next_one])
                next_one += 1
            nodes.append(values[next_one:next_one + length])
            lengths.append(length)
            types.append(kind)
            next_one += length
        require(len(lengths) == count, "number of cells")
        return numpy.concatenate(nodes), numpy.array(lengths), numpy.array(types)


def check_xdmf(truth, path):
    xdmf = Xdmf(path)
    steps = steps_of(truth)
    found = list(xdmf.steps())
    require([text for _, text, _ in found] == steps, "the steps")
    require([time for time, _, _ in found] == [float(step.partition(" = ")[2]) for step in steps],
            "the times")
    for _, step, grids in found:
        parts = parts_of(truth, step)
        require([grid.get("Name") for grid in grids] == [part.name for part in parts], "the parts")
        for grid, part in zip(grids, parts):
            same(xdmf.values(grid.find("Geometry")), part.points, "points of", part.name)
            nodes, lengths, types = xdmf.cells(grid)
            require((lengths == part.lengths).all(), "lengths of", part.name)
            require((types == part.types).all(), "types of", part.name)
            require((nodes == part.nodes).all(), "faces of", part.name)
            point, cell = xdmf.attributes(grid, "Node"), xdmf.attributes(grid, "Cell")
            require((point.pop("Node Ids") == part.node_ids).all(), "Node Ids of", part.name)
            elements = cell.pop("Element Ids", None)
            require((elements is None) == (part.element_ids is None), "Element Ids of", part.name)
            require(elements is None or (elements == part.element_ids).all(), "ids of", part.name)
            require(set(point) | set(cell) == set(part.fields), "fields of", part.name, step)
            for result, values in part.fields.items():
                same((point if part.is_of_nodes(values) else cell)[result], values, result, "of",
                     part.name, step)


def check_shared(path, number):
    xdmf = Xdmf(path)
    places = {grid.find("Geometry/DataItem").text for _, _, grids in xdmf.steps() for grid in grids}
    require(len(places) == number, len(places), "data sets of points")


def check_names(path, part, *results):
    with h5py.File(path) as file:
        root = file["VTKHDF"]
        require(list(root["CellData/Part Ids"].attrs["names"]) == [part],
                list(root["CellData/Part Ids"].attrs["names"]))
        require(set(root["PointData"]) == {"Node Ids", *results}, set(root["PointData"]))
    data = read_vtk(vtkHDFReader(), path).GetPointData()
    names = {data.GetArrayName(i) for i in range(data.GetNumberOfArrays())}
    require(names == {"Node Ids", *results}, names)


def check_ids(path, *expected):
    if path.endswith(".xdmf"):
        xdmf = Xdmf(path)
        (_, _, (grid,)), = xdmf.steps()
        found = [xdmf.attributes(grid, center).get(name)
                 for center, name in (("Node", "Node Ids"), ("Cell", "Element Ids"))]
    else:
        reader = vtkHDFReader() if path.endswith(".hdf") else vtkXMLUnstructuredGridReader()
        grid = grid_of_vtk(read_vtk(reader, path))
        found = [grid["point"]["Node Ids"], grid["cell"]["Element Ids"]]
        found = [None if (ids == -1).all() else ids for ids in found]
    texts = ["" if ids is None else " ".join(map(str, ids.tolist())) for ids in found]
    require(texts == list(expected), texts)


def check_set(path, part, name, *ids):
    xdmf = Xdmf(path)
    _, _, grids = next(xdmf.steps())
    grid = next(grid for grid in grids if grid.get("Name") == part)
    sets = {each.get("Name"): each for each in grid.findall("Set")}
    require((name in sets) == bool(ids), list(sets))
    if ids:
        require(sets[name].get("SetType") == "Node", sets[name].get("SetType"))
        nodes = xdmf.attributes(grid, "Node")["Node Ids"][xdmf.values(sets[name])]
        require(list(nodes) == [int(node) for node in ids], list(nodes))


# Gauss points of a tetrahedron that are exact for polynomials of degree 3, as the determinant of a
# quadratic mapping is one: five points, of which the first has a negative weight.
GAUSS = [((0.25, 0.25, 0.25), -2 / 15)] + [
    (tuple(0.5 if i == j else 1 / 6 for j in range(3)), 3 / 40) for i in range(4)]


def shape_derivatives(r, s, t):
    """Derivatives of the ten shape functions: corners, then the middles of 01, 12, 20, 03, 13, 23."""
    u = 1 - r - s - t
    return numpy.array([
        [1 - 4 * u] * 3, [4 * r - 1, 0, 0], [0, 4 * s - 1, 0], [0, 0, 4 * t - 1],
        [4 * (u - r), -4 * r, -4 * r], [4 * s, 4 * r, 0], [-4 * s, 4 * (u - s), -4 * s],
        [-4 * t, -4 * t, 4 * (u - t)], [4 * t, 0, 4 * r], [0, 4 * t, 4 * s]])


def check_volumes(truth, path):
    mesh = meshio.read(path)
    require([block.type for block in mesh.cells] == ["tetra10"], [block.type for block in mesh.cells])
    points = mesh.points.astype(float)[mesh.cells[0].data]
    volumes = sum(weight * numpy.linalg.det(
        numpy.einsum("nk,end->ekd", shape_derivatives(*place), points))
        for place, weight in GAUSS)
    ids = mesh.cell_data["Part Ids"][0].ravel()
    parts = parts_of(truth, steps_of(truth)[0])
    require(len(parts) > 1, "there are no parts")
    for part in parts:
        solver = part.fields["Element Volume"].ravel().astype(float)
        found = volumes[ids == part.id]
        require((found > 0).all(), "elements of", part.name, "are turned inside out")
        error = abs(found.sum() / solver.sum() - 1)
        require(error < 1e-6, "volume of", part.name, "is off by", error)
        worst = abs(found / solver - 1).max()
        require(worst < 2e-5, "an element of", part.name, "is off by", worst)
        print(f"{part.name}: total {error:.1e}, element {worst:.1e}")


def main(how, *arguments):
    if how == "--cells":
        Cells.take(arguments[0])
        main(*arguments[1:])
    elif how == "shared":
        check_shared(arguments[0], int(arguments[1]))
    elif how == "set":
        check_set(*arguments)
    elif how == "ids":
        check_ids(*arguments)
    elif how == "names":
        check_names(*arguments)
    elif how in ("vtu", "hdf"):
        truth, path = arguments[:2]
        step = arguments[2] if len(arguments) > 2 else steps_of(truth)[-1]
        {"vtu": check_vtu, "hdf": check_hdf}[how](truth, path, step)
    else:
        {"pvd": check_pvd, "xdmf": check_xdmf, "volumes": check_volumes}[how](*arguments)


main(*sys.argv[1:])
