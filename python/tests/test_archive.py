"""Scans as tasks of Dask, against what one process makes of the same archive; and what can happen."""

import json
import os
import re
import shutil
import signal
import subprocess
import sys
import time

import pytest

from archives import (TEV, cluster_of_its_own, faults, is_running, once, program, rows, scan,
                      write_archive, write_model)
from conftest import EXAMPLES
from tev import archive as command

distributed = pytest.importorskip("distributed")
DEPTH = ("--stats", "--check")


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    path = tmp_path_factory.mktemp("archive") / "models"
    write_archive(path)
    return path


@pytest.fixture(scope="module")
def expected(folder, tmp_path_factory):
    return scan(folder, tmp_path_factory.mktemp("expected") / "a.db", *DEPTH)


@pytest.fixture(scope="module")
def shared(tmp_path_factory):
    """A cluster that exists: two workers, which are started again when they die."""
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, host="127.0.0.1",
                                  dashboard_address="127.0.0.1:0", silence_logs=50,
                                  local_directory=tmp_path_factory.mktemp("dask")) as cluster:
        yield cluster


@pytest.fixture
def run(shared, folder, tmp_path, capfd):
    """Runs the command on the shared cluster; its status, what it says, and what it tells on errors."""
    def run_on(*options, at=folder, scheduler=shared.scheduler_address):
        status = command.main(["scan", str(at), "--catalogue", str(tmp_path / "a.db"), "--scheduler",
                               scheduler, "--tev", TEV, *DEPTH, *options])
        return (status, *capfd.readouterr())
    return run_on


@pytest.mark.parametrize("shards", ["1", "2", "7"])
def test_shards_fill_what_one_scan_does(run, folder, expected, tmp_path, shards):
    status, answer, errors = run("--shards", shards)
    count = len(expected["models"])
    failed = sum(1 for line in errors.splitlines() if line.startswith("tev: "))
    assert (status, answer) == (0, f"{tmp_path}/a.db: {count} files: {count} read, 0 unchanged, "
                                   f"{failed} failed\n")
    assert failed >= 5 and "deep/cut.tev: " in errors
    assert rows(tmp_path / "a.db") == expected
    assert faults(tmp_path / "a.db", folder, *DEPTH) == ""
    assert sorted(os.listdir(tmp_path / "a.db.parts")) == [
        "lock", *(f"part-{number}-of-{shards}.db" for number in range(int(shards)))]


def test_a_second_run_opens_what_has_changed_and_marks_what_has_vanished(run, tmp_path):
    models = tmp_path / "models"
    write_archive(models)
    assert run(at=models)[0] == 0
    before = rows(tmp_path / "a.db")
    _, answer, errors = run(at=models)
    assert ": 0 read, " in answer and errors == ""
    assert rows(tmp_path / "a.db") == before
    (models / "model 0.tev").unlink()
    write_model(models / "model 1.tev", "forty fields")
    _, answer, _ = run(at=models)
    assert ": 1 read, " in answer and ", 1 vanished" in answer
    after = {row[0]: row for row in rows(tmp_path / "a.db")["models"]}
    changed = {os.path.basename(row[0]) for row in before["models"] if after[row[0]] != row}
    assert changed == {b"model 0.tev", b"model 1.tev"}
    assert faults(tmp_path / "a.db", models, *DEPTH) == ""


def test_names_of_any_bytes_are_taken(run, folder, tmp_path):
    models = tmp_path / os.fsdecode(b"mod\xffels")
    models.mkdir()
    for number in range(4):
        shutil.copy(folder / "model 3.tev", models / os.fsdecode(b"\xfe\n%d.tev" % number))
    (models / os.fsdecode(b"\xfe.tev")).write_bytes((folder / "deep" / "cut.tev").read_bytes())
    status, _, errors = run("--shards", "2", at=models)
    assert status == 0 and "els/" in errors
    assert rows(tmp_path / "a.db") == scan(models, tmp_path / "b.db", *DEPTH)
    assert len(rows(tmp_path / "a.db")["models"]) == 5


def test_parts_are_removed_where_that_is_asked_for(run, expected, tmp_path):
    assert run("--remove-parts")[0] == 0
    assert os.listdir(tmp_path) == ["a.db"]
    assert rows(tmp_path / "a.db") == expected


def test_parts_that_are_merged_in_groups_make_the_same(run, expected, tmp_path, monkeypatch):
    monkeypatch.setattr(command, "PARTS_PER_MERGE", 2)
    for _ in range(2):  # the second time into what is there
        assert run("--shards", "5")[0] == 0
        assert rows(tmp_path / "a.db") == expected


