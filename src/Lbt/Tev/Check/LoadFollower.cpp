// The loading of a model: what fails, the tree records, and the light data that they read.

#include "LoadFollower.h"

#include <algorithm>

#include "ContainerCheck.h"
#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev::Check {

using LbtTev::LoadFailure;
using Part = LbtTev::LoadFailure::Part;

void LoadFollower::SetCount(std::size_t count) {
  count_ = count;
  nextRecord_ = LbtTev::kTreeRecordCountSize;
}

void LoadFollower::OnRecord(const LbtTev::TreeRecord& record) {
  records_.push_back({record, nextRecord_});
  unread_.insert(record.id);
  nextRecord_ = tree_->GetStreams().tree.Position();
  start_ = record.lightDataPosition != 0 ? record.lightDataPosition
                                         : tree_->GetStreams().light.Position();
}

void LoadFollower::OnNode() {
  unread_.erase(records_.back().id);
  if (records_.back().type == LbtTev::NodeType::kGeometry) {
    geometries_.insert_or_assign(records_.back().id, start_);
  }
  const std::uint64_t end = tree_->GetStreams().light.Position();
  if (start_ < end) {
    used_.emplace_back(start_, end);
  }
}

void LoadFollower::OnNodeSets(std::uint64_t start, std::uint64_t end) {
  usedBySets_.emplace_back(start, end);
}

bool LoadFollower::MayBeUnread(unsigned int id) const {
  return lost_.contains(id) || (!AreAllRead() && tree_->FindNode(id) == nullptr);
}

/// A lack of memory is none of the file, and ends the load.
bool LoadFollower::OnFailure(const LoadFailure& failure) {
  if (LbtLbf::IsLackOfMemory(*failure.exception)) {
    return false;
  }
  if (failure.part == Part::NodeData && failure.stream != map_->attributes.Stream() &&
      failure.stream != map_->resources.Stream()) {
    lost_.insert(failure.nodeId);
  }
  Finding finding = FindingOn(failure);
  const auto cause = causes_.find(failure.stream);
  if (failure.isConsequence && cause != causes_.end()) {
    finding.cause = cause->second;
  }
  const auto told = log_->Add(std::move(finding));
  if (told && !failure.isConsequence) {
    causes_.insert_or_assign(std::string(failure.stream), *told);
  }
  return true;
}

Finding LoadFollower::FindingOn(const LoadFailure& failure) {
  const CheckedBlock* failed =
      failure.isConsequence ? nullptr : survey_->FailedBlock(failure.refusedBlock);
  Finding finding{.kind = Finding::Kind::UnreadableRecord,
                  .text = SubjectOf(failure) + " cannot be read" + ReasonText(failure, failed)};
  if (failure.part == Part::NodeData || failure.part == Part::NodeSets) {
    finding.node = NumberedName{failure.nodeId, failure.nodeName};
  }
  Place(failure, failed, finding);
  return finding;
}

std::string LoadFollower::SubjectOf(const LoadFailure& failure) const {
  switch (failure.part) {
    case Part::Index:
      return "the index";
    case Part::GlobalInformation:
      return "the records of the programs that wrote the file";
    case Part::RecordCount:
      return "the number of tree records";
    case Part::Record:
      return "tree record " + std::to_string(failure.record) + " of " +
             std::to_string(count_.value_or(0));
    case Part::NodeData:
      return "its data";
    case Part::NodeSets:
      return "its node sets";
  }
  return "";
}

/// What stands after "cannot be read".
std::string LoadFollower::ReasonText(const LoadFailure& failure, const CheckedBlock* failed) const {
  const bool isSets = failure.part == Part::NodeSets;
  if (isSets && !map_->heavy.Knows(SetsPosition(failure.nodeId))) {
    return ", since the length of an earlier block is unknown";
  }
  if (isSets && failed != nullptr && failed->isLost) {
    return ", since their block cannot";
  }
  if (failure.isConsequence) {
    return ", since reading \"" + std::string(failure.stream) + "\" has failed before";
  }
  return ": " + (failure.refusedBlock ? RefusalText(*failure.refusedBlock)
                                      : ReasonOf(*failure.exception, tree_->GetFile()));
}

unsigned long LoadFollower::SetsPosition(unsigned int id) const {
  const auto* entry = tree_->FindNode(id);
  const auto* sets =
      entry == nullptr ? nullptr : dynamic_cast<const LbtTev::NodeSets*>(entry->data);
  return sets == nullptr ? 0 : sets->heavyDataPosition;
}

