#pragma once

#include <string>

#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/Tree.h"
#include "tev/Failure.h"

/// Loads the model at "path" and hands it to "use". Throws what LbtTev::OpenModel and
/// "use" do, and a Failure that names the block which zlib refuses.
template <class Use>
auto WithModel(const std::string& path, Use use) {
  LbtTev::Tree tree;
  return NamingBlocks(tree.GetFile(), [&] {
    LbtTev::OpenModel(tree, path);
    return use(tree);
  });
}
