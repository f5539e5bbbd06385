#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "Lbt/Tev/Check/Finding.h"
#include "Lbt/Tev/Geometry.h"

namespace LbtTev::Check {

/// Whether an array has numbers of its own or through a link, in the file or read with its record.
[[nodiscard]] inline bool HasNumbers(const LbtTev::NumericArray& array) {
  return array.loader != nullptr || array.storedBytes != nullptr;
}

/// What whole numbers come to that are the faces of a mesh or their lengths.
struct WholeNumbers {
  std::uint64_t count = 0;
  std::uint64_t sum = 0;
  std::uint64_t highest = 0;
  std::uint64_t highestAt = 0;  ///< the first one that is it
};

/// What is wrong with a variable of a mesh.
struct MeshFault {
  Finding::Kind kind{};
  std::size_t variable = 0;  ///< its place in the geometry
  std::uint64_t element = 0;
  std::uint64_t claimed = 0;
  std::uint64_t found = 0;
};

/// Checks the meshes of a geometry at all of its steps: whether lengths make up the lists of faces,
/// and whether these name no node that the mesh has not. "numbersOf" gives what the numbers of a
/// variable come to, null where they are not known: nothing is said of those. Each variable is told
/// of at most once for each kind, with the least nodes that its meshes have.
void CheckMeshes(
    const LbtTev::Geometry& geometry,
    const std::function<const WholeNumbers*(const LbtTev::NumericArray& array)>& numbersOf,
    const std::function<void(const MeshFault& fault)>& tell);

}  // namespace LbtTev::Check
