// Which light data the records of a tree read, and where that of a record lies.

#include "LightUse.h"

#include <algorithm>
#include <exception>

#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev::Check {

LightUse::LightUse(LbtLbf::LbFile& file, const StreamMap& map)
    : file_(&file),
      map_(&map),
      stream_(LbtTev::StreamNames().light),
      isKnown_(map.IsExact() && !map.IsEmpty()) {}

void LightUse::OnRecord(const LbtTev::TreeRecord& record) {
  ++recordCount_;
  start_ = record.lightDataPosition != 0 ? record.lightDataPosition : end_;
  isStartKnown_ = isKnown_ || record.lightDataPosition != 0 || recordCount_ == 1;
  id_ = record.id;
  isGeometry_ = record.type == "Geometry";
}

void LightUse::OnNode() {
  ++nodeCount_;
  if (isGeometry_ && isStartKnown_) {
    geometries_.insert_or_assign(id_, start_);
  }
  if (!isKnown_) {
    return;
  }
  try {
    end_ = map_->CursorOf(*file_, stream_);
    if (start_ < end_) {
      used_.emplace_back(start_, end_);
    }
  } catch (const std::exception&) {
    // All blocks are sound, so the fault is the machine's. It must not end the loading here, where
    // it would count as that of the next record.
    failure_ = std::current_exception();
    isKnown_ = false;
  }
}

void LightUse::PlaceLast(Finding& finding) const {
  if (!isStartKnown_ || map_->IsEmpty()) {
    return;
  }
  map_->Place(start_, finding);
  if (map_->Knows(start_) && start_ > map_->Length()) {
    finding.claimed = start_;
    finding.found = map_->Length();
  }
}

void LightUse::PlaceGeometry(unsigned int id, Finding& finding) const {
  if (const auto found = geometries_.find(id); found != geometries_.end()) {
    map_->Place(found->second, finding);
  }
}

void LightUse::FindUnused(const FindingSink& sink) {
  if (failure_) {
    std::rethrow_exception(failure_);
  }
  if (!isKnown_) {
    return;
  }
  std::ranges::sort(used_);
  used_.emplace_back(map_->Length(), map_->Length());
  std::uint64_t end = 0;
  std::uint64_t unused = 0;
  std::uint64_t first = 0;
  for (const auto& [start, stop] : used_) {
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
                    .claimed = map_->Length(),
                    .found = map_->Length() - unused};
    map_->Place(first, finding);
    sink(finding);
  }
}

}  // namespace LbtTev::Check
