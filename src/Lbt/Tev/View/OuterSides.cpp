// Finds the faces of solids that no other solid shares.

#include "OuterSides.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <future>
#include <iterator>
#include <tuple>
#include <utility>

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
  unsigned int d = kNoNode;
  Order(a, b);
  if (face.corners == kMostCorners) {
    d = nodes[face.corner[3]];
    Order(c, d);
    Order(b, d);
  }
  Order(a, c);
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

/// A side of a solid. There are at most 2^28 solids, as each has four nodes in a block of at most
/// 2^32 bytes.
struct SideOfSolid {
  std::uint32_t solid = 0;
  std::uint32_t side = 0;
};

/// What of a face is not told by the list that it stands in, which is that of its least node.
struct ListedFace {
  std::uint64_t secondAndThird;  ///< as one number, which is compared at once
  unsigned int fourth;
  SideOfSolid side;

  ListedFace(const FaceKey& key, SideOfSolid sideOfSolid)
      : secondAndThird(std::uint64_t{key[1]} << 32U | key[2]), fourth(key[3]), side(sideOfSolid) {}

  /// Whether three corners are left.
  [[nodiscard]] bool IsFace() const { return static_cast<unsigned int>(secondAndThird) != kNoNode; }
  [[nodiscard]] auto Key() const { return std::tie(secondAndThird, fourth); }
  [[nodiscard]] auto Order() const {
    return std::tie(secondAndThird, fourth, side.solid, side.side);
  }

  /// A number that differs for faces that differ, as far as 64 bits go: the last steps of
  /// SplitMix64, which lose nothing.
  [[nodiscard]] std::uint64_t Hash() const {
    std::uint64_t hash = secondAndThird + fourth * std::uint64_t{0x9e3779b97f4a7c15};
    hash = (hash ^ hash >> 30U) * 0xbf58476d1ce4e5b9;
    hash = (hash ^ hash >> 27U) * 0x94d049bb133111eb;
    return hash ^ hash >> 31U;
  }
};

/// The solids of a mesh.
class Solids {
 public:
  Solids(const LoadedMesh& mesh, std::span<const CellShape> shapes) : nodes_(mesh.faces) {
    std::size_t first = 0;
    for (std::size_t element = 0; element < shapes.size(); ++element) {
      if (const auto faces = FacesOf(shapes[element]); !faces.empty()) {
        shapes_.at(static_cast<std::size_t>(shapes[element])) = {faces, CornersOf(shapes[element])};
        solids_.push_back({static_cast<std::uint32_t>(first), shapes[element]});
      }
      first += mesh.lengths[element];
    }
  }

  [[nodiscard]] std::size_t Count() const { return solids_.size(); }

  [[nodiscard]] std::span<const SolidFace> FacesOfSolid(std::size_t solid) const {
    return ShapeOf(solid).faces;
  }

  /// From the first node of a solid on.
  [[nodiscard]] std::span<const unsigned int> NodesFrom(std::size_t solid) const {
    return nodes_.subspan(solids_[solid].first);
  }

  [[nodiscard]] bool HasRepeatedCorners(std::size_t solid) const {
    const auto corners = NodesFrom(solid).first(ShapeOf(solid).corners);
    bool isRepeated = false;
    for (std::size_t i = 1; i < corners.size(); ++i) {
      for (std::size_t other = 0; other < i; ++other) {
        isRepeated = isRepeated || corners[other] == corners[i];
      }
    }
    return isRepeated;
  }

 private:
  struct Solid {
    std::uint32_t first = 0;  // of its nodes
    CellShape shape{};
  };

  struct Shape {
    std::span<const SolidFace> faces{};
    std::size_t corners = 0;
  };

  [[nodiscard]] const Shape& ShapeOf(std::size_t solid) const {
    return shapes_[static_cast<std::size_t>(solids_[solid].shape)];
  }

  std::span<const unsigned int> nodes_;
  std::array<Shape, 32> shapes_{};
  std::vector<Solid> solids_;
};

