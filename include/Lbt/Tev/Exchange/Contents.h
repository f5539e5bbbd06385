#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/LoadedMesh.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"

/// Out to other formats: numbers of a model as meshes with fields, exact in every float.
namespace LbtTev::Exchange {

using Analysis::CellRules;
using Analysis::CellShape;
using Analysis::LocationOn;
using Analysis::RequireThreeCoordinates;
using Analysis::TakenShapes;

using PlaceInTime = std::optional<std::size_t>;  ///< a step by its index, or none

/// What an export tells of while it runs. Damage does not end it.
struct Listener {
  /// A part whose mesh cannot be read, which is left out; or only its ids, which are left out.
  std::function<void(std::size_t part, PlaceInTime step, const std::exception_ptr& failure)>
      meshFailed;
  std::function<void(const Analysis::FieldOfPart& field, const std::exception_ptr& failure)>
      fieldFailed;
  /// A field that has a value neither for each node nor for each element, which is left out.
  std::function<void(const Analysis::FieldOfPart& field)> leftOut;
  /// Ids of nodes or elements of a part that are fewer than these, which are left out.
  std::function<void(std::size_t part, Analysis::Location of)> fewIds;
  /// What the elements of a part became, where that was guessed.
  std::function<void(std::size_t part, PlaceInTime step, const TakenShapes& shapes)> taken;
};

/// What of a model is exported: parts with points, steps, and fields.
///
/// A step is a grid of its own, with the mesh at it. A field without a step stands in the grid of
/// each, unless the step has one of its name; without any step there is one grid. Refers to the
/// model.
class Contents {
 public:
  /// Throws "Element Not Found" for a pattern that fits nothing, and "Out of Bounds" ("The model
  /// refers to its data too often").
  Contents(const Analysis::Model& model, const Analysis::Selection& selection);

  [[nodiscard]] const Analysis::Model& GetModel() const { return *model_; }
  /// In ascending order.
  [[nodiscard]] const std::vector<std::size_t>& Parts() const { return parts_; }
  /// Parts that were asked for and have no points: they are left out.
  [[nodiscard]] const std::vector<std::size_t>& PartsWithoutPoints() const {
    return withoutPoints_;
  }
  [[nodiscard]] const std::vector<PlaceInTime>& Steps() const { return steps_; }
  [[nodiscard]] bool HasFields() const { return !fields_.empty(); }

  /// The fields of a part in the grid of a step, in stored order.
  [[nodiscard]] std::vector<const Analysis::Field*> FieldsAt(std::size_t part,
                                                             PlaceInTime step) const;

  /// The time of a step: its value, where each step of one label has another one; else its number
  /// among the steps, from 0.
  [[nodiscard]] double TimeOf(std::size_t placeAmongSteps) const;

  /// A step's text; empty for none.
  [[nodiscard]] std::string TextOf(PlaceInTime step) const;

  /// The names of the parts, in their order, each once: of several with one name the later ones
  /// have their id beside it.
  [[nodiscard]] std::vector<std::string> PartNames() const;

 private:
  void FindSteps(const Analysis::SelectedSteps& selected);
  void ChargeRepeats() const;

  const Analysis::Model* model_;
  std::vector<std::size_t> parts_;
  std::vector<std::size_t> withoutPoints_;
  std::vector<PlaceInTime> steps_;
  bool hasTimes_ = false;
  std::map<std::pair<std::size_t, PlaceInTime>, std::vector<const Analysis::Field*>> fields_;
};

/// A name that none in "used" has, which it joins: "name", else "name (2)" and so on.
[[nodiscard]] std::string UniqueName(const std::string& name, std::map<std::string, int>& used);

}  // namespace LbtTev::Exchange
