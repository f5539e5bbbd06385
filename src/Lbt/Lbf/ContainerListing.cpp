// Lists the blocks of a container with their places and lengths.

#include "Lbt/Lbf/ContainerListing.h"

#include <map>
#include <string_view>
#include <utility>

#include "Lbt/Lbf/Inflation.h"

namespace LbtLbf {

namespace {

bool HasLengthField(const IndexItem& item, std::uint64_t fileSize) {
  return item.size >= kLengthFieldSize && item.position + kLengthFieldSize <= fileSize;
}

}  // namespace

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
  if (!item.IsCompressed() || HasLengthField(item, fileSize)) {
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
  file.ReadIndex();
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

}  // namespace LbtLbf
