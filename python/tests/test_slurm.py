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
    (["scan", "a.db"], "scan needs CATALOGUE and FOLDER"),
    (["scan", "a.db", "models"], "this is no task of an array"),
    (["merge", "a.db"], "merge needs CATALOGUE and TASKS"),
])
def test_bad_usage_is_told(tmp_path, arguments, fault):
    status, errors = run(tmp_path, *arguments)
    assert status == 1 and errors.startswith(f"archive.sbatch: {fault}")
    assert not list(tmp_path.iterdir())


def test_the_script_is_well_formed():
    subprocess.run(["bash", "-n", SCRIPT], check=True)
    if shutil.which("shellcheck"):
        subprocess.run(["shellcheck", SCRIPT], check=True)
