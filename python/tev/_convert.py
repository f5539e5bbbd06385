"""Parts as meshes of other libraries, which are imported only here."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Dict, List, Tuple

import numpy as np
import numpy.typing as npt

from ._facts import text_of

if TYPE_CHECKING:
    import meshio
    import vtk

    from ._facts import StepLike
    from ._part import Field, Mesh, Part

_NODE_IDS = "Node Ids"
_ELEMENT_IDS = "Element Ids"

_MESHIO_TYPES = {1: "vertex", 2: "line", 3: "triangle", 4: "quad"}
_VTK_TYPES = np.array([0, 1, 3, 5, 9, 7], np.uint8)  # by the number of nodes; from 5 on polygons


def _fields_at(part: Part, step: StepLike) -> List[Field]:
    """The fields at a step, and those without one of results that have none there."""
    text = text_of(step)
    at_step = [field for field in part.fields if text_of(field.step) == text]
    own = {field.result for field in at_step}
    return at_step + [field for field in part.fields
                      if field.step is None and field.result not in own]


def _located(part: Part, step: StepLike, points: int,
             faces: int) -> Tuple[List[Field], List[Field]]:
    """The fields with a value for each point and for each face of the mesh at a step, loaded; of
    several of one name the first."""
    by_location: Dict[str, Dict[str, Field]] = {"node": {}, "element": {}}
    for field in _fields_at(part, step):
        fits = [location for location, count in (("node", points), ("element", faces))
                if field.count == count and field.components]
        if fits:
            location = field.location if field.location in fits else fits[0]
            by_location[location].setdefault(field.result, field)
    nodes, elements = (list(by_location[location].values()) for location in ("node", "element"))
    part.model.load(nodes + elements)
    return nodes, elements


def _with_ids(fields: List[Field], name: str, ids: npt.NDArray[np.int64],
              count: int) -> Dict[str, npt.NDArray[Any]]:
    data: Dict[str, npt.NDArray[Any]] = {field.result: field.values for field in fields}
    if len(ids) >= count:
        data[name] = ids[:count]
    return data


def _data(part: Part, step: StepLike) -> Tuple[Mesh, Dict[str, Any], Dict[str, Any]]:
    mesh = part.mesh(step)
    nodes, elements = _located(part, step, len(mesh.points), len(mesh.faces))
    return (mesh, _with_ids(nodes, _NODE_IDS, mesh.node_ids, len(mesh.points)),
            _with_ids(elements, _ELEMENT_IDS, mesh.element_ids, len(mesh.faces)))


def to_meshio(part: Part, step: StepLike) -> "meshio.Mesh":
    try:
        import meshio
    except ImportError as error:
        raise ImportError("Part.to_meshio needs the package meshio") from error
    mesh, point_data, element_data = _data(part, step)
    faces = mesh.faces
    lengths = np.diff(faces.offsets)
    cells: List[Tuple[str, npt.NDArray[Any]]] = []
    cell_data: Dict[str, List[npt.NDArray[Any]]] = {name: [] for name in element_data}
    for length in np.unique(lengths[lengths > 0]):
        chosen = np.flatnonzero(lengths == length)
        # Signed: where meshio reads polygons again, it subtracts from numbers of this type.
        corners = faces.indices[faces.offsets[chosen][:, None] + np.arange(length)].astype(np.int64)
        cells.append((_MESHIO_TYPES.get(int(length), "polygon"), corners))
        for name, values in element_data.items():
            cell_data[name].append(values[chosen])
    return meshio.Mesh(mesh.points, cells, point_data=point_data, cell_data=cell_data)


def to_vtk(part: Part, step: StepLike) -> "vtk.vtkUnstructuredGrid":
    try:
        from vtkmodules.util.numpy_support import numpy_to_vtk, numpy_to_vtkIdTypeArray
        from vtkmodules.vtkCommonCore import vtkPoints
        from vtkmodules.vtkCommonDataModel import vtkCellArray, vtkUnstructuredGrid
    except ImportError as error:
        raise ImportError("Part.to_vtk needs the package vtk") from error
    mesh, point_data, element_data = _data(part, step)
    grid = vtkUnstructuredGrid()
    points = vtkPoints()
    points.SetData(numpy_to_vtk(mesh.points, deep=True))
    grid.SetPoints(points)
    faces = mesh.faces
    cells = vtkCellArray()
    cells.SetData(numpy_to_vtkIdTypeArray(faces.offsets, deep=True),
                  numpy_to_vtkIdTypeArray(faces.indices.astype(np.int64), deep=True))
    types = _VTK_TYPES[np.minimum(np.diff(faces.offsets), len(_VTK_TYPES) - 1)]
    grid.SetCells(numpy_to_vtk(types, deep=True), cells)
    for target, data in ((grid.GetPointData(), point_data), (grid.GetCellData(), element_data)):
        for name, values in data.items():
            array = numpy_to_vtk(values, deep=True)
            array.SetName(name)
            target.AddArray(array)
    return grid
