// Which variables of a geometry make up its meshes.

#include "Lbt/Tev/Mesh.h"

#include <algorithm>

#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev {

MeshRole MeshRoleOf(const Geometry::VarStruct& variable) {
  if (variable.variableType == Geometry::VariableType::Coordinates) {
    return &MeshVariables::coordinates;
  }
  if (variable.variableType == Geometry::VariableType::VerticesPerFace) {
    return &MeshVariables::lengths;
  }
  if (Geometry::IsConnectivity(variable.variableType)) {
    return &MeshVariables::faces;
  }
  const std::string_view result = VariableName(variable.name).result;
  if (result == MeshName::kNodeIds) {
    return &MeshVariables::nodeIds;
  }
  const bool isElementIds =
      result == MeshName::kElementIds || result == MeshName::kElementIdsInCapitals;
  return isElementIds ? &MeshVariables::elementIds : nullptr;
}

std::size_t TuplesOf(const NumericArray& array) {
  return array.GetWidth() == 0 ? 0 : array.GetNumElements() / array.GetWidth();
}

std::string ShownName(std::string_view name) {
  std::string shown(name);
  std::ranges::replace(shown, kRecordSeparator, ' ');
  return shown;
}

std::optional<std::string> ShownStepOf(const Geometry::VarStruct& variable) {
  const std::string_view instance = VariableName(variable.name).instance;
  return instance.empty() ? std::nullopt : std::optional(ShownName(instance));
}

MeshesByStep<std::string> MeshesOf(const Geometry& geometry) {
  MeshesByStep<std::string> meshes;
  for (const Geometry::VarStruct& variable : geometry.variables) {
    if (const MeshRole role = MeshRoleOf(variable); role != nullptr) {
      meshes.Add(role, variable, ShownStepOf(variable));
    }
  }
  return meshes;
}

}  // namespace LbtTev
