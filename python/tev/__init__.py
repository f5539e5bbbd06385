"""Tev files from Python: models of finite elements with their meshes and results, every number exact.

>>> import tev
>>> model = tev.open("bracket.tev")
>>> part = model["Arm (Aluminium)"]
>>> part["von Mises Stress", "Load Case = 1"].values
"""

from ._errors import (AmbiguousNameError, DamagedError, Error, NotAModelError,
                      UnsupportedVersionError)
from ._facts import Result, Step
from ._model import CACHE_BYTES, Model, check, diff, open
from ._native import VERSION as __version__
from ._part import Faces, Field, Mesh, Part

__all__ = ["AmbiguousNameError", "CACHE_BYTES", "DamagedError", "Error", "Faces", "Field", "Mesh",
           "Model", "NotAModelError", "Part", "Result", "Step", "UnsupportedVersionError",
           "__version__", "check", "diff", "open"]
