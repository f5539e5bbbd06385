"""What `tev-archive` says of its usage, how far it is, and how many tasks it has at a time."""

import re
import sys
import types

import pytest

from archives import TEV
from conftest import EXAMPLES
from tev import _cluster, archive
from tev._shard import Counts, Scan, ScanError, find_program


@pytest.mark.parametrize("arguments, fault", [
    ([], "the following arguments are required: VERB (see tev-archive --help)"),
    (["scan", "x"], "the following arguments are required: --catalogue (see tev-archive scan --help)"),
    (["scan", "--catalogue", "a.db"],
     "the following arguments are required: FOLDER (see tev-archive scan --help)"),
    (["scan", "x", "--catalogue", "a.db", "--jobs", "0"],
     'argument --jobs: "0" is no number from 1 to 999999 (see tev-archive scan --help)'),
    (["scan", "x", "--catalogue", "a.db", "--jobs", "2", "--scheduler", "tcp://head:8786"],
     "argument --scheduler: not allowed with argument --jobs (see tev-archive scan --help)"),
    (["scan", "x", "--catalogue", "a.db", "--memory", "much"],
     'argument --memory: "much" is no size, as 500M or 4G are (see tev-archive scan --help)'),
    (["scan", "x", "--catalogue", "a.db", "--tls-key", "key.pem", "--scheduler", "tls://head:8786"],
     "--tls-ca-file, --tls-cert and --tls-key go together, with --scheduler"),
    (["scan", "x", "--catalogue", "a.db", "--scheduler", "tls://head:8786"],
     "a scheduler at tls://, and no other, needs --tls-ca-file, --tls-cert and --tls-key"),
    (["scan", "x", "--cat", "a.db"],
     "the following arguments are required: --catalogue (see tev-archive scan --help)"),
])
def test_bad_usage_is_told_in_a_line(arguments, fault, capsys, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    assert archive.main(arguments) == 1
    assert capsys.readouterr() == ("", f"tev-archive: {fault}\n")
    assert not list(tmp_path.iterdir())


def test_without_dask_a_line_says_what_to_install(capsys, tmp_path, monkeypatch):
    monkeypatch.setitem(sys.modules, "distributed", None)
    catalogue = tmp_path / "a.db"
    assert archive.main(["scan", str(EXAMPLES), "--catalogue", str(catalogue), "--tev", TEV]) == 2
    output, errors = capsys.readouterr()
    assert output == "" and errors.startswith(f"tev-archive: {catalogue}: this needs Dask (")
    assert "install python3-distributed, or with pip tev[archive]" in errors


def test_a_program_that_is_missing_is_named_before_anything_begins(capsys, tmp_path):
    nowhere = tmp_path / "no\ntev"
    assert archive.main(["scan", "x", "--catalogue", str(tmp_path / "a.db"), "--tev", str(nowhere)]) == 2
    assert "has no program " in (errors := capsys.readouterr().err) and "/no\\ntev: " in errors
    assert not list(tmp_path.iterdir())


def test_the_program_beside_the_package_comes_before_that_on_the_path(tmp_path, monkeypatch):
    package = tmp_path / "package"
    for folder in (package, tmp_path / "bin"):
        folder.mkdir()
        (folder / "tev").touch(0o755)
    monkeypatch.setenv("PATH", str(tmp_path / "bin"))
    monkeypatch.setattr("tev._shard.__file__", str(package / "_shard.py"))
    assert find_program(None) == str(package / "tev")
    (package / "tev").unlink()
    assert find_program(None) == str(tmp_path / "bin" / "tev")
    assert find_program(TEV) == TEV
    (tmp_path / "bin" / "tev").unlink()
    with pytest.raises(ScanError, match="has no program tev: install it there, or say by --tev"):
        find_program(None)


def test_progress_tells_rate_and_time_left():
    progress = archive.Progress(False, 16)
    assert progress.text(10) == "0 of 16 shards done"
    progress.add(70000)
    progress.add(50000)
    # 14 shards at 600 s for each two of them.
    assert progress.text(1200) == "2 of 16 shards done, 120000 files, 100 files/s, 2:20:00 left"


def test_counts_are_those_of_the_line():
    assert Counts.of("p.db: 1 file: 1 read, 0 unchanged, 0 failed\n") == (1, 1, 0, 0, 0)
    text = "20 files: 3 read, 17 unchanged, 2 failed, 5 vanished"
    assert str(Counts.of(f"a: 9 files: b.db: {text}\n")) == text
    with pytest.raises(ScanError):
        Counts.of("p.db: done")


class InOrder:
    """A cluster that runs a task as soon as four are submitted, or nobody submits more."""

    def __init__(self, slots):
        self.slots = slots
        self.waiting = []
        self.most = 0

    def submit(self, *call, name, retries):
        future = types.SimpleNamespace(key=name, status="finished", call=call, retries=retries)
        future.add_done_callback = lambda end: self.waiting.append((future, end))
        self.waiting_now = len(self.waiting)
        return future

    def look(self):
        return self.slots

    def tick(self):
        self.most = max(self.most, len(self.waiting))
        future, end = self.waiting.pop(0)
        end(future)

    def result(self, future):
        function, scan, number = future.call
        return number


def test_no_more_tasks_are_submitted_than_keep_the_workers_at_work():
    cluster = InOrder(slots=3)
    scan = Scan(folders=("/a",), parts="/p", shards=1000)
    ended = list(_cluster.run_shards(cluster, scan, 5, cluster.tick))
    assert [(shard.number, shard.counts) for shard in ended] == [(n, n) for n in range(1000)]
    assert cluster.most == 6


def test_the_manual_page_has_the_options_that_the_help_has(capsys):
    told = set()
    for arguments in (["--help"], ["scan", "--help"]):
        with pytest.raises(SystemExit) as end:
            archive.main(arguments)
        assert end.value.code == 0
        told |= set(re.findall(r"(?<![\w-])--?[A-Za-z][a-z-]*", capsys.readouterr().out.split(
            "Parts lie in")[0]))
    page = (EXAMPLES.parent / "docs" / "man" / "tev-archive.1").read_text(encoding="utf-8")
    options = re.sub(r"\\f.", "", page.split(".SH OPTIONS")[1].split(".SH")[0]).replace("\\-", "-")
    tags = re.findall(r"^\.TP\n(.*)$", options, re.MULTILINE)
    assert set(re.findall(r"(?<![\w-])--?[A-Za-z][a-z-]*", " ".join(tags))) == told
