// Statistics of the fields of whole models, and what it takes to load them.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>

#include "DescribedModel.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "Lbt/Util/Exception.h"
#include "support/SmallModel.h"

namespace LbtTev::Analysis {
namespace {

using tevtest::CountedLoads;
using tevtest::DescribedModel;
using tevtest::kConnectivity;
using tevtest::kCoordinates;
using tevtest::kHeavyData;
using tevtest::kIds;
using tevtest::kPolylength;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::StreamLayout;
using tevtest::Variable;
using Texts = std::vector<std::string>;

std::string TextOf(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const Lbt::Util::Exception& exception) {
    return exception.GetLogMessage();
  }
}

std::string TextOf(const Figures::Extreme& extreme) {
  return std::to_string(static_cast<int>(extreme.value)) + '@' + std::to_string(extreme.index) +
         '#' + (extreme.id ? std::to_string(*extreme.id) : "-");
}

/// "part result: counted min max" of each field, of the magnitude or the only component; for the
/// failed ones the failure.
Texts StatisticsTexts(const Model& model, std::size_t ahead = 0) {
  Texts texts;
  const auto fields = SelectFields(model, {});
  GatherStatistics(
      model, fields,
      [&](const FieldOfPart& each, const FieldStatistics& result) {
        std::string text =
            model.Parts()[each.part].name + ' ' + std::string(each.field->result) + ": ";
        if (result.failure != nullptr) {
          texts.push_back(text + TextOf(result.failure));
          return;
        }
        const Statistics& statistics = result.statistics.value();
        const Figures& figures =
            statistics.magnitude ? *statistics.magnitude : statistics.components.at(0);
        texts.push_back(text + std::to_string(statistics.counted) + ' ' + TextOf(figures.min) +
                        ' ' + TextOf(figures.max));
      },
      ahead);
  return texts;
}

NodeRef AddPart(ModelWriter& model, NodeRef group, const std::string& name) {
  return model.AddGeometry(name, model.AddShape(name, group));
}

NodeRef AddGroup(ModelWriter& model) { return model.AddGroup("Geometry", model.AddGroup("r", 0)); }

/// Four nodes with ids 11 to 14 and a field; a second part that shares all but its only face.
ModelWriter SharedArrays(std::initializer_list<std::uint32_t> face,
                         std::initializer_list<std::uint32_t> lengths) {
  ModelWriter model;
  const NodeRef group = AddGroup(model);
  const NodeRef first = AddPart(model, group, "A");
  model.AddVariable(first, Variable::Floats("Node Ids", kIds, 1, {11, 12, 13, 14}));
  model.AddVariable(first, Variable::Floats("Coordinates", kCoordinates, 3,
                                            {0, 0, 0, 1, 0, 0, 2, 0, 0, 3, 0, 0}));
  model.AddVariable(first, Variable::Floats("R", 13, 1, {40, 10, 30, 20}));
  model.AddVariable(first, Variable::Uints("Connectivity", kConnectivity, 1, {0, 1}));
  model.AddVariable(first, Variable::Uints("Polylength", kPolylength, 1, {2}));
  const NodeRef second = AddPart(model, group, "B");
  for (std::uint32_t i = 0; i < 3; ++i) {
    const auto& target = model.VariableAt(first, i);
    model.AddVariable(second, Variable::Link(target.name, target.type, first, i));
  }
  model.AddVariable(second, Variable::Uints("Connectivity", kConnectivity, 1, face));
  model.AddVariable(second, Variable::Uints("Polylength", kPolylength, 1, lengths));
  return model;
}

TEST(FieldStatistics, OfASharedArray_AreThoseOfThePartsOwnFaces) {
  const DescribedModel described(SharedArrays({3, 2}, {2}));
  EXPECT_EQ(StatisticsTexts(described.model),
            (Texts{"A R: 2 10@1#12 40@0#11", "B R: 2 20@3#14 30@2#13"}));
}

TEST(FieldStatistics, OfDamagedFaces_AreMissingAndTheOthersAreNot) {
  EXPECT_EQ(StatisticsTexts(DescribedModel(SharedArrays({3, 4}, {2})).model),
            (Texts{"A R: 2 10@1#12 40@0#11", "B R: A face names a node that the mesh has not"}));
  EXPECT_EQ(StatisticsTexts(DescribedModel(SharedArrays({3, 2}, {3})).model)[1],
            "B R: The lengths of the faces do not make up the list of their nodes");
}

TEST(FieldStatistics, OfFacesThatAPartWithFewerNodesShares_AreMissingOfThatPartAlone) {
  ModelWriter model;
  const NodeRef group = AddGroup(model);
  const NodeRef first = AddPart(model, group, "A");
  model.AddVariable(first, Variable::Floats("Coordinates", kCoordinates, 3,
                                            {0, 0, 0, 1, 0, 0, 2, 0, 0, 3, 0, 0}));
  model.AddVariable(first, Variable::Uints("Connectivity", kConnectivity, 1, {3, 2}));
  model.AddVariable(first, Variable::Uints("Polylength", kPolylength, 1, {2}));
  model.AddVariable(first, Variable::Floats("R", 13, 1, {40, 10, 30, 20}));
  const NodeRef second = AddPart(model, group, "B");
  model.AddVariable(second, Variable::Floats("Coordinates", kCoordinates, 3, {0, 0, 0, 1, 0, 0}));
  model.AddVariable(second, Variable::Link("Connectivity", kConnectivity, first, 1));
  model.AddVariable(second, Variable::Link("Polylength", kPolylength, first, 2));
  model.AddVariable(second, Variable::Floats("R", 13, 1, {5, 6}));
  EXPECT_EQ(StatisticsTexts(DescribedModel(model).model),
            (Texts{"A R: 2 20@3#- 30@2#-", "B R: A face names a node that the mesh has not"}));
}

TEST(FieldStatistics, OfElements_CountAllOfThem) {
  ModelWriter model;
  const NodeRef mesh = AddPart(model, AddGroup(model), "A");
  model.AddVariable(mesh, Variable::Floats("R", 13, 1, {5, 7}));
  model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3, {0, 0, 0}));
  model.AddVariable(mesh, Variable::Uints("Connectivity", kConnectivity, 1, {0, 0}));
  model.AddVariable(mesh, Variable::Uints("Polylength", kPolylength, 1, {1, 1}));
  model.AddVariable(mesh, Variable::Floats("Element Ids", kIds, 1, {101, 102}));
  EXPECT_EQ(StatisticsTexts(DescribedModel(model).model), Texts{"A R: 2 5@0#101 7@1#102"});
}

