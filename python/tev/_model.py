"""Models, their parts, meshes and fields."""

from __future__ import annotations

import html
import json
import os
import weakref
from dataclasses import dataclass
from typing import (TYPE_CHECKING, Any, Callable, Dict, Generic, Iterable, Iterator, List, Optional,
                    Sequence, Tuple, Type, TypeVar, Union, overload)

import numpy as np
import numpy.typing as npt

from . import _native
from ._errors import AmbiguousNameError, of_failure

if TYPE_CHECKING:
    import meshio
    import vtk

CACHE_BYTES = 256 * 1024 * 1024
"""How many bytes of inflated blocks a model keeps for what is asked for later."""

_Path = Union[str, bytes, "os.PathLike[Any]"]
_T = TypeVar("_T")


class _lazy(Generic[_T]):
    """An attribute that is worked out at its first use. Unlike functools.cached_property it holds no
    lock meanwhile, which all models would share: of two threads the first to be done counts."""

    def __init__(self, compute: Callable[[Any], _T]) -> None:
        self._compute = compute
        self.__doc__ = compute.__doc__

    def __set_name__(self, owner: type, name: str) -> None:
        self._name = name

    def __get__(self, instance: Any, owner: Optional[type] = None) -> _T:
        if instance is None:
            return self  # type: ignore[return-value]
        value = self._compute(instance)
        found: _T = instance.__dict__.setdefault(self._name, value)
        return found


def _of_facts(kind: Type[_T], facts: Dict[str, Any]) -> _T:
    """A dataclass of those facts that it has a place for."""
    return kind(**{name: facts[name] for name in kind.__dataclass_fields__})  # type: ignore[attr-defined]


@dataclass(frozen=True)
class Step:
    """A point on the axis that results are sorted along: a time, a frequency, a load case.

    Attributes:
        text: its name, as "Time = 0.5".
        label: what stands before " = ", or all of it.
        value: the number after that, or None.
        subtitle: what the model tells of it, or None.
    """

    text: str
    label: str
    value: Optional[float]
    subtitle: Optional[str]

    def __str__(self) -> str:
        return self.text


@dataclass(frozen=True)
class Result:
    """All fields of one name.

    Attributes:
        name: the name.
        components: numbers of each tuple, or None where the fields differ.
        location: "node", "element", "unknown", or "mixed" where the fields differ.
    """

    name: str
    components: Optional[int]
    location: str


StepLike = Union[str, Step, None]


def _text_of(step: StepLike) -> Optional[str]:
    """No step is None, or the empty text as in patterns of `tev`."""
    return (step.text if isinstance(step, Step) else step) or None