def test_a_worker_that_is_killed_is_gone_on_with(run, expected, tmp_path):
    guarded = program(tmp_path / "tev", once(
        tmp_path / "killed", f"echo $$ $PPID > '{tmp_path}/pids'; kill -KILL $PPID; exec sleep 600"))
    assert run("--shards", "4", "--tev", guarded)[0] == 0
    assert rows(tmp_path / "a.db") == expected
    scanner, worker = (tmp_path / "pids").read_text().split()
    assert not is_running(worker)
    while shutil.which("setpriv") and is_running(scanner):
        time.sleep(0.05)  # it goes with its worker: else it would hold the part


def test_a_scan_that_is_killed_is_tried_again(run, expected, tmp_path):
    guarded = program(tmp_path / "tev", once(tmp_path / "killed", "kill -KILL $$"))
    assert run("--shards", "3", "--tev", guarded)[0] == 0
    assert (tmp_path / "killed").exists()
    assert rows(tmp_path / "a.db") == expected


def test_a_shard_outlasts_more_workers_than_the_scheduler_would_give_it(run, expected, tmp_path):
    kills = " ".join(once(tmp_path / f"killed {n}", "kill -KILL $PPID; exec sleep 600") + "\n"
                     for n in range(5))
    guarded = program(tmp_path / "tev", kills)
    assert run("--shards", "1", "--tev", guarded)[0] == 0
    assert len(list(tmp_path.glob("killed *"))) == 5
    assert rows(tmp_path / "a.db") == expected


def test_a_shard_that_all_its_workers_die_of_is_named(run, tmp_path):
    guarded = program(tmp_path / "tev", "kill -KILL $PPID; exec sleep 600")
    status, answer, errors = run("--shards", "1", "--retries", "3", "--tev", guarded)
    assert (status, answer) == (2, "")
    # The cluster that exists has something to say of its workers, too.
    assert [line for line in errors.splitlines() if line.startswith("tev-archive: ")] == [
        "tev-archive: shard 0 of 1: all workers died that were at it, or were killed",
        f"tev-archive: {tmp_path}/a.db: 1 of 1 shards are not finished; running this again goes on "
        "with them"]


def test_a_damaged_part_is_named_once(run, expected, tmp_path):
    assert run("--shards", "2")[0] == 0
    part = tmp_path / "a.db.parts" / "part-1-of-2.db"
    os.truncate(part, 5000)
    status, answer, errors = run()
    assert (status, answer) == (2, "")
    assert errors.count(f"tev: {part}: damaged: ") == 2  # by the scan, and by the run
    assert len(re.findall(r"^tev-archive: shard 1 of 2 on \S+: tev: .*: remove it to scan that shard "
                          "anew$", errors, re.MULTILINE)) == 1
    part.unlink()
    assert run()[0] == 0
    assert rows(tmp_path / "a.db") == expected


AT_KILLERS = r"""
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>
static void Kill() {
  const char* once = std::getenv("KILL_PARENT_ONCE");
  if (once == nullptr) kill(getpid(), SIGKILL);
  const auto parent = getppid();
  if (mkdir(once, 0700) == 0) kill(parent, SIGKILL);
  else return;
  while (getppid() == parent) usleep(1000);
}
extern "C" int inflateInit2_(z_streamp stream, int bits, const char* version, int size) {
  for (const auto& link : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    const auto file = std::filesystem::read_symlink(link, error);
    if (file.string().find("/killer ") != std::string::npos) Kill();
  }
  return reinterpret_cast<decltype(&inflateInit2_)>(dlsym(RTLD_NEXT, "inflateInit2_"))(
      stream, bits, version, size);
}
"""


@pytest.fixture
def killers(folder, tmp_path):
    """An archive where reading some of the files kills: the scan itself, or once what has started it.

    Its folder, these files, and a line for the shell.
    """
    models = tmp_path / "models"
    shutil.copytree(folder, models)
    paths = [models / "deep" / f"killer {number}.tev" for number in range(3)]
    for path in paths:
        shutil.copy(EXAMPLES / "heatsink.tev", path)
    library = tmp_path / "killers.so"
    subprocess.run(["g++", "-std=c++20", "-shared", "-fPIC", "-o", library, "-x", "c++", "-"],
                   input=AT_KILLERS, text=True, check=True)
    return models, paths, f"[[ $1 == scan ]] && export LD_PRELOAD='{library}'"


def test_files_that_end_their_tasks_are_failures_of_their_own(run, expected, tmp_path, killers):
    models, paths, line = killers
    guarded = program(tmp_path / "tev", line)
    status, _, errors = run("--shards", "2", "--tev", guarded, at=models)
    assert status == 0
    found = {row[0]: row for row in rows(tmp_path / "a.db")["models"]}
    assert len(found) == len(expected["models"]) + len(paths)
    for path in paths:
        assert found[os.fsencode(path)][-3:-1] == (
            b"io-error", b"a scan ended while it was reading this file")
        assert f"{path}: a scan ended while it was reading this file" in errors
    # Not tried again while it is the same.
    assert ": 0 read, " in run("--tev", guarded, at=models)[1]


