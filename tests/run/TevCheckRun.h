#pragma once

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

  /// What is said on a file "m.tev" of these bytes, which must not be sound. "error" is what
  /// goes to standard error on the way.
  [[nodiscard]] std::string Check(const std::string& bytes, const std::string& error = "") const {
    dir.Write("m.tev", bytes);
    const RunResult run = Run({"check", "m.tev"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.error, error);
    return run.output;
  }
  [[nodiscard]] std::string Check(const ModelWriter& model, const std::string& error = "") const {
    return Check(model.Build(), error);
  }

  using TevRun::Check;
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

/// "m.tev: block 1 (Tev Tree) at byte 4711, node 4 (mesh 1)", for a node of a model whose records
/// stand in the order of their nodes.
[[nodiscard]] inline std::string NodeText(ModelWriter& model, NodeRef node, int treeBlock) {
  return "m.tev: " + BlockText(treeBlock, kTree, model, model.RecordStart(kTree, node - 1)) +
         ", node " + std::to_string(model.At(node).id.value_or(node)) + " (" + model.At(node).name +
         ")";
}

}  // namespace tevtest
