"""Parts, their meshes and their fields."""

from __future__ import annotations

import json
from typing import TYPE_CHECKING, Any, Dict, Iterator, List, Optional, Tuple, Union, overload

import numpy as np
import numpy.typing as npt

from . import _native
from ._facts import Step, StepLike, html_table, lazy, not_found, text_of

if TYPE_CHECKING:
    import meshio
    import vtk

    from ._model import Model


class Faces:
    """The faces of a mesh, or the elements where these are stored as lists of their nodes.

    Attributes:
        offsets: int64, shape (faces + 1,). Face i has indices[offsets[i]:offsets[i + 1]].
        indices: uint32, shape (offsets[-1],): rows of the mesh's points.
    """

    def __init__(self, offsets: npt.NDArray[np.int64], indices: npt.NDArray[np.uint32]) -> None:
        self.offsets = offsets
        self.indices = indices

    def __len__(self) -> int:
        return len(self.offsets) - 1

    def __getitem__(self, index: int) -> npt.NDArray[np.uint32]:
        """The indices of one face. Raises IndexError."""
        if not -len(self) <= index < len(self):
            raise IndexError(f"there are {len(self)} faces")
        index %= len(self)
        return self.indices[self.offsets[index]:self.offsets[index + 1]]

    def __iter__(self) -> Iterator[npt.NDArray[np.uint32]]:
        return (self[i] for i in range(len(self)))

    def __repr__(self) -> str:
        return f"<tev.Faces: {len(self)}>"


class Mesh:
    """The mesh of a part at one step. What is asked for is loaded then, and stays.

    Each attribute is read-only and raises DamagedError where it cannot be read, and ValueError once
    the model is closed and it was not loaded before.
    """

    def __init__(self, part: "Part", step: int) -> None:
        self._part = part
        self._step = step

    @lazy
    def points(self) -> npt.NDArray[np.float32]:
        """Coordinates in the model's unit of length: float32, shape (points, 3)."""
        return np.asarray(self._reader.points(self._part._place, self._step))

    @lazy
    def faces(self) -> Faces:
        """Which points make up each face."""
        offsets, indices = self._reader.faces(self._part._place, self._step)
        return Faces(np.asarray(offsets), np.asarray(indices))

    @lazy
    def node_ids(self) -> npt.NDArray[np.int64]:
        """Ids of the points as they are stored: int64, shape (ids,). They are as many as the points,
        or none where the model has none; where it has more, the first are those of the points."""
        return np.asarray(self._reader.ids(self._part._place, self._step, True))

    @lazy
    def element_ids(self) -> npt.NDArray[np.int64]:
        """Ids of the faces as they are stored: int64, shape (ids,), as node_ids are of the points."""
        return np.asarray(self._reader.ids(self._part._place, self._step, False))

    @property
    def _reader(self) -> _native.Reader:
        return self._part.model._reader

    def __repr__(self) -> str:
        return f"<tev.Mesh of {self._part.name!r}>"


class Field:
    """A result of one part at one step.

    Attributes:
        part: the part.
        result: name of the result.
        step: the step, or None for a field without one.
        location: what a tuple belongs to: "node", "element" or "unknown".
        components: numbers of each tuple.
        count: tuples.
    """

    def __init__(self, part: "Part", place: int, facts: Dict[str, Any]) -> None:
        self.part = part
        self.result: str = facts["result"]
        self.step: Optional[Step] = part.model._step_of(facts["step"])
        self.location: str = facts["location"]
        self.components: int = facts["components"]
        self.count: int = facts["count"]
        self._place = place
        self._values: Optional[npt.NDArray[np.float32]] = None

    @property
    def values(self) -> npt.NDArray[np.float32]:
        """The numbers: float32, shape (count,), or (count, components) where there are several.

        Loaded at the first use and kept as long as the field is; the array refers to what was
        loaded, without a copy, and is read-only. Raises DamagedError, and ValueError once the model is
        closed and they were not loaded before.
        """
        if self._values is None:
            self.part.model.load([self])
        assert self._values is not None
        return self._values

    @property
    def ids(self) -> npt.NDArray[np.int64]:
        """Ids of the nodes or elements that the tuples belong to: Mesh.node_ids or Mesh.element_ids,
        or int64 of shape (0,) where the location is "unknown"."""
        mesh = self.part.mesh(self.step)
        if self.location == "node":
            return mesh.node_ids
        return mesh.element_ids if self.location == "element" else np.empty(0, np.int64)

    def statistics(self) -> Dict[str, Any]:
        """What `tev results --stats --json` has as "statistics".

        Keys: "counted" (tuples that take part: of a field of nodes those that faces use), "notFinite",
        "magnitude" (for 3 components, else None) and "components", with "min", "minAt" (an id),
        "minIndex", "max", "maxAt", "maxIndex", "mean" and "rms" each. Raises as values does.
        """
        facts = json.loads(self.part.model._reader.statistics(self._place))
        statistics: Dict[str, Any] = facts["statistics"]
        return statistics

    def __len__(self) -> int:
        return self.count

    def __array__(self, dtype: Any = None, copy: Optional[bool] = None) -> npt.NDArray[Any]:
        # NumPy 2 takes copy=False for a promise that none is needed.
        return np.array(self.values, dtype, copy=True) if copy else np.asarray(self.values, dtype)

    def __repr__(self) -> str:
        at = f" at {self.step.text!r}" if self.step else ""
        return (f"<tev.Field {self.result!r} of {self.part.name!r}{at}: "
                f"{self.count} x {self.components}, {self.location}>")

    def __reduce__(self) -> Any:
        return _field_at, (self.part.model, self._place)


