"""One shard of an archive, scanned by a process of its own: what a task does, wherever it runs."""

from __future__ import annotations

import contextlib
import dataclasses
import os
import re
import resource
import shutil
import signal
import socket
import subprocess
import time
from typing import IO, List, NamedTuple, Optional, Tuple

from ._errors import Error

SECONDS_BETWEEN_LOOKS = 5
# What a killed worker leaves ends after the file that it reads, and what an ended run leaves after its
# next look.
TRIES_WHILE_ANOTHER_SCANS = 20


class ScanError(Error):
    """A shard could not be finished. Another try goes on where this one stopped."""


class PartError(ScanError):
    """The part of a shard is damaged: no other try can go on with it."""


class Counts(NamedTuple):
    """What a scan says of its files."""

    files: int
    read: int
    unchanged: int
    failed: int
    vanished: int

    @classmethod
    def of(cls, text: str) -> Counts:
        """Reads the line that `tev scan` ends with."""
        found = re.search(r": (\d+) files?: (\d+) read, (\d+) unchanged, (\d+) failed"
                          r"(?:, (\d+) vanished)?$", text.strip())
        if found is None:
            raise ScanError(f"this is not what a scan ends with: {text!r}")
        return cls(*(int(number or 0) for number in found.groups()))

    def and_of(self, other: Counts) -> Counts:
        return Counts(*(a + b for a, b in zip(self, other)))

    def __str__(self) -> str:
        text = (f"{self.files} file{'' if self.files == 1 else 's'}: {self.read} read, "
                f"{self.unchanged} unchanged, {self.failed} failed")
        return f"{text}, {self.vanished} vanished" if self.vanished else text


@dataclasses.dataclass(frozen=True)
class Scan:
    """What all shards have in common. Paths are absolute: a worker runs in another folder."""

    folders: Tuple[str, ...]
    parts: str
    shards: int
    run: str = ""
    options: Tuple[str, ...] = ()
    program: Optional[str] = None
    memory: Optional[int] = None

    def part(self, number: int) -> str:
        """The catalogue of a shard."""
        return os.path.join(self.parts, f"part-{number}-of-{self.shards}.db")

    def log(self, number: int) -> str:
        """What its tries said on standard error."""
        return f"{self.part(number)}.log"

    def is_wanted(self) -> bool:
        """Whether the run that asked for it is still the one that the parts belong to."""
        try:
            with open(lock_of(self.parts), encoding="utf-8") as file:
                return file.read() == self.run
        except FileNotFoundError:
            return False
        except OSError:
            return True  # a disk that does not answer now says nothing of the run

    def command(self, number: int) -> List[str]:
        # Where a worker is killed, its scan would keep the part from the next one. It is asked to end,
        # since one that is killed takes the file for the reason that it is reading.
        guard = ["setpriv", "--pdeathsig", "TERM", "--"] if shutil.which("setpriv") else []
        return [*guard, find_program(self.program), "scan", "--catalogue", self.part(number),
                "--shard", f"{number}/{self.shards}", *self.options, "--no-progress", "--",
                *self.folders]


def lock_of(parts: str) -> str:
    """The file that a run holds, and that says which one it is."""
    return os.path.join(parts, "lock")


def find_program(named: Optional[str]) -> str:
    """The program `tev`: the one that is named, else that on PATH."""
    program = shutil.which(named or "tev")
    if program:
        return program
    raise ScanError(f"{socket.gethostname()} has no program {named or 'tev'}: install it there, or "
                    "say by --tev where it is")


def scan_shard(scan: Scan, number: int) -> Counts:
    """Scans one shard into its part, and raises ScanError where that cannot be finished."""
    name = f"shard {number} of {scan.shards} on {socket.gethostname()}"
    for _ in range(TRIES_WHILE_ANOTHER_SCANS):
        with open(scan.log(number), "ab") as log:
            status, answer = _run(scan, number, log)
        if status == 0:
            return Counts.of(answer)
        if status < 0:
            raise ScanError(f"{name}: ended by {_signal_name(-status)}")
        reason = _last_line(scan.log(number))
        if re.search(r"/part-\d+-of-\d+\.db(\.part)?: (damaged|no catalogue): ", reason):
            raise PartError(f"{name}: {reason}: remove it to scan that shard anew")
        if "another scan is writing" not in reason:
            break
        time.sleep(1)
    raise ScanError(f"{name}: {reason or f'ended with status {status}'}")


def _signal_name(number: int) -> str:
    try:
        return signal.Signals(number).name
    except ValueError:  # those for real time have no names but the first and the last
        return f"signal {number}"


def _run(scan: Scan, number: int, log: IO[bytes]) -> Tuple[int, str]:
    """The status of one try (less than 0: the signal that ended it) and what it answered."""
    with subprocess.Popen(scan.command(number), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=log, text=True, errors="surrogateescape") as process:
        if scan.memory is not None:
            _limit_memory(process.pid, scan.memory)
        while True:
            try:
                answer, _ = process.communicate(timeout=SECONDS_BETWEEN_LOOKS)
                return process.returncode, answer
            except subprocess.TimeoutExpired:
                if not scan.is_wanted():
                    process.terminate()


def _limit_memory(process: int, size: int) -> None:
    with contextlib.suppress(ProcessLookupError):
        now, most = resource.prlimit(process, resource.RLIMIT_DATA)
        limit = min(each for each in (size, now, most) if each != resource.RLIM_INFINITY)
        resource.prlimit(process, resource.RLIMIT_DATA, (limit, most))


def _last_line(path: str) -> str:
    longest = 10000
    with open(path, "rb") as file:
        file.seek(max(0, os.path.getsize(path) - longest))
        lines = file.read().decode(errors="replace").splitlines()
    return lines[-1] if lines else ""
