#include "RecordGraph.h"

#include <algorithm>

namespace LbtTev::Check {

namespace {

unsigned int IdOf(const PlacedRecord* record) { return record->id; }

}  // namespace

RecordGraph::RecordGraph(const std::vector<PlacedRecord>& records) {
  rootless_.id = kRootId;
  nodes_.reserve(records.size() + 1);
  nodes_.push_back(&rootless_);
  for (const PlacedRecord& record : records) {
    nodes_.push_back(&record);
  }
  std::ranges::stable_sort(nodes_, {}, IdOf);
  // From behind, so that the last of each id is the one that stays.
  const auto dropped = std::unique(
      nodes_.rbegin(), nodes_.rend(),
      [](const PlacedRecord* one, const PlacedRecord* other) { return one->id == other->id; });
  nodes_.erase(nodes_.begin(), dropped.base());
}

std::size_t RecordGraph::Find(unsigned int id) const {
  const auto found = std::ranges::lower_bound(nodes_, id, {}, IdOf);
  const bool isThere = id != 0 && found != nodes_.end() && (*found)->id == id;
  return isThere ? static_cast<std::size_t>(found - nodes_.begin()) : kNone;
}

}  // namespace LbtTev::Check
