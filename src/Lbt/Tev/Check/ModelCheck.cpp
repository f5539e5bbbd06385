// The check of a model file as a whole.

#include "Lbt/Tev/Check/ModelCheck.h"

#include <unordered_set>

#include "BlockSurvey.h"
#include "ContainerCheck.h"
#include "ForeignFile.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/Exception.h"
#include "LoadFollower.h"
#include "RecordCheck.h"
#include "VariableCheck.h"

namespace LbtTev::Check {

namespace {

/// Loads the model of an open container as reports do, but goes on after each failure with what is
/// left to be loaded.
class Checking {
 public:
  /// The index must have been read.
  Checking(LbtTev::Tree& tree, bool wideOffsets, FindingLog& log)
      : tree_(&tree),
        wideOffsets_(wideOffsets),
        log_(&log),
        survey_(tree.GetFile(), log),
        globalMap_(survey_.Blocks(), streams_.global),
        treeMap_(survey_.Blocks(), streams_.tree),
        lightMap_(survey_.Blocks(), streams_.light),
        heavyMap_(survey_.Blocks(), streams_.heavy),
        treeStream_(tree.GetFile(), streams_.tree),
        follower_(tree.GetFile(), treeMap_, lightMap_) {}

  void Run() {
    CheckUnused(tree_->GetFile(), survey_.Blocks(), *log_);
    LoadModifiers();
    if (treeMap_.IsEmpty()) {
      log_->Add({.kind = Finding::Kind::MissingTree,
                 .text = "there is no stream \"" + streams_.tree + "\", so the model is empty"});
    } else {
      LoadTree();
    }
    survey_.Finish(streams_.tree);
    survey_.Finish(streams_.light);
    FindUnused();
    CheckStructure({follower_.Records(), areAllRecords_}, treeMap_, *log_);
    tree_->UpdateLinkedBuffers();
    CheckVariables(*tree_, heavyMap_, survey_,
                   {.mayBeUnread = [this](unsigned int id) { return MayBeUnread(id); },
                    .place = [this](unsigned int id,
                                    Finding& finding) { follower_.PlaceGeometry(id, finding); }},
                   *log_);
    survey_.FinishAll();
  }

 private:
  LbtLbf::LbFile& File() { return tree_->GetFile(); }

  void LoadModifiers() {
    try {
      tree_->LoadGlobalInfo(File());
    } catch (const std::exception& exception) {
      Finding finding =
          FindingOn("the records of the programs that wrote the file cannot be read", exception);
      if (!finding.block) {
        globalMap_.Place(0, finding);
      }
      log_->Add(std::move(finding));
    }
  }

  void LoadTree() {
    int count = 0;
    try {
      count = LbtTev::ReadTreeRecordCount(treeStream_);
      treeStream_.Seek(0);
    } catch (const std::exception& exception) {
      AddUnreadableRecord("the number of tree records", exception, 0);
      return;
    }
    if (count < 0) {
      AddNegativeCount(count);
      return;
    }
    LoadNodes(static_cast<std::size_t>(count));
  }

  void LoadNodes(std::size_t count) {
    try {
      tree_->LoadTree(File(), 0, wideOffsets_, &follower_);
      areAllRecords_ = true;
    } catch (const std::exception& exception) {
      static_cast<void>(ReasonOf(exception, File()));  // a lack of memory is thrown on
      const std::size_t node = follower_.NodeCount();
      if (node < follower_.Records().size()) {
        AddUnreadableNode(exception);
        ReadRestOfRecords(count);
      } else if (node < count) {
        AddUnreadableRecord(RecordText(node, count), exception, follower_.NextRecord());
      } else {
        static_cast<void>(survey_.FailedBlock());  // of node sets, which are tried again below
        areAllRecords_ = true;
      }
      FindUnread();
      LoadRest();
    }
  }

  void AddNegativeCount(int count) {
    Finding finding{.kind = Finding::Kind::UnreadableRecord,
                    .text = "the number of tree records is " + std::to_string(count) +
                            ", below 0, so no record is read"};
    treeMap_.Place(0, finding);
    log_->Add(std::move(finding));
  }

  static std::string RecordText(std::size_t record, std::size_t count) {
    return "tree record " + std::to_string(record) + " of " + std::to_string(count);
  }

  void ReadRestOfRecords(std::size_t count) {
    try {
      while (follower_.Records().size() < count) {
        LbtTev::TreeRecord record;
        LbtTev::ReadTreeRecordId(treeStream_, record);
        LbtTev::ReadAfterTreeRecordId(treeStream_, wideOffsets_, record);
        follower_.AddRecord(record);
      }
      areAllRecords_ = true;
    } catch (const std::exception& exception) {
      AddUnreadableRecord(RecordText(follower_.Records().size(), count), exception,
                          follower_.NextRecord());
    }
  }

