// Makes nodes of their records and reads their data.

#include "NodeFactory.h"

#include "Lbt/Tev/Attributes.h"
#include "Lbt/Tev/BlockVersionedIo.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev {

namespace {

std::unique_ptr<Node> ReadGroup(ModelStreams& streams, const TreeRecord& record) {
  auto group = std::make_unique<Group>();
  group->Read(streams, record.version);
  return group;
}

/// A file without any material record keeps the default material.
std::unique_ptr<Node> ReadShape(ModelStreams& streams, const TreeRecord& record) {
  auto shape = std::make_unique<Shape>();
  if (Holds(record.version, RecordPart::ShapeMaterial)) {
    streams.Attempt(streams.resources, [&] {
      if (LbtLbf::Block* block = streams.resources.FindBlock(); block != nullptr) {
        CopyFromBlock_Versioned(*block, shape->material);
      }
    });
  }
  return shape;
}

std::unique_ptr<Node> ReadGeometry(ModelStreams& streams, const TreeRecord& record,
                                   unsigned int idOffset, AttributeSetCache& cache) {
  auto geometry = std::make_unique<Geometry>();
  geometry->Read(streams, record.version, idOffset, &cache);
  return geometry;
}

/// Steps over data whose size stands before it.
void SkipData(ModelStream& light, unsigned int size) { static_cast<void>(light.GetBytes(size)); }

std::unique_ptr<Node> ReadNodeSets(ModelStreams& streams) {
  constexpr unsigned int kKnownSize = 16;
  auto nodeSets = std::make_unique<NodeSets>();
  ModelStream& light = streams.light;
  streams.Attempt(light, [&] {
    unsigned int size = 0;
    light.Get(size);
    if (size == kKnownSize) {
      light.Get(nodeSets->setCount, nodeSets->heavyDataPosition, nodeSets->reservedCount);
    } else {
      SkipData(light, size);
    }
  });
  return nodeSets;
}

std::unique_ptr<Node> SkipFutureNode(ModelStreams& streams, const TreeRecord& record) {
  auto node = std::make_unique<FutureNode>();
  node->storedType = record.type;
  streams.Attempt(streams.light, [&] {
    unsigned int size = 0;
    streams.light.Get(size);
    SkipData(streams.light, size);
  });
  return node;
}

std::unique_ptr<Node> ReadByType(ModelStreams& streams, const TreeRecord& record,
                                 unsigned int idOffset, AttributeSetCache& cache) {
  if (record.type == NodeType::kGroup) {
    return ReadGroup(streams, record);
  }
  if (record.type == NodeType::kShape) {
    return ReadShape(streams, record);
  }
  if (record.type == NodeType::kGeometry) {
    return ReadGeometry(streams, record, idOffset, cache);
  }
  if (record.type == NodeType::kNodeSets) {
    return ReadNodeSets(streams);
  }
  return record.type.empty() ? nullptr : SkipFutureNode(streams, record);
}

}  // namespace

std::unique_ptr<Node> ReadNode(ModelStreams& streams, const TreeRecord& record,
                               unsigned int idOffset, AttributeSetCache& cache) {
  std::unique_ptr<Node> node = ReadByType(streams, record, idOffset, cache);
  if (node != nullptr) {
    node->name = record.name;
    node->recordVersion = record.version;
  }
  return node;
}

void Group::Read(ModelStreams& streams, std::string_view version) {
  if (Holds(version, RecordPart::GroupTransform)) {
    streams.Attempt(streams.light, [&] {
      streams.light.GetFloats(translation);
      streams.light.GetFloats(rotation);
      streams.light.GetFloats(scale);
    });
  }
  if (Holds(version, RecordPart::GroupAttributes)) {
    streams.Attempt(streams.attributes,
                    [&] { LbtUtil::ReadAttributes(streams.attributes, attributes); });
  }
  if (Holds(version, RecordPart::GroupByte)) {
    streams.Attempt(streams.light, [&] { streams.light.Get(groupByte); });
  }
}

void Group::ReadVc(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
                   std::string_view attributesBlockName, std::string_view version) {
  StreamNames names;
  names.light = lightDataBlockName;
  names.attributes = attributesBlockName;
  ModelStreams streams(file, names);
  Read(streams, version);
}

}  // namespace LbtTev
