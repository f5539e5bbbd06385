"""No damaged file ends the interpreter, or raises what is not said."""

import importlib.util
import os
import pathlib
import subprocess
import sys

# One of so many damaged files is tried, unless TEVINFO_SWEEP says "all".
STRIDE = "1" if os.environ.get("TEVINFO_SWEEP") == "all" else "97"


def test_every_damage_ends_in_a_named_way():
    writer = subprocess.Popen([os.environ["TEVINFO_MODEL_WRITER"], "mutants", STRIDE],
                              stdout=subprocess.PIPE)
    sweep = subprocess.run([sys.executable, pathlib.Path(__file__).with_name("sweep.py")],
                           stdin=writer.stdout, capture_output=True, text=True, check=False)
    writer.stdout.close()
    assert writer.wait() == 0 and sweep.returncode == 0, sweep.stderr[-3000:]
    ends = dict(line.rsplit(": ", 1) for line in sweep.stdout.splitlines())
    print(sweep.stdout)
    assert int(ends["file: done"]) > 1500
    conversions = () if importlib.util.find_spec("meshio") is None or (
        importlib.util.find_spec("vtkmodules") is None) else (
            "to_meshio: done", "to_meshio: DamagedError", "to_vtk: done", "to_vtk: DamagedError")
    for end in ("open: DamagedError", "open: NotAModelError", "values: done", "values: DamagedError",
                "statistics: done", "points: done", "faces: done", "check: done", *conversions):
        assert int(ends[end]) > 0, end
    assert "check: DamagedError" not in ends
