"""What `tev-archive` says of its usage, how far it is, and how many tasks it has at a time."""

import os
import re
import resource
import signal
import subprocess
import sys
import types

import pytest

from archives import TEV, program, scan
from conftest import EXAMPLES
from tev import _cluster, _shard, archive
from tev._shard import Counts, PartError, Scan, ScanError, find_program, scan_shard


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
    (["scan", "x", "--catalogue", "a.db", "--memory", "16383K"],
     'argument --memory: "16383K" is no size from 16M to 2^63-1 bytes (see tev-archive scan --help)'),
    (["scan", "x", "--catalogue", "a.db", "--memory", "8388608T"],
     'argument --memory: "8388608T" is no size from 16M to 2^63-1 bytes (see tev-archive scan --help)'),
    (["scan", "x", "", "--catalogue", "a.db"],
     "argument FOLDER: the name is empty (see tev-archive scan --help)"),
    (["scan", "x", "--catalogue", ""],
     "argument --catalogue: the name is empty (see tev-archive scan --help)"),
    (["scan", "x", "--catalogue", "a.db", "--scheduler", ""],
     "argument --scheduler: the name is empty (see tev-archive scan --help)"),
    (["scan", "x", "--catalogue", "a.db", "--tev", ""],
     "argument --tev: the name is empty (see tev-archive scan --help)"),
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


def test_the_program_is_the_one_that_is_named_or_that_on_the_path(tmp_path, monkeypatch):
    monkeypatch.setenv("PATH", str(tmp_path))
    with pytest.raises(ScanError, match="has no program tev: install it there, or say by --tev"):
        find_program(None)
    (tmp_path / "tev").touch(0o755)
    assert find_program(None) == str(tmp_path / "tev")
    assert find_program(TEV) == TEV


def make_folder(path):
    path.mkdir()
    return "this is no file"


def make_pipe(path):
    os.mkfifo(path)
    return "this is no file"


def make_text(path):
    path.write_text("a text that is no catalogue\n")
    return "no catalogue: it is no file of SQLite"


@pytest.mark.parametrize("make", [make_folder, make_pipe, make_text])
def test_what_is_no_catalogue_is_told_before_anything_begins(make, capsys, tmp_path):
    catalogue = tmp_path / "a.db"
    reason = make(catalogue)
    status = archive.main(["scan", str(EXAMPLES), "--catalogue", str(catalogue), "--tev", TEV])
    assert (status, *capsys.readouterr()) == (2, "", f"tev-archive: {catalogue}: {reason}\n")
    assert os.listdir(tmp_path) == ["a.db"]


def scan_of(tmp_path, **options):
    (tmp_path / "parts").mkdir()
    return Scan(folders=(str(EXAMPLES),), parts=str(tmp_path / "parts"), shards=1, **options)


def test_a_damaged_part_is_told_from_failures_that_another_try_may_mend(tmp_path):
    task = scan_of(tmp_path, program=TEV)
    scan(EXAMPLES, task.part(0))
    os.truncate(task.part(0), 5000)
    with pytest.raises(PartError) as failure:
        scan_shard(task, 0)
    assert f": tev: {task.part(0)}: damaged: " in str(failure.value)
    assert str(failure.value).endswith(": remove it to scan that shard anew")


@pytest.mark.parametrize("number, name", [(signal.SIGTERM, "SIGTERM"), (40, "signal 40")])
def test_the_signal_that_ended_a_scan_is_named(tmp_path, number, name):
    task = scan_of(tmp_path, program=program(tmp_path / "tev", f"kill -{int(number)} $$"))
    with pytest.raises(ScanError, match=f"ended by {name}$"):
        scan_shard(task, 0)


