"""How cost grows: with what an honest model has more of, and with what a hostile one asks for."""

import dataclasses
import math
import os
import statistics
import subprocess
import sys

import callgrind
from document import table, text_of_mebibytes, text_of_seconds

THINGS = ("nodes", "parts", "steps", "attributes", "names")
TIMES = (1, 2, 4, 8)
TOLERANCE = 0.25
LEAST_GROWTH = 0.02  # of what the least model costs
VERBS = ("list", "info", "tree", "sets", "blocks", "check", "results")
LONG_ANSWERS = ("tree", "blocks", "results")
MIB = 2**20
# Each hostile file: processor seconds, and more for text where that is what was asked for; memory
# beyond 20 times the inflated file; the trace log.
SECONDS = 2
SECONDS_PER_MEBIBYTE = 0.01
MEMORY = 256 * MIB
MEMORY_TIMES = 20
LOG = MIB
# Of the works, those that have a column each among the hostile files, and how many others have.
OF_REPORTS = 3
SLOWEST = 3

GROWTH_NOTE = """\
Instructions, counted by callgrind, on models that have 1, 2, 4 and 8 times as much of one thing. The
exponent is the slope of their logarithms, less what a model with one of each costs: 1 is growth in
proportion. Small models, so that a sum that grows faster shows before it is large."""

HOSTILE_NOTE = """\
Small files whose records ask for far more than the file holds. Seconds are those of the processor,
in brackets the text that was written. All verbs of `tev` were run, in text and JSON; the slowest are
shown, and in the last column the largest resident size of all runs."""


@dataclasses.dataclass
class Work:
    """One way to run a program on a model."""

    name: str
    command: list
    grows_with_text: bool = False  # its time may, as the text is what was asked for
    models: int = 1  # that it reads


def works(arena, model, last_block, geometry="g"):
    """Both programs, with every verb."""
    info, tev = arena.program("TevInfo"), arena.program("tev")
    return [Work("report", [info, model]),
            Work("EKM", [info, "--ekm-meta-data", model]),
            Work("dump", [info, "--extract-data", model], True),
            Work("cdf", [tev, "cdf", model, geometry, "-"], True),
            *(Work(verb, [tev, verb, model], verb in LONG_ANSWERS) for verb in VERBS),
            Work("block", [tev, "block", model, last_block], True),
            Work("stats", [tev, "results", "--stats", model], True),
            Work("values", [tev, "values", model], True),
            Work("mesh", [tev, "values", "--mesh", model], True),
            Work("diff", [tev, "diff", model, model], True, models=2),
            Work("export", [tev, "export", model, "-o", arena.path("export.xdmf")])]


def json_works(arena, model):
    """The verbs that write JSON, in that form."""
    tev = arena.program("tev")
    return [*(Work(f"{verb} --json", [tev, verb, "--json", model], verb in LONG_ANSWERS)
              for verb in VERBS),
            Work("stats --json", [tev, "results", "--stats", "--json", model], True),
            Work("diff --json", [tev, "diff", "--json", model, model], True, models=2)]


def view_works(arena, model):
    """What is seen of a model."""
    return [Work(name, [arena.program("tev"), "view", model, "-o", arena.path(f"view.{end}")])
            for name, end in (("page", "html"), ("picture", "png"))]


# --- Honest growth --------------------------------------------------------------------------------

def exponent(counts, start):
    """How "counts", by times, grow beyond "start"; None where they do not."""
    if counts[max(counts)] - start < LEAST_GROWTH * start:
        return None
    return statistics.linear_regression([math.log(times) for times in counts],
                                        [math.log(count - start) for count in counts.values()]).slope


def exponents(arena, thing, last_blocks):
    """The exponent of each work with the growth of one thing."""
    counts = {}
    for times in (0, *TIMES):
        name = f"{thing}{times}"
        for work in works(arena, arena.path(f"growth/{name}.tev"), last_blocks[name], "Part 0"):
            counts.setdefault(work.name, {})[times] = callgrind.count(work.command, arena.directory)
    return {work: exponent(by_times, by_times.pop(0)) for work, by_times in counts.items()}


def growth_section(arena, goals):
    answer = arena.call([arena.program("bench_models"), str(arena.directory), "growth"])
    last_blocks = dict(line.split("\t") for line in answer.splitlines())
    rows = []
    for thing in THINGS:
        found = exponents(arena, thing, last_blocks)
        rows.append([thing, *("none" if slope is None else f"{slope:.2f}"
                              for slope in found.values())])
        goals.within(f"exponents of growth with {thing}",
                     [slope for slope in found.values() if slope is not None],
                     1 - TOLERANCE, 1 + TOLERANCE)
    header = ["More of", *(work.name for work in works(arena, "", ""))]
    return f"## Growth\n\n{GROWTH_NOTE}\n\n{table(header, rows)}"


# --- Hostile files --------------------------------------------------------------------------------

class Run:
    """One run of a program on a hostile file and what it took."""

    def __init__(self, arena, work):
        self.work = work
        log = arena.directory / "TevInfo_trace.log"
        log.unlink(missing_ok=True)
        # Through a program that is small, since a child's peak counts the memory of who started it.
        read, write = os.pipe()
        with subprocess.Popen([arena.program("bench_measure"), f"/dev/fd/{write}", *work.command],
                              cwd=arena.directory, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, pass_fds=(write,),
                              env=dict(os.environ, QUARLO_TEMP_PATH=str(arena.directory))) as child:
            os.close(write)
            self.text = sum(len(piece) for piece in iter(lambda: os.read(read, MIB), b""))
            _, seconds, peak, status = child.stdout.read().split()
        os.close(read)
        self.ended = int(status) >= 0
        self.seconds = float(seconds)
        self.peak = 1024 * int(peak)
        self.log = log.stat().st_size if log.exists() else 0

    def is_within(self, inflated):
        text = self.text / MIB if self.work.grows_with_text else 0
        models = self.work.models
        return (self.ended and self.seconds <= SECONDS * models + SECONDS_PER_MEBIBYTE * text
                and self.log <= LOG and self.peak <= MEMORY + MEMORY_TIMES * inflated * models)

    def __str__(self):
        text = f" ({text_of_mebibytes(self.text)})" if self.text >= MIB else ""
        return text_of_seconds(self.seconds) + text


def hostile_section(arena, goals):
    answer = arena.call([arena.program("bench_models"), str(arena.directory), "hostile"])
    rows = []
    for line in answer.splitlines():
        name, inflated, last_block = line.split("\t")
        model = arena.path(f"hostile/{name}.tev")
        runs = [Run(arena, work) for work in works(arena, model, last_block)
                + json_works(arena, model) + view_works(arena, model)]
        beyond = [run.work.name for run in runs if not run.is_within(int(inflated))]
        if beyond:
            print(f"beyond the bounds on {name}: {', '.join(beyond)}", file=sys.stderr)
        goals.at_most(f"runs beyond their bounds on {name}", len(beyond), 0, "{:d}".format)
        verbs = sorted(runs[OF_REPORTS:], key=lambda run: run.seconds, reverse=True)
        rows.append([name, *(str(run) for run in runs[:OF_REPORTS]),
                     *(f"{run.work.name}: {run}" for run in verbs[:SLOWEST]),
                     text_of_mebibytes(max(run.peak for run in runs))])
    header = ["File", *(work.name for work in works(arena, "", "")[:OF_REPORTS]),
              "Slowest verb", *("then" for _ in range(SLOWEST - 1)), "Peak memory"]
    return f"## Hostile files\n\n{HOSTILE_NOTE}\n\n{table(header, rows)}"
