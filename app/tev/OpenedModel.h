#pragma once

#include <string>

#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/Tree.h"
#include "tev/Answers.h"
#include "tev/FileFailure.h"
#include "tev/Inputs.h"

/// Opens the container "input", checks its version and tells "writer" of bytes that its index
/// promises and the file does not have, and of streams of a model that are missing. Throws a
/// Failure, and what LbtTev::OpenContainer does.
void OpenContainer(LbtLbf::LbFile& file, const Input& input, AnswerWriter& writer);

/// Loads the model "input" into "tree", as far as that is possible, and tells "writer" what is
/// missing, parts without a geometry among it. Throws what LbtTev::OpenModel does where nothing can
/// be loaded.
void LoadModel(LbtTev::Tree& tree, const Input& input, AnswerWriter& writer);

/// The same as LoadModel, and hands the tree to "use". Throws what "use" does, and a Failure that
/// names the block which zlib refuses.
template <class Use>
auto WithModel(const Input& input, AnswerWriter& writer, Use use) {
  LbtTev::Tree tree;
  return NamingBlocks(tree.GetFile(), [&] {
    LoadModel(tree, input, writer);
    return use(tree);
  });
}
