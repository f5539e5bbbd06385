"""What the package tells of files is what the program tells as JSON."""

import pytest

import tev
from conftest import EXAMPLES, answer_of


def test_info_is_the_entry_of_tev_info(model, path):
    assert model.info == answer_of("info", path)


def test_statistics_are_those_of_tev_results(model, path):
    expected = answer_of("results", "--stats", path)["fields"]
    assert len(expected) == len(model.fields)
    for field, facts in zip(model.fields, expected):
        assert (field.part.id, field.result, field.location) == (
            facts["part"], facts["result"], facts["location"])
        assert field.statistics() == facts["statistics"]


def test_check_of_a_sound_model_is_the_entry_of_tev_check(path):
    assert tev.check(path) == answer_of("check", path)
    assert tev.check(path)["verdict"] == "ok"


def test_check_of_a_damaged_model_is_the_entry_of_tev_check(tmp_path):
    cut = tmp_path / "cut.tev"
    cut.write_bytes((EXAMPLES / "bracket.tev").read_bytes()[:900000])
    assert tev.check(cut) == answer_of("check", cut)
    assert tev.check(cut)["verdict"] == "damaged"


def test_diff_is_the_entry_of_tev_diff():
    paths = [EXAMPLES / "bracket.tev", EXAMPLES / "heatsink.tev"]
    answer = tev.diff(*paths)
    assert answer["verdict"] == "different"
    assert answer == answer_of("diff", *paths)
    assert tev.diff(paths[0], paths[0])["verdict"] == "same"


def test_tolerances_of_diff_are_those_of_the_program():
    path = EXAMPLES / "bracket.tev"
    assert tev.diff(path, path, rtol=1e-6, atol="1e-6*max") == answer_of(
        "diff", path, path, "--rtol", "1e-6", "--atol", "1e-6*max")
    for wrong in ({"rtol": -1.0}, {"atol": "much"}, {"rtol": float("nan")}):
        with pytest.raises(ValueError):
            tev.diff(path, path, **wrong)


def test_nothing_is_told_on_standard_streams(capfd, tmp_path):
    cut = tmp_path / "cut.tev"
    cut.write_bytes((EXAMPLES / "bracket.tev").read_bytes()[:900000])
    tev.check(cut)
    tev.diff(cut, EXAMPLES / "bracket.tev")
    with tev.open(cut) as model:
        assert not model.complete
        assert model.missing and model.info["failure"]["code"] == "damaged"
    assert capfd.readouterr() == ("", "")
