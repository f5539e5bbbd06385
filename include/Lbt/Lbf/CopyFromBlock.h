#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Lbt/Lbf/Block.h"
#include "Lbt/Util/StoredNumbers.h"

/// How values lie in a block: little-endian, unaligned, back to back, without type
/// tags.
///
///   number   its 1, 4 or 8 bytes; floats as IEEE 754
///   bool     1 byte, true where it is not 0
///   string   u32 length, then that many bytes, without a terminator
///   vector   u32 count, then that many elements
///
/// Each function reads from the block's cursor on and moves it. All throw "Out of
/// Bounds", "Not enough bytes in the block", where the block ends too early; what
/// was read until then stays consumed.
namespace LbtLbf {

/// A list of numbers as it lies in a block, which it is valid as long as. Elements are
/// decoded when they are asked for.
template <Lbt::Util::StoredNumber T>
class StoredList {
 public:
  using value_type = T;

  /// An empty list.
  StoredList() = default;
  /// As many elements as "bytes" hold.
  explicit StoredList(std::span<const unsigned char> bytes) : bytes_(bytes) {}

  [[nodiscard]] std::size_t size() const { return bytes_.size() / sizeof(T); }

  /// The element at "index", which must be below the size.
  [[nodiscard]] T operator[](std::size_t index) const {
    return Lbt::Util::FromLittleEndian<T>(bytes_.data() + index * sizeof(T));
  }

 private:
  std::span<const unsigned char> bytes_;
};

/// One entry of a container's index: where a stored block lies and how.
struct IndexItem {
  /// Bytes of one in the index whose name is empty.
  static constexpr std::uint32_t kShortest = 11;

  std::uint8_t sequence = 0;   ///< number in order of creation
  std::string name;            ///< name of the stream that the block belongs to
  std::uint64_t position = 0;  ///< offset of the stored block in the file, computed
  std::uint32_t size = 0;      ///< stored bytes
  std::uint8_t compression = 0;
  std::uint8_t options = 0;       ///< carried, without a meaning here
  std::uint8_t reservedFlag = 0;  ///< always 0
  std::uint8_t loaded = 0;        ///< 1 while the block holds the entry's data
  std::uint32_t reservedWord = 0;

  /// How many of the stored bytes a file of "fileSize" bytes has.
  [[nodiscard]] std::uint64_t SizeIn(std::uint64_t fileSize) const {
    return position < fileSize ? std::min<std::uint64_t>(size, fileSize - position) : 0;
  }

  /// Whether the block is stored zlib-compressed; other bits have no meaning.
  [[nodiscard]] bool IsCompressed() const { return (compression & 1U) != 0; }
};

/// Reads a number.
template <Lbt::Util::StoredNumber T>
[[nodiscard]] T NumberFromBlock(Block& block) {
  return Lbt::Util::FromLittleEndian<T>(block.Get(std::uint32_t{sizeof(T)}).data());
}

/// Reads a number.
template <Lbt::Util::StoredNumber T>
void CopyFromBlock(Block& block, T& value) {
  value = NumberFromBlock<T>(block);
}

/// Reads floats that are stored as one value: all of them or none.
void CopyFromBlock(Block& block, std::span<float> floats);

/// Reads a bool: any byte that is not 0 is true.
void CopyFromBlock(Block& block, bool& value);

/// Reads a string. A NUL in it cuts it there; the rest is consumed all the same. A
/// string of length 0 leaves "text" as it was.
void CopyFromBlock(Block& block, std::string& text);

namespace Detail {

/// The length that a vector keeps of a stored count of which only "read" elements
/// are there: no claim sizes memory beyond what a block of that size could fill.
[[nodiscard]] inline std::size_t KeptLength(std::size_t count, std::size_t read,
                                            std::uint32_t blockSize) {
  return count <= blockSize ? count : read + 1;
}

/// How many of "count" elements the rest of the block could hold.
template <Lbt::Util::StoredNumber T>
[[nodiscard]] std::uint32_t FittingElements(const Block& block, std::uint32_t count) {
  return std::min<std::uint32_t>(count,
                                 block.GetRemaining() / static_cast<std::uint32_t>(sizeof(T)));
}

/// The longest stated list that keeps its length where its elements run out and each takes
/// many bytes of memory: as for all lists, one of no more elements than the block has
/// bytes, but in large blocks only as many as it could hold of "shortest" bytes each.
[[nodiscard]] inline std::uint32_t MostKept(std::uint32_t blockSize, std::uint32_t shortest) {
  constexpr std::uint32_t kFew = 4096;
  return std::max(blockSize / shortest, std::min(blockSize, kFew));
}

}  // namespace Detail

/// Reads a list of numbers without a copy; "list" is unchanged after a failure.
template <Lbt::Util::StoredNumber T>
void CopyFromBlock(Block& block, StoredList<T>& list) {
  const auto count = NumberFromBlock<std::uint32_t>(block);
  const std::uint32_t read = Detail::FittingElements<T>(block, count);
  const StoredList<T> elements(block.Get(read * static_cast<std::uint32_t>(sizeof(T))));
  if (read != count) {
    static_cast<void>(NumberFromBlock<T>(block));  // fails: the element that is missing
  }
  list = elements;
}

/// Reads a list of strings without copies: each is valid as long as the block's buffer is.
/// After a failure "texts" has those that could be read.
void CopyFromBlock(Block& block, std::vector<std::string_view>& texts);

/// Reads a vector of numbers. It is resized first and keeps its length where the
/// elements run out (cut to those read and one more where no block of this size
/// could hold them); elements that were not read are 0 or have their old values.
template <class T>
void CopyFromBlock(Block& block, std::vector<T>& values) {
  static_assert(Lbt::Util::StoredNumber<T>);
  const auto count = NumberFromBlock<std::uint32_t>(block);
  const std::uint32_t read = Detail::FittingElements<T>(block, count);
  values.resize(read == count ? count : Detail::KeptLength(count, read, block.GetSize()));
  const auto bytes = block.Get(read * static_cast<std::uint32_t>(sizeof(T)));
  for (std::size_t i = 0; i < read; ++i) {
    values[i] = Lbt::Util::FromLittleEndian<T>(bytes.data() + i * sizeof(T));
  }
  if (read != count) {
    static_cast<void>(NumberFromBlock<T>(block));  // fails: the element that is missing
  }
}

/// Reads a vector of strings, with the rules of vectors and of strings: an element
/// of length 0 keeps what the vector held there.
template <>
void CopyFromBlock<std::string>(Block& block, std::vector<std::string>& texts);

/// Reads index entries, each: sequence (u8), name (string), stored size (u32),
/// compression (u8), options (u8). All other fields have their default values.
/// "items" is unchanged after a failure.
template <>
void CopyFromBlock<IndexItem>(Block& block, std::vector<IndexItem>& items);

}  // namespace LbtLbf
