// The listing of the blocks of a container.

#include <gtest/gtest.h>

#include "Lbt/Lbf/ContainerListing.h"
#include "support/ContainerWriter.h"
#include "support/TempDir.h"

namespace tevtest {
namespace {

struct Listed {
  explicit Listed(const std::string& bytes) {
    file.OpenFile(directory.Write("a.tev", bytes), "rb");
    listing = LbtLbf::ListContainer(
        file, [this](const LbtLbf::BlockFacts& block) { blocks.push_back(block); });
  }

  TempDir directory;
  LbtLbf::LbFile file;
  LbtLbf::ContainerListing listing;
  std::vector<LbtLbf::BlockFacts> blocks;
};

TEST(ContainerListing, Blocks_AreToldWithoutLoadingAny) {
  const Container container =
      ContainerWriter().AddRaw("A", "123").AddCompressed("B", std::string(1000, 'x')).Build();
  const Listed listed(container.bytes);
  ASSERT_EQ(listed.blocks.size(), 2U);
  const LbtLbf::BlockFacts& block = listed.blocks[1];
  EXPECT_EQ(block.number, 1U);
  EXPECT_EQ(block.stream, "B");
  EXPECT_EQ(block.offset, container.Block("B").offset);
  EXPECT_EQ(block.storedSize, container.Block("B").storedSize);
  EXPECT_EQ(block.inflatedSize, 1000U);
  EXPECT_TRUE(block.isCompressed);
  EXPECT_EQ(listed.file.GetIndex().GetCache().LoadCount(), 0U);
}

TEST(ContainerListing, Totals_AreSummedByStreamInOrderOfAppearance) {
  const Listed listed(
      ContainerWriter().AddRaw("B", "12").AddRaw("A", "3").AddRaw("B", "4567").Build().bytes);
  ASSERT_EQ(listed.listing.streams.size(), 2U);
  EXPECT_EQ(listed.listing.streams[0].stream, "B");
  EXPECT_EQ(listed.listing.streams[0].totals.blocks, 2U);
  EXPECT_EQ(listed.listing.streams[0].totals.inflatedSize, 6U);
  EXPECT_EQ(listed.listing.streams[1].stream, "A");
  EXPECT_EQ(listed.listing.totals.blocks, 3U);
  EXPECT_EQ(listed.listing.totals.storedSize, 7U);
}

TEST(ContainerListing, LongClaims_AddUpBeyond32Bits) {
  ContainerWriter writer;
  const BlockSpec block{
      .name = "A", .payload = "x", .compressed = true, .recordedLength = 0xFFFFFFFF};
  writer.Add(block).Add(block);
  EXPECT_EQ(Listed(writer.Build().bytes).listing.totals.inflatedSize, 8589934590U);
}

TEST(ContainerListing, BlockPastTheEnd_HasNoLengthAndDoesNotFail) {
  ContainerWriter writer;
  writer.AddRaw("A", "1234").AddCompressed("B", "5678");
  const std::size_t end = writer.Build().Block("B").offset;
  const Listed listed(writer.TruncateTo(end + 3).Build().bytes);
  EXPECT_TRUE(listed.blocks.at(0).isWithinFile);
  EXPECT_FALSE(listed.blocks.at(1).isWithinFile);
  EXPECT_EQ(listed.blocks.at(1).inflatedSize, std::nullopt);
}

}  // namespace
}  // namespace tevtest
