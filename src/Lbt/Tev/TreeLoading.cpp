// Loads the records of a tree with all that they refer to.

#include <algorithm>
#include <set>
#include <utility>

#include "Lbt/Tev/BlockVersionedIo.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/Tree.h"
#include "NodeFactory.h"
#include "TolerantReading.h"

namespace LbtTev {

namespace {

/// The record's place in the tree: a root has "parentId" as its parent.
LbtAdt::TreeNode<Node*> EntryOf(const TreeRecord& record, unsigned int parentId,
                                unsigned int idOffset) {
  return {record.id + idOffset,
          record.parent == 0 ? parentId : record.parent + idOffset,
          ShiftedLink(record.previousSibling, idOffset),
          ShiftedLink(record.nextSibling, idOffset),
          ShiftedLink(record.firstChild, idOffset),
          ShiftedLink(record.lastChild, idOffset),
          nullptr};
}

}  // namespace

/// One load of a tree.
class Tree::LoadRun {
 public:
  /// Null for who does not want to have the ids, or to be told.
  LoadRun(Tree& tree, std::shared_ptr<ModelStreams> streams,
          std::map<unsigned int, unsigned int>* blockMap, LoadObserver* observer)
      : tree_(tree),
        streams_(std::move(streams)),
        isFirst_(!tree.HasData()),
        blockMap_(blockMap),
        observer_(observer),
        tolerance_(*streams_, observer),
        lightRequest_(streams_->light),
        heavyRequest_(*streams_->heavy) {}
  ~LoadRun() { streams_->dataReadAtOnce.clear(); }
  LoadRun(const LoadRun&) = delete;
  LoadRun& operator=(const LoadRun&) = delete;

  void Run(unsigned int parentId, bool wideOffsets) {
    parentId_ = parentId;
    idOffset_ = parentId == 0 ? 0 : tree_.GetNextId() - 1;
    try {
      ReadRecords(wideOffsets);
    } catch (...) {
      if (isFirst_) {
        tree_.DropLoaders();
      }
      throw;
    }
    if (!isFirst_) {
      LocateNumbers();
    }
    for (const unsigned int id : NodeSetIds()) {
      LoadNodeSets(id);
    }
  }

 private:
  using Part = LoadFailure::Part;

  void ReadRecords(bool wideOffsets) {
    ModelStream& stream = streams_->tree;
    int count = 0;
    tolerance_.SetPlace({.part = Part::RecordCount});
    streams_->Attempt(stream, [&] { count = ReadTreeRecordCount(stream); });
    if (observer_ != nullptr) {
      observer_->OnRecordCount(count);
    }
    for (int i = 0; i < count; ++i) {
      TreeRecord record;
      const auto number = static_cast<std::size_t>(i);
      tolerance_.SetPlace({.part = Part::Record, .record = number});
      streams_->Attempt(stream, [&] { ReadRecord(wideOffsets, record); });
      if (stream.IsGivenUp()) {
        return;
      }
      ReadNodeOf(record, number);
    }
  }

  /// The id in the file is known of a record whose rest cannot be read, too.
  void ReadRecord(bool wideOffsets, TreeRecord& record) {
    ReadTreeRecordId(streams_->tree, record);
    if (blockMap_ != nullptr) {
      blockMap_->insert_or_assign(blockMap_->end(), record.id + idOffset_, record.id);
    }
    ReadAfterTreeRecordId(streams_->tree, wideOffsets, record);
  }

