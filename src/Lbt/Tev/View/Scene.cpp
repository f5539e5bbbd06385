// Loads what of a model is shown at once.

#include "Lbt/Tev/View/Scene.h"

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <set>
#include <utility>

#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/LoadedMesh.h"
#include "Lbt/Tev/Analysis/Statistics.h"

namespace LbtTev::View {

using namespace Analysis;

namespace {

/// The field that stands at the step of a shot; null where there is none.
const Field* FieldAt(const Model& model, const Part& part, const Shot& shot) {
  if (!shot.result) {
    return nullptr;
  }
  const Field* field = model.FindField(part, *shot.result, shot.step);
  return field != nullptr ? field : model.FindField(part, *shot.result, std::nullopt);
}

std::array<double, 3> MiddleOfNodes(std::span<const unsigned int> nodes,
                                    std::span<const float> coordinates) {
  std::array<double, 3> middle{};
  for (const unsigned int node : nodes) {
    for (std::size_t axis = 0; axis < middle.size(); ++axis) {
      middle.at(axis) += static_cast<double>(coordinates[std::size_t{node} * 3 + axis]) /
                         static_cast<double>(nodes.size());
    }
  }
  return middle;
}

std::array<double, 3> PlaceOf(const ShownPart& shown, std::size_t index) {
  const std::span<const float> coordinates(*shown.skin.coordinates);
  if (shown.location == Location::Node) {
    const auto node = static_cast<unsigned int>(index);
    return MiddleOfNodes({&node, 1}, coordinates);
  }
  const std::span<const unsigned int> lengths(*shown.skin.lengths);
  const std::span<const unsigned int> before = lengths.first(index);
  const std::size_t first = std::accumulate(before.begin(), before.end(), std::size_t{0});
  return MiddleOfNodes(std::span(*shown.skin.faces).subspan(first, lengths[index]), coordinates);
}

/// Parts with their skins, in the order of the shot.
std::vector<ShownPart> GatherParts(const Model& model, const Shot& shot,
                                   const SceneListener& listener, std::size_t threads) {
  std::vector<MeshOfPart> meshes;
  for (const std::size_t part : shot.parts) {
    const auto mesh = model.MeshAt(model.Parts()[part], shot.step);
    if (mesh.coordinates != nullptr) {
      meshes.push_back({part, shot.step, mesh});
    }
  }
  std::vector<ShownPart> parts;
  InOrder<std::optional<ShownPart>> inOrder(
      [&parts](std::size_t /*place*/, std::optional<ShownPart>& shown) {
        if (shown) {
          parts.push_back(std::move(*shown));
        }
      });
  GatherSkins(
      model, meshes, shot.cells,
      [&](std::size_t place, const PartSkin& skin, const std::exception_ptr& failure) {
        const std::size_t part = meshes[place].part;
        if (failure != nullptr) {
          listener.meshFailed(part, failure);
          inOrder.Add(place, std::nullopt);
        } else {
          inOrder.Add(place, ShownPart{.part = part, .skin = skin});
        }
      },
      threads);
  return parts;
}

/// Loads the numbers of parts.
void AddValues(const Model& model, const Shot& shot, std::size_t threads,
               std::vector<ShownPart>& parts) {
  std::vector<const Field*> fields;
  std::vector<WantedGroup> wanted;
  std::vector<ShownPart*> shownBy;
  ShownNumbers numbers(model, shot);
  for (ShownPart& shown : parts) {
    if (const Field* field = ShownField(model, shown.part, shot); field != nullptr) {
      fields.push_back(field);
      shownBy.push_back(&shown);
      wanted.push_back({{.variable = field->variable, .mayStayStored = true}});
    }
  }
  LoadInFileOrder({&model.GetTree(), wanted, {.threads = threads}},
                  [&](std::size_t place, const LoadedGroup& loaded) {
                    if (loaded[0].failure == nullptr) {  // else the statistics tell
                      numbers.Set(loaded[0].Tuples(fields[place]->components), *shownBy[place]);
                    }
                  });
}

/// The fields of a part that colours show at any step: the first of each step, and that without a
/// step where it stands for one.
std::vector<const Field*> FieldsOverSteps(const Model& model, const Part& part, const Shot& shot) {
  std::map<std::optional<std::size_t>, const Field*> fields;
  for (const Field& field : model.FieldsOf(part)) {
    if (shot.result && field.result == *shot.result) {
      fields.try_emplace(field.step, &field);
    }
  }
  if (!model.Steps().empty() && fields.size() > model.Steps().size()) {
    fields.erase(std::nullopt);
  }
  std::vector<const Field*> shown;
  for (const auto& [step, field] : fields) {
    if (HasComponent(field->components, shot.component)) {
      shown.push_back(field);
    }
  }
  return shown;
}

/// The fields that the range of colours comes from.
std::vector<FieldOfPart> ColouringFields(const Model& model, const Shot& shot,
                                         std::span<const ShownPart> parts) {
  std::vector<FieldOfPart> fields;
  for (const ShownPart& shown : parts) {
    const Field* atStep = ShownField(model, shown.part, shot);
    if (shot.isRangeOfStep && atStep != nullptr) {
      fields.push_back({shown.part, atStep});
    } else if (!shot.isRangeOfStep) {
      for (const Field* field : FieldsOverSteps(model, model.Parts()[shown.part], shot)) {
        fields.push_back({shown.part, field});
      }
    }
  }
  return fields;
}

std::optional<Mark> MarkOf(std::span<const ShownPart> parts, const Range::End& end) {
  const auto shown = std::ranges::find(parts, end.field.part, &ShownPart::part);
  return shown == parts.end() ? std::nullopt
                              : std::optional(Mark{PlaceOf(*shown, end.extreme.index), end});
}

/// Leaves out parts that look like one before them.
void KeepEachLook(std::vector<ShownPart>& parts) {
  std::set<std::array<const void*, 3>> looks;
  std::erase_if(parts, [&looks](const ShownPart& shown) {
    return !looks.insert({shown.skin.skin.get(), shown.skin.coordinates.get(), shown.values.get()})
                .second;
  });
}

}  // namespace

std::optional<std::size_t> LastStep(const Model& model, const std::vector<std::size_t>& parts,
                                    const std::optional<std::string>& result) {
  if (!result) {
    return model.Steps().empty() ? std::nullopt : std::optional(model.Steps().size() - 1);
  }
  std::optional<std::size_t> last;
  for (const std::size_t part : parts) {
    for (const Field& field : model.FieldsOf(model.Parts()[part])) {
      last = field.result == *result ? std::max(last, field.step) : last;
    }
  }
  return last;
}

const Field* ShownField(const Model& model, std::size_t part, const Shot& shot) {
  const Field* field = FieldAt(model, model.Parts()[part], shot);
  return field != nullptr && HasComponent(field->components, shot.component) &&
                 LocationOn(model.MeshAt(model.Parts()[part], shot.step), *field) !=
                     Location::Unknown
             ? field
             : nullptr;
}

void ShownNumbers::Set(const FloatTuples& tuples, ShownPart& shown) {
  const Field& field = *ShownField(*model_, shown.part, *shot_);
  shown.location = LocationOn(model_->MeshAt(model_->Parts()[shown.part], shot_->step), field);
  auto& known = known_[ArrayKey(field.variable->array)];
  if (known == nullptr) {
    known = std::make_shared<const std::vector<float>>(ValuesOf(tuples, shot_->component));
  }
  shown.values = known;
}

Scene SceneOf(const Model& model, const Shot& shot, std::vector<ShownPart> parts,
              std::span<const FieldWithStatistics> statistics) {
  Scene scene{.parts = std::move(parts)};
  std::set<std::pair<std::size_t, const Field*>> colouring;  // parts may have one geometry
  for (const FieldOfPart& each : ColouringFields(model, shot, scene.parts)) {
    colouring.emplace(each.part, each.field);
  }
  RangeOfFields ofShown(shot.component);
  RangeOfFields ofColours(shot.component);
  for (const FieldWithStatistics& each : statistics) {
    if (each.statistics && colouring.contains({each.field.part, each.field.field})) {
      ofColours.Add(each.field, *each.statistics);
      if (each.field.field == ShownField(model, each.field.part, shot)) {
        ofShown.Add(each.field, *each.statistics);
      }
    }
  }
  scene.range = ofColours.Get();
  if (const std::optional<Range>& range = ofShown.Get()) {
    scene.min = MarkOf(scene.parts, range->min);
    scene.max = MarkOf(scene.parts, range->max);
  }
  KeepEachLook(scene.parts);
  return scene;
}

Scene GatherScene(const Model& model, const Shot& shot, const SceneListener& listener,
                  std::size_t threads) {
  std::vector<ShownPart> parts = GatherParts(model, shot, listener, threads);
  AddValues(model, shot, threads, parts);
  std::vector<FieldWithStatistics> statistics;
  GatherStatistics(
      model, ColouringFields(model, shot, parts),
      [&](const FieldOfPart& field, const FieldStatistics& result) {
        if (result.failure != nullptr) {
          listener.fieldFailed(field, result.failure);
        }
        statistics.push_back({field, result.statistics});
      },
      threads);
  return SceneOf(model, shot, std::move(parts), statistics);
}

}  // namespace LbtTev::View