TEST(FieldStatistics, OfAMovedMesh_UseTheMeshOfTheStep) {
  ModelWriter model;
  const NodeRef mesh = AddPart(model, AddGroup(model), "A");
  model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 1, {0, 1, 2}));
  model.AddVariable(mesh, Variable::Uints("C", kConnectivity, 1, {0, 1}));
  model.AddVariable(mesh, Variable::Uints("P", kPolylength, 1, {2}));
  model.AddVariable(mesh, Variable::Uints("C\x1eTime = 2", kConnectivity, 1, {1, 2}));
  model.AddVariable(mesh, Variable::Floats("Node Ids\x1eTime = 2", kIds, 1, {7, 8, 9}));
  model.AddVariable(mesh, Variable::Floats("R\x1eTime = 1", 13, 1, {1, 2, 3}));
  model.AddVariable(mesh, Variable::Floats("R\x1eTime = 2", 13, 1, {1, 2, 3}));
  EXPECT_EQ(StatisticsTexts(DescribedModel(model).model),
            (Texts{"A R: 2 1@0#- 2@1#-", "A R: 2 2@1#8 3@2#9"}));
}

TEST(FieldStatistics, OfOldRecords_AreReadToo) {
  for (const char* version : {"0.1", "0.4", "0.5", "0.6"}) {
    ModelWriter model;
    const NodeRef mesh = model.AddGeometry("m", model.AddShape("A", AddGroup(model)), version);
    model.AddVariable(mesh, Variable::Floats("R", 13, 3, {1, 2, 2, 3, 4, 0}));
    EXPECT_EQ(StatisticsTexts(DescribedModel(model).model), Texts{"A R: 2 3@0#- 5@1#-"}) << version;
  }
}