def _not_found(kind: str, name: object, names: Iterable[str]) -> KeyError:
    """What there is in place of it, and what comes nearest."""
    text = str(name).encode("utf-8", "replace").decode("utf-8")
    return KeyError(_native.no_match(kind, text, list(dict.fromkeys(names))))


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

    @_lazy
    def points(self) -> npt.NDArray[np.float32]:
        """Coordinates in the model's unit of length: float32, shape (points, 3)."""
        return np.asarray(self._reader.points(self._part._place, self._step))

    @_lazy
    def faces(self) -> Faces:
        """Which points make up each face."""
        offsets, indices = self._reader.faces(self._part._place, self._step)
        return Faces(np.asarray(offsets), np.asarray(indices))

    @_lazy
    def node_ids(self) -> npt.NDArray[np.int64]:
        """Ids of the points: int64, shape (points,), or (0,) where the model has none."""
        return np.asarray(self._reader.ids(self._part._place, self._step, True))

    @_lazy
    def element_ids(self) -> npt.NDArray[np.int64]:
        """Ids of the faces: int64, shape (faces,), or (0,) where the model has none."""
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
        """Ids of the nodes or elements that the tuples belong to: int64, shape (count,), or (0,)."""
        mesh = self.part.mesh(self.step)
        return {"node": lambda: mesh.node_ids,
                "element": lambda: mesh.element_ids}.get(self.location,
                                                         lambda: np.empty(0, np.int64))()

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
        return np.array(self.values, dtype, copy=bool(copy))

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

    @_lazy
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

        Raises KeyError for a step that the model does not have.
        """
        text = _text_of(step)
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

        Raises KeyError, with the names that there are and the one that comes nearest.
        """
        result, *steps = key if isinstance(key, tuple) else (key,)
        fields = [field for field in self.fields if field.result == result]
        if not fields:
            raise _not_found("result", result, self.results)
        order = self.model._step_numbers
        fields.sort(key=lambda field: order[field.step.text] if field.step else -1)
        if not steps:
            return fields
        if len(steps) > 1:
            raise KeyError(key)
        wanted = _text_of(steps[0])
        for field in fields:
            if (field.step.text if field.step else None) == wanted:
                return field
        raise _not_found("step", "" if wanted is None else wanted,
                         [field.step.text if field.step else "" for field in fields])

    def to_meshio(self, step: StepLike = None) -> "meshio.Mesh":
        """A meshio.Mesh of the mesh and the fields at a step. Raises ImportError without meshio.

        The model tells no kind of element: 1, 2, 3 and 4 nodes become vertices, lines, triangles and
        quads, more become polygons. Elements of as many nodes make one block of cells; node and
        element ids are data of that name.
        """
        from ._convert import to_meshio
        return to_meshio(self, step)

    def to_vtk(self, step: StepLike = None) -> "vtk.vtkUnstructuredGrid":
        """A vtkUnstructuredGrid of the mesh and the fields at a step. Raises ImportError without VTK.

        Cells are as to_meshio makes them, in the order of the model.
        """
        from ._convert import to_vtk
        return to_vtk(self, step)

    def __repr__(self) -> str:
        return f"<tev.Part {self.name!r} (id {self.id}): {self.nodes} nodes, {self.elements} elements>"

    def _repr_html_(self) -> str:
        return _table(f"Part {self.name}", ("Result", "Step", "Location", "Components", "Count"),
                      [(field.result, field.step.text if field.step else "", field.location,
                        field.components, field.count) for field in self.fields])

    def __reduce__(self) -> Any:
        return _part_at, (self.model, self._place)


