#pragma once

#include <string_view>

#include "Lbt/Lbf/Block.h"
#include "Lbt/Lbf/CopyFromBlock.h"
#include "Lbt/Lbf/LbFile.h"

namespace LbtLbf {

/// Reads values of one stream one after another as LbFile::Get does, but looks for the stream
/// and its block only where the last one has no bytes left. Refers to its file and to the
/// characters of the name; not to be used across a seek, which may move blocks.
class StreamReader {
 public:
  StreamReader(LbFile& file, std::string_view name) : file_(&file), name_(name) {}

  [[nodiscard]] std::string_view GetName() const { return name_; }

  /// The block that the next read is served from; see LbFile::FindReadingBlock.
  [[nodiscard]] Block* FindBlock() {
    if (block_ == nullptr || block_->IsConsumed()) {
      block_ = file_->FindReadingBlock(name_);
    }
    return block_;
  }

  /// Reads the values. Throws as LbFile::Get does; those before the failing one are read.
  template <StreamValue... T>
  void Get(T&... values) {
    (GetOne(values), ...);
  }

 private:
  template <StreamValue T>
  void GetOne(T& value) {
    if (Block* block = FindBlock(); block != nullptr) {
      CopyFromBlock(*block, value);
    } else {
      file_->Get(name_, value);
    }
  }

  LbFile* file_;
  std::string_view name_;
  Block* block_ = nullptr;
};

}  // namespace LbtLbf
