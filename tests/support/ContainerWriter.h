#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tevtest {

/// The first eight bytes of every container file.
inline constexpr std::string_view kSignature{"\x89LBF\r\n\x1a\n", 8};

/// How the name of a continuation index begins.
inline constexpr std::string_view kContinuationPrefix = "\vIndex Block ";

/// A zlib stream of "payload"; "level" as in zlib (0 stored, 9 best).
[[nodiscard]] std::string Deflate(std::string_view payload, int level = 6);

/// "payload" as a compressed block is stored: its u32 length, then its zlib stream.
[[nodiscard]] std::string Compressed(std::string_view payload, int level = 6);

/// One data block and its index entry. What is not set follows from the rest; what is set is
/// written as it is, so that every field can lie on its own. Every member has an initialiser, so
/// that designated ones may leave any out without a warning.
struct BlockSpec {
  std::string name{};
  std::string payload{};
  bool compressed = false;
  int level = 6;
  std::optional<std::uint8_t> sequence{};  ///< else the ordinal among all blocks
  std::uint8_t options = 0;
  std::uint8_t extraCompressionBits = 0;          ///< bits beside bit 0 of the compression byte
  std::optional<std::uint32_t> recordedLength{};  ///< in place of a compressed payload's length
  std::optional<std::string> storedBytes{};       ///< in place of everything that would be stored
  std::optional<std::uint32_t> storedSize{};      ///< in the index entry only
};

/// A further index block, stored among the data blocks.
struct Continuation {
  std::size_t after = 0;  ///< this many of the added blocks are listed before it
  BlockSpec block{.name = "\vIndex Block 1"};  ///< "payload" is made by the writer
  std::optional<std::uint32_t> count{};        ///< in place of the number of its entries
  std::string trailing{};                      ///< bytes after its entries
};

/// Where a block ended up in the file.
struct BlockPlace {
  std::string name{};
  std::size_t offset = 0;                  ///< of its stored bytes
  std::size_t storedSize = 0;              ///< bytes that it takes in the file
  std::optional<std::size_t> entryOffset;  ///< of its entry, when the first index lists it
};

/// A finished file.
struct Container {
  std::string bytes;
  std::size_t indexOffset = 0;
  std::size_t indexSize = 0;              ///< bytes of the first index block as written
  std::vector<BlockPlace> blocks;         ///< the added blocks, in order
  std::vector<BlockPlace> continuations;  ///< the index blocks after the first one

  /// The "nth" block of that name, counted from 0; throws std::out_of_range without one.
  [[nodiscard]] const BlockPlace& Block(std::string_view name, std::size_t nth = 0) const;
};

/// Builds a container file in memory, well-formed unless told otherwise.
class ContainerWriter {
 public:
  /// Padded with NUL to four bytes, cut after four. The default is "1.3".
  ContainerWriter& SetVersion(std::string_view text);
  /// Of any length; offsets in the result follow it.
  ContainerWriter& SetSignature(std::string_view bytes);

  ContainerWriter& Add(BlockSpec block);
  ContainerWriter& AddRaw(std::string_view name, std::string_view payload);
  ContainerWriter& AddCompressed(std::string_view name, std::string_view payload);

  /// Bytes between the last entry of the first index and its end.
  ContainerWriter& SetIndexTrailing(std::string_view bytes);
  /// The recorded byte length of the first index block.
  ContainerWriter& SetIndexSize(std::uint32_t size);
  /// The recorded number of entries of the first index block.
  ContainerWriter& SetIndexCount(std::uint32_t count);

  /// Lists the blocks from "continuation.after" on in a further index block. Given more than
  /// once, in ascending order, each lies in the list of the one before.
  ContainerWriter& ContinueAfter(Continuation continuation);

  /// Cuts the finished file to at most "size" bytes.
  ContainerWriter& TruncateTo(std::size_t size);

  [[nodiscard]] std::vector<BlockSpec>& Blocks() { return blocks_; }
  [[nodiscard]] Container Build() const;

 private:
  std::string version_ = "1.3";
  std::string signature_{kSignature};
  std::vector<BlockSpec> blocks_;
  std::vector<Continuation> continuations_;
  std::string indexTrailing_;
  std::optional<std::uint32_t> indexSize_;
  std::optional<std::uint32_t> indexCount_;
  std::optional<std::size_t> truncateTo_;
};

}  // namespace tevtest
