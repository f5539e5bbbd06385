#include "Lbt/Tev/Tree.h"

#include <algorithm>

#include "Lbt/Log/Raise.h"
#include "Lbt/Tev/BlockVersionedIo.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/TreeRecord.h"
#include "Lbt/Tev/Vocabulary.h"
#include "NodeFactory.h"

namespace LbtTev {

namespace {

using Lbt::Util::Exception;

unsigned int Shifted(unsigned int link, unsigned int idOffset) {
  return link == 0 ? 0 : link + idOffset;
}

/// The record's place in the tree: a root has "parentId" as its parent.
LbtAdt::TreeNode<Node*> EntryOf(const TreeRecord& record, unsigned int parentId,
                                unsigned int idOffset) {
  return {record.id + idOffset,
          record.parent == 0 ? parentId : record.parent + idOffset,
          Shifted(record.previousSibling, idOffset),
          Shifted(record.nextSibling, idOffset),
          Shifted(record.firstChild, idOffset),
          Shifted(record.lastChild, idOffset),
          nullptr};
}

/// A linked variable and the array that it gets.
using Link = std::pair<Geometry::VarStruct*, NumericArray>;

/// The array of a link's target; an empty one where there is none.
NumericArray TargetOf(const Tree& tree, const Geometry::VarStruct& variable) {
  const auto* entry = tree.FindNode(variable.linkNodeId);
  const auto* target = entry == nullptr ? nullptr : NodeCast<Geometry>(entry->data);
  if (target == nullptr || variable.linkVariableIndex >= target->variables.size()) {
    return {};
  }
  return target->variables[variable.linkVariableIndex].array;
}

void CollectLinks(const Tree& tree, Geometry& geometry, std::vector<Link>& links) {
  for (Geometry::VarStruct& variable : geometry.variables) {
    if (variable.isLinked) {
      links.emplace_back(&variable, TargetOf(tree, variable));
    }
  }
}

}  // namespace

Tree::~Tree() {
  for (const auto& [id, entry] : GetNodes()) {
    const std::unique_ptr<Node> owned(entry.data);
  }
}

void Tree::LoadGlobalInfo(LbtLbf::LbFile& file) {
  try {
    LbtLbf::CopyFromBlock(file.GetReadingBlock(StreamNames().global), modifierInfos);
  } catch (const Exception& exception) {
    if (exception.GetType() != Exception::ErrorType::ElementNotFound) {
      throw;
    }
  }
}

/// One load of a tree.
class Tree::Loading {
 public:
  Loading(Tree& tree, LbtLbf::LbFile& file, unsigned int parentId, bool wideOffsets)
      : tree_(tree),
        file_(file),
        parentId_(parentId),
        idOffset_(parentId == 0 ? 0 : tree.GetNextId() - 1),
        wideOffsets_(wideOffsets),
        isFirst_(!tree.HasData()) {}

  /// Null where nobody wants to have them.
  void SetListeners(std::map<unsigned int, unsigned int>* blockMap, LoadObserver* observer) {
    blockMap_ = blockMap;
    observer_ = observer;
  }

  void Run() {
    const int count = ReadTreeRecordCount(file_, streams_.tree);
    try {
      for (int i = 0; i < count; ++i) {
        ReadOne(i == 0 && parentId_ != 0);
      }
    } catch (...) {
      if (isFirst_) {
        tree_.DropLoaders();
      }
      throw;
    }
    if (isFirst_) {
      tree_.LoadNodeSets(file_, std::move(nodeSetIds_));
    } else {
      tree_.LoadNumbers(file_);
    }
  }

 private:
  void ReadOne(bool isGrafted) {
    const TreeRecord record = ReadTreeRecord(file_, streams_.tree, wideOffsets_);
    if (observer_ != nullptr) {
      observer_->OnRecord(record);
    }
    const LbtAdt::TreeNode<Node*> entry = EntryOf(record, parentId_, idOffset_);
    if (blockMap_ != nullptr) {
      blockMap_->insert_or_assign(blockMap_->end(), entry.id, record.id);
    }
    if (record.lightDataPosition != 0) {
      file_.SetBlockPosition(streams_.light, record.lightDataPosition);
    }
    std::unique_ptr<Node> node = ReadNode(file_, streams_, record, idOffset_, cache_);
    Node* const read = node.get();
    const unsigned int id = isGrafted ? tree_.GraftNode(parentId_, entry, std::move(node))
                                      : tree_.InsertNode(entry, std::move(node));
    LocateNumbers(read, id);
    if (observer_ != nullptr) {
      observer_->OnNode();
    }
  }

  /// Loaders read nothing yet: those of a first load are made while the geometry is at hand.
  void LocateNumbers(Node* node, unsigned int id) {
    if (auto* geometry = NodeCast<Geometry>(node); isFirst_ && geometry != nullptr) {
      geometry->LoadConnectivityBlocks(file_, streams_.heavy);
      geometry->LoadOtherBlocks(file_, streams_.heavy);
    } else if (NodeCast<NodeSets>(node) != nullptr) {
      nodeSetIds_.push_back(id);
    }
  }

