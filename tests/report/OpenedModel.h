#pragma once

#include <string>

#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/Tree.h"
#include "support/ModelWriter.h"
#include "support/TempDir.h"

namespace tevtest {

/// A model that was written to a file and loaded from it. The file stays open.
struct OpenedModel {
  explicit OpenedModel(const ModelWriter& model) : OpenedModel(model.Build()) {}
  explicit OpenedModel(const std::string& bytes) {
    LbtTev::OpenModel(tree, directory.Write("model.tev", bytes));
  }

  TempDir directory;
  LbtTev::Tree tree;
};

}  // namespace tevtest
