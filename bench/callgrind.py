"""Instruction counts of programs, from valgrind's callgrind."""

import os
import re
import subprocess
import tempfile

_LINE = re.compile(r"^\s*([\d,]+) \(\s*[\d.]+%\)\s+(.*?)(?: \[([^]]*)\])?$")
_MEMORY = re.compile(r"^(_int_)?(malloc|free|realloc|memalign)|^operator (new|delete)|"
                     r"^(malloc_consolidate|unlink_chunk|sysmalloc|systrim|cfree)")
_COPYING = re.compile(r"^_*(mem(cpy|move|set|cmp|chr)|str(len|cmp))_")


def run(command, directory, cwd=None):
    """Runs a program under callgrind, its output thrown away; returns the count and the profile's
    path, which lies in "directory"."""
    profile = os.path.join(directory, "callgrind.out")
    # Nothing of the caller's environment counts, so that the number is the same everywhere.
    environment = {"PATH": os.environ["PATH"], "LC_ALL": "C", "QUARLO_TEMP_PATH": directory}
    result = subprocess.run(
        ["valgrind", "--tool=callgrind", f"--callgrind-out-file={profile}", *command],
        cwd=cwd, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
        stderr=subprocess.PIPE, text=True, check=False)
    count = re.search(r"Collected : (\d+)", result.stderr)
    if result.returncode != 0 or count is None:
        raise RuntimeError(f"{' '.join(command)} failed under callgrind:\n{result.stderr}")
    return int(count.group(1)), profile


def count(command, cwd=None):
    """How many instructions a program executes."""
    with tempfile.TemporaryDirectory() as directory:
        return run(command, directory, cwd)[0]


def profile(command):
    """Shares of all instructions: two lists of (share, name), the largest first. The first list is
    by function with all that it calls; the second by function alone, with helpers of one kind
    taken together."""
    with tempfile.TemporaryDirectory() as directory:
        total, path = run(command, directory)
        inclusive, alone = {}, {}
        for value, name, library in _annotated(path, "--inclusive=yes"):
            if name != "" and not library.startswith(("lib", "ld-")) \
                    and not name.startswith(("std::", "boost::", "0x")):
                # A function that calls itself stands there more than once.
                inclusive[name] = max(inclusive.get(name, 0), value / total)
        for value, name, library in _annotated(path, "--inclusive=no"):
            kind = kind_of(name, library)
            alone[kind] = alone.get(kind, 0) + value / total
        return _sorted(inclusive), _sorted(alone)


def _annotated(path, option):
    """The lines of callgrind_annotate as (count, function, library)."""
    text = subprocess.run(["callgrind_annotate", option, "--auto=no", "--threshold=100", path],
                          stdout=subprocess.PIPE, text=True, check=True).stdout
    for line in text.splitlines():
        match = _LINE.match(line)
        if match and match.group(3):
            # "file:function": a file's name has no colon, a function's has.
            function = match.group(2).split(":", 1)[1]
            yield (int(match.group(1).replace(",", "")), short_name(function),
                   os.path.basename(match.group(3)))


def short_name(function):
    """A function's name without its arguments and those of templates."""
    name = re.sub(r" \[clone.*|'\d+$", "", function)
    name = name.replace("(anonymous namespace)::", "").replace("operator()", "operator call")
    for pattern in (r"<[^<>]*>", r"\([^()]*\)"):
        while re.search(pattern, name):
            name = re.sub(pattern, "", name)
    name = name.replace(" const", "").strip().replace("operator call", "operator()")
    return name if name.startswith("operator ") else name.split(" ")[-1]


def kind_of(name, library):
    """Helpers of one kind under one name; a function of the program under its own."""
    if library.startswith("libz."):
        return "zlib"
    if library.startswith("ld-"):
        return "the dynamic linker"
    if _MEMORY.match(name):
        return "allocating and freeing"
    if _COPYING.match(name):
        return "memcpy, memcmp and their like"
    if library.startswith("libstdc++"):
        return "the C++ library"
    if library.startswith("libc."):
        return "the C library"
    return name


def _sorted(shares):
    return sorted(((share, name) for name, share in shares.items()), reverse=True)
