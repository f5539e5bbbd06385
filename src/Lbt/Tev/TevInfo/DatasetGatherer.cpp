// Gathers the numbers of variables as the data sets of a dump.

#include "DatasetGatherer.h"

#include "Lbt/Log/Raise.h"
#include "Lbt/Util/Clamped.h"

namespace LbtTev::Report {

namespace {

template <class T>
void LoadValues(const NumericArray& array, std::vector<T>& values) {
  if (array.loader != nullptr) {
    array.loader->LoadTo(values);
  }
}

}  // namespace

DatasetGatherer::DatasetGatherer(const Tree& tree, std::vector<TevDataset>& datasets)
    : datasets_(&datasets),
      namesLeft_(16 * tree.GetFile().GetSize().value_or(0) + std::uint64_t{16} * 1024 * 1024) {}

void DatasetGatherer::Gather(const Part& part, std::size_t index, const VariableName& name) {
  const Geometry::VarStruct& variable = part.geometry.variables[index];
  if (!variable.isLinked) {
    datasets_->push_back(DatasetOf(part, variable, name));
    positions_.insert_or_assign({part.geometryId, index}, datasets_->size() - 1);
    return;
  }
  const auto target = positions_.find({variable.linkNodeId, variable.linkVariableIndex});
  if (variable.linkNodeId != 0 && target != positions_.end()) {
    Charge(part.geometry.name.size());
    (*datasets_)[target->second].names.push_back(part.geometry.name);
  }
}

TevDataset DatasetGatherer::DatasetOf(const Part& part, const Geometry::VarStruct& variable,
                                      const VariableName& name) {
  Charge(part.name.size());
  Charge(part.geometry.name.size());
  TevDataset dataset;
  dataset.group = part.name;
  dataset.result = name.result;
  dataset.instance = name.instance;
  dataset.names.push_back(part.geometry.name);
  if (Geometry::IsConnectivity(variable.variableType)) {
    dataset.kind = TevDataset::kIntegers;
    LoadValues(variable.array, dataset.intValues);
    return dataset;
  }
  LoadValues(variable.array, dataset.floatValues);
  if (name.result == MeshName::kElementIndices) {
    dataset.intValues.reserve(dataset.floatValues.size());
    for (const float value : dataset.floatValues) {
      dataset.intValues.push_back(Lbt::Util::Clamped<unsigned int>(value));
    }
  }
  return dataset;
}

/// Names of ordinary length are free, however many data sets a model has.
void DatasetGatherer::Charge(std::size_t nameSize) {
  constexpr std::size_t kOrdinary = 1024;
  const std::size_t charged = nameSize > kOrdinary ? nameSize - kOrdinary : 0;
  if (charged > namesLeft_) {
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::OutOfBounds,
                    "The model refers to its data too often", "include/Lbt/Tev/TevInfo/TevDataset");
  }
  namesLeft_ -= charged;
}

}  // namespace LbtTev::Report
