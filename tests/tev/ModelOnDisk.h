#pragma once

#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/Tree.h"
#include "support/ModelWriter.h"
#include "support/TempDir.h"

namespace tevtest {

/// A container in a scratch directory, open and with its index read.
class ModelOnDisk {
 public:
  explicit ModelOnDisk(const std::string& bytes);
  /// Of raw blocks, each a name and its bytes.
  explicit ModelOnDisk(std::initializer_list<std::pair<std::string_view, std::string_view>> blocks);

  [[nodiscard]] LbtLbf::LbFile& File() { return file_; }

  /// The next byte of a stream, which tells how far it has been read.
  [[nodiscard]] unsigned int NextByte(std::string_view stream);

 private:
  TempDir directory_;
  LbtLbf::LbFile file_;
};

/// "id type name" of all entries of a tree, in order of ids; the id alone without a node.
[[nodiscard]] std::vector<std::string> Outline(const LbtTev::Tree& tree);

/// Parent, previous and next sibling, first and last child of an entry.
[[nodiscard]] std::vector<unsigned int> LinksOf(const LbtTev::Tree& tree, unsigned int id);

/// A tree and the file that it was loaded from.
struct LoadedTree {
  /// Loads the whole model at once.
  explicit LoadedTree(const ModelWriter& model, bool wideOffsets = true) : disk(model.Build()) {
    Load(0, wideOffsets);
  }

  void Load(unsigned int parentId = 0, bool wideOffsets = true) {
    tree.LoadTree(disk.File(), blockMap, parentId, wideOffsets);
  }

  /// The node of "id", which must be of the given kind.
  template <class Kind>
  [[nodiscard]] Kind& At(unsigned int id) {
    return dynamic_cast<Kind&>(*tree.GetReqNode(id).data);
  }

  ModelOnDisk disk;
  LbtTev::Tree tree;
  std::map<unsigned int, unsigned int> blockMap;
};

/// The text of the exception that loading a model throws, or "no failure".
[[nodiscard]] std::string FailureOfLoading(const ModelWriter& model);

}  // namespace tevtest
