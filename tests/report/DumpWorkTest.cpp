// How much work and memory a dump takes: counts of what is written and read, and a limit of memory.
// A table repeats all sets of node ids and a row all values of a node, so models with many of them
// have dumps far longer than themselves, which must not be held in memory.

#include <gtest/gtest.h>

#include <cstddef>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Tev/TevInfo/ModelFacts.h"
#include "Lbt/Tev/TevInfo/TevInfo.h"
#include "OpenedModel.h"
#include "support/MemoryAllowance.h"

namespace {

/// Takes everything and keeps only counts.
class CountingBuffer : public std::streambuf {
 public:
  std::size_t bytes = 0;
  std::size_t writes = 0;

 protected:
  std::streamsize xsputn(const char* /*text*/, std::streamsize size) override {
    bytes += static_cast<std::size_t>(size);
    writes += size == 0 ? 0 : 1;
    return size;
  }
  int_type overflow(int_type c) override {
    ++bytes;
    ++writes;
    return traits_type::not_eof(c);
  }
};

TevDataset Floats(std::string result, std::vector<float> values, std::string instance = "") {
  TevDataset dataset;
  dataset.group = "Part";
  dataset.result = std::move(result);
  dataset.instance = std::move(instance);
  dataset.floatValues = std::move(values);
  return dataset;
}

/// Results of one value in as many instances, whose names have five digits, and sets of node ids.
TevInfo ManyInstancesAndIdSets(std::size_t instances, std::size_t idSets,
                               const std::vector<float>& ids) {
  TevInfo info;
  for (std::size_t i = 0; i < instances; ++i)
    info.datasets.push_back(Floats("Heat", {0.5F}, std::to_string(10000 + i)));
  for (std::size_t i = 0; i < idSets; ++i)
    info.datasets.push_back(Floats("Node Ids", ids));
  return info;
}

/// One node with its id and that many values.
TevInfo NodeWithValues(std::size_t values) {
  TevInfo info;
  info.datasets.push_back(Floats("Stress", std::vector<float>(values, 0.5F)));
  info.datasets.push_back(Floats("Node Ids", {7}));
  return info;
}

CountingBuffer CountsOf(const TevInfo& info) {
  CountingBuffer counts;
  std::ostream stream(&counts);
  info.printData(stream);
  return counts;
}

/// The pieces that a buffer of the size that numbers are collected in makes of a text.
std::size_t PiecesOf(std::size_t bytes) {
  constexpr std::size_t kPiece = std::size_t{128} * 1024;
  return bytes / kPiece + 1;
}

constexpr std::size_t kInstances = 1000;
constexpr std::size_t kIdSets = 1000;
constexpr std::size_t kValues = 1000000;

constexpr std::size_t SizeOf(std::string_view text) { return text.size(); }

constexpr std::size_t kColumn = 4 + 10;

TEST(DumpWork, ManyInstancesAndIdSets_WriteNoMoreThanTheTablesInLargePieces) {
  const TevInfo info = ManyInstancesAndIdSets(kInstances, kIdSets, {7});
  const CountingBuffer counts = CountsOf(info);
  const std::size_t table =
      SizeOf("Data : \n    Instance : 10000\n    Results: Heat\n    Values : \n\n\n") +
      kIdSets * SizeOf(", Node Ids") + (1 + kIdSets) * kColumn;
  const std::size_t overview =
      SizeOf(
          "Analysis : \n    Part\n\nElement Sets : \n\nResults : \n    Heat    1\n\n"
          "Instances : \n\n    Coordinates : \n\n\n    Connectivity : \n\n") +
      kInstances * SizeOf("    10000\n") + kColumn;
  EXPECT_EQ(counts.bytes, overview + kInstances * table);
  EXPECT_LE(counts.writes, PiecesOf(counts.bytes));
}

TEST(DumpWork, NodeWithAMillionValues_IsOneRowInLargePieces) {
  const CountingBuffer counts = CountsOf(NodeWithValues(kValues));
  const std::size_t frame =
      SizeOf(
          "Analysis : \n    Part\n\nElement Sets : \n\nResults : \n    Stress    1000000\n\n"
          "Instances : \n    \n\n    Coordinates : \n\n\n    Connectivity : \n\n"
          "Data : \n    Results: Stress, Node Ids\n    Values : \n\n\n") +
      kColumn;
  EXPECT_EQ(counts.bytes, frame + (kValues + 1) * kColumn);
  EXPECT_LE(counts.writes, PiecesOf(counts.bytes));
}

// A million tables without a row each would be many times this loop's work: not one is made.
TEST(DumpWork, ManyInstancesAndIdSetsWithoutNodes_WriteTheMeshAlone) {
  const CountingBuffer counts = CountsOf(ManyInstancesAndIdSets(kInstances, kIdSets, {}));
  EXPECT_EQ(counts.bytes, SizeOf("Analysis : \n    Part\n\nElement Sets : \n\n"
                                 "    Coordinates : \n\n    Connectivity : \n\n"));
  EXPECT_EQ(counts.writes, 1U);
}

#if !defined(TEVTEST_SANITIZED)

using tevtest::Allowed;
using tevtest::DoWithin;

/// The buffer of the text, a listing of the data sets, and what one table is made of.
constexpr std::size_t kDumpMemory = std::size_t{2} * 1024 * 1024;

void Dump(const TevInfo& info) { static_cast<void>(CountsOf(info)); }

TEST(DumpMemory, ManyInstancesAndIdSets_AreNotListedForEachInstance) {
  const TevInfo info = ManyInstancesAndIdSets(kInstances, kIdSets, {7});
  EXPECT_EQ(DoWithin(kDumpMemory, [&] { Dump(info); }), Allowed::Enough);
  const auto dumpWithoutOldPieces = [&] {
    tevtest::TakeAllPiecesFrom(kDumpMemory / 16);
    Dump(info);
  };
  EXPECT_EQ(DoWithin(kDumpMemory / 16, dumpWithoutOldPieces), Allowed::TooLittle);
}

TEST(DumpMemory, ManyInstancesAndIdSetsWithoutNodes_AreNotListedForEachInstance) {
  const TevInfo info = ManyInstancesAndIdSets(kInstances, kIdSets, {});
  EXPECT_EQ(DoWithin(kDumpMemory, [&] { Dump(info); }), Allowed::Enough);
}

TEST(DumpMemory, NodeWithAMillionValues_TakesNoMoreThanOneWithAThousand) {
  EXPECT_EQ(DoWithin(kDumpMemory / 2, [info = NodeWithValues(1000)] { Dump(info); }),
            Allowed::Enough);
  EXPECT_EQ(DoWithin(kDumpMemory / 2, [info = NodeWithValues(kValues)] { Dump(info); }),
            Allowed::Enough);
}

#endif

/// "parts" parts of "nodes" nodes with ids, coordinates, a vector and a scalar with attributes, and
/// node sets: what the largest models of the benchmarks have, less of it.
tevtest::ModelWriter SoundModel(std::size_t parts, std::size_t nodes) {
  using namespace tevtest;
  ModelWriter model;
  const NodeRef root = model.AddGroup("model", 0);
  const NodeRef group = model.AddGroup("Geometry", root);
  const AttributeSet attributes{Attribute::Float("Time", 1.0F), Attribute::Text("Title", "Sound")};
  const std::vector<float> scalars(nodes, 1.5F);
  const std::vector<float> vectors(3 * nodes, 2.5F);
  for (std::size_t part = 0; part < parts; ++part) {
    const NodeRef mesh = model.AddGeometry("mesh", model.AddShape("part", group));
    model.AddVariable(mesh, Variable::Floats("Node Ids", kIds, 1, scalars));
    model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3, vectors));
    model.AddVariable(
        mesh, Variable::Floats("Displacement\x1eTime = 1", kVectorResult, 3, vectors, attributes));
    model.AddVariable(mesh,
                      Variable::Floats("Heat\x1eTime = 1", kScalarResult, 1, scalars, attributes));
  }
  model.AddNodeSets("Sets", root, {{"Fixed", {{1, 1}, {1, 2}}}});
  model.SetLayoutOfOthers({.packing = StreamLayout::Packing::Compressed});
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  return model;
}

