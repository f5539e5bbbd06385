#!/usr/bin/env python3
"""Runs the benchmarks and writes docs/performance.md.

All programs run in turns in one run, on models that are made for it and thrown away. A run that
is not whole (--quick, --only) leaves the document alone and writes performance.md into the build
directory.
"""

import argparse
import datetime
import os
import pathlib
import sys
import tempfile

import callgrind
import document
import growth
import sampling
from cases import CASES, GIB, Goals
from catalogues import CATALOGUE_CASES
from contest import Arena
from document import table, text_of_seconds
from views import Views

VALUES_PER_LOOP = 4096  # of bench_numbers
ALL_CASES = (*CASES, *CATALOGUE_CASES, Views)
OTHERS = ("numbers", "container", "growth", "hostile", "profile")
PROFILE_NOTES = """\
What is neither inflating, copying once nor writing text, and why it is there.

In all, page faults are memory that is touched for the first time, each byte once, in large pages
where the system has them.

In the dump, `DumpWriter`, `NumberText` and `WriteFloat` write the text; `LbtUtil::UnShufflePlane` is
the one copy, which puts shuffled bytes right on the way from the block to the array; zlib is
inflating, and `LbtLbf::Adler32` the check sums of blocks.

In the report, allocating is the tree itself: nodes, variables, their names, the places of their
data and their loaders, which callers may ask for after the report; nothing of it is freed one by
one. `WalkParts` and `Tree::UpdateLinkedBuffers` walk over the whole tree once more, since
a link may lead to what comes later, and wait for memory that the caches have lost by then.
Comparisons and searches of text (memcmp, memchr) are the names of streams, variables and attributes.

In the statistics and the diff, `LbtUtil::UnShufflePlane` is the one copy again. What works out figures
looks at each number once, as a double, in pieces that stay in the cache; numbers of both models are
compared bytewise first (memcmp), and one by one where a piece differs.
"""


# --- Pieces ---------------------------------------------------------------------------------------

def numbers_section(arena, quick):
    groups = arena.microbenchmarks("bench_numbers", 3 if quick else 9, 0.01 if quick else 0.1)
    contenders = ("NumberText", "snprintf", "to_chars", "fmt")
    rows = []
    for group, times in sorted(groups.items()):
        base = times["NumberText"]
        rows.append([group] + [
            f"{times[who] / VALUES_PER_LOOP:.1f} ns"
            + ("" if who == "NumberText" else f" ({times[who] / base:.1f})") for who in contenders])
    return ("### Number text\n\nA float to text as `printf(\"%g\")` writes it, each; in brackets "
            "the ratio to `NumberText`.\n\n"
            + table(["Values", "`NumberText`", "`snprintf`", "`std::to_chars`", "{fmt}"], rows))


def container_section(arena, quick):
    groups = arena.microbenchmarks("bench_container", 3 if quick else 9, 0.01 if quick else 0.1)
    rows = []
    for group, times in groups.items():
        (ours, our_time), (limit, least) = times.items()
        if not ours.startswith(("LbFile", "Block", "UnShuffle", "CopyFrom")):
            (ours, our_time), (limit, least) = (limit, least), (ours, our_time)
        rows.append([group, f"{ours}: {text_of_seconds(our_time * 1e-9)}",
                     f"{limit}: {text_of_seconds(least * 1e-9)}", f"{our_time / least:.2f}"])
    return ("### Container\n\nPieces of the container against the least that the same work "
            "takes; the ratio is that of the container to the limit.\n\n"
            + table(["Piece", "Container", "Limit", "Ratio"], sorted(rows)))


def profile_section(arena):
    sampled = sampling.is_possible()
    profile = sampling.profile if sampled else callgrind.profile
    how = ("time, sampled by perf in ten runs each" if sampled
           else "instructions, counted by callgrind")
    parts = [f"## Where the time goes\n\nShares of all {how}: what a flame graph would show, from "
             "the root to the tips. With all that it calls:"]
    dump = arena.path("dump.tev")
    runs = (("the dump", ["TevInfo", "--extract-data", dump]),
            ("the report on many nodes", ["TevInfo", arena.path("nodes.tev")]),
            ("the statistics", ["tev", "results", "--stats", "--csv", "-j", "2", dump]),
            ("the diff", ["tev", "diff", "-j", "2", dump, arena.path("other-dump.tev")]))
    profiles = [(name, profile([arena.program(program), *arguments]))
                for name, (program, *arguments) in runs]
    for heading, which, least in (("", 0, 0.03), ("By itself:\n\n", 1, 0.02)):
        for name, shares in profiles:
            rows = [[f"`{function}`" if "::" in function else function, f"{share:.0%}"]
                    for share, function in shares[which] if share >= least]
            parts.append(heading + table([f"In {name}", "Share"], rows))
            heading = ""
    return "\n\n".join([*parts, PROFILE_NOTES])


