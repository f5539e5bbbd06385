#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"

namespace LbtTev::Analysis {

/// What of a model is compared.
struct Chosen {
  std::vector<std::size_t> parts;
  std::set<std::string_view> results;
  std::vector<bool> steps;
  bool withoutStep = false;

  [[nodiscard]] bool Has(const Field& field) const {
    return results.contains(field.result) && HasStep(field.step);
  }
  [[nodiscard]] bool HasStep(std::optional<std::size_t> step) const {
    return step ? steps[*step] : withoutStep;
  }
};

/// Finds what a selection asks for in two models. A pattern need fit only one of them; throws
/// "Element Not Found" for one that fits nothing in either.
[[nodiscard]] std::pair<Chosen, Chosen> Choose(const Model& a, const Model& b,
                                               const Selection& selection);

/// Parts with what they are matched by: path, name, and the how many-th of these.
using PartKey = std::tuple<std::vector<std::string>, std::string, std::size_t>;

/// The chosen parts, by their indices.
[[nodiscard]] std::map<PartKey, std::size_t> KeysOf(const Model& model, const Chosen& chosen);

using StepText = std::optional<std::string>;

[[nodiscard]] StepText TextOfStep(const Model& model, std::optional<std::size_t> step);

/// Fields of a part with what they are matched by: result, step, and the how many-th of these.
using FieldKey = std::tuple<std::string_view, StepText, std::size_t>;

[[nodiscard]] std::map<FieldKey, const Field*> KeysOf(const Model& model, const Part& part,
                                                      const Chosen& chosen);

}  // namespace LbtTev::Analysis
