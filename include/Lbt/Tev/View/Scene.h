#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Lbt/Tev/Analysis/Arrays.h"
#include "Lbt/Tev/Analysis/Cells.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/View/Skin.h"
#include "Lbt/Tev/View/Values.h"

namespace LbtTev::View {

/// What of a model is shown at once. The model must outlive it.
struct Shot {
  std::vector<std::size_t> parts{};
  std::optional<std::string> result{};  ///< none: the parts alone
  Component component{};
  std::optional<std::size_t> step{};  ///< a field without a step stands for what a step lacks
  Analysis::CellRules cells{};
  bool isRangeOfStep = false;  ///< else colours span the numbers of all steps
};

/// A part with its numbers.
struct ShownPart {
  std::size_t part = 0;
  PartSkin skin{};
  Analysis::Location location = Analysis::Location::Unknown;  ///< of the numbers
  std::shared_ptr<const std::vector<float>> values{};  ///< of nodes or elements; null without any
};

/// A number that is marked, where it is.
struct Mark {
  std::array<double, 3> point{};  ///< a node, or the middle of an element's nodes
  Range::End end{};
};

/// What was found for a shot.
struct Scene {
  std::vector<ShownPart> parts{};  ///< those with a mesh that could be read, each look once
  std::optional<Range> range{};    ///< of the colours, as the statistics of fields have it
  std::optional<Mark> min{};       ///< of what is shown
  std::optional<Mark> max{};
};

/// Takes what could not be read of a shot and is left out.
struct SceneListener {
  std::function<void(std::size_t part, const std::exception_ptr& failure)> meshFailed;
  std::function<void(const Analysis::FieldOfPart& field, const std::exception_ptr& failure)>
      fieldFailed;
};

/// The last step at which any of these parts has the result; without a result, the last step of the
/// model. None where there is none.
[[nodiscard]] std::optional<std::size_t> LastStep(const Analysis::Model& model,
                                                  const std::vector<std::size_t>& parts,
                                                  const std::optional<std::string>& result);

/// The field that is shown of a part; null where there is none, or where it has a value neither for
/// each node nor for each element, or lacks the component.
[[nodiscard]] const Analysis::Field* ShownField(const Analysis::Model& model, std::size_t part,
                                                const Shot& shot);

/// Gives parts the numbers of their shown fields. Those that share an array share them: any number
/// of shapes may name one geometry. What it is made of must outlive it.
class ShownNumbers {
 public:
  ShownNumbers(const Analysis::Model& model, const Shot& shot) : model_(&model), shot_(&shot) {}

  void Set(const Analysis::FloatTuples& tuples, ShownPart& shown);

 private:
  const Analysis::Model* model_;
  const Shot* shot_;
  std::map<Analysis::ArrayKey, std::shared_ptr<const std::vector<float>>> known_;
};

/// A shot of these parts with their numbers, from statistics that have those of its fields among
/// them.
[[nodiscard]] Scene SceneOf(const Analysis::Model& model, const Shot& shot,
                            std::vector<ShownPart> parts,
                            std::span<const FieldWithStatistics> statistics);

/// Loads what a shot shows. A field that has a value neither for each node nor for each element of
/// its part, or that lacks the component, is left out. Blocks are inflated ahead on "threads" other
/// threads. Throws on a lack of memory, and what "listener" throws.
[[nodiscard]] Scene GatherScene(const Analysis::Model& model, const Shot& shot,
                                const SceneListener& listener, std::size_t threads = 0);

}  // namespace LbtTev::View
