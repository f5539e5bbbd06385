#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Lbt/Tev/Analysis/Arrays.h"
#include "Lbt/Tev/Analysis/Cells.h"
#include "Lbt/Tev/Exchange/Contents.h"
#include "PartMesh.h"

namespace LbtTev::Exchange {

/// A part's place in a grid of all.
struct Member {
  std::size_t part = 0;
  Analysis::MeshVariables mesh{};
  bool isThere = false;  ///< its mesh can be read
  Analysis::UsedNodes used{0};
  std::size_t cells = 0;
  std::size_t connectivity = 0;
  std::uint64_t firstPoint = 0;
  std::uint64_t firstCell = 0;
  std::uint64_t firstConnectivity = 0;
};

struct GridMembers {
  std::vector<Member> all{};
  std::uint64_t points = 0;
  std::uint64_t cells = 0;
  std::uint64_t connectivity = 0;
};

/// Finds which parts have a mesh at a step that can be read, and gives each its place. Throws
/// "Model Error" where there are meshes and none can be read.
[[nodiscard]] GridMembers FindMembers(const Contents& contents, PlaceInTime step,
                                      const CellRules& rules, const Listener& listener);

/// The tuples of the nodes that are used.
[[nodiscard]] std::vector<float> UsedTuples(const Analysis::UsedNodes& used,
                                            std::span<const float> values, std::size_t width);

/// Where each of a part's "nodes" nodes stands among the points of the grid; of those that are not
/// used it says nothing.
[[nodiscard]] std::vector<std::uint64_t> NewPlaces(const Member& member, std::size_t nodes);

}  // namespace LbtTev::Exchange