class Model:
    """An open Tev file. Its index and tree are read when it is opened; numbers when they are asked for.

    Threads may share a model: one at a time reads, without holding up the interpreter. Parts and
    fields keep their model alive. A model cannot be used in a process that was forked after it was
    opened (RuntimeError); pickled, it is opened anew there by its absolute path.
    """

    def __init__(self, path: _Path, *, cache_bytes: int = CACHE_BYTES) -> None:
        """See tev.open."""
        self._path = os.fspath(path)
        self._absolute = os.path.abspath(self._path)
        self._cache_bytes = cache_bytes
        self._live: "weakref.WeakValueDictionary[int, Field]" = weakref.WeakValueDictionary()
        self._reader = _native.Reader(_encoded(self._path), cache_bytes)

    @property
    def path(self) -> str:
        """The path as it was given."""
        return os.fsdecode(self._path)

    @_lazy
    def info(self) -> Dict[str, Any]:
        """What the model holds and who made it: the entry of `tev info --json`. Not to be changed."""
        entry: Dict[str, Any] = json.loads(self._reader.info())
        del entry["format"]
        return entry

    @property
    def complete(self) -> bool:
        """Whether all of the tree could be read."""
        complete: bool = self.info["complete"]
        return complete

    @property
    def missing(self) -> Tuple[str, ...]:
        """What could not be read."""
        return tuple(self.info["missing"])

    @_lazy
    def parts(self) -> Tuple[Part, ...]:
        """All parts, in the order of their ids."""
        return tuple(Part(self, i, facts) for i, facts in enumerate(self.info["parts"]))

    @_lazy
    def steps(self) -> Tuple[Step, ...]:
        """All steps, in order of label, value and text."""
        return tuple(_of_facts(Step, facts) for facts in self.info["steps"])

    @_lazy
    def results(self) -> Tuple[Result, ...]:
        """All results, by name."""
        return tuple(_of_facts(Result, facts) for facts in self.info["results"])

    @property
    def fields(self) -> Tuple[Field, ...]:
        """All fields, part by part as they are stored."""
        return tuple(self._field_at(place) for place in range(len(self._field_facts)))

    def load(self, fields: Iterable[Field]) -> List[Field]:
        """Loads the values of many fields in the order of the file, each block of it once.

        Returns the fields in the order given. Raises DamagedError for the first that cannot be read,
        when all others are loaded, and ValueError for fields of another model or once it is closed.
        """
        asked = list(fields)
        for field in asked:
            if field.part.model is not self:
                raise ValueError(f"{field!r} is of another model")
        wanted = [field for field in asked if field._values is None]
        failures = []
        if wanted:
            for field, loaded in zip(wanted, self._reader.load([field._place for field in wanted])):
                if isinstance(loaded, _native.Failure):
                    failures.append(loaded)
                else:
                    field._values = np.asarray(loaded)
        if failures:
            failures[0].throw()
        return asked

    def __len__(self) -> int:
        return len(self.parts)

    def __iter__(self) -> Iterator[Part]:
        return iter(self.parts)

    def __getitem__(self, key: Union[int, str]) -> Part:
        """model[i]: the i-th part. model["name"]: the part of that name.

        Raises IndexError, KeyError with the names that there are and the one that comes nearest, and
        AmbiguousNameError where several parts have the name.
        """
        if not isinstance(key, str):
            return self.parts[key]
        found = [part for part in self.parts if part.name == key]
        if len(found) > 1:
            ids = ", ".join(str(part.id) for part in found)
            raise AmbiguousNameError(f"{len(found)} parts are named {key!r}: those of the ids {ids}")
        if not found:
            raise _not_found("part", key, (part.name for part in self.parts))
        return found[0]

    def close(self) -> None:
        """Lets the file go. What was not loaded raises ValueError from then on; arrays stay valid."""
        self._reader.close()

    @property
    def closed(self) -> bool:
        """Whether it is closed."""
        return self._reader.closed

    def __enter__(self) -> "Model":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __reduce__(self) -> Any:
        return _reopen, (self._absolute, self._cache_bytes)

    def __repr__(self) -> str:
        if self.closed:
            return f"<tev.Model {self.path!r}, closed>"
        return (f"<tev.Model {self.path!r}: {len(self.parts)} parts, {len(self.steps)} steps, "
                f"{len(self.results)} results{'' if self.complete else ', incomplete'}>")

    def _repr_html_(self) -> str:
        if self.closed:
            return html.escape(repr(self))
        return _table(self.info["title"] or self.path, ("Id", "Part", "Kind", "Nodes", "Elements"),
                      [(part.id, part.name, part.kind, part.nodes, part.elements)
                       for part in self.parts])

    @_lazy
    def _field_facts(self) -> List[Dict[str, Any]]:
        facts: List[Dict[str, Any]] = json.loads(self._reader.fields())
        return facts

    @_lazy
    def _part_of_id(self) -> Dict[int, Part]:
        return {part.id: part for part in self.parts}

    @_lazy
    def _places_of_part(self) -> Dict[int, List[int]]:
        places: Dict[int, List[int]] = {}
        for place, facts in enumerate(self._field_facts):
            places.setdefault(facts["part"], []).append(place)
        return places

    @_lazy
    def _step_numbers(self) -> Dict[str, int]:
        # Of steps that differ only in what is no valid text, the first.
        return {step.text: i for i, step in reversed(list(enumerate(self.steps)))}

    def _number_of_step(self, text: str) -> int:
        if text not in self._step_numbers:
            raise _not_found("step", text, (step.text for step in self.steps))
        return self._step_numbers[text]

    def _step_of(self, text: Optional[str]) -> Optional[Step]:
        return None if text is None else self.steps[self._step_numbers[text]]

    def _field_at(self, place: int) -> Field:
        """One object for each field that is in use, so that what it has loaded is found again."""
        field = self._live.get(place)
        if field is None:
            facts = self._field_facts[place]
            field = self._live.setdefault(place, Field(self._part_of_id[facts["part"]], place, facts))
        return field

    def _fields_of(self, part: Part) -> Tuple[Field, ...]:
        return tuple(self._field_at(place) for place in self._places_of_part.get(part.id, ()))


