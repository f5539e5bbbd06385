// Loads and releases the blocks of an index, one entry at a time.

#include "Lbt/Lbf/BlockCache.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Log/Raise.h"

namespace LbtLbf {

using Lbt::Log::Raise;
using Lbt::Util::Exception;

namespace {

// A load fails in a block, whichever entry it is for.
constexpr const char* kCacheHeader = "include/Lbt/Lbf/Block";

}  // namespace

void KeptContents::Keep(std::size_t entry, Block contents) {
  constexpr std::size_t kAnyCase = 2;
  if (places_.contains(entry)) {
    return;
  }
  cost_ += CostOf(contents);
  list_.emplace_back(entry, std::move(contents));
  places_[entry] = std::prev(list_.end());
  while (cost_ > mostBytes_ && list_.size() > kAnyCase) {
    static_cast<void>(Remove(list_.begin()));
  }
}

std::optional<Block> KeptContents::Take(std::size_t entry) {
  const auto found = places_.find(entry);
  return found == places_.end() ? std::nullopt : std::optional(Remove(found->second));
}

Block KeptContents::Remove(List::iterator kept) {
  Block contents = std::move(kept->second);
  cost_ -= CostOf(contents);
  places_.erase(kept->first);
  list_.erase(kept);
  return contents;
}

void KeptContents::Clear() {
  list_.clear();
  places_.clear();
  cost_ = 0;
}

std::uint64_t KeptContents::CostOf(const Block& contents) {
  constexpr std::uint64_t kOfTheLists = 256;
  return contents.GetSize() + kOfTheLists;
}

void BlockCache::Assign(std::vector<IndexItem> items, std::uint64_t firstPosition) {
  BlockCache other;
  other.loadCount_ = loadCount_;
  other.refusalLine_ = refusalLine_;
  other.observer_ = std::move(observer_);
  *this = std::move(other);
  items_ = std::move(items);
  blocks_.resize(items_.size());
  wasLoaded_.resize(items_.size());
  isWantedAgain_.resize(items_.size());
  firstPosition_ = firstPosition;
  for (std::size_t entry = 0; entry < items_.size(); ++entry) {
    ComputePosition(entry);
  }
}

std::size_t BlockCache::Append(IndexItem item) {
  blocks_.emplace_back();
  wasLoaded_.push_back(false);
  isWantedAgain_.push_back(false);
  items_.push_back(std::move(item));
  return items_.size() - 1;
}

void BlockCache::ComputePosition(std::size_t entry) {
  items_[entry].position =
      entry == 0 ? firstPosition_ : items_[entry - 1].position + items_[entry - 1].size;
}

/// Where an entry's block lies in "file", which has to be open.
std::uint64_t BlockCache::PlaceOf(std::size_t entry, const StoredFile& file) {
  ComputePosition(entry);
  if (!file.IsOpen()) {
    Raise(Exception::ErrorType::ReadError, "Unable to read from file", kCacheHeader);
  }
  return items_[entry].position;
}

BlockCache::Source BlockCache::Load(std::size_t entry, const StoredFile& file) {
  lastLoaded_ = entry;
  lastRefused_.reset();
  items_[entry].loaded = 0;
  blocks_[entry] = Block();
  Source source = Source::Kept;
  if (!file.IsOpen() || !LoadKept(entry)) {
    LoadStored(entry, file);
    source = wasLoaded_[entry] ? Source::Again : Source::First;
    isWantedAgain_[entry] = wasLoaded_[entry];
    wasLoaded_[entry] = true;
  }
  items_[entry].loaded = 1;
  blocks_[entry].SetPosition(0);
  return source;
}

bool BlockCache::LoadKept(std::size_t entry) {
  if (const auto refusal = refusals_.find(entry); refusal != refusals_.end()) {
    Refuse(entry, refusal->second);
  }
  std::optional<Block> contents = kept_.Take(entry);
  if (contents) {
    blocks_[entry].Adopt(std::move(*contents));
  }
  return contents.has_value();
}

void BlockCache::LoadStored(std::size_t entry, const StoredFile& file) {
  ++loadCount_;
  TellOfLoad(entry);
  blocks_[entry].Read(file, PlaceOf(entry, file), items_[entry].size);
  if (items_[entry].IsCompressed()) {
    Inflate(entry);
  }
}

void BlockCache::Inflate(std::size_t entry) {
  const int code = ReplaceByContents(blocks_[entry]);
  if (code == Z_OK) {
    return;
  }
  if (code != Z_MEM_ERROR) {
    refusals_[entry] = code;
    Refuse(entry, code);
  }
  RaiseRefusal(code, refusalLine_);
}

void BlockCache::Refuse(std::size_t entry, int code) {
  lastRefused_ = entry;
  RaiseRefusal(code, refusalLine_);
}

void BlockCache::Forget(std::size_t entry) {
  static_cast<void>(kept_.Take(entry));
  refusals_.erase(entry);
}

void BlockCache::ForgetContents() {
  kept_.Clear();
  refusals_.clear();
}

std::uint32_t BlockCache::ReadRecordedLength(std::size_t entry, const StoredFile& file) {
  const IndexItem& item = items_[entry];
  if (!item.IsCompressed()) {
    return item.size;
  }
  if (item.size < kLengthFieldSize) {
    Raise(Exception::ErrorType::OutOfBounds, "Not enough bytes in the block", kCacheHeader);
  }
  std::array<unsigned char, kLengthFieldSize> field{};
  if (file.Read(PlaceOf(entry, file), field) != field.size()) {
    Raise(Exception::ErrorType::ReadError, "Unable to read from file", kCacheHeader);
  }
  return LengthFromField(field.data());
}

std::uint64_t BlockCache::ReadCredibleLength(std::size_t entry, const StoredFile& file) {
  const IndexItem& item = items_[entry];
  const std::uint64_t stored =
      std::min<std::uint64_t>(item.size, file.BytesFrom(PlaceOf(entry, file)));
  if (!item.IsCompressed()) {
    return stored;
  }
  return stored < kLengthFieldSize
             ? 0
             : RoomToInflate(ReadRecordedLength(entry, file), stored - kLengthFieldSize);
}

std::uint64_t BlockCache::ReadBeginning(std::size_t entry, const StoredFile& file,
                                        std::span<unsigned char> contents) {
  std::array<unsigned char, 4096> stored{};
  const std::span<unsigned char> piece =
      std::span(stored).first(std::min<std::size_t>(items_[entry].size, stored.size()));
  const std::size_t count = file.Read(PlaceOf(entry, file), piece).value_or(0);
  std::span<const unsigned char> compressed = piece.first(count);
  compressed = compressed.subspan(std::min<std::size_t>(count, kLengthFieldSize));
  return LbtLbf::Inflate(compressed, contents).length;
}

void BlockCache::Release(std::size_t entry) {
  Block contents = blocks_[entry].ReleaseContents();
  items_[entry].loaded = 0;
  if ((isWantedAgain_[entry] || keepsAll_) && contents.GetSize() != 0) {
    kept_.Keep(entry, std::move(contents));
  }
}

void BlockCache::Keep(std::size_t entry, Block contents) {
  if (keepsAll_) {
    kept_.Keep(entry, std::move(contents));
  }
}

}  // namespace LbtLbf
