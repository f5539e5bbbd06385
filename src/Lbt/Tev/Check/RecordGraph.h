#pragma once

#include <cstddef>
#include <limits>
#include <vector>

#include "TreeRecords.h"

namespace LbtTev::Check {

/// Tree records as a tree has them: one for each id, by id, and one for the root in any case.
class RecordGraph {
 public:
  /// No node.
  static constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

  /// "records" must outlive this. Of those with one id, the last counts.
  explicit RecordGraph(const std::vector<PlacedRecord>& records);
  RecordGraph(const RecordGraph&) = delete;
  RecordGraph& operator=(const RecordGraph&) = delete;
  ~RecordGraph() = default;

  /// Nodes are numbered from 0 on, in the order of their ids.
  [[nodiscard]] std::size_t Count() const { return nodes_.size(); }
  [[nodiscard]] const PlacedRecord& At(std::size_t node) const { return *nodes_[node]; }

  /// None for id 0, which means none in every link, and for one that no record has.
  [[nodiscard]] std::size_t Find(unsigned int id) const;

  [[nodiscard]] std::size_t Root() const { return Find(kRootId); }

 private:
  static constexpr unsigned int kRootId = 1;

  PlacedRecord rootless_;  // stands for a root that no record has
  std::vector<const PlacedRecord*> nodes_;
};

}  // namespace LbtTev::Check