class Part:
    """A shape with its mesh and its fields.

    Attributes:
        model: the model.
        id: its id in the model's tree.
        name, path: its name, and the names of the groups above it.
        kind: "part", "cut-section", "iso-surface", "iso-volume", "flow-line" or "shape".
        nodes, elements: how many there are, or None where that is lost.
    """

    def __init__(self, model: "Model", place: int, facts: Dict[str, Any]) -> None:
        self.model = model
        self.id: int = facts["id"]
        self.name: str = facts["name"]
        self.path: Tuple[str, ...] = tuple(facts["path"])
        self.kind: str = facts["kind"]
        self.nodes: Optional[int] = facts["nodes"]
        self.elements: Optional[int] = facts["elements"]
        self._place = place

    @lazy
    def _own_mesh(self) -> Mesh:
        return Mesh(self, _native.OWN_MESH)

    @property
    def points(self) -> npt.NDArray[np.float32]:
        """As Mesh.points, of the mesh without a step, or of the first step where all have one."""
        return self._own_mesh.points

    @property
    def faces(self) -> Faces:
        """As Mesh.faces, of the same mesh."""
        return self._own_mesh.faces

    @property
    def node_ids(self) -> npt.NDArray[np.int64]:
        """As Mesh.node_ids, of the same mesh."""
        return self._own_mesh.node_ids

    @property
    def element_ids(self) -> npt.NDArray[np.int64]:
        """As Mesh.element_ids, of the same mesh."""
        return self._own_mesh.element_ids

    def mesh(self, step: StepLike = None) -> Mesh:
        """The mesh at a step: each array is that of the step, else the one without a step.

        Raises KeyError for a step that the model does not have, and TypeError for what is no step.
        """
        text = text_of(step)
        return Mesh(self, _native.NO_STEP if text is None else self.model._number_of_step(text))

    @property
    def fields(self) -> Tuple[Field, ...]:
        """All fields, as they are stored."""
        return self.model._fields_of(self)

    @property
    def results(self) -> Tuple[str, ...]:
        """The names of the results that it has, in order."""
        return tuple(sorted({field.result for field in self.fields}))

    @overload
    def __getitem__(self, key: str) -> List[Field]: ...

    @overload
    def __getitem__(self, key: Tuple[str, StepLike]) -> Field: ...

    def __getitem__(self, key: Union[str, Tuple[str, StepLike]]) -> Union[Field, List[Field]]:
        """part["Stress"]: its fields of that result in the order of steps. part["Stress", step]: the
        field at a step, which is its text, a Step, or None for the field without one.

        Raises KeyError, with the names that there are and the one that comes nearest, DamagedError
        where the part's geometry is lost, and TypeError for a step that is none of these.
        """
        result, *steps = key if isinstance(key, tuple) else (key,)
        fields = [field for field in self.fields if field.result == result]
        if not self.fields:
            if self.nodes is None:
                self.points  # raises what is lost
            raise KeyError("the part has no result")
        if not fields:
            raise not_found("result", result, self.results)
        order = self.model._step_numbers
        fields.sort(key=lambda field: order[field.step.text] if field.step else -1)
        if not steps:
            return fields
        if len(steps) > 1:
            raise KeyError(key)
        wanted = text_of(steps[0])
        for field in fields:
            if (field.step.text if field.step else None) == wanted:
                return field
        raise not_found("step", "" if wanted is None else wanted,
                        [field.step.text if field.step else "" for field in fields])

    def to_meshio(self, step: StepLike = None) -> "meshio.Mesh":
        """A meshio.Mesh of the mesh and the fields at a step. Raises ImportError without meshio.

        A result that has no field at the step is that without a step, where there is one.
        The model tells no kind of element: 1, 2, 3 and 4 nodes become vertices, lines, triangles and
        quads, more become polygons. Elements of as many nodes make one block of cells. Node and
        element ids are data of that name, where there is one for each point or face.
        """
        from ._convert import to_meshio
        return to_meshio(self, step)

    def to_vtk(self, step: StepLike = None) -> "vtk.vtkUnstructuredGrid":
        """A vtkUnstructuredGrid of the mesh and the fields at a step. Raises ImportError without VTK.

        Cells and fields are as to_meshio makes them, the cells in the order of the model.
        """
        from ._convert import to_vtk
        return to_vtk(self, step)

    def __repr__(self) -> str:
        return f"<tev.Part {self.name!r} (id {self.id}): {self.nodes} nodes, {self.elements} elements>"

    def _repr_html_(self) -> str:
        return html_table(f"Part {self.name}", ("Result", "Step", "Location", "Components", "Count"),
                          [(field.result, field.step.text if field.step else "", field.location,
                            field.components, field.count) for field in self.fields])

    def __reduce__(self) -> Any:
        return _part_at, (self.model, self._place)


def _part_at(model: Model, place: int) -> Part:
    return model.parts[place]


def _field_at(model: Model, place: int) -> Field:
    return model._field_at(place)
