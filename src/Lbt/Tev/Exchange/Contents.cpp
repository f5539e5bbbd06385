// Finds what of a model is exported.

#include "Lbt/Tev/Exchange/Contents.h"

#include <algorithm>
#include <array>
#include <set>

#include "Lbt/Log/Raise.h"

namespace LbtTev::Exchange {

using Analysis::Field;
using Analysis::Location;
using Analysis::MeshVariables;
using Analysis::Model;

Contents::Contents(const Model& model, const Analysis::Selection& selection) : model_(&model) {
  for (const std::size_t part : Analysis::SelectParts(model, selection.parts)) {
    const bool hasPoints = model.Parts()[part].mesh.coordinates != nullptr;
    (hasPoints ? parts_ : withoutPoints_).push_back(part);
  }
  const auto results = Analysis::SelectResults(model, selection.results);
  const Analysis::SelectedSteps selected(model, selection.steps);
  const auto has = [&](const Field& field) {
    return (!field.step || selected.Has(field.step)) &&
           std::ranges::binary_search(results, field.result);
  };
  for (const auto& [part, field] : Analysis::FieldsOfParts(model, parts_, has)) {
    fields_[{part, field->step}].push_back(field);
  }
  FindSteps(selected);
  ChargeRepeats();
}

void Contents::FindSteps(const Analysis::SelectedSteps& selected) {
  std::set<PlaceInTime> found;
  for (const auto& [place, fields] : fields_) {
    if (selected.Has(place.second)) {
      found.insert(place.second);
    }
  }
  for (const std::size_t part : parts_) {
    for (const auto& step : model_->StepsWith(model_->Parts()[part], Analysis::kMeshRoles)) {
      if (selected.Has(step)) {
        found.insert(step);
      }
    }
  }
  // What has no step stands in the grids of all, and where nothing else is, of those chosen.
  if (found.empty() && !fields_.empty()) {
    const auto chosen = selected.At(std::array{PlaceInTime()});
    found.insert(chosen.begin(), chosen.end());
  }
  if (found.size() > 1) {
    found.erase(PlaceInTime());
  }
  steps_.assign(found.begin(), found.end());
  std::set<double> values;
  hasTimes_ = std::ranges::all_of(steps_, [&](const PlaceInTime& step) {
    const auto& steps = model_->Steps();
    return step && steps[*step].label == steps[*steps_.front()].label && steps[*step].value &&
           values.insert(*steps[*step].value).second;
  });
}

/// Each step has a grid of each part, with the fields that have no step: a small file may name many
/// of all three.
void Contents::ChargeRepeats() const {
  constexpr std::uint64_t kBytes = 64;
  ModelStream& light = model_->GetTree().GetStreams().light;
  const ModelStream::Request request(light);
  for (const std::size_t part : parts_) {
    const auto without = fields_.find({part, PlaceInTime()});
    const std::size_t repeated = without == fields_.end() ? 0 : without->second.size();
    light.Charge(steps_.size() * (1 + repeated) * kBytes);
  }
}

std::vector<const Field*> Contents::FieldsAt(std::size_t part, PlaceInTime step) const {
  std::vector<const Field*> found;
  std::set<std::string_view> own;
  if (const auto at = fields_.find({part, step}); at != fields_.end()) {
    found = at->second;
  }
  for (const Field* field : found) {
    own.insert(field->result);
  }
  const auto without = step ? fields_.find({part, PlaceInTime()}) : fields_.end();
  if (without != fields_.end()) {
    std::ranges::copy_if(without->second, std::back_inserter(found),
                         [&](const Field* field) { return !own.contains(field->result); });
  }
  return found;
}

double Contents::TimeOf(std::size_t placeAmongSteps) const {
  return hasTimes_ ? *model_->Steps()[*steps_[placeAmongSteps]].value
                   : static_cast<double>(placeAmongSteps);
}

std::string Contents::TextOf(PlaceInTime step) const {
  return step ? model_->Steps()[*step].text : "";
}

std::vector<std::string> Contents::PartNames() const {
  std::set<std::string> used;
  std::vector<std::string> names;
  for (const std::size_t part : parts_) {
    const Analysis::Part& each = model_->Parts()[part];
    std::string name = each.name;
    while (!used.insert(name).second) {
      name += " (" + std::to_string(each.id) + ')';
    }
    names.push_back(std::move(name));
  }
  return names;
}

std::string UniqueName(const std::string& name, std::map<std::string, int>& used) {
  std::string unique = name;
  for (int number = ++used[name]; number > 1; number = ++used[name]) {
    unique = name + " (" + std::to_string(number) + ')';
    if (used.emplace(unique, 1).second) {
      break;
    }
  }
  return unique;
}

}  // namespace LbtTev::Exchange
