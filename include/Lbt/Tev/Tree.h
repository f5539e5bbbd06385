#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Adt/AdtTree.h"
#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/BlockVersionedIo.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/LoadObserver.h"
#include "Lbt/Tev/ModelStreams.h"
#include "Lbt/Tev/Node.h"

namespace LbtTev {

/// A loaded model: its nodes by id, the programs that wrote it, and the reader of
/// its file, which data loaded later comes from.
///
/// Streams of the model layer: "Tev Tree" (the records of all nodes), "Light Data"
/// (each node's small data), "Heavy Data" (numbers in bulk), "Attributes" (attribute
/// sets), "Resources" (materials of shapes), "Global Information" (modifiers).
/// Positions in them are byte offsets over their uncompressed blocks.
class Tree : public LbtAdt::Tree<Node*> {
 public:
  Tree() = default;
  ~Tree();
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  /// Reads the modifier records. A file without them leaves the list as it is. "observer", unless
  /// it is null, is asked whether to go on after a failure; what was read until then is in the
  /// list.
  void LoadGlobalInfo(LbtLbf::LbFile& file, LoadObserver* observer = nullptr);

  /// Reads the tree records and all that they refer to, but the numbers of variables.
  /// A record: id, parent, previousSibling, nextSibling, firstChild, lastChild (u32),
  /// name, type, version (strings), position of its light data (u32, u64 where
  /// "wideOffsets"; 0 goes on where the one before ended).
  ///
  /// "parentId" 0 loads the file as the whole tree; another id grafts the file's root
  /// under that node, with all ids shifted to be free ones. "blockMap" gets the id in
  /// the file by the id in the tree, of a record that cannot be read to its end, too. "observer",
  /// unless it is null, is told how far the records are read.
  ///
  /// Throws "Element Not Found" where "parentId" is not in the tree, and what reading
  /// streams and records throws; nodes read until then stay.
  void LoadTree(LbtLbf::LbFile& file, std::map<unsigned int, unsigned int>& blockMap,
                unsigned int parentId, bool wideOffsets, LoadObserver* observer = nullptr);

  /// The same for a caller who has no use for the ids in the file.
  void LoadTree(LbtLbf::LbFile& file, unsigned int parentId, bool wideOffsets,
                LoadObserver* observer = nullptr);

  /// The variable that a linked one stands for; null where there is none.
  [[nodiscard]] const Geometry::VarStruct* FindLinkTarget(
      const Geometry::VarStruct& variable) const;

  /// Gives every linked variable a copy of its target's array, as the target had it
  /// before; a target that does not exist gives an empty one.
  void UpdateLinkedBuffers();

  /// The streams of the model's own file.
  [[nodiscard]] ModelStreams& GetStreams() const { return *streams_; }

  /// The reader of the model's own file.
  [[nodiscard]] LbtLbf::LbFile& GetFile() { return file_; }
  [[nodiscard]] const LbtLbf::LbFile& GetFile() const { return file_; }

  /// The version text of the model's file, a container.
  [[nodiscard]] const std::string& GetContainerVersion() const { return containerVersion_; }
  void SetContainerVersion(std::string version) { containerVersion_ = std::move(version); }

  std::vector<ModifierInfo> modifierInfos;

 private:
  class LoadRun;

  unsigned int InsertNode(LbtAdt::TreeNode<Node*> entry, std::unique_ptr<Node> node);
  unsigned int GraftNode(unsigned int parentId, const LbtAdt::TreeNode<Node*>& record,
                         std::unique_ptr<Node> node);
  [[nodiscard]] bool HasData() const;
  void DropLoaders();
  [[nodiscard]] std::shared_ptr<ModelStreams> StreamsOf(LbtLbf::LbFile& file) const;

  LbtLbf::LbFile file_;
  std::shared_ptr<ModelStreams> streams_ = std::make_shared<ModelStreams>(file_);
  std::string containerVersion_;
};

}  // namespace LbtTev
