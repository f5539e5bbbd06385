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

/// Replaces a compressed block by its contents and returns zlib's code. Where that is not 0, the
/// block is empty and nothing has been told to anybody. Throws as the transformation does else.
[[nodiscard]] int ReplaceByContents(Block& block);

/// Tells on standard error that zlib refuses a block, and throws what stands for that code.
[[noreturn]] void RaiseRefusal(int code);

/// Replaces a compressed block by its contents; how it is stored stands in Inflation.h.
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
