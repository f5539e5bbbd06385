#!/usr/bin/env python3
"""Changes the sources of a layer in small ways, one at a time, and runs the layer's tests on each.

A change that no test notices is printed: either a test is missing, or the change makes no difference.
Those that make none stand in tools/mutants.txt with the reason, and are left out.

Works on a copy of the repository in build/mutants, so that the sources stay as they are.
"""

import argparse
import pathlib
import random
import re
import resource
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
COPY = ROOT / "build/mutants/tree"
BUILD = ROOT / "build/mutants/build"
UNCHANGED_MAY_TAKE = 600  # seconds of a processor

# The folders of src/Lbt and the test programs that hold what is in them.
LAYERS = {
    "Util": "util",
    "Log": "log",
    "Lbf": "lbf",
    "Tev": "tev",
    "Tev/TevInfo": "report",
    "Tev/Check": "check",
    "Tev/Analysis": "analysis",
    "Tev/Exchange": "exchange",
    "Tev/View": "view",
}

# What is looked for in a line of code, and what takes its place.
OPERATORS = [
    (r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "), (r" >= ", " > "),
    (r" == ", " != "), (r" != ", " == "), (r" && ", " || "), (r" \|\| ", " && "),
    (r" \+ ", " - "), (r" - ", " + "), (r" \* ", " + "), (r" \+= ", " -= "),
    (r"\btrue\b", "false"), (r"\bfalse\b", "true"),
    (r"(?<![\w.\"'])(\d+)(?=U?\b(?![.\"'\w]))", lambda m: str(int(m.group(1)) + 1)),
    (r"\bif \((?!constexpr)(.*)\) \{$", lambda m: f"if (!({m.group(1)})) {{"),
    (r"\breturn (?!0;|false;|nullptr;)([\w.()]+);", lambda m: f"return {{}};"),
]
# A statement that may be left out: a call or an assignment on a line of its own.
STATEMENT = re.compile(r"^\s+(?!return|using|const|auto|static|throw|case|break|continue|else|if|for)"
                       r"[\w:.>\-\[\]*]+(\(.*\)| [+\-|&]?= .*);$")


class Mutant:
    """A line of a source and what it is changed to."""

    def __init__(self, path, number, before, after):
        self.path, self.number, self.before, self.after = path, number, before, after

    def key(self):
        return f"{self.path} | {self.before.strip()} | {self.after.strip()}"

    def __str__(self):
        return f"{self.path}:{self.number}\n  - {self.before.strip()}\n  + {self.after.strip()}"


def is_code(line):
    text = line.strip()
    return bool(text) and not text.startswith(("//", "#", "using ", "namespace ", "template", "*"))


def without_comment(line):
    """The line and its comment, which stays as it is. Texts in quotes are left alone as a whole."""
    at = line.find("  // ")
    return (line, "") if at < 0 else (line[:at], line[at:])


def mutants_of_line(line):
    code, comment = without_comment(line)
    quoted = [match.span() for match in re.finditer(r'"(?:[^"\\]|\\.)*"', code)]
    for pattern, replacement in OPERATORS:
        for match in re.finditer(pattern, code):
            if any(start <= match.start() < end for start, end in quoted):
                continue
            new = replacement if isinstance(replacement, str) else replacement(match)
            yield code[:match.start()] + new + code[match.end():] + comment
    if STATEMENT.match(code):
        yield re.match(r"\s*", code).group() + ";" + comment


def mutants_of_file(path):
    text = (ROOT / path).read_text(encoding="utf-8")
    for number, line in enumerate(text.split("\n"), 1):
        if is_code(line):
            for after in mutants_of_line(line):
                yield Mutant(path, number, line, after)


def known_to_make_no_difference():
    known = (ROOT / "tools/mutants.txt").read_text(encoding="utf-8").split("\n")
    return {line for line in known if line.startswith("src/")}


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                          check=False, **options).returncode


def build(target):
    return run(["cmake", "--build", str(BUILD), "--target", target]) == 0


def test(program, seconds):
    """Whether the tests pass within so many seconds of a processor."""
    def limit():
        resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds))
    return run([str(BUILD / "tests" / program), "--gtest_fail_fast", "--gtest_brief=1"],
               preexec_fn=limit) == 0


def used_by_children():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def prepare(program):
    """Copies what git knows, and builds and runs the tests unchanged. Returns how many seconds of a
    processor they may take: what never ends for a change takes longer."""
    shutil.rmtree(COPY, ignore_errors=True)
    listed = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, capture_output=True, check=True)
    for name in filter(None, listed.stdout.decode().split("\0")):
        if (ROOT / name).exists():
            (COPY / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(ROOT / name, COPY / name)
    configured = run(["cmake", "-G", "Ninja", "-S", str(COPY), "-B", str(BUILD),
                      "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O1",
                      "-DTEVINFO_BUILD_TESTS=ON"]) == 0
    if not configured or not build(program):
        sys.exit("mutants: the sources do not build")
    start = used_by_children()
    if not test(program, UNCHANGED_MAY_TAKE):
        sys.exit("mutants: the tests fail without any change")
    return 10 + 3 * int(used_by_children() - start)


def try_out(mutant, program, seconds):
    """One of "no code", "noticed" and "survives"."""
    source = COPY / mutant.path
    original = source.read_text(encoding="utf-8")
    lines = original.split("\n")
    lines[mutant.number - 1] = mutant.after
    source.write_text("\n".join(lines), encoding="utf-8")
    try:
        if not build(program):
            return "no code"
        return "survives" if test(program, seconds) else "noticed"
    finally:
        source.write_text(original, encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(prog="./dev mutants", description=__doc__.split("\n")[0])
    parser.add_argument("layer", choices=LAYERS, help="a folder of src/Lbt")
    parser.add_argument("--only", default="", help="sources whose name has this text")
    parser.add_argument("--sample", type=int, help="try this many, taken at random")
    parser.add_argument("--seed", type=int, default=1, help="which ones (default 1)")
    arguments = parser.parse_args()

    program = "test_" + LAYERS[arguments.layer]
    known = known_to_make_no_difference()
    sources = sorted((ROOT / "src/Lbt" / arguments.layer).glob("*.cpp"))
    mutants = [mutant for source in sources if arguments.only in source.name
               for mutant in mutants_of_file(str(source.relative_to(ROOT)))
               if mutant.key() not in known]
    if arguments.sample is not None and arguments.sample < len(mutants):
        mutants = random.Random(arguments.seed).sample(mutants, arguments.sample)
    seconds = prepare(program)
    counts = {"no code": 0, "noticed": 0, "survives": 0}
    for mutant in mutants:
        outcome = try_out(mutant, program, seconds)
        counts[outcome] += 1
        if outcome == "survives":
            print(mutant, flush=True)
    print(f"{len(mutants)} changes: {counts['noticed']} noticed, {counts['no code']} do not "
          f"compile, {counts['survives']} survive")
    return 1 if counts["survives"] else 0


if __name__ == "__main__":
    sys.exit(main())
