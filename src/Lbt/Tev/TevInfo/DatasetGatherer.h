#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/TevInfo/PartsAndResults.h"
#include "Lbt/Tev/TevInfo/TevDataset.h"

/// Where in the model a variable stands.
struct VariablePlace {
  const std::string& partName;
  const VariableName& name;
  const std::string& geometryName;
  unsigned int geometryId;
  std::size_t variableIndex;
};

/// Turns variables into data sets: one for each that has data of its own; a linked one
/// adds its geometry's name to its target's.
class DatasetGatherer {
 public:
  /// Throws what loading numbers throws, with "datasets" as it was.
  void Gather(const VariablePlace& place, const LbtTev::Geometry::VarStruct& variable,
              std::vector<TevDataset>& datasets);

 private:
  using Key = std::pair<unsigned int, std::size_t>;

  void TakeName(std::size_t size);

  std::map<Key, std::size_t> positions_;
  /// Characters of part and geometry names that data sets may still repeat. Each has its
  /// own copy; a long name would otherwise cost its length for every variable.
  std::size_t namesLeft_ = std::size_t{128} * 1024 * 1024;
};
