// Gathers the numbers of variables as the data sets of a dump.

#include "DatasetGatherer.h"

namespace LbtTev::Report {

void DatasetGatherer::Gather(const Part& part, std::size_t index, const VariableName& name) {
  const Geometry::VarStruct& variable = part.geometry.variables[index];
  if (!variable.isLinked) {
    datasets_->push_back(DatasetOf(part, variable, name));
    Remember(part, index);
  } else if (const auto target = FindTarget(variable)) {
    ChargeName(part, part.geometry.name);
    (*datasets_)[*target].names.push_back(part.geometry.name);
  }
}

TevDataset DatasetGatherer::DatasetOf(const Part& part, const Geometry::VarStruct& variable,
                                      const VariableName& name) {
  ChargeName(part, part.name);
  ChargeName(part, part.geometry.name);
  TevDataset dataset;
  dataset.group = part.name;
  dataset.result = name.result;
  dataset.instance = name.instance;
  dataset.names.push_back(part.geometry.name);
  if (Geometry::IsConnectivity(variable.variableType)) {
    dataset.kind = TevDataset::kIntegers;
    dataset.intValues = values_.LoadIntegers(variable.array);
  } else {
    dataset.floatValues = values_.LoadFloats(variable.array);
  }
  if (dataset.kind == TevDataset::kFloats && name.result == MeshName::kElementIndices) {
    dataset.intValues = values_.Truncate(variable.array, dataset.floatValues, *heavy_);
  }
  ChargeValues(part, dataset);
  return dataset;
}

std::optional<std::size_t> DatasetGatherer::FindTarget(const Geometry::VarStruct& variable) const {
  const auto geometry = positions_.find(variable.linkNodeId);
  if (variable.linkNodeId == 0 || geometry == positions_.end() ||
      variable.linkVariableIndex >= geometry->second.size() ||
      geometry->second[variable.linkVariableIndex] == 0) {
    return std::nullopt;
  }
  return geometry->second[variable.linkVariableIndex] - 1;
}

void DatasetGatherer::Remember(const Part& part, std::size_t index) {
  std::vector<std::size_t>& positions = positions_[part.geometryId];
  positions.resize(part.geometry.variables.size());
  positions[index] = datasets_->size();
}

/// Names of ordinary length are free, however many data sets a model has.
void DatasetGatherer::ChargeName(const Part& part, const std::string& name) {
  if (part.isRepeated) {
    heavy_->Charge(sizeof(std::string) + name.size());
  } else {
    heavy_->Charge(BeyondOrdinary(name.size()));
  }
}

void DatasetGatherer::ChargeValues(const Part& part, const TevDataset& dataset) {
  if (part.isRepeated) {
    heavy_->Charge(sizeof(dataset) + dataset.result.size() + dataset.instance.size() +
                   dataset.size() * LbtUtil::kElementSize);
  }
}

}  // namespace LbtTev::Report
