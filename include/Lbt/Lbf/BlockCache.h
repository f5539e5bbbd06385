#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <optional>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Lbt/Lbf/Block.h"
#include "Lbt/Lbf/CopyFromBlock.h"
#include "Lbt/Lbf/Inflation.h"

namespace LbtLbf {

/// Contents of released blocks that may be wanted again: no more than 64 MiB, or what somebody else
/// has said, or the two that were released last.
class KeptContents {
 public:
  void SetLimit(std::uint64_t bytes) { mostBytes_ = bytes; }

  /// Takes an entry's contents where there are none yet, and drops those that were released the
  /// longest ago.
  void Keep(std::size_t entry, Block contents);

  /// Gives an entry's contents away, where they are there.
  [[nodiscard]] std::optional<Block> Take(std::size_t entry);

  void Clear();

 private:
  using List = std::list<std::pair<std::size_t, Block>>;

  [[nodiscard]] static std::uint64_t CostOf(const Block& contents);
  Block Remove(List::iterator kept);

  List list_;  // the oldest first
  std::unordered_map<std::size_t, List::iterator> places_;
  std::uint64_t cost_ = 0;
  std::uint64_t mostBytes_ = std::uint64_t{64} * 1024 * 1024;
};

/// The entries of an index and, for each, its block. Knows how one entry is loaded
/// and released, and nothing of the streams that entries form.
class BlockCache {
 public:
  /// Takes a new list of entries whose first block lies at "firstPosition" of the
  /// file, computes all positions, and has an empty block for each.
  void Assign(std::vector<IndexItem> items, std::uint64_t firstPosition);

  /// Appends an entry with an empty block and returns its number.
  std::size_t Append(IndexItem item);

  /// What a load took: the file's bytes, for the first time or again, or contents that were kept.
  enum class Source { First, Again, Kept };

  /// Reads an entry's block from the file, inflates it where it is compressed, and puts the cursor
  /// at its start. What is known of it is not found out again: contents that are kept are taken,
  /// and data that zlib has refused is refused. Throws what Block::Read and BlockZlibUnCompressor
  /// do, with the block empty.
  Source Load(std::size_t entry, const StoredFile& file);

  /// Forgets what is known of an entry's contents, so that the next load goes to the file.
  void Forget(std::size_t entry);

  /// Forgets that of all entries.
  void ForgetContents();

  /// The length that an entry's contents have by the file's own word: the stored
  /// size, or the first four bytes of a compressed block. Nothing is inflated.
  /// Throws "Out of Bounds" where those four bytes are not stored and "Read Error".
  [[nodiscard]] std::uint32_t ReadRecordedLength(std::size_t entry, const StoredFile& file);

  /// The same as far as the file can hold it: what lies beyond its end does not count, and a
  /// compressed block counts with no more than deflate can make of what is stored. Throws "Read
  /// Error".
  [[nodiscard]] std::uint64_t ReadCredibleLength(std::size_t entry, const StoredFile& file);

  /// Puts the first bytes of what a compressed entry's block holds into "contents", without
  /// inflating the rest, and returns how many come out; what fails is not told. Throws "Read
  /// Error" where the file cannot be read from there at all.
  [[nodiscard]] std::uint64_t ReadBeginning(std::size_t entry, const StoredFile& file,
                                            std::span<unsigned char> contents);

  /// Frees an entry's block; its size stays known. Contents that were loaded more than once are
  /// kept for a while.
  void Release(std::size_t entry);

  /// From now on all contents are kept for a while, so many bytes of them: for who asks for data
  /// of a file in any order. To be called with the index read.
  void KeepAll(std::uint64_t bytes) {
    kept_.SetLimit(bytes);
    keepsAll_ = true;
  }

  /// Takes contents that were inflated elsewhere for those of an entry that was released.
  void Keep(std::size_t entry, Block contents);

  /// Gives kept contents of an entry away, where there are any.
  [[nodiscard]] std::optional<Block> TakeKept(std::size_t entry) { return kept_.Take(entry); }

  [[nodiscard]] const std::vector<IndexItem>& Items() const { return items_; }
  [[nodiscard]] const std::deque<Block>& Blocks() const { return blocks_; }
  [[nodiscard]] Block& GetBlock(std::size_t entry) { return blocks_[entry]; }
  [[nodiscard]] const Block& GetBlock(std::size_t entry) const { return blocks_[entry]; }
  [[nodiscard]] bool IsLoaded(std::size_t entry) const { return items_[entry].loaded != 0; }

  /// Whether an entry has ever been loaded whole.
  [[nodiscard]] bool WasLoaded(std::size_t entry) const { return wasLoaded_[entry]; }

  /// Whether an entry's block has no bytes for certain, without a look at the file.
  [[nodiscard]] bool IsStoredEmpty(std::size_t entry) const {
    return items_[entry].size == 0 && !items_[entry].IsCompressed();
  }

  /// Has "observer" called with each entry whose bytes are about to be read from the file. It may
  /// not touch the entries.
  void ObserveLoads(std::function<void(std::size_t entry)> observer) {
    observer_ = std::move(observer);
  }

  /// Calls it, on behalf of those who read the bytes of an entry by themselves.
  void TellOfLoad(std::size_t entry) const {
    if (observer_) {
      observer_(entry);
    }
  }

  /// Whether refused blocks are told on standard error; they are, unless this says otherwise.
  void SetRefusalLine(RefusalLine line) { refusalLine_ = line; }
  [[nodiscard]] RefusalLine GetRefusalLine() const { return refusalLine_; }

  /// How many times an entry has been loaded from the file, in all.
  [[nodiscard]] std::uint64_t LoadCount() const { return loadCount_; }

  /// The entry that the last load was about, whether it went well or not.
  [[nodiscard]] std::optional<std::size_t> LastLoaded() const { return lastLoaded_; }

  /// The entry whose data zlib refused in the last load; none where that went well or failed
  /// otherwise, or was said to be forgotten.
  [[nodiscard]] std::optional<std::size_t> LastRefused() const { return lastRefused_; }
  void ForgetRefusal() { lastRefused_.reset(); }

 private:
  void ComputePosition(std::size_t entry);
  [[nodiscard]] bool LoadKept(std::size_t entry);
  void LoadStored(std::size_t entry, const StoredFile& file);
  void Inflate(std::size_t entry);
  [[noreturn]] void Refuse(std::size_t entry, int code);
  [[nodiscard]] std::uint64_t PlaceOf(std::size_t entry, const StoredFile& file);

  std::vector<IndexItem> items_;
  std::deque<Block> blocks_;  // references to them stay valid where others are added
  std::vector<bool> wasLoaded_;
  std::vector<bool> isWantedAgain_;
  KeptContents kept_;
  bool keepsAll_ = false;
  std::unordered_map<std::size_t, int> refusals_;  // zlib's codes
  std::uint64_t firstPosition_ = 0;
  std::uint64_t loadCount_ = 0;
  RefusalLine refusalLine_ = RefusalLine::Written;
  std::function<void(std::size_t)> observer_;
  std::optional<std::size_t> lastLoaded_;
  std::optional<std::size_t> lastRefused_;
};

}  // namespace LbtLbf
