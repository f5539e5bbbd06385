#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Lbt/Tev/Analysis/Difference.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"

namespace LbtTev::Analysis {

/// Something in which two models differ.
struct ModelDifference {
  enum class Kind { Title, Category, NodeCount, ElementCount, Part, Step, Result, Mesh, Field };
  enum class Side { Both, OnlyInA, OnlyInB };

  Kind kind = Kind::Title;
  Side side = Side::Both;
  // What it is about, as far as that applies; parts by their indices in the models that have them.
  std::optional<std::size_t> partInA{};
  std::optional<std::size_t> partInB{};
  std::optional<std::string> result{};  ///< for a mesh "Coordinates", "Node Ids", "Faces" ...
  std::optional<std::string> step{};
  // What the models have in its place, where that can be told in a word.
  std::optional<std::string> a{};
  std::optional<std::string> b{};
  std::optional<NumbersDifference> numbers{};  ///< of fields and coordinates
  std::optional<std::int32_t> id{};            ///< of the node or element that is farthest apart
  std::optional<std::size_t> differentFaces{};
};

/// "title", "category", "nodes", "elements", "part", "step", "result", "mesh", "field".
[[nodiscard]] std::string_view TextOf(ModelDifference::Kind kind);

/// Something that could not be compared.
struct FailedComparison {
  bool isInA = true;     ///< the model that is damaged; if both are, the first
  std::size_t part = 0;  ///< its index in that model
  std::string result;
  std::optional<std::string> step;
  std::exception_ptr failure;
};

/// What is told of a comparison while it runs.
struct DifferenceSink {
  std::function<void(const ModelDifference&)> differs;
  std::function<void(const FailedComparison&)> failed;
};

/// Compares two models: title, category, numbers of nodes and elements, parts (by path and name,
/// the k-th of a name with the k-th), meshes, steps, results and all values; with a selection
/// only what it asks for. Tuples are matched by id, else by place; faces by the nodes that they
/// name. How things are stored, programs, dates, attributes and materials are not compared.
///
/// What is only in one is told first, then meshes and fields part by part. "lost" says what of A
/// and of B could not be read: what rests on it is not told, neither as different nor as missing.
/// With "isAhead" one block of each model is inflated ahead, on a thread of its own.
///
/// Throws "Element Not Found" for a pattern that fits nothing in either model, what RepeatedRows
/// does, and on a lack of memory.
void CompareModels(const Model& a, const Model& b, const Selection& selection,
                   const Tolerance& tolerance, const DifferenceSink& sink, bool isAhead = false,
                   const std::pair<LostData, LostData>& lost = {});

}  // namespace LbtTev::Analysis
