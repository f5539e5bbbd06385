"""How cost grows: with what an honest model has more of, and with what a hostile one asks for."""

import math
import os
import statistics
import subprocess

import callgrind
from document import table, text_of_mebibytes, text_of_seconds

THINGS = ("nodes", "parts", "steps", "attributes", "names")
TIMES = (1, 2, 4, 8)
TOLERANCE = 0.25
LEAST_GROWTH = 0.02  # of what the least model costs
VERBS = ("list", "info", "tree", "sets", "blocks", "check")
MIB = 2**20
# Each hostile file: processor seconds, and more for text where that is what was asked for; memory
# beyond 20 times the inflated file; the trace log.
SECONDS = 2
SECONDS_PER_MEBIBYTE = 0.01
MEMORY = 256 * MIB
MEMORY_TIMES = 20
LOG = MIB

GROWTH_NOTE = """\
Instructions, counted by callgrind, on models that have 1, 2, 4 and 8 times as much of one thing. The
exponent is the slope of their logarithms, less what a model with one of each costs: 1 is growth in
proportion. Small models, so that a sum that grows faster shows before it is large."""

HOSTILE_NOTE = """\
Small files whose records ask for far more than the file holds. Seconds are those of the processor,
in brackets the text that was written; in the last column the largest resident size of all runs."""


def works(arena, model, geometry="g"):
    """(name, command, whether its time may grow with the text that it writes)."""
    info, tev = arena.program("TevInfo"), arena.program("tev")
    return [("report", [info, model], False), ("dump", [info, "--extract-data", model], True),
            ("cdf", [tev, "cdf", model, geometry, "-"], True),
            *((verb, [tev, verb, model], verb == "tree") for verb in VERBS)]


def json_works(arena, model):
    tev = arena.program("tev")
    return [(f"{verb} --json", [tev, verb, "--json", model], verb == "tree") for verb in VERBS]


# --- Honest growth --------------------------------------------------------------------------------

def exponent(counts, start):
    """How "counts", by times, grow beyond "start"; None where they do not."""
    if counts[max(counts)] - start < LEAST_GROWTH * start:
        return None
    return statistics.linear_regression([math.log(times) for times in counts],
                                        [math.log(count - start) for count in counts.values()]).slope


def exponents(arena, thing):
    """The exponent of each work with the growth of one thing."""
    counts = {}
    for times in (0, *TIMES):
        model = arena.path(f"growth/{thing}{times}.tev")
        for work, command, _ in works(arena, model, "Part 0"):
            counts.setdefault(work, {})[times] = callgrind.count(command)
    return {work: exponent(by_times, by_times.pop(0)) for work, by_times in counts.items()}


def growth_section(arena, goals):
    arena.call([arena.program("bench_models"), str(arena.directory), "growth"])
    rows = []
    for thing in THINGS:
        found = exponents(arena, thing)
        rows.append([thing, *("none" if slope is None else f"{slope:.2f}"
                              for slope in found.values())])
        goals.within(f"exponents of growth with {thing}",
                     [slope for slope in found.values() if slope is not None],
                     1 - TOLERANCE, 1 + TOLERANCE)
    header = ["More of", *(work for work, _, _ in works(arena, ""))]
    return f"## Growth\n\n{GROWTH_NOTE}\n\n{table(header, rows)}"


# --- Hostile files --------------------------------------------------------------------------------

class Run:
    """One run of a program on a hostile file and what it took."""

    def __init__(self, arena, command):
        log = arena.directory / "TevInfo_trace.log"
        log.unlink(missing_ok=True)
        with subprocess.Popen(command, cwd=arena.directory, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                              env=dict(os.environ, QUARLO_TEMP_PATH=str(arena.directory))) as child:
            self.text = sum(len(piece) for piece in iter(lambda: child.stdout.read1(MIB), b""))
            _, status, usage = os.wait4(child.pid, 0)
            child.returncode = os.waitstatus_to_exitcode(status)
        self.ended = child.returncode >= 0
        self.seconds = usage.ru_utime + usage.ru_stime
        self.peak = 1024 * usage.ru_maxrss
        self.log = log.stat().st_size if log.exists() else 0

    def is_within(self, inflated, grows_with_text):
        seconds = SECONDS + (SECONDS_PER_MEBIBYTE * self.text / MIB if grows_with_text else 0)
        return (self.ended and self.seconds <= seconds and self.log <= LOG
                and self.peak <= MEMORY + MEMORY_TIMES * inflated)

    def __str__(self):
        text = f" ({text_of_mebibytes(self.text)})" if self.text >= MIB else ""
        return text_of_seconds(self.seconds) + text


def hostile_section(arena, goals):
    answer = arena.call([arena.program("bench_models"), str(arena.directory), "hostile"])
    rows = []
    for line in answer.splitlines():
        name, inflated = line.split("\t")
        model = arena.path(f"hostile/{name}.tev")
        runs = [(Run(arena, command), grows)
                for _, command, grows in works(arena, model) + json_works(arena, model)]
        texts = len(works(arena, model))
        beyond = sum(not run.is_within(int(inflated), grows) for run, grows in runs)
        goals.at_most(f"runs beyond their bounds on {name}", beyond, 0, "{:d}".format)
        rows.append([name, *(str(run) for run, _ in runs[:texts]),
                     str(max((run for run, _ in runs[texts:]), key=lambda run: run.seconds)),
                     text_of_mebibytes(max(run.peak for run, _ in runs))])
    header = ["File", *(work for work, _, _ in works(arena, "")), "Slowest JSON", "Peak memory"]
    return f"## Hostile files\n\n{HOSTILE_NOTE}\n\n{table(header, rows)}"
