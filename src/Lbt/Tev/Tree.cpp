#include "Lbt/Tev/Tree.h"

#include <algorithm>

#include "Lbt/Log/Raise.h"
#include "Lbt/Log/Trace.h"
#include "Lbt/Tev/BlockVersionedIo.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/StreamNames.h"
#include "Lbt/Tev/TreeRecord.h"
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

/// These read nothing yet, so that they need not wait for the rest of the tree.
void MakeLoaders(LbtLbf::LbFile& file, const std::string& heavy, Geometry& geometry) {
  geometry.LoadConnectivityBlocks(file, heavy);
  geometry.LoadOtherBlocks(file, heavy);
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

void Tree::LoadTree(LbtLbf::LbFile& file, std::map<unsigned int, unsigned int>& blockMap,
                    unsigned int parentId, bool wideOffsets, LoadObserver* observer) {
  ReadTree(file, &blockMap, parentId, wideOffsets, observer);
}

void Tree::LoadTree(LbtLbf::LbFile& file, unsigned int parentId, bool wideOffsets,
                    LoadObserver* observer) {
  ReadTree(file, nullptr, parentId, wideOffsets, observer);
}

void Tree::ReadTree(LbtLbf::LbFile& file, std::map<unsigned int, unsigned int>* blockMap,
                    unsigned int parentId, bool wideOffsets, LoadObserver* observer) {
  const StreamNames streams;
  const unsigned int idOffset = parentId == 0 ? 0 : GetNextId() - 1;
  AttributeSetCache cache;
  const bool isFirst = !HasData();
  std::vector<unsigned int> nodeSetIds;
  const int count = ReadTreeRecordCount(file, streams.tree);
  for (int i = 0; i < count; ++i) {
    const TreeRecord record = ReadTreeRecord(file, streams.tree, wideOffsets);
    if (observer != nullptr) {
      observer->OnRecord(record);
    }
    const LbtAdt::TreeNode<Node*> entry = EntryOf(record, parentId, idOffset);
    if (blockMap != nullptr) {
      blockMap->insert_or_assign(blockMap->end(), entry.id, record.id);
    }
    if (record.lightDataPosition != 0) {
      file.SetBlockPosition(streams.light, record.lightDataPosition);
    }
    std::unique_ptr<Node> node = ReadNode(file, streams, record, idOffset, cache);
    Node* const read = node.get();
    const unsigned int id = i == 0 && parentId != 0 ? GraftNode(parentId, entry, std::move(node))
                                                    : InsertNode(entry, std::move(node));
    if (auto* geometry = NodeCast<Geometry>(read); isFirst && geometry != nullptr) {
      MakeLoaders(file, streams.heavy, *geometry);
    } else if (NodeCast<NodeSets>(read) != nullptr) {
      nodeSetIds.push_back(id);
    }
    if (observer != nullptr) {
      observer->OnNode();
    }
  }
  if (isFirst) {
    LoadNodeSets(file, std::move(nodeSetIds));
  } else {
    LoadNumbers(file);
  }
}

bool Tree::HasData() const {
  return std::ranges::any_of(GetNodes(),
                             [](const auto& node) { return node.second.data != nullptr; });
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
