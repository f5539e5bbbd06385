// Describes a loaded model: its parts, fields and results.

#include "Lbt/Tev/Analysis/Model.h"

#include <algorithm>
#include <utility>

#include "Lbt/Tev/TitleAndCategory.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev::Analysis {

namespace {

using Variable = Geometry::VarStruct;
using Entry = LbtAdt::TreeNode<Node*>;

bool IsAboveMeshTypes(const Variable& variable) {
  return variable.variableType > Geometry::VariableType::LastMesh;
}

bool IsMeshName(std::string_view result) {
  static constexpr std::string_view kNames[]{MeshName::kNodeIds,
                                             MeshName::kCoordinates,
                                             MeshName::kConnectivity,
                                             MeshName::kPolylength,
                                             MeshName::kElementIds,
                                             MeshName::kElementIndices,
                                             MeshName::kElementIdsInCapitals};
  return std::ranges::find(kNames, result) != std::end(kNames);
}

}  // namespace

const Variable* MeshVariables::IdsOf(Location location) const {
  return location == Location::Node      ? nodeIds
         : location == Location::Element ? elementIds
                                         : nullptr;
}

Model::Model(const Tree& tree) : tree_(&tree) {
  FindParts();
  FindSteps();
  std::map<unsigned int, unsigned int> partOfGeometry;
  for (const Part& part : parts_) {
    // Not by FindNode: a record may claim id 0, which means none in a link.
    partOfGeometry.emplace(tree.GetNodes().at(part.id).firstChild, part.id);
  }
  for (Content& content : contents_) {
    FindFields(content);
  }
  for (Part& part : parts_) {
    Describe(part, partOfGeometry);
  }
  FindResults();
  FindTitleAndCategory();
}

void Model::FindFields(Content& content) {
  if (content.geometry == nullptr) {
    return;
  }
  for (const Variable& variable : content.geometry->variables) {
    const VariableName name(variable.name);
    const std::optional<std::size_t> step = StepOf(name.instance);
    if (const MeshRole role = MeshRoleOf(variable); role != nullptr) {
      content.meshes.Add(role, variable, step);
    }
    if (IsAboveMeshTypes(variable) && !IsMeshName(name.result)) {
      content.fields.push_back({.result = name.result,
                                .step = step,
                                .components = variable.array.GetWidth(),
                                .count = TuplesOf(variable.array),
                                .variable = &variable});
    }
  }
  for (Field& field : content.fields) {
    field.location = LocationOf(content, field);
  }
}

Location Model::LocationOf(const Content& content, const Field& field) const {
  const LbtTev::MeshVariables mesh = content.meshes.At(field.step);
  const bool fitsNodes =
      mesh.coordinates != nullptr && TuplesOf(mesh.coordinates->array) == field.count;
  const bool fitsElements = mesh.lengths != nullptr && mesh.ElementCount() == field.count;
  if (fitsNodes && fitsElements) {
    return StoredLocationOf(*field.variable) == Location::Element ? Location::Element
                                                                  : Location::Node;
  }
  if (fitsElements) {
    return Location::Element;
  }
  return fitsNodes ? Location::Node : Location::Unknown;
}

Location Model::StoredLocationOf(const Variable& variable) const {
  const Variable* owner = variable.isLinked ? tree_->FindLinkTarget(variable) : &variable;
  const std::string name(ResultAttribute::kStructure);
  if (owner == nullptr || !owner->storageAttributes.contains(name)) {
    return Location::Unknown;
  }
  const std::string structure = owner->storageAttributes.at(name).GetAttributeString();
  if (structure.starts_with("Element")) {
    return Location::Element;
  }
  return structure.starts_with("Node") ? Location::Node : Location::Unknown;
}

void AddToResults(ResultsByName& results, const Field& field) {
  const auto [known, isNew] = results.emplace(
      field.result, Result{std::string(field.result), field.components, field.location});
  Result& result = known->second;
  if (result.components != field.components) {
    result.components.reset();
  }
  if (result.location != field.location) {
    result.location = Location::Mixed;
  }
}

void Model::FindResults() {
  ResultsByName results;
  for (const Content& content : contents_) {
    for (const Field& field : content.fields) {
      AddToResults(results, field);
    }
  }
  for (auto& [name, result] : results) {
    results_.push_back(std::move(result));
  }
}

void Model::FindTitleAndCategory() {
  TitleAndCategory found;
  LbtUtil::SharedAttributes last;
  for (const Content& content : contents_) {
    const std::span<const Variable> variables =
        content.geometry == nullptr ? std::span<const Variable>() : content.geometry->variables;
    for (const Variable& variable : variables) {
      if (IsResult(variable, VariableName(variable.name)) &&
          !variable.attributes.IsSharedWith(last)) {
        found.Add(variable.attributes);
        last = variable.attributes;
      }
    }
  }
  title_ = found.Title();
  category_ = found.Category();
}

bool Model::HasFieldWithoutStep() const {
  return std::ranges::any_of(contents_, [](const Content& content) {
    return std::ranges::any_of(content.fields, [](const Field& field) { return !field.step; });
  });
}

bool Model::HasMeshWithoutStep() const {
  return std::ranges::any_of(contents_, [](const Content& content) {
    return content.meshes.Own().contains(std::nullopt);
  });
}

std::span<const Field> Model::FieldsOf(const Part& part) const {
  return contents_[part.content].fields;
}

const Field* Model::FindField(const Part& part, std::string_view result,
                              std::optional<std::size_t> step) const {
  const std::span<const Field> fields = FieldsOf(part);
  const auto found = std::ranges::find_if(
      fields, [&](const Field& field) { return field.step == step && field.result == result; });
  return found == fields.end() ? nullptr : &*found;
}

MeshVariables Model::MeshAt(const Part& part, std::optional<std::size_t> step) const {
  return {contents_[part.content].meshes.At(step)};
}

std::vector<std::optional<std::size_t>> Model::StepsWith(const Part& part,
                                                         std::span<const MeshRole> roles) const {
  std::vector<std::optional<std::size_t>> steps;
  for (const auto& [step, mesh] : contents_[part.content].meshes.Own()) {
    const auto has = [&mesh = mesh](MeshRole role) { return mesh.*role != nullptr; };
    if (std::ranges::any_of(roles, has)) {
      steps.push_back(step);
    }
  }
  return steps;
}

}  // namespace LbtTev::Analysis
