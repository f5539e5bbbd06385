#pragma once

#include "Lbt/Lbf/Block.h"

namespace LbtLbf {

/// Rewrites a block in place.
class BlockTransformation {
 public:
  BlockTransformation() = default;
  virtual ~BlockTransformation() = default;
  BlockTransformation(const BlockTransformation&) = delete;
  BlockTransformation& operator=(const BlockTransformation&) = delete;

  virtual void operator()(Block& block) = 0;
};

/// Replaces a compressed block by its contents. As stored: the uncompressed length
/// (32 bits, little-endian), then a zlib stream (RFC 1950).
///
/// Leaves the cursor at the end of the contents; a recorded length above what comes
/// out is no error. Throws "Out of Bounds" for a block without a whole length field,
/// "Memory Allocation Error", and, where zlib refuses the data, a plain
/// std::exception after a line on standard error, or, where zlib finds no memory, an
/// InflateMemoryError after the same. The block is empty after a failure.
class BlockZlibUnCompressor final : public BlockTransformation {
 public:
  void operator()(Block& block) override;
};

}  // namespace LbtLbf
