#include "Lbt/Lbf/BlockCache.h"

#include <utility>

#include "Lbt/Lbf/BlockZlibUnCompressor.h"
#include "Lbt/Lbf/CopyFromBlock.h"
#include "Lbt/Log/Raise.h"

namespace LbtLbf {

using Lbt::Log::Raise;
using Lbt::Util::Exception;

namespace {

// A load fails in a block, whichever entry it is for.
constexpr const char* kFile = "include/Lbt/Lbf/Block";
constexpr std::uint32_t kLengthField = 4;

}  // namespace

void BlockCache::Assign(std::vector<IndexItem> items, std::uint64_t firstPosition) {
  items_ = std::move(items);
  blocks_.clear();
  blocks_.resize(items_.size());
  firstPosition_ = firstPosition;
  for (std::size_t entry = 0; entry < items_.size(); ++entry) {
    ComputePosition(entry);
  }
}

std::size_t BlockCache::Append(IndexItem item) {
  blocks_.emplace_back();
  items_.push_back(std::move(item));
  return items_.size() - 1;
}

void BlockCache::ComputePosition(std::size_t entry) {
  items_[entry].position =
      entry == 0 ? firstPosition_ : items_[entry - 1].position + items_[entry - 1].size;
}

void BlockCache::SeekTo(std::size_t entry, std::FILE* stream) {
  ComputePosition(entry);
  const auto offset = static_cast<off_t>(items_[entry].position);
  if (stream == nullptr || offset < 0 || fseeko(stream, offset, SEEK_SET) != 0) {
    Raise(Exception::ErrorType::ReadError, "Unable to read from file", kFile);
  }
}

void BlockCache::Load(std::size_t entry, std::FILE* stream) {
  lastLoaded_ = entry;
  ++loadCount_;
  items_[entry].loaded = 0;
  Block& block = blocks_[entry];
  block = Block();
  SeekTo(entry, stream);
  block.Read(stream, items_[entry].size);
  if (items_[entry].IsCompressed()) {
    BlockZlibUnCompressor()(block);
  }
  items_[entry].loaded = 1;
  block.SetPosition(0);
}

std::uint32_t BlockCache::ReadRecordedLength(std::size_t entry, std::FILE* stream) {
  const IndexItem& item = items_[entry];
  if (!item.IsCompressed()) {
    return item.size;
  }
  if (item.size < kLengthField) {
    Raise(Exception::ErrorType::OutOfBounds, "Not enough bytes in the block", kFile);
  }
  SeekTo(entry, stream);
  unsigned char stored[kLengthField];
  if (std::fread(stored, kLengthField, 1, stream) != 1) {
    Raise(Exception::ErrorType::ReadError, "Unable to read from file", kFile);
  }
  return Lbt::Util::FromLittleEndian<std::uint32_t>(stored);
}

void BlockCache::Release(std::size_t entry) {
  blocks_[entry].Release();
  items_[entry].loaded = 0;
}

}  // namespace LbtLbf
