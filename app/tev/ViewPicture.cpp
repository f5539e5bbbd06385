// What is drawn of a model as a picture.

#include "tev/ViewPicture.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <utility>
#include <vector>

#include "tev/FieldOptions.h"
#include "tev/FileFailure.h"
#include "tev/VisibleText.h"

namespace {

using namespace LbtTev::View;
using namespace LbtTev::Analysis;

Component ComponentIn(const std::string& text) {
  std::size_t number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  return read.ec == std::errc() ? Component(number - 1) : Component();
}

/// The result that is asked for, else the first one that any of the parts has; none where there is
/// none.
std::optional<std::string> ResultOf(const Model& model, const std::vector<std::size_t>& parts,
                                    const Selection& selection) {
  if (!selection.results.empty()) {
    const auto results = SelectResults(model, selection.results);
    if (results.size() > 1) {
      throw UsageError("a picture shows one result, and " + std::to_string(results.size()) +
                       " fit: choose one by --result");
    }
    return std::string(results.front());
  }
  std::optional<std::string> first;
  for (const FieldOfPart& each : FieldsOfParts(model, parts, [](const auto&) { return true; })) {
    if (each.field->components != 0 && (!first || each.field->result < *first)) {
      first = std::string(each.field->result);
    }
  }
  return first;
}

std::optional<std::size_t> StepOf(const Model& model, const Shot& shot,
                                  const Selection& selection) {
  if (selection.steps.empty()) {
    return LastStep(model, shot.parts, shot.result);
  }
  const SelectedSteps selected(model, selection.steps);
  std::vector<std::optional<std::size_t>> fits;
  if (selected.Has(std::nullopt)) {
    fits.emplace_back();
  }
  for (std::size_t step = 0; step < model.Steps().size(); ++step) {
    if (selected.Has(step)) {
      fits.emplace_back(step);
    }
  }
  if (fits.size() != 1) {
    throw UsageError("a picture shows one step, and " + std::to_string(fits.size()) +
                     " fit: choose one by --step");
  }
  return fits.front();
}

/// The component that is asked for, else the usual one of the result's first field.
Component ComponentOf(const Model& model, const Shot& shot, const std::string& asked) {
  std::optional<std::size_t> width;
  for (const FieldOfPart& each : FieldsOfParts(
           model, shot.parts, [&](const auto& field) { return field.result == *shot.result; })) {
    const std::size_t components = each.field->components;
    if (!asked.empty() && HasComponent(components, ComponentIn(asked))) {
      return ComponentIn(asked);
    }
    width = width.value_or(components);
  }
  if (!asked.empty() && width) {
    throw UsageError("result " + QuotedText(*shot.result) + " has " + Counted(*width, "component") +
                     ", and no " + (asked == "magnitude" ? asked : "component " + asked));
  }
  return UsualComponent(width.value_or(1));
}

/// The parts that are asked for, else all but cuts, surfaces and flow lines, where there are
/// others.
std::vector<std::size_t> PartsOf(const Model& model, const Selection& selection) {
  std::vector<std::size_t> parts = SelectParts(model, selection.parts);
  const auto isOwn = [&model](std::size_t part) {
    const PartKind kind = model.Parts()[part].kind;
    return kind == PartKind::Part || kind == PartKind::Shape;
  };
  if (selection.parts.empty() && std::ranges::any_of(parts, isOwn)) {
    std::erase_if(parts, [&isOwn](std::size_t part) { return !isOwn(part); });
  }
  return parts;
}

void RequireField(const Model& model, const Shot& shot) {
  const auto fields = FieldsOfParts(model, shot.parts, [&shot](const Field& field) {
    return field.result == *shot.result && (field.step == shot.step || !field.step);
  });
  if (fields.empty()) {
    throw UsageError("no field fits all that is asked for");
  }
}

Shot ShotOf(const Model& model, const CellRules& cells, const PictureOptions& options) {
  Shot shot{.parts = PartsOf(model, options.selection),
            .cells = cells,
            .isRangeOfStep = options.range.isOfStep};
  shot.result = ResultOf(model, shot.parts, options.selection);
  shot.step = StepOf(model, shot, options.selection);
  if (shot.result) {
    shot.component = ComponentOf(model, shot, options.component);
    RequireField(model, shot);
  }
  return shot;
}

std::string Draw(const Model& model, const Shot& shot, const Scene& scene, const Input& input,
                 const PictureStyle& style) {
  const std::string name = std::filesystem::path(input.path).filename().string();
  return PngOf(scene, TextsOf(model, shot, scene, name), style);
}

/// Loads what is there, and tells "writer" of what is not.
Scene Gather(const Model& model, const Shot& shot, const Input& input, AnswerWriter& writer,
             unsigned int jobs) {
  std::string firstMissing;
  const auto addMissing = [&](const std::string& what, const std::exception_ptr& failure) {
    const std::string text = what + ": " + FailureOf(failure).what();
    firstMissing = firstMissing.empty() ? text : firstMissing;
    writer.AddMissing(text);
  };
  Scene scene = GatherScene(model, shot,
                            {.meshFailed =
                                 [&](std::size_t part, const std::exception_ptr& failure) {
                                   addMissing(NameOfMesh(model, part, shot.step), failure);
                                 },
                             .fieldFailed =
                                 [&](const FieldOfPart& field, const std::exception_ptr& failure) {
                                   addMissing(NameOfField(model, field), failure);
                                 }},
                            jobs - 1);
  if (scene.parts.empty() && !firstMissing.empty()) {
    throw Failure(FailureCode::Damaged, "no part has a mesh that can be read: " + firstMissing);
  }
  if (scene.parts.empty()) {
    throw UsageError(input.path + ": no part that is asked for has a mesh");
  }
  return scene;
}

/// Has the colours span what is typed.
void Limit(Scene& scene, const ColourRange& range) {
  if (scene.range && range.typed) {
    scene.range->min.extreme.value = range.typed->first;
    scene.range->max.extreme.value = range.typed->second;
  }
}

}  // namespace

