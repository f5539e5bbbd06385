#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "BlockSurvey.h"
#include "FindingLog.h"
#include "Lbt/Tev/LoadObserver.h"
#include "Lbt/Tev/Tree.h"
#include "StreamMap.h"

namespace LbtTev::Check {

/// A tree record and where it begins in its stream.
struct PlacedRecord : LbtTev::TreeRecord {
  std::optional<std::uint64_t> position;  ///< none for one that the file does not have
};

/// Follows the loading of a model and lets it go on after each failure: tells of failures, keeps
/// the tree records, and knows which light data they read.
class LoadFollower final : public LbtTev::LoadObserver {
 public:
  /// Bytes of a stream, half open.
  using Range = std::pair<std::uint64_t, std::uint64_t>;

  /// All must outlive this.
  LoadFollower(LbtTev::Tree& tree, const ModelMap& map, BlockSurvey& survey, FindingLog& log)
      : tree_(&tree), map_(&map), survey_(&survey), log_(&log) {}

  /// Takes the number of tree records, which the stream begins with, before they are loaded.
  void SetCount(std::size_t count);

  void OnRecord(const LbtTev::TreeRecord& record) override;
  void OnNode() override;
  void OnNodeSets(std::uint64_t start, std::uint64_t end) override;
  [[nodiscard]] bool OnFailure(const LbtTev::LoadFailure& failure) override;

  /// The records, in the order of the file, as far as they could be read.
  [[nodiscard]] const std::vector<PlacedRecord>& Records() const { return records_; }
  [[nodiscard]] bool AreAllRead() const { return count_ && records_.size() == *count_; }

  /// Whether the file may have a node of this id of which more than attributes was not read.
  [[nodiscard]] bool MayBeUnread(unsigned int id) const;

  /// Tells of bytes after the last record and of light data that no record has read, once all is
  /// loaded. Says nothing of a stream of which not all could be read, or where the lengths of
  /// blocks are in doubt, and with them the places of all data.
  void FindUnused() const;

  /// The same for bytes at the end of the streams that are read from front to back, and for heavy
  /// data that belongs to no variable of "used", which are ranges, and to no node sets; of the
  /// latter only where nothing else is wrong. To be called when all blocks are known.
  void FindUnusedElsewhere(std::vector<Range> used) const;

  /// Tells in "finding" where the data of a geometry begins that was read, by its id.
  void PlaceGeometry(unsigned int id, Finding& finding) const;

 private:
  [[nodiscard]] Finding FindingOn(const LbtTev::LoadFailure& failure);
  [[nodiscard]] std::string SubjectOf(const LbtTev::LoadFailure& failure) const;
  [[nodiscard]] std::string ReasonText(const LbtTev::LoadFailure& failure,
                                       const CheckedBlock* failed) const;
  [[nodiscard]] unsigned long SetsPosition(unsigned int id) const;
  void Place(const LbtTev::LoadFailure& failure, const CheckedBlock* failed,
             Finding& finding) const;
  void PlaceRecord(Finding& finding) const;
  void PlaceNodeData(Finding& finding) const;
  void FindUnusedRecords() const;
  void FindUnusedAtEnd(const StreamMap& map, LbtTev::ModelStream& stream) const;
  void TellOfUnusedEnd(const StreamMap& map, std::uint64_t end, const std::string& where) const;
  void FindUnusedBetween(std::vector<Range> used, const StreamMap& map,
                         const std::string& what) const;

  LbtTev::Tree* tree_;
  const ModelMap* map_;
  BlockSurvey* survey_;
  FindingLog* log_;
  std::optional<std::size_t> count_;
  std::vector<PlacedRecord> records_;
  std::uint64_t nextRecord_ = 0;
  std::uint64_t start_ = 0;                                     // of the light data of the last one
  std::unordered_set<unsigned int> lost_;                       // ids of nodes
  std::unordered_set<unsigned int> unread_;                     // ids of nodes
  std::unordered_map<unsigned int, std::uint64_t> geometries_;  // where their data begins
  std::vector<Range> used_;                                     // of the light data
  std::vector<Range> usedBySets_;                               // of the heavy data
  std::map<std::string, std::uint64_t, std::less<>> causes_;    // findings, by stream
};

}  // namespace LbtTev::Check
