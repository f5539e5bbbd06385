// What the fuzzers' mutator does to a model's structure.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ContainerMutator.h"
#include "ContainerParts.h"
#include "support/ByteWriter.h"
#include "support/ModelWriter.h"

namespace tevfuzz {
namespace {

using namespace tevtest;

std::size_t LeaveAsItIs(std::uint8_t* /*data*/, std::size_t size, std::size_t /*maxSize*/) {
  return size;
}

std::span<const std::uint8_t> BytesOf(const std::string& file) {
  return {reinterpret_cast<const std::uint8_t*>(file.data()), file.size()};
}

/// Two variables and a set of nodes, each with heavy data of its own.
ModelWriter Model() {
  ModelWriter model;
  const NodeRef root = model.AddGroup("model", 0);
  const NodeRef geometry = model.AddGeometry("g", model.AddShape("S", root));
  model.AddVariable(geometry, Variable::Floats("A", kScalarResult, 1, {1, 2}));
  model.AddVariable(geometry, Variable::Link("L", kScalarResult, geometry, 0));
  model.AddVariable(geometry, Variable::Floats("B", kScalarResult, 1, {3, 4}));
  model.AddNodeSets("sets", root, {{"all", {{1, 1}}}});
  return model;
}

/// The numbers at the places of one kind.
std::vector<std::uint64_t> PositionsIn(const std::string& file, bool isOfLight) {
  const auto parts = TakeApart(BytesOf(file));
  std::vector<std::uint64_t> positions;
  for (const PositionPlace& place : FindPositions(parts.value())) {
    const std::string& bytes = parts->blocks[place.block].payload;
    std::uint64_t position = 0;
    for (std::size_t i = place.width; i-- > 0;)
      position = position << 8U | static_cast<unsigned char>(bytes[place.offset + i]);
    if (place.isOfLight == isOfLight)
      positions.push_back(position);
  }
  return positions;
}

TEST(FindPositions, OfAModel_AreThoseThatItsRecordsHold) {
  // The group has 41 bytes of light data, the geometry 4 and 35, 19 and 35; the shape has none.
  EXPECT_EQ(PositionsIn(Model().Build(), true), (std::vector<std::uint64_t>{0, 0, 41, 134}));
  EXPECT_EQ(PositionsIn(Model().Build(), false), (std::vector<std::uint64_t>{0, 8, 16}));
}

TEST(FindPositions, OfNarrowOnes_AreFourBytesWide) {
  ModelWriter model;
  model.SetFileVersion("0.6");
  model.SetPrefix(kLightData, "1234");
  const NodeRef geometry = model.AddGeometry("g", 0, "0.6");
  model.AddVariable(geometry, Variable::Floats("A", kScalarResult, 1, {1, 2}));
  model.AddVariable(geometry, Variable::Floats("B", kScalarResult, 1, {3, 4}));
  EXPECT_EQ(PositionsIn(model.Build(), true), (std::vector<std::uint64_t>{4}));
  EXPECT_EQ(PositionsIn(model.Build(), false), (std::vector<std::uint64_t>{0, 8}));
}

TEST(FindPositions, OfRecordsThatRunOut_AreThoseBefore) {
  ModelWriter model = Model();
  const std::string light = model.StreamBytes(kLightData);
  model.ReplaceStream(kLightData, light.substr(0, 41 + 4 + 35));
  EXPECT_EQ(PositionsIn(model.Build(), false), (std::vector<std::uint64_t>{0}));
  model.LeaveOut(kLightData);
  EXPECT_EQ(PositionsIn(model.Build(), true), std::vector<std::uint64_t>());
}

TEST(Mutate, SomeSeeds_MakeRecordsShareTheirPositions) {
  const std::string file = Model().Build();
  bool isLightShared = false;
  bool isHeavyShared = false;
  for (unsigned int seed = 1; seed < 500; ++seed) {
    const std::string mutant = Mutate(BytesOf(file), 2 * file.size(), seed, LeaveAsItIs);
    if (mutant.size() != file.size())
      continue;
    isLightShared =
        isLightShared || PositionsIn(mutant, true) == std::vector<std::uint64_t>{0, 0, 41, 41};
    isHeavyShared =
        isHeavyShared || PositionsIn(mutant, false) == std::vector<std::uint64_t>{0, 0, 16};
  }
  EXPECT_TRUE(isLightShared);
  EXPECT_TRUE(isHeavyShared);
}

}  // namespace
}  // namespace tevfuzz
