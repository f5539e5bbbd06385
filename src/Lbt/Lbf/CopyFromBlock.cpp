// Decodes the values that lie in a block.

#include "Lbt/Lbf/CopyFromBlock.h"

#include <algorithm>
#include <utility>

#include "Lbt/Util/Exception.h"

namespace LbtLbf {

namespace {

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
  const auto count = NumberFromBlock<std::uint32_t>(block);
  std::vector<IndexItem> read;
  read.reserve(std::min(count, block.GetRemaining() / IndexItem::kShortest));
  for (std::uint32_t i = 0; i < count; ++i) {
    read.push_back(ItemFromBlock(block));
  }
  items = std::move(read);
}

}  // namespace LbtLbf
