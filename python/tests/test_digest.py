"""The digest of a model, worked out from the numbers that the examples were made of."""

import hashlib
import os
import sqlite3
import struct
import subprocess

MESH_NAMES = ("Coordinates", "Connectivity", "Polylength", "Node Ids", "Element Ids")
NO_RESULTS = (*MESH_NAMES, "Element Indices", "Element IDs")
KINDS = {"float32": "f", "uint32": "I"}


class Digest:
    """A SHA-256 as docs/catalogue.md describes it."""

    def __init__(self):
        self.sha = hashlib.sha256()

    def number(self, number):
        self.sha.update(struct.pack("<Q", number))

    def text(self, text):
        self.number(len(text.encode()))
        self.sha.update(text.encode())

    def array(self, variable):
        numbers = variable["values"] if variable else []
        kind = KINDS[variable["kind"]] if variable else "f"
        array = hashlib.sha256(struct.pack(f"<Q{len(numbers)}{kind}", len(numbers), *numbers))
        self.sha.update(array.digest())


def name_and_step(variable):
    name, _, step = variable["name"].partition("\x1e")
    return name, step


def path_of(truth, node):
    path = []
    while node["parent"]:
        node = truth.nodes[node["parent"]]
        path.insert(0, node["name"])
    return path


def location_of(truth, tuples, variables):
    mesh = {name_and_step(variable)[0]: truth.target(variable) for variable in variables}
    if tuples == len(mesh["Coordinates"]["values"]) // 3:
        return "node"
    return "element" if tuples == len(mesh["Polylength"]["values"]) else "unknown"


def digest_of(truth):
    geometries = truth.geometries()
    steps = {name_and_step(variable)[1] for geometry in geometries.values()
             for variable in geometry["variables"]} - {""}
    digest = Digest()
    digest.number(len(steps))
    for step in sorted(steps, key=lambda step: (step.split(" = ")[0], float(step.split(" = ")[1]))):
        digest.text(step)
    digest.number(len(geometries))
    parts = sorted((path_of(truth, truth.nodes[shape]), truth.nodes[shape]["name"], shape)
                   for shape in geometries)
    for path, name, shape in parts:
        variables = geometries[shape]["variables"]
        mesh = {name_and_step(variable)[0]: truth.target(variable) for variable in variables
                if name_and_step(variable)[0] in MESH_NAMES}
        fields = sorted(((*name_and_step(variable), truth.target(variable))
                         for variable in variables
                         if name_and_step(variable)[0] not in NO_RESULTS),
                        key=lambda field: (field[0], float(field[1].split(" = ")[1])))
        digest.number(len(path))
        for group in path:
            digest.text(group)
        digest.text(name)
        digest.number(1)
        digest.number(len(fields))
        digest.number(0)
        digest.text("")
        digest.number(3)
        for array in MESH_NAMES:
            digest.array(mesh.get(array))
        for result, step, variable in fields:
            digest.text(result)
            digest.number(1)
            digest.text(step)
            tuples = len(variable["values"]) // variable["width"]
            digest.text(location_of(truth, tuples, variables))
            digest.number(variable["width"])
            digest.array(variable)
    return digest.sha.hexdigest()


def test_digest_is_that_of_the_numbers(truth, path, tmp_path):
    catalogue = tmp_path / "catalogue.db"
    subprocess.run([os.environ["TEV_PROGRAM"], "scan", "--hash", path, "--catalogue", catalogue],
                   stdout=subprocess.DEVNULL, check=True)
    with sqlite3.connect(catalogue) as database:
        (found,), = database.execute("SELECT digest FROM models")
    assert found == digest_of(truth)
