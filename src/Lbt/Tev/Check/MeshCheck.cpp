// Whether the faces of meshes fit their lengths and their nodes.

#include "MeshCheck.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string>

#include "Lbt/Tev/Mesh.h"

namespace LbtTev::Check {

namespace {

using LbtTev::Geometry;
using LbtTev::MeshVariables;
using Variable = Geometry::VarStruct;
using Step = std::optional<std::string>;

/// How many nodes a mesh has; none where a link keeps that from being known.
std::optional<std::uint64_t> NodesOf(const MeshVariables& mesh) {
  if (mesh.coordinates == nullptr) {
    return 0;
  }
  const LbtTev::NumericArray& array = mesh.coordinates->array;
  const bool isLost = mesh.coordinates->isLinked && !HasNumbers(array);
  return isLost ? std::nullopt : std::optional<std::uint64_t>(LbtTev::TuplesOf(array));
}

/// One check of the meshes of a geometry.
class MeshesCheck {
 public:
  MeshesCheck(const Geometry& geometry,
              const std::function<const WholeNumbers*(const LbtTev::NumericArray&)>& numbersOf,
              const std::function<void(const MeshFault&)>& tell)
      : geometry_(&geometry),
        meshes_(LbtTev::MeshesOf(geometry)),
        numbersOf_(&numbersOf),
        tell_(&tell) {}

  void Run() {
    const auto& own = meshes_.Own();
    const bool hasFaces =
        std::ranges::any_of(own, [](const auto& mesh) { return mesh.second.faces != nullptr; });
    CheckLengths({}, hasFaces);
    for (const auto& [step, mesh] : own) {
      CheckLengths(step, hasFaces);
    }
    CheckNodes();
  }

 private:
  /// None where it is not known; zeros where there is no variable.
  [[nodiscard]] std::optional<WholeNumbers> NumbersOf(const Variable* variable) const {
    if (variable == nullptr) {
      return WholeNumbers();
    }
    const WholeNumbers* numbers = (*numbersOf_)(variable->array);
    return numbers == nullptr ? std::nullopt : std::optional(*numbers);
  }

  /// Lengths without a step may be those of faces that all have one.
  void CheckLengths(const Step& step, bool hasFaces) {
    const MeshVariables mesh = meshes_.At(step);
    if (mesh.faces == nullptr && (mesh.lengths == nullptr || (!step && hasFaces))) {
      return;
    }
    const auto faces = NumbersOf(mesh.faces);
    const auto lengths = NumbersOf(mesh.lengths);
    const Variable& told = mesh.lengths == nullptr ? *mesh.faces : *mesh.lengths;
    if (faces && lengths && lengths->sum != faces->count && told_.insert(&told).second) {
      (*tell_)({.kind = Finding::Kind::FaceLengths,
                .variable = PlaceOf(told),
                .claimed = lengths->sum,
                .found = faces->count});
    }
  }

  void CheckNodes() {
    const std::optional<std::uint64_t> ofShared = NodesOfSharedFaces();
    for (const Variable& variable : geometry_->variables) {
      if (LbtTev::MeshRoleOf(variable) == &MeshVariables::faces) {
        const Step step = LbtTev::ShownStepOf(variable);
        CheckNodes(variable, step ? NodesOf(meshes_.At(step)) : ofShared);
      }
    }
  }

  /// Faces without a step are those of every step that has none of its own. Where all coordinates
  /// have a step, as those of a mesh that moves, there is no mesh without one.
  [[nodiscard]] std::optional<std::uint64_t> NodesOfSharedFaces() const {
    std::optional<std::uint64_t> least;
    bool hasCoordinates = false;
    const auto take = [&](const MeshVariables& mesh) {
      hasCoordinates = hasCoordinates || mesh.coordinates != nullptr;
      const auto nodes = mesh.coordinates == nullptr ? std::nullopt : NodesOf(mesh);
      least = nodes && least ? std::min(*nodes, *least) : nodes ? nodes : least;
    };
    take(meshes_.At({}));
    for (const auto& [step, mesh] : meshes_.Own()) {
      if (mesh.faces == nullptr) {
        take(meshes_.At(step));
      }
    }
    return hasCoordinates ? least : 0;
  }

  void CheckNodes(const Variable& faces, std::optional<std::uint64_t> nodes) {
    const auto numbers = NumbersOf(&faces);
    if (nodes && numbers && numbers->count != 0 && numbers->highest >= *nodes) {
      (*tell_)({.kind = Finding::Kind::NodeRange,
                .variable = PlaceOf(faces),
                .element = numbers->highestAt,
                .claimed = numbers->highest,
                .found = *nodes});
    }
  }

  [[nodiscard]] std::size_t PlaceOf(const Variable& variable) const {
    return static_cast<std::size_t>(&variable - geometry_->variables.data());
  }

  const Geometry* geometry_;
  LbtTev::MeshesByStep<std::string> meshes_;
  const std::function<const WholeNumbers*(const LbtTev::NumericArray&)>* numbersOf_;
  const std::function<void(const MeshFault&)>* tell_;
  std::set<const Variable*> told_;  // of lengths
};

}  // namespace

void CheckMeshes(
    const Geometry& geometry,
    const std::function<const WholeNumbers*(const LbtTev::NumericArray& array)>& numbersOf,
    const std::function<void(const MeshFault& fault)>& tell) {
  MeshesCheck(geometry, numbersOf, tell).Run();
}

}  // namespace LbtTev::Check
