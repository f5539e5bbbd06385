#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "FindingLog.h"
#include "Lbt/Tev/Tree.h"
#include "StreamMap.h"

namespace LbtTev::Check {

/// What loading a tree has shown of its nodes, by id.
struct LoadedNodes {
  /// Whether the file may have such a node which was not loaded: of a link to it, nothing can be
  /// said.
  std::function<bool(unsigned int id)> mayBeUnread;
  /// Tells in a finding where the record of a geometry is, as far as that is known.
  std::function<void(unsigned int id, Finding& finding)> place;
};

/// Checks the variables of all geometries of a tree, and loads the data of each. "map" is that
/// of the heavy data. Returns the bytes of it that the variables refer to, as half-open ranges.
[[nodiscard]] std::vector<std::pair<std::uint64_t, std::uint64_t>> CheckVariables(
    const LbtTev::Tree& tree, const StreamMap& map, BlockSurvey& survey, const LoadedNodes& nodes,
    FindingLog& log);

}  // namespace LbtTev::Check
