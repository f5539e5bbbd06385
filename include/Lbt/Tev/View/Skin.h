#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "Lbt/Tev/Analysis/Cells.h"
#include "Lbt/Tev/Analysis/LoadedMesh.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"

/// Models as pictures and pages.
namespace LbtTev::View {

/// What of a mesh is seen from outside: the faces of solids that no other solid shares, and all
/// elements that are no solids, in the order of their elements. A face may be a line or a point.
/// Corners of solids' faces go around so that the normal points outward.
class Skin {
 public:
  using Triangle = std::array<unsigned int, 3>;  ///< nodes

  [[nodiscard]] std::size_t Faces() const { return elements_.size(); }

  /// The place of the element that a face belongs to.
  [[nodiscard]] std::size_t ElementOf(std::size_t face) const { return elements_[face]; }

  /// The nodes around a face, those in the middle of edges among them: its edges lead from each to
  /// the next, and from the last to the first. Two are a line, one is a point, none is nothing.
  [[nodiscard]] std::span<const unsigned int> OutlineOf(std::size_t face) const {
    return PieceOf(outlines_, outlineEnds_, face);
  }

  /// The triangles that a face consists of; none for lines and points.
  [[nodiscard]] std::span<const Triangle> TrianglesOf(std::size_t face) const {
    return PieceOf(triangles_, triangleEnds_, face);
  }

  /// Those of all faces, one face after another.
  [[nodiscard]] std::span<const Triangle> Triangles() const { return triangles_; }

  /// Adds a face by the nodes around it. "hasMiddles": every second one is the middle of an edge.
  /// "coordinates" are three for each node.
  void Add(std::size_t element, std::span<const unsigned int> outline, bool hasMiddles,
           std::span<const float> coordinates);

  [[nodiscard]] std::size_t Bytes() const;

 private:
  template <class T>
  [[nodiscard]] static std::span<const T> PieceOf(const std::vector<T>& all,
                                                  const std::vector<std::size_t>& ends,
                                                  std::size_t face) {
    const std::size_t begin = face == 0 ? 0 : ends[face - 1];
    return std::span(all).subspan(begin, ends[face] - begin);
  }

  std::vector<std::size_t> elements_;
  std::vector<unsigned int> outlines_;
  std::vector<std::size_t> outlineEnds_;
  std::vector<Triangle> triangles_;
  std::vector<std::size_t> triangleEnds_;
};

/// The skin of a mesh whose elements become what "rules" say. Takes time and memory in proportion
/// to the mesh. A corner that a solid names again does not count; a face of fewer than three others
/// is none.
[[nodiscard]] Skin SkinOf(const Analysis::LoadedMesh& mesh, const Analysis::CellRules& rules,
                          std::size_t threads = 0);

/// What is seen of a part at a step.
struct PartSkin {
  std::shared_ptr<const std::vector<float>> coordinates{};     ///< three for each node
  std::shared_ptr<const Skin> skin{};                          ///< its nodes are among these
  std::shared_ptr<const std::vector<unsigned int>> faces{};    ///< nodes of all elements
  std::shared_ptr<const std::vector<unsigned int>> lengths{};  ///< of these; null without faces
  Analysis::TakenShapes taken{};  ///< what elements became; empty for a part without faces
};

/// Takes the skin of a mesh, by its place in a list, and why it is missing; else null.
using TakeSkin =
    std::function<void(std::size_t place, const PartSkin& skin, const std::exception_ptr& failure)>;

/// Hands out the skins of meshes, by their place in the list, in one pass through the file; parts
/// and steps that share their meshes share skins. A mesh that cannot be read is handed out with its
/// failure and without pointers, and one without coordinates without either. Blocks
/// are inflated ahead on "threads" other threads, which also help to find skins.
///
/// Throws on a lack of memory, and what "take" throws.
void GatherSkins(const Analysis::Model& model, std::span<const Analysis::MeshOfPart> meshes,
                 const Analysis::CellRules& rules, const TakeSkin& take, std::size_t threads = 0);

}  // namespace LbtTev::View
