#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Lbt/Lbf/Block.h"
#include "Lbt/Lbf/CopyFromBlock.h"
#include "Lbt/Lbf/Index.h"
#include "Lbt/Util/FileAccess.h"

namespace LbtLbf {

/// The newest container version that is supported.
inline constexpr const char* kNewestVersion = "1.3";

/// The container version that the readers of versioned records go by: "1.3" from
/// the start of the program on.
extern std::string tev_file_version;  // NOLINT(*-avoid-non-const-global-variables)

/// A version text as a count of tenths: 13 for "1.3", 1 for "0.1a", 12 for "1.25".
/// The number is read as `strtod` reads it. One that is not finite, is negative or
/// does not fit counts as 4294967295, which nothing supports.
[[nodiscard]] std::uint32_t VersionTenths(const std::string& version);

/// The types that can be read from a named stream.
template <class T>
concept StreamValue =
    std::same_as<T, unsigned char> || std::same_as<T, bool> || std::same_as<T, unsigned int> ||
    std::same_as<T, float> || std::same_as<T, unsigned long> || std::same_as<T, std::string> ||
    std::same_as<T, std::vector<unsigned char>> || std::same_as<T, std::vector<unsigned int>> ||
    std::same_as<T, std::vector<float>> || std::same_as<T, std::vector<double>> ||
    std::same_as<T, std::vector<std::string>> || std::same_as<T, StoredList<unsigned char>> ||
    std::same_as<T, StoredList<unsigned int>> || std::same_as<T, StoredList<float>> ||
    std::same_as<T, StoredList<double>> || std::same_as<T, std::vector<std::string_view>>;

/// The reader of one container file.
///
/// Layout: signature (8 bytes: 0x89 "LBF" CR LF 0x1A LF), version text (4 bytes,
/// padded with NUL), index size (u32), index, then the blocks without gaps. All
/// integers are little-endian. Nothing is ever written.
///
/// A read names a stream. A stream that the file lacks is no error: the destination
/// keeps its value, so initialise before reading. The index is read at the first
/// named read, and again where it has no entries.
class LbFile {
 public:
  /// The first bytes of every container file.
  static constexpr std::string_view kSignature = Lbt::Util::kModelSignature;
  /// What stands before the index: the signature, the version and the size of the index.
  static constexpr std::uint64_t kHeaderSize = 16;

  LbFile() = default;
  virtual ~LbFile();
  LbFile(const LbFile&) = delete;
  LbFile& operator=(const LbFile&) = delete;

  /// Opens a file ("rb") without blocking and without reading. Throws "Miscelleneous
  /// Error" where it cannot be opened or another one is open.
  void OpenFile(const std::string& path, const char* mode);

  /// Takes a file that is open already, and what was read of it.
  void OpenFile(StoredFile file);

  /// Closes the file where one is open. The index and all blocks in memory stay.
  virtual void CloseFile();

  [[nodiscard]] bool IsOpen() const { return file_.IsOpen(); }

  /// Whether the system has refused a read of the open file: what failed then tells nothing of
  /// what the file holds.
  [[nodiscard]] bool HasRefusedRead() const { return file_.HasRefused(); }

  /// Whether the open file is a regular one and starts with the signature. Throws
  /// "Read Error" where reading fails before the file's end, or no file is open.
  [[nodiscard]] bool HasSignature();

  /// The version text of the open file: at most four characters. Throws as above.
  [[nodiscard]] std::string ReadVersion();

  /// Sets "wideOffsets" where a version text is 0.7 or later: offsets have 64 bits there. Then
  /// throws "Unknown Version" where it is later than 1.3.
  static void CheckSupport(const std::string& version, bool& wideOffsets);

  /// Reads the index. Throws what Index::ReadIndexBufferFromFileStream does.
  void ReadIndex();

  /// Copies "length" bytes (its low 32 bits) of a stream. A missing stream leaves
  /// "destination" alone, whether the file is open or not.
  void Get(std::string_view name, void* const& destination, unsigned long length);

  /// The same into a buffer of characters.
  template <std::same_as<char> T>
  void Get(std::string_view name, const T* destination, unsigned long length) {
    // Callers pass the buffer as what they read it as; it is theirs and can be written to.
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast)
    Get(name, static_cast<void*>(const_cast<T*>(destination)), length);
  }

