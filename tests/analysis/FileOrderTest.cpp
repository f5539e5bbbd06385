// In which order arrays of models are loaded, how often, and what is refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "DescribedModel.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/ModelDifference.h"
#include "Lbt/Util/Exception.h"
#include "support/HostileModels.h"
#include "support/SmallModel.h"

namespace LbtTev::Analysis {
namespace {

using tevtest::CountedLoads;
using tevtest::DescribedModel;
using tevtest::kHeavyData;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::StreamLayout;
using tevtest::Variable;
using Places = std::vector<std::size_t>;

/// One part with arrays "A" to "D" of one number each, in this order in the file.
ModelWriter FourArrays() {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", model.AddShape("P", model.AddGroup("r", 0)));
  for (const char* name : {"A", "B", "C", "D"}) {
    model.AddVariable(mesh, Variable::Floats(name, 13, 1, {static_cast<float>(name[0])}));
  }
  return model;
}

WantedArray ArrayOf(const DescribedModel& described, std::size_t place) {
  return {described.model.FieldsOf(described.model.Parts()[0])[place].variable};
}

TEST(LoadInFileOrder, Groups_ComeAsSoonAsAllOfThemIsThere) {
  const DescribedModel described(FourArrays());
  const auto array = [&](std::size_t place) { return ArrayOf(described, place); };
  const std::vector<WantedGroup> groups{
      {array(0), array(3)}, {array(2)}, {array(0), array(1)}, {WantedArray()}, {array(2)}};
  Places order;
  LoadInFileOrder({&described.tree, groups}, [&](std::size_t place, const LoadedGroup& loaded) {
    order.push_back(place);
    if (place == 0) {
      EXPECT_EQ(loaded[0].Floats()[0], 'A');
      EXPECT_EQ(loaded[1].Floats()[0], 'D');
    }
    if (place == 3) {
      EXPECT_TRUE(loaded[0].Floats().empty());
      EXPECT_EQ(FailureOf(loaded), nullptr);
    }
  });
  EXPECT_EQ(order, (Places{2, 1, 4, 0, 3}));
}

TEST(LoadInFileOrder, EqualArrays_AreOneAndAreLetGoAfterTheLastGroup) {
  const DescribedModel described(FourArrays());
  const std::vector<WantedGroup> groups{{ArrayOf(described, 0)},
                                        {ArrayOf(described, 0), ArrayOf(described, 1)},
                                        {ArrayOf(described, 2)}};
  std::weak_ptr<const std::vector<float>> first;
  LoadInFileOrder({&described.tree, groups}, [&](std::size_t place, const LoadedGroup& loaded) {
    if (place == 0) {
      first = loaded[0].floats;
    } else if (place == 1) {
      EXPECT_EQ(first.lock(), loaded[0].floats);
    } else {
      EXPECT_TRUE(first.expired());
    }
  });
}

/// Fields at five steps and after them what all of them need, each in a block of its own or as
/// "layout" says; the needed one of field 1 lies in the middle of the fields.
ModelWriter NeededLast(const StreamLayout& layout) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", model.AddShape("P", model.AddGroup("r", 0)));
  for (const char* name : {"A", "B", "b", "C", "D", "needed"}) {
    model.AddVariable(mesh, Variable::Floats(name, 13, 1, {static_cast<float>(name[0])}));
  }
  model.SetLayout(kHeavyData, layout);
  return model;
}

TEST(LoadInFileOrder, WhatComesFirst_IsLoadedBeforeTheFirstOfItsGroup) {
  using enum WantedArray::Turn;
  const DescribedModel described(NeededLast({.split = StreamLayout::Split::BlockPerRecord}));
  const auto array = [&](std::size_t place) { return ArrayOf(described, place); };
  WantedArray needed = array(5);
  needed.turn = BeforeFirst;
  WantedArray ofB = array(2);
  ofB.turn = BeforeFirstForOthers;
  const std::vector<WantedGroup> groups{
      {array(0), needed}, {array(1), needed, ofB}, {array(2)}, {array(3), needed}, {array(4)}};
  Places order;
  std::weak_ptr<const std::vector<float>> last;
  LoadInFileOrder({&described.tree, groups}, [&](std::size_t place, const LoadedGroup& loaded) {
    order.push_back(place);
    EXPECT_TRUE(last.expired());  // one at a time is in memory
    last = loaded[0].floats;
    EXPECT_EQ(loaded.size() > 1 ? loaded[1].Floats()[0] : 'n', 'n');
    if (place == 1) {
      EXPECT_EQ(loaded[2].floats, nullptr);  // group 2 has it
    }
  });
  EXPECT_EQ(order, (Places{0, 2, 1, 3, 4}));
}

TEST(LoadInFileOrder, BlocksThatNeedOneAnother_AreVisitedOnceEach) {
  for (const std::size_t ahead : {0U, 1U, 2U, 3U}) {
    DescribedModel described(NeededLast({.split = StreamLayout::Split::AtCuts,
                                         .packing = StreamLayout::Packing::Compressed,
                                         .cuts = {8, 16}}));
    WantedArray needed = ArrayOf(described, 5);
    WantedArray neededToo = ArrayOf(described, 1);
    needed.turn = neededToo.turn = WantedArray::Turn::BeforeFirst;
    const std::vector<WantedGroup> groups{{ArrayOf(described, 0), needed},
                                          {ArrayOf(described, 4), neededToo},
                                          {ArrayOf(described, 3)}};
    const CountedLoads loads(described);
    std::string found;
    LoadInFileOrder({&described.tree, groups, {.threads = ahead}},
                    [&](std::size_t /*place*/, const LoadedGroup& loaded) {
                      for (const LoadedArray& each : loaded) {
                        found += static_cast<char>(each.Floats()[0]);
                      }
                    });
    std::ranges::sort(found);
    EXPECT_EQ(found, "ABCDn");
    EXPECT_EQ(loads.Blocks(), 3U) << ahead;
    EXPECT_TRUE(loads.AreOnceEach());
  }
}

TEST(LoadInFileOrder, BlocksThatTheFileKeeps_AreNotInflatedAgain) {
  for (const std::size_t ahead : {0U, 2U}) {
    DescribedModel described(NeededLast({.split = StreamLayout::Split::AtCuts,
                                         .packing = StreamLayout::Packing::Compressed,
                                         .cuts = {8, 16}}));
    described.tree.GetFile().GetIndex().KeepAllContents(1 << 20);
    const CountedLoads loads(described);
    for (int round = 0; round < 3; ++round) {
      std::string found;
      for (const std::size_t array : {0U, 5U, 1U, 4U, 3U}) {
        const std::vector<WantedGroup> groups{{ArrayOf(described, array)}};
        LoadInFileOrder({&described.tree, groups, {.threads = ahead}},
                        [&](std::size_t /*place*/, const LoadedGroup& loaded) {
                          found += static_cast<char>(loaded[0].Floats()[0]);
                        });
      }
      std::ranges::sort(found);
      EXPECT_EQ(found, "ABCDn");
    }
    EXPECT_EQ(loads.Blocks(), 3U) << ahead;
    EXPECT_TRUE(loads.AreOnceEach());
  }
}

TEST(LoadInFileOrder, OfTwoModels_HandsOutWhatStandsAtTheSamePlace) {
  const DescribedModel a(FourArrays());
  const DescribedModel b(FourArrays());
  const std::vector<WantedGroup> ofA{
      {ArrayOf(a, 3), ArrayOf(a, 0)}, {ArrayOf(a, 1), {}}, {WantedArray(), WantedArray()}};
  const std::vector<WantedGroup> ofB{
      {ArrayOf(b, 0), ArrayOf(b, 2)}, {{}, ArrayOf(b, 3)}, {ArrayOf(b, 1), WantedArray()}};
  std::string found;
  const auto texts = [](const LoadedGroup& group) {
    std::string text;
    for (const LoadedArray& array : group) {
      text += array.Floats().empty() ? '-' : static_cast<char>(array.Floats()[0]);
    }
    return text;
  };
  LoadInFileOrder({&a.tree, ofA}, {&b.tree, ofB},
                  [&](std::size_t place, const LoadedGroup& inA, const LoadedGroup& inB) {
                    found += std::to_string(place) + texts(inA) + texts(inB) + ' ';
                  });
  EXPECT_EQ(found, "1B--D 0DAAC 2--B- ");
}

TEST(InOrder, WhatComesEarly_WaitsForItsTurn) {
  std::string handedOn;
  InOrder<char> inOrder(
      [&](std::size_t place, char value) { handedOn += std::to_string(place) + value; });
  inOrder.Add(2, 'c');
  inOrder.Add(0, 'a');
  EXPECT_EQ(handedOn, "0a");
  inOrder.Add(1, 'b');
  EXPECT_EQ(handedOn, "0a1b2c");
}

/// Each array in a compressed block of its own; the displacement of the first part as given.
ModelWriter InBlocks(float displacement) {
  ModelWriter model = tevtest::SmallModel();
  model.VariableAt(tevtest::kSmallMesh1, 5) =
      Variable::Floats("Displacement\x1eTime = 0.5", tevtest::kVectorResult, 3,
                       std::vector<float>(15, displacement));
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  return model;
}

TEST(CompareModels, BlocksOfBoth_AreInflatedAtMostOnceAndAlikeOnesInAAlone) {
  DescribedModel same(InBlocks(1));
  DescribedModel other(InBlocks(2));
  std::size_t differences = 0;
  const DifferenceSink sink{.differs = [&](const ModelDifference&) { ++differences; },
                            .failed = [](const FailedComparison&) { FAIL(); }};
  struct Expected {
    DescribedModel* b;
    std::size_t loadsOfB;
    std::size_t differences;
  };
  // All 13 arrays of both parts; the node sets have been read before.
  for (const Expected& expected : {Expected{&same, 0, 0}, Expected{&other, 1, 1}}) {
    for (const bool isAhead : {false, true}) {
      DescribedModel a(InBlocks(1));
      differences = 0;
      const CountedLoads ofA(a);
      const CountedLoads ofB(*expected.b);
      CompareModels(a.model, expected.b->model, {}, {}, sink, isAhead);
      EXPECT_EQ(ofA.Blocks(), 13U);
      EXPECT_TRUE(ofA.AreOnceEach());
      EXPECT_EQ(ofB.Blocks(), expected.loadsOfB);
      EXPECT_TRUE(ofB.AreOnceEach());
      EXPECT_EQ(differences, expected.differences);
    }
  }
}

enum class StoredBy { Part, Step };

/// Fields of many parts at as many steps, a block for each part or for each step.
ModelWriter Stored(StoredBy order) {
  constexpr std::size_t kCount = 40;
  constexpr std::size_t kNumbers = 200;
  constexpr std::size_t kBytes = kNumbers * 4;
  ModelWriter model;
  const NodeRef group = model.AddGroup("r", 0);
  std::vector<NodeRef> meshes;
  for (std::size_t part = 0; part < kCount; ++part) {
    meshes.push_back(model.AddGeometry("g", model.AddShape("P" + std::to_string(part), group)));
    for (std::size_t step = 0; step < kCount; ++step) {
      model.AddVariable(
          meshes.back(),
          Variable::Floats("R\x1eTime = " + std::to_string(step), 13, 1,
                           std::vector<float>(kNumbers, static_cast<float>(part * kCount + step))));
    }
  }
  StreamLayout layout{.split = StreamLayout::Split::AtCuts,
                      .packing = StreamLayout::Packing::Compressed};
  for (std::size_t block = 1; block < kCount; ++block) {
    layout.cuts.push_back(block * kCount * kBytes);
  }
  model.SetLayout(kHeavyData, layout);
  if (order == StoredBy::Step) {
    const std::string byPart = model.StreamBytes(kHeavyData);
    std::string byStep;
    for (std::size_t step = 0; step < kCount; ++step) {
      for (std::size_t part = 0; part < kCount; ++part) {
        model.VariableAt(meshes[part], step).heavyPosition = byStep.size();
        byStep += byPart.substr((part * kCount + step) * kBytes, kBytes);
      }
    }
    model.ReplaceStream(kHeavyData, byStep);
  }
  return model;
}

TEST(CompareModels, ModelsInAnotherOrder_AreInflatedOnceAndTheSame) {
  for (const bool isAByPart : {true, false}) {
    for (const bool isAhead : {false, true}) {
      DescribedModel a(Stored(isAByPart ? StoredBy::Part : StoredBy::Step));
      DescribedModel b(Stored(isAByPart ? StoredBy::Step : StoredBy::Part));
      const CountedLoads ofA(a);
      const CountedLoads ofB(b);
      const DifferenceSink sink{.differs = [](const ModelDifference&) { ADD_FAILURE(); },
                                .failed = [](const FailedComparison&) { ADD_FAILURE(); }};
      CompareModels(a.model, b.model, {}, {}, sink, isAhead);
      EXPECT_EQ(ofA.Blocks(), 40U);
      EXPECT_TRUE(ofA.AreOnceEach());
      EXPECT_EQ(ofB.Blocks(), 40U);
      EXPECT_TRUE(ofB.AreOnceEach());
    }
  }
}

template <class Action>
std::string MessageOf(const Action& action) {
  try {
    action();
  } catch (const Lbt::Util::Exception& exception) {
    EXPECT_EQ(exception.GetType(), Lbt::Util::Exception::ErrorType::OutOfBounds);
    return exception.GetLogMessage();
  }
  return "no failure";
}

constexpr const char* kTooOften = "The model refers to its data too often";

TEST(ModelStream, PassesThatAreAllowed_RaiseTheLimitUpToOneReading) {
  constexpr std::uint64_t kLength = ModelStream::kBytesPerPass;
  ModelWriter model;
  model.AddVariable(model.AddGeometry("g", model.AddShape("P", model.AddGroup("r", 0))),
                    Variable::Floats("A", 13, 1, std::vector<float>(kLength / 4)));
  model.SetLayout(kHeavyData, {.packing = StreamLayout::Packing::Compressed});
  const DescribedModel described(model);
  ModelStream& heavy = *described.tree.GetStreams().heavy;
  const ModelStream::Request request(heavy);
  heavy.Charge(16 * kLength + std::uint64_t{16} * 1024 * 1024);
  EXPECT_FALSE(heavy.Allows(1));
  heavy.AllowPasses(1);
  EXPECT_TRUE(heavy.Allows(kLength));
  EXPECT_FALSE(heavy.Allows(kLength + 1));
  heavy.AllowPasses(1000);  // two at most: half the bytes of one pass need not come from each
  EXPECT_TRUE(heavy.Allows(2 * kLength));
  EXPECT_EQ(MessageOf([&] { heavy.Charge(2 * kLength + 1); }), kTooOften);
}

/// A model that was written by what makes hostile ones.
struct Hostile {
  explicit Hostile(const tevtest::HostileModel& hostile) {
    OpenModel(tree, directory.Write("hostile.tev", hostile.bytes));
  }
  tevtest::TempDir directory;
  Tree tree;
};

TEST(RepeatedRows, FieldsThatShapesOfOneGeometryRepeat_AreLimited) {
  const Hostile some(tevtest::ShapesOfOneGeometry(50, 50));
  EXPECT_EQ(SelectFields(Model(some.tree), {}).size(), 2500U);
  const Hostile many(tevtest::ShapesOfOneGeometry(2000, 2000));
  const Model model(many.tree);
  EXPECT_EQ(MessageOf([&] { static_cast<void>(SelectFields(model, {})); }), kTooOften);
  EXPECT_EQ(SelectFields(model, {.parts = {std::to_string(model.Parts()[0].id)}}).size(), 2000U);
}

TEST(Model, PathsThatRepeatALongName_AreLimited) {
  const Hostile some(tevtest::ShapesOfALongName(10, 100000));
  EXPECT_EQ(MessageOf([&] { Model(some.tree).RequireModestPaths(); }), "no failure");
  const Hostile many(tevtest::ShapesOfALongName(1000, 100000));
  EXPECT_EQ(MessageOf([&] { Model(many.tree).RequireModestPaths(); }), kTooOften);
}

}  // namespace
}  // namespace LbtTev::Analysis
