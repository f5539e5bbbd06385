"""What cannot be read raises what a user of Python expects."""

import os
import pickle
import re

import pytest

import tev
from conftest import EXAMPLES

BRACKET = (EXAMPLES / "bracket.tev").read_bytes()


@pytest.fixture
def damaged(tmp_path):
    """The bracket with some bytes in place of others."""
    def write(position, data):
        path = tmp_path / "damaged.tev"
        path.write_bytes(BRACKET[:position] + data + BRACKET[position + len(data):])
        return path
    return write


@pytest.mark.parametrize("ask", [tev.open, tev.check, lambda path: tev.diff(path, path)])
def test_files_that_cannot_be_opened(ask, tmp_path):
    with pytest.raises(FileNotFoundError) as caught:
        ask(tmp_path / "missing.tev")
    assert "missing.tev" in str(caught.value)
    with pytest.raises(OSError):
        ask(tmp_path)
    with pytest.raises(ValueError, match="null"):
        ask("a\0b")
    with pytest.raises(TypeError):
        ask(5)


def test_missing_files_are_named_by_the_exception(tmp_path):
    with pytest.raises(FileNotFoundError) as caught:
        tev.open(tmp_path / "missing.tev")
    assert caught.value.errno == 2 and caught.value.filename == str(tmp_path / "missing.tev")
    with pytest.raises(IsADirectoryError):
        tev.open(tmp_path)


@pytest.mark.skipif(os.geteuid() != 0, reason="only root can become somebody else")
def test_files_that_may_not_be_read(tmp_path):
    path = tmp_path / "secret.tev"
    path.write_bytes(BRACKET)
    path.chmod(0)
    child = os.fork()
    if child == 0:
        status = 1
        try:
            os.setuid(65534)
            tev.open(path)
        except PermissionError as error:
            status = 0 if error.filename == str(path) else 2
        finally:
            os._exit(status)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0


def test_denied_reads_become_permission_errors():
    from tev._errors import of_failure
    error = of_failure("permission-denied", "cannot open", path=b"a.tev")
    assert isinstance(error, PermissionError) and error.filename == "a.tev"
    assert isinstance(of_failure("out-of-memory", "much"), MemoryError)
    assert isinstance(of_failure("io-error", "disk"), OSError)


def test_other_files(tmp_path):
    for data in (b"", b"%PDF-1.4", b"\x1f\x8b" * 50):
        (tmp_path / "other").write_bytes(data)
        with pytest.raises(tev.NotAModelError) as caught:
            tev.open(tmp_path / "other")
        assert str(caught.value).startswith(f"{tmp_path / 'other'}: not a Tev file")
        with pytest.raises(tev.NotAModelError, match=re.escape(f"{tmp_path / 'other'}: ")):
            tev.diff(EXAMPLES / "bracket.tev", tmp_path / "other")
        assert tev.check(tmp_path / "other")["verdict"] == "not-a-model"


def test_a_file_named_minus_is_a_file(tmp_path, monkeypatch):
    (tmp_path / "-").write_bytes(BRACKET)
    monkeypatch.chdir(tmp_path)
    with tev.open("-") as model:
        assert model.info["file"] == "-" and len(model) == 2


def test_names_need_be_no_text(tmp_path):
    path = os.fsencode(tmp_path) + b"/\xff.tev"
    with open(path, "wb") as file:
        file.write(BRACKET)
    with tev.open(path) as model:
        assert len(model) == 2
        assert len(pickle.loads(pickle.dumps(model))) == 2


def test_newer_versions(damaged):
    path = damaged(8, b"9.9\0")
    for ask in (tev.open, lambda path: tev.diff(path, path),
                lambda path: tev.diff(EXAMPLES / "bracket.tev", path)):
        with pytest.raises(tev.UnsupportedVersionError) as caught:
            ask(path)
        assert str(caught.value).startswith(f"{path}: version 9.9")


def test_files_without_an_index(tmp_path):
    (tmp_path / "cut.tev").write_bytes(BRACKET[:18])
    with pytest.raises(tev.DamagedError, match=re.escape(f"{tmp_path / 'cut.tev'}: the index")):
        tev.open(tmp_path / "cut.tev")


def test_results_of_a_part_whose_geometry_is_lost_are_damage(small_model):
    with tev.open(small_model("lost geometry")) as model:
        part = model["Panel"]
        for ask in (lambda: part.points, lambda: part["Temperature"],
                    lambda: part["Temperature", "Time = 0.5"]):
            with pytest.raises(tev.DamagedError, match="the geometry of part 2"):
                ask()


def test_a_part_without_results_says_so(small_model):
    with tev.open(small_model("no results")) as model:
        with pytest.raises(KeyError, match="the part has no result"):
            model["Frame"]["Temperature"]


