#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "Lbt/Tev/TevInfo/TevDataset.h"
#include "PartWalk.h"
#include "ValueStore.h"

namespace LbtTev::Report {

/// Turns variables into data sets: one for each that has data of its own; a linked one
/// adds its geometry's name to its target's. Data sets share the values that several variables
/// claim.
///
/// What is repeated without being stored again counts towards the request, too: data sets of a
/// geometry that several shapes name, and names of more than ordinary length. Else a file of some
/// hundred bytes could ask for data sets without end.
class DatasetGatherer {
 public:
  /// For the parts of "tree", which add their data sets to "datasets". What they load counts as one
  /// request.
  DatasetGatherer(const Tree& tree, std::vector<TevDataset>& datasets)
      : heavy_(tree.GetStreams().heavy), request_(*heavy_), datasets_(&datasets) {}

  /// Takes the variable of a part at an index. Throws what loading numbers throws, and "Out of
  /// Bounds" where too much is repeated, with the data sets as they were.
  void Gather(const Part& part, std::size_t index, const VariableName& name);

 private:
  [[nodiscard]] TevDataset DatasetOf(const Part& part, const Geometry::VarStruct& variable,
                                     const VariableName& name);
  [[nodiscard]] std::optional<std::size_t> FindTarget(const Geometry::VarStruct& variable) const;
  void Remember(const Part& part, std::size_t index);
  void ChargeName(const Part& part, const std::string& name);
  void ChargeValues(const Part& part, const TevDataset& dataset);

  std::shared_ptr<ModelStream> heavy_;
  ModelStream::Request request_;
  std::vector<TevDataset>* datasets_;
  ValueStore values_;
  /// Of each variable by its geometry's id and its index: one more than the position of its data
  /// set, 0 where it has none.
  std::map<unsigned int, std::vector<std::size_t>> positions_;
};

}  // namespace LbtTev::Report
