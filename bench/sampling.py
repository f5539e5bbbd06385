"""Shares of time of a program's functions, sampled by perf."""

import os
import re
import shutil
import subprocess
import tempfile

from callgrind import kind_of, short_name

_LINE = re.compile(r"^\s*([\d.]+)%\s*\|(?:\s*[\d.]+%\s*\|)?\s*(\S+)\s*\|\[([.k])\] (.*?)\s*$")
_RUNS = 10
# What the kernel does for a program, by the function that it enters through.
_KERNEL = {"asm_exc_page_fault": "page faults (kernel)",
           "entry_SYSCALL_64_after_hwframe": "system calls (kernel)"}


def is_possible():
    """Whether perf is there and may sample."""
    if shutil.which("perf") is None:
        return False
    with tempfile.TemporaryDirectory() as directory:
        return _record(["true"], os.path.join(directory, "perf.data"))


def profile(command):
    """Shares of all time as two lists of (share, name), the largest first: by function with all
    that it calls, and by function alone, with helpers of one kind taken together."""
    inclusive, alone = {}, {}
    with tempfile.TemporaryDirectory() as directory:
        data = os.path.join(directory, "perf.data")
        for _ in range(_RUNS):
            if not _record(command, data):
                raise RuntimeError(f"{' '.join(command)} cannot be sampled")
            for share, library, space, function in _report(data, "--children"):
                name = _inclusive_name(library, space, function)
                if name:
                    inclusive[name] = inclusive.get(name, 0) + share / _RUNS
            for share, library, space, function in _report(data, "--no-children"):
                kind = "the kernel" if space == "k" else kind_of(short_name(function), library)
                alone[kind] = alone.get(kind, 0) + share / _RUNS
    return _sorted(inclusive), _sorted(alone)


def _record(command, data):
    environment = dict(os.environ, LC_ALL="C", QUARLO_TEMP_PATH=os.path.dirname(data))
    result = subprocess.run(
        ["perf", "record", "-q", "-e", "cpu-clock", "-F", "10000", "--call-graph", "dwarf,8192",
         "-o", data, *command],
        env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
        stderr=subprocess.DEVNULL, check=False)
    return result.returncode == 0


def _report(data, children):
    """Lines of perf's report as (share, library, "k" in the kernel, function)."""
    text = subprocess.run(
        ["perf", "report", "-i", data, "--stdio", "-t", "|", children, "-g", "none", "--sort",
         "dso,sym"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
        check=True).stdout
    for line in text.splitlines():
        match = _LINE.match(line)
        if match:
            yield float(match[1]) / 100, match[2], match[3], match[4].removesuffix(" (inlined)")


def _inclusive_name(library, space, function):
    """None for what says nothing about the program: the library's own insides."""
    if space == "k":
        return _KERNEL.get(function)
    if library.startswith("libz."):
        return "zlib: inflate" if function == "inflate" else None
    if library.startswith(("lib", "ld-")) or function.startswith(("std::", "boost::", "0x", "_")):
        return None
    return short_name(function)


def _sorted(shares):
    return sorted(((share, name) for name, share in shares.items()), reverse=True)
