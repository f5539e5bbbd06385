// One stream of blocks: chooses the block to read from, seeks, and releases what was passed.

#include "Lbt/Lbf/NamedStream.h"

#include <algorithm>
#include <bit>
#include <functional>

#include "Lbt/Log/Raise.h"

namespace LbtLbf {

using Lbt::Log::Raise;
using Lbt::Util::Exception;

namespace {

constexpr const char* kStreamHeader = "include/Lbt/Lbf/Index";

std::size_t LowestBit(std::size_t value) { return value & (~value + 1); }

}  // namespace

void PrefixSums::Append(std::uint64_t length) {
  const std::size_t node = tree_.size() + 1;
  for (std::size_t part = 1; part < LowestBit(node); part <<= 1U) {
    length += tree_[node - part - 1];
  }
  tree_.push_back(length);
}

void PrefixSums::Change(std::size_t index, std::uint64_t from, std::uint64_t to) {
  for (std::size_t node = index + 1; node <= tree_.size(); node += LowestBit(node)) {
    tree_[node - 1] += to - from;  // modulo 2^64, right in either direction
  }
}

std::uint64_t PrefixSums::Sum(std::size_t count) const {
  std::uint64_t sum = 0;
  for (std::size_t node = count; node > 0; node -= LowestBit(node)) {
    sum += tree_[node - 1];
  }
  return sum;
}

std::size_t PrefixSums::Find(std::uint64_t offset) const {
  std::size_t found = 0;
  for (std::size_t step = std::bit_floor(tree_.size()); step > 0; step >>= 1U) {
    const std::size_t node = found + step;
    if (node <= tree_.size() && tree_[node - 1] <= offset) {
      offset -= tree_[node - 1];
      found = node;
    }
  }
  return found;
}

BlockSizeLimiter::BlockSizeLimiter()
    : maxBlockSize(
          Block::SizeFromEnvironment("PRAMO_MAX_TEV_BLOCK_SIZE").value_or(kDefaultMaxBlockSize)) {}

std::size_t NamedStream::Choose(BlockCache& cache, const StoredFile& file) {
  for (; firstOpen_ < limiter_.blocks.size(); Advance(cache)) {
    const std::size_t entry = EntryAt(firstOpen_);
    if (cache.GetBlock(entry).IsConsumed() && NeedsLoad(cache, firstOpen_)) {
      Load(cache, firstOpen_, file);
    }
    const bool isLast = firstOpen_ + 1 == limiter_.blocks.size();
    if (!cache.GetBlock(entry).IsConsumed() || isLast) {
      return entry;
    }
  }
  Raise(Exception::ErrorType::ElementNotFound, "Element Not Found", kStreamHeader);
}

/// Leaves the first open block, which is used up; its length is known by now.
void NamedStream::Advance(const BlockCache& cache) {
  if (!IsKnown(firstOpen_)) {
    lengths_.Append(cache.GetBlock(EntryAt(firstOpen_)).GetSize());
  }
  firstOpen_ = SkipEmpty(firstOpen_ + 1);
}

/// The first block from "place" on that is not empty for certain; the last one is looked at in any
/// case.
std::size_t NamedStream::SkipEmpty(std::size_t place) const {
  const std::size_t last = limiter_.blocks.size() - 1;
  if (place >= last || !IsKnown(place)) {
    return place;
  }
  const std::size_t next = std::min(lengths_.Find(lengths_.Sum(place)), last);
  const auto suspect = suspects_.lower_bound(place);
  return suspect == suspects_.end() ? next : std::min(next, *suspect);
}

/// Whether reading is done with a block for certain.
bool NamedStream::IsUsedUp(const BlockCache& cache, std::size_t place) const {
  return cache.GetBlock(EntryAt(place)).IsConsumed() && !NeedsLoad(cache, place);
}

std::optional<std::size_t> NamedStream::HolderOf(BlockCache& cache, std::uint64_t offset,
                                                 const StoredFile& file) {
  const std::size_t place = FindPlace(cache, offset, file);
  const std::uint64_t start = lengths_.Sum(place);
  const std::uint64_t length =
      IsKnown(place) ? lengths_.Sum(place + 1) - start : Measure(cache, place, file);
  return offset - start < length ? std::optional(EntryAt(place)) : std::nullopt;
}

std::uint64_t NamedStream::Position(const BlockCache& cache) {
  if (limiter_.blocks.empty()) {
    return 0;
  }
  const std::size_t last = limiter_.blocks.size() - 1;
  while (firstOpen_ < last && IsUsedUp(cache, firstOpen_)) {
    Advance(cache);
  }
  std::size_t place = firstOpen_;
  if (suspects_.contains(place)) {
    // A seek went over it, and over nothing with bytes left.
    place = std::max(place, sought_);
    while (place < last && IsKnown(place) && IsUsedUp(cache, place)) {
      ++place;
    }
    sought_ = place;
  }
  return lengths_.Sum(place) + cache.GetBlock(EntryAt(place)).GetPosition();
}

std::uint64_t NamedStream::RecordedLength(BlockCache& cache, const StoredFile& file) {
  if (!recordedLength_) {
    std::uint64_t length = 0;
    for (const std::size_t entry : limiter_.blocks) {
      length += cache.ReadCredibleLength(entry, file);
    }
    recordedLength_ = length;
  }
  return *recordedLength_;
}

std::size_t NamedStream::ChooseInMemory(const BlockCache& cache) const {
  const std::optional<std::size_t> open = FindInMemory(cache);
  if (!open) {
    Raise(Exception::ErrorType::ElementNotFound, "Element Not Found", kStreamHeader);
  }
  return *open;
}

std::optional<std::size_t> NamedStream::FindInMemory(const BlockCache& cache) const {
  const auto& blocks = limiter_.blocks;
  const auto open =
      std::find_if(blocks.begin() + static_cast<std::ptrdiff_t>(firstOpen_), blocks.end(),
                   [&cache](std::size_t entry) { return !cache.GetBlock(entry).IsConsumed(); });
  return open == blocks.end() ? std::nullopt : std::optional<std::size_t>(*open);
}

void NamedStream::Seek(BlockCache& cache, std::uint64_t offset, const StoredFile& file) {
  cache.ForgetRefusal();
  if (limiter_.blocks.empty()) {
    Raise(Exception::ErrorType::ElementNotFound, "Element Not Found", kStreamHeader);
  }
  for (bool isDone = false; !isDone;) {
    const std::size_t place = FindPlace(cache, offset, file);
    LeaveBefore(cache, place);
    sought_ = place;
    firstOpen_ = suspects_.empty() ? place : std::min(place, *suspects_.begin());
    const bool isCorrected = TakeTarget(cache, place, file);
    Block& block = cache.GetBlock(EntryAt(place));
    const std::uint64_t within = offset - lengths_.Sum(place);
    isDone = within <= block.GetSize() || !isCorrected;
    if (isDone) {
      block.SetPosition(within);
    }
  }
}

/// Has a block in memory; whether that has shown another length than was known.
bool NamedStream::TakeTarget(BlockCache& cache, std::size_t place, const StoredFile& file) {
  if (cache.IsLoaded(EntryAt(place)) || cache.IsStoredEmpty(EntryAt(place))) {
    return false;
  }
  const std::size_t known = std::min(place + 1, lengths_.Count());
  const std::uint64_t before = lengths_.Sum(known);
  Load(cache, place, file);
  return lengths_.Sum(known) != before;
}

/// Measures blocks that no seek has passed yet, one by one, until one holds the
/// offset. The last block is the target of whatever is left.
std::size_t NamedStream::FindPlace(BlockCache& cache, std::uint64_t offset,
                                   const StoredFile& file) {
  const std::size_t last = limiter_.blocks.size() - 1;
  std::size_t place = lengths_.Find(offset);
  while (!IsKnown(place) && place < last) {
    LeaveBefore(cache, place);
    lengths_.Append(Measure(cache, place, file));
    const std::size_t next = lengths_.Find(offset);
    if (next > place) {
      Pass(cache, place);
    }
    place = next;
  }
  return std::min(place, last);
}

std::uint32_t NamedStream::Measure(BlockCache& cache, std::size_t place,
                                   const StoredFile& file) const {
  const std::size_t entry = EntryAt(place);
  const std::uint32_t size = cache.GetBlock(entry).GetSize();
  return size != 0 || cache.IsLoaded(entry) ? size : cache.ReadRecordedLength(entry, file);
}

/// Leaves a block that is not in memory as loading and releasing it would.
void NamedStream::Pass(BlockCache& cache, std::size_t place) {
  const std::uint64_t length = lengths_.Sum(place + 1) - lengths_.Sum(place);
  if (!NeedsLoad(cache, place)) {
    return;
  }
  if (length == 0) {
    suspects_.insert(place);  // only inflating it can tell whether that is true
  } else {
    cache.GetBlock(EntryAt(place)).Pass(static_cast<std::uint32_t>(length));
  }
}

/// Done before each look at a further block, so that a seek which fails there leaves
/// those before it passed.
void NamedStream::LeaveBefore(BlockCache& cache, std::size_t place) {
  ReleaseBefore(cache, place);
  PassFailed(cache, place);
}

void NamedStream::PassFailed(BlockCache& cache, std::size_t place) {
  while (!failed_.empty() && *failed_.begin() < place) {
    Pass(cache, *failed_.begin());
    failed_.erase(failed_.begin());
  }
}

bool NamedStream::NeedsLoad(const BlockCache& cache, std::size_t place) const {
  const std::size_t entry = EntryAt(place);
  return cache.GetBlock(entry).GetSize() == 0 && !cache.IsLoaded(entry) &&
         !cache.IsStoredEmpty(entry);
}

void NamedStream::ReleaseBefore(BlockCache& cache, std::size_t place) {
  while (!loaded_.empty() && loaded_.front() < place) {
    cache.Release(EntryAt(loaded_.front()));
    std::pop_heap(loaded_.begin(), loaded_.end(), std::greater<>());
    loaded_.pop_back();
  }
}

void NamedStream::Load(BlockCache& cache, std::size_t place, const StoredFile& file) {
  const std::size_t entry = EntryAt(place);
  const bool wasLoaded = cache.IsLoaded(entry);
  try {
    const BlockCache::Source source = cache.Load(entry, file);
    CountLoad(source, cache.GetBlock(entry).GetSize());
  } catch (...) {
    if (IsKnown(place)) {
      failed_.insert(place);
    }
    throw;
  }
  suspects_.erase(place);
  const std::uint64_t length = cache.GetBlock(entry).GetSize();
  if (!wasLoaded && length != 0) {  // blocks without bytes are never released: nothing is gained
    loaded_.push_back(place);
    std::push_heap(loaded_.begin(), loaded_.end(), std::greater<>());
  }
  if (IsKnown(place)) {
    lengths_.Change(place, lengths_.Sum(place + 1) - lengths_.Sum(place), length);
  }
}

void NamedStream::CountLoad(BlockCache::Source source, std::uint64_t length) {
  if (source != BlockCache::Source::Kept) {
    ++work_.loads;
    (source == BlockCache::Source::First ? work_.loadedFirst : work_.loadedAgain) += length;
  }
}

void NamedStream::Reload(BlockCache& cache, std::size_t entry, const StoredFile& file) {
  const std::size_t place = PlaceOf(entry);
  firstOpen_ = std::min(firstOpen_, place);
  cache.Forget(entry);
  Load(cache, place, file);
}

std::size_t NamedStream::PlaceOf(std::size_t entry) const {
  const auto& blocks = limiter_.blocks;
  return static_cast<std::size_t>(std::lower_bound(blocks.begin(), blocks.end(), entry) -
                                  blocks.begin());
}

}  // namespace LbtLbf
