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

void Order(unsigned int& a, unsigned int& b) {
  const unsigned int less = std::min(a, b);
  b = std::max(a, b);
  a = less;
}

FaceKey KeyOf(const SolidFace& face, std::span<const unsigned int> nodes) {
  unsigned int a = nodes[face.corner[0]];
  unsigned int b = nodes[face.corner[1]];
  unsigned int c = nodes[face.corner[2]];
  unsigned int d = face.corners == kMostCorners ? nodes[face.corner[3]] : kNoNode;
  Order(a, b);
  Order(c, d);
  Order(a, c);
  Order(b, d);
  Order(b, c);
  FaceKey key{a, b, c, d};
  if (a == b || b == c || c == d) {
    std::fill(std::unique(key.begin(), key.end()), key.end(), kNoNode);
  }
  return key;
}

/// The least corner, which the key begins with.
unsigned int LeastOf(const SolidFace& face, std::span<const unsigned int> nodes) {
  return std::min({nodes[face.corner[0]], nodes[face.corner[1]], nodes[face.corner[2]],
                   nodes[face.corners == kMostCorners ? face.corner[3] : face.corner[0]]});
}

/// What of a face is not told by the list that it stands in, which is that of its least node.
struct ListedFace {
  unsigned int second = 0;
  unsigned int third = 0;
  unsigned int fourth = 0;
  unsigned int side = 0;
  std::size_t element = 0;

  /// Whether three corners are left.
  [[nodiscard]] bool IsFace() const { return third != kNoNode; }
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
    if (first->IsFace() && std::prev(next)->element == first->element) {
      outer[first->element] |= static_cast<unsigned char>(1U << first->side);
    }
    first = next;
  }
}

/// Calls "take" with each face of a solid, the nodes of its element, the element and the side.
template <class Take>
void ForSolidFaces(const LoadedMesh& mesh, std::span<const CellShape> shapes, const Take& take) {
  std::size_t next = 0;
  for (std::size_t element = 0; element < shapes.size(); ++element) {
    const std::span<const SolidFace> faces = FacesOf(shapes[element]);
    const auto nodes = mesh.faces.subspan(next, mesh.lengths[element]);
    for (std::size_t side = 0; side < faces.size(); ++side) {
      take(faces[side], nodes, element, side);
    }
    next += nodes.size();
  }
}

}  // namespace

// Faces are listed by their least node: like ones are found among the few of one list.
OuterSides OuterSidesOf(const LoadedMesh& mesh, std::span<const CellShape> shapes) {
  std::vector<std::size_t> ends(mesh.Points() + 1);
  ForSolidFaces(mesh, shapes, [&](const SolidFace& face, auto nodes, std::size_t, std::size_t) {
    ++ends[LeastOf(face, nodes) + 1];
  });
  for (std::size_t node = 1; node < ends.size(); ++node) {
    ends[node] += ends[node - 1];
  }
  std::vector<ListedFace> faces(ends.back());
  // The beginning of each list becomes its end on the way.
  ForSolidFaces(
      mesh, shapes, [&](const SolidFace& face, auto nodes, std::size_t element, std::size_t side) {
        const FaceKey key = KeyOf(face, nodes);
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
