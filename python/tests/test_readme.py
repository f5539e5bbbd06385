"""The example of the README prints what it shows."""

import contextlib
import doctest
import os
import pathlib
import re
import subprocess

from conftest import EXAMPLES


def test_the_example_prints_what_it_shows():
    readme = (EXAMPLES.parent / "README.md").read_text(encoding="utf-8")
    section = readme.split("## From Python", 1)[1].split("\n## ", 1)[0]
    examples = re.findall(r"```pycon\n(.*?)```", section, re.DOTALL)
    assert examples
    with contextlib.chdir(EXAMPLES.parent):
        for text in examples:
            test = doctest.DocTestParser().get_doctest(text, {}, "README", None, 0)
            assert len(test.examples) > 3
            results = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS).run(test)
            assert results.failed == 0 and results.attempted == len(test.examples)


def test_the_version_is_that_of_the_program():
    import tev
    answer = subprocess.run([os.environ["TEV_PROGRAM"], "--version"], check=True,
                            capture_output=True, text=True).stdout
    assert answer == f"tev {tev.__version__}\n"


def test_the_package_is_the_one_of_this_build():
    import tev
    assert pathlib.Path(tev._native.__file__).parent == pathlib.Path(os.environ["TEVINFO_PACKAGE"])