  void ReadNodeOf(const TreeRecord& record, std::size_t number) {
    const bool isGrafted = number == 0 && parentId_ != 0;
    const LbtAdt::TreeNode<Node*> entry = EntryOf(record, parentId_, idOffset_);
    if (observer_ != nullptr) {
      observer_->OnRecord(record);
      tolerance_.SetPlace({.part = Part::NodeData,
                           .record = number,
                           .nodeId = isGrafted ? tree_.GetNextId() : entry.id,
                           .nodeName = record.name});
    }
    if (record.lightDataPosition != 0) {
      streams_->Attempt(streams_->light, [&] { streams_->light.Seek(record.lightDataPosition); });
    }
    std::unique_ptr<Node> node = ReadNode(*streams_, record, idOffset_, cache_);
    Node* const read = node.get();
    const unsigned int id = isGrafted ? tree_.GraftNode(parentId_, entry, std::move(node))
                                      : tree_.InsertNode(entry, std::move(node));
    LocateNumbers(read, id);
    if (observer_ != nullptr) {
      tolerance_.TellOfMissedReads();
      if (tolerance_.HasFailed()) {
        unplaced_.insert(id);
      } else {
        observer_->OnNode();
      }
    }
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

  /// In two passes over all nodes, those of earlier loads included.
  void LocateNumbers() {
    for (const auto& [id, entry] : tree_.GetNodes()) {
      if (auto* geometry = NodeCast<Geometry>(entry.data); geometry != nullptr) {
        geometry->LocateConnectivity(streams_->heavy);
      }
    }
    for (const auto& [id, entry] : tree_.GetNodes()) {
      if (auto* geometry = NodeCast<Geometry>(entry.data); geometry != nullptr) {
        geometry->LocateOthers(streams_->heavy);
      }
    }
  }

  /// The ids of all nodes that may have sets, those of earlier loads included, in order and each
  /// once; a later record may have put another node in place.
  [[nodiscard]] std::vector<unsigned int> NodeSetIds() {
    if (!isFirst_) {
      nodeSetIds_.clear();
      for (const auto& [id, entry] : tree_.GetNodes()) {
        nodeSetIds_.push_back(id);
      }
    }
    std::ranges::sort(nodeSetIds_);
    nodeSetIds_.erase(std::unique(nodeSetIds_.begin(), nodeSetIds_.end()), nodeSetIds_.end());
    return std::move(nodeSetIds_);
  }

  void LoadNodeSets(unsigned int id) {
    auto* sets = NodeCast<NodeSets>(tree_.GetNodes().at(id).data);
    if (sets != nullptr && !unplaced_.contains(id)) {
      tolerance_.SetPlace({.part = Part::NodeSets, .nodeId = id, .nodeName = sets->name});
      streams_->Attempt(*streams_->heavy, [&] { LoadNodeSets(*sets); });
    }
  }

  /// Nodes whose sets are stored in the same place share them.
  void LoadNodeSets(NodeSets& sets) {
    const auto place = std::pair(sets.heavyDataPosition, sets.setCount);
    if (const auto found = loadedSets_.find(place); found != loadedSets_.end()) {
      sets.sets = found->second;
    } else {
      sets.LoadSets(*streams_->heavy);
      if (observer_ != nullptr) {
        observer_->OnNodeSets(sets.heavyDataPosition, streams_->heavy->Position());
      }
      loadedSets_.emplace(place, sets.sets);
    }
  }

  Tree& tree_;
  std::shared_ptr<ModelStreams> streams_;
  unsigned int parentId_ = 0;
  unsigned int idOffset_ = 0;
  bool isFirst_;  // no nodes were there before
  std::map<unsigned int, unsigned int>* blockMap_;
  LoadObserver* observer_;
  TolerantReading tolerance_;
  ModelStream::Request lightRequest_;
  ModelStream::Request heavyRequest_;
  AttributeSetCache cache_;
  std::vector<unsigned int> nodeSetIds_;
  std::map<std::pair<unsigned long, unsigned int>, NodeSets::SetList> loadedSets_;
  std::set<unsigned int> unplaced_;  // nodes that may not know where their sets lie
};

void Tree::LoadTree(LbtLbf::LbFile& file, std::map<unsigned int, unsigned int>& blockMap,
                    unsigned int parentId, bool wideOffsets, LoadObserver* observer) {
  LoadRun(*this, StreamsOf(file), &blockMap, observer).Run(parentId, wideOffsets);
}

void Tree::LoadTree(LbtLbf::LbFile& file, unsigned int parentId, bool wideOffsets,
                    LoadObserver* observer) {
  LoadRun(*this, StreamsOf(file), nullptr, observer).Run(parentId, wideOffsets);
}

void Tree::LoadGlobalInfo(LbtLbf::LbFile& file, LoadObserver* observer) {
  const auto streams = StreamsOf(file);
  TolerantReading tolerance(*streams, observer);
  tolerance.SetPlace({.part = LoadFailure::Part::GlobalInformation});
  streams->Attempt(streams->global, [&] {
    if (LbtLbf::Block* block = streams->global.FindBlock(); block != nullptr) {
      LbtLbf::CopyFromBlock(*block, modifierInfos);
    }
  });
  // After a failure the list may have its stated length.
  while (streams->global.IsGivenUp() && !modifierInfos.empty() &&
         modifierInfos.back() == ModifierInfo()) {
    modifierInfos.pop_back();
  }
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

}  // namespace LbtTev
