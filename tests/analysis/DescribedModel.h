#pragma once

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

}  // namespace tevtest
