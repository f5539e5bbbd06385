#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Lbt/Lbf/CopyFromBlock.h"
#include "Lbt/Lbf/LbFile.h"

namespace LbtLbf {

/// What the index and its own length field tell of a block. Sizes are in bytes.
struct BlockFacts {
  std::size_t number = 0;   ///< its place in the index, from 0 on
  std::string_view stream;  ///< the name of its stream, which is the index's
  std::uint64_t offset = 0;
  std::uint32_t storedSize = 0;
  /// The length of the contents by the file's own word; none where the file has no such
  /// field.
  std::optional<std::uint32_t> inflatedSize;
  bool isCompressed = false;
  bool isWithinFile = true;  ///< whether the file is long enough to hold it
};

/// Blocks in sum. What has no inflated size counts with 0.
struct BlockTotals {
  std::size_t blocks = 0;
  std::uint64_t storedSize = 0;
  std::uint64_t inflatedSize = 0;

  void Add(const BlockFacts& block);
};

/// The blocks of one stream in sum.
struct StreamTotals {
  std::string stream;
  BlockTotals totals;
};

/// What a container holds, as far as it can be told without inflating blocks.
struct ContainerListing {
  std::string version;
  std::uint64_t fileSize = 0;
  std::uint64_t indexOffset = 0;
  std::uint64_t indexSize = 0;        ///< of the first index
  std::vector<StreamTotals> streams;  ///< in the order in which they first occur
  BlockTotals totals;
};

/// Describes one block of an open container whose index has been read. Throws "Read Error".
[[nodiscard]] BlockFacts DescribeBlock(LbFile& file, std::size_t number);

/// Lists an open container, and hands each block to "visit" as it comes. Reads the index, once, and
/// the length fields of compressed blocks, and inflates nothing but a second index. Throws
/// what LbFile::ReadIndex and "visit" do, and "Read Error".
[[nodiscard]] ContainerListing ListContainer(
    LbFile& file, const std::function<void(const BlockFacts&)>& visit = nullptr);

/// What reading a stored block to its end shows. Sizes are in bytes.
struct BlockCheck {
  std::uint64_t sizeInFile = 0;  ///< how much of the stored block the file holds
  /// The length of the contents by the file's own word; none for a compressed block without a
  /// whole length field.
  std::optional<std::uint32_t> recordedLength;
  std::uint64_t length = 0;  ///< of the contents, as far as they come out
  int zlibCode = 0;          ///< what `uncompress` makes of the block: 0 is good
  bool isCut = false;        ///< the zlib stream does not end within the block
};

/// Checks the block of an entry as loading it would, the check sum of a compressed one
/// included, but keeps nothing of it: the memory that it takes does not grow with the block.
/// A block that the file does not hold whole is not inflated. Throws "Read Error",
/// also where the file gets shorter meanwhile, and std::bad_alloc.
[[nodiscard]] BlockCheck CheckBlock(LbFile& file, const IndexItem& item);

}  // namespace LbtLbf
