"""Every number of the example models equals what they were made from, in every bit."""

import numpy as np

from conftest import SEPARATOR

MESH = ("Node Ids", "Coordinates", "Connectivity", "Polylength", "Element Ids", "Element Indices",
        "Element IDs")


def same_bits(found, expected):
    return (found.dtype == expected.dtype and found.shape == expected.shape
            and found.tobytes() == expected.tobytes())


def test_values_of_all_fields_are_those_of_the_truth(model, truth):
    expected = {}
    for part, geometry in truth.geometries().items():
        for variable in geometry["variables"]:
            result, _, step = variable["name"].partition(SEPARATOR)
            if variable["type"] > 11 and result not in MESH:
                expected[part, result, step or None] = truth.array(variable, np.float32)
    fields = model.load(model.fields)
    assert len(fields) == len(expected) > 10
    for field in fields:
        key = (field.part.id, field.result, field.step.text if field.step else None)
        assert same_bits(field.values, expected[key]), key
        assert field.values.shape[0] == field.count


def test_meshes_are_those_of_the_truth(model, truth):
    geometries = truth.geometries()
    assert {part.id for part in model.parts} == set(geometries)
    for part in model.parts:
        geometry = geometries[part.id]
        assert same_bits(part.points, truth.mesh(geometry, "Coordinates", np.float32))
        faces = truth.mesh(geometry, "Connectivity", np.uint32)
        lengths = truth.mesh(geometry, "Polylength", np.int64)
        assert same_bits(part.faces.indices, faces)
        assert same_bits(part.faces.offsets, np.concatenate(([0], np.cumsum(lengths))))
        for found, name in ((part.node_ids, "Node Ids"), (part.element_ids, "Element Ids")):
            ids = truth.mesh(geometry, name, np.float32)
            expected = np.empty(0, np.int64) if ids is None else ids.astype(np.int64)
            assert same_bits(found, expected), (part, name)


def test_one_field_at_a_time_gives_the_same_numbers_as_all_at_once(path, model):
    import tev
    with tev.open(path, cache_bytes=0) as other:
        for one, all_at_once in zip(reversed(other.fields), reversed(model.load(model.fields))):
            assert same_bits(one.values, all_at_once.values)
