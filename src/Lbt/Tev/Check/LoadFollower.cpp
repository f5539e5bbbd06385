// The records of a tree while it is loaded, and the light data that they read.

#include "LoadFollower.h"

#include <algorithm>
#include <string>

#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev::Check {

namespace {

constexpr std::uint64_t kCountSize = 4;

}  // namespace

LoadFollower::LoadFollower(LbtLbf::LbFile& file, const StreamMap& treeMap,
                           const StreamMap& lightMap)
    : file_(&file), treeMap_(&treeMap), lightMap_(&lightMap), nextRecord_(kCountSize) {}

void LoadFollower::AddRecord(const LbtTev::TreeRecord& record) {
  records_.push_back({record, nextRecord_});
  nextRecord_ = PositionIn(LbtTev::StreamNames().tree);
}

void LoadFollower::OnRecord(const LbtTev::TreeRecord& record) {
  AddRecord(record);
  start_ = record.lightDataPosition != 0 ? record.lightDataPosition
                                         : PositionIn(LbtTev::StreamNames().light);
}

void LoadFollower::OnNode() {
  ++nodeCount_;
  if (records_.back().type == "Geometry") {
    geometries_.insert_or_assign(records_.back().id, start_);
  }
  const std::uint64_t end = PositionIn(LbtTev::StreamNames().light);
  if (start_ < end) {
    used_.emplace_back(start_, end);
  }
}

std::uint64_t LoadFollower::PositionIn(std::string_view stream) const {
  LbtLbf::Index& index = file_->GetIndex();
  LbtLbf::NamedStream* found = index.FindStream(stream);
  return found == nullptr ? 0 : index.GetPosition(*found);
}

void LoadFollower::PlaceLast(Finding& finding) const {
  if (lightMap_->IsEmpty()) {
    return;
  }
  lightMap_->Place(start_, finding);
  if (lightMap_->Knows(start_) && start_ > lightMap_->Length()) {
    finding.claimed = start_;
    finding.found = lightMap_->Length();
  }
}

void LoadFollower::PlaceGeometry(unsigned int id, Finding& finding) const {
  if (const auto found = geometries_.find(id); found != geometries_.end()) {
    lightMap_->Place(found->second, finding);
  }
}

void LoadFollower::FindUnusedRecords(FindingLog& log) const {
  const std::uint64_t unused = treeMap_->IsExact() ? treeMap_->Length() - nextRecord_ : 0;
  if (unused == 0) {
    return;
  }
  Finding finding{.kind = Finding::Kind::UnusedBytes,
                  .text = "nothing reads the " + std::to_string(unused) +
                          (unused == 1 ? " byte" : " bytes") +
                          " after the last tree record, from byte " + std::to_string(nextRecord_) +
                          " of the stream on",
                  .claimed = treeMap_->Length(),
                  .found = nextRecord_};
  treeMap_->Place(nextRecord_, finding);
  log.Add(std::move(finding));
}

void LoadFollower::FindUnusedLightData(FindingLog& log) const {
  if (!lightMap_->IsExact()) {
    return;
  }
  std::vector<std::pair<std::uint64_t, std::uint64_t>> used = used_;
  std::ranges::sort(used);
  used.emplace_back(lightMap_->Length(), lightMap_->Length());
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
    Finding finding{.kind = Finding::Kind::UnusedBytes,
                    .text = "there is light data that no record reads, from byte " +
                            std::to_string(first) + " of its stream on",
                    .claimed = lightMap_->Length(),
                    .found = lightMap_->Length() - unused};
    lightMap_->Place(first, finding);
    log.Add(std::move(finding));
  }
}

}  // namespace LbtTev::Check
