"""A catalogue of 20,000 models, most of them damaged, holds what the verbs tell of each file, whoever
fills it."""

import os
import shutil
import struct
import subprocess
import sys

import pytest

from archives import TEV, faults, rows, scan
from conftest import EXAMPLES

COUNT = 20_000
STRIDE = "9"  # of all that can happen to a dozen small models, every ninth is a little more
DEPTH = ("--stats", "--check", "--hash")


def write_models(folder):
    """The examples, and damaged models in folders of a thousand."""
    shutil.copy(EXAMPLES / "bracket.tev", folder)
    shutil.copy(EXAMPLES / "heatsink.tev", folder)
    with subprocess.Popen([os.environ["TEVINFO_MODEL_WRITER"], "mutants", STRIDE],
                          stdout=subprocess.PIPE) as writer:
        for number in range(COUNT - 2):
            size, = struct.unpack("<I", writer.stdout.read(4))
            below = folder / str(number // 1000)
            below.mkdir(exist_ok=True)
            (below / f"{number}.tev").write_bytes(writer.stdout.read(size))
        writer.kill()


@pytest.fixture(scope="module")
def archive(tmp_path_factory):
    folder = tmp_path_factory.mktemp("whole") / "models"
    folder.mkdir()
    write_models(folder)
    return folder


@pytest.fixture(scope="module")
def expected(archive, tmp_path_factory):
    """What one scan makes of it, which is compared with each verb's answer on each file."""
    catalogue = tmp_path_factory.mktemp("expected") / "a.db"
    held = scan(archive, catalogue, *DEPTH)
    # Where the signature is damaged, a file is no model, and passed over.
    assert 0.98 * COUNT < len(held["models"]) <= COUNT
    assert faults(catalogue, archive, "--stats", "--check") == ""
    return held


@pytest.mark.parametrize("shards", [2, 7])
def test_shards_make_the_same(archive, expected, tmp_path, shards):
    parts = [tmp_path / f"part-{number}" for number in range(shards)]
    for number, part in enumerate(parts):
        scan(archive, part, "--shard", f"{number}/{shards}", *DEPTH)
    subprocess.run([TEV, "merge", tmp_path / "a.db", *parts], check=True, stdout=subprocess.DEVNULL)
    assert rows(tmp_path / "a.db") == expected


def test_tasks_of_dask_make_the_same(archive, expected, tmp_path):
    pytest.importorskip("distributed")
    subprocess.run([sys.executable, "-m", "tev.archive", "scan", archive, "--catalogue",
                    tmp_path / "a.db", "--jobs", "2", "--shards", "7", "--tev", TEV, *DEPTH],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    assert rows(tmp_path / "a.db") == expected
