// Writes whole model files.

#include "ModelWriter.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <utility>

namespace tevtest {
namespace {

template <typename T>
bool Contains(const std::vector<T>& list, const T& value) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

NodeSpec Spec(std::string_view type, std::string_view version, std::string_view name,
              NodeRef under) {
  NodeSpec spec;
  spec.type = type;
  spec.version = version;
  spec.name = name;
  spec.under = under;
  return spec;
}

/// Where the blocks of a stream end; the last one ends with the stream.
std::vector<std::size_t> BlockEnds(const Stream& stream, const StreamLayout& layout) {
  std::vector<std::size_t> ends;
  if (layout.split == StreamLayout::Split::BlockPerRecord)
    ends = stream.recordEnds;
  if (layout.split == StreamLayout::Split::AtCuts)
    ends = layout.cuts;
  const std::size_t size = stream.bytes.size();
  if (ends.empty() || ends.back() != size)
    ends.push_back(size);
  return ends;
}

bool IsCompressed(StreamLayout::Packing packing, std::size_t ordinal) {
  if (packing == StreamLayout::Packing::Alternating)
    return ordinal % 2 == 1;
  return packing == StreamLayout::Packing::Compressed;
}

void DealOut(std::vector<std::vector<BlockSpec>> streams, bool inTurn, ContainerWriter& out) {
  std::size_t longest = 0;
  for (const auto& blocks : streams)
    longest = std::max(longest, blocks.size());
  const std::size_t step = inTurn ? 1 : longest;
  for (std::size_t first = 0; first < longest; first += step) {
    for (auto& blocks : streams) {
      const std::size_t end = std::min(first + step, blocks.size());
      for (std::size_t i = first; i < end; ++i)
        out.Add(std::move(blocks[i]));
    }
  }
}

}  // namespace

NodeRef ModelWriter::AddGroup(std::string_view name, NodeRef under, AttributeSet attributes,
                              std::string_view version) {
  NodeSpec spec = Spec("Group", version, name, under);
  spec.content.emplace<GroupContent>().attributes = std::move(attributes);
  return Add(std::move(spec));
}

NodeRef ModelWriter::AddShape(std::string_view name, NodeRef under, std::string_view version) {
  NodeSpec spec = Spec("Shape", version, name, under);
  auto& shape = spec.content.emplace<ShapeContent>();
  if (version != "0.0a" && version != "0.1")
    shape.material.emplace();
  return Add(std::move(spec));
}

NodeRef ModelWriter::AddGeometry(std::string_view name, NodeRef under, std::string_view version) {
  NodeSpec spec = Spec("Geometry", version, name, under);
  spec.content.emplace<GeometryContent>();
  return Add(std::move(spec));
}

NodeRef ModelWriter::AddNodeSets(std::string_view name, NodeRef under, std::vector<NodeSet> sets) {
  NodeSpec spec = Spec("NodeSets", "0.1", name, under);
  spec.content.emplace<NodeSetsContent>().lists.sets = std::move(sets);
  return Add(std::move(spec));
}

NodeRef ModelWriter::AddFuture(std::string_view type, std::string_view name, NodeRef under,
                               std::string_view lightBytes) {
  NodeSpec spec = Spec(type, "0.1", name, under);
  spec.content.emplace<FutureContent>().lightBytes = lightBytes;
  return Add(std::move(spec));
}

NodeRef ModelWriter::AddEmpty(std::string_view name, NodeRef under) {
  return Add(Spec("", "", name, under));
}

NodeRef ModelWriter::Add(NodeSpec node) {
  nodes_.push_back(std::move(node));
  return static_cast<NodeRef>(nodes_.size());
}

std::uint32_t ModelWriter::AddVariable(NodeRef geometry, Variable variable) {
  std::vector<Variable>& variables = At(geometry).Geometry().variables;
  variables.push_back(std::move(variable));
  return static_cast<std::uint32_t>(variables.size() - 1);
}

ModelWriter& ModelWriter::AddModifier(ModifierRecord modifier) {
  modifiers_.push_back(std::move(modifier));
  return *this;
}

ModelWriter& ModelWriter::SetModifierCount(std::uint32_t count) {
  modifierCount_ = count;
  return *this;
}

Variable& ModelWriter::VariableAt(NodeRef geometry, std::size_t index) {
  return At(geometry).Geometry().variables.at(index);
}

ModelWriter& ModelWriter::SetFileVersion(std::string_view version) {
  fileVersion_ = version;
  return *this;
}

ModelWriter& ModelWriter::SetWideOffsets(bool wide) {
  wideOffsets_ = wide;
  return *this;
}

ModelWriter& ModelWriter::KeepReadingOn() {
  readOn_ = true;
  return *this;
}

ModelWriter& ModelWriter::SetRecordOrder(std::vector<NodeRef> order) {
  recordOrder_ = std::move(order);
  return *this;
}

ModelWriter& ModelWriter::SetLayout(std::string_view stream, StreamLayout layout) {
  layouts_.insert_or_assign(std::string(stream), std::move(layout));
  return *this;
}

ModelWriter& ModelWriter::SetLayoutOfOthers(StreamLayout layout) {
  layoutOfOthers_ = std::move(layout);
  return *this;
}

ModelWriter& ModelWriter::SetPrefix(std::string_view stream, std::string_view bytes) {
  prefixes_.insert_or_assign(std::string(stream), std::string(bytes));
  return *this;
}

ModelWriter& ModelWriter::ReplaceStream(std::string_view stream, std::string_view bytes) {
  replacements_.insert_or_assign(std::string(stream), std::string(bytes));
  return *this;
}

ModelWriter& ModelWriter::LeaveOut(std::string_view stream) {
  leftOut_.emplace_back(stream);
  return *this;
}

ModelWriter& ModelWriter::SetStreamOrder(std::vector<std::string> order) {
  streamOrder_ = std::move(order);
  return *this;
}

ModelWriter& ModelWriter::Interleave() {
  interleave_ = true;
  return *this;
}

Streams ModelWriter::Encode() const {
  Streams streams;
  for (const auto& [name, bytes] : prefixes_)
    streams[name].Append(bytes);
  if (!modifiers_.empty() || modifierCount_) {
    streams[std::string(kGlobalInformation)].Append(EncodeModifiers(modifiers_, modifierCount_));
  }
  std::vector<NodeRef> order(nodes_.size());
  std::iota(order.begin(), order.end(), NodeRef{1});
  const bool wide = wideOffsets_.value_or(std::strtod(fileVersion_.c_str(), nullptr) > 0.65);
  ModelEncoder encoder(nodes_, wide, streams);
  if (readOn_)
    encoder.KeepReadingOn();
  encoder.Encode(recordOrder_.value_or(order));
  for (const auto& [name, bytes] : replacements_)
    streams[name] = {bytes, {}};
  return streams;
}

std::vector<std::string> ModelWriter::StreamOrder() const {
  std::vector<std::string> order = streamOrder_;
  for (const std::string_view name :
       {kGlobalInformation, kTree, kLightData, kAttributes, kResources, kHeavyData}) {
    if (!Contains(order, std::string(name)))
      order.emplace_back(name);
  }
  return order;
}

std::vector<BlockSpec> ModelWriter::BlocksOf(const std::string& name, const Stream& stream) const {
  const auto own = layouts_.find(name);
  const StreamLayout& layout = own == layouts_.end() ? layoutOfOthers_ : own->second;
  std::vector<BlockSpec> blocks;
  std::size_t start = 0;
  std::size_t ordinal = 0;
  for (const std::size_t end : BlockEnds(stream, layout)) {
    const bool compressed = IsCompressed(layout.packing, ordinal++);
    if (layout.emptyBlocks && start > 0)
      blocks.push_back({.name = name, .compressed = compressed});
    std::string payload = stream.bytes.substr(start, end - start);
    blocks.push_back({.name = name, .payload = std::move(payload), .compressed = compressed});
    start = end;
  }
  return blocks;
}

std::string ModelWriter::StreamBytes(std::string_view stream) const {
  const Streams streams = Encode();
  const auto found = streams.find(stream);
  return found == streams.end() ? std::string() : found->second.bytes;
}

std::size_t ModelWriter::RecordStart(std::string_view stream, std::size_t nth) const {
  constexpr std::size_t kCountOfRecords = 4;
  if (nth == 0)
    return stream == kTree ? kCountOfRecords : 0;
  return Encode().find(stream)->second.recordEnds.at(nth - 1);
}

ContainerWriter ModelWriter::ToContainer() const {
  const Streams streams = Encode();
  std::vector<std::vector<BlockSpec>> blocks;
  for (const std::string& name : StreamOrder()) {
    const auto found = streams.find(name);
    if (found == streams.end() || Contains(leftOut_, name))
      continue;
    const bool isNothing = found->second.bytes.empty() && !replacements_.contains(name);
    if (!isNothing)
      blocks.push_back(BlocksOf(name, found->second));
  }
  ContainerWriter container;
  container.SetVersion(fileVersion_);
  DealOut(std::move(blocks), interleave_, container);
  return container;
}

}  // namespace tevtest
