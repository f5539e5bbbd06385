#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "run/TevRun.h"
#include "support/SmallModel.h"

namespace tevtest {

/// Runs "tev check" on files of its own.
class TevCheckRun : public TevRun {
 protected:
  /// The number of the first block of a stream, by the default order of streams.
  static constexpr int kTreeBlock = 1;
  static constexpr int kLightBlock = 2;
  static constexpr int kAttributesBlock = 3;
  static constexpr int kHeavyBlock = 5;

  /// What is said on a file "m.tev" of these bytes, which must be damaged or odd: the lines of all
  /// findings, those that follow from others with a deeper indent.
  [[nodiscard]] std::string Check(const std::string& bytes) const {
    dir.Write("m.tev", bytes);
    const RunResult run = Run({"check", "--all", "m.tev"});
    const bool isWarning = run.output.starts_with("m.tev: WARNING: ");
    EXPECT_TRUE(isWarning || run.output.starts_with("m.tev: DAMAGED: ")) << run.output;
    EXPECT_EQ(run.status, isWarning ? 0 : 2);
    EXPECT_EQ(run.error, isWarning ? "tev: 1 file: 1 with warnings\n" : "tev: 1 file: 1 damaged\n");
    return run.output.substr(std::min(run.output.size(), run.output.find('\n') + 1));
  }
  [[nodiscard]] std::string Check(const ModelWriter& model) const { return Check(model.Build()); }

  using TevRun::Check;

  /// Expects that nothing is wrong with these files.
  void ExpectSound(std::vector<std::string> files) const {
    const std::string count = std::to_string(files.size());
    files.insert(files.begin(), "check");
    const RunResult run = Run(files);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error,
              "tev: " + count + (files.size() == 2 ? " file: " : " files: ") + count + " OK\n");
  }
};

/// "block 3 (Heavy Data) at byte 4711"
[[nodiscard]] inline std::string BlockText(int number, const std::string& stream,
                                           std::size_t offset) {
  return "block " + std::to_string(number) + " (" + stream + ") at byte " + std::to_string(offset);
}

/// The same for the only block of a stream, with an offset into it.
[[nodiscard]] inline std::string BlockText(int number, std::string_view stream,
                                           const ModelWriter& model, std::size_t within = 0) {
  const Container container = model.ToContainer().Build();
  return BlockText(number, std::string(stream), container.Block(stream).offset + within);
}

/// "  block 1 (Tev Tree) at byte 4711, node 4 (mesh 1)", for a node of a model whose records
/// stand in the order of their nodes.
[[nodiscard]] inline std::string NodeText(ModelWriter& model, NodeRef node, int treeBlock) {
  return "  " + BlockText(treeBlock, kTree, model, model.RecordStart(kTree, node - 1)) + ", node " +
         std::to_string(model.At(node).id.value_or(node)) + " (" + model.At(node).name + ")";
}

}  // namespace tevtest