/// Tells of each node whether the faces that have it as their least one may not all be shared.
/// Inside a body each is there twice, so that the exclusive or of their hashes is 0; by accident it
/// is so once in 2^64 times.
class FaceSums {
 public:
  FaceSums(const Solids& solids, std::size_t points, std::size_t begin, std::size_t end)
      : sums_(points), areOdd_(points) {
    for (std::size_t solid = begin; solid < end; ++solid) {
      const auto nodes = solids.NodesFrom(solid);
      const bool isOdd = solids.HasRepeatedCorners(solid);  // it may share faces with itself
      for (const SolidFace& face : solids.FacesOfSolid(solid)) {
        const FaceKey key = KeyOf(face, nodes);
        sums_[key[0]] ^= ListedFace(key, {}).Hash();
        if (isOdd) {
          areOdd_[key[0]] = true;
        }
      }
    }
  }

  /// Takes those of other solids.
  void Add(const FaceSums& other) {
    for (std::size_t node = 0; node < sums_.size(); ++node) {
      sums_[node] ^= other.sums_[node];
      areOdd_[node] = areOdd_[node] || other.areOdd_[node];
    }
  }

  [[nodiscard]] std::size_t Nodes() const { return sums_.size(); }
  [[nodiscard]] bool MayBeOuter(std::size_t node) const {
    return sums_[node] != 0 || areOdd_[node];
  }

 private:
  std::vector<std::uint64_t> sums_;
  std::vector<bool> areOdd_;
};

/// Another thread helps with large meshes where there is one.
FaceSums SumsOf(const Solids& solids, std::size_t points, std::size_t threads) {
  constexpr std::size_t kMany = 100000;
  const std::size_t all = solids.Count();
  if (threads == 0 || all < kMany) {
    return {solids, points, 0, all};
  }
  auto others = std::async(std::launch::async | std::launch::deferred, [&solids, points, all] {
    return FaceSums(solids, points, all / 2, all);
  });
  FaceSums sums(solids, points, 0, all / 2);
  sums.Add(others.get());
  return sums;
}

/// Faces that may be outer ones, listed by their least nodes. A list is a chain of sides, the last
/// of which comes first.
class FaceLists {
 public:
  FaceLists(const Solids& solids, const FaceSums& sums)
      : solids_(&solids), last_(sums.Nodes(), kNone) {
    for (std::uint32_t solid = 0; solid < solids.Count(); ++solid) {
      const auto nodes = solids.NodesFrom(solid);
      std::uint32_t side = 0;
      for (const SolidFace& face : solids.FacesOfSolid(solid)) {
        if (const unsigned int least = LeastOf(face, nodes); sums.MayBeOuter(least)) {
          links_.push_back({{solid, side}, std::exchange(last_[least], links_.size())});
        }
        ++side;
      }
    }
  }

  void Get(std::size_t node, std::vector<ListedFace>& list) const {
    list.clear();
    for (std::size_t link = last_[node]; link != kNone; link = links_[link].before) {
      const SideOfSolid side = links_[link].side;
      list.emplace_back(
          KeyOf(solids_->FacesOfSolid(side.solid)[side.side], solids_->NodesFrom(side.solid)),
          side);
    }
  }

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  struct Link {
    SideOfSolid side{};
    std::size_t before = kNone;
  };

  const Solids* solids_;
  std::vector<std::size_t> last_;  // by nodes
  std::vector<Link> links_;
};

/// Sets the bits of those faces of a list that no two solids share.
void MarkOuter(std::span<ListedFace> list, OuterSides& outer) {
  std::ranges::sort(list,
                    [](const ListedFace& a, const ListedFace& b) { return a.Order() < b.Order(); });
  for (auto first = list.begin(); first != list.end();) {
    const auto next = std::find_if(
        first, list.end(), [&](const ListedFace& other) { return other.Key() != first->Key(); });
    const SideOfSolid side = first->side;
    if (first->IsFace() && std::prev(next)->side.solid == side.solid) {
      outer[side.solid] |= static_cast<unsigned char>(1U << side.side);
    }
    first = next;
  }
}

}  // namespace

OuterSides OuterSidesOf(const LoadedMesh& mesh, std::span<const CellShape> shapes,
                        std::size_t threads) {
  const Solids solids(mesh, shapes);
  const FaceLists lists(solids, SumsOf(solids, mesh.Points(), threads));
  OuterSides outer(solids.Count());
  std::vector<ListedFace> list;
  for (std::size_t node = 0; node < mesh.Points(); ++node) {
    lists.Get(node, list);
    MarkOuter(list, outer);
  }
  return outer;
}

}  // namespace LbtTev::View