std::string PictureOf(const Model& model, const Input& input, AnswerWriter& writer,
                      const CellRules& cells, const PictureOptions& options) {
  const Shot shot = Selecting(input.path, [&] {
    try {
      return ShotOf(model, cells, options);
    } catch (const UsageError& error) {
      throw UsageError(input.path + ": " + error.what());
    }
  });
  Scene scene = Gather(model, shot, input, writer, options.jobs);
  Limit(scene, options.range);
  return Draw(model, shot, scene, input, options.style);
}

PictureOfPage::PictureOfPage(const Model& model, const CellRules& cells)
    : model_(&model), shot_(ShotOf(model, cells, {})), numbers_(model, shot_) {
  for (const std::size_t part : shot_.parts) {
    wanted_[part] = model.MeshAt(model.Parts()[part], shot_.step);
  }
}

void PictureOfPage::Take(const MeshOfPart& mesh, const PartSkin& skin) {
  const auto wanted = wanted_.find(mesh.part);
  if (wanted != wanted_.end() && wanted->second.coordinates == mesh.mesh.coordinates &&
      wanted->second.faces == mesh.mesh.faces && wanted->second.lengths == mesh.mesh.lengths) {
    parts_[mesh.part] = {.part = mesh.part, .skin = skin};
  }
}

void PictureOfPage::Take(const FieldOfPart& field, const FloatTuples& tuples) {
  const auto shown = parts_.find(field.part);
  if (shown != parts_.end() && field.field == ShownField(*model_, field.part, shot_)) {
    numbers_.Set(tuples, shown->second);
  }
}

std::string PictureOfPage::Draw(const Input& input, std::span<const FieldWithStatistics> fields) {
  std::vector<ShownPart> parts;
  for (auto& [part, shown] : parts_) {
    parts.push_back(std::move(shown));
  }
  const Scene scene = SceneOf(*model_, shot_, std::move(parts), fields);
  constexpr PictureSize kSize{600, 450};
  return scene.parts.empty() || !PictureFault().empty()
             ? ""
             : ::Draw(*model_, shot_, scene, input, {.size = kSize});
}
