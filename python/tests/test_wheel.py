"""The wheel: made twice it is the same, and it works where it is installed.

It is packed from the module that the build has (TEVINFO_BUILD). That setup.py compiles one where there
is none is not tried here: it takes minutes.
"""

import os
import pathlib
import subprocess
import sys
import zipfile

import pytest

from conftest import EXAMPLES

PROJECT = EXAMPLES.parent / "python"


def wheel_in(folder):
    """Packs what the build has; in a copy of the project, since packing leaves files in it."""
    folder.mkdir()
    project = folder / "python"
    subprocess.run(["cp", "-r", PROJECT, project], check=True)
    subprocess.run([sys.executable, "-m", "build", "--wheel", "--no-isolation", "--outdir", folder,
                    project], check=True, stdout=subprocess.DEVNULL,
                   env={**os.environ, "SOURCE_DATE_EPOCH": "1700000000", "PYTHONPATH": ""})
    wheel, = folder.glob("*.whl")
    return wheel


def test_two_wheels_are_the_same_and_work(tmp_path):
    pytest.importorskip("build")
    first, second = (wheel_in(tmp_path / name) for name in ("first", "second"))
    assert first.name == second.name and "-cp3" in first.name and "linux" in first.name
    assert first.read_bytes() == second.read_bytes()
    installed = tmp_path / "installed"
    with zipfile.ZipFile(first) as archive:
        names = archive.namelist()
        archive.extractall(installed)
    assert {"tev/__init__.py", "tev/py.typed", "tev/_native.pyi"} <= set(names)
    assert not [name for name in names if "test" in name or name.startswith("src")]
    run = subprocess.run(
        [sys.executable, "-c", "import sys, tev; print(tev.__file__, len(tev.open(sys.argv[1])))",
         EXAMPLES / "bracket.tev"], cwd="/", check=True, capture_output=True, text=True,
        env={**os.environ, "PYTHONPATH": str(installed)})
    assert run.stdout.split() == [str(pathlib.Path(installed, "tev", "__init__.py")), "2"]
