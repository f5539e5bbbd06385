#!/usr/bin/env python3
"""Loads all fields of a model, or of the same values in HDF5: load_fields.py tev|h5py PATH.

Prints the seconds that opening and loading took, and a digest of the values by name.
"""

import hashlib
import sys
import time

MESH = ("Node Ids", "Coordinates", "Connectivity", "Polylength", "Element Ids")


def load_tev(path):
    import tev

    start = time.perf_counter()
    model = tev.open(path)
    values = {field.result + "\x1e" + (field.step.text if field.step else ""): field.values
              for field in model.load(model.fields)}
    return time.perf_counter() - start, values


def load_h5py(path):
    import h5py

    start = time.perf_counter()
    values = {}

    def take(name, item):
        name = name.rsplit("/", 1)[-1]
        if isinstance(item, h5py.Dataset) and name.split("\x1e")[0] not in MESH:
            values[name] = item[()]

    with h5py.File(path, "r") as file:
        file.visititems(take)
    return time.perf_counter() - start, values


def main():
    seconds, values = {"tev": load_tev, "h5py": load_h5py}[sys.argv[1]](sys.argv[2])
    digest = hashlib.sha256()
    for name in sorted(values):
        digest.update(name.encode())
        digest.update(values[name].tobytes())
    print(f"{seconds:.6f} {len(values)} {digest.hexdigest()}")


main()
