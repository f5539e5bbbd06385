#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "Lbt/Tev/Analysis/LoadedMesh.h"
#include "Lbt/Tev/Exchange/Contents.h"

namespace LbtTev::Exchange {

using Analysis::ForCells;
using Analysis::LoadedMesh;
using Analysis::ShapesOf;
using Analysis::WantedMesh;

/// The bytes of numbers in memory, which are little-endian as those of all formats here.
template <class T>
[[nodiscard]] std::span<const std::byte> AllBytes(const std::vector<T>& numbers) {
  return std::as_bytes(std::span<const T>(numbers));
}

/// How many of its stored ids a mesh takes, from the first on: one for each node or element; none
/// where these are more. Points that stand for elements have no ids.
[[nodiscard]] std::size_t IdsTaken(const Analysis::MeshVariables& mesh, Analysis::Location of);

/// Whether there are ids, but not for all nodes or elements.
[[nodiscard]] bool HasFewIds(const Analysis::MeshVariables& mesh, Analysis::Location of);

/// A node set, with the ids of its nodes in order.
struct SortedSet {
  std::string name;
  std::vector<std::int64_t> ids;

  [[nodiscard]] bool Has(std::int32_t id) const {
    return std::ranges::binary_search(ids, std::int64_t{id});
  }
};

/// All node sets of a model. Throws "Out of Bounds" ("The model refers to its data too often").
[[nodiscard]] std::vector<SortedSet> SortedSetsOf(const Tree& tree);

/// Throws "Model Error": there are meshes, and none can be read.
[[noreturn]] void RaiseNoMesh();

}  // namespace LbtTev::Exchange
