// The tree records of a model, as far as they can be read.

#include "TreeRecords.h"

#include <exception>
#include <string>
#include <utility>

#include "ContainerCheck.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev::Check {

namespace {

/// Reads records one after another, and knows at which it is.
class RecordReader {
 public:
  RecordReader(LbtLbf::LbFile& file, bool wideOffsets, const StreamMap& map)
      : file_(&file),
        tree_(file, LbtTev::StreamNames().tree),
        wideOffsets_(wideOffsets),
        map_(&map) {}

  void Read(TreeRecords& read) {
    start_ = map_->CursorOf(*file_, tree_.GetName());
    count_ = LbtTev::ReadTreeRecordCount(tree_);
    for (int i = 0; i < *count_; ++i) {
      start_.reset();
      start_ = map_->CursorOf(*file_, tree_.GetName());
      PlacedRecord record;
      record.position = start_;
      LbtTev::ReadTreeRecordId(tree_, record);
      LbtTev::ReadAfterTreeRecordId(tree_, wideOffsets_, record);
      read.records.push_back(std::move(record));
    }
  }

  [[nodiscard]] bool IsCountNegative() const { return count_.value_or(0) < 0; }

  [[nodiscard]] Finding NegativeCount() const {
    Finding finding{.kind = Finding::Kind::UnreadableRecord,
                    .text = "the number of tree records is " + std::to_string(*count_) +
                            ", below 0, so no record is read"};
    map_->Place(*start_, finding);
    return finding;
  }

  /// What a failure was about: the count, or the record after the "before" ones. It is where
  /// that begins, or in the block whose loading came last where that is another one.
  [[nodiscard]] Finding FailureOf(const std::exception& exception, std::size_t before) const {
    const std::string what =
        count_ ? "tree record " + std::to_string(before) + " of " + std::to_string(*count_)
               : "the number of tree records";
    Finding finding{.kind = Finding::Kind::UnreadableRecord,
                    .text = what + " cannot be read: " + ReasonOf(exception, *file_)};
    const auto block = file_->GetIndex().LastLoaded();
    const CheckedBlock* first = start_ ? map_->BlockAt(*start_) : nullptr;
    if (first != nullptr && (!block || block->number == first->name.number)) {
      map_->Place(*start_, finding);
    } else if (block) {
      map_->Place(map_->StartOf(block->number), finding);
    }
    return finding;
  }

  /// Tells of bytes after the last record. Call it when all have been read.
  void FindUnused(const FindingSink& sink) const {
    const std::uint64_t end = map_->CursorOf(*file_, tree_.GetName());
    const std::uint64_t unused = map_->Length() - end;
    if (unused == 0) {
      return;
    }
    Finding finding{.kind = Finding::Kind::UnusedBytes,
                    .text = "nothing reads the " + std::to_string(unused) +
                            (unused == 1 ? " byte" : " bytes") +
                            " after the last tree record, from byte " + std::to_string(end) +
                            " of the stream on",
                    .claimed = map_->Length(),
                    .found = end};
    map_->Place(end, finding);
    sink(finding);
  }

 private:
  LbtLbf::LbFile* file_;
  LbtTev::ModelStream tree_;
  bool wideOffsets_;
  const StreamMap* map_;
  std::optional<int> count_;
  std::optional<std::uint64_t> start_;  // of what is read at the moment
};

}  // namespace

TreeRecords ReadTreeRecords(LbtLbf::LbFile& file, bool wideOffsets, const StreamMap& map,
                            const FindingSink& sink) {
  TreeRecords read;
  if (map.IsEmpty()) {
    read.areAll = false;
    sink({.kind = Finding::Kind::MissingTree,
          .text = "there is no stream \"" + std::string(LbtTev::StreamNames().tree) +
                  "\", so the model is empty"});
    return read;
  }
  RecordReader reader(file, wideOffsets, map);
  std::optional<Finding> failure;
  try {
    reader.Read(read);
  } catch (const std::exception& exception) {
    failure = reader.FailureOf(exception, read.records.size());
  }
  if (reader.IsCountNegative()) {
    failure = reader.NegativeCount();
  }
  read.areAll = !failure;
  if (failure) {
    sink(*failure);
  } else if (map.IsExact()) {  // else the places of all data are in doubt
    reader.FindUnused(sink);
  }
  return read;
}

}  // namespace LbtTev::Check
