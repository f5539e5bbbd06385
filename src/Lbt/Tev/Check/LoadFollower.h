#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "FindingLog.h"
#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/LoadObserver.h"
#include "StreamMap.h"

namespace LbtTev::Check {

/// A tree record and where it begins in its stream.
struct PlacedRecord : LbtTev::TreeRecord {
  std::optional<std::uint64_t> position;  ///< none for one that the file does not have
};

/// Follows the loading of a tree: keeps its records, and knows which light data they read.
class LoadFollower final : public LbtTev::LoadObserver {
 public:
  /// All must outlive this. The maps are those of the tree records and of the light data.
  LoadFollower(LbtLbf::LbFile& file, const StreamMap& treeMap, const StreamMap& lightMap);

  void OnRecord(const LbtTev::TreeRecord& record) override;
  void OnNode() override;

  /// The records, in the order of the file.
  [[nodiscard]] const std::vector<PlacedRecord>& Records() const { return records_; }

  /// How many nodes of these have been read.
  [[nodiscard]] std::size_t NodeCount() const { return nodeCount_; }

  /// Where the next record begins.
  [[nodiscard]] std::uint64_t NextRecord() const { return nextRecord_; }

  /// Tells of bytes after the last record, to be asked when all were read, and of light data that
  /// no record has read, when all nodes were. Neither says a word where the lengths of blocks are
  /// in doubt, and with them the places of all data.
  void FindUnusedRecords(FindingLog& log) const;
  void FindUnusedLightData(FindingLog& log) const;

  /// Takes a record that was read without its node.
  void AddRecord(const LbtTev::TreeRecord& record);

  /// Tells in "finding" where the data of the last record begins, and where it would have to
  /// begin in the stream if it lies beyond the end.
  void PlaceLast(Finding& finding) const;

  /// Tells where that of a geometry begins which was read, by its id.
  void PlaceGeometry(unsigned int id, Finding& finding) const;

 private:
  [[nodiscard]] std::uint64_t PositionIn(std::string_view stream) const;

  LbtLbf::LbFile* file_;
  const StreamMap* treeMap_;
  const StreamMap* lightMap_;
  std::vector<PlacedRecord> records_;
  std::size_t nodeCount_ = 0;
  std::uint64_t nextRecord_;
  std::uint64_t start_ = 0;                                     // of the light data of the last one
  std::unordered_map<unsigned int, std::uint64_t> geometries_;  // where their data begins
  std::vector<std::pair<std::uint64_t, std::uint64_t>> used_;
};

}  // namespace LbtTev::Check
