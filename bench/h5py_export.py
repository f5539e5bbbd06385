#!/usr/bin/python3
"""Writes the values of one HDF5 file into another, a data set for each, as tev export stores them.

  h5py_export.py FROM TO
"""

import sys

import h5py

CHUNK_BYTES = 256 * 1024


def main(source, target):
    with h5py.File(source) as values, h5py.File(target, "w") as export:
        def copy(name, item):
            if isinstance(item, h5py.Dataset) and item.size:
                rows = max(1, CHUNK_BYTES // (item.dtype.itemsize * item[:1].size))
                export.create_dataset(name, data=item[:], shuffle=True, compression=1,
                                      chunks=(min(rows, len(item)), *item.shape[1:]))
        values.visititems(copy)


main(*sys.argv[1:])