@pytest.mark.skipif(shutil.which("setpriv") is None, reason="setpriv is not installed")
def test_the_file_that_a_killed_worker_was_at_is_read_all_the_same(run, tmp_path, killers):
    models, _, line = killers
    guarded = program(tmp_path / "tev", line, f"export KILL_PARENT_ONCE='{tmp_path}/killed'")
    assert run("--shards", "2", "--tev", guarded, at=models)[0] == 0
    assert (tmp_path / "killed").exists()
    assert rows(tmp_path / "a.db") == scan(models, tmp_path / "b.db", *DEPTH)


def test_a_file_that_needs_more_memory_than_its_task_has_fails_alone(run, folder, expected, tmp_path):
    models = tmp_path / "models"
    shutil.copytree(folder, models)
    write_model(models / "large.tev", "large field")
    assert run("--shards", "2", "--memory", "32M", at=models)[0] == 0
    failed = {os.path.basename(row[0]): row[-3] for row in rows(tmp_path / "a.db")["models"]}
    assert failed.pop(b"large.tev") == b"out-of-memory"
    assert failed == {os.path.basename(row[0]): row[-3] for row in expected["models"]}
    # Another try with more memory reads it.
    assert ": 1 read, " in run("--memory", "1G", at=models)[1]
    assert faults(tmp_path / "a.db", models, *DEPTH) == ""


@pytest.mark.parametrize("number", [signal.SIGKILL, signal.SIGTERM, signal.SIGSTOP])
def test_a_scheduler_that_goes_away_ends_the_run(run, expected, tmp_path, monkeypatch, number):
    monkeypatch.setattr("tev._cluster.SECONDS_FOR_AN_ANSWER", 20)
    with cluster_of_its_own(tmp_path) as (file, processes):
        guarded = program(tmp_path / "tev", once(
            tmp_path / "gone", f"kill -{number.value} {processes[0].pid}; exec sleep 600"))
        address = address_in(file)
        status, answer, errors = run("--shards", "3", "--tev", guarded, scheduler=address)
    assert (status, answer) == (2, "")
    assert errors.endswith(f"tev-archive: {tmp_path}/a.db: the scheduler at {address} has gone; the "
                           "parts stay, and the next run goes on with them\n")
    assert not (tmp_path / "a.db").exists()
    assert run()[0] == 0
    assert len(os.listdir(tmp_path / "a.db.parts")) == 4
    assert rows(tmp_path / "a.db") == expected


def address_in(file):
    while not file.exists():
        time.sleep(0.05)
    return json.loads(file.read_text())["address"]


def test_a_scheduler_that_never_was_is_named(run, tmp_path, monkeypatch):
    monkeypatch.setattr("tev._cluster.SECONDS_FOR_AN_ANSWER", 1)
    status, answer, errors = run(scheduler="tcp://127.0.0.1:1")
    assert (status, answer) == (2, "")
    assert errors.startswith(f"tev-archive: {tmp_path}/a.db: no scheduler answers at tcp://127.0.0.1:1")


def test_a_scheduler_without_workers_is_not_waited_for_without_end(run, tmp_path, monkeypatch):
    monkeypatch.setattr("tev._cluster.SECONDS_WITHOUT_WORKERS", 0)
    with distributed.LocalCluster(n_workers=0, host="127.0.0.1", silence_logs=50,
                                  dashboard_address="127.0.0.1:0", local_directory=tmp_path) as idle:
        status, _, errors = run(scheduler=idle.scheduler_address)
    assert status == 2 and errors.endswith("has had no worker for 0 seconds\n")


def test_a_run_that_a_signal_ends_leaves_its_cluster_free_for_the_next(run, expected, tmp_path):
    guarded = program(tmp_path / "tev", once(
        tmp_path / "ended", f"kill -TERM {os.getpid()}; exec sleep 600"))
    status, answer, errors = run("--shards", "4", "--tev", guarded)
    assert (status, answer) == (2, "")
    assert errors.endswith("a signal ended the run; the next one goes on from here\n")
    assert not (tmp_path / "a.db").exists()
    # The shard that still sleeps would else keep its part.
    assert run()[0] == 0
    assert rows(tmp_path / "a.db") == expected