@pytest.mark.parametrize("before, expected", [
    ((32, -1), (32, -1)), ((128, -1), (64, -1)), ((-1, -1), (64, -1)), ((48, 48), (48, 48)),
    ((32, 48), (32, 48)), ((128, 128), (64, 128)),
])
def test_a_limit_of_memory_that_is_lower_already_stays(before, expected):
    def in_bytes(limits):
        return tuple(each if each < 0 else each * 1024 ** 2 for each in limits)

    with subprocess.Popen(["sleep", "600"]) as process:
        resource.prlimit(process.pid, resource.RLIMIT_DATA, in_bytes(before))
        _shard._limit_memory(process.pid, 64 * 1024 ** 2)
        after = resource.prlimit(process.pid, resource.RLIMIT_DATA)
        process.kill()
    assert after == in_bytes(expected)


def test_a_run_is_given_up_only_where_its_lock_says_so(tmp_path):
    task = scan_of(tmp_path, run="this")
    lock = tmp_path / "parts" / "lock"
    assert not task.is_wanted()
    lock.write_text("this")
    assert task.is_wanted()
    lock.write_text("another")
    assert not task.is_wanted()
    lock.unlink()
    lock.symlink_to(lock)  # cannot be opened, as on a disk that does not answer
    assert task.is_wanted()


def test_parts_are_merged_a_thousand_at_a_time(tmp_path):
    merges = program(tmp_path / "tev", f'echo "$1" "$3" "$(($# - 3))" "${{@: -1}}" >> "{tmp_path}/log"',
                     "exit 0")
    task = Scan(folders=("/a",), parts="/p", shards=2001, program=merges)
    archive._merge(task, "/a.db")
    assert (tmp_path / "log").read_text().splitlines() == [
        "merge /a.db 1000 /p/part-999-of-2001.db", "merge /a.db 1000 /p/part-1999-of-2001.db",
        "merge /a.db 1 /p/part-2000-of-2001.db"]


def test_removing_parts_leaves_what_is_none(tmp_path):
    parts = archive.Parts(str(tmp_path / "a.db"))
    for name in ("part-0-of-2.db", "part-1-of-2.db.part", "part-1-of-2.db.log", "notes"):
        (tmp_path / "a.db.parts" / name).touch()
    parts.remove()
    assert os.listdir(tmp_path / "a.db.parts") == ["notes"]


ANSWER = [sys.executable, "-c", "import sys; from tev import archive; "
          "archive._scan = lambda options: 'counts'; "
          "sys.exit(archive.main(['scan', 'x', '--catalogue', 'a.db']))"]


def test_an_answer_that_cannot_be_written_is_no_fault_of_the_catalogue():
    with open("/dev/full", "wb") as full:
        run = subprocess.run(ANSWER, stdout=full, stderr=subprocess.PIPE, text=True, check=False)
    assert (run.returncode, run.stderr) == (
        2, "tev-archive: standard output: cannot write the answer: No space left on device\n")


def test_a_reader_that_has_gone_ends_it_as_other_programs():
    reading, writing = os.pipe()
    os.close(reading)
    run = subprocess.run(ANSWER, stdout=writing, stderr=subprocess.PIPE, check=False)
    os.close(writing)
    assert (run.returncode, run.stderr) == (-signal.SIGPIPE, b"")


def test_progress_tells_rate_and_time_left():
    progress = archive.Progress(False, 16)
    assert progress.text(10, 4) == "0 of 16 shards done"
    progress.add(70000)
    progress.add(50000)
    text = "2 of 16 shards done, 120000 files, 100 files/s"
    # One at a time: 14 more at 600 s each.
    assert progress.text(1200, 1) == f"{text}, 2:20:00 left"
    # Four at a time: those that are left take four rounds of 1,200 s.
    assert progress.text(1200, 4) == f"{text}, 1:20:00 left"


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

    def submit(self, *call, name):
        future = types.SimpleNamespace(key=name, status="finished", call=call)
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


def test_a_scheduler_that_goes_away_before_it_tells_of_a_failure_is_named():
    distributed = pytest.importorskip("distributed")

    def never(timeout):
        raise distributed.TimeoutError

    cluster = _cluster.Cluster.__new__(_cluster.Cluster)
    cluster._distributed, cluster._address = distributed, "tcp://head:8786"
    with pytest.raises(ScanError, match="the scheduler at tcp://head:8786 has gone"):
        cluster.error(types.SimpleNamespace(exception=never))


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
