#pragma once

#include <cstddef>
#include <set>
#include <span>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Pairing.h"
#include "Lbt/Tev/Analysis/Selection.h"

namespace LbtTev::Analysis {

/// What of one model is compared, and what of that may have been lost.
class ComparedModel {
 public:
  ComparedModel(const Model& model, const LostData& lost, Chosen chosen)
      : model_(&model), lost_(&lost), chosen_(std::move(chosen)) {}

  /// Finds the fields of these parts: those that were asked for, and partners of such.
  void Find(std::vector<std::size_t> ofParts);

  [[nodiscard]] const Chosen& GetChosen() const { return chosen_; }
  [[nodiscard]] const LostData& Lost() const { return *lost_; }
  [[nodiscard]] std::span<const FieldOfPart> FieldsOf(std::size_t part) const;
  [[nodiscard]] ResultsByName Results() const;

  /// The steps of these fields, and of the meshes where they are compared.
  [[nodiscard]] std::vector<bool> Steps(bool withMeshes) const;

  /// Whether something of the part may be missing since it could not be read.
  [[nodiscard]] bool IsPartLost(std::size_t part) const;

  /// The same of what is compared as a whole.
  [[nodiscard]] bool IsAnyLost() const { return isAnyLost_; }

 private:
  void FindLostLinks();

  const Model* model_;
  const LostData* lost_;
  Chosen chosen_;
  std::vector<std::size_t> parts_{};
  std::vector<FieldOfPart> fields_{};
  std::set<const Geometry*> withLostLinks_{};
  bool isAnyLost_ = false;
};

}  // namespace LbtTev::Analysis
