#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <vector>

#include "Lbt/Tev/Analysis/Arrays.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Selection.h"
#include "Lbt/Tev/View/PageContents.h"

namespace LbtTev::View {

/// What a mesh is stored as.
using MeshKey = std::array<Analysis::ArrayKey, 5>;

[[nodiscard]] inline MeshKey MeshKeyOf(const Analysis::MeshVariables& mesh) {
  MeshKey key;
  std::ranges::transform(Analysis::kMeshRoles, key.begin(), [&mesh](Analysis::MeshRole role) {
    return mesh.*role == nullptr ? Analysis::ArrayKey() : Analysis::ArrayKey((mesh.*role)->array);
  });
  return key;
}

/// A mesh that one or several parts have, at one or several steps.
struct SharedMesh {
  Analysis::MeshOfPart first{};                               ///< one of those that have it
  std::set<std::size_t> marked{};                             ///< nodes that are points even inside
  std::set<std::size_t> elements{};                           ///< those whose nodes are
  std::vector<std::size_t> points{};                          ///< nodes, in ascending order
  std::vector<std::size_t> faces{};                           ///< the element of each face
  std::map<std::size_t, std::vector<std::size_t>> nodesOf{};  ///< of those elements
  PageMesh page{};
  bool isThere = false;  ///< its skin was or is being taken

  /// Finds the nodes of "elements", which are marked then.
  void TakeElements(std::span<const unsigned int> allNodes, std::span<const unsigned int> lengths);

  /// Puts the points and the faces of the mesh on a page.
  void TakeSkin(const PartSkin& part, Page& into);

  /// Puts the ids of its points and faces on a page: loaded ids of nodes, and of elements.
  void TakeIds(const Analysis::LoadedGroup& loaded, Page& into);

  [[nodiscard]] std::size_t PointOf(std::size_t node) const {
    return static_cast<std::size_t>(std::ranges::lower_bound(points, node) - points.begin());
  }

 private:
  void TakeFaces(const Skin& skin, std::span<const std::uint32_t> pointOf, Page& into);
};

}  // namespace LbtTev::View
