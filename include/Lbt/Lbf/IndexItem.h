#pragma once

#include <cstdint>
#include <string>

namespace LbtLbf {

/// One entry of a container's index: where a stored block lies and how.
struct IndexItem {
  std::uint8_t sequence = 0;   ///< number in order of creation
  std::string name;            ///< name of the stream that the block belongs to
  std::uint64_t position = 0;  ///< offset of the stored block in the file, computed
  std::uint32_t size = 0;      ///< stored bytes
  std::uint8_t compression = 0;
  std::uint8_t options = 0;       ///< carried, without a meaning here
  std::uint8_t reservedFlag = 0;  ///< always 0
  std::uint8_t loaded = 0;        ///< 1 while the block holds the entry's data
  std::uint32_t reservedWord = 0;

  /// Whether the block is stored zlib-compressed; other bits have no meaning.
  [[nodiscard]] bool IsCompressed() const { return (compression & 1U) != 0; }
};

}  // namespace LbtLbf