def open(path: _Path, *, cache_bytes: int = CACHE_BYTES) -> Model:
    """Opens a Tev file; reads its index and tree and no numbers.

    Args:
        path: a file.
        cache_bytes: how many bytes of inflated blocks are kept for what is asked for later.

    Raises:
        FileNotFoundError, PermissionError, IsADirectoryError, OSError: it cannot be opened or read.
        NotAModelError: it is something else.
        UnsupportedVersionError: it is newer than this package.
        DamagedError: nothing of it can be read. Where only a part is lost, it opens, and
            Model.missing tells what that is.
    """
    return Model(path, cache_bytes=cache_bytes)


def check(path: _Path) -> Dict[str, Any]:
    """Looks for damage in a file: the entry of `tev check --json`, with "verdict" and "findings".

    What is wrong with the file's contents is in the answer; a file that cannot be opened or read
    raises as tev.open does.
    """
    entry = _entry_of(_native.check(_encoded(path)))
    failure = entry["failure"]
    if failure and failure["code"] in ("io-error", "out-of-memory"):
        raise of_failure(failure["code"], failure["message"], path=os.fsencode(path))
    return entry


def diff(a: _Path, b: _Path, *, rtol: float = 0.0, atol: Union[float, str] = 0.0) -> Dict[str, Any]:
    """Tells in what two models differ: the entry of `tev diff --json`, with "verdict" ("same",
    "different", or "incomplete" where not all could be compared) and "differences".

    Numbers agree when |a - b| <= max(rtol * max(|a|, |b|), atol); an atol like "1e-6*max" is times the
    largest number of the field in "a". Raises as tev.open does where one cannot be read, and
    ValueError for tolerances that are none.
    """
    entry = _entry_of(_native.diff(_encoded(a), _encoded(b), _tolerance(rtol), _tolerance(atol)))
    if "verdict" not in entry:
        failure = entry["failure"]
        raise of_failure(failure["code"], failure["message"])
    return entry


def _tolerance(value: Union[float, str]) -> str:
    return value if isinstance(value, str) else repr(float(value))


def _entry_of(line: str) -> Dict[str, Any]:
    entry: Dict[str, Any] = json.loads(line)
    del entry["format"]
    return entry


def _encoded(path: _Path) -> bytes:
    encoded = os.fsencode(path)
    if b"\0" in encoded:
        raise ValueError("embedded null byte")
    return encoded


def _reopen(path: _Path, cache_bytes: int) -> Model:
    return Model(path, cache_bytes=cache_bytes)


def _part_at(model: Model, place: int) -> Part:
    return model.parts[place]


def _field_at(model: Model, place: int) -> Field:
    return model._field_at(place)


def _table(title: str, headings: Sequence[str], rows: Sequence[Sequence[object]]) -> str:
    """At most 50 rows."""
    most = 50
    head = "".join(f"<th>{html.escape(heading)}</th>" for heading in headings)
    body = "".join("<tr>" + "".join(f"<td>{html.escape(str(cell))}</td>" for cell in row) + "</tr>"
                   for row in rows[:most])
    more = f"<p>and {len(rows) - most} more</p>" if len(rows) > most else ""
    return (f"<p><b>{html.escape(title)}</b></p><table><thead><tr>{head}</tr></thead>"
            f"<tbody>{body}</tbody></table>{more}")
