"""docs/performance.md: its parts, and what the machine is."""

import os
import pathlib
import platform
import re
import shutil
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent
PATH = ROOT / "docs" / "performance.md"

_BEGIN = "<!-- verify-numbers writes from here -->"
_END = "<!-- to here -->"
_NOT_YET = "Not yet run on this tree: `./dev verify-numbers`."


def verification(path=PATH):
    """The text that the comparison of all floats has left."""
    text = path.read_text(encoding="utf-8") if path.exists() else ""
    match = re.search(f"{_BEGIN}\n(.*?)\n{_END}", text, re.DOTALL)
    return match.group(1) if match else _NOT_YET


def verification_section(text):
    return f"{_BEGIN}\n{text}\n{_END}"


def put_verification(text):
    """Puts the outcome of the comparison into the document, where there is one."""
    if PATH.exists():
        whole = PATH.read_text(encoding="utf-8")
        section = verification_section(text)
        whole = re.sub(f"{_BEGIN}\n.*?\n{_END}", lambda _: section, whole, flags=re.DOTALL)
    else:
        whole = f"# Performance\n\n{verification_section(text)}\n"
    PATH.write_text(whole, encoding="utf-8")


def table(header, rows):
    """A Markdown table; all columns but the first are aligned to the right."""
    lines = ["| " + " | ".join(header) + " |", "|---|" + "---:|" * (len(header) - 1)]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines)


def text_of_seconds(seconds):
    if seconds >= 1:
        return f"{seconds:.2f} s"
    if seconds >= 1e-3:
        return f"{seconds * 1e3:.1f} ms" if seconds >= 0.01 else f"{seconds * 1e3:.2f} ms"
    return f"{seconds * 1e6:.2f} µs" if seconds >= 1e-6 else f"{seconds * 1e9:.1f} ns"


def text_of_mebibytes(bytes_):
    return f"{bytes_ / 2**20:.1f} MiB"


def cpu_name():
    for line in pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def memory_size():
    return os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES")


def _first_line(command, pattern=r"(.+)"):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            check=False)
    match = re.search(pattern, result.stdout)
    return match.group(1) if match else "unknown"


def _package(name):
    if shutil.which("dpkg-query") is None:
        return "unknown"
    return _first_line(["dpkg-query", "-W", "-f", "${Version}", name])


def commit():
    """The commit that is checked out, and whether the sources differ from it."""
    name = _first_line(["git", "-C", str(ROOT), "rev-parse", "--short=12", "HEAD"])
    changed = subprocess.run(["git", "-C", str(ROOT), "diff", "--quiet", "HEAD", "--", ".",
                              ":!docs/performance.md"], check=False).returncode != 0
    return f"{name} with changes" if changed else name


def versions():
    """(name, version) of all that takes part."""
    return [
        ("Linux", platform.release()),
        ("g++", _first_line(["g++", "--version"], r"(\d+\.\d+\.\d+)\n") + " -O2"),
        ("zlib", _package("zlib1g")),
        ("h5dump", _first_line(["h5dump", "--version"], r"Version (\S+)")),
        ("ncdump", _first_line(["ncdump"], r"netcdf library version (\S+)")),
        ("{fmt}", _package("libfmt-dev")),
        ("Google Benchmark", _package("libbenchmark-dev")),
        ("hyperfine", _first_line(["hyperfine", "--version"], r"(\d\S*)")),
        ("perf", _first_line(["perf", "--version"], r"(\d\S*)")),
        ("valgrind", _first_line(["valgrind", "--version"], r"(\d\S*)")),
    ]
