#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "Lbt/Tev/Geometry.h"

namespace LbtTev {

/// The variables that make up a mesh; null where there is none.
struct MeshVariables {
  const Geometry::VarStruct* coordinates = nullptr;
  const Geometry::VarStruct* faces = nullptr;    ///< the points of all faces, one after another
  const Geometry::VarStruct* lengths = nullptr;  ///< how many points each face has
  const Geometry::VarStruct* nodeIds = nullptr;
  const Geometry::VarStruct* elementIds = nullptr;

  /// How many faces the byte count of the lengths tells of.
  [[nodiscard]] std::size_t ElementCount() const {
    return lengths == nullptr ? 0 : lengths->array.GetNumElements();
  }
};

/// One variable of a mesh.
using MeshRole = const Geometry::VarStruct* MeshVariables::*;

inline constexpr std::array<MeshRole, 5> kMeshRoles{
    &MeshVariables::coordinates, &MeshVariables::faces, &MeshVariables::lengths,
    &MeshVariables::nodeIds, &MeshVariables::elementIds};

/// Which variable of a mesh this is, by its type, or by its name for ids; null for none.
[[nodiscard]] MeshRole MeshRoleOf(const Geometry::VarStruct& variable);

/// How many tuples an array has; elements left over by its width are none.
[[nodiscard]] std::size_t TuplesOf(const NumericArray& array);

/// Names as they are shown: record separators become blanks. Instance names that are shown alike
/// are one step.
[[nodiscard]] std::string ShownName(std::string_view name);

/// The meshes of one geometry by their steps, whatever stands for these; none for what has no step.
/// Of several variables at one place of a mesh the first counts.
template <class Step>
class MeshesByStep {
 public:
  using ByStep = std::map<std::optional<Step>, MeshVariables>;

  /// Takes a variable that has a place in a mesh, in the order in which they are stored.
  void Add(MeshRole role, const Geometry::VarStruct& variable, const std::optional<Step>& step) {
    const Geometry::VarStruct*& known = own_[step].*role;
    known = known == nullptr ? &variable : known;
  }

  /// What each step has of its own; those without a step come first.
  [[nodiscard]] const ByStep& Own() const { return own_; }

  /// The mesh at a step: each variable is that of the step, else the one without a step.
  [[nodiscard]] MeshVariables At(const std::optional<Step>& step) const {
    MeshVariables mesh;
    for (const std::optional<Step>& candidate : {step, std::optional<Step>()}) {
      const auto found = own_.find(candidate);
      if (found == own_.end()) {
        continue;
      }
      for (const MeshRole role : kMeshRoles) {
        mesh.*role = mesh.*role == nullptr ? found->second.*role : mesh.*role;
      }
    }
    return mesh;
  }

 private:
  ByStep own_;
};

/// The step that a variable belongs to, as it is shown; none for one without.
[[nodiscard]] std::optional<std::string> ShownStepOf(const Geometry::VarStruct& variable);

/// The meshes of a geometry, by steps as they are shown.
[[nodiscard]] MeshesByStep<std::string> MeshesOf(const Geometry& geometry);

}  // namespace LbtTev
