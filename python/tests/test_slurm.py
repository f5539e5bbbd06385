"""The script for job arrays, on a Slurm of one node that is started for it; its usage without one."""

import contextlib
import os
import pathlib
import re
import shutil
import socket
import subprocess
import tempfile
import time

import pytest

from archives import TEV, once, program, rows, scan, write_archive, write_model
from conftest import EXAMPLES

SCRIPT = EXAMPLES.parent / "tools" / "slurm" / "archive.sbatch"
ARRAY = {"SLURM_ARRAY_TASK_ID": "1", "SLURM_ARRAY_TASK_MIN": "0", "SLURM_ARRAY_TASK_MAX": "2",
         "SLURM_ARRAY_TASK_COUNT": "3"}
CONFIGURATION = """
ClusterName=trial
SlurmctldHost={host}(127.0.0.1)
SlurmUser={user}
SlurmdUser={user}
AuthType=auth/munge
AuthInfo=socket={folder}/munge/socket
CredType=cred/munge
SlurmctldPort={ports[0]}
SlurmdPort={ports[1]}
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SwitchType=switch/none
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU_Memory
SlurmdParameters=config_overrides
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
JobCompType=jobcomp/none
SchedulerParameters=batch_sched_delay=0,sched_min_interval=0,sched_interval=1
ReturnToService=2
NodeName={host} NodeAddr=127.0.0.1 CPUs=4 RealMemory=1000 State=UNKNOWN
PartitionName=trial Nodes=ALL Default=YES MaxTime=INFINITE State=UP
"""


def until(is_so, what):
    """Waits; what never comes shall not take for ever."""
    end = time.monotonic() + 300
    while not is_so():
        assert time.monotonic() < end, f"waited in vain until {what}"
        time.sleep(0.1)


def free_ports(count):
    with contextlib.ExitStack() as ends:
        taken = [ends.enter_context(contextlib.closing(socket.socket())) for _ in range(count)]
        for each in taken:
            each.bind(("127.0.0.1", 0))
        return [each.getsockname()[1] for each in taken]


def daemon(ends, folder, *command):
    log = ends.enter_context(open(folder / f"{command[0]}.log", "wb"))
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log, stderr=log)
    ends.callback(process.wait)
    ends.callback(process.terminate)
    return process


@pytest.fixture(scope="module")
def slurm():
    """The environment for a Slurm with four processors, as whoever runs the tests."""
    for name in ("munged", "slurmctld", "slurmd", "sbatch"):
        if shutil.which(name) is None:
            pytest.skip(f"{name} is not installed")
    with contextlib.ExitStack() as ends:
        folder = ends.enter_context(tempfile.TemporaryDirectory(prefix="tev-slurm-",
                                                                ignore_cleanup_errors=True))
        folder = pathlib.Path(folder)
        for name in ("", "munge", "state", "spool"):
            (folder / name).mkdir(exist_ok=True)
            (folder / name).chmod(0o755)  # as munged demands for its socket
        (folder / "munge" / "key").write_bytes(os.urandom(1024))
        (folder / "munge" / "key").chmod(0o400)
        host = socket.gethostname().split(".")[0]
        file = folder / "slurm.conf"
        file.write_text(CONFIGURATION.format(host=host, folder=folder, ports=free_ports(2),
                                             user=subprocess.getoutput("id -un")))
        environment = {**os.environ, "SLURM_CONF": str(file), "TEV": TEV}
        munge = folder / "munge"
        files = [f"--{name}-file={munge}/{name}" for name in ("key", "pid", "log", "seed")]
        processes = [daemon(ends, folder, "munged", "--foreground", f"--socket={munge}/socket",
                            *files)]
        until(lambda: (munge / "socket").exists() or processes[0].poll() is not None, "munged answers")
        processes.append(daemon(ends, folder, "slurmctld", "-D", "-f", file))
        processes.append(daemon(ends, folder, "slurmd", "-D", "-f", file, "-N", host))

        def ended():
            return [process.args[0] for process in processes if process.poll() is not None]

        def is_idle():
            return "idle" in subprocess.run(["sinfo", "-h", "-o", "%T"], env=environment, text=True,
                                            capture_output=True, check=False).stdout
        until(lambda: ended() or is_idle(), "the node is idle")
        for name in ended():
            log = (folder / f"{name}.log").read_text(errors="replace")
            pytest.skip(f"{name} cannot be started here: {log[-500:]}")
        yield environment


@pytest.fixture
def archive(tmp_path):
    write_archive(tmp_path / "models")
    return tmp_path / "models"


