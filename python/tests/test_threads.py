"""Several threads on one model and on several, and what a fork does."""

import concurrent.futures
import os
import sys
import threading

import numpy as np
import pytest

import tev
from conftest import EXAMPLES

THREADS = 8


def in_threads(works):
    barrier = threading.Barrier(len(works))

    def run(work):
        barrier.wait()
        return work()

    with concurrent.futures.ThreadPoolExecutor(len(works)) as pool:
        return list(pool.map(run, works))


@pytest.fixture(scope="module")
def expected():
    with tev.open(EXAMPLES / "heatsink.tev") as model:
        return [field.values.tobytes() for field in model.load(model.fields)]


@pytest.mark.parametrize("cache_bytes", [0, tev.CACHE_BYTES])
def test_threads_share_a_model(expected, cache_bytes):
    for _ in range(3):
        with tev.open(EXAMPLES / "heatsink.tev", cache_bytes=cache_bytes) as model:
            places = range(len(model.fields))

            def read(offset):
                found = {}
                for place in places:
                    turn = (place * 7 + offset * 11) % len(places)
                    field = model.fields[turn]
                    found[turn] = field.values.tobytes()
                    len(field.part.points), len(field.part.faces)
                return found

            for found in in_threads([lambda offset=i: read(offset) for i in range(THREADS)]):
                assert [found[place] for place in places] == expected


def test_threads_have_models_of_their_own(expected):
    def read():
        found = []
        for _ in range(3):
            with tev.open(EXAMPLES / "heatsink.tev") as model:
                found = [field.values.tobytes() for field in model.load(model.fields)]
                tev.check(EXAMPLES / "bracket.tev")
                with pytest.raises(tev.NotAModelError):
                    tev.open(__file__)
        return found

    for found in in_threads([read] * THREADS):
        assert found == expected


def test_a_model_may_be_closed_while_others_read(expected):
    for _ in range(10):
        model = tev.open(EXAMPLES / "heatsink.tev")
        fields = model.fields

        def read():
            for field in fields:
                try:
                    assert field.values.tobytes() == expected[field._place]
                except ValueError:
                    assert model.closed

        in_threads([read, read, model.close])


def test_loading_lets_other_threads_run():
    """With this interval no thread is made to yield: the other one only runs where it is let."""
    ran = threading.Event()
    go = threading.Event()
    thread = threading.Thread(target=lambda: (go.wait(), ran.set()))
    thread.start()
    interval = sys.getswitchinterval()
    with tev.open(EXAMPLES / "heatsink.tev", cache_bytes=0) as model:
        fields = model.fields
        sys.setswitchinterval(1000)
        try:
            go.set()
            for _ in range(2000):
                if ran.is_set():
                    break
                for field in fields:
                    field._values = None
                model.load(fields)
            assert ran.is_set()
        finally:
            sys.setswitchinterval(interval)
    thread.join()


def test_a_forked_process_is_told_to_open_the_model_anew():
    with tev.open(EXAMPLES / "bracket.tev") as model:
        child = os.fork()
        if child == 0:
            status = 1
            try:
                assert model.closed
                model.close()
                model.info
            except RuntimeError:
                with tev.open(model.path) as own:
                    status = 0 if len(own.fields[0].values) > 0 else 2
            finally:
                os._exit(status)
        _, status = os.waitpid(child, 0)
        assert os.waitstatus_to_exitcode(status) == 0
        assert np.isfinite(model.fields[0].values).all()
