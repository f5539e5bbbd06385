#include "ContainerParts.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace tevfuzz {

namespace {

constexpr std::size_t kHeaderSize = 16;
constexpr std::size_t kVersionOffset = 8;
constexpr std::size_t kVersionSize = 4;
constexpr std::size_t kMostInflated = std::size_t{1} << 20U;
constexpr std::size_t kMostBlocks = 64;

/// Reads from the front of bytes; stays bad once they have run out.
class Cursor {
 public:
  explicit Cursor(std::string_view bytes) : bytes_(bytes) {}

  std::string_view Take(std::size_t count) {
    isGood_ = isGood_ && count <= bytes_.size();
    const std::string_view taken = isGood_ ? bytes_.substr(0, count) : std::string_view();
    bytes_.remove_prefix(taken.size());
    return taken;
  }

  template <class T>
  T Number() {
    T value{};
    const std::string_view taken = Take(sizeof value);
    if (isGood_) {
      std::memcpy(&value, taken.data(), sizeof value);
    }
    return value;
  }

  [[nodiscard]] bool IsGood() const { return isGood_; }

 private:
  std::string_view bytes_;
  bool isGood_ = true;
};

struct Entry {
  tevtest::BlockSpec block;
  std::size_t storedSize = 0;
};

std::optional<std::vector<Entry>> ReadIndex(std::string_view bytes) {
  Cursor cursor(bytes);
  const auto count = cursor.Number<std::uint32_t>();
  std::vector<Entry> entries;
  for (std::uint32_t i = 0; i < count && cursor.IsGood() && entries.size() < kMostBlocks; ++i) {
    Entry entry;
    entry.block.sequence = cursor.Number<std::uint8_t>();
    entry.block.name = cursor.Take(cursor.Number<std::uint32_t>());
    entry.storedSize = cursor.Number<std::uint32_t>();
    const auto compression = cursor.Number<std::uint8_t>();
    entry.block.compressed = (compression & 1U) != 0;
    entry.block.extraCompressionBits = compression & 0xFEU;
    entry.block.options = cursor.Number<std::uint8_t>();
    entries.push_back(std::move(entry));
  }
  return cursor.IsGood() ? std::optional(entries) : std::nullopt;
}

/// The contents of a stored block, or none where they cannot be inflated.
std::optional<std::string> Inflate(std::string_view stored) {
  Cursor cursor(stored);
  const auto length = std::min<std::size_t>(cursor.Number<std::uint32_t>(), kMostInflated);
  if (!cursor.IsGood()) {
    return std::nullopt;
  }
  std::string contents(length, '\0');
  uLongf size = length;
  const std::string_view source = stored.substr(sizeof(std::uint32_t));
  const int code =
      uncompress(reinterpret_cast<Bytef*>(contents.data()), &size,
                 reinterpret_cast<const Bytef*>(source.data()), static_cast<uLong>(source.size()));
  contents.resize(code == Z_OK ? size : 0);
  return code == Z_OK ? std::optional(contents) : std::nullopt;
}

/// Fills in the block's bytes: inflated where possible, else as they are stored.
void TakeContents(std::string_view stored, tevtest::BlockSpec& block) {
  if (!block.compressed) {
    block.payload = stored;
  } else if (const auto contents = Inflate(stored)) {
    block.payload = *contents;
  } else {
    block.storedBytes = stored;
  }
}

bool IsContinuation(const tevtest::BlockSpec& block) {
  return block.name.starts_with(tevtest::kContinuationPrefix);
}

/// Appends the blocks of "entries" to parts; false where the file ends before them.
bool AppendBlocks(std::vector<Entry> entries, Cursor& data, ContainerParts& parts) {
  for (Entry& entry : entries) {
    TakeContents(data.Take(entry.storedSize), entry.block);
    parts.blocks.push_back(std::move(entry.block));
  }
  return data.IsGood();
}

}  // namespace

std::optional<ContainerParts> TakeApart(std::span<const std::uint8_t> file) {
  const std::string_view bytes(reinterpret_cast<const char*>(file.data()), file.size());
  if (bytes.size() < kHeaderSize) {
    return std::nullopt;
  }
  ContainerParts parts;
  parts.version = bytes.substr(kVersionOffset, kVersionSize);
  Cursor data(bytes.substr(kVersionOffset + kVersionSize));
  const std::string_view index = data.Take(data.Number<std::uint32_t>());
  auto entries = ReadIndex(index);
  if (!data.IsGood() || !entries || !AppendBlocks(std::move(*entries), data, parts)) {
    return std::nullopt;
  }
  if (parts.blocks.empty() || !IsContinuation(parts.blocks.back())) {
    return parts;
  }
  const tevtest::BlockSpec second = parts.blocks.back();
  auto more = ReadIndex(second.payload);
  if (!more) {
    return parts;
  }
  parts.blocks.pop_back();
  parts.continuedAfter = parts.blocks.size();
  parts.isContinuationCompressed = second.compressed;
  if (!AppendBlocks(std::move(*more), data, parts)) {
    return std::nullopt;
  }
  return parts;
}

std::string PutTogether(const ContainerParts& parts) {
  tevtest::ContainerWriter writer;
  writer.SetVersion(parts.version);
  writer.Blocks() = parts.blocks;
  if (parts.continuedAfter) {
    tevtest::Continuation continuation;
    continuation.after = std::min(*parts.continuedAfter, parts.blocks.size());
    continuation.block.compressed = parts.isContinuationCompressed;
    writer.ContinueAfter(continuation);
  }
  return writer.Build().bytes;
}

}  // namespace tevfuzz