  /// It is where it begins, or in the block of which it was read last where that is another one.
  void AddUnreadableRecord(const std::string& what, const std::exception& exception,
                           std::uint64_t start) {
    Finding finding = FindingOn(what + " cannot be read", exception);
    const auto last = File().GetIndex().LastLoaded();
    const CheckedBlock* first = treeMap_.BlockAt(start);
    const bool isFirst = first != nullptr && (!last || last->number == first->name.number ||
                                              last->stream != streams_.tree);
    finding.block.reset();
    treeMap_.Place(isFirst || !last ? start : treeMap_.StartOf(last->number), finding);
    log_->Add(std::move(finding));
  }

  void AddUnreadableNode(const std::exception& exception) {
    Finding finding = FindingOn("its data cannot be read", exception);
    const LbtTev::TreeRecord& record = follower_.Records().back();
    finding.node = NumberedName{record.id, record.name};
    if (!finding.block) {
      follower_.PlaceLast(finding);
    }
    log_->Add(std::move(finding));
  }

  void FindUnread() {
    const auto& all = follower_.Records();
    for (std::size_t i = follower_.NodeCount(); i < all.size(); ++i) {
      unread_.insert(all[i].id);
    }
  }

  void FindUnused() {
    if (areAllRecords_) {
      follower_.FindUnusedRecords(*log_);
      if (unread_.empty()) {
        follower_.FindUnusedLightData(*log_);
      }
    }
  }

  /// What loading a tree does after the records.
  void LoadRest() {
    for (const auto& [id, entry] : tree_->GetNodes()) {
      if (auto* geometry = dynamic_cast<LbtTev::Geometry*>(entry.data)) {
        geometry->LoadConnectivityBlocks(File(), streams_.heavy);
        geometry->LoadOtherBlocks(File(), streams_.heavy);
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
    if (block != nullptr && block->isLost) {
      // Trying would only cost as much again for each.
      AddUnreadableSets(id, nodeSets,
                        {.kind = Finding::Kind::UnreadableRecord,
                         .text = "its node sets cannot be read, since their block cannot"});
      return;
    }
    try {
      nodeSets.LoadDataBlocks(File(), streams_.heavy);
    } catch (const std::exception& exception) {
      AddUnreadableSets(id, nodeSets, FindingOn("its node sets cannot be read", exception));
    }
  }

  void AddUnreadableSets(unsigned int id, const LbtTev::NodeSets& nodeSets, Finding finding) {
    finding.node = NumberedName{id, nodeSets.name};
    heavyMap_.Place(nodeSets.heavyDataPosition, finding);
    log_->Add(std::move(finding));
  }

  /// Where a block could not be loaded, it is placed there. Only for use in a handler.
  [[nodiscard]] Finding FindingOn(const std::string& text, const std::exception& exception) {
    const std::string reason = ReasonOf(exception, File());
    Finding finding{.kind = Finding::Kind::UnreadableRecord, .text = text + ": " + reason};
    if (const CheckedBlock* failed = survey_.FailedBlock(); failed != nullptr) {
      finding.block = failed->name;
      finding.offset = failed->offset;
    }
    return finding;
  }

  [[nodiscard]] bool MayBeUnread(unsigned int id) const {
    return unread_.contains(id) || (!areAllRecords_ && tree_->FindNode(id) == nullptr);
  }

  const LbtTev::StreamNames streams_;
  LbtTev::Tree* tree_;
  bool wideOffsets_;
  FindingLog* log_;
  BlockSurvey survey_;
  StreamMap globalMap_;
  StreamMap treeMap_;
  StreamMap lightMap_;
  StreamMap heavyMap_;
  LbtTev::ModelStream treeStream_;
  LoadFollower follower_;
  bool areAllRecords_ = false;
  std::unordered_set<unsigned int> unread_;  // ids of records whose nodes were not loaded
};

/// Opens a container. False where it is none.
bool OpenTev(LbtLbf::LbFile& file, const std::string& path, bool& wideOffsets) {
  try {
    static_cast<void>(LbtTev::OpenContainer(file, path, wideOffsets));
    return true;
  } catch (const Lbt::Util::Exception& exception) {
    if (exception.GetType() != Lbt::Util::Exception::ErrorType::FormatNotSupported) {
      throw;
    }
    return false;
  }
}

}  // namespace

CheckResult CheckModel(const std::string& path, const FindingSink& sink, Limit limit) {
  FindingLog log(sink, limit);
  LbtTev::Tree tree;
  bool wideOffsets = false;
  if (!OpenTev(tree.GetFile(), path, wideOffsets)) {
    CheckResult result;
    result.verdict = Verdict::NotAModel;
    result.looksLike = LookOf(tree.GetFile());
    return result;
  }
  if (CheckIndex(tree.GetFile(), log)) {
    Checking(tree, wideOffsets, log).Run();
  }
  return log.Result();
}

}  // namespace LbtTev::Check
