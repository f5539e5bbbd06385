// Lists what a container holds, and checks its blocks one by one.

#include "Lbt/Lbf/ContainerListing.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <map>
#include <new>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Log/Raise.h"

namespace LbtLbf {

BlockFacts DescribeBlock(LbFile& file, std::size_t number) {
  const std::uint64_t fileSize = file.GetSize().value_or(0);
  const IndexItem& item = file.GetIndex().GetItems()[number];
  BlockFacts facts;
  facts.number = number;
  facts.stream = item.name;
  facts.offset = item.position;
  facts.storedSize = item.size;
  facts.isCompressed = item.IsCompressed();
  facts.isWithinFile = item.position + item.size <= fileSize;
  if (!item.IsCompressed() || item.SizeIn(fileSize) >= kLengthFieldSize) {
    facts.inflatedSize = file.ReadRecordedLength(number);
  }
  return facts;
}

void BlockTotals::Add(const BlockFacts& block) {
  ++blocks;
  storedSize += block.storedSize;
  inflatedSize += block.inflatedSize.value_or(0);
}

ContainerListing ListContainer(LbFile& file, const std::function<void(const BlockFacts&)>& visit) {
  ContainerListing listing;
  listing.version = file.ReadVersion();
  listing.fileSize = file.GetSize().value_or(0);
  if (file.GetIndex().IsEmpty()) {
    file.ReadIndex();
  }
  const Index& index = file.GetIndex();
  listing.indexOffset = index.GetIndexPosition();
  listing.indexSize = index.GetIndexSize();
  std::map<std::string_view, std::size_t> places;
  for (std::size_t number = 0; number < index.GetItems().size(); ++number) {
    const BlockFacts block = DescribeBlock(file, number);
    const auto [place, isNew] = places.try_emplace(block.stream, listing.streams.size());
    if (isNew) {
      listing.streams.push_back({std::string(block.stream), {}});
    }
    listing.streams[place->second].totals.Add(block);
    listing.totals.Add(block);
    if (visit) {
      visit(block);
    }
  }
  return listing;
}

namespace {

constexpr std::size_t kPiece = std::size_t{64} * 1024;

/// Reads bytes that the file has had a moment ago.
void ReadWhole(LbFile& file, std::uint64_t offset, std::span<unsigned char> bytes) {
  if (file.ReadStored(offset, bytes) < bytes.size()) {
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::ReadError, "Unable to read from file",
                    "include/Lbt/Lbf/BlockCheck");
  }
}

/// Inflates a block into nothing, reading it piece by piece.
void InflateStored(LbFile& file, const IndexItem& item, BlockCheck& check) {
  std::uint64_t offset = item.position + kLengthFieldSize;
  std::uint64_t left = item.size - kLengthFieldSize;
  std::vector<unsigned char> stored(kPiece);
  std::vector<unsigned char> unwanted(kPiece);
  const auto next = [&]() -> std::span<const unsigned char> {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left, kPiece));
    const std::span<unsigned char> piece = std::span(stored).first(wanted);
    ReadWhole(file, offset, piece);
    offset += wanted;
    left -= wanted;
    return piece;
  };
  const Inflated inflated = Inflate(next, *check.recordedLength, unwanted);
  if (inflated.code == Z_MEM_ERROR) {
    throw std::bad_alloc();
  }
  check.zlibCode = inflated.code;
  check.length = inflated.length;
  check.isCut = inflated.isCut;
}

}  // namespace

BlockCheck CheckBlock(LbFile& file, const IndexItem& item) {
  const std::uint64_t fileSize = file.GetSize().value_or(0);
  BlockCheck check;
  check.sizeInFile = item.SizeIn(fileSize);
  if (!item.IsCompressed()) {
    check.recordedLength = item.size;
    check.length = check.sizeInFile;
    return check;
  }
  std::array<unsigned char, kLengthFieldSize> field{};
  if (check.sizeInFile < field.size()) {
    return check;
  }
  ReadWhole(file, item.position, field);
  check.recordedLength = LengthFromField(field.data());
  if (check.sizeInFile == item.size) {
    InflateStored(file, item, check);
  }
  return check;
}

}  // namespace LbtLbf