/// Where a block could not be loaded it is there, but for what has a place of its own.
void LoadFollower::Place(const LoadFailure& failure, const CheckedBlock* failed,
                         Finding& finding) const {
  if (failure.part == Part::NodeSets) {
    map_->heavy.Place(SetsPosition(failure.nodeId), finding);
  } else if (failure.part == Part::Record || failure.part == Part::RecordCount) {
    PlaceRecord(finding);
  } else if (failed != nullptr) {
    finding.block = failed->name;
    finding.offset = failed->offset;
  } else if (failure.part == Part::NodeData && failure.stream == map_->light.Stream()) {
    PlaceNodeData(finding);
  } else {
    map_->Of(failure.stream).Place(failure.part == Part::NodeData ? failure.position : 0, finding);
  }
}

/// A record is where it begins, or in the block of which it was read last where that is another.
void LoadFollower::PlaceRecord(Finding& finding) const {
  const auto last = tree_->GetFile().GetIndex().LastLoaded();
  const CheckedBlock* first = map_->tree.BlockAt(nextRecord_);
  const bool isElsewhere = first != nullptr && last && last->stream == map_->tree.Stream() &&
                           last->number != first->name.number;
  map_->tree.Place(isElsewhere ? map_->tree.StartOf(last->number) : nextRecord_, finding);
}

void LoadFollower::PlaceNodeData(Finding& finding) const {
  if (map_->light.IsEmpty()) {
    return;
  }
  map_->light.Place(start_, finding);
  if (map_->light.Knows(start_) && start_ > map_->light.Length()) {
    finding.claimed = start_;
    finding.found = map_->light.Length();
  }
}

void LoadFollower::PlaceGeometry(unsigned int id, Finding& finding) const {
  if (const auto found = geometries_.find(id); found != geometries_.end()) {
    map_->light.Place(found->second, finding);
  }
}

void LoadFollower::FindUnused() const {
  if (AreAllRead()) {
    FindUnusedRecords();
    if (unread_.empty()) {
      FindUnusedBetween(used_, map_->light, "light data that no record reads");
    }
  }
}

void LoadFollower::FindUnusedElsewhere(std::vector<Range> used) const {
  LbtTev::ModelStreams& streams = tree_->GetStreams();
  FindUnusedAtEnd(map_->global, streams.global);
  if (!AreAllRead() || !unread_.empty()) {
    return;
  }
  FindUnusedAtEnd(map_->attributes, streams.attributes);
  FindUnusedAtEnd(map_->resources, streams.resources);
  if (log_->Result().damages == 0) {
    used.insert(used.end(), usedBySets_.begin(), usedBySets_.end());
    FindUnusedBetween(std::move(used), map_->heavy,
                      "heavy data that no variable and no node set refers to");
  }
}

void LoadFollower::FindUnusedRecords() const {
  if (map_->tree.IsExact()) {
    TellOfUnusedEnd(map_->tree, nextRecord_, " after the last tree record");
  }
}

void LoadFollower::FindUnusedAtEnd(const StreamMap& map, LbtTev::ModelStream& stream) const {
  if (!map.IsEmpty() && map.IsExact() && !stream.IsGivenUp()) {
    TellOfUnusedEnd(map, stream.Position(), " at its end");
  }
}

/// "where" says where the bytes are that begin at "end".
void LoadFollower::TellOfUnusedEnd(const StreamMap& map, std::uint64_t end,
                                   const std::string& where) const {
  const std::uint64_t unused = map.Length() - std::min(map.Length(), end);
  if (unused == 0) {
    return;
  }
  Finding finding{.kind = Finding::Kind::UnusedBytes,
                  .text = "nothing reads the " + std::to_string(unused) +
                          (unused == 1 ? " byte" : " bytes") + where + ", from byte " +
                          std::to_string(end) + " of the stream on",
                  .claimed = map.Length(),
                  .found = end};
  map.Place(end, finding);
  log_->Add(std::move(finding));
}

/// "what" says what lies between the ranges that are used.
void LoadFollower::FindUnusedBetween(std::vector<Range> used, const StreamMap& map,
                                     const std::string& what) const {
  if (!map.IsExact()) {
    return;
  }
  std::ranges::sort(used);
  used.emplace_back(map.Length(), map.Length());
  std::uint64_t end = 0;
  std::uint64_t unused = 0;
  std::uint64_t first = 0;
  for (const auto& [start, stop] : used) {
    if (start > end) {
      first = unused == 0 ? end : first;
      unused += start - end;
    }
    end = std::max(end, stop);
  }
  if (unused != 0) {
    Finding finding{
        .kind = Finding::Kind::UnusedBytes,
        .text = "there is " + what + ", from byte " + std::to_string(first) + " of its stream on",
        .claimed = map.Length(),
        .found = map.Length() - unused};
    map.Place(first, finding);
    log_->Add(std::move(finding));
  }
}

}  // namespace LbtTev::Check
