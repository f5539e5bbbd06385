"""Fills a catalogue of models from many machines at once.

`tev-archive scan FOLDER... --catalogue archive.db` has the shards of `tev scan` run as tasks of Dask and
merges their parts. Dask schedules; nothing here does.
"""

from __future__ import annotations

import argparse
import contextlib
import errno
import fcntl
import logging
import math
import os
import re
import shutil
import signal
import subprocess
import sys
import time
import uuid
from typing import Any, Iterator, List, Optional, Sequence, Set, TextIO, Tuple

from . import __version__
from ._cluster import Cluster, Keys, run_shards
from ._shard import Counts, Scan, ScanError, find_program, lock_of

DONE, BAD_USAGE, NOT_FINISHED = 0, 1, 2
SHARDS_PER_SLOT = 2
LEAST_MEMORY = 16 * 1024 ** 2  # with less, the program itself can hardly start
MOST_MEMORY = 2 ** 63 - 1
PARTS_PER_MERGE = 1000  # the system takes only so many arguments

EPILOG = """\
Parts lie in the folder FILE.parts, which all machines have to see, as they do the folders. They stay: a
run that was ended goes on with them, and the next one opens only what has changed.
Examples:
  tev-archive scan /archive --catalogue archive.db
  tev-archive scan /archive --catalogue archive.db --scheduler tcp://head:8786 --stats
Exit status: 0 every file has its row, failures too; 1 bad usage; 2 the scan could not be
finished: running it again goes on with it.
"""


class UsageError(Exception):
    """What is asked for cannot be."""


class _Parser(argparse.ArgumentParser):
    def error(self, message: str) -> Any:
        raise UsageError(f"{message} (see {self.prog} --help)")


def _count(text: str) -> int:
    if not re.fullmatch("[0-9]{1,6}", text) or int(text) == 0:
        raise argparse.ArgumentTypeError(f'"{text}" is no number from 1 to 999999')
    return int(text)


def _retries(text: str) -> int:
    return 0 if text == "0" else _count(text)


def _bytes(text: str) -> int:
    found = re.fullmatch("([1-9][0-9]{0,9})([KMGT]?)", text)
    if not found:
        raise argparse.ArgumentTypeError(f'"{text}" is no size, as 500M or 4G are')
    size = int(found[1]) * 1024 ** " KMGT".index(found[2] or " ")
    if not LEAST_MEMORY <= size <= MOST_MEMORY:
        raise argparse.ArgumentTypeError(f'"{text}" is no size from 16M to 2^63-1 bytes')
    return size


def _name(text: str) -> str:
    if not text:  # a variable of a shell that is not set, most of all
        raise argparse.ArgumentTypeError("the name is empty")
    return text


def _parser() -> argparse.ArgumentParser:
    parser = _Parser(prog="tev-archive", allow_abbrev=False,
                     description="Fills a catalogue of models by many processes at once.")
    parser.add_argument("-V", "--version", action="version", version=f"tev-archive {__version__}")
    verbs = parser.add_subparsers(dest="verb", metavar="VERB", required=True, parser_class=_Parser)
    scan = verbs.add_parser("scan", help="fill a catalogue of models", allow_abbrev=False,
                            description="Fills a catalogue by the shards of `tev scan`, as tasks.",
                            epilog=EPILOG, formatter_class=argparse.RawDescriptionHelpFormatter)
    scan.add_argument("folders", metavar="FOLDER", type=_name, nargs="+",
                      help="models, and folders with models")
    scan.add_argument("--catalogue", metavar="FILE", type=_name, required=True,
                      help="the catalogue to fill")
    for name, text in (("stats", "read the values, for the extremes of results"),
                       ("check", "check each file, for what is wrong with it"),
                       ("hash", "digest what each model says, to find duplicates")):
        scan.add_argument(f"--{name}", action="store_true", help=text)
    where = scan.add_mutually_exclusive_group()
    where.add_argument("--jobs", metavar="N", type=_count,
                       help="processes of a cluster on this machine, which starts and ends with the "
                       "run (default: one for each processor)")
    where.add_argument("--scheduler", metavar="ADDRESS", type=_name,
                       help="use the cluster of this scheduler")
    for name in ("tls-ca-file", "tls-cert", "tls-key"):
        scan.add_argument(f"--{name}", metavar="FILE", help=f"for a scheduler tls://: {name[4:]}")
    scan.add_argument("--shards", metavar="N", type=_count,
                      help=f"parts of the archive (default: as many as the parts that are there, else "
                      f"{SHARDS_PER_SLOT} for each task that can run at once); each walks all folders")
    scan.add_argument("--retries", metavar="N", type=_retries, default=10,
                      help="further tries of a shard, on any worker (default: 10)")
    scan.add_argument("--memory", metavar="SIZE", type=_bytes,
                      help="most memory of a task, as 500M or 4G; a file that needs more fails "
                      "(default: with --jobs an equal share of this machine's)")
    scan.add_argument("--tev", metavar="PROGRAM", type=_name,
                      help="the program tev on the machines (default: that on PATH)")
    scan.add_argument("--remove-parts", action="store_true",
                      help="remove the parts when the catalogue is whole: the next run opens all "
                      "files again, and does not mark those that vanish")
    scan.add_argument("--progress", action=argparse.BooleanOptionalAction,
                      help="tell on standard error how far the run is (default: on a terminal)")
    return parser


