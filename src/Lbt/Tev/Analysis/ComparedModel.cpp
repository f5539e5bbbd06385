// Finds what of a model is compared, and what of that may have been lost.

#include "ComparedModel.h"

#include <algorithm>
#include <optional>

namespace LbtTev::Analysis {

void ComparedModel::Find(std::vector<std::size_t> ofParts) {
  parts_ = std::move(ofParts);
  fields_ =
      FieldsOfParts(*model_, parts_, [this](const Field& field) { return chosen_.Has(field); });
  FindLostLinks();
  isAnyLost_ = lost_->hasRecords ||
               std::ranges::any_of(parts_, [this](std::size_t part) { return IsPartLost(part); });
}

/// A link to what could not be read leads nowhere.
void ComparedModel::FindLostLinks() {
  if (!lost_->hasRecords && lost_->lightOf.empty()) {
    return;
  }
  std::set<const Geometry*> seen{nullptr};
  for (const std::size_t part : parts_) {
    const Geometry* geometry = model_->Parts()[part].geometry;
    if (seen.insert(geometry).second &&
        std::ranges::any_of(geometry->variables, [this](const Geometry::VarStruct& variable) {
          return variable.isLinked && model_->GetTree().FindLinkTarget(variable) == nullptr;
        })) {
      withLostLinks_.insert(geometry);
    }
  }
}

std::span<const FieldOfPart> ComparedModel::FieldsOf(std::size_t part) const {
  const auto first = std::ranges::lower_bound(fields_, part, {}, &FieldOfPart::part);
  return {first, std::ranges::upper_bound(fields_, part, {}, &FieldOfPart::part)};
}

ResultsByName ComparedModel::Results() const {
  ResultsByName results;
  for (const FieldOfPart& each : fields_) {
    AddToResults(results, *each.field);
  }
  return results;
}

std::vector<bool> ComparedModel::Steps(bool withMeshes) const {
  std::vector<bool> steps(chosen_.steps.size());
  const auto add = [&](const std::optional<std::size_t>& step) {
    if (step) {
      steps[*step] = chosen_.steps[*step];
    }
  };
  for (const FieldOfPart& each : fields_) {
    add(each.field->step);
  }
  std::set<const Geometry*> seen;
  for (const std::size_t part : parts_) {
    if (withMeshes && seen.insert(model_->Parts()[part].geometry).second) {
      std::ranges::for_each(model_->StepsWith(model_->Parts()[part], kMeshRoles), add);
    }
  }
  return steps;
}

bool ComparedModel::IsPartLost(std::size_t part) const {
  const Part& asked = model_->Parts()[part];
  return IsLost(*model_, asked, *lost_) || withLostLinks_.contains(asked.geometry);
}

}  // namespace LbtTev::Analysis
