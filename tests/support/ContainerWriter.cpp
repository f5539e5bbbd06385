// Writes container files.

#include "ContainerWriter.h"

#include <zlib.h>

#include <stdexcept>
#include <utility>

#include "ByteWriter.h"

namespace tevtest {
namespace {

/// A data block or continuation in file order, on its way into the file.
struct Item {
  BlockSpec spec;
  const Continuation* continuation = nullptr;
  std::string stored;
};

/// The entries of one index block, last one first.
using ReversedEntries = std::vector<std::string>;

std::string Stored(const BlockSpec& spec) {
  if (spec.storedBytes)
    return *spec.storedBytes;
  if (!spec.compressed)
    return spec.payload;
  const std::uint32_t length = spec.recordedLength.value_or(Narrow(spec.payload.size()));
  return ByteWriter().U32(length).Raw(Deflate(spec.payload, spec.level)).Bytes();
}

std::string Entry(const Item& item, std::size_t ordinal) {
  const BlockSpec& spec = item.spec;
  const auto sequence = spec.sequence.value_or(static_cast<std::uint8_t>(ordinal & 0xFFU));
  const auto compression =
      static_cast<std::uint8_t>(spec.extraCompressionBits | (spec.compressed ? 1U : 0U));
  return ByteWriter()
      .U8(sequence)
      .Text(spec.name)
      .U32(spec.storedSize.value_or(Narrow(item.stored.size())))
      .U8(compression)
      .U8(spec.options)
      .Bytes();
}

std::string IndexBlock(const ReversedEntries& entries, const std::optional<std::uint32_t>& count,
                       std::string_view trailing) {
  ByteWriter block;
  block.U32(count.value_or(Narrow(entries.size())));
  for (std::size_t i = entries.size(); i-- > 0;)
    block.Raw(entries[i]);
  return block.Raw(trailing).Bytes();
}

std::vector<Item> InFileOrder(const std::vector<BlockSpec>& blocks,
                              const std::vector<Continuation>& continuations) {
  std::vector<Item> items;
  std::size_t next = 0;
  for (const Continuation& continuation : continuations) {
    for (; next < continuation.after; ++next)
      items.push_back({blocks.at(next), nullptr, {}});
    items.push_back({continuation.block, &continuation, {}});
  }
  for (; next < blocks.size(); ++next)
    items.push_back({blocks[next], nullptr, {}});
  return items;
}

/// Fills in what is stored for each item and returns the first index's entries. It goes backwards,
/// because an index block must be complete before the entry that names its size.
ReversedEntries StoreAll(std::vector<Item>& items) {
  ReversedEntries entries;
  for (std::size_t i = items.size(); i-- > 0;) {
    Item& item = items[i];
    if (item.continuation != nullptr) {
      const Continuation& continuation = *item.continuation;
      item.spec.payload = IndexBlock(entries, continuation.count, continuation.trailing);
      entries.clear();
    }
    item.stored = Stored(item.spec);
    entries.push_back(Entry(item, i));
  }
  return entries;
}

/// Writes the stored blocks and notes where they lie. "entryOffset" is the file offset of the
/// first index's first entry.
void Place(const std::vector<Item>& items, std::size_t entryOffset, Container& container) {
  std::optional<std::size_t> entry = entryOffset;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const Item& item = items[i];
    BlockPlace place{item.spec.name, container.bytes.size(), item.stored.size(), entry};
    container.bytes += item.stored;
    const bool isContinuation = item.continuation != nullptr;
    (isContinuation ? container.continuations : container.blocks).push_back(std::move(place));
    if (entry)
      *entry += Entry(item, i).size();
    if (isContinuation)
      entry.reset();
  }
}

}  // namespace

std::string Deflate(std::string_view payload, int level) {
  uLongf size = compressBound(static_cast<uLong>(payload.size()));
  std::vector<Bytef> out(size);
  const std::vector<Bytef> in(payload.begin(), payload.end());
  if (compress2(out.data(), &size, in.data(), static_cast<uLong>(in.size()), level) != Z_OK) {
    throw std::runtime_error("compress2 failed");
  }
  return std::string(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(size));
}

std::string Compressed(std::string_view payload, int level) {
  return ByteWriter().U32(Narrow(payload.size())).Raw(Deflate(payload, level)).Bytes();
}

const BlockPlace& Container::Block(std::string_view name, std::size_t nth) const {
  for (const BlockPlace& place : blocks) {
    if (place.name == name && nth-- == 0)
      return place;
  }
  throw std::out_of_range("no such block: " + std::string(name));
}

ContainerWriter& ContainerWriter::SetVersion(std::string_view text) {
  version_ = text;
  return *this;
}

ContainerWriter& ContainerWriter::SetSignature(std::string_view bytes) {
  signature_ = bytes;
  return *this;
}

ContainerWriter& ContainerWriter::Add(BlockSpec block) {
  blocks_.push_back(std::move(block));
  return *this;
}

ContainerWriter& ContainerWriter::AddRaw(std::string_view name, std::string_view payload) {
  return Add({.name = std::string(name), .payload = std::string(payload)});
}

ContainerWriter& ContainerWriter::AddCompressed(std::string_view name, std::string_view payload) {
  return Add({.name = std::string(name), .payload = std::string(payload), .compressed = true});
}

ContainerWriter& ContainerWriter::SetIndexTrailing(std::string_view bytes) {
  indexTrailing_ = bytes;
  return *this;
}

ContainerWriter& ContainerWriter::SetIndexSize(std::uint32_t size) {
  indexSize_ = size;
  return *this;
}

ContainerWriter& ContainerWriter::SetIndexCount(std::uint32_t count) {
  indexCount_ = count;
  return *this;
}

ContainerWriter& ContainerWriter::ContinueAfter(Continuation continuation) {
  continuations_.push_back(std::move(continuation));
  return *this;
}

ContainerWriter& ContainerWriter::TruncateTo(std::size_t size) {
  truncateTo_ = size;
  return *this;
}

Container ContainerWriter::Build() const {
  std::vector<Item> items = InFileOrder(blocks_, continuations_);
  const std::string index = IndexBlock(StoreAll(items), indexCount_, indexTrailing_);
  std::string version = version_;
  version.resize(4, '\0');

  Container container;
  container.bytes = ByteWriter()
                        .Raw(signature_)
                        .Raw(version)
                        .U32(indexSize_.value_or(Narrow(index.size())))
                        .Bytes();
  container.indexOffset = container.bytes.size();
  container.indexSize = index.size();
  container.bytes += index;
  Place(items, container.indexOffset + sizeof(std::uint32_t), container);
  if (truncateTo_ && *truncateTo_ < container.bytes.size())
    container.bytes.resize(*truncateTo_);
  return container;
}

}  // namespace tevtest
