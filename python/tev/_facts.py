"""Steps and results, and what the objects of a model share."""

from __future__ import annotations

import html
from dataclasses import dataclass
from typing import Any, Callable, Dict, Generic, Iterable, Optional, Sequence, Type, TypeVar, Union

from . import _native

_T = TypeVar("_T")


class lazy(Generic[_T]):
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


def of_facts(kind: Type[_T], facts: Dict[str, Any]) -> _T:
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


def text_of(step: StepLike) -> Optional[str]:
    """No step is None, or the empty text as in patterns of `tev`. Raises TypeError."""
    if not (step is None or isinstance(step, (str, Step))):
        raise TypeError(f"a step is its text, a Step or None, not {type(step).__name__}")
    return (step.text if isinstance(step, Step) else step) or None


def not_found(kind: str, name: object, names: Iterable[str]) -> KeyError:
    """What there is in place of it, and what comes nearest."""
    text = str(name).encode("utf-8", "replace").decode("utf-8")
    return KeyError(_native.no_match(kind, text, list(dict.fromkeys(names))))


def html_table(title: str, headings: Sequence[str], rows: Sequence[Sequence[object]]) -> str:
    """At most 50 rows."""
    most = 50
    head = "".join(f"<th>{html.escape(heading)}</th>" for heading in headings)
    body = "".join("<tr>" + "".join(f"<td>{html.escape(str(cell))}</td>" for cell in row) + "</tr>"
                   for row in rows[:most])
    more = f"<p>and {len(rows) - most} more</p>" if len(rows) > most else ""
    return (f"<p><b>{html.escape(title)}</b></p><table><thead><tr>{head}</tr></thead>"
            f"<tbody>{body}</tbody></table>{more}")
