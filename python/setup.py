"""Builds the compiled module with CMake and puts it beside the package's own files.

TEVINFO_BUILD names a build directory that has the module for this interpreter already; without it one
is made.
"""

import os
import pathlib
import re
import subprocess
import sys
import sysconfig

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

ROOT = pathlib.Path(__file__).resolve().parent.parent


def version():
    """The project's, as CMake has it."""
    build = os.environ.get("TEVINFO_BUILD")
    if build:
        text = pathlib.Path(build, "CMakeCache.txt").read_text(encoding="utf-8")
        return re.search(r"^CMAKE_PROJECT_VERSION:STATIC=(.*)$", text, re.MULTILINE)[1]
    text = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    return re.search(r"^project\(TevInfo VERSION (\S+)", text, re.MULTILINE)[1]


class BuildWithModule(build_py):
    """Takes the package from where CMake installs it."""

    def run(self):
        build = os.environ.get("TEVINFO_BUILD") or self._make()
        module = pathlib.Path(build, "python", "tev",
                              "_native" + sysconfig.get_config_var("EXT_SUFFIX"))
        if not module.exists():
            sys.exit(f"{module} is missing: the build has no module for {sys.executable}")
        subprocess.run(["cmake", "--install", build, "--strip", "--component", "python",
                        "--prefix", os.path.abspath(self.build_lib)], check=True)

    def _make(self):
        build = str(pathlib.Path(self.get_finalized_command("build").build_temp).absolute())
        subprocess.run(["cmake", "-S", ROOT, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                        "-DTEVINFO_BUILD_TESTS=OFF", "-DTEVINFO_BUILD_PYTHON=ON",
                        f"-DTEVINFO_PYTHON={sys.executable}"], check=True)
        subprocess.run(["cmake", "--build", build, "--target", "tev_python"], check=True)
        return build


class Compiled(Distribution):
    """The wheel is for one interpreter and one kind of machine."""

    def has_ext_modules(self):
        return True


setup(version=version(), cmdclass={"build_py": BuildWithModule}, distclass=Compiled)
