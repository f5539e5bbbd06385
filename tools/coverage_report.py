#!/usr/bin/env python3
"""Prints what the tests reach: lines and branches by file, and the lines of src/ that none reaches.

Reads the JSON that gcovr writes. Usage: coverage_report.py <file>
"""

import json
import re
import sys


class Reach:
    """How many of a kind there are, and how many of them were reached."""

    def __init__(self, all_of_them=0, reached=0):
        self.all = all_of_them
        self.reached = reached

    def __add__(self, other):
        return Reach(self.all + other.all, self.reached + other.reached)

    def __str__(self):
        share = f"{100 * self.reached / self.all:.1f}" if self.all else "-"
        return f"{self.reached:6}{self.all:7}{share:>7}"


def reach_of(counts):
    counts = list(counts)
    return Reach(len(counts), sum(1 for count in counts if count > 0))


def own_path(path):
    """A header is compiled through a link: its place in the repository."""
    return re.sub(r"^.*/layers/[a-z]+/", "include/", path)


def code_lines(file):
    return [line for line in file["lines"] if not line["gcovr/noncode"]]


def row_of(file):
    lines = code_lines(file)
    branches = [branch["count"] for line in lines for branch in line["branches"]]
    return own_path(file["file"]), reach_of(line["count"] for line in lines), reach_of(branches)


def print_row(name, lines, branches):
    print(f"{name:<52}{lines}  {branches}")


def ranges(numbers):
    """[1, 2, 3, 7] as "1-3, 7"."""
    parts = []
    for number in sorted(numbers):
        if parts and parts[-1][1] == number - 1:
            parts[-1][1] = number
        else:
            parts.append([number, number])
    return ", ".join(str(a) if a == b else f"{a}-{b}" for a, b in parts)


def print_unreached(files):
    print("\nLines of src/ that no test reaches:")
    any_line = False
    for file in files:
        missed = [line["line_number"] for line in code_lines(file) if line["count"] == 0]
        if missed and file["file"].startswith("src/"):
            print(f"{file['file']}: {ranges(missed)}")
            any_line = True
    if not any_line:
        print("none")


def main():
    with open(sys.argv[1], encoding="utf-8") as stream:
        files = json.load(stream)["files"]
    rows = sorted(row_of(file) for file in files)
    print(f"{'':<52}{'lines':>20}  {'branches':>20}")
    for row in rows:
        print_row(*row)
    print_row("all", sum((row[1] for row in rows), Reach()), sum((row[2] for row in rows), Reach()))
    print_unreached(files)


if __name__ == "__main__":
    main()
