// The check of a model file as a whole.

#include "Lbt/Tev/Check/ModelCheck.h"

#include <algorithm>
#include <map>
#include <unordered_set>

#include "ContainerCheck.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Tev/Vocabulary.h"
#include "LightUse.h"
#include "RecordCheck.h"
#include "VariableCheck.h"

namespace LbtTev::Check {

namespace {

/// Loads a model as reports do, but goes on after each failure with what is left to be loaded.
class TolerantLoad {
 public:
  TolerantLoad(const std::vector<CheckedBlock>& blocks, const TreeRecords& records,
               const FindingSink& sink)
      : blocks_(&blocks),
        records_(&records),
        sink_(&sink),
        globalMap_(blocks, LbtTev::StreamNames().global),
        lightMap_(blocks, LbtTev::StreamNames().light),
        heavyMap_(blocks, LbtTev::StreamNames().heavy),
        lightUse_(tree_.GetFile(), lightMap_) {}

  void Run(const std::string& path, bool wideOffsets) {
    bool opensWide = false;
    static_cast<void>(LbtTev::OpenContainer(tree_.GetFile(), path, opensWide));
    LoadModifiers();
    if (!LoadTree(wideOffsets)) {
      LoadRest();
    }
    FindUnread();
    if (unread_.empty() && records_->areAll) {
      lightUse_.FindUnused(*sink_);
    }
    tree_.UpdateLinkedBuffers();
    CheckVariables(tree_, heavyMap_,
                   {.mayBeUnread = [this](unsigned int id) { return MayBeUnread(id); },
                    .place = [this](unsigned int id,
                                    Finding& finding) { lightUse_.PlaceGeometry(id, finding); }},
                   *sink_);
  }

 private:
  void LoadModifiers() {
    try {
      tree_.LoadGlobalInfo(tree_.GetFile());
    } catch (const std::exception& exception) {
      Finding finding =
          FindingOn("the records of the programs that wrote the file cannot be read", exception);
      if (!finding.block) {
        globalMap_.Place(0, finding);
      }
      (*sink_)(finding);
    }
  }

  bool LoadTree(bool wideOffsets) {
    std::map<unsigned int, unsigned int> fileIds;
    try {
      tree_.LoadTree(tree_.GetFile(), fileIds, 0, wideOffsets, &lightUse_);
      return true;
    } catch (const std::exception& exception) {
      AddUnreadableNode(exception);
      return false;
    }
  }

  /// Nothing to add for a tree record that cannot be read, which has been told of already, nor
  /// for what follows the records, which is tried again for each node. Only for use in a handler:
  /// that a record cannot be read which was read before is no fault of the file, and thrown on.
  void AddUnreadableNode(const std::exception& exception) {
    const std::size_t at = lightUse_.NodeCount();
    if (at == lightUse_.RecordCount() && at < records_->records.size()) {
      throw;
    }
    Finding finding = FindingOn("its data cannot be read", exception);
    if (at < lightUse_.RecordCount() && at < records_->records.size()) {
      const LbtTev::TreeRecord& record = records_->records[at];
      finding.node = NumberedName{record.id, record.name};
      if (!finding.block) {
        lightUse_.PlaceLast(finding);
      }
      (*sink_)(finding);
    }
  }

  void FindUnread() {
    const auto& all = records_->records;
    for (std::size_t i = lightUse_.NodeCount(); i < all.size(); ++i) {
      unread_.insert(all[i].id);
    }
  }

  /// What loading a tree does after the records.
  void LoadRest() {
    for (const auto& [id, entry] : tree_.GetNodes()) {
      if (auto* geometry = dynamic_cast<LbtTev::Geometry*>(entry.data)) {
        geometry->LoadConnectivityBlocks(tree_.GetFile(), LbtTev::StreamNames().heavy);
        geometry->LoadOtherBlocks(tree_.GetFile(), LbtTev::StreamNames().heavy);
      } else if (auto* nodeSets = dynamic_cast<LbtTev::NodeSets*>(entry.data)) {
        LoadNodeSets(id, *nodeSets);
      }
    }
  }

  void LoadNodeSets(unsigned int id, LbtTev::NodeSets& nodeSets) {
    const CheckedBlock* block = heavyMap_.BlockAt(nodeSets.heavyDataPosition);
    if (!heavyMap_.Knows(nodeSets.heavyDataPosition)) {
      AddUnreadableSets(id, nodeSets,
                        {.kind = Finding::Kind::UnreadableRecord,
                         .text = "its node sets cannot be read, since the length of an earlier "
                                 "block is unknown"});
      return;
    }
    if (block != nullptr && !block->IsGood()) {
      // Trying would only cost as much again for each.
      AddUnreadableSets(id, nodeSets,
                        {.kind = Finding::Kind::UnreadableRecord,
                         .text = "its node sets cannot be read, since their block cannot"});
      return;
    }
    try {
      nodeSets.LoadDataBlocks(tree_.GetFile(), LbtTev::StreamNames().heavy);
    } catch (const std::exception& exception) {
      AddUnreadableSets(id, nodeSets, FindingOn("its node sets cannot be read", exception));
    }
  }

  void AddUnreadableSets(unsigned int id, const LbtTev::NodeSets& nodeSets, Finding finding) {
    finding.node = NumberedName{id, nodeSets.name};
    heavyMap_.Place(nodeSets.heavyDataPosition, finding);
    (*sink_)(finding);
  }

  /// Where zlib has refused a block, it is placed there.
  [[nodiscard]] Finding FindingOn(const std::string& text, const std::exception& exception) const {
    Finding finding{.kind = Finding::Kind::UnreadableRecord,
                    .text = text + ": " + ReasonOf(exception, tree_.GetFile())};
    if (const auto refused = RefusedBlock(exception, tree_.GetFile())) {
      const CheckedBlock& block = blocks_->at(refused->number);
      finding.block = block.name;
      finding.offset = block.offset;
    }
    return finding;
  }

  [[nodiscard]] bool MayBeUnread(unsigned int id) const {
    return unread_.contains(id) || (!records_->areAll && tree_.FindNode(id) == nullptr);
  }

  const std::vector<CheckedBlock>* blocks_;
  const TreeRecords* records_;
  const FindingSink* sink_;
  StreamMap globalMap_;
  StreamMap lightMap_;
  StreamMap heavyMap_;
  LbtTev::Tree tree_;
  LightUse lightUse_;
  std::unordered_set<unsigned int> unread_;  // ids of records whose nodes were not loaded
};

StreamMap MapOfTree(const std::vector<CheckedBlock>& blocks) {
  return {blocks, LbtTev::StreamNames().tree};
}

}  // namespace

void CheckModel(const std::string& path, const FindingSink& sink) {
  std::vector<CheckedBlock> blocks;
  TreeRecords records;
  bool wideOffsets = false;
  {
    LbtLbf::LbFile file;
    if (!CheckHeader(file, path, wideOffsets, sink) || !CheckIndex(file, sink)) {
      return;
    }
    blocks = CheckBlocks(file, sink);
    records = ReadTreeRecords(file, wideOffsets, MapOfTree(blocks), sink);
  }
  CheckStructure(records, MapOfTree(blocks), sink);
  TolerantLoad(blocks, records, sink).Run(path, wideOffsets);
}

}  // namespace LbtTev::Check