@pytest.fixture
def submit(slurm, archive, tmp_path):
    """Submits three tasks and the merge, and waits until both have ended. What the tasks said."""
    def submit_with(*options, **environment):
        run = subprocess.run([SCRIPT, "submit", "3", "a.db", *options, "models"], cwd=tmp_path,
                             env={**slurm, **environment}, check=True, stdout=subprocess.PIPE, text=True)
        found = re.fullmatch(r"scan: job (\d+), merge: job (\d+)\n", run.stdout)

        def jobs():
            return subprocess.run(["squeue", "-h", "-o", "%A"], env=slurm, check=True, text=True,
                                  stdout=subprocess.PIPE).stdout.split()
        until(lambda: not set(found.groups()) & set(jobs()), "the jobs have ended")
        return "".join(path.read_text(errors="replace") for path in
                       (tmp_path / "a.db.parts").glob(f"scan-{found[1]}_*.log"))
    return submit_with


def test_an_array_and_its_merge_fill_what_one_scan_does(submit, archive, tmp_path):
    said = submit("--stats", "--check")
    assert said.count(" files: ") == 3, said
    assert rows(tmp_path / "a.db") == scan(archive, tmp_path / "b.db", "--stats", "--check")


def test_a_file_that_needs_more_memory_than_its_task_has_fails_alone(submit, archive, tmp_path):
    expected = scan(archive, tmp_path / "b.db", "--stats")
    write_model(archive / "large.tev", "large field")
    submit("--stats", SBATCH_MEM_PER_NODE="36")
    found = {os.path.basename(row[0]): row[-3] for row in rows(tmp_path / "a.db")["models"]}
    assert found.pop(b"large.tev") == b"out-of-memory"
    assert found == {os.path.basename(row[0]): row[-3] for row in expected["models"]}


def test_where_a_task_fails_nothing_is_merged_and_the_next_array_goes_on(submit, archive, tmp_path):
    failing = program(tmp_path / "tev", '[[ " $* " == *" 1/3 "* ]] && '
                      + once(tmp_path / "killed", "kill -KILL $$"))
    submit(TEV=failing)
    assert (tmp_path / "killed").exists() and not (tmp_path / "a.db").exists()
    assert sorted(path.name for path in (tmp_path / "a.db.parts").glob("*.db")) == [
        "part-0-of-3.db", "part-2-of-3.db"]
    said = submit(TEV=failing)
    assert said.count(": 0 read, ") == 2, said
    assert rows(tmp_path / "a.db") == scan(archive, tmp_path / "b.db")


@pytest.mark.parametrize("changed", [
    {"SLURM_ARRAY_TASK_MIN": "1", "SLURM_ARRAY_TASK_MAX": "3"},  # 1-3
    {"SLURM_ARRAY_TASK_MAX": "4"},  # 0-4:2
    {"SLURM_ARRAY_TASK_COUNT": "1"},  # task 1 of 0-2 alone
])
def test_arrays_with_other_numbers_are_refused(archive, tmp_path, changed):
    status, errors = run(tmp_path, "scan", "a.db", "models", **{**ARRAY, **changed})
    assert status == 1 and "numbered from 0 on without gaps" in errors
    assert not (tmp_path / "a.db.parts").exists()


def run(folder, *arguments, **environment):
    done = subprocess.run([SCRIPT, *arguments], cwd=folder, capture_output=True, text=True, check=False,
                          env={**os.environ, "TEV": TEV, **environment})
    return done.returncode, done.stderr


def test_a_task_of_an_array_scans_its_share(archive, tmp_path):
    expected = scan(archive, tmp_path / "b.db")
    for number in range(3):
        assert run(tmp_path, "scan", "a.db", "models",
                   **{**ARRAY, "SLURM_ARRAY_TASK_ID": str(number)})[0] == 0
    assert run(tmp_path, "merge", "a.db", "3")[0] == 0
    assert rows(tmp_path / "a.db") == expected
    status, errors = run(tmp_path, "submit", "4", "a.db", "models")
    assert status == 1 and "a.db.parts has parts of another number of tasks" in errors


@pytest.mark.parametrize("arguments, fault", [
    ([], "what is to be done"), (["polish"], "what is to be done"),
    (["submit", "3", "a.db"], "submit needs TASKS, CATALOGUE and FOLDER"),
    (["submit", "0", "a.db", "models"], '"0" is no number of tasks'),
    (["submit", "3", "", "/"], "the name of CATALOGUE is empty"),
    (["submit", "3", "a.db", "/", ""], "the name of a FOLDER is empty"),
    (["submit", "3", "a.db", "--stats"], "submit needs TASKS, CATALOGUE and FOLDER"),
    (["submit", "3", "a.db", "--state", "/"], '"--state" is no option'),
    (["submit", "3", "a.db", "--stats", "models", "--", "--more"], "none of the folders is there"),
    (["scan", "a.db"], "scan needs CATALOGUE and FOLDER"),
    (["scan", "a.db", "models"], "this is no task of an array"),
    (["merge", "a.db"], "merge needs CATALOGUE and TASKS"),
])
def test_bad_usage_is_told(tmp_path, arguments, fault):
    status, errors = run(tmp_path, *arguments)
    assert status == 1 and errors.startswith(f"archive.sbatch: {fault}")
    assert not list(tmp_path.iterdir())