TEST(FieldStatistics, OfALinkToNothing_AreThoseOfNoNumber) {
  ModelWriter model;
  const NodeRef mesh = AddPart(model, AddGroup(model), "A");
  model.AddVariable(mesh, Variable::Link("R", 13, 77, 0));
  EXPECT_EQ(StatisticsTexts(DescribedModel(model).model), Texts{"A R: 0 0@0#- 0@0#-"});
}

TEST(FieldStatistics, LeftOverNumbers_DoNotCount) {
  ModelWriter model;
  const NodeRef mesh = AddPart(model, AddGroup(model), "A");
  model.AddVariable(mesh, Variable::Floats("R", 13, 2, {1, 2, 3, 4, 99}));
  EXPECT_EQ(StatisticsTexts(DescribedModel(model).model), Texts{"A R: 2 1@0#- 3@1#-"});
}

/// Each variable in a compressed block of its own.
ModelWriter InBlocks(ModelWriter model) {
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  return model;
}

TEST(FieldStatistics, BlocksOfAllFields_AreInflatedOnceEach) {
  DescribedModel described(InBlocks(tevtest::SmallModel()));
  const CountedLoads loads(described);
  EXPECT_EQ(StatisticsTexts(described.model).size(), 4U);
  // Of both parts: node ids, faces and lengths; displacements and one temperature. The node sets
  // have been read before.
  EXPECT_EQ(loads.Blocks(), 9U);
  EXPECT_TRUE(loads.AreOnceEach());
}

/// Fields at 12 steps and the mesh of their nodes before or after them; of three nodes two are
/// used.
enum class MeshPlace { First, Last };

ModelWriter ManySteps(MeshPlace place) {
  ModelWriter model;
  const NodeRef mesh = AddPart(model, AddGroup(model), "A");
  const auto addMesh = [&] {
    model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 1, {0, 1, 2}));
    model.AddVariable(mesh, Variable::Uints("C", kConnectivity, 1, {2, 1}));
    model.AddVariable(mesh, Variable::Uints("P", kPolylength, 1, {2}));
    model.AddVariable(mesh, Variable::Floats("Node Ids", kIds, 1, {7, 8, 9}));
  };
  if (place == MeshPlace::First) {
    addMesh();
  }
  for (int step = 0; step < 12; ++step) {
    const auto value = static_cast<float>(10 * step);
    model.AddVariable(mesh, Variable::Floats("R\x1eTime = " + std::to_string(step), 13, 1,
                                             {value, value + 1, value + 2}));
  }
  if (place == MeshPlace::Last) {
    addMesh();
  }
  return model;
}

TEST(FieldStatistics, BlocksInflatedAhead_AreInflatedOnceEach) {
  StreamLayout several{.split = StreamLayout::Split::AtCuts,
                       .packing = StreamLayout::Packing::Compressed};
  Texts expected;
  for (int step = 0; step < 12; ++step) {
    const std::string tens = step == 0 ? "" : std::to_string(step);
    expected.push_back("A R: 2 " + tens + "1@1#8 " + tens + "2@2#9");
  }
  for (const MeshPlace place : {MeshPlace::First, MeshPlace::Last}) {
    several.cuts = place == MeshPlace::First ? std::vector<std::size_t>{24, 48, 84, 132}
                                             : std::vector<std::size_t>{36, 72, 108, 144};
    for (const StreamLayout& layout :
         {several, StreamLayout{.split = StreamLayout::Split::BlockPerRecord,
                   .packing = StreamLayout::Packing::Compressed}}) {
      for (const std::size_t ahead : {0U, 1U, 2U, 3U}) {
        ModelWriter writer = ManySteps(place);
        writer.SetLayout(kHeavyData, layout);
        DescribedModel described(writer);
        const CountedLoads loads(described);
        EXPECT_EQ(StatisticsTexts(described.model, ahead), expected);
        EXPECT_TRUE(loads.AreOnceEach());
        // The coordinates are not read: they have a block of their own where each array has one.
        const bool isApart = layout.split == StreamLayout::Split::BlockPerRecord;
        EXPECT_EQ(loads.Blocks(), isApart ? 15U : layout.cuts.size() + 1);
      }
    }
  }
}

