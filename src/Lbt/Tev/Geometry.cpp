// What geometries make of their variables: attributes, links and loaders.

#include "Lbt/Tev/Geometry.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "Lbt/Log/Raise.h"

namespace LbtTev {

namespace {

bool IsOfStorage(std::string_view attributeName) {
  static constexpr std::array<std::string_view, 5> kNames{"Complex", "Contents", "DataSource",
                                                          "DataType", ResultAttribute::kStructure};
  return std::ranges::find(kNames, attributeName) != kNames.end() ||
         attributeName.starts_with("Link.");
}

/// Takes the attributes that describe how data is stored out of "attributes".
LbtUtil::AttributeMap TakeStorageAttributes(LbtUtil::AttributeMap& attributes) {
  LbtUtil::AttributeMap taken;
  for (auto attribute = attributes.begin(); attribute != attributes.end();) {
    const auto next = std::next(attribute);
    if (IsOfStorage(attribute->first)) {
      taken.insert(taken.end(), attributes.extract(attribute));
    }
    attribute = next;
  }
  return taken;
}

/// Entries that were there before and are not named again stay.
void Update(LbtUtil::SharedAttributes& attributes, LbtUtil::AttributeMap added) {
  added.insert(attributes.begin(), attributes.end());
  attributes = std::move(added);
}

}  // namespace

bool Geometry::IsConnectivity(VariableType type) {
  return type == VariableType::Connectivity4 || type == VariableType::Connectivity5 ||
         type == VariableType::Connectivity6 || type == VariableType::VerticesPerFace;
}

std::string Geometry::GetVersion() const {
  // The switch between the two layouts: a build for 32-bit positions sets the
  // constant to the container version.
  constexpr std::string_view kNarrowLayout = "0.6";
  return kNarrowLayout == "1.3" ? "0.6" : "0.7";
}

unsigned int Geometry::Add(std::string variableName, const VariableType& type, NumericArray array,
                           LbtUtil::AttributeMap attributes) {
  VarStruct& variable = variables.emplace_back();
  variable.name = std::move(variableName);
  variable.variableType = type;
  variable.array = std::move(array);
  ProcessAttributes(variable, std::move(attributes));
  return static_cast<unsigned int>(variables.size() - 1);
}

bool IsResult(const Geometry::VarStruct& variable, const VariableName& name) {
  return variable.variableType > Geometry::VariableType::LastMesh &&
         name.result != MeshName::kNodeIds && name.result != MeshName::kElementIdsInCapitals;
}

void Geometry::ProcessAttributes(VarStruct& variable, LbtUtil::AttributeMap attributes) {
  const auto category = attributes.find(std::string(ResultAttribute::kCategory));
  variable.isVibration = category != attributes.end() && category->second.IsText("Vibration");
  Update(variable.storageAttributes, TakeStorageAttributes(attributes));
  Update(variable.attributes, std::move(attributes));
}

void Geometry::LoadConnectivityBlocks(LbtLbf::LbFile& file, const std::string& heavyDataBlockName) {
  LocateConnectivity(std::make_shared<ModelStream>(file, heavyDataBlockName));
}

void Geometry::LoadOtherBlocks(LbtLbf::LbFile& file, const std::string& heavyDataBlockName) {
  LocateOthers(std::make_shared<ModelStream>(file, heavyDataBlockName));
}

void Geometry::Locate(const std::shared_ptr<ModelStream>& heavy, bool ofConnectivity) {
  if (heavyDataPositions.empty()) {
    return;
  }
  for (VarStruct& variable : variables) {
    if (variable.isLinked || IsConnectivity(variable.variableType) != ofConnectivity) {
      continue;
    }
    const auto position = heavyDataPositions.find(variable.name);
    if (position == heavyDataPositions.end()) {
      constexpr unsigned long kLine = 738;  // fixed: part of the text that users know
      Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::ElementNotFound, "Element Not Found",
                      "include/Lbt/Tev/Geometry", kLine);
    }
    variable.array.CreateDataLoader(heavy, position->second, true);
  }
}

}  // namespace LbtTev
