#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Util/AttributeValue.h"

namespace LbtTev::Analysis {

/// A program that wrote or changed the model.
struct Program {
  /// "original modification" for the first of several, "latest translation" for the last one,
  /// else empty.
  std::string_view role;
  const ModifierInfo* record = nullptr;
  std::optional<std::string> dateIso;  ///< its date in ISO 8601, where it can be read
};

/// In the order of the file. They refer to the tree.
[[nodiscard]] std::vector<Program> ProgramsOf(const Tree& tree);

/// A date as programs write it ("Mon Mar  4 09:12:44 2024", "2024-03-04 09:12:44", with or
/// without the time), as "2024-03-04T09:12:44"; none for any other text.
[[nodiscard]] std::optional<std::string> IsoDate(const std::string& text);

/// The unit of lengths and what to multiply them with for metres, as the model says.
struct Units {
  std::optional<std::string> length;
  std::optional<double> scale;
};

/// The attributes of the root that tell of units.
inline constexpr std::string_view kLengthUnit = "Length Unit";
inline constexpr std::string_view kUnitScale = "Unit Scale";

[[nodiscard]] Units UnitsOf(const Tree& tree);

/// The value of a number of any kind; none for a text.
[[nodiscard]] std::optional<double> NumberOf(const LbtUtil::AttributeValue& value);

/// All node sets of a model, in order of the nodes that hold them. They belong to the tree. Sets
/// that several nodes share come for each of them, as far as the budget of a request allows.
[[nodiscard]] std::vector<const NodeSets::NodeSet*> NodeSetsOf(const Tree& tree);

}  // namespace LbtTev::Analysis
