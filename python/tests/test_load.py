"""Loading inflates no block more often than it has to, and copies nothing."""

import gc
import sys

import numpy as np
import pytest

import tev

BLOCKS = 4


@pytest.fixture
def forty(small_model):
    return small_model("forty fields")


def blocks_read(model):
    return model._reader.blocks_read()


def expected(field):
    return np.arange(1000, dtype=np.float32) + np.float32(1000 * int(field.result.split()[1]))


def test_opening_reads_no_numbers(forty):
    with tev.open(forty) as model:
        assert len(model.fields) == 40 and model.info["results"] and repr(model)
        assert blocks_read(model) == 0


def test_many_fields_inflate_each_block_once_in_whatever_order(forty):
    with tev.open(forty, cache_bytes=0) as model:
        fields = sorted(model.fields, key=lambda field: int(field.result.split()[1]) * 7 % 40)
        assert model.load(fields) == fields
        assert blocks_read(model) == BLOCKS
        for field in fields:
            assert np.array_equal(field.values, expected(field))
        assert blocks_read(model) == BLOCKS


def test_single_fields_are_served_by_the_blocks_that_are_kept(forty):
    with tev.open(forty) as model:
        fields = sorted(model.fields, key=lambda field: int(field.result.split()[1]) * 7 % 40)
        for field in fields:
            assert np.array_equal(field.values, expected(field))
            field.statistics()
        assert blocks_read(model) == BLOCKS


def test_blocks_that_are_kept_are_bounded(forty):
    with tev.open(forty, cache_bytes=1) as model:
        fields = [model[0][f"Result {number}"][0] for number in (0, 10, 20, 30)]
        for _ in range(3):
            for field in fields:
                field._values = None
                assert np.array_equal(field.values, expected(field))
        assert blocks_read(model) == 3 * BLOCKS


def test_values_are_loaded_once_and_shared(forty):
    with tev.open(forty) as model:
        field = model.fields[3]
        assert field.values is field.values is model.fields[3].values
        before = blocks_read(model)
        model.load([field, field])
        assert blocks_read(model) == before
    with tev.open(forty) as other:
        with pytest.raises(ValueError, match="another model"):
            other.load([field])


def test_values_are_no_copy_and_read_only(bracket):
    values = bracket[1]["Displacement"][0].values
    assert not values.flags.owndata and not values.flags.writeable and values.flags.c_contiguous
    view = values.base
    while isinstance(view, np.ndarray):
        view = view.base
    assert type(view.obj).__name__ == "Floats"
    assert np.shares_memory(values, np.asarray(view.obj))
    with pytest.raises(ValueError):
        values[0] = 1


def test_parts_that_share_numbers_share_memory(heatsink):
    fins, base = heatsink.load([heatsink[part]["Temperature"][0] for part in ("FINS", "BASE")])
    assert np.shares_memory(fins.values, base.values)


def test_what_nobody_holds_is_let_go(forty):
    model = tev.open(forty)
    values = model.fields[0].values
    numbers = values.base.obj if isinstance(values.base, memoryview) else values.base.base.obj
    count = sys.getrefcount(numbers)
    del values
    gc.collect()
    assert sys.getrefcount(numbers) < count


def test_arrays_of_fields_are_copied_where_that_is_asked_for(heatsink):
    field = heatsink["FINS"]["Temperature"][0]
    for copy in (None, False):
        assert np.shares_memory(field.__array__(copy=copy), field.values)
    assert not np.shares_memory(field.__array__(copy=True), field.values)
    assert field.__array__(np.float64, copy=True).dtype == np.float64


def test_arrays_of_other_types_need_no_leave_to_copy(heatsink, monkeypatch):
    """NumPy 2 asks so for np.asarray(field, float), and refuses copy=False where one is needed."""
    field = heatsink["FINS"]["Temperature"][0]
    of_numpy = np.array

    def array(values, dtype=None, copy=True):
        if copy is False and np.dtype(dtype) != values.dtype:
            raise ValueError("Unable to avoid copy while creating an array as requested.")
        return of_numpy(values, dtype, copy=copy)

    monkeypatch.setattr(np, "array", array)
    assert np.array_equal(field.__array__(np.float64, copy=None), field.values)
