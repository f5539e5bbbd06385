// Encodes nodes into the streams of a model.

#include "ModelEncoder.h"

#include <utility>

#include "ByteWriter.h"

namespace tevtest {
namespace {

void WriteFlagsAndValues(const Variable& variable, ByteWriter& writer) {
  writer.U8(variable.flags[0]).U8(variable.flags[1]);
  writer.F32(variable.values[0]).F32(variable.values[1]).U8(variable.flags[2]);
}

bool IsNewLayout(const std::string& version) {
  return version == "0.5" || version == "0.6" || version == "0.7";
}

void WritePosition(std::uint64_t position, bool wide, ByteWriter& writer) {
  if (wide) {
    writer.U64(position);
  } else {
    writer.U32(Narrow(position));
  }
}

}  // namespace

std::size_t Stream::Append(std::string_view record) {
  const std::size_t start = bytes.size();
  bytes.append(record);
  if (!record.empty())
    recordEnds.push_back(bytes.size());
  return start;
}

ModelEncoder::ModelEncoder(const std::vector<NodeSpec>& nodes, bool wideOffsets, Streams& streams)
    : nodes_(nodes), wideOffsets_(wideOffsets), streams_(streams) {}

Stream& ModelEncoder::To(std::string_view name) { return streams_[std::string(name)]; }

void ModelEncoder::Encode(const std::vector<NodeRef>& order) {
  const std::vector<Links> links = LinkAll();
  Stream& tree = To(kTree);
  tree.bytes += ByteWriter().I32(static_cast<std::int32_t>(order.size())).Bytes();
  for (const NodeRef ref : order) {
    const NodeSpec& node = nodes_.at(ref - 1);
    const auto encode = [&](const auto& content) { return Content(node, content); };
    const std::string light = std::visit(encode, node.content);
    const std::size_t start = To(kLightData).Append(light);
    const std::size_t automatic = light.empty() || readOn_ ? 0 : start;
    tree.Append(TreeRecord(ref, links[ref], node.lightPosition.value_or(automatic)));
  }
}

std::uint32_t ModelEncoder::IdOf(NodeRef node) const {
  return node == 0 ? 0 : nodes_.at(node - 1).id.value_or(node);
}

std::vector<ModelEncoder::Links> ModelEncoder::LinkAll() const {
  std::vector<Links> links(nodes_.size() + 1);
  std::vector<NodeRef> lastChild(nodes_.size() + 1, 0);
  for (NodeRef node = 1; node <= nodes_.size(); ++node) {
    const NodeRef parent = nodes_[node - 1].under;
    if (parent == 0)
      continue;
    const NodeRef previous = std::exchange(lastChild.at(parent), node);
    links[node].parent = IdOf(parent);
    links[node].previousSibling = IdOf(previous);
    (previous == 0 ? links[parent].firstChild : links[previous].nextSibling) = IdOf(node);
    links[parent].lastChild = IdOf(node);
  }
  return links;
}

std::string ModelEncoder::TreeRecord(NodeRef node, const Links& links,
                                     std::uint64_t lightPosition) const {
  const NodeSpec& spec = nodes_.at(node - 1);
  ByteWriter record;
  record.U32(IdOf(node))
      .U32(spec.parent.value_or(links.parent))
      .U32(spec.previousSibling.value_or(links.previousSibling))
      .U32(spec.nextSibling.value_or(links.nextSibling))
      .U32(spec.firstChild.value_or(links.firstChild))
      .U32(spec.lastChild.value_or(links.lastChild))
      .Text(spec.name)
      .Text(spec.type)
      .Text(spec.version);
  WritePosition(lightPosition, wideOffsets_, record);
  return record.Bytes();
}

std::string ModelEncoder::Content(const NodeSpec& node, const GroupContent& group) {
  ByteWriter light;
  if (node.version == "0.0a" || node.version == "0.1")
    return {};
  for (const float value : group.translation)
    light.F32(value);
  for (const float value : group.rotation)
    light.F32(value);
  for (const float value : group.scale)
    light.F32(value);
  if (node.version == "0.2")
    return light.Bytes();
  To(kAttributes).Append(group.attributes.Encode());
  if (node.version != "0.3")
    light.U8(group.groupByte);
  return light.Bytes();
}

std::string ModelEncoder::Content(const NodeSpec& /*node*/, const ShapeContent& shape) {
  if (shape.material)
    To(kResources).Append(shape.material->Encode());
  return {};
}

std::string ModelEncoder::Content(const NodeSpec& node, const GeometryContent& geometry) {
  ByteWriter light;
  light.U32(geometry.count.value_or(Narrow(geometry.variables.size())));
  for (const Variable& variable : geometry.variables) {
    light.Raw(IsNewLayout(node.version) ? NewVariable(node.version, variable)
                                        : OldVariable(node.version, variable));
  }
  return light.Bytes();
}

std::string ModelEncoder::Content(const NodeSpec& /*node*/, const NodeSetsContent& sets) {
  const std::string heavy = sets.heavyBytes.value_or(sets.lists.Encode());
  const std::size_t start = To(kHeavyData).Append(heavy);
  const std::string light = ByteWriter()
                                .U32(sets.setCount.value_or(Narrow(sets.lists.sets.size())))
                                .U64(sets.heavyPosition.value_or(start))
                                .U32(sets.third)
                                .Bytes();
  return ByteWriter().Text(sets.lightBytes.value_or(light)).Bytes();
}

std::string ModelEncoder::Content(const NodeSpec& /*node*/, const FutureContent& future) {
  const std::uint32_t size = future.size.value_or(Narrow(future.lightBytes.size()));
  return ByteWriter().U32(size).Raw(future.lightBytes).Bytes();
}

std::string ModelEncoder::Content(const NodeSpec& /*node*/, const std::monostate& /*nothing*/) {
  return {};
}

std::string ModelEncoder::NewVariable(const std::string& version, const Variable& variable) {
  ByteWriter light;
  light.Text(variable.name).U32(variable.type).U8(variable.linked);
  if (variable.linked != 0) {
    light.U32(variable.linkNodeId).U32(variable.linkVariableIndex);
  } else {
    const std::string heavy = variable.StoredBytes(version != "0.5");
    const std::size_t start = To(kHeavyData).Append(heavy);
    light.U32(variable.byteCount.value_or(Narrow(heavy.size()))).U8(variable.width);
    WriteFlagsAndValues(variable, light);
    WritePosition(variable.heavyPosition.value_or(start), version == "0.7", light);
  }
  light.U8(variable.furtherFlag);
  To(kAttributes).Append(variable.attributes.Encode());
  return light.Bytes();
}

std::string ModelEncoder::OldVariable(const std::string& version, const Variable& variable) {
  const std::string heavy = variable.StoredBytes(false);
  const std::size_t start = To(kHeavyData).Append(heavy);
  const bool hasFlags = version != "0.0a" && version != "0.1";
  const bool hasFurtherFlag = hasFlags && version != "0.2";
  const bool hasAttributes = hasFurtherFlag && version != "0.3";

  ByteWriter light;
  light.Text(variable.name).U32(variable.type);
  light.U32(variable.byteCount.value_or(Narrow(heavy.size()))).U8(variable.width);
  if (hasFlags)
    WriteFlagsAndValues(variable, light);
  if (hasFurtherFlag)
    light.U8(variable.furtherFlag);
  if (hasAttributes)
    To(kAttributes).Append(variable.attributes.Encode());
  return light.U32(Narrow(variable.heavyPosition.value_or(start))).Bytes();
}

}  // namespace tevtest
