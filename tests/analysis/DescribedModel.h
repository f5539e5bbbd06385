#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>

#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/Tree.h"
#include "support/ModelWriter.h"
#include "support/TempDir.h"

namespace tevtest {

/// A model that was written to a file, loaded and described.
class DescribedModel {
  struct OpenedTree : LbtTev::Tree {
    explicit OpenedTree(const std::string& path) { LbtTev::OpenModel(*this, path); }
  };

  TempDir directory_;

 public:
  explicit DescribedModel(const ModelWriter& writer)
      : tree(directory_.Write("model.tev", writer.Build())) {}
  /// One of the real models.
  explicit DescribedModel(const std::string& name)
      : tree(std::string(TEVINFO_EXAMPLES_DIR) + '/' + name) {}

  OpenedTree tree;
  LbtTev::Analysis::Model model{tree};
};

/// Counts how often each block of a model is inflated from now on.
class CountedLoads {
 public:
  explicit CountedLoads(DescribedModel& described) : index_(&described.tree.GetFile().GetIndex()) {
    index_->ObserveLoads([this](std::size_t entry) { ++times_[entry]; });
  }
  ~CountedLoads() { index_->ObserveLoads({}); }
  CountedLoads(const CountedLoads&) = delete;
  CountedLoads& operator=(const CountedLoads&) = delete;

  [[nodiscard]] std::size_t Blocks() const { return times_.size(); }
  [[nodiscard]] bool AreOnceEach() const {
    return std::ranges::all_of(times_, [](const auto& each) { return each.second == 1; });
  }

 private:
  LbtLbf::Index* index_;
  std::map<std::size_t, int> times_;
};

}  // namespace tevtest
