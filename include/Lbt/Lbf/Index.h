#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Lbf/BlockCache.h"
#include "Lbt/Lbf/NamedStream.h"
#include "Lbt/Util/Exception.h"

namespace LbtLbf {

/// A block of a container, by its number in the index and the name of its stream.
struct NumberedBlock {
  std::size_t number = 0;
  std::string stream;
};

/// A block as messages name it: "block 3 (Heavy Data)".
[[nodiscard]] std::string TextOf(const NumberedBlock& block);

/// A byte of a stream as messages name it: "at byte 455 of Heavy Data, in block 3". The block is
/// left out where it is unknown.
[[nodiscard]] std::string TextOfByte(std::uint64_t position, std::string_view stream,
                                     std::optional<std::size_t> block);

/// That zlib refuses a block: "zlib refuses the data of block 3 (Heavy Data)".
[[nodiscard]] std::string RefusalText(const NumberedBlock& block);

/// Runs a read of a stream and absorbs that there is nothing to read from.
template <class Read>
void AbsorbNotFound(Read read) {
  try {
    read();
  } catch (const Lbt::Util::Exception& exception) {
    if (exception.GetType() != Lbt::Util::Exception::ErrorType::ElementNotFound) {
      throw;
    }
  }
}

/// The index of a container with its loaded blocks: which blocks form the stream of
/// a name, and which of them a read is served from.
///
/// Stored form: u32 count, then the entries. Entries of one name form one stream, in
/// index order. Positions are not stored: each block starts where the one before it
/// ends, the first one after the index. Where the last entry's name starts with
/// "\vIndex Block ", its block is a second index, whose entries are appended; that
/// one's own last entry is never followed.
class Index {
 public:
  /// Reads the index of "size" bytes at "position", and the second index where there is
  /// one. Throws what reading blocks throws, and "Out of Bounds" where the entries run
  /// out; the index is empty then.
  void Read(const StoredFile& file, std::uint64_t position, std::uint32_t size);

  /// The same from where a stream stands.
  void ReadIndexBufferFromFileStream(std::FILE* stream, const unsigned long& size);

  /// The entry whose block serves the next read of stream "name"; loads blocks on the
  /// way. Throws "Element Not Found" for an unknown name, and what a load throws.
  [[nodiscard]] unsigned long GetReadingBlockIndex(std::string_view name, const StoredFile& file);

  /// The same among the blocks in memory. Throws "Element Not Found" where the name is
  /// unknown or no block of it has bytes left.
  [[nodiscard]] unsigned long GetReadingBlockIndex(std::string_view name);

  /// The blocks of those entries.
  [[nodiscard]] Block& GetReadingBlock(std::string_view name, const StoredFile& file) {
    return cache_.GetBlock(GetReadingBlockIndex(name, file));
  }
  [[nodiscard]] Block& GetReadingBlock(std::string_view name) {
    return cache_.GetBlock(GetReadingBlockIndex(name));
  }

  /// The stream of a name, to be asked as often as one likes: valid until the index is read anew.
  /// Null for an unknown name.
  [[nodiscard]] NamedStream* FindStream(std::string_view name);

  /// What the functions of these names do, for a stream that was found before. What the block
  /// reference is valid for: until blocks are created, or the index is read anew.
  [[nodiscard]] Block& GetReadingBlock(NamedStream& stream, const StoredFile& file) {
    return cache_.GetBlock(stream.Choose(cache_, file));
  }
  [[nodiscard]] Block& GetReadingBlock(NamedStream& stream) {
    return cache_.GetBlock(stream.ChooseInMemory(cache_));
  }
  void SetBlockPosition(NamedStream& stream, unsigned long offset, const StoredFile& file) {
    ++changes_;
    stream.Seek(cache_, offset, file);
  }

  /// The number of the block that a seek would be about; see NamedStream::TargetOf.
  [[nodiscard]] std::size_t TargetOf(NamedStream& stream, unsigned long offset,
                                     const StoredFile& file) {
    return stream.TargetOf(cache_, offset, file);
  }

  /// The number of the block that has a byte of a stream; see NamedStream::HolderOf.
  [[nodiscard]] std::optional<std::size_t> HolderOf(NamedStream& stream, std::uint64_t offset,
                                                    const StoredFile& file) {
    ++changes_;
    return stream.HolderOf(cache_, offset, file);
  }

  /// The block that the next read of a stream is served from. Without "file" among the blocks in
  /// memory, and null where none has bytes left. Throws what a load throws.
  [[nodiscard]] Block* FindReadingBlock(NamedStream& stream, const StoredFile& file);

  /// How many times the index has been read: a stream found before that is valid as long as this
  /// stays.
  [[nodiscard]] std::uint64_t Reads() const { return reads_; }

  /// Counts what may move blocks, or cursors other than by reading: seeks, blocks made, loaded anew
  /// or handed out, and reads of the index. A block that was found before serves the next read of
  /// its stream as long as this stays and it has bytes left.
  [[nodiscard]] std::uint64_t Changes() const { return changes_; }

  /// Leaves the record of a stream that is missing in the trace log.
  static void LogMissingStream();

  /// Where the next read of a stream begins; see NamedStream::Position.
  [[nodiscard]] std::uint64_t GetPosition(NamedStream& stream) { return stream.Position(cache_); }

  /// The length of a whole stream by the file's own word; see NamedStream::RecordedLength.
  [[nodiscard]] std::uint64_t ReadRecordedLength(NamedStream& stream, const StoredFile& file) {
    return stream.RecordedLength(cache_, file);
  }

