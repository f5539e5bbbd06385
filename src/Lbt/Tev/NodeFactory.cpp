#include "NodeFactory.h"

#include "Lbt/Log/Raise.h"
#include "Lbt/Tev/BlockVersionedIo.h"
#include "Lbt/Tev/FutureNode.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Group.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/Shape.h"

namespace LbtTev {

namespace {

using Lbt::Util::Exception;

std::unique_ptr<Node> ReadGroup(LbtLbf::LbFile& file, const StreamNames& streams,
                                const TreeRecord& record) {
  auto group = std::make_unique<Group>();
  group->ReadVc(file, streams.light, streams.attributes, record.version);
  return group;
}

/// The first shape versions have no material record; a file without any keeps the
/// default material.
std::unique_ptr<Node> ReadShape(LbtLbf::LbFile& file, const StreamNames& streams,
                                const TreeRecord& record) {
  auto shape = std::make_unique<Shape>();
  if (record.version == "0.1" || record.version == "0.0a") {
    return shape;
  }
  try {
    CopyFromBlock_Versioned(file.GetReadingBlock(streams.resources), shape->material);
  } catch (const Exception& exception) {
    if (exception.GetType() != Exception::ErrorType::ElementNotFound) {
      throw;
    }
  }
  return shape;
}

std::unique_ptr<Node> ReadGeometry(LbtLbf::LbFile& file, const StreamNames& streams,
                                   const TreeRecord& record, unsigned int idOffset,
                                   AttributeSetCache& cache) {
  auto geometry = std::make_unique<Geometry>();
  geometry->ReadVc(file, streams.light, streams.heavy, streams.attributes, record.version, idOffset,
                   &cache);
  return geometry;
}

std::unique_ptr<Node> ReadNodeSets(LbtLbf::LbFile& file, const StreamNames& streams) {
  constexpr unsigned int kKnownSize = 16;
  auto nodeSets = std::make_unique<NodeSets>();
  unsigned int size = 0;
  file.Get(streams.light, size);
  if (size == kKnownSize) {
    file.Get(streams.light, nodeSets->setCount);
    file.Get(streams.light, nodeSets->heavyDataPosition);
    file.Get(streams.light, nodeSets->reservedCount);
  } else {
    static_cast<void>(file.GetBytes(streams.light, size));
  }
  return nodeSets;
}

std::unique_ptr<Node> SkipFutureNode(LbtLbf::LbFile& file, const StreamNames& streams,
                                     const TreeRecord& record) {
  auto node = std::make_unique<FutureNode>();
  node->storedType = record.type;
  unsigned int size = 0;
  file.Get(streams.light, size);
  static_cast<void>(file.GetBytes(streams.light, size));
  return node;
}

std::unique_ptr<Node> ReadByType(LbtLbf::LbFile& file, const StreamNames& streams,
                                 const TreeRecord& record, unsigned int idOffset,
                                 AttributeSetCache& cache) {
  if (record.type == "Group") {
    return ReadGroup(file, streams, record);
  }
  if (record.type == "Shape") {
    return ReadShape(file, streams, record);
  }
  if (record.type == "Geometry") {
    return ReadGeometry(file, streams, record, idOffset, cache);
  }
  if (record.type == "NodeSets") {
    return ReadNodeSets(file, streams);
  }
  return record.type.empty() ? nullptr : SkipFutureNode(file, streams, record);
}

}  // namespace

std::unique_ptr<Node> ReadNode(LbtLbf::LbFile& file, const StreamNames& streams,
                               const TreeRecord& record, unsigned int idOffset,
                               AttributeSetCache& cache) {
  std::unique_ptr<Node> node = ReadByType(file, streams, record, idOffset, cache);
  if (node != nullptr) {
    node->name = record.name;
    node->recordVersion = record.version;
  }
  return node;
}

}  // namespace LbtTev
