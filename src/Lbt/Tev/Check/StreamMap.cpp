// Where the blocks of a stream lie.

#include "StreamMap.h"

#include <algorithm>

namespace LbtTev::Check {

namespace {

std::uint64_t LengthOf(const CheckedBlock& block) { return block.check.recordedLength.value_or(0); }

}  // namespace

StreamMap::StreamMap(const std::vector<CheckedBlock>& blocks, const std::string& stream)
    : stream_(stream) {
  for (const CheckedBlock& block : blocks) {
    if (block.name.name == stream && areLengthsKnown_) {
      spans_.push_back({length_, &block});
      length_ += LengthOf(block);
      areLengthsKnown_ = block.check.recordedLength.has_value();
    }
  }
}

bool StreamMap::IsExact() const {
  return areLengthsKnown_ &&
         std::ranges::all_of(spans_, [](const Span& span) { return span.block->IsExact(); });
}

std::uint64_t StreamMap::StartOf(std::uint64_t number) const {
  const auto span = std::ranges::lower_bound(
      spans_, number, {}, [](const Span& one) { return one.block->name.number; });
  return span == spans_.end() ? length_ : span->start;
}

const StreamMap::Span* StreamMap::SpanAt(std::uint64_t position) const {
  const auto next = std::ranges::upper_bound(spans_, position, {}, &Span::start);
  return next == spans_.begin() || !Knows(position) ? nullptr : &*(next - 1);
}

const CheckedBlock* StreamMap::BlockAt(std::uint64_t position) const {
  const Span* span = SpanAt(position);
  return span == nullptr ? nullptr : span->block;
}

void StreamMap::Place(std::uint64_t position, Finding& finding) const {
  if (const Span* span = SpanAt(position); span != nullptr) {
    const CheckedBlock& block = *span->block;
    const std::uint64_t within = std::min(position - span->start, LengthOf(block));
    finding.block = block.name;
    finding.offset = block.offset + (block.isCompressed ? 0 : within);
  } else if (!Knows(position)) {
    finding.stream = stream_;
  }
}

std::uint64_t StreamMap::BytesAt(std::uint64_t position) const {
  const Span* span = SpanAt(position);
  const std::uint64_t end = span == nullptr ? 0 : span->start + LengthOf(*span->block);
  return position < end ? end - position : 0;
}

const StreamMap& ModelMap::Of(std::string_view stream) const {
  for (const StreamMap* map : {&global, &tree, &heavy, &attributes, &resources}) {
    if (map->Stream() == stream) {
      return *map;
    }
  }
  return light;
}

}  // namespace LbtTev::Check
