#pragma once

#include <cstdint>
#include <optional>

#include "Lbt/Lbf/CopyFromBlock.h"
#include "Lbt/Lbf/LbFile.h"

namespace LbtLbf {

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
