// Decodes the values that lie in a block.

#include "Lbt/Lbf/CopyFromBlock.h"

#include <algorithm>
#include <limits>

#include "Lbt/Log/Raise.h"

namespace LbtLbf {

namespace {

/// Bytes of an index entry whose name is empty.
constexpr std::uint32_t kShortestItem = 11;

/// Bytes of an empty string.
constexpr std::uint32_t kShortestString = sizeof(std::uint32_t);

IndexItem ItemFromBlock(Block& block) {
  IndexItem item;
  CopyFromBlock(block, item.sequence);
  CopyFromBlock(block, item.name);
  CopyFromBlock(block, item.size);
  CopyFromBlock(block, item.compression);
  CopyFromBlock(block, item.options);
  return item;
}

std::string_view UpToNul(std::string_view text) { return text.substr(0, text.find('\0')); }

}  // namespace

void CopyFromBlock(Block& block, std::span<float> floats) {
  const StoredList<float> stored(block.Get(static_cast<std::uint32_t>(floats.size_bytes())));
  for (std::size_t i = 0; i < floats.size(); ++i) {
    floats[i] = stored[i];
  }
}

void CopyFromBlock(Block& block, bool& value) { value = NumberFromBlock<std::uint8_t>(block) != 0; }

void CopyFromBlock(Block& block, std::string& text) {
  const auto length = NumberFromBlock<std::uint32_t>(block);
  if (length != 0) {
    text.assign(UpToNul(block.GetText(length)));
  }
}

void CopyFromBlock(Block& block, std::vector<std::string_view>& texts) {
  texts.clear();
  const auto count = NumberFromBlock<std::uint32_t>(block);
  for (std::uint32_t i = 0; i < count; ++i) {
    texts.push_back(UpToNul(block.GetText(NumberFromBlock<std::uint32_t>(block))));
  }
}

template <>
void CopyFromBlock<std::string>(Block& block, std::vector<std::string>& texts) {
  const auto count = NumberFromBlock<std::uint32_t>(block);
  const std::uint32_t mostKept = Detail::MostKept(block.GetSize(), kShortestString);
  if (count <= mostKept) {
    texts.resize(count);
  }
  std::size_t read = 0;
  try {
    for (; read < count; ++read) {
      if (read == texts.size()) {
        texts.emplace_back();
      }
      CopyFromBlock(block, texts[read]);
    }
  } catch (const Lbt::Util::Exception&) {
    texts.resize(Detail::KeptLength(count, read, mostKept));
    throw;
  }
}

template <>
void CopyFromBlock<IndexItem>(Block& block, std::vector<IndexItem>& items) {
  CopyFromBlock(block, items, std::numeric_limits<std::uint64_t>::max());
}

void CopyFromBlock(Block& block, std::vector<IndexItem>& items, std::uint64_t most) {
  const auto count = NumberFromBlock<std::uint32_t>(block);
  std::vector<IndexItem> read;
  read.reserve(std::min<std::uint64_t>(
      {std::uint64_t{count}, std::uint64_t{block.GetRemaining() / kShortestItem}, most}));
  for (std::uint32_t i = 0; i < count; ++i) {
    if (i == most) {
      Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::OutOfBounds,
                      "The index has more entries than the file can hold", "include/Lbt/Lbf/Index");
    }
    read.push_back(ItemFromBlock(block));
  }
  items = std::move(read);
}

}  // namespace LbtLbf
