#!/usr/bin/env python3
"""Counts the instructions of small runs and compares them with bench/counts.txt.

A count is the same on a busy machine as on an idle one, so it shows what a change costs where times
do not. A change that moves one by more than ten percent says why in its commit.
"""

import argparse
import pathlib
import re
import subprocess
import tempfile

import callgrind

ROOT = pathlib.Path(__file__).resolve().parent.parent
FILE = ROOT / "bench" / "counts.txt"
NOTABLE = 10.0

CASES = {
    "report": ["TevInfo", "examples/bracket.tev"],
    "dump": ["TevInfo", "--extract-data", "examples/bracket.tev"],
    "blocks": ["tev", "blocks", "examples/heatsink.tev"],
    # Attribute sets of variables, which a report reads: ten that repeat, and no two alike.
    "same": ["TevInfo", "same-attributes.tev"],
    "different": ["TevInfo", "different-attributes.tev"],
}
MADE = ["attributes"]


def toolchain():
    """What the counts depend on besides the sources."""
    compiler = subprocess.run(["g++", "-dumpfullversion"], stdout=subprocess.PIPE, text=True,
                              check=True).stdout.strip()
    libc = subprocess.run(["getconf", "GNU_LIBC_VERSION"], stdout=subprocess.PIPE, text=True,
                          check=True).stdout.strip()
    return f"g++ {compiler}, {libc}"


def read_counts():
    if not FILE.exists():
        return {}, None
    text = FILE.read_text(encoding="utf-8")
    made_with = re.search(r"^# Made with (.*)\.$", text, re.MULTILINE)
    counts = {name: int(value)
              for name, value in re.findall(r"^(\w+) +(\d+) ", text, re.MULTILINE)}
    return counts, made_with and made_with.group(1)


def write_counts(counts):
    lines = ["# Instructions that small runs execute, from valgrind --tool=callgrind.",
             f"# Made with {toolchain()}.",
             "# bench/counts.py --update writes this file."]
    lines += [f"{name:10}{counts[name]:12}  {' '.join(CASES[name])}" for name in CASES]
    FILE.write_text("\n".join(lines) + "\n", encoding="utf-8")


def show(old, new):
    print(f"{'case':10}{'old':>14}{'new':>14}{'change':>10}")
    notable = []
    for name, count in new.items():
        if name not in old:
            print(f"{name:10}{'':>14}{count:>14,}{'new':>10}")
            continue
        change = 100.0 * (count - old[name]) / old[name]
        print(f"{name:10}{old[name]:>14,}{count:>14,}{change:>+9.1f}%")
        if abs(change) > NOTABLE:
            notable.append(name)
    if notable:
        print(f"Over {NOTABLE:.0f} percent: {', '.join(notable)}. Say why in the commit, and bring "
              "bench/counts.txt up to date with --update.")


def count(programs, command, made):
    """Counts a run in the folder that has its model, whose path is short and always the same."""
    folder = made if (made / command[-1]).exists() else ROOT
    return callgrind.count([str(programs / command[0]), *command[1:]], cwd=folder)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build",
                        help="build directory of the programs (default: build)")
    parser.add_argument("--update", action="store_true", help="write bench/counts.txt")
    arguments = parser.parse_args()

    build = arguments.build.resolve()
    with tempfile.TemporaryDirectory() as made:
        subprocess.run([build / "bin" / "bench_models", made, *MADE], check=True)
        new = {name: count(build / "bin", command, pathlib.Path(made))
               for name, command in CASES.items()}
    old, made_with = read_counts()
    show(old, new)
    if made_with not in (None, toolchain()):
        print(f"bench/counts.txt was made with {made_with}, this is {toolchain()}.")
    if arguments.update:
        write_counts(new)


if __name__ == "__main__":
    main()
