"""What can be wrong with a file, or with what is asked of a model."""

from __future__ import annotations

import errno
import os
from typing import Optional


class Error(Exception):
    """What this package raises of its own."""


class NotAModelError(Error):
    """The file lacks the signature of a Tev file."""


class UnsupportedVersionError(Error):
    """The file is of a newer version than this package reads."""


class DamagedError(Error):
    """The file is a Tev file, and what was asked for cannot be read from it.

    Attributes:
        block: number of the block in the file's index that is damaged, or None where that is not known.
        stream: name of the stream that the block belongs to, or None.
        place: byte of that stream, or None.
    """

    block: Optional[int]
    stream: Optional[str]
    place: Optional[int]

    def __init__(self, message: str, block: Optional[int] = None, stream: Optional[str] = None,
                 place: Optional[int] = None) -> None:
        super().__init__(message, block, stream, place)
        self.block = block
        self.stream = stream
        self.place = place

    def __str__(self) -> str:
        return str(self.args[0])


class AmbiguousNameError(Error, KeyError):
    """Several parts have the name that was asked for."""

    def __str__(self) -> str:
        return str(self.args[0])


def of_failure(code: str, message: str, block: Optional[int] = None, stream: Optional[str] = None,
               place: Optional[int] = None, path: bytes = b"") -> Exception:
    """The exception for a failure with one of the codes that the JSON of `tev` has."""
    file = path.decode(errors="replace")
    # Of two files the message may tell already which one it is.
    if (file and code in ("damaged", "not-a-model", "unsupported-version")
            and not message.startswith(f"{file}: ")):
        message = f"{file}: {message}"
    if code == "damaged":
        return DamagedError(message, block, stream, place)
    if code == "not-a-model":
        return NotAModelError(message)
    if code == "unsupported-version":
        return UnsupportedVersionError(message)
    if code == "out-of-memory":
        return MemoryError(message)
    number = {"not-found": errno.ENOENT, "permission-denied": errno.EACCES}.get(code, errno.EIO)
    if code == "not-a-file":
        number = errno.EISDIR if os.path.isdir(path) else errno.EINVAL
    return OSError(number, message, os.fsdecode(path)) if path else OSError(number, message)
