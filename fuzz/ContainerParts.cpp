// Takes a container apart into its blocks and puts it together again.

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

  /// A text after its length.
  std::string_view Text() { return Take(Number<std::uint32_t>()); }

  [[nodiscard]] bool IsGood() const { return isGood_; }
  /// How many bytes were taken.
  [[nodiscard]] std::size_t Offset() const { return size_ - bytes_.size(); }

 private:
  std::string_view bytes_;
  std::size_t size_ = bytes_.size();
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
    entry.block.name = cursor.Text();
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

/// The number of the first block of that name; as many as there are without one.
std::size_t FirstOf(const ContainerParts& parts, std::string_view name) {
  const auto found = std::find_if(parts.blocks.begin(), parts.blocks.end(),
                                  [name](const auto& block) { return block.name == name; });
  return static_cast<std::size_t>(found - parts.blocks.begin());
}

/// A record of the tree, as far as it tells what its light data are.
struct LightRecord {
  std::string_view type;
  std::string_view version;
  std::uint64_t position = 0;
  std::size_t place = 0;  ///< of the position
};

std::uint64_t Wide(Cursor& cursor, bool isWide) {
  return isWide ? cursor.Number<std::uint64_t>() : cursor.Number<std::uint32_t>();
}

std::vector<LightRecord> ReadTree(std::string_view bytes, bool isWide) {
  constexpr std::size_t kLinks = 6 * sizeof(std::uint32_t);
  std::vector<LightRecord> records;
  Cursor cursor(bytes);
  for (auto left = cursor.Number<std::uint32_t>(); left > 0 && cursor.IsGood(); --left) {
    LightRecord record;
    cursor.Take(kLinks);
    cursor.Text();
    record.type = cursor.Text();
    record.version = cursor.Text();
    record.place = cursor.Offset();
    record.position = Wide(cursor, isWide);
    if (cursor.IsGood()) {
      records.push_back(record);
    }
  }
  return records;
}

/// The places of the positions of a geometry's variables, of the versions whose layout is new.
void FindInGeometry(Cursor cursor, std::size_t start, std::string_view version,
                    std::vector<PositionPlace>& places) {
  constexpr std::size_t kLink = 2 * sizeof(std::uint32_t);
  constexpr std::size_t kArray = 16;  // byte count, width, three flags and two numbers
  const std::size_t width = version == "0.7" ? sizeof(std::uint64_t) : sizeof(std::uint32_t);
  for (auto left = cursor.Number<std::uint32_t>(); left > 0 && cursor.IsGood(); --left) {
    cursor.Text();
    cursor.Number<std::uint32_t>();
    const bool isLinked = cursor.Number<std::uint8_t>() != 0;
    cursor.Take(isLinked ? kLink : kArray);
    const std::size_t offset = cursor.Offset();
    cursor.Take(isLinked ? 0 : width);
    if (cursor.IsGood() && !isLinked) {
      places.push_back({.offset = start + offset, .width = width});
    }
    cursor.Take(1);
  }
}

/// The places of the positions in one record's light data.
std::vector<PositionPlace> FindInLight(const LightRecord& record, std::string_view light) {
  constexpr std::size_t kBeforePosition = 8;  // the size of the light data and the count of sets
  constexpr std::size_t kWidth = sizeof(std::uint64_t);
  std::vector<PositionPlace> places;
  const std::size_t start = std::min<std::uint64_t>(record.position, light.size());
  const std::string_view bytes = light.substr(start);
  if (record.type == "Geometry" && record.version >= "0.5" && record.version <= "0.7") {
    FindInGeometry(Cursor(bytes), start, record.version, places);
  } else if (record.type == "NodeSets" && bytes.size() >= kBeforePosition + kWidth) {
    places.push_back({.offset = start + kBeforePosition, .width = kWidth});
  }
  return places;
}

}  // namespace

std::vector<PositionPlace> FindPositions(const ContainerParts& parts) {
  std::vector<PositionPlace> places;
  const std::size_t tree = FirstOf(parts, "Tev Tree");
  const std::size_t light = FirstOf(parts, "Light Data");
  if (tree == parts.blocks.size() || light == parts.blocks.size()) {
    return places;
  }
  const bool isWide = parts.version >= "0.7";
  const std::size_t width = isWide ? sizeof(std::uint64_t) : sizeof(std::uint32_t);
  for (const LightRecord& record : ReadTree(parts.blocks[tree].payload, isWide)) {
    places.push_back({tree, record.place, width, true});
    for (PositionPlace place : FindInLight(record, parts.blocks[light].payload)) {
      place.block = light;
      places.push_back(place);
    }
  }
  return places;
}

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
