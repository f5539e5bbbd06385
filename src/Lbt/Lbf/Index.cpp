// The index of a container: reads it, and sends every read and seek to the stream of its name.

#include "Lbt/Lbf/Index.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "Lbt/Lbf/CopyFromBlock.h"
#include "Lbt/Log/Raise.h"
#include "Lbt/Util/StoredNumbers.h"

namespace LbtLbf {

using Lbt::Log::Raise;
using Lbt::Log::Trace;
using Lbt::Util::Exception;

namespace {

constexpr const char* kIndexHeader = "include/Lbt/Lbf/Index";
constexpr std::string_view kContinuationPrefix = "\vIndex Block ";

/// How many entries a second index may have: one for each byte of the file, and a million for
/// files that are small. A block that holds anything takes a byte there at the least.
std::uint64_t MostEntries(const StoredFile& file) {
  constexpr std::uint64_t kInAnyCase = std::uint64_t{1} << 20U;
  const std::uint64_t size = file.Size().value_or(std::numeric_limits<std::uint32_t>::max());
  return size + kInAnyCase;
}

/// Looks how many entries a second index has to have, where its contents have room for too many,
/// before it is inflated: deflate stores a hundred empty entries in a byte, and each takes as many
/// bytes of memory.
void RequireCredibleCount(BlockCache& cache, std::size_t entry, const StoredFile& file) {
  const std::uint64_t most = MostEntries(file);
  std::array<unsigned char, sizeof(std::uint32_t)> count{};
  if (cache.ReadCredibleLength(entry, file) > most * IndexItem::kShortest &&
      cache.ReadBeginning(entry, file, count) == count.size() &&
      Lbt::Util::FromLittleEndian<std::uint32_t>(count.data()) > most) {
    Raise(Exception::ErrorType::OutOfBounds, "The index has more entries than the file can hold",
          kIndexHeader);
  }
}

}  // namespace

void Index::Read(const StoredFile& file, std::uint64_t position, std::uint32_t size) {
  Trace("Reading index block ... ", kIndexHeader);
  ++reads_;
  ++changes_;
  cache_.Assign({}, 0);
  continuation_.reset();
  isContinuationRefused_ = false;
  unusedBytes_ = 0;
  continuationUnusedBytes_ = 0;
  continuationLength_ = 0;
  streams_.clear();
  runs_.clear();
  indexPosition_ = position;
  indexSize_ = size;

  std::vector<IndexItem> items;
  Block scratch;
  scratch.Read(file, position, size);
  CopyFromBlock<IndexItem>(scratch, items);
  unusedBytes_ = scratch.GetRemaining();
  if (!items.empty() && items.back().name.starts_with(kContinuationPrefix)) {
    AppendContinuation(file, items);
  }
  cache_.Assign(std::move(items), indexPosition_ + indexSize_);
  FindRuns();
  Trace("Index block read. ", kIndexHeader);
}

void Index::ReadIndexBufferFromFileStream(std::FILE* stream, const unsigned long& size) {
  const off_t position = ftello(stream);
  Read(stream, position < 0 ? 0 : static_cast<std::uint64_t>(position),
       static_cast<std::uint32_t>(size));
}

void Index::AppendContinuation(const StoredFile& file, std::vector<IndexItem>& items) {
  BlockCache firstIndex;
  firstIndex.SetRefusalLine(cache_.GetRefusalLine());
  firstIndex.Assign(items, indexPosition_ + indexSize_);
  const std::size_t last = items.size() - 1;
  continuation_ = {last, items[last].name};
  RequireCredibleCount(firstIndex, last, file);
  try {
    firstIndex.Load(last, file);
  } catch (...) {
    isContinuationRefused_ = firstIndex.LastRefused().has_value();
    throw;
  }
  std::vector<IndexItem> appended;
  CopyFromBlock<IndexItem>(firstIndex.GetBlock(last), appended);
  continuationLength_ = firstIndex.GetBlock(last).GetSize();
  continuationUnusedBytes_ = firstIndex.GetBlock(last).GetRemaining();
  items.insert(items.end(), std::make_move_iterator(appended.begin()),
               std::make_move_iterator(appended.end()));
}

void Index::FindRuns() {
  maxBlockSize_ = BlockSizeLimiter().maxBlockSize;
  for (std::uint32_t entry = 0; entry < cache_.Items().size(); ++entry) {
    if (entry == 0 || NameOf(entry) != NameOf(entry - 1)) {
      runs_.push_back(entry);
    }
  }
  std::ranges::sort(runs_, [this](std::uint32_t left, std::uint32_t right) {
    const int order = NameOf(left).compare(NameOf(right));
    return order == 0 ? left < right : order < 0;
  });
}

std::span<const std::uint32_t> Index::RunsOf(std::string_view name) const {
  const auto nameOf = [this](std::uint32_t run) { return NameOf(run); };
  return {std::ranges::lower_bound(runs_, name, {}, nameOf),
          std::ranges::upper_bound(runs_, name, {}, nameOf)};
}

std::vector<std::size_t> Index::FirstEntries() const {
  std::vector<std::size_t> entries;
  for (const std::uint32_t run : runs_) {
    if (entries.empty() || NameOf(run) != NameOf(entries.back())) {
      entries.push_back(run);
    }
  }
  return entries;
}

std::string TextOf(const NumberedBlock& block) {
  return "block " + std::to_string(block.number) + " (" + block.stream + ")";
}

std::string TextOfByte(std::uint64_t position, std::string_view stream,
                       std::optional<std::size_t> block) {
  return "at byte " + std::to_string(position) + " of " + std::string(stream) +
         (block ? ", in block " + std::to_string(*block) : "");
}

std::string RefusalText(const NumberedBlock& block) {
  return "zlib refuses the data of " + TextOf(block);
}

std::optional<NumberedBlock> Index::LastLoaded() const {
  const std::optional<std::size_t> entry = cache_.LastLoaded();
  return entry ? Numbered(*entry) : continuation_;
}

std::optional<NumberedBlock> Index::RefusedBlock() const {
  const std::optional<std::size_t> entry = cache_.LastRefused();
  if (entry) {
    return Numbered(*entry);
  }
  return isContinuationRefused_ ? continuation_ : std::nullopt;
}

NumberedBlock Index::Numbered(std::size_t entry) const {
  return {entry, cache_.Items()[entry].name};
}

NamedStream* Index::FindStream(std::string_view name) {
  if (const auto known = streams_.find(name); known != streams_.end()) {
    return &known->second;
  }
  const std::span<const std::uint32_t> runs = RunsOf(name);
  if (runs.empty()) {
    return nullptr;
  }
  NamedStream& stream = streams_[std::string(name)];
  stream.Limiter().maxBlockSize = maxBlockSize_;
  for (const std::uint32_t run : runs) {
    for (std::size_t entry = run; entry < cache_.Items().size() && NameOf(entry) == name; ++entry) {
      stream.Append(entry, cache_.GetBlock(entry));
    }
  }
  return &stream;
}

NamedStream& Index::GetStream(std::string_view name) {
  NamedStream* stream = FindStream(name);
  if (stream == nullptr) {
    Raise(Exception::ErrorType::ElementNotFound, "Element Not Found", kIndexHeader);
  }
  return *stream;
}

Block* Index::FindReadingBlock(NamedStream& stream, const StoredFile& file) {
  if (file.IsOpen()) {
    return &GetReadingBlock(stream, file);
  }
  const std::optional<std::size_t> entry = stream.FindInMemory(cache_);
  return entry ? &cache_.GetBlock(*entry) : nullptr;
}

void Index::LogMissingStream() { Lbt::Log::LogFailure("Element Not Found", kIndexHeader); }

unsigned long Index::GetReadingBlockIndex(std::string_view name, const StoredFile& file) {
  return GetStream(name).Choose(cache_, file);
}

unsigned long Index::GetReadingBlockIndex(std::string_view name) {
  return GetStream(name).ChooseInMemory(cache_);
}

void Index::Get(std::string_view name, void* const& destination, unsigned long length) {
  AbsorbNotFound(
      [&] { GetReadingBlock(name).Get(destination, static_cast<unsigned int>(length)); });
}

void Index::Get(std::string_view name, void* const& destination, unsigned long length,
                const StoredFile& file) {
  AbsorbNotFound(
      [&] { GetReadingBlock(name, file).Get(destination, static_cast<unsigned int>(length)); });
}

void Index::SetBlockPosition(std::string_view name, unsigned long offset, const StoredFile& file) {
  if (FindStream(name) == nullptr) {
    CreateBlock(std::string(name));
  }
  SetBlockPosition(GetStream(name), offset, file);
}

unsigned long Index::CreateBlock(const std::string& name) {
  ++changes_;
  IndexItem item;
  item.sequence = nextSequence_++;
  item.name = name;
  NamedStream* known = FindStream(name);
  const std::size_t entry = cache_.Append(std::move(item));
  (known == nullptr ? streams_[name] : *known).Append(entry, cache_.GetBlock(entry));
  return entry;
}

BlockSizeLimiter& Index::GetBlockSizeLimiter(std::string_view name) {
  return GetStream(name).Limiter();
}

void Index::ReadBufferFromFileStream(unsigned long entry, const StoredFile& file) {
  ++changes_;
  GetStream(cache_.Items().at(entry).name).Reload(cache_, entry, file);
}

Block& Index::GetBlock(unsigned long entry) {
  ++changes_;
  static_cast<void>(cache_.Items().at(entry));
  return cache_.GetBlock(entry);
}

}  // namespace LbtLbf