TEST(FieldStatistics, WhoseIdsAloneAreDamaged_LackTheIds) {
  ModelWriter model = SharedArrays({3, 2}, {2});
  model.VariableAt(4, 0).heavyPosition = 1U << 30U;
  const DescribedModel described(model);
  std::size_t fields = 0;
  GatherStatistics(described.model, SelectFields(described.model, {}),
                   [&](const FieldOfPart& /*each*/, const FieldStatistics& result) {
                     ++fields;
                     EXPECT_EQ(TextOf(result.failure),
                               "Invalid block position, at byte 1073741824 of Heavy Data");
                     ASSERT_TRUE(result.statistics.has_value());
                     EXPECT_EQ(result.statistics->counted, 2U);
                     EXPECT_EQ(result.statistics->components[0].max.id, std::nullopt);
                   });
  EXPECT_EQ(fields, 2U);
}

TEST(FieldStatistics, OfFieldsOfOneNameAndStep_AreEachOfTheirOwnNumbers) {
  ModelWriter model;
  const NodeRef group = AddGroup(model);
  const NodeRef mesh = AddPart(model, group, "A");
  model.AddVariable(mesh, Variable::Floats("R\x1eTime = 1", 13, 1, {1, 2}));
  model.AddVariable(mesh, Variable::Floats("R\x1eTime = 1", 13, 1, {3, 4, 5}));
  const NodeRef linked = AddPart(model, group, "B");
  model.AddVariable(linked, Variable::Link("R\x1eTime = 1", 13, mesh, 0));
  for (const char* version : {"0.5", "0.6", "0.7"}) {
    model.At(mesh).version = version;
    EXPECT_EQ(StatisticsTexts(DescribedModel(model).model),
              (Texts{"A R: 2 1@0#- 2@1#-", "A R: 3 3@0#- 5@2#-", "B R: 2 1@0#- 2@1#-"}))
        << version;
  }
}

TEST(FieldStatistics, OfADamagedBlock_FailAndTheOthersDoNot) {
  ModelWriter model = InBlocks(tevtest::SmallModel());
  auto container = model.ToContainer();
  std::size_t heavy = 0;
  std::size_t number = 0;  // from 0, over all blocks of the file
  std::size_t damaged = 0;
  for (auto& block : container.Blocks()) {
    if (block.name == kHeavyData && heavy++ == 5) {  // the displacement of mesh 1
      block.storedBytes = tevtest::Compressed(block.payload);
      block.storedBytes->at(10) ^= 0x7F;
      damaged = number;
    }
    ++number;
  }
  const tevtest::TempDir directory;
  Tree tree;
  OpenModel(tree, directory.Write("damaged.tev", container.Build().bytes));
  const Texts texts = StatisticsTexts(Model(tree));
  ASSERT_EQ(texts.size(), 4U);
  const std::string start =
      "Frame Displacement: zlib refuses the data of block " + std::to_string(damaged);
  EXPECT_TRUE(texts[0].starts_with(start + " (Heavy Data), at byte ")) << texts[0];
  EXPECT_TRUE(texts[0].ends_with(" of Heavy Data")) << texts[0];
  EXPECT_EQ(texts[1].substr(0, 20), "Frame Temperature: 5");
  EXPECT_EQ(texts[2].substr(0, 21), "Panel Displacement: 5");
}

TEST(FieldStatistics, WithBlocksInflatedAhead_AreTheSame) {
  for (const auto packing : {StreamLayout::Packing::Compressed, StreamLayout::Packing::Alternating,
                             StreamLayout::Packing::Raw}) {
    ModelWriter model = tevtest::SmallModel();
    model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord, .packing = packing});
    DescribedModel described(model);
    const Texts expected = StatisticsTexts(described.model);
    for (const std::size_t ahead : {1U, 2U, 3U}) {
      EXPECT_EQ(StatisticsTexts(described.model, ahead), expected) << ahead;
    }
  }
}

