#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "Lbt/Lbf/BlockCache.h"

namespace LbtLbf {

/// The blocks of one name and how large one may be.
struct BlockSizeLimiter {
  /// Largest block of a stream, in bytes, unless PRAMO_MAX_TEV_BLOCK_SIZE says
  /// otherwise.
  static constexpr std::uint32_t kDefaultMaxBlockSize = 209715200;

  /// With the limit that the environment sets now.
  BlockSizeLimiter();

  std::vector<std::uint64_t> blocks;  ///< numbers of the entries, in index order
  std::uint32_t maxBlockSize;
};

/// A growing list of lengths with the sums of its beginnings: a binary indexed
/// (Fenwick) tree. Appending, changing, summing and finding take O(log n) steps, so
/// that seeking stays cheap in a stream of very many blocks.
class PrefixSums {
 public:
  /// How many lengths there are.
  [[nodiscard]] std::size_t Count() const { return tree_.size(); }

  /// Adds a length at the end.
  void Append(std::uint64_t length);

  /// Changes the length at "index".
  void Change(std::size_t index, std::uint64_t from, std::uint64_t to);

  /// The sum of the first "count" lengths.
  [[nodiscard]] std::uint64_t Sum(std::size_t count) const;

  /// The number of lengths, from the first on, whose sum is at most "offset": the
  /// index of the length that "offset" lies in, or Count() beyond them all.
  [[nodiscard]] std::size_t Find(std::uint64_t offset) const;

 private:
  std::vector<std::uint64_t> tree_;  // node i covers the lowbit(i + 1) lengths up to i
};

/// What loading the blocks of a stream from the file has cost: bytes of their contents.
struct StreamWork {
  std::uint64_t loads = 0;
  std::uint64_t loadedFirst = 0;  ///< by the first load of a block
  std::uint64_t loadedAgain = 0;  ///< by all further ones
};

/// All blocks of one name, read as one sequence of bytes: which block the next read
/// is served from, and where an offset lies.
///
/// Two things keep the cost of a long stream down without changing what is chosen: a hint where
/// the first block with bytes left may be, which blocks that a caller goes back in move, and the
/// lengths of the blocks that reads and seeks have passed, kept as sums. Not to be moved: its
/// blocks refer to the hint.
class NamedStream {
 public:
  NamedStream() = default;
  ~NamedStream() = default;
  NamedStream(const NamedStream&) = delete;
  NamedStream& operator=(const NamedStream&) = delete;

  /// Appends an entry to the stream.
  void Append(std::size_t entry, Block& block) {
    block.SetPlace(firstOpen_, limiter_.blocks.size());
    limiter_.blocks.push_back(entry);
    recordedLength_.reset();
  }

  /// The entry from which the next read is served: the first one whose block has
  /// bytes left, loading blocks on the way; the last one where none has. Throws what
  /// a load throws, and "Element Not Found" for a stream without blocks.
  [[nodiscard]] std::size_t Choose(BlockCache& cache, const StoredFile& file);

  /// The same among the blocks in memory: the first with bytes left. Throws "Element
  /// Not Found" where there is none.
  [[nodiscard]] std::size_t ChooseInMemory(const BlockCache& cache) const;

  /// The same, or none.
  [[nodiscard]] std::optional<std::size_t> FindInMemory(const BlockCache& cache) const;

  /// Puts the cursor at "offset" bytes from the stream's start. Blocks that lie
  /// before are released, and count as read; one that was not in memory counts with
  /// its recorded length and is not inflated. Where loading the block that the offset lies in
  /// shows it to be shorter than recorded, the place is looked for again. Throws what a load
  /// throws, and "Out of Bounds" for an offset beyond the end.
  void Seek(BlockCache& cache, std::uint64_t offset, const StoredFile& file);

  /// The entry whose block a seek to "offset" would load or find in memory. Throws what reading
  /// recorded lengths throws.
  [[nodiscard]] std::size_t TargetOf(BlockCache& cache, std::uint64_t offset,
                                     const StoredFile& file) {
    return EntryAt(FindPlace(cache, offset, file));
  }

  /// The entry whose block has the byte at "offset", by the recorded lengths; none beyond the end.
  /// Loads nothing, but leaves the blocks before it as a seek does. Throws as above.
  [[nodiscard]] std::optional<std::size_t> HolderOf(BlockCache& cache, std::uint64_t offset,
                                                    const StoredFile& file);

  /// Where the next read begins, in bytes from the stream's start. Loads nothing: a block that
  /// has not been loaded counts with the length that is known of it.
  [[nodiscard]] std::uint64_t Position(const BlockCache& cache);

  /// The length of the whole stream by the file's own word, as far as the file can hold it: of a
  /// block that lies beyond the file's end its bytes there do not count, and a compressed block
  /// counts with no more than deflate can make of what is stored. Reads the length fields at the
  /// first call, and inflates nothing.
  [[nodiscard]] std::uint64_t RecordedLength(BlockCache& cache, const StoredFile& file);

  /// What the loads of this stream have cost until now.
  [[nodiscard]] const StreamWork& Work() const { return work_; }

  /// Loads one of the stream's entries, anew where it is in memory.
  void Reload(BlockCache& cache, std::size_t entry, const StoredFile& file);

  [[nodiscard]] BlockSizeLimiter& Limiter() { return limiter_; }
  [[nodiscard]] const BlockSizeLimiter& Limiter() const { return limiter_; }

 private:
  // Blocks are meant here by their place in the stream: 0 is the first.
  [[nodiscard]] std::size_t EntryAt(std::size_t place) const { return limiter_.blocks[place]; }
  [[nodiscard]] std::size_t PlaceOf(std::size_t entry) const;
  [[nodiscard]] bool IsKnown(std::size_t place) const { return place < lengths_.Count(); }
  [[nodiscard]] bool NeedsLoad(const BlockCache& cache, std::size_t place) const;
  [[nodiscard]] std::size_t FindPlace(BlockCache& cache, std::uint64_t offset,
                                      const StoredFile& file);
  [[nodiscard]] std::uint32_t Measure(BlockCache& cache, std::size_t place,
                                      const StoredFile& file) const;
  [[nodiscard]] bool IsUsedUp(const BlockCache& cache, std::size_t place) const;
  [[nodiscard]] std::size_t SkipEmpty(std::size_t place) const;
  [[nodiscard]] bool TakeTarget(BlockCache& cache, std::size_t place, const StoredFile& file);
  void Advance(const BlockCache& cache);
  void Load(BlockCache& cache, std::size_t place, const StoredFile& file);
  void CountLoad(BlockCache::Source source, std::uint64_t length);
  void Pass(BlockCache& cache, std::size_t place);
  void LeaveBefore(BlockCache& cache, std::size_t place);
  void PassFailed(BlockCache& cache, std::size_t place);
  void ReleaseBefore(BlockCache& cache, std::size_t place);

  BlockSizeLimiter limiter_;
  std::size_t firstOpen_ = 0;        // no block before it has bytes left, suspects apart
  PrefixSums lengths_;               // of the first blocks, as far as they are known
  std::vector<std::size_t> loaded_;  // heap with the least on top: loaded blocks with bytes
  std::set<std::size_t> suspects_;   // passed with a recorded length of 0, never inflated
  std::set<std::size_t> failed_;     // of known length, but loading them failed
  std::size_t sought_ = 0;           // where the last seek went
  std::optional<std::uint64_t> recordedLength_;
  StreamWork work_;
};

}  // namespace LbtLbf