/// What a use of a stream has come to, in lengths of the stream.
double TimesOf(LbtTev::ModelStream& stream) {
  LbtLbf::LbFile& file = stream.GetFile();
  LbtLbf::NamedStream* named = file.FindStream(stream.GetName());
  EXPECT_NE(named, nullptr);
  return static_cast<double>(stream.Charged()) /
         static_cast<double>(file.ReadRecordedLength(*named));
}

// The limit is 16 times, and 16 MiB.
TEST(DumpWork, OfSoundModels_StaysBelowTwiceTheirStreams) {
  for (const auto& model : {SoundModel(1, 20000), SoundModel(500, 2), SoundModel(40, 400)}) {
    tevtest::OpenedModel opened(model);
    LbtTev::ModelStreams& streams = opened.tree.GetStreams();
    EXPECT_LT(TimesOf(*streams.heavy), 2);  // of the node sets
    EXPECT_LT(TimesOf(streams.light), 2);
    EXPECT_GE(TimesOf(streams.light), 1);
    const auto facts =
        LbtTev::Report::GatherModelFacts(opened.tree, LbtTev::Report::Numbers::Wanted);
    EXPECT_TRUE(facts.failures.empty());
    EXPECT_LT(TimesOf(*streams.heavy), 2);
    EXPECT_GT(TimesOf(*streams.heavy), 0.9);  // all but the node sets
  }
}

}  // namespace
