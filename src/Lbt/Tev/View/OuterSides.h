#pragma once

#include <span>
#include <vector>

#include "Lbt/Tev/Analysis/LoadedMesh.h"

namespace LbtTev::View {

/// For each solid of a mesh the sides, as bits in the order of FacesOf, that no other solid has.
using OuterSides = std::vector<unsigned char>;

/// Takes time in proportion to the mesh, but for nodes that very many faces share. A corner that an
/// element names again does not count, and a side with fewer than three others is none; of sides of
/// one element with the same corners the first counts. Another
/// thread helps where "threads" is not 0.
[[nodiscard]] OuterSides OuterSidesOf(const Analysis::LoadedMesh& mesh,
                                      std::span<const Analysis::CellShape> shapes,
                                      std::size_t threads = 0);

}  // namespace LbtTev::View
