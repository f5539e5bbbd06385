#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Attributes.h"
#include "Records.h"
#include "Variable.h"

namespace tevtest {

/// A node of a ModelWriter: the ordinal of its record, counted from 1; 0 is none. It is also the
/// node's id as long as no other is set.
using NodeRef = std::uint32_t;

/// What a group of the record's version stores of it: nothing in "0.0a" and "0.1", the transform in
/// "0.2", the attributes too in "0.3", the byte as well in every other.
struct GroupContent {
  std::array<float, 3> translation{0.0F, 0.0F, 0.0F};
  std::array<float, 4> rotation{0.0F, 0.0F, 1.0F, 0.0F};
  std::array<float, 3> scale{1.0F, 1.0F, 1.0F};
  AttributeSet attributes{};
  std::uint8_t groupByte = 0;
};

struct ShapeContent {
  std::optional<MaterialRecord> material{};  ///< written to the resources if there is one
};

/// Versions "0.5", "0.6" and "0.7" have a layout of their own; every other takes the old one.
struct GeometryContent {
  std::vector<Variable> variables{};
  std::optional<std::uint32_t> count{};  ///< in place of the number of variables
};

struct NodeSetsContent {
  NodeSetLists lists{};
  std::optional<std::uint32_t> setCount{};       ///< in place of the number of sets
  std::optional<std::uint64_t> heavyPosition{};  ///< in place of where the lists are stored
  std::uint32_t third = 0;
  std::optional<std::string> lightBytes{};  ///< in place of the 16 bytes; the size goes before them
  std::optional<std::string> heavyBytes{};  ///< in place of the five lists
};

/// A node of a kind that readers of today do not know.
struct FutureContent {
  std::string lightBytes{};
  std::optional<std::uint32_t> size{};  ///< in place of the true size
};

/// One record of the tree, with what belongs to it in the other streams. A link that is not set
/// follows from "under" and the order in which the nodes were added.
struct NodeSpec {
  std::string type{};
  std::string version{};
  std::string name{};
  NodeRef under = 0;

  std::optional<std::uint32_t> id{};
  std::optional<std::uint32_t> parent{};
  std::optional<std::uint32_t> previousSibling{};
  std::optional<std::uint32_t> nextSibling{};
  std::optional<std::uint32_t> firstChild{};
  std::optional<std::uint32_t> lastChild{};

  /// Else where the node's light data starts, or 0 for a node without any.
  std::optional<std::uint64_t> lightPosition{};

  std::variant<std::monostate, GroupContent, ShapeContent, GeometryContent, NodeSetsContent,
               FutureContent>
      content{};

  /// The content of the given kind; throws std::bad_variant_access when the node is of another.
  [[nodiscard]] GroupContent& Group() { return std::get<GroupContent>(content); }
  [[nodiscard]] ShapeContent& Shape() { return std::get<ShapeContent>(content); }
  [[nodiscard]] GeometryContent& Geometry() { return std::get<GeometryContent>(content); }
  [[nodiscard]] NodeSetsContent& NodeSets() { return std::get<NodeSetsContent>(content); }
  [[nodiscard]] FutureContent& Future() { return std::get<FutureContent>(content); }
};

}  // namespace tevtest