  Tree& tree_;
  LbtLbf::LbFile& file_;
  const StreamNames streams_;
  unsigned int parentId_;
  unsigned int idOffset_;
  bool wideOffsets_;
  bool isFirst_;  // no nodes were there before
  std::map<unsigned int, unsigned int>* blockMap_ = nullptr;
  LoadObserver* observer_ = nullptr;
  AttributeSetCache cache_;
  std::vector<unsigned int> nodeSetIds_;
};

void Tree::LoadTree(LbtLbf::LbFile& file, std::map<unsigned int, unsigned int>& blockMap,
                    unsigned int parentId, bool wideOffsets, LoadObserver* observer) {
  Loading loading(*this, file, parentId, wideOffsets);
  loading.SetListeners(&blockMap, observer);
  loading.Run();
}

void Tree::LoadTree(LbtLbf::LbFile& file, unsigned int parentId, bool wideOffsets,
                    LoadObserver* observer) {
  Loading loading(*this, file, parentId, wideOffsets);
  loading.SetListeners(nullptr, observer);
  loading.Run();
}

bool Tree::HasData() const {
  return std::ranges::any_of(GetNodes(),
                             [](const auto& node) { return node.second.data != nullptr; });
}

/// Leaves the nodes of a load that failed without the loaders that only a whole load makes:
/// the caller may let go of the file. Old records have made theirs while they were read.
void Tree::DropLoaders() {
  for (const auto& [id, entry] : GetNodes()) {
    auto* geometry = NodeCast<Geometry>(entry.data);
    if (geometry != nullptr && !geometry->heavyDataPositions.empty()) {
      for (Geometry::VarStruct& variable : geometry->variables) {
        variable.array.loader.reset();
      }
    }
  }
}

/// In the order of ids, each once; a later record may have put another node in place.
void Tree::LoadNodeSets(LbtLbf::LbFile& file, std::vector<unsigned int> ids) {
  std::ranges::sort(ids);
  ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
  for (const unsigned int id : ids) {
    if (auto* sets = NodeCast<NodeSets>(GetNodes().at(id).data); sets != nullptr) {
      sets->LoadDataBlocks(file, StreamNames().heavy);
    }
  }
}

/// Returns the id that the node has in the tree, as the next function does.
unsigned int Tree::InsertNode(LbtAdt::TreeNode<Node*> entry, std::unique_ptr<Node> node) {
  entry.data = node.get();
  const std::unique_ptr<Node> replaced(Insert(entry));
  static_cast<void>(node.release());  // the entry has it now
  return entry.id;
}

unsigned int Tree::GraftNode(unsigned int parentId, const LbtAdt::TreeNode<Node*>& record,
                             std::unique_ptr<Node> node) {
  LbtAdt::TreeNode<Node*>& grafted = AppendChild(parentId);
  grafted.nextSibling = record.nextSibling;
  grafted.firstChild = record.firstChild;
  grafted.lastChild = record.lastChild;
  grafted.data = node.release();
  return grafted.id;
}

/// Runs over all nodes, those of earlier loads included.
void Tree::LoadNumbers(LbtLbf::LbFile& file) {
  const std::string heavy = StreamNames().heavy;
  // In three passes, one kind of data after the other, whatever the order of the nodes.
  std::vector<Geometry*> geometries;
  std::vector<NodeSets*> nodeSets;
  for (const auto& [id, entry] : GetNodes()) {
    if (auto* geometry = NodeCast<Geometry>(entry.data); geometry != nullptr) {
      geometries.push_back(geometry);
    } else if (auto* sets = NodeCast<NodeSets>(entry.data); sets != nullptr) {
      nodeSets.push_back(sets);
    }
  }
  for (Geometry* geometry : geometries) {
    geometry->LoadConnectivityBlocks(file, heavy);
  }
  for (Geometry* geometry : geometries) {
    geometry->LoadOtherBlocks(file, heavy);
  }
  for (NodeSets* sets : nodeSets) {
    sets->LoadDataBlocks(file, heavy);
  }
}

void Tree::UpdateLinkedBuffers() {
  // The lines are fixed: the trace log has always shown them.
  constexpr unsigned long kFirstLine = 567;
  constexpr unsigned long kLastLine = 590;
  Lbt::Log::Trace("Updating buffer links ... ", "include/Lbt/Tev/Tree", kFirstLine);
  // All targets are copied before any variable changes: a link to a linked variable
  // gets what that one had.
  std::vector<Link> links;
  for (const auto& [id, entry] : GetNodes()) {
    if (auto* geometry = NodeCast<Geometry>(entry.data); geometry != nullptr) {
      CollectLinks(*this, *geometry, links);
    }
  }
  for (auto& [variable, array] : links) {
    variable->array = std::move(array);
  }
  Lbt::Log::Trace("Buffer links updated. ", "include/Lbt/Tev/Tree", kLastLine);
}

}  // namespace LbtTev
