// The door to the bytes of a model: finds the block that a read is served from, and seeks.

#include "Lbt/Tev/ModelStreams.h"

#include <algorithm>
#include <limits>

namespace LbtTev {

std::span<const unsigned char> ModelStream::GetBytes(unsigned long length) {
  LbtLbf::Block* block = FindBlock();
  // No block holds more than 32 bits can count; the longest read fails like any other that is
  // too long.
  constexpr unsigned long kMost = std::numeric_limits<std::uint32_t>::max();
  return block == nullptr ? std::span<const unsigned char>()
                          : block->Get(static_cast<std::uint32_t>(std::min(length, kMost)));
}

void ModelStream::Seek(unsigned long position) {
  block_ = nullptr;
  if (stream_ != nullptr && reads_ == file_->GetIndex().Reads()) {
    file_->SetBlockPosition(*stream_, position);
  } else {
    file_->SetBlockPosition(name_, position);
  }
}

void ModelStream::FindNextBlock() {
  block_ = nullptr;
  LbtLbf::NamedStream* stream = FindStream();
  block_ = stream == nullptr ? nullptr : file_->FindReadingBlock(*stream);
  changes_ = file_->GetIndex().Changes();
  if (block_ == nullptr && file_->IsOpen() && !isMissingLogged_) {
    isMissingLogged_ = true;
    LbtLbf::Index::LogMissingStream();
  }
}

LbtLbf::NamedStream* ModelStream::FindStream() {
  if (stream_ == nullptr || reads_ != file_->GetIndex().Reads()) {
    stream_ = file_->FindStream(name_);
    reads_ = file_->GetIndex().Reads();
  }
  return stream_;
}

}  // namespace LbtTev