def test_what_is_no_step_is_a_type_error(bracket):
    part = bracket[0]
    for ask in (part.mesh, part.to_meshio, part.to_vtk, lambda step: part["Stress", step]):
        for step in (0, 1, 1.5, b"Load Case = 1"):
            with pytest.raises(TypeError, match="a step is its text"):
                ask(step)


def test_a_block_that_cannot_be_inflated_is_named(damaged):
    """Block 8 is the last one of the heavy data; it begins at byte 878364 and ends after 77704."""
    path = damaged(878364 + 40000, b"\0" * 2000)
    with tev.open(path) as model:
        assert model.complete
        failures = []
        for field in model.fields:
            try:
                field.values
            except tev.DamagedError as error:
                failures.append(error)
        assert failures and len(failures) < len(model.fields)
        for error in failures:
            assert error.block == 8 and error.stream == "Heavy Data" and error.place > 0
            assert "block 8" in str(error)
        again = pickle.loads(pickle.dumps(failures[0]))
        assert (str(again), again.block, again.stream, again.place) == (
            str(failures[0]), 8, "Heavy Data", failures[0].place)


def places_of(error):
    """Stream, byte and block as the text has them; None for what it does not name."""
    found = [re.search(pattern, str(error)) for pattern in
             (r"at byte \d+ of (.*?)(?:, in block|$)", r"at byte (\d+)", r"block (\d+)")]
    stream, place, block = (match and match[1] for match in found)
    return stream, place and int(place), block and int(block)


def damage_met_in(path):
    """What asking for all fields, their statistics and all meshes of a model raises."""
    failures = []
    with tev.open(path) as model:
        asked = [lambda field=field: field.values for field in model.fields]
        asked += [field.statistics for field in model.fields]
        for name in ("points", "faces", "node_ids", "element_ids"):
            asked += [lambda part=part, name=name: getattr(part, name) for part in model]
        for ask in asked:
            try:
                ask()
            except tev.DamagedError as error:
                failures.append(error)
    return failures


# Blocks 5 and 7 begin at the bytes 1987 and 774820 of the file, and have at least 100000.
@pytest.mark.parametrize("position, block", [(1987 + 50000, 5), (774820 + 50000, 7)])
def test_places_are_those_that_the_text_names(damaged, position, block):
    failures = damage_met_in(damaged(position, b"\0" * 2000))
    assert len(failures) > 3
    for error in failures:
        assert (error.stream, error.place, error.block) == places_of(error), str(error)
        assert error.block == block


def test_blocks_of_a_file_that_is_cut_are_named(tmp_path):
    """Block 8 begins at byte 878364."""
    path = tmp_path / "cut.tev"
    path.write_bytes(BRACKET[:900000])
    failures = damage_met_in(path)
    for error in failures:
        assert (error.stream, error.place, error.block) == places_of(error), str(error)
    assert 8 in {error.block for error in failures}


def test_load_gives_what_it_can_and_raises_for_the_rest(damaged):
    path = damaged(878364 + 40000, b"\0" * 2000)
    with tev.open(path) as model, tev.open(EXAMPLES / "bracket.tev") as sound:
        with pytest.raises(tev.DamagedError):
            model.load(fields := model.fields)
        loaded = [field for field in fields if field._values is not None]
        assert 0 < len(loaded) < len(fields)
        for field in loaded:
            assert field.values.tobytes() == sound.fields[field._place].values.tobytes()


def test_nothing_is_written_about_a_block_that_cannot_be_inflated(damaged, capfd):
    path = damaged(878364 + 40000, b"\0" * 2000)
    with tev.open(path) as model:
        with pytest.raises(tev.DamagedError):
            model.load(model.fields)
        assert model.fields[0].statistics()
    assert tev.check(path)["verdict"] == "damaged"
    assert tev.diff(path, path)["complete"] is False
    assert capfd.readouterr() == ("", "")


def test_statistics_and_meshes_of_damaged_blocks_raise(damaged):
    path = damaged(878364 + 40000, b"\0" * 2000)
    with tev.open(path) as model:
        outcomes = set()
        for ask in [field.statistics for field in model.fields]:
            try:
                ask()
                outcomes.add("read")
            except tev.DamagedError as error:
                assert error.stream == "Heavy Data"
                outcomes.add("damaged")
        assert outcomes == {"read", "damaged"}


def test_incomplete_models_open_and_say_so(tmp_path):
    path = tmp_path / "cut.tev"
    path.write_bytes(BRACKET[:900000])
    with tev.open(path) as model:
        assert not model.complete and "ends" in model.missing[0] and "incomplete" in repr(model)
        assert len(model) == 2
