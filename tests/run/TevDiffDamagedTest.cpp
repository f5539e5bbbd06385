// tev diff: models of which something is damaged or missing.
#include <algorithm>
#include <tuple>
#include <utility>

#include "run/DiffRun.h"

namespace tevtest {
namespace {

using TevDiffDamaged = TevDiff;

TEST_F(TevDiffDamaged, ADamagedBlock_IsNamedAndTheOthersAreCompared) {
  ModelWriter damaged = SmallModel();
  damaged.VariableAt(kSmallMesh1, 5).heavyPosition = 1U << 30U;
  ModelWriter other = damaged;
  other.VariableAt(kSmallMesh1, 5).heavyPosition.reset();
  other.VariableAt(kSmallMesh1, 6).elements = ElementBytes(std::vector<float>{1, 2, 3, 4, 5});
  Write("a.tev", other);
  Write("b.tev", damaged);
  const RunResult run = Run({"diff", "a.tev", "b.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(
      run.error.find(
          "tev: b.tev: damaged: part \"Frame\", result \"Displacement\", step \"Time = 0.5\": "
          "Invalid block position"),
      std::string::npos)
      << run.error;
  EXPECT_NE(run.output.find("field \"Frame\" \"Temperature\" \"Time = 0.5\": 5 of 5"),
            std::string::npos)
      << run.output;
}

TEST_F(TevDiffDamaged, ABlockThatZlibRefusesInOne_IsNamedWithItsModel) {
  ModelWriter model = SmallModel();
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  Write("sound.tev", model);
  ContainerWriter container = model.ToContainer();
  std::size_t heavy = 0;
  for (BlockSpec& block : container.Blocks()) {
    if (block.name == kHeavyData && heavy++ == 5) {  // the displacement of the first part
      block.storedBytes = Compressed(block.payload);
      block.storedBytes->at(10) ^= 0x7F;
    }
  }
  dir.Write("damaged.tev", container.Build().bytes);
  for (const auto& [a, b] : {std::pair("sound.tev", "damaged.tev"),
                             {"damaged.tev", "sound.tev"},
                             {"damaged.tev", "damaged.tev"}}) {
    for (const char* jobs : {"1", "2"}) {
      const RunResult run = Run({"diff", a, b, "-j", jobs});
      EXPECT_EQ(run.status, 2);
      EXPECT_NE(
          run.error.find(
              "tev: damaged.tev: damaged: part \"Frame\", result \"Displacement\", step \"Time = "
              "0.5\": zlib refuses the data of block "),
          std::string::npos)
          << run.error;
      EXPECT_EQ(run.output, kIncomplete);
    }
  }
  const RunResult json = Run({"diff", "--json", "sound.tev", "damaged.tev"});
  EXPECT_NE(json.output.find("\"verdict\": \"incomplete\""), std::string::npos) << json.output;
  EXPECT_EQ(Check(json.output, "schema", Schema("diff")), "");
}

TEST_F(TevDiffDamaged, ACutModel_IsNamedWhicheverItIs) {
  const std::string bytes = SmallModel().Build();
  dir.Write("sound.tev", bytes);
  dir.Write("cut.tev", std::string_view(bytes).substr(0, bytes.size() - 1));
  const RunResult ofB = Run({"diff", "sound.tev", "cut.tev"});
  EXPECT_EQ(ofB.status, 2);
  EXPECT_TRUE(ofB.error.starts_with("tev: cut.tev: damaged: the file ends 1 byte early"))
      << ofB.error;
  EXPECT_EQ(ofB.output.find(kSame), std::string::npos) << ofB.output;
  const RunResult ofA = Run({"diff", "cut.tev", "sound.tev"});
  EXPECT_EQ(ofA.status, 2);
  EXPECT_TRUE(ofA.error.starts_with("tev: cut.tev: damaged: the file ends 1 byte early"))
      << ofA.error;
}

TEST_F(TevDiffDamaged, ModelThatFails_IsNamedInTextAndInJson) {
  const std::string bytes = SmallModel().Build();
  Write("sound.tev", SmallModel());
  dir.Write("cut.tev", bytes.substr(0, bytes.size() - 1));
  dir.Write("text.tev", "no model");
  const std::string cut = "the file ends 1 byte early, in block 5 (Heavy Data)";
  const auto file = [](const std::string& name) { return R"(, "file": ")" + name + "\"}"; };
  for (const auto& [b, reason, isCut] :
       {std::tuple(std::string("missing.tev"),
                   std::string("cannot open: No such file or directory"), false),
        {"text.tev", "not a Tev file: it looks like text", false},
        {"cut.tev", cut, true}}) {
    const std::string error = "tev: " + b + ": " + (isCut ? "damaged: " : "") + reason;
    const std::string message = "\"message\": \"";
    EXPECT_TRUE(Run({"diff", "sound.tev", b}).error.starts_with(error));
    EXPECT_TRUE(Run({"diff", b, "sound.tev"}).error.starts_with(error));
    const std::string ofB = Run({"diff", "--jsonl", "sound.tev", b}).output;
    EXPECT_NE(ofB.find(message + b + ": " + reason), std::string::npos) << ofB;
    EXPECT_NE(ofB.find(file(b)), std::string::npos) << ofB;
    const std::string ofA = Run({"diff", "--jsonl", b, "sound.tev"}).output;
    EXPECT_NE(ofA.find(message + reason), std::string::npos) << ofA;
    EXPECT_NE(ofA.find(file(b)), std::string::npos) << ofA;
    EXPECT_EQ(Check(ofA + ofB, "lines", Schema("diff")), "");
  }
  EXPECT_NE(Run({"diff", "--jsonl", "sound.tev", "cut.tev"})
                .output.find("\"missing\": [\"cut.tev: the file ends"),
            std::string::npos);
}

TEST_F(TevDiffDamaged, ModelsThatCannotBeOpened_AreBothNamed) {
  dir.Write("text.tev", "no model");
  for (const char* form : {"--no-progress", "--json"}) {
    const RunResult run = Run({"diff", form, "missing.tev", "text.tev"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.error,
              "tev: missing.tev: cannot open: No such file or directory\n"
              "tev: text.tev: not a Tev file: it looks like text\n");
  }
}

TEST_F(TevDiffDamaged, WhatIsLost_IsNoDifference) {
  Write("sound.tev", SmallModel());
  for (const std::string_view stream : {kAttributes, kLightData, kTree}) {
    ContainerWriter container = SmallModel().ToContainer();
    for (BlockSpec& block : container.Blocks()) {
      if (block.name == stream) {
        block.compressed = true;
        block.storedBytes = Compressed(block.payload);
        block.storedBytes->at(10) ^= 0x7F;
      }
    }
    dir.Write("damaged.tev", container.Build().bytes);
    for (const auto& [a, b] :
         {std::pair("sound.tev", "damaged.tev"), {"damaged.tev", "sound.tev"}}) {
      const RunResult run = Run({"diff", a, b});
      EXPECT_EQ(run.status, 2) << stream;
      EXPECT_EQ(run.output, kIncomplete) << stream;
      const RunResult json = Run({"diff", "--json", a, b});
      EXPECT_NE(json.output.find("\"differences\": [],"), std::string::npos) << json.output;
      EXPECT_NE(json.output.find("\"verdict\": \"incomplete\""), std::string::npos);
    }
  }
}

TEST_F(TevDiffDamaged, BesideALostPart_TheOthersAreCompared) {
  const auto model = [](float last) {
    ModelWriter writer = Small{.values = {1, 2, last}}.Model();
    const NodeRef mesh = writer.AddGeometry("h", writer.AddShape("Q", kSmallGroup));
    writer.AddVariable(mesh, Variable::Floats("S\x1eTime = 2", 13, 1, {1}));
    return writer;
  };
  ModelWriter damaged = model(5);
  damaged.At(6).lightPosition = 1U << 30U;
  Write("a.tev", model(4));
  Write("b.tev", damaged);
  const RunResult run = Run({"diff", "a.tev", "b.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output,
            "field \"P\" \"R\" \"Time = 1\": 1 of 3 numbers differ, by 1 at most: 4 and 5, "
            "component 1 at 13, root mean square 0.57735\nThe models differ: 1 difference\n");
}

TEST_F(TevDiffDamaged, EachLostField_HasALineUpToTen) {
  const auto model = [](std::size_t lost) {
    ModelWriter writer = Small().Model();
    for (std::size_t i = 0; i < lost; ++i) {
      Variable variable = Variable::Floats("Lost\x1eTime = " + std::to_string(i), 13, 1, {1, 2, 3});
      variable.heavyPosition = 1U << 30U;
      writer.AddVariable(kSmallGeometry, variable);
    }
    return writer;
  };
  const auto line = [](int step) {
    return "tev: two.tev: damaged: part \"P\", result \"Lost\", step \"Time = " +
           std::to_string(step) + "\": Invalid block position, at byte 1073741824 of Heavy Data";
  };
  const std::string hint = " (\"tev check\" tells more)\n";
  Write("two.tev", model(2));
  const std::string ofFile = line(0) + '\n' + line(1) + hint;
  EXPECT_EQ(Run({"diff", "two.tev", "two.tev"}).error, ofFile);
  EXPECT_EQ(Run({"values", "two.tev"}).error, ofFile);
  EXPECT_EQ(Run({"results", "--stats", "--csv", "two.tev"}).error, ofFile);
  Write("many.tev", model(13));
  const std::string error = Run({"diff", "many.tev", "many.tev"}).error;
  EXPECT_EQ(std::ranges::count(error, '\n'), 11);
  EXPECT_TRUE(error.ends_with("\ntev: many.tev: damaged: and 3 more" + hint)) << error;
}

}  // namespace
}  // namespace tevtest
