"""What the tests of scans on many machines share: an archive, catalogues, clusters, and programs that
do to a scan what can happen to it.
"""

import contextlib
import os
import shlex
import shutil
import sqlite3
import stat
import subprocess
import sys

from conftest import EXAMPLES

TEV = os.environ["TEV_PROGRAM"]
CHECK = EXAMPLES.parent / "tests" / "run" / "check_catalogue.py"
SMALL = ("two parts of one name", "without a step", "lost geometry", "no results", "more ids",
         "fewer ids", "forty fields")


def write_model(path, name):
    path.write_bytes(subprocess.run([os.environ["TEVINFO_MODEL_WRITER"], "small", name],
                                    stdout=subprocess.PIPE, check=True).stdout)


def write_archive(folder):
    """Models of all sorts: sound, damaged, cut, and what is none."""
    deep = folder / "deep"
    deep.mkdir(parents=True)
    for place, name in enumerate(SMALL):
        write_model(folder / f"model {place}.tev", name)
    sound = (folder / "model 3.tev").read_bytes()
    for place in range(16, len(sound), len(sound) // 12):
        flipped = bytearray(sound)
        flipped[place] ^= 0xFF
        (deep / f"flipped{place}.tev").write_bytes(flipped)
    (deep / "cut.tev").write_bytes(sound[:-1])
    (deep / "notes.txt").write_text("no model")
    shutil.copy(EXAMPLES / "bracket.tev", deep / "br\u00e4cket\n.tev")


def program(path, *lines):
    """A program for a shell, to be called in place of tev: its arguments are "$@", and "$TEV" is tev."""
    path.write_text("\n".join(["#!/bin/bash", f"TEV={shlex.quote(TEV)}", *lines, 'exec "$TEV" "$@"']))
    path.chmod(path.stat().st_mode | stat.S_IXUSR)
    return str(path)


def once(place, line):
    """A line for the above that only one call of all comes to, but not that of a merge."""
    return f'[[ $1 == scan ]] && mkdir {shlex.quote(str(place))} 2>/dev/null && {{ {line}; }}'


def rows(catalogue):
    """All that it holds, but for numbers of rows and times of scans."""
    with contextlib.closing(sqlite3.connect(f"file:{catalogue}?mode=ro", uri=True)) as database:
        database.text_factory = bytes

        def columns(table):
            names = [name.decode() for _, name, *_ in
                     database.execute(f"PRAGMA table_info({table})")]
            return ", ".join(f"{table}.{name}" for name in names
                             if name not in ("id", "model_id", "scanned_ns") or (
                                 table == "parts" and name == "id"))

        held = {"models": database.execute(f"SELECT {columns('models')} FROM models")}
        for table in ("parts", "steps", "results", "extremes", "findings"):
            held[table] = database.execute(f"SELECT models.path, {columns(table)} FROM {table} "
                                           "JOIN models ON models.id = model_id")
        return {table: sorted(found, key=repr) for table, found in held.items()}


def scan(archive, catalogue, *options):
    """What one process makes of the same."""
    subprocess.run([TEV, "scan", archive, "--catalogue", catalogue, *options], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return rows(catalogue)


def faults(catalogue, archive, *options):
    """In what a catalogue differs from what the verbs of tev tell."""
    run = subprocess.run([sys.executable, CHECK, TEV, catalogue, archive, *options],
                         capture_output=True, text=True, errors="replace", check=False)
    return "" if run.returncode == 0 else run.stdout + run.stderr


def is_running(process):
    """Whether it is there, and more than a status that nobody has asked for."""
    try:
        with open(f"/proc/{process}/stat", encoding="ascii", errors="replace") as file:
            return file.read().rpartition(")")[2].split()[0] not in "ZX"
    except FileNotFoundError:
        return False


@contextlib.contextmanager
def cluster_of_its_own(folder, *options):
    """A scheduler and a worker, each a process as somebody's cluster has them."""
    file = folder / "scheduler.json"
    shared = ["--scheduler-file", file, "--no-dashboard", *options]
    log = open(folder / "cluster.log", "wb")
    with contextlib.ExitStack() as ends:
        ends.enter_context(log)
        processes = []
        for command in (["dask_scheduler", "--host", "127.0.0.1", "--port", "0", *shared],
                        ["dask_worker", "--nthreads", "1", "--no-nanny", "--death-timeout", "60",
                         "--local-directory", folder, *shared]):
            process = subprocess.Popen([sys.executable, "-m", f"distributed.cli.{command[0]}",
                                        *command[1:]], stdout=log, stderr=log)
            ends.callback(process.wait)
            ends.callback(process.kill)
            processes.append(process)
        yield file, processes
