#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "Lbt/Tev/TevInfo/TevDataset.h"
#include "PartWalk.h"

namespace LbtTev::Report {

/// Turns variables into data sets: one for each that has data of its own; a linked one
/// adds its geometry's name to its target's.
class DatasetGatherer {
 public:
  /// For the parts of "tree", which add their data sets to "datasets".
  DatasetGatherer(const Tree& tree, std::vector<TevDataset>& datasets);

  /// Takes the variable of a part at an index. Throws what loading numbers throws, and "Out of
  /// Bounds" where long names are repeated too often, with the data sets as they were.
  void Gather(const Part& part, std::size_t index, const VariableName& name);

 private:
  using Key = std::pair<unsigned int, std::size_t>;

  [[nodiscard]] TevDataset DatasetOf(const Part& part, const Geometry::VarStruct& variable,
                                     const VariableName& name);
  void Charge(std::size_t nameSize);

  std::vector<TevDataset>* datasets_;
  std::map<Key, std::size_t> positions_;  // of data sets by geometry and index of the variable
  /// Bytes of long names that data sets may still repeat: each has a copy of its own.
  std::uint64_t namesLeft_;
};

}  // namespace LbtTev::Report
