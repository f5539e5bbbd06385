"""What the tests share: the example models with their truth, and the program `tev`."""

import gzip
import json
import os
import pathlib
import subprocess

import numpy as np
import pytest

import tev

EXAMPLES = pathlib.Path(os.environ["TEVINFO_EXAMPLES"])
MODELS = ("bracket", "heatsink")
SEPARATOR = "\x1e"


class Truth:
    """What a model was made from, with links followed."""

    def __init__(self, name):
        with gzip.open(EXAMPLES / f"{name}.truth.json.gz", "rt", encoding="utf-8") as file:
            self.nodes = {node["id"]: node for node in json.load(file)["nodes"]}

    def geometries(self):
        """The geometry of each shape, by the shape's id."""
        return {number: self.nodes[node["firstChild"]] for number, node in self.nodes.items()
                if node["type"] == "Shape"}

    def target(self, variable):
        if variable["linked"]:
            return self.nodes[variable["linkNodeId"]]["variables"][variable["linkVariableIndex"]]
        return variable

    def array(self, variable, kind):
        target = self.target(variable)
        numbers = np.array(target["values"], kind)
        return numbers if target["width"] == 1 else numbers.reshape(-1, target["width"])

    def mesh(self, geometry, name, kind):
        return next((self.array(variable, kind) for variable in geometry["variables"]
                     if variable["name"] == name), None)


@pytest.fixture(scope="session", params=MODELS)
def name(request):
    return request.param


@pytest.fixture(scope="session")
def truth(name):
    return Truth(name)


@pytest.fixture
def path(name):
    return str(EXAMPLES / f"{name}.tev")


@pytest.fixture
def model(path):
    with tev.open(path) as opened:
        yield opened


@pytest.fixture
def bracket():
    with tev.open(EXAMPLES / "bracket.tev") as opened:
        yield opened


@pytest.fixture
def heatsink():
    with tev.open(EXAMPLES / "heatsink.tev") as opened:
        yield opened


def answer_of(*arguments):
    """The one entry of what `tev` answers as JSON."""
    run = subprocess.run([os.environ["TEV_PROGRAM"], *map(str, arguments), "--json"],
                         stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False)
    entry, = json.loads(run.stdout)["files"]
    return entry


@pytest.fixture
def small_model(tmp_path):
    """Writes one of the models that are made for these tests, and gives its path."""
    def write(name):
        path = tmp_path / f"{name}.tev"
        path.write_bytes(subprocess.run([os.environ["TEVINFO_MODEL_WRITER"], "small", name],
                                        stdout=subprocess.PIPE, check=True).stdout)
        return path
    return write
