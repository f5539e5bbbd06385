"""Does everything that the package does with each damaged file that comes on standard input: its
length (32 bits, little-endian) and its bytes. Prints how each ended; stops at what may not be raised.
"""

import collections
import os
import struct
import sys

import tev

try:
    import meshio
    import vtkmodules
    CONVERSIONS = ("to_meshio", "to_vtk")
except ImportError:
    CONVERSIONS = ()
ALLOWED = (tev.DamagedError, tev.NotAModelError, tev.UnsupportedVersionError)


def touch(mesh):
    """A cell whose nodes are no points would end the interpreter."""
    if hasattr(mesh, "GetCell") and mesh.GetNumberOfCells():
        mesh.GetCell(mesh.GetNumberOfCells() - 1).GetBounds()


def works(path):
    yield "check", lambda: tev.check(path)
    yield "diff", lambda: tev.diff(path, path)
    try:
        model = tev.open(path)
    except ALLOWED as error:
        yield "open", lambda error=error: (_ for _ in ()).throw(error)
        return
    yield "info", lambda: (model.info, model.missing, repr(model), model._repr_html_())
    yield "load", lambda: model.load(model.fields)
    try:
        parts, fields = model.parts, model.fields
    except ALLOWED:
        return
    for field in fields[:20]:
        yield "values", lambda field=field: (field.values.sum(), repr(field))
        yield "statistics", field.statistics
        yield "ids", lambda field=field: field.ids.sum()
    for part in parts[:10]:
        yield "points", lambda part=part: part.points.sum()
        yield "faces", lambda part=part: (part.faces.indices.sum(), list(part.faces)[:3])
        for step in model.steps[:2]:
            yield "mesh", lambda part=part, step=step: part.mesh(step).points.sum()
        for conversion in CONVERSIONS:
            for step in (None, *model.steps[:1]):
                yield conversion, lambda part=part, step=step, conversion=conversion: (
                    touch(getattr(part, conversion)(step)))
    yield "close", model.close


def main():
    file = os.memfd_create("damaged")
    path = f"/proc/self/fd/{file}"
    ends = collections.Counter()
    while head := sys.stdin.buffer.read(4):
        data = sys.stdin.buffer.read(struct.unpack("<I", head)[0])
        os.ftruncate(file, 0)
        os.pwrite(file, data, 0)
        for name, work in works(path):
            try:
                work()
                ends[name, "done"] += 1
            except ALLOWED as error:
                ends[name, type(error).__name__] += 1
        ends["file", "done"] += 1
    for (name, end), count in sorted(ends.items()):
        print(f"{name}: {end}: {count}")


main()