def test_a_shard_that_fails_is_named_and_nothing_is_merged(run, expected, tmp_path):
    guarded = program(tmp_path / "tev", '[[ " $* " == *" 1/3 "* ]] && echo "tev: no luck" >&2 && exit 2')
    status, answer, errors = run("--shards", "3", "--retries", "2", "--tev", guarded)
    assert (status, answer) == (2, "")
    assert errors.splitlines().count("tev: no luck") == 3  # and two retries
    assert re.search(r"\ntev-archive: shard 1 of 3 on \S+: tev: no luck\n", errors)
    assert errors.endswith("a.db: 1 of 3 shards are not finished; running this again goes on with "
                           "them\n")
    assert not (tmp_path / "a.db").exists()
    assert run()[0] == 0
    assert rows(tmp_path / "a.db") == expected


def test_parts_of_another_number_of_shards_are_not_mixed(run, tmp_path):
    assert run("--shards", "2")[0] == 0
    status, answer, errors = run("--shards", "3")
    assert (status, answer) == (1, "")
    assert errors == (f"tev-archive: {tmp_path}/a.db.parts has parts of 2 shards: remove it to begin "
                      "anew, or leave out --shards\n")


def test_one_run_at_a_time_fills_a_catalogue(run, tmp_path):
    parts = command.Parts(str(tmp_path / "a.db"))
    status, answer, errors = run()
    assert (status, answer, errors) == (2, "", f"tev-archive: {tmp_path}/a.db: another run is at work "
                                               "on it\n")
    parts.close()
    assert run()[0] == 0


def test_tls_is_passed_on(run, expected, tmp_path):
    if shutil.which("openssl") is None:
        pytest.skip("openssl is not installed")
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                    "/CN=127.0.0.1", "-keyout", tmp_path / "key.pem", "-out", tmp_path / "cert.pem"],
                   check=True, stderr=subprocess.DEVNULL)
    tls = [text for name, file in (("ca-file", "cert"), ("cert", "cert"), ("key", "key"))
           for text in (f"--tls-{name}", str(tmp_path / f"{file}.pem"))]
    with cluster_of_its_own(tmp_path, "--protocol", "tls", *tls) as (file, _):
        address = address_in(file)
        assert address.startswith("tls://")
        assert run("--shards", "2", *tls, scheduler=address)[0] == 0
    assert rows(tmp_path / "a.db") == expected


def test_a_run_that_is_killed_is_gone_on_with(run, folder, expected, tmp_path):
    """With a cluster of its own, which ends, too."""
    guarded = program(tmp_path / "tev", once(
        tmp_path / "killed", f"echo $$ $PPID > '{tmp_path}/pids'; "
        "kill -KILL $(sed -n 's/^PPid:\\s*//p' /proc/$PPID/status); exec sleep 600"))
    killed = subprocess.run([sys.executable, "-m", "tev.archive", "scan", folder, "--catalogue",
                             tmp_path / "a.db", "--jobs", "1", "--shards", "4", "--tev", guarded,
                             *DEPTH], stderr=subprocess.DEVNULL, check=False,
                            env={**os.environ, "TMPDIR": str(tmp_path)})
    assert killed.returncode == -signal.SIGKILL and not (tmp_path / "a.db").exists()
    while [process for process in (tmp_path / "pids").read_text().split() if is_running(process)]:
        time.sleep(0.05)
    assert run()[0] == 0
    assert rows(tmp_path / "a.db") == expected


def test_a_cluster_of_its_own_starts_and_ends_with_the_run(folder, expected, tmp_path):
    """As somebody calls it: from another folder, by relative names, the program on PATH."""
    watched = program(tmp_path / "tev", f'[[ $1 == scan ]] && echo $PPID >> "{tmp_path}/workers"')
    os.symlink(folder, tmp_path / "models")
    (tmp_path / "here").mkdir()
    run = subprocess.run([sys.executable, "-m", "tev.archive", "scan", "../models/", "--catalogue",
                          "a.db", "--jobs", "2", "--shards", "5", "--progress", *DEPTH],
                         cwd=tmp_path / "here", capture_output=True, text=True, check=False,
                         errors="replace",
                         env={**os.environ, "PATH": f"{tmp_path}:{os.environ['PATH']}"})
    assert run.returncode == 0, run.stderr
    assert "5 shards done" in run.stderr and "Traceback" not in run.stderr
    assert sorted(os.listdir(tmp_path / "here")) == ["a.db", "a.db.parts"]
    workers = (tmp_path / "workers").read_text().split()
    assert watched and len(workers) == 5 and len(set(workers)) == 2
    assert not [worker for worker in workers if is_running(worker)]
    found = rows(tmp_path / "here" / "a.db")["models"]
    assert {row[1:] for row in found if not row[0].endswith(b"model 0.tev")} == {
        row[1:] for row in expected["models"] if not row[0].endswith(b"model 0.tev")}
    assert all(row[0].startswith(os.fsencode(tmp_path / "models")) for row in found)