TEST(FieldStatistics, OfDamagedBlocks_FailTheSameWayWhenInflatedAhead) {
  ModelWriter model = InBlocks(tevtest::SmallModel());
  auto container = model.ToContainer();
  std::size_t heavy = 0;
  for (auto& block : container.Blocks()) {
    if (block.name == kHeavyData) {
      ++heavy;
      if (heavy == 6 || heavy == 7) {
        block.storedBytes = tevtest::Compressed(block.payload);
        block.storedBytes->at(10) ^= 0x7F;
      }
    }
  }
  const tevtest::TempDir directory;
  Tree tree;
  OpenModel(tree, directory.Write("damaged.tev", container.Build().bytes));
  const Texts expected = StatisticsTexts(Model(tree));
  EXPECT_EQ(StatisticsTexts(Model(tree), 2), expected);
}

TEST(FieldStatistics, OfRecordsThatAllReferToTheSameBytes_AreLimited) {
  ModelWriter model;
  const NodeRef mesh = AddPart(model, AddGroup(model), "A");
  constexpr std::uint32_t kNumbers = 1U << 20U;
  model.AddVariable(mesh, Variable::Floats("R", 13, 1, std::vector<float>(kNumbers, 1.0F)));
  for (std::uint32_t i = 1; i < 64; ++i) {
    Variable other = Variable::Floats("R" + std::to_string(i), 13, 1, {});
    other.byteCount = 4 * (kNumbers - i);  // each another array
    other.heavyPosition = 0;
    model.AddVariable(mesh, other);
  }
  DescribedModel described(model);
  const Texts texts = StatisticsTexts(described.model);
  const auto limited = std::count_if(texts.begin(), texts.end(), [](const std::string& text) {
    return text.find("The model refers to its data too often") != std::string::npos;
  });
  EXPECT_GT(limited, 30);
  EXPECT_LT(limited, 60);
}

TEST(FieldStatistics, OfAMissingStream_Fail) {
  ModelWriter model;
  const NodeRef mesh = AddPart(model, AddGroup(model), "A");
  model.AddVariable(mesh, Variable::Floats("R", 13, 1, {1, 2}));
  model.LeaveOut(kHeavyData);
  const Texts texts = StatisticsTexts(DescribedModel(model).model);
  ASSERT_EQ(texts.size(), 1U);
  EXPECT_NE(texts[0].find("A R: "), std::string::npos);
  EXPECT_EQ(texts[0].find("@"), std::string::npos) << texts[0];
}

TEST(CountElements, PartsThatShareLengths_ShareTheCounts) {
  ModelWriter writer;
  const NodeRef group = AddGroup(writer);
  const NodeRef first = AddPart(writer, group, "A");
  writer.AddVariable(first, Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 2, 0, 1}));
  writer.AddVariable(first, Variable::Uints("Polylength", kPolylength, 1, {3, 2}));
  const NodeRef second = AddPart(writer, group, "B");
  writer.AddVariable(second, Variable::Link("Connectivity", kConnectivity, first, 0));
  writer.AddVariable(second, Variable::Link("Polylength", kPolylength, first, 1));
  AddPart(writer, group, "without elements");
  const NodeRef last = AddPart(writer, group, "no list of nodes");
  writer.AddVariable(last, Variable::Link("Polylength", kPolylength, first, 1));
  DescribedModel described(writer);
  std::map<std::size_t, std::shared_ptr<const ElementCounts>> counts;
  Texts failures;
  CountElements(described.model, [&](std::size_t part, std::shared_ptr<const ElementCounts> found,
                                     const std::exception_ptr& failure) {
    counts[part] = std::move(found);
    if (failure != nullptr) {
      failures.push_back(std::to_string(part) + ": " + TextOf(failure));
    }
  });
  ASSERT_EQ(counts.size(), 3U);
  EXPECT_EQ(counts[0]->byNodes, (std::map<unsigned int, std::size_t>{{2, 1}, {3, 1}}));
  EXPECT_EQ(counts[0]->nodes, 5U);
  EXPECT_EQ(counts[1], counts[0]);
  EXPECT_EQ(counts[3], nullptr);
  EXPECT_EQ(failures, Texts{"3: The lengths of the faces do not make up the list of their nodes"});
}

}  // namespace
}  // namespace LbtTev::Analysis