  /// Copies "length" bytes (its low 32 bits) of stream "name", all from one block. An
  /// unknown name, or no block to choose, leaves "destination" alone.
  void Get(std::string_view name, void* const& destination, unsigned long length);
  void Get(std::string_view name, void* const& destination, unsigned long length,
           const StoredFile& file);

  /// Puts the cursor of stream "name" at "offset" bytes from its start, counted over
  /// the uncompressed bytes of its blocks; the stream's end is allowed. Blocks before
  /// it are released and count as read. A name that the index lacks gets an empty
  /// block. Throws "Out of Bounds" ("Invalid block position") and what a load throws.
  void SetBlockPosition(std::string_view name, unsigned long offset, const StoredFile& file);

  /// Appends an entry with an empty block to stream "name" and returns its number.
  unsigned long CreateBlock(const std::string& name);

  /// Throws "Element Not Found" for an unknown name.
  [[nodiscard]] BlockSizeLimiter& GetBlockSizeLimiter(std::string_view name);

  /// Loads one entry, anew where it was in memory, with the cursor at its start.
  void ReadBufferFromFileStream(unsigned long entry, const StoredFile& file);

  /// An entry's block, to be read from.
  [[nodiscard]] Block& GetBlock(unsigned long entry);

  /// Has all loads go to the file again; for when it may be another one. Blocks in memory stay.
  void ForgetContents() { cache_.ForgetContents(); }

  /// The length that an entry's contents have by the file's own word; see
  /// BlockCache::ReadRecordedLength.
  [[nodiscard]] std::uint32_t ReadRecordedLength(std::size_t entry, const StoredFile& file) {
    return cache_.ReadRecordedLength(entry, file);
  }

  /// See BlockCache::KeepAll, Keep and TakeKept.
  void KeepAllContents(std::uint64_t bytes) { cache_.KeepAll(bytes); }
  void KeepContents(std::size_t entry, Block contents) { cache_.Keep(entry, std::move(contents)); }
  [[nodiscard]] std::optional<Block> TakeKeptContents(std::size_t entry) {
    return cache_.TakeKept(entry);
  }

  /// See BlockCache::ObserveLoads.
  void ObserveLoads(std::function<void(std::size_t entry)> observer) {
    cache_.ObserveLoads(std::move(observer));
  }

  /// See BlockCache::SetRefusalLine.
  void SetRefusalLine(RefusalLine line) { cache_.SetRefusalLine(line); }

  /// The block that the last load was about, whether it went well or not. A second
  /// index that could not be loaded counts, though the index is empty then.
  [[nodiscard]] std::optional<NumberedBlock> LastLoaded() const;

  /// The block whose data zlib refused in the last load, as long as no seek follows; none where
  /// that went well or failed otherwise. What is thrown then has no type of its own, and names no
  /// block.
  [[nodiscard]] std::optional<NumberedBlock> RefusedBlock() const;

  /// The block of the second index, where there is one.
  [[nodiscard]] const std::optional<NumberedBlock>& GetContinuation() const {
    return continuation_;
  }

  /// How many bytes the second index has.
  [[nodiscard]] std::uint32_t GetContinuationLength() const { return continuationLength_; }

  /// Bytes of the first and of the second index after their entries, which nothing reads.
  [[nodiscard]] std::uint32_t GetUnusedBytes() const { return unusedBytes_; }
  [[nodiscard]] std::uint32_t GetContinuationUnusedBytes() const {
    return continuationUnusedBytes_;
  }

  [[nodiscard]] bool IsEmpty() const { return cache_.Items().empty(); }
  [[nodiscard]] const std::vector<IndexItem>& GetItems() const { return cache_.Items(); }
  [[nodiscard]] const BlockCache& GetCache() const { return cache_; }
  /// Whether the file has blocks of that name.
  [[nodiscard]] bool HasEntries(std::string_view name) const { return !RunsOf(name).empty(); }

  /// The first entry of each stream that the file has, by name.
  [[nodiscard]] std::vector<std::size_t> FirstEntries() const;
  [[nodiscard]] std::uint64_t GetIndexPosition() const { return indexPosition_; }
  [[nodiscard]] std::uint64_t GetIndexSize() const { return indexSize_; }

 private:
  [[nodiscard]] NamedStream& GetStream(std::string_view name);
  [[nodiscard]] std::string_view NameOf(std::size_t entry) const {
    return cache_.Items()[entry].name;
  }
  [[nodiscard]] std::span<const std::uint32_t> RunsOf(std::string_view name) const;
  void AppendContinuation(const StoredFile& file, std::vector<IndexItem>& items);
  void FindRuns();
  [[nodiscard]] NumberedBlock Numbered(std::size_t entry) const;

  BlockCache cache_;
  // Streams are made when they are asked for: an index may name millions, each in a few bytes.
  std::map<std::string, NamedStream, std::less<>> streams_;
  std::vector<std::uint32_t> runs_;  // first entries of one name in a row, by name and number
  std::uint32_t maxBlockSize_ = 0;   // as the environment said when the index was read
  std::optional<NumberedBlock> continuation_;
  bool isContinuationRefused_ = false;
  std::uint32_t unusedBytes_ = 0;
  std::uint32_t continuationLength_ = 0;
  std::uint32_t continuationUnusedBytes_ = 0;
  std::uint64_t reads_ = 0;
  std::uint64_t changes_ = 0;
  std::uint8_t nextSequence_ = 0;
  std::uint64_t indexPosition_ = 0;
  std::uint64_t indexSize_ = 0;
};

}  // namespace LbtLbf
