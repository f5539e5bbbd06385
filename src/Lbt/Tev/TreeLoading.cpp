// Loads the records of a tree with all that they refer to.

#include <algorithm>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/Tree.h"
#include "NodeFactory.h"

namespace LbtTev {

namespace {

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

}  // namespace

/// One load of a tree.
class Tree::Loading {
 public:
  Loading(Tree& tree, LbtLbf::LbFile& file, unsigned int parentId, bool wideOffsets)
      : tree_(tree),
        streams_(tree.StreamsOf(file)),
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
    const int count = ReadTreeRecordCount(streams_->tree);
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
      tree_.LoadNodeSets(*streams_->heavy, std::move(nodeSetIds_));
    } else {
      tree_.LoadNumbers(streams_->heavy);
    }
  }

 private:
  void ReadOne(bool isGrafted) {
    const TreeRecord record = ReadRecord();
    if (observer_ != nullptr) {
      observer_->OnRecord(record);
    }
    if (record.lightDataPosition != 0) {
      streams_->light.Seek(record.lightDataPosition);
    }
    std::unique_ptr<Node> node = ReadNode(*streams_, record, idOffset_, cache_);
    const LbtAdt::TreeNode<Node*> entry = EntryOf(record, parentId_, idOffset_);
    Node* const read = node.get();
    const unsigned int id = isGrafted ? tree_.GraftNode(parentId_, entry, std::move(node))
                                      : tree_.InsertNode(entry, std::move(node));
    LocateNumbers(read, id);
    if (observer_ != nullptr) {
      observer_->OnNode();
    }
  }

  /// The id in the file is known of a record whose rest cannot be read, too.
  [[nodiscard]] TreeRecord ReadRecord() {
    TreeRecord record;
    ReadTreeRecordId(streams_->tree, record);
    if (blockMap_ != nullptr) {
      blockMap_->insert_or_assign(blockMap_->end(), record.id + idOffset_, record.id);
    }
    ReadAfterTreeRecordId(streams_->tree, wideOffsets_, record);
    return record;
  }

  /// Loaders read nothing yet: those of a first load are made while the geometry is at hand.
  void LocateNumbers(Node* node, unsigned int id) {
    if (auto* geometry = NodeCast<Geometry>(node); isFirst_ && geometry != nullptr) {
      geometry->LocateConnectivity(streams_->heavy);
      geometry->LocateOthers(streams_->heavy);
    } else if (NodeCast<NodeSets>(node) != nullptr) {
      nodeSetIds_.push_back(id);
    }
  }

  Tree& tree_;
  std::shared_ptr<ModelStreams> streams_;
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
void Tree::LoadNodeSets(ModelStream& heavy, std::vector<unsigned int> ids) {
  std::ranges::sort(ids);
  ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
  for (const unsigned int id : ids) {
    if (auto* sets = NodeCast<NodeSets>(GetNodes().at(id).data); sets != nullptr) {
      sets->Load(heavy);
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
void Tree::LoadNumbers(const std::shared_ptr<ModelStream>& heavy) {
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
    geometry->LocateConnectivity(heavy);
  }
  for (Geometry* geometry : geometries) {
    geometry->LocateOthers(heavy);
  }
  for (NodeSets* sets : nodeSets) {
    sets->Load(*heavy);
  }
}

}  // namespace LbtTev
