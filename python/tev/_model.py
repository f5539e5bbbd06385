"""Models, and what is told of files as a whole."""

from __future__ import annotations

import html
import json
import os
import weakref
from typing import Any, Dict, Iterable, Iterator, List, Optional, Tuple, Union

import numpy as np

from . import _native
from ._errors import AmbiguousNameError, Error, of_failure
from ._facts import Result, Step, html_table, lazy, not_found, of_facts
from ._part import Field, Part

CACHE_BYTES = 256 * 1024 * 1024
"""How many bytes of inflated blocks a model keeps for what is asked for later."""

_Path = Union[str, bytes, "os.PathLike[Any]"]


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

    @lazy
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

    @lazy
    def parts(self) -> Tuple[Part, ...]:
        """All parts, in the order of their ids."""
        return tuple(Part(self, i, facts) for i, facts in enumerate(self.info["parts"]))

    @lazy
    def steps(self) -> Tuple[Step, ...]:
        """All steps, in order of label, value and text."""
        return tuple(of_facts(Step, facts) for facts in self.info["steps"])

    @lazy
    def results(self) -> Tuple[Result, ...]:
        """All results, by name."""
        return tuple(of_facts(Result, facts) for facts in self.info["results"])

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

    def __contains__(self, item: object) -> bool:
        """Whether it has this part, or one of this name."""
        return any(part is item or part.name == item for part in self.parts)

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
            raise not_found("part", key, (part.name for part in self.parts))
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
        try:
            self.info
        except Error:
            return f"<tev.Model {self.path!r}, damaged>"
        return (f"<tev.Model {self.path!r}: {len(self.parts)} parts, {len(self.steps)} steps, "
                f"{len(self.results)} results{'' if self.complete else ', incomplete'}>")

    def _repr_html_(self) -> str:
        if self.closed:
            return html.escape(repr(self))
        return html_table(self.info["title"] or self.path, ("Id", "Part", "Kind", "Nodes", "Elements"),
                          [(part.id, part.name, part.kind, part.nodes, part.elements)
                           for part in self.parts])

    @lazy
    def _field_facts(self) -> List[Dict[str, Any]]:
        facts: List[Dict[str, Any]] = json.loads(self._reader.fields())
        return facts

    @lazy
    def _part_of_id(self) -> Dict[int, Part]:
        return {part.id: part for part in self.parts}

    @lazy
    def _places_of_part(self) -> Dict[int, List[int]]:
        places: Dict[int, List[int]] = {}
        for place, facts in enumerate(self._field_facts):
            places.setdefault(facts["part"], []).append(place)
        return places

    @lazy
    def _step_numbers(self) -> Dict[str, int]:
        # Of steps that differ only in what is no valid text, the first.
        return {step.text: i for i, step in reversed(list(enumerate(self.steps)))}

    def _number_of_step(self, text: str) -> int:
        if text not in self._step_numbers:
            raise not_found("step", text, (step.text for step in self.steps))
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
        raise of_failure(failure["code"], failure["message"],
                         path=os.fsencode(failure.get("file", "")))
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
