// Loads and releases the blocks of an index, one entry at a time.

#include "Lbt/Lbf/BlockCache.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <utility>

#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Log/Raise.h"

namespace LbtLbf {

using Lbt::Log::Raise;
using Lbt::Util::Exception;

namespace {

// A load fails in a block, whichever entry it is for.
constexpr const char* kFile = "include/Lbt/Lbf/Block";

}  // namespace

void BlockCache::Assign(std::vector<IndexItem> items, std::uint64_t firstPosition) {
  items_ = std::move(items);
  lastLoaded_.reset();
  lastRefused_.reset();
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
  lastRefused_.reset();
  ++loadCount_;
  items_[entry].loaded = 0;
  Block& block = blocks_[entry];
  block = Block();
  SeekTo(entry, stream);
  block.Read(stream, items_[entry].size);
  if (items_[entry].IsCompressed()) {
    Inflate(entry);
  }
  items_[entry].loaded = 1;
  block.SetPosition(0);
}

void BlockCache::Inflate(std::size_t entry) {
  const int code = ReplaceByContents(blocks_[entry]);
  if (code == Z_OK) {
    return;
  }
  if (code != Z_MEM_ERROR) {
    lastRefused_ = entry;
  }
  RaiseRefusal(code);
}

std::uint32_t BlockCache::ReadRecordedLength(std::size_t entry, std::FILE* stream) {
  const IndexItem& item = items_[entry];
  if (!item.IsCompressed()) {
    return item.size;
  }
  if (item.size < kLengthFieldSize) {
    Raise(Exception::ErrorType::OutOfBounds, "Not enough bytes in the block", kFile);
  }
  SeekTo(entry, stream);
  std::array<unsigned char, kLengthFieldSize> field{};
  if (std::fread(field.data(), field.size(), 1, stream) != 1) {
    Raise(Exception::ErrorType::ReadError, "Unable to read from file", kFile);
  }
  return LengthFromField(field.data());
}

std::uint64_t BlockCache::ReadCredibleLength(std::size_t entry, std::FILE* stream) {
  SeekTo(entry, stream);
  const IndexItem& item = items_[entry];
  const std::uint64_t stored = std::min<std::uint64_t>(item.size, Block::BytesLeft(stream));
  if (!item.IsCompressed()) {
    return stored;
  }
  return stored < kLengthFieldSize
             ? 0
             : RoomToInflate(ReadRecordedLength(entry, stream), stored - kLengthFieldSize);
}

void BlockCache::Release(std::size_t entry) {
  blocks_[entry].Release();
  items_[entry].loaded = 0;
}

}  // namespace LbtLbf