class Parts:
    """The folder of the parts beside a catalogue, held by one run at a time."""

    def __init__(self, catalogue: str) -> None:
        self.folder = f"{catalogue}.parts"
        with contextlib.suppress(FileExistsError):
            os.mkdir(self.folder)
        self._lock = open(lock_of(self.folder), "a", encoding="utf-8")
        try:
            fcntl.flock(self._lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            self._lock.close()
            raise ScanError("another run is at work on it") from None
        # Tasks that an earlier run left on its cluster end when they see that.
        self.run = uuid.uuid4().hex
        self._say(self.run)

    def _say(self, run: str) -> None:
        self._lock.truncate(0)
        self._lock.write(run)
        self._lock.flush()

    def shards(self, asked: Optional[int]) -> Optional[int]:
        """How many there are to be; None where nothing says so yet."""
        matches = (re.match(r"part-\d+-of-(\d+)\.db", name) for name in os.listdir(self.folder))
        present: Set[int] = {int(match[1]) for match in matches if match}
        if present and (len(present) > 1 or asked not in (None, *present)):
            numbers = " and ".join(map(str, sorted(present)))
            raise UsageError(f"{self.folder} has parts of {numbers} shards: remove it to begin anew"
                             + ("" if len(present) > 1 else ", or leave out --shards"))
        return next(iter(present), asked)

    def close(self) -> None:
        self._say("")
        self._lock.close()

    def remove(self) -> None:
        """Removes what runs wrote there. What else somebody put there stays, with the folder."""
        for name in os.listdir(self.folder):
            if name == "lock" or re.match(r"part-\d+-of-\d+\.db", name):
                os.remove(os.path.join(self.folder, name))
        with contextlib.suppress(OSError):
            os.rmdir(self.folder)


class Progress:
    """The line on standard error that tells how far a run is."""

    ERASE = "\r\x1b[K"

    def __init__(self, wanted: bool, shards: int) -> None:
        self._wanted = wanted
        self._shards = shards
        self._done = 0
        self._files = 0
        self._start = time.monotonic()

    def add(self, files: int) -> None:
        self._done += 1
        self._files += files

    def draw(self, slots: int) -> None:
        if self._wanted:
            sys.stderr.write(f"{self.ERASE}{self.text(time.monotonic() - self._start, slots)}\r")
            sys.stderr.flush()

    def clear(self) -> None:
        if self._wanted:
            sys.stderr.write(self.ERASE)
            sys.stderr.flush()

    def text(self, seconds: float, slots: int) -> str:
        """Shards run in rounds of as many as there are slots."""
        text = f"{self._done} of {self._shards} shards done"
        if self._done == 0 or seconds <= 0:
            return text
        rounds, rounds_left = (math.ceil(shards / max(slots, 1)) for shards in
                               (self._done, self._shards - self._done))
        left = round(seconds / rounds * rounds_left)
        return (f"{text}, {self._files} files, {self._files / seconds:.0f} files/s, "
                f"{left // 3600}:{left // 60 % 60:02}:{left % 60:02} left")


def _visible(text: str) -> str:
    """The text without what a name of a file could do to a terminal."""
    return "".join(c if c.isprintable() else c.encode("unicode_escape").decode() for c in text)


def _say(text: str) -> None:
    print(f"tev-archive: {_visible(text)}", file=sys.stderr)


def _absolute(path: str) -> str:
    # Without resolving anything: the program does that as it does for all paths.
    return os.path.join(os.getcwd(), path)


def _told_by(log: str, to: TextIO) -> None:
    """Passes on what the tries of a shard said, failures of files above all."""
    with contextlib.suppress(FileNotFoundError):
        with open(log, encoding="utf-8", errors="backslashreplace") as file:
            shutil.copyfileobj(file, to)
        os.remove(log)


def _require_catalogue(program: str, path: str) -> None:
    """Fails where the parts could not be merged into what is there."""
    if not os.path.lexists(path):
        return
    if not os.path.isfile(path):
        raise ScanError("this is no file")
    if os.path.getsize(path) == 0:
        return  # a merge fills it
    run = subprocess.run([program, "summary", "--", path], stdin=subprocess.DEVNULL, text=True,
                         stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=False,
                         errors="backslashreplace")
    if run.returncode != 0:
        reason = (run.stderr.splitlines() or [f"{program} ended with status {run.returncode}"])[-1]
        prefix = f"tev: {path}: "
        raise ScanError(reason[len(prefix):] if reason.startswith(prefix) else reason)


def _merge(scan: Scan, catalogue: str) -> None:
    for first in range(0, scan.shards, PARTS_PER_MERGE):
        parts = range(first, min(first + PARTS_PER_MERGE, scan.shards))
        run = subprocess.run([find_program(scan.program), "merge", "--", catalogue,
                              *map(scan.part, parts)], stdin=subprocess.DEVNULL,
                             stdout=subprocess.DEVNULL, check=False)
        if run.returncode != 0:
            raise ScanError("the parts could not be merged")


def _scan_all(cluster: Cluster, scan: Scan, options: argparse.Namespace) -> Tuple[Counts, int]:
    """The sum of all shards, and how many could not be finished."""
    counts, failed = Counts(0, 0, 0, 0, 0), 0
    progress = Progress(options.progress, scan.shards)
    for shard in run_shards(cluster, scan, options.retries,
                            lambda: progress.draw(cluster.slots)):
        progress.clear()
        _told_by(scan.log(shard.number), sys.stderr)
        if shard.counts is None:
            failed += 1
            _say(shard.failure)
        else:
            counts = counts.and_of(shard.counts)
            progress.add(shard.counts.files)
    return counts, failed


def _keys(options: argparse.Namespace) -> Optional[Keys]:
    files = (options.tls_ca_file, options.tls_cert, options.tls_key)
    return Keys(*files) if all(files) else None


def _scan(options: argparse.Namespace) -> str:
    """Returns what to say of it all."""
    catalogue = _absolute(options.catalogue)
    program = options.tev
    if program and os.sep in program:
        program = _absolute(program)
    # Merging needs both here, so that nothing is begun without.
    _require_catalogue(find_program(program), catalogue)
    with contextlib.closing(Parts(catalogue)) as parts:
        shards = parts.shards(options.shards)
        with Cluster(options.jobs, options.scheduler, _keys(options)) as cluster:
            scan = Scan(folders=tuple(map(_absolute, options.folders)), parts=parts.folder,
                        shards=shards or SHARDS_PER_SLOT * cluster.slots, run=parts.run,
                        options=tuple(f"--{name}" for name in ("stats", "check", "hash")
                                      if getattr(options, name)),
                        program=program, memory=options.memory or cluster.memory)
            counts, failed = _scan_all(cluster, scan, options)
        if failed:
            raise ScanError(f"{failed} of {scan.shards} shards are not finished; running this again "
                            "goes on with them")
        _merge(scan, catalogue)
        if options.remove_parts:
            parts.remove()
    return str(counts)


@contextlib.contextmanager
def _ended_by_signals() -> Iterator[None]:
    """SIGTERM and SIGHUP end the run as Ctrl-C does, so that a cluster of its own ends with it."""
    def end(number: int, frame: object) -> None:
        raise KeyboardInterrupt

    taken: List[Tuple[int, Any]] = [(number, signal.signal(number, end))
                                    for number in (signal.SIGTERM, signal.SIGHUP)
                                    if signal.getsignal(number) is not signal.SIG_IGN]
    try:
        yield
    finally:
        for number, before in taken:
            signal.signal(number, before)


def _answer(text: str) -> None:
    """Writes to standard output. A reader that has gone ends this process as it does others."""
    try:
        if sys.stdout is None:
            raise OSError(errno.EBADF, os.strerror(errno.EBADF))
        print(text, flush=True)
    except OSError as error:
        with contextlib.suppress(OSError, AttributeError):  # else the interpreter tries again
            os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        if isinstance(error, BrokenPipeError):
            signal.signal(signal.SIGPIPE, signal.SIG_DFL)
            os.kill(os.getpid(), signal.SIGPIPE)
        raise ScanError("standard output: cannot write the answer: "
                        f"{error.strerror}") from None


def _run(arguments: Optional[Sequence[str]]) -> None:
    options = _parser().parse_args(arguments)
    tls = (options.tls_ca_file, options.tls_cert, options.tls_key)
    if any(tls) and not (all(tls) and options.scheduler):
        raise UsageError("--tls-ca-file, --tls-cert and --tls-key go together, with --scheduler")
    if options.scheduler and options.scheduler.startswith("tls://") != all(tls):
        raise UsageError("a scheduler at tls://, and no other, needs --tls-ca-file, --tls-cert and "
                         "--tls-key")
    if options.progress is None:
        options.progress = sys.stderr.isatty()
    try:
        with _ended_by_signals():
            counts = _scan(options)
    except KeyboardInterrupt:
        raise ScanError(f"{options.catalogue}: a signal ended the run; the next one goes on from "
                        "here") from None
    except (ScanError, OSError) as error:
        raise ScanError(f"{options.catalogue}: {error}") from None
    _answer(f"{_visible(options.catalogue)}: {counts}")


def main(arguments: Optional[Sequence[str]] = None) -> int:
    """The command `tev-archive`. Returns its exit status."""
    # What Dask logs of workers and connections that are lost is told here in words of the task.
    logging.disable(logging.CRITICAL)
    try:
        _run(arguments)
    except UsageError as error:
        _say(str(error))
        return BAD_USAGE
    except ScanError as error:
        _say(str(error))
        return NOT_FINISHED
    finally:
        logging.disable(logging.NOTSET)
    return DONE


if __name__ == "__main__":
    # By its name, so that workers find what is sent to them.
    from tev.archive import main as run
    sys.exit(run())
