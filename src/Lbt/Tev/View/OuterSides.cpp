// Finds the faces of solids that no other solid shares.

#include "OuterSides.h"

#include <algorithm>
#include <array>
#include <bit>
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
};

/// Finds the faces of short lists that are alike by a table of hashes that stays in the cache.
class FewFaces {
 public:
  static constexpr std::size_t kMost = 64;

  explicit FewFaces(std::span<const ListedFace> list) : list_(list) {
    slots_.fill(kFree);
    for (std::size_t i = 0; i < list.size(); ++i) {
      Add(i);
    }
  }

  /// Calls "take" with the first of the faces of each kind that no two solids have.
  template <class Take>
  void ForOuter(const Take& take) const {
    for (std::uint64_t left = first_ & ~shared_; left != 0; left &= left - 1) {
      take(list_[static_cast<std::size_t>(std::countr_zero(left))]);
    }
  }

 private:
  static constexpr std::size_t kSlots = 2 * kMost;
  static constexpr std::uint8_t kFree = 0xff;

  void Add(std::size_t place) {
    constexpr std::uint64_t kMixing = 0x9e3779b97f4a7c15;  // 2^64 by the golden ratio
    constexpr unsigned int kShift = 64 - std::countr_zero(kSlots);
    const ListedFace& face = list_[place];
    std::size_t slot = (face.secondAndThird + face.fourth) * kMixing >> kShift;
    for (; slots_[slot] != kFree; slot = (slot + 1) % kSlots) {
      const ListedFace& other = list_[slots_[slot]];
      if (other.Key() == face.Key()) {
        shared_ |= std::uint64_t{other.side.solid != face.side.solid ? 1U : 0U} << slots_[slot];
        return;
      }
    }
    slots_[slot] = static_cast<std::uint8_t>(place);
    first_ |= std::uint64_t{1} << place;
  }

  std::span<const ListedFace> list_;
  std::array<std::uint8_t, kSlots> slots_{};  // places in the list
  std::uint64_t first_ = 0;                   // a bit for each that is like none before it
  std::uint64_t shared_ = 0;                  // of those, a bit where another solid has it, too
};

/// Adds those faces of a list that no two solids share. It is in the order of solids and their
/// sides.
void AddOuter(std::span<ListedFace> list, std::vector<SideOfSolid>& outer) {
  const auto add = [&outer](const ListedFace& face) {
    if (face.IsFace()) {
      outer.push_back(face.side);
    }
  };
  if (list.size() <= FewFaces::kMost) {
    FewFaces(list).ForOuter(add);
    return;
  }
  std::ranges::sort(list,
                    [](const ListedFace& a, const ListedFace& b) { return a.Order() < b.Order(); });
  for (auto first = list.begin(); first != list.end();) {
    const auto next = std::find_if(
        first, list.end(), [&](const ListedFace& other) { return other.Key() != first->Key(); });
    if (std::prev(next)->side.solid == first->side.solid) {
      add(*first);
    }
    first = next;
  }
}

/// The solids of a mesh, and their faces listed by their least nodes. Each list is a chain of
/// sides, the last of which comes first: of large meshes memory is what takes the time.
class ListedFaces {
 public:
  ListedFaces(const LoadedMesh& mesh, std::span<const CellShape> shapes)
      : nodes_(mesh.faces), last_(mesh.Points(), kNone) {
    std::size_t first = 0;
    for (std::size_t element = 0; element < shapes.size(); ++element) {
      if (const auto faces = FacesOf(shapes[element]); !faces.empty()) {
        facesOf_.at(static_cast<std::size_t>(shapes[element])) = faces;
        bits_ = std::max(bits_, static_cast<unsigned int>(std::bit_width(faces.size() - 1)));
        solids_.push_back({static_cast<std::uint32_t>(first), shapes[element]});
      }
      first += mesh.lengths[element];
    }
    Link();
  }

  [[nodiscard]] std::size_t Solids() const { return solids_.size(); }

  /// Fills "list" with the faces that have this least node, in the order of solids and their sides.
  void Get(std::size_t node, std::vector<ListedFace>& list) const {
    list.clear();
    for (std::uint32_t side = last_[node]; side != kNone; side = before_[side]) {
      const std::uint32_t number = side >> bits_;
      const Solid& solid = solids_[number];
      const std::uint32_t place = side & ((1U << bits_) - 1);
      list.emplace_back(KeyOf(FacesOfSolid(solid)[place], nodes_.subspan(solid.first)),
                        SideOfSolid{number, place});
    }
    std::ranges::reverse(list);
  }

 private:
  static constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);

  struct Solid {
    std::uint32_t first = 0;  // of its nodes
    CellShape shape{};
  };

  [[nodiscard]] std::span<const SolidFace> FacesOfSolid(const Solid& solid) const {
    return facesOf_[static_cast<std::size_t>(solid.shape)];
  }

  void Link() {
    before_.resize(solids_.size() << bits_);
    for (std::size_t number = 0; number < solids_.size(); ++number) {
      const auto nodes = nodes_.subspan(solids_[number].first);
      auto side = static_cast<std::uint32_t>(number << bits_);
      for (const SolidFace& face : FacesOfSolid(solids_[number])) {
        before_[side] = std::exchange(last_[LeastOf(face, nodes)], side);
        ++side;
      }
    }
  }

  std::span<const unsigned int> nodes_;
  std::array<std::span<const SolidFace>, 32> facesOf_{};  // by shapes
  unsigned int bits_ = 0;  // of the side in a number of solid and side
  std::vector<Solid> solids_;
  std::vector<std::uint32_t> last_;    // by nodes
  std::vector<std::uint32_t> before_;  // by sides
};

/// The outer faces whose least nodes are in a range. Of the few faces of one list like ones are
/// found quickly.
std::vector<SideOfSolid> OuterWithin(const ListedFaces& faces, std::size_t begin, std::size_t end) {
  std::vector<SideOfSolid> outer;
  std::vector<ListedFace> list;
  for (std::size_t node = begin; node < end; ++node) {
    faces.Get(node, list);
    AddOuter(list, outer);
  }
  return outer;
}

}  // namespace

OuterSides OuterSidesOf(const LoadedMesh& mesh, std::span<const CellShape> shapes,
                        std::size_t threads) {
  constexpr std::size_t kLeastNodes = 20000;  // for a thread to be worth its start
  const ListedFaces faces(mesh, shapes);
  const std::size_t pieces = std::clamp<std::size_t>(mesh.Points() / kLeastNodes, 1, threads + 1);
  std::vector<std::future<std::vector<SideOfSolid>>> found;
  for (std::size_t piece = 0; piece < pieces; ++piece) {
    const std::size_t begin = mesh.Points() * piece / pieces;
    const std::size_t end = mesh.Points() * (piece + 1) / pieces;
    const bool isLast = piece + 1 == pieces;
    found.push_back(
        std::async(isLast ? std::launch::deferred : std::launch::async | std::launch::deferred,
                   [&faces, begin, end] { return OuterWithin(faces, begin, end); }));
  }
  OuterSides outer(faces.Solids());
  std::ranges::reverse(found);  // the last piece is the caller's
  for (auto& piece : found) {
    for (const SideOfSolid& side : piece.get()) {
      outer[side.solid] |= static_cast<unsigned char>(1U << side.side);
    }
  }
  return outer;
}

}  // namespace LbtTev::View
