"""The wheel: made twice it is the same, and it works where it is installed.

It is packed from the module that the build has (TEVINFO_BUILD). That setup.py compiles one where there
is none is not tried here: it takes minutes. What it asks for then is.
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
        entry_points, = (name for name in names if name.endswith("/entry_points.txt"))
        assert b"tev-archive = tev.archive:main" in archive.read(entry_points).splitlines()
        archive.extractall(installed)
    assert {"tev/LICENSE", "tev/__init__.py", "tev/archive.py", "tev/py.typed",
            "tev/_native.pyi"} <= set(names)
    assert not [name for name in names if "test" in name or name.startswith("src")]
    run = subprocess.run(
        [sys.executable, "-c", "import sys, tev; print(tev.__file__, len(tev.open(sys.argv[1])))",
         EXAMPLES / "bracket.tev"], cwd="/", check=True, capture_output=True, text=True,
        env={**os.environ, "PYTHONPATH": str(installed)})
    assert run.stdout.split() == [str(pathlib.Path(installed, "tev", "__init__.py")), "2"]


def build_py(tmp_path, **environment):
    """Runs setup.py on a copy of the project."""
    subprocess.run(["cp", "-r", PROJECT, tmp_path / "python"], check=True)
    (tmp_path / "CMakeLists.txt").write_text("project(TevInfo VERSION 1.2.3\n")
    kept = {name: value for name, value in os.environ.items() if name != "TEVINFO_BUILD"}
    return subprocess.run([sys.executable, "setup.py", "build_py"], cwd=tmp_path / "python",
                          capture_output=True, text=True, check=False, env={**kept, **environment})


def test_a_module_is_made_for_the_interpreter_that_asks(tmp_path):
    pytest.importorskip("setuptools")
    cmake = tmp_path / "bin" / "cmake"
    cmake.parent.mkdir()
    cmake.write_text(f'#!/bin/sh\nfor each; do echo "$each"; done >> "{tmp_path}/asked"\nexit 1\n')
    cmake.chmod(0o755)
    run = build_py(tmp_path, PATH=f"{cmake.parent}:{os.environ['PATH']}")
    assert run.returncode != 0
    asked = (tmp_path / "asked").read_text().splitlines()
    assert f"-DTEVINFO_PYTHON={sys.executable}" in asked


def test_a_build_for_another_interpreter_is_refused(tmp_path):
    pytest.importorskip("setuptools")
    module = tmp_path / "build" / "python" / "tev" / "_native.cpython-20-other.so"
    module.parent.mkdir(parents=True)
    module.touch()
    (tmp_path / "build" / "CMakeCache.txt").write_text("CMAKE_PROJECT_VERSION:STATIC=1.2.3\n")
    run = build_py(tmp_path, TEVINFO_BUILD=str(tmp_path / "build"))
    assert run.returncode != 0
    assert f"the build has no module for {sys.executable}" in run.stderr
