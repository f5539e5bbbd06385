"""Looking things up, and what objects do."""

import pickle

import numpy as np
import pytest

import tev


def test_parts_are_found_by_number_and_by_name(bracket):
    arm = bracket["Arm (Aluminium)"]
    assert arm is bracket.parts[1] is bracket[1] is bracket[-1]
    assert (arm.id, arm.kind, arm.path, arm.nodes, arm.elements) == (
        8, "part", ("bracket", "Arm", "Geometry"), 3743, 1953)
    assert [part.name for part in bracket] == ["Base (Steel)", "Arm (Aluminium)"]
    assert len(bracket) == 2


def test_fields_are_found_by_result_and_step(bracket):
    arm = bracket["Arm (Aluminium)"]
    field = arm["von Mises Stress", "Load Case = 1"]
    assert (field.result, field.location, field.components, field.count, len(field)) == (
        "von Mises Stress", "node", 1, 3743, 3743)
    assert arm["von Mises Stress"] == [field]
    assert arm["von Mises Stress", bracket.steps[0]] is field
    assert field.part is arm
    assert arm["Displacement", "Load Case = 1"].values.shape == (3743, 3)
    assert np.array_equal(field.ids, arm.node_ids)
    assert np.asarray(field) is field.values or np.shares_memory(np.asarray(field), field.values)


def test_fields_of_a_result_come_in_the_order_of_the_steps(heatsink):
    fields = heatsink[0]["Temperature"]
    assert [field.step.value for field in fields] == [0.5 * (i + 1) for i in range(20)]
    assert [step.text for step in heatsink.steps] == [field.step.text for field in fields]
    assert heatsink.steps[0] == tev.Step("Time = 0.5", "Time", 0.5, heatsink.steps[0].subtitle)
    assert tev.Result("Temperature", 1, "node") in heatsink.results


def test_keys_that_do_not_exist_name_the_nearest_one(bracket):
    with pytest.raises(KeyError, match=r'did you mean "Arm \(Aluminium\)"'):
        bracket["Arm (Aluminum)"]
    arm = bracket[1]
    with pytest.raises(KeyError, match='did you mean "von Mises Stress"'):
        arm["von Mises Stres"]
    with pytest.raises(KeyError, match='did you mean "Load Case = 1"'):
        arm["von Mises Stress", "Load Case = 2"]
    with pytest.raises(KeyError, match='did you mean "Load Case = 1"'):
        arm.mesh("Load Case = 2")
    with pytest.raises(KeyError):
        arm["von Mises Stress", None]
    with pytest.raises(KeyError):
        bracket["\ud800"]
    with pytest.raises(IndexError):
        bracket[2]
    with pytest.raises(IndexError):
        arm.faces[1953]


def test_a_name_of_several_parts_is_ambiguous(small_model):
    with tev.open(small_model("two parts of one name")) as model:
        with pytest.raises(tev.AmbiguousNameError, match="2 parts") as caught:
            model["Twin"]
        assert isinstance(caught.value, KeyError)


def test_models_have_their_parts_and_the_names_of_these(bracket, heatsink):
    assert "Arm (Aluminium)" in bracket and bracket[1] in bracket
    assert "Arm" not in bracket and heatsink[0] not in bracket and 0 not in bracket


def test_faces_are_lists_of_points(bracket):
    faces = bracket[1].faces
    assert len(faces) == 1953
    assert faces[0].dtype == np.uint32 and len(faces[0]) == 10
    assert np.array_equal(faces[-1], faces.indices[-10:])
    assert sum(len(face) for face in faces) == len(faces.indices)


def test_a_mesh_at_a_step_has_what_the_part_has_without_one(heatsink):
    part = heatsink[1]
    mesh = part.mesh(heatsink.steps[3])
    assert np.array_equal(mesh.points, part.points)
    assert np.array_equal(mesh.faces.offsets, part.faces.offsets)


def test_closed_models_raise_and_arrays_stay(path):
    model = tev.open(path)
    part = model[0]
    field, other = part.fields[:2]
    values = field.values
    before = values.copy()
    model.close()
    model.close()
    assert model.closed and "closed" in repr(model) and "closed" in model._repr_html_()
    assert np.array_equal(values, before) and field.values is values
    for ask in (lambda: other.values, lambda: part.points, other.statistics, lambda: model.load([other])):
        with pytest.raises(ValueError, match="closed"):
            ask()
    del model, part, field, other
    assert np.array_equal(values, before)


def test_context_manager_closes(path):
    with tev.open(path) as model:
        assert not model.closed
    assert model.closed
    with pytest.raises(ValueError):
        model.info


def test_fields_and_arrays_keep_what_they_need(path):
    values = tev.open(path)[0].fields[0].values
    assert np.isfinite(values).all()
    field = tev.open(path)[0].fields[0]
    assert np.array_equal(field.values, values)


def test_pickles_hold_the_absolute_path(path, tmp_path, monkeypatch):
    (tmp_path / "link.tev").symlink_to(path)
    monkeypatch.chdir(tmp_path)
    model = tev.open("link.tev")
    monkeypatch.chdir("/")
    copy = pickle.loads(pickle.dumps(model))
    assert copy.path == str(tmp_path / "link.tev")
    assert copy.info["parts"] == model.info["parts"]
    field = model[0].fields[0]
    again = pickle.loads(pickle.dumps(field))
    assert again.part.model is not model and np.array_equal(again.values, field.values)
    assert pickle.loads(pickle.dumps(model[1])).id == model[1].id


def test_texts_show_what_there_is(bracket):
    assert repr(bracket).endswith("bracket.tev': 2 parts, 1 steps, 8 results>")
    assert repr(bracket[1]) == "<tev.Part 'Arm (Aluminium)' (id 8): 3743 nodes, 1953 elements>"
    assert repr(bracket[1]["Stress"][0]) == (
        "<tev.Field 'Stress' of 'Arm (Aluminium)' at 'Load Case = 1': 3743 x 6, node>")
    assert "Arm (Aluminium)" in bracket._repr_html_()
    assert "von Mises Stress" in bracket[1]._repr_html_()


def test_names_are_escaped_in_html(bracket):
    part = bracket[1]
    part.name = "<b>&"
    assert "&lt;b&gt;&amp;" in part._repr_html_() and "<b>&" not in part._repr_html_()
