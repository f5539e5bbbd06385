"""Parts as meshes of meshio and VTK."""

import sys

import numpy as np
import pytest

import tev
from conftest import EXAMPLES


@pytest.mark.parametrize("package, convert", [("meshio", "to_meshio"), ("vtkmodules", "to_vtk")])
def test_without_the_package_the_error_says_so(bracket, monkeypatch, package, convert):
    for name in [name for name in sys.modules if name.split(".")[0] == package]:
        monkeypatch.delitem(sys.modules, name)
    monkeypatch.setitem(sys.modules, package, None)
    with pytest.raises(ImportError, match="needs the package"):
        getattr(bracket[1], convert)("Load Case = 1")


def test_meshio_has_every_number(bracket):
    pytest.importorskip("meshio")
    part = bracket[1]
    mesh = part.to_meshio("Load Case = 1")
    assert mesh.points.tobytes() == part.points.tobytes()
    assert [(block.type, len(block.data)) for block in mesh.cells] == [("polygon", 1953)]
    assert np.array_equal(mesh.cells[0].data.ravel(), part.faces.indices)
    for field in part.fields:
        found = (mesh.point_data[field.result] if field.location == "node"
                 else mesh.cell_data[field.result][0])
        assert found.tobytes() == field.values.tobytes(), field
    assert np.array_equal(mesh.point_data["Node Ids"], part.node_ids)
    assert np.array_equal(mesh.cell_data["Element Ids"][0], part.element_ids)


@pytest.mark.parametrize("name, part, step", [("bracket", "Arm (Aluminium)", "Load Case = 1"),
                                              ("heatsink", "FINS", "Time = 10")])
def test_meshio_reads_again_what_it_was_given(name, part, step, tmp_path):
    meshio = pytest.importorskip("meshio")
    with tev.open(EXAMPLES / f"{name}.tev") as model:
        mesh = model[part].to_meshio(step)
    mesh.write(tmp_path / "again.vtu")
    again = meshio.read(tmp_path / "again.vtu")
    assert again.points.tobytes() == mesh.points.tobytes()
    assert [block.type for block in again.cells] == [block.type for block in mesh.cells]
    for block, other in zip(again.cells, mesh.cells):
        assert np.array_equal(block.data, other.data) and len(block.data)
    for result, values in mesh.point_data.items():
        assert again.point_data[result].tobytes() == values.tobytes(), result


@pytest.mark.parametrize("package, convert", [("meshio", "to_meshio"), ("vtkmodules", "to_vtk")])
def test_points_of_other_than_three_coordinates_are_damage(package, convert, small_model):
    pytest.importorskip(package)
    with tev.open(small_model("two coordinates")) as model:
        for ask in (getattr(model["Frame"], convert), lambda: model["Frame"].points):
            with pytest.raises(tev.DamagedError, match="2 coordinates in place of 3") as caught:
                ask()
            assert caught.value.stream == "Heavy Data" and caught.value.place == 20


def test_fields_without_a_step_come_along(small_model):
    pytest.importorskip("meshio")
    with tev.open(small_model("without a step")) as model:
        part = model["Frame"]
        data = part.to_meshio("Time = 0.5").point_data
        assert list(data["Thickness"]) == [1, 2, 3, 4, 5]
        assert list(data["Temperature"]) == [293.25, 294, 295.5, 296, 1234567]
        assert set(data) == {"Displacement", "Temperature", "Thickness", "Node Ids"}
        data = part.to_meshio().point_data
        assert list(data["Temperature"]) == [1, 2, 3, 4, 5]
        assert set(data) == {"Temperature", "Thickness", "Node Ids"}


@pytest.mark.parametrize("name, nodes, elements", [("more ids", [1, 2, 3, 4, 5], [101, 102]),
                                                   ("fewer ids", None, None)])
def test_ids_come_along_where_each_has_one(small_model, name, nodes, elements):
    pytest.importorskip("meshio")
    pytest.importorskip("vtkmodules")
    with tev.open(small_model(name)) as model:
        part = model["Frame"]
        stored = len(part.node_ids), len(part.element_ids)
        assert stored == ((7, 3) if nodes else (4, 1)), "they are given as they are stored"
        mesh, grid = part.to_meshio(), part.to_vtk()
        assert ("Node Ids" in mesh.point_data) == bool(grid.GetPointData().HasArray("Node Ids")) == (
            nodes is not None)
        assert ("Element Ids" in mesh.cell_data) == bool(
            grid.GetCellData().HasArray("Element Ids")) == (elements is not None)
        if nodes:
            assert mesh.point_data["Node Ids"].tolist() == nodes
            assert mesh.cell_data["Element Ids"][0].tolist() == elements


def test_meshio_sorts_cells_by_their_nodes(heatsink):
    pytest.importorskip("meshio")
    part = heatsink["Temperature = 302"]
    mesh = part.to_meshio(part["Temperature"][0].step)
    assert [(block.type, len(block.data)) for block in mesh.cells] == [
        ("triangle", 428), ("quad", 214)]
    triangles = [list(face) for face in part.faces if len(face) == 3]
    assert mesh.cells[0].data.tolist() == triangles


def test_vtk_has_every_number(heatsink):
    pytest.importorskip("vtkmodules")
    from vtkmodules.util.numpy_support import vtk_to_numpy
    for part in (heatsink["FINS"], heatsink["Temperature = 302"]):
        field = part["Temperature"][-1]
        grid = part.to_vtk(field.step)
        assert vtk_to_numpy(grid.GetPoints().GetData()).tobytes() == part.points.tobytes()
        found = vtk_to_numpy(grid.GetPointData().GetArray("Temperature"))
        assert found.dtype == np.float32 and found.tobytes() == field.values.tobytes()
        assert grid.GetNumberOfCells() == len(part.faces)
        assert np.array_equal(vtk_to_numpy(grid.GetCells().GetConnectivityArray()),
                              part.faces.indices)
        assert {grid.GetCellType(i) for i in range(len(part.faces))} <= {5, 9}
        for i in (0, len(part.faces) - 1):
            assert grid.GetCellType(i) == {3: 5, 4: 9}[len(part.faces[i])]


def test_no_step_gives_the_mesh_alone(heatsink):
    pytest.importorskip("meshio")
    mesh = heatsink["FINS"].to_meshio()
    assert set(mesh.point_data) <= {"Node Ids"} and len(mesh.points) == 3498
    with pytest.raises(KeyError):
        heatsink["FINS"].to_meshio("Time = 99")


def test_stubs_name_what_the_module_has():
    import pathlib
    text = (pathlib.Path(tev.__file__).parent / "_native.pyi").read_text()
    from tev import _native
    for name in [name for name in vars(_native) if not name.startswith("__")]:
        assert name in text, name
    for name in [name for name in vars(_native.Reader) if not name.startswith("_")]:
        assert f"def {name}(" in text, name