# --- The document ---------------------------------------------------------------------------------

def introduction(load, rounds):
    cores = os.cpu_count()
    versions = "; ".join(f"{name} {version}" for name, version in document.versions())
    return ("# Performance\n\n`./dev bench` writes this page. All programs ran in turns in one "
            f"run of {rounds} rounds, with warm caches. Times are medians on the clock, but for the "
            "pieces (number text and container), which are medians of the processor's time; that "
            "is given beside the others, too, and memory is the largest resident size. A ratio is "
            "that to the first program of its table.\n\n"
            f"- Date: {datetime.date.today().isoformat()}, at commit {document.commit()}\n"
            f"- Machine: {document.cpu_name()}, {cores} cores, "
            f"{document.memory_size() / GIB:.0f} GiB of memory; load when it began: {load:.1f}\n"
            f"- Versions: {versions}")


def goals_section(goals):
    return "## Goals\n\n" + table(["What", "Asked", "Found", ""], goals.rows)


def verification_section(previous):
    return "## Every float\n\n" + document.verification_section(previous)


# --- The run ----------------------------------------------------------------------------------

def say(text):
    print(f"== {text}", file=sys.stderr, flush=True)


def run_cases(arena, chosen, quick, rounds):
    cases = [case(arena, quick) for case in ALL_CASES if case.key in chosen]
    wanted = {model for case in cases for model in case.models}
    if "profile" in chosen:
        wanted |= {"dump", "other-dump", "nodes"}
    if wanted:
        say(f"making models: {', '.join(sorted(wanted))}")
        arena.call([arena.program("bench_models"), str(arena.directory), *sorted(wanted)])
    for case in cases:
        say(f"checking {case.key}")
        case.prepare()
    for turn in range(rounds if cases else 0):
        say(f"round {turn + 1} of {rounds}")
        for case in cases:
            for runner in case.runners:
                arena.take_turn(runner)
    return cases


def write(arena, chosen, quick, rounds, target):
    load = os.getloadavg()[0]
    cases = run_cases(arena, chosen, quick, rounds)
    goals = Goals()
    for case in cases:
        case.judge(goals)
    bounds = []
    for key, section in (("growth", growth.growth_section), ("hostile", growth.hostile_section)):
        if key in chosen:
            say(key)
            bounds.append(section(arena, goals))
    sections = [introduction(load, rounds)]
    sections += [goals_section(goals)] if goals.rows else []
    sections += ["## Cases", *(case.section() for case in cases)]
    for key, section in (("numbers", numbers_section), ("container", container_section)):
        if key in chosen:
            say(key)
            sections.append(section(arena, quick))
    sections += bounds
    sections.append(verification_section(document.verification()))
    if "profile" in chosen:
        say("profile")
        sections.append(profile_section(arena))
    target.write_text("\n\n".join(sections) + "\n", encoding="utf-8")
    say(f"{target} is written")
    for row in goals.rows:
        print(" | ".join(row))


def main():
    keys = [case.key for case in ALL_CASES] + list(OTHERS)
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, default=document.ROOT / "build" / "bench",
                        help="build directory of the programs (default: build/bench)")
    parser.add_argument("--quick", action="store_true",
                        help="two rounds, a tenth of the small files, no growth, no hostile files "
                        "and no profile")
    parser.add_argument("--only", nargs="+", choices=keys, default=keys, metavar="CASE",
                        help=f"only these of: {', '.join(keys)}")
    arguments = parser.parse_args()

    chosen = set(arguments.only)
    if arguments.quick and arguments.only is keys:
        chosen -= {"growth", "hostile", "profile"}
    is_whole = not arguments.quick and arguments.only is keys
    build = arguments.build.resolve()
    target = document.PATH if is_whole else build / "performance.md"
    with tempfile.TemporaryDirectory(prefix="tevinfo-bench-") as directory:
        arena = Arena(build / "bin", pathlib.Path(directory))
        write(arena, chosen, arguments.quick, 2 if arguments.quick else 5, target)


if __name__ == "__main__":
    main()