  /// Reads one value by the rules of CopyFromBlock, all from one block. A missing
  /// stream leaves "value" alone while the file is open, and is "Element Not Found"
  /// when it is closed; callers depend on that difference.
  ///
  /// A StoredList and views of strings stay in their block: they are valid until the next
  /// seek in the stream, or until the block or the index is read anew.
  template <StreamValue T>
  void Get(std::string_view name, T& value);

  /// The next "length" bytes of a stream without a copy, valid until the next seek in
  /// it; none where the stream is missing.
  [[nodiscard]] std::span<const unsigned char> GetBytes(std::string_view name,
                                                        unsigned long length);

  /// The stream of a name, or null where the file lacks it; nothing is logged then. Reads the
  /// index first as a named read does. Valid until the index is read anew.
  [[nodiscard]] NamedStream* FindStream(std::string_view name);

  /// The block that the next read of a stream is served from. Throws what a load throws; of a
  /// closed file "Element Not Found" where no block in memory has bytes left.
  [[nodiscard]] Block& GetReadingBlock(NamedStream& stream) {
    return IsOpen() ? index_.GetReadingBlock(stream, file_) : index_.GetReadingBlock(stream);
  }

  /// The same, or null of a closed file where no block in memory has bytes left.
  [[nodiscard]] Block* FindReadingBlock(NamedStream& stream) {
    return index_.FindReadingBlock(stream, file_);
  }

  /// Puts the cursor of a stream at a byte; see Index::SetBlockPosition.
  void SetBlockPosition(NamedStream& stream, unsigned long offset) {
    index_.SetBlockPosition(stream, offset, file_);
  }

  /// The number of the block that a seek would be about; see NamedStream::TargetOf.
  [[nodiscard]] std::size_t TargetOf(NamedStream& stream, unsigned long offset) {
    return index_.TargetOf(stream, offset, file_);
  }

  /// The number of the block that has a byte of a stream, for messages; none where that is unknown.
  /// See NamedStream::HolderOf.
  [[nodiscard]] std::optional<std::size_t> FindBlockAt(std::string_view stream,
                                                       std::uint64_t position);

  /// Where the next read of a stream begins; see NamedStream::Position.
  [[nodiscard]] std::uint64_t GetPosition(NamedStream& stream) {
    return index_.GetPosition(stream);
  }

  /// The length of a whole stream by the file's own word; see NamedStream::RecordedLength.
  [[nodiscard]] std::uint64_t ReadRecordedLength(NamedStream& stream) {
    return index_.ReadRecordedLength(stream, file_);
  }

  /// The block that the next read of a stream is served from. Throws "Element Not
  /// Found" for a missing stream.
  [[nodiscard]] Block& GetReadingBlock(std::string_view name);

  /// Puts the cursor of a stream at a byte; see Index::SetBlockPosition.
  void SetBlockPosition(std::string_view name, unsigned long offset);

  /// Which file is open.
  [[nodiscard]] std::optional<Lbt::Util::FileIdentity> GetIdentity() const {
    return file_.Identity();
  }

  /// The size of the open file in bytes, as it was when it was opened.
  [[nodiscard]] std::optional<std::uint64_t> GetSize() const { return file_.Size(); }

  /// The length that an entry's contents have by the file's own word; see
  /// BlockCache::ReadRecordedLength. Nothing is inflated.
  [[nodiscard]] std::uint32_t ReadRecordedLength(std::size_t entry);

  /// Reads bytes of the open file as they are stored, from "offset" on, and returns how many
  /// there are: fewer than asked for at the file's end. Throws "Read Error".
  [[nodiscard]] std::size_t ReadStored(std::uint64_t offset, std::span<unsigned char> bytes);

  [[nodiscard]] Index& GetIndex() { return index_; }
  [[nodiscard]] const Index& GetIndex() const { return index_; }

 private:
  void RequireOpen() const;
  void RequireClosed() const;
  [[nodiscard]] std::size_t ReadAt(std::uint64_t position, std::span<unsigned char> bytes) const;
  void ReadIndexOnce();
  [[nodiscard]] std::string ReadHeader(std::uint64_t position, std::size_t length) const;

  StoredFile file_;
  Index index_;
};

}  // namespace LbtLbf
