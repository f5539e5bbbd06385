// Finds the faces of solids that no other solid shares.

#include "OuterSides.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <tuple>

#include "SolidFaces.h"

namespace LbtTev::View {

using Analysis::CellShape;
using Analysis::LoadedMesh;

namespace {

constexpr std::size_t kMostCorners = 4;  // of a face of a solid
constexpr unsigned int kNoNode = static_cast<unsigned int>(-1);

/// The corners of a face of a solid, each once, in ascending order, then kNoNode.
using FaceKey = std::array<unsigned int, kMostCorners>;

FaceKey KeyOf(const SolidFace& face, std::span<const unsigned int> nodes) {
  FaceKey key{kNoNode, kNoNode, kNoNode, kNoNode};
  for (std::size_t i = 0; i < face.corners; ++i) {
    key[i] = nodes[face.corner[i]];
  }
  const auto order = [&key](std::size_t a, std::size_t b) {
    const unsigned int less = std::min(key[a], key[b]);
    key[b] = std::max(key[a], key[b]);
    key[a] = less;
  };
  order(0, 1);
  order(2, 3);
  order(0, 2);
  order(1, 3);
  order(1, 2);
  if (key[0] == key[1] || key[1] == key[2] || key[2] == key[3]) {
    std::fill(std::unique(key.begin(), key.end()), key.end(), kNoNode);
  }
  return key;
}

/// Whether three corners are left.
bool IsFace(const FaceKey& key) { return key[2] != kNoNode; }

/// What of a face is not told by the list that it stands in, which is that of its least node.
struct ListedFace {
  unsigned int second = 0;
  unsigned int third = 0;
  unsigned int fourth = 0;
  unsigned int side = 0;
  std::size_t element = 0;

  [[nodiscard]] auto Key() const { return std::tie(second, third, fourth); }
  [[nodiscard]] auto Order() const { return std::tie(second, third, fourth, element, side); }
};

/// Sets the bits of the faces that stand alone in a list.
void MarkOuter(std::span<ListedFace> list, OuterSides& outer) {
  std::ranges::sort(list,
                    [](const ListedFace& a, const ListedFace& b) { return a.Order() < b.Order(); });
  for (auto first = list.begin(); first != list.end();) {
    const auto next = std::find_if(
        first, list.end(), [&](const ListedFace& other) { return other.Key() != first->Key(); });
    if (std::prev(next)->element == first->element) {
      outer[first->element] |= static_cast<unsigned char>(1U << first->side);
    }
    first = next;
  }
}

/// Calls "take" with the key, the element and the side of each face of a solid.
template <class Take>
void ForSolidFaces(const LoadedMesh& mesh, std::span<const CellShape> shapes, const Take& take) {
  std::size_t next = 0;
  for (std::size_t element = 0; element < shapes.size(); ++element) {
    const std::span<const SolidFace> faces = FacesOf(shapes[element]);
    for (std::size_t side = 0; side < faces.size(); ++side) {
      const FaceKey key = KeyOf(faces[side], mesh.faces.subspan(next, mesh.lengths[element]));
      if (IsFace(key)) {
        take(key, element, side);
      }
    }
    next += mesh.lengths[element];
  }
}

}  // namespace

// Faces are listed by their least node: like ones are found among the few of one list.
OuterSides OuterSidesOf(const LoadedMesh& mesh, std::span<const CellShape> shapes) {
  std::vector<std::size_t> ends(mesh.Points() + 1);
  ForSolidFaces(mesh, shapes,
                [&](const FaceKey& key, std::size_t, std::size_t) { ++ends[key[0] + 1]; });
  for (std::size_t node = 1; node < ends.size(); ++node) {
    ends[node] += ends[node - 1];
  }
  std::vector<ListedFace> faces(ends.back());
  // The beginning of each list becomes its end on the way.
  ForSolidFaces(mesh, shapes, [&](const FaceKey& key, std::size_t element, std::size_t side) {
    faces[ends[key[0]]++] = {key[1], key[2], key[3], static_cast<unsigned int>(side), element};
  });
  OuterSides outer(shapes.size());
  std::size_t begin = 0;
  for (std::size_t node = 0; node < mesh.Points(); ++node) {
    MarkOuter(std::span(faces).subspan(begin, ends[node] - begin), outer);
    begin = ends[node];
  }
  return outer;
}

}  // namespace LbtTev::View
