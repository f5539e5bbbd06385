#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <vector>

#include "Lbt/Lbf/Block.h"
#include "Lbt/Lbf/CopyFromBlock.h"

namespace LbtLbf {

/// The entries of an index and, for each, its block. Knows how one entry is loaded
/// and released, and nothing of the streams that entries form.
class BlockCache {
 public:
  /// Takes a new list of entries whose first block lies at "firstPosition" of the
  /// file, computes all positions, and has an empty block for each.
  void Assign(std::vector<IndexItem> items, std::uint64_t firstPosition);

  /// Appends an entry with an empty block and returns its number.
  std::size_t Append(IndexItem item);

  /// Reads an entry's block from the file, anew where it was there, inflates it
  /// where it is compressed, and puts the cursor at its start. Throws what
  /// Block::Read and BlockZlibUnCompressor do, with the block empty.
  void Load(std::size_t entry, std::FILE* stream);

  /// The length that an entry's contents have by the file's own word: the stored
  /// size, or the first four bytes of a compressed block. Nothing is inflated.
  /// Throws "Out of Bounds" where those four bytes are not stored and "Read Error".
  [[nodiscard]] std::uint32_t ReadRecordedLength(std::size_t entry, std::FILE* stream);

  /// The same as far as the file can hold it: what lies beyond its end does not count, and a
  /// compressed block counts with no more than deflate can make of what is stored. Throws "Read
  /// Error".
  [[nodiscard]] std::uint64_t ReadCredibleLength(std::size_t entry, std::FILE* stream);

  /// Frees an entry's block; its size stays known.
  void Release(std::size_t entry);

  [[nodiscard]] const std::vector<IndexItem>& Items() const { return items_; }
  [[nodiscard]] const std::vector<Block>& Blocks() const { return blocks_; }
  [[nodiscard]] Block& GetBlock(std::size_t entry) { return blocks_[entry]; }
  [[nodiscard]] const Block& GetBlock(std::size_t entry) const { return blocks_[entry]; }
  [[nodiscard]] bool IsLoaded(std::size_t entry) const { return items_[entry].loaded != 0; }

  /// Whether an entry's block has no bytes for certain, without a look at the file.
  [[nodiscard]] bool IsStoredEmpty(std::size_t entry) const {
    return items_[entry].size == 0 && !items_[entry].IsCompressed();
  }

  /// How many times an entry has been loaded, in all.
  [[nodiscard]] std::uint64_t LoadCount() const { return loadCount_; }

  /// The entry that the last load was about, whether it went well or not.
  [[nodiscard]] std::optional<std::size_t> LastLoaded() const { return lastLoaded_; }

  /// The entry whose data zlib refused in the last load; none where that went well or failed
  /// otherwise, or was said to be forgotten.
  [[nodiscard]] std::optional<std::size_t> LastRefused() const { return lastRefused_; }
  void ForgetRefusal() { lastRefused_.reset(); }

 private:
  void ComputePosition(std::size_t entry);
  void Inflate(std::size_t entry);
  void SeekTo(std::size_t entry, std::FILE* stream);

  std::vector<IndexItem> items_;
  std::vector<Block> blocks_;
  std::uint64_t firstPosition_ = 0;
  std::uint64_t loadCount_ = 0;
  std::optional<std::size_t> lastLoaded_;
  std::optional<std::size_t> lastRefused_;
};

}  // namespace LbtLbf
