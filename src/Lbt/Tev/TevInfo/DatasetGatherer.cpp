#include "DatasetGatherer.h"

#include "Clamp.h"
#include "Lbt/Log/Raise.h"

namespace {

using LbtTev::Geometry;

template <class T>
void LoadValues(const LbtTev::NumericArray& array, std::vector<T>& values) {
  if (array.loader != nullptr) {
    array.loader->LoadTo(values);
  }
}

TevDataset DatasetOf(const VariablePlace& place, const Geometry::VarStruct& variable) {
  TevDataset dataset;
  dataset.group = place.partName;
  dataset.result = place.name.result;
  dataset.instance = place.name.instance;
  if (Geometry::IsConnectivity(variable.variableType)) {
    dataset.kind = TevDataset::kIntegers;
    LoadValues(variable.array, dataset.intValues);
  } else {
    LoadValues(variable.array, dataset.floatValues);
  }
  if (dataset.kind == TevDataset::kFloats && dataset.result == "Element Indices") {
    dataset.intValues.reserve(dataset.floatValues.size());
    for (const float value : dataset.floatValues) {
      dataset.intValues.push_back(Clamped<unsigned int>(value));
    }
  }
  dataset.names.push_back(place.geometryName);
  return dataset;
}

}  // namespace

void DatasetGatherer::Gather(const VariablePlace& place, const Geometry::VarStruct& variable,
                             std::vector<TevDataset>& datasets) {
  if (!variable.isLinked) {
    TakeName(place.partName.size() + place.geometryName.size());
    datasets.push_back(DatasetOf(place, variable));
    positions_.insert_or_assign({place.geometryId, place.variableIndex}, datasets.size() - 1);
    return;
  }
  const auto target = positions_.find({variable.linkNodeId, variable.linkVariableIndex});
  if (variable.linkNodeId != 0 && target != positions_.end()) {
    TakeName(place.geometryName.size());
    datasets[target->second].names.push_back(place.geometryName);
  }
}

void DatasetGatherer::TakeName(std::size_t size) {
  if (size > namesLeft_) {
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::OutOfBounds, "Not enough bytes in the block",
                    "include/Lbt/Tev/TevInfo/PartsAndResults");
  }
  namesLeft_ -= size;
}
