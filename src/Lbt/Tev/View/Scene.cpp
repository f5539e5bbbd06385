// Loads what of a model is shown at once.

#include "Lbt/Tev/View/Scene.h"

#include <algorithm>
#include <numeric>
#include <span>
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

/// Gathers meshes, then numbers, then their range.
class Gathering {
 public:
  Gathering(const Model& model, const Shot& shot, const SceneListener& listener)
      : model_(&model), shot_(&shot), listener_(&listener) {}

  [[nodiscard]] Scene Run() {
    GatherMeshes();
    GatherValues();
    GatherRange();
    return std::move(scene_);
  }

 private:
  void GatherMeshes() {
    std::vector<MeshOfPart> meshes;
    for (const std::size_t part : shot_->parts) {
      const auto mesh = model_->MeshAt(model_->Parts()[part], shot_->step);
      if (mesh.coordinates != nullptr) {
        meshes.push_back({part, shot_->step, mesh});
      }
    }
    InOrder<std::optional<ShownPart>> inOrder(
        [this](std::size_t /*place*/, std::optional<ShownPart>& shown) {
          if (shown) {
            scene_.parts.push_back(std::move(*shown));
          }
        });
    GatherSkins(*model_, meshes, shot_->cells,
                [&](std::size_t place, const PartSkin& skin, const std::exception_ptr& failure) {
                  const std::size_t part = meshes[place].part;
                  if (failure != nullptr) {
                    listener_->meshFailed(part, failure);
                    inOrder.Add(place, std::nullopt);
                  } else {
                    inOrder.Add(place, ShownPart{.part = part, .skin = skin});
                  }
                });
  }

  void GatherValues() {
    std::vector<WantedGroup> wanted;
    std::vector<ShownPart*> shownBy;
    for (ShownPart& shown : scene_.parts) {
      const Part& part = model_->Parts()[shown.part];
      const Field* field = FieldAt(*model_, part, *shot_);
      if (field == nullptr || !HasComponent(field->components, shot_->component)) {
        continue;
      }
      shown.location = LocationOn(model_->MeshAt(part, shot_->step), *field);
      if (shown.location != Location::Unknown) {
        fields_.push_back({shown.part, field});
        shownBy.push_back(&shown);
        wanted.push_back({{.variable = field->variable, .mayStayStored = true}});
      }
    }
    LoadInFileOrder(
        {&model_->GetTree(), wanted}, [&](std::size_t place, const LoadedGroup& loaded) {
          if (loaded[0].failure == nullptr) {  // else the statistics tell
            shownBy[place]->values =
                ValuesOf(loaded[0].Tuples(fields_[place].field->components), shot_->component);
          }
        });
  }

  void GatherRange() {
    Ranges ranges(shot_->component);
    GatherStatistics(*model_, fields_,
                     [&](const FieldOfPart& field, const FieldStatistics& result) {
                       if (result.failure != nullptr) {
                         listener_->fieldFailed(field, result.failure);
                       }
                       if (result.statistics) {
                         ranges.Add(field, *result.statistics);
                       }
                     });
    scene_.range = ranges.OfAll();
    if (scene_.range) {
      scene_.min = MarkOf(scene_.range->min);
      scene_.max = MarkOf(scene_.range->max);
    }
  }

  [[nodiscard]] std::optional<Mark> MarkOf(const Range::End& end) const {
    const auto shown = std::ranges::find(scene_.parts, end.field.part, &ShownPart::part);
    return shown == scene_.parts.end()
               ? std::nullopt
               : std::optional(Mark{PlaceOf(*shown, end.extreme.index), end});
  }

  const Model* model_;
  const Shot* shot_;
  const SceneListener* listener_;
  std::vector<FieldOfPart> fields_;
  Scene scene_;
};

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

Scene GatherScene(const Model& model, const Shot& shot, const SceneListener& listener) {
  return Gathering(model, shot, listener).Run();
}

}  // namespace LbtTev::View