@pytest.fixture
def pretended(tmp_path, monkeypatch):
    """Slurm's programs as far as submitting needs them; gives what they are called with."""
    (tmp_path / "bin").mkdir()
    log = tmp_path / "calls"
    for name, lines in (("sbatch", ['[[ " $* " == *" merge "* && -n ${NO_MERGE:-} ]] && exit 1',
                                    "echo 41", "exit 0"]),
                        ("scancel", ["exit ${NO_CANCEL:-0}"])):
        program(tmp_path / "bin" / name, f'echo "{name} $*" >> "{log}"', *lines)
    monkeypatch.setenv("PATH", f"{tmp_path}/bin:{os.environ['PATH']}")
    (tmp_path / "models").mkdir()
    return lambda: log.read_text().splitlines() if log.exists() else []


def test_an_array_and_its_merge_are_submitted(pretended, tmp_path):
    assert run(tmp_path, "submit", "3", "a.db", "--stats", "models", "away") == (0, "")
    array, merge = pretended()
    assert "--array=0-2 " in array and array.endswith(" scan a.db --stats models away")
    assert "--dependency=afterok:41 " in merge and merge.endswith(" merge a.db 3")


def test_nothing_is_submitted_without_the_program(pretended, tmp_path):
    status, errors = run(tmp_path, "submit", "3", "a.db", "models", TEV=str(tmp_path / "none"))
    assert status == 1
    assert errors.startswith(f"archive.sbatch: there is no program {tmp_path}/none: ")
    assert pretended() == [] and not (tmp_path / "a.db.parts").exists()


@pytest.mark.parametrize("cancels, told", [("0", ": the scan, job 41, is cancelled"),
                                           ("1", "; the scan is job 41")])
def test_an_array_without_a_merge_is_cancelled(pretended, tmp_path, cancels, told):
    assert run(tmp_path, "submit", "3", "a.db", "models", NO_MERGE="1", NO_CANCEL=cancels) == (
        2, f"archive.sbatch: the merge could not be submitted{told}\n")
    assert len(pretended()) == 3 and pretended()[-1] == "scancel 41"


@pytest.mark.parametrize("arguments", [["--help"], ["submit", "--help"], ["merge", "-h"]])
def test_the_usage_is_told_where_it_is_asked_for(arguments):
    told = subprocess.run([SCRIPT, *arguments], check=True, capture_output=True, text=True)
    assert "\nUsage: archive.sbatch submit TASKS CATALOGUE " in told.stdout and not told.stderr


def test_parts_are_merged_a_thousand_at_a_time(tmp_path):
    merges = program(tmp_path / "tev", f'echo "$1" "$3" "$(($# - 3))" "${{@: -1}}" >> "{tmp_path}/log"',
                     "exit 0")
    assert run(tmp_path, "merge", "a.db", "1001", TEV=merges) == (0, "")
    assert (tmp_path / "log").read_text().splitlines() == [
        "merge a.db 1000 a.db.parts/part-999-of-1001.db",
        "merge a.db 1 a.db.parts/part-1000-of-1001.db"]
    failing = program(tmp_path / "tev", f'echo "$1" >> "{tmp_path}/failed"', "exit 2")
    assert run(tmp_path, "merge", "a.db", "1001", TEV=failing)[0] == 2
    assert (tmp_path / "failed").read_text() == "merge\n"


@pytest.mark.parametrize("soft, expected", [("32768", "32768"), ("999999", "92160"),
                                            ("unlimited", "92160")])
def test_a_limit_of_memory_that_is_lower_already_stays(tmp_path, soft, expected):
    limits = program(tmp_path / "tev", f"ulimit -S -d > '{tmp_path}/limit'", "exit 0")
    subprocess.run(["bash", "-c", 'ulimit -S -d "$0"; exec "$@"', soft, SCRIPT, "scan", "a.db", "models"],
                   cwd=tmp_path, check=True,
                   env={**os.environ, **ARRAY, "TEV": limits, "SLURM_MEM_PER_NODE": "100"})
    assert (tmp_path / "limit").read_text() == f"{expected}\n"


def test_the_script_is_well_formed():
    subprocess.run(["bash", "-n", SCRIPT], check=True)
    if shutil.which("shellcheck"):
        subprocess.run(["shellcheck", SCRIPT], check=True)
