// Makes small files that cost far more than they hold where a reader takes them by their word.

#include "HostileModels.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "ByteWriter.h"
#include "ModelWriter.h"

namespace tevtest {
namespace {

/// Light data begin here, so that no position is 0, which means something else.
constexpr std::size_t kLightStart = 4;

/// A compressed block of "head" and "size" zeros, made without holding them.
BlockSpec Zeros(std::string_view name, std::size_t size, std::string head = {}) {
  z_stream stream{};
  if (deflateInit(&stream, Z_DEFAULT_COMPRESSION) != Z_OK)
    throw std::runtime_error("deflateInit failed");
  std::array<Bytef, 65536> zeros{};
  std::array<Bytef, 65536> out{};
  std::string stored = ByteWriter().U32(Narrow(head.size() + size)).Bytes();
  stream.next_in = reinterpret_cast<Bytef*>(head.data());
  stream.avail_in = static_cast<uInt>(head.size());
  for (int code = Z_OK; code != Z_STREAM_END;) {
    if (stream.avail_in == 0) {
      stream.next_in = zeros.data();
      stream.avail_in = static_cast<uInt>(std::min(size, zeros.size()));
      size -= stream.avail_in;
    }
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    code = deflate(&stream, size == 0 ? Z_FINISH : Z_NO_FLUSH);
    stored.append(reinterpret_cast<const char*>(out.data()), out.size() - stream.avail_out);
  }
  deflateEnd(&stream);
  return {.name = std::string(name), .compressed = true, .storedBytes = std::move(stored)};
}

std::uint64_t InflatedSize(const BlockSpec& block) {
  if (!block.storedBytes)
    return block.payload.size();
  std::uint32_t recorded = 0;
  std::memcpy(&recorded, block.storedBytes->data(), sizeof recorded);
  return recorded;
}

HostileModel Build(ContainerWriter& container) {
  constexpr std::uint64_t kEntry = 11;
  HostileModel model{.bytes = container.Build().bytes};
  model.inflated = model.bytes.size();
  model.blocks = container.Blocks().size();
  for (const BlockSpec& block : container.Blocks())
    model.inflated += InflatedSize(block) + kEntry + block.name.size();
  return model;
}

HostileModel Build(const ModelWriter& model) {
  ContainerWriter container = model.ToContainer();
  return Build(container);
}

/// Builds "model" with the given blocks at its end.
HostileModel Build(const ModelWriter& model, const std::vector<BlockSpec>& blocks) {
  ContainerWriter container = model.ToContainer();
  for (const BlockSpec& block : blocks)
    container.Add(block);
  return Build(container);
}

/// A model without nodes, all of whose streams are compressed.
ModelWriter CompressedModel() {
  ModelWriter model;
  model.SetLayoutOfOthers({.packing = StreamLayout::Packing::Compressed});
  model.SetPrefix(kLightData, std::string(kLightStart, '\0'));
  return model;
}

/// Adds the group in which the report looks for parts.
NodeRef AddParts(ModelWriter& model) {
  return model.AddGroup("Geometry", model.AddGroup("model", 0));
}

/// A variable of a stated size at a stated place, without bytes of its own.
Variable Placed(std::string_view name, std::uint32_t type, std::size_t position,
                std::size_t bytes) {
  Variable variable = Variable::Floats(name, type, type == kCoordinates ? 3 : 1, {});
  variable.heavyPosition = position;
  variable.byteCount = Narrow(bytes);
  return variable;
}

Variable Result(std::string_view name, std::size_t position, std::size_t bytes) {
  return Placed(name, kScalarResult, position, bytes);
}

/// What a variable's name has at its end for one of many steps.
std::string StepName(std::size_t step) { return "\x1eT = " + std::to_string(step); }

/// "records" records of one node, whose light data, a size of 0, lie at two places in turn.
ModelWriter TwoPlacesInTurn(std::size_t first, std::size_t second, std::size_t records) {
  ModelWriter model = CompressedModel();
  std::vector<NodeRef> order;
  for (const std::size_t place : {first, second}) {
    const NodeRef node = model.AddFuture("Probe", "", 0, "");
    model.At(node).id = 1;
    model.At(node).lightPosition = place;
  }
  for (std::size_t i = 0; i < records; ++i)
    order.push_back(static_cast<NodeRef>(1 + i % 2));
  model.SetRecordOrder(order);
  model.LeaveOut(kLightData);
  return model;
}

/// "shapes" shapes under "group" that all name one geometry, which is returned.
NodeRef AddShapesOfOneGeometry(ModelWriter& model, NodeRef group, std::size_t shapes) {
  const NodeRef first = model.AddShape("S", group, "0.1");
  const NodeRef geometry = model.AddGeometry("g", first);
  for (std::size_t i = 1; i < shapes; ++i)
    model.At(model.AddShape("S", group, "0.1")).firstChild = geometry;
  return geometry;
}

/// A geometry that has nodes, from 1 to a most of them in turn, a result and the same triangles at
/// each step. The last corner names "lastNode", the others the first.
HostileModel TrianglesAtSteps(std::size_t steps, std::size_t faces, std::size_t mostPoints,
                              char lastNode = 0) {
  constexpr std::size_t kNumber = 4;
  constexpr std::size_t kCorners = 3;
  ModelWriter model = CompressedModel();
  const NodeRef geometry = model.AddGeometry("g", model.AddShape("S", AddParts(model), "0.1"));
  const std::size_t names = faces * kCorners * kNumber;
  for (std::size_t step = 0; step < steps; ++step) {
    const std::string at = StepName(step);
    const std::size_t size = (step % mostPoints + 1) * kNumber;
    model.AddVariable(geometry, Placed("Coordinates" + at, kCoordinates, 0, size * kCorners));
    model.AddVariable(geometry, Placed("Connectivity" + at, kConnectivity, 0, names));
    model.AddVariable(geometry, Placed("Polylength" + at, kPolylength, names, faces * kNumber));
    model.AddVariable(geometry, Result("R" + at, 0, size));
  }
  // The numbers are shuffled: all of their lowest bytes come first.
  const std::string heavy = std::string(faces * kCorners - 1, '\0') + lastNode +
                            std::string(names - faces * kCorners, '\0') + std::string(faces, '\3') +
                            std::string(faces * (kNumber - 1), '\0');
  return Build(model, {{.name = std::string(kHeavyData), .payload = heavy, .compressed = true}});
}

/// Adds "count" nodes of a type whose light data are those at the start.
void AddNodesOnOneLightData(ModelWriter& model, std::string_view type, std::string_view version,
                            std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    NodeSpec node;
    node.type = type;
    node.version = version;
    node.under = 1;
    node.lightPosition = kLightStart;
    model.Add(std::move(node));
  }
}

ModelWriter OnOneLightData(const SharedLightData& shared) {
  ModelWriter model = CompressedModel();
  const NodeRef geometry = model.AddGeometry("g", model.AddGroup("model", 0, {}, "0.1"));
  for (std::size_t i = 0; i < shared.variables; ++i) {
    std::string name = std::to_string(i);
    name.resize(shared.nameLength, 'n');
    model.AddVariable(geometry, Result(name, 0, 0));
  }
  AddNodesOnOneLightData(model, "Geometry", "0.7", shared.geometries - 1);
  const std::string attributes = AttributeSet().Encode();
  const std::size_t others = (shared.geometries - 1) * shared.variables;
  model.SetPrefix(kAttributes, std::string(others * attributes.size(), '\0'));
  return model;
}

/// Every second of "sets" ranges is the whole of "size" elements, the others are empty.
std::vector<std::uint32_t> WholeRanges(std::size_t sets, std::size_t size) {
  std::vector<std::uint32_t> offsets(sets + 1, 0);
  for (std::size_t i = 1; i <= sets; i += 2)
    offsets[i] = Narrow(size);
  return offsets;
}

/// A node of "sets" node sets with these lists.
HostileModel OneNodeOfSets(std::size_t sets, NodeSetLists lists) {
  ModelWriter model = CompressedModel();
  const NodeRef node = model.AddNodeSets("Sets", model.AddGroup("model", 0), {});
  model.At(node).NodeSets().lists = std::move(lists);
  model.At(node).NodeSets().setCount = Narrow(sets);
  return Build(model);
}

}  // namespace

HostileModel LightDataToAndFro(std::size_t blockSize, std::size_t records) {
  const BlockSpec zeros = Zeros(kLightData, blockSize);
  return Build(TwoPlacesInTurn(kLightStart, blockSize + kLightStart, records), {zeros, zeros});
}

HostileModel OldGeometryToAndFro(std::size_t blockSize, std::size_t variables) {
  constexpr std::size_t kNumber = 4;
  ModelWriter model = CompressedModel();
  const NodeRef geometry =
      model.AddGeometry("g", model.AddShape("S", AddParts(model), "0.1"), "0.1");
  for (std::size_t i = 0; i < variables; ++i)
    model.AddVariable(geometry, Result("R", i % 2 == 0 ? 0 : blockSize, kNumber));
  const BlockSpec zeros = Zeros(kHeavyData, blockSize);
  return Build(model, {zeros, zeros});
}

HostileModel GeometriesOnOneLightData(const SharedLightData& shared) {
  return Build(OnOneLightData(shared));
}

HostileModel GeometriesWithoutAttributes(const SharedLightData& shared) {
  return Build(OnOneLightData(shared).LeaveOut(kAttributes));
}

HostileModel PaddedGeometries(const RecordsOnOneLightData& records) {
  ModelWriter model = CompressedModel();
  const std::string_view version = records.areOld ? "0.1" : "0.7";
  const NodeRef geometry = model.AddGeometry("", model.AddGroup("", 0, {}, "0.1"), version);
  for (std::size_t i = 0; i < records.each; ++i)
    model.AddVariable(geometry,
                      records.areOld ? Result("", 0, 0) : Variable::Link("", kScalarResult, 0, 0));
  AddNodesOnOneLightData(model, "Geometry", version, records.nodes - 1);
  model.LeaveOut(kAttributes);
  return Build(model, {Zeros(kLightData, records.padding)});
}

HostileModel PaddedNodeSets(const RecordsOnOneLightData& records) {
  ModelWriter model = CompressedModel();
  model.AddGroup("model", 0);
  for (std::size_t i = 0; i < records.nodes; ++i) {
    const NodeRef node = model.AddNodeSets("", 1, {});
    model.At(node).NodeSets().heavyPosition = 0;
    model.At(node).NodeSets().setCount = Narrow(records.each - i);
    model.At(node).NodeSets().heavyBytes = "";
  }
  ByteWriter lists;
  const std::string offsets((records.each + 1) * sizeof(std::uint32_t), '\0');
  // After each list of offsets what they lead to: the names, and the two values of all members.
  lists.U32(Narrow(records.each + 1)).Raw(offsets).U32(0);
  lists.U32(Narrow(records.each + 1)).Raw(offsets).U32(0).U32(0);
  return Build(model, {Zeros(kHeavyData, records.padding, lists.Bytes())});
}

HostileModel ManyNodeSetsOnOneHeavyData(std::size_t nodes, std::size_t sets) {
  ModelWriter model = CompressedModel();
  model.AddNodeSets("Sets", model.AddGroup("model", 0, {}, "0.1"), std::vector<NodeSet>(sets));
  AddNodesOnOneLightData(model, "NodeSets", "0.1", nodes - 1);
  return Build(model);
}

HostileModel ElementIndicesThatOverlap(std::size_t variables, std::size_t bytes) {
  constexpr std::uint32_t kElementIndices = 10;
  constexpr std::size_t kNumber = 4;
  ModelWriter model = CompressedModel();
  const NodeRef geometry = model.AddGeometry("g", model.AddShape("S", AddParts(model), "0.1"));
  for (std::size_t i = 0; i < variables; ++i)
    model.AddVariable(geometry, Placed("Element Indices" + StepName(i), kElementIndices,
                                       i * kNumber, bytes - variables * kNumber));
  return Build(model, {Zeros(kHeavyData, bytes)});
}

HostileModel NodeSetsOnOneHeavyData(std::size_t nodes, std::size_t members) {
  ModelWriter model = CompressedModel();
  NodeSet set{.name = "all"};
  set.members.assign(members, {1, 1});
  model.AddNodeSets("Sets", model.AddGroup("model", 0, {}, "0.1"), {set});
  AddNodesOnOneLightData(model, "NodeSets", "0.1", nodes - 1);
  return Build(model);
}

HostileModel OverlappingNodeSets(std::size_t sets, std::size_t members) {
  const std::vector<std::uint32_t> values(members, 1);
  return OneNodeOfSets(sets, {.nameOffsets = WholeRanges(sets, 0),
                              .memberOffsets = WholeRanges(sets, members),
                              .firstValues = values,
                              .secondValues = values});
}

HostileModel LongNodeSetNames(std::size_t sets, std::size_t length) {
  return OneNodeOfSets(sets, {.nameOffsets = WholeRanges(sets, length),
                              .allNames = std::string(length, 'n'),
                              .memberOffsets = WholeRanges(sets, 0)});
}

HostileModel ReadAtOnceOnSameBytes(std::size_t variables, std::size_t bytes) {
  ModelWriter model = CompressedModel();
  const NodeRef geometry =
      model.AddGeometry("g", model.AddShape("S", AddParts(model), "0.1"), "0.5");
  for (std::size_t i = 0; i < variables; ++i)
    model.AddVariable(geometry, Result("R", 0, bytes));
  return Build(model, {Zeros(kHeavyData, bytes)});
}

HostileModel VariablesOnSameData(std::size_t variables, std::size_t bytes) {
  ModelWriter model = CompressedModel();
  const NodeRef geometry = model.AddGeometry("g", model.AddShape("S", AddParts(model), "0.1"));
  for (std::size_t i = 0; i < variables; ++i)
    model.AddVariable(geometry, Result("R", 0, bytes));
  return Build(model, {Zeros(kHeavyData, bytes)});
}

HostileModel ShapesOfOneGeometry(std::size_t shapes, std::size_t variables) {
  ModelWriter model = CompressedModel();
  const NodeRef geometry = AddShapesOfOneGeometry(model, AddParts(model), shapes);
  for (std::size_t i = 0; i < variables; ++i)
    model.AddVariable(geometry, Result("R", 0, 0));
  return Build(model);
}

HostileModel ShapesOfOneTable(std::size_t shapes, std::size_t variables, std::size_t nodes) {
  constexpr std::size_t kNumber = 4;
  ModelWriter model = CompressedModel();
  const NodeRef geometry = AddShapesOfOneGeometry(model, AddParts(model), shapes);
  model.AddVariable(geometry, Result("Node Ids", 0, nodes * kNumber));
  for (std::size_t i = 0; i < variables; ++i)
    model.AddVariable(geometry, Result("R", 0, nodes * kNumber));
  return Build(model, {Zeros(kHeavyData, nodes * kNumber)});
}

HostileModel ResultsOnOneMesh(std::size_t shapes, std::size_t steps, std::size_t nodes) {
  constexpr std::size_t kNumber = 4;
  ModelWriter model = CompressedModel();
  const NodeRef geometry = AddShapesOfOneGeometry(model, AddParts(model), shapes);
  model.AddVariable(geometry, Placed("Coordinates", kCoordinates, 0, 3 * nodes * kNumber));
  for (std::size_t step = 0; step < steps; ++step)
    model.AddVariable(geometry, Result("R" + StepName(step), 0, nodes * kNumber));
  return Build(model, {Zeros(kHeavyData, 3 * nodes * kNumber)});
}

HostileModel ShapesOfALongName(std::size_t shapes, std::size_t length) {
  ModelWriter model = CompressedModel();
  const NodeRef group = model.AddGroup(std::string(length, 'n'), model.AddGroup("model", 0));
  const NodeRef geometry = AddShapesOfOneGeometry(model, group, shapes);
  model.AddVariable(geometry, Variable::Floats("R", kScalarResult, 1, {1.5F}));
  return Build(model);
}

HostileModel MeshesOnSameBytes(std::size_t steps, std::size_t faces) {
  return TrianglesAtSteps(steps, faces, 1);
}

HostileModel DamagedFacesOnSameBytes(std::size_t steps, std::size_t faces) {
  return TrianglesAtSteps(steps, faces, 1, '\1');
}

HostileModel FacesOfVariousPoints(std::size_t steps, std::size_t faces) {
  constexpr std::size_t kMostPoints = 1000;
  return TrianglesAtSteps(steps, faces, kMostPoints);
}

HostileModel IdsInTurn(const IdsOfSteps& ids) {
  constexpr std::uint32_t kNodeIds = 10;
  constexpr std::size_t kPlacesOfResults = 2;
  std::vector<float> numbers(ids.nodes);
  std::iota(numbers.begin(), numbers.end(), 1.0F);
  if (ids.areDescending)
    std::reverse(numbers.begin(), numbers.end());
  const std::string stored = Shuffle(ElementBytes(numbers), 1);
  ModelWriter model = CompressedModel();
  const NodeRef geometry = model.AddGeometry("g", model.AddShape("S", AddParts(model), "0.1"));
  std::string heavy;
  for (std::size_t place = 0; place < ids.places; ++place)
    heavy += stored;
  model.AddVariable(geometry, Placed("Coordinates", kCoordinates, heavy.size(), 3 * stored.size()));
  for (std::size_t step = 0; step < ids.steps; ++step) {
    const std::string at = StepName(step);
    model.AddVariable(geometry, Placed("Node Ids" + at, kNodeIds, step % ids.places * stored.size(),
                                       stored.size()));
    model.AddVariable(geometry,
                      Result("R" + at, step % kPlacesOfResults * stored.size(), stored.size()));
  }
  heavy.append(3 * stored.size(), '\0');
  return Build(model, {{.name = std::string(kHeavyData), .payload = heavy, .compressed = true}});
}

HostileModel LinksOfALongName(std::size_t links, std::size_t length) {
  ModelWriter model = CompressedModel();
  const NodeRef geometry =
      model.AddGeometry(std::string(length, 'n'), model.AddShape("S", AddParts(model), "0.1"));
  model.AddVariable(geometry, Variable::Floats("R", kScalarResult, 1, {1.5F}));
  for (std::size_t i = 0; i < links; ++i)
    model.AddVariable(geometry, Variable::Link("L", kScalarResult, geometry, 0));
  return Build(model);
}

HostileModel NestedGroups(std::size_t depth) {
  ModelWriter model = CompressedModel();
  NodeRef group = 0;
  for (std::size_t i = 0; i < depth; ++i)
    group = model.AddGroup("g", group, {}, "0.1");
  model.AddGeometry("g", model.AddShape("S", group, "0.1"));
  return Build(model);
}

HostileModel NestedParts(std::size_t depth) {
  ModelWriter model = CompressedModel();
  NodeRef group = 0;
  for (std::size_t i = 0; i < depth; ++i) {
    group = model.AddGroup("g", group, {}, "0.1");
    model.AddGeometry("g", model.AddShape("S", group, "0.1"));
  }
  return Build(model);
}

HostileModel EmptyBlocks(std::size_t blocks, std::size_t records, bool compressed) {
  constexpr std::size_t kEnds = 8;
  const BlockSpec end{.name = std::string(kLightData), .payload = std::string(kEnds, '\0')};
  ContainerWriter container = TwoPlacesInTurn(kLightStart, kEnds, records).ToContainer();
  const std::size_t before = container.Blocks().size();
  container.Add(end);
  for (std::size_t i = 0; i < blocks; ++i)
    container.Add({.name = std::string(kLightData), .compressed = compressed});
  container.Add(end);
  container.ContinueAfter(
      {.after = before, .block = {.name = "\vIndex Block 1", .compressed = true}});
  return Build(container);
}

HostileModel TinyBlocks(std::size_t blocks) {
  ModelWriter model = CompressedModel();
  const NodeRef node = model.AddFuture("Probe", "", 0, "");
  model.At(node).lightPosition = 0;
  model.SetRecordOrder(std::vector<NodeRef>(blocks, node));
  model.LeaveOut(kLightData);
  ContainerWriter container = model.ToContainer();
  const std::size_t before = container.Blocks().size();
  for (std::size_t i = 0; i < blocks; ++i)
    container.AddRaw(kLightData, std::string(sizeof(std::uint32_t), '\0'));
  container.ContinueAfter(
      {.after = before, .block = {.name = "\vIndex Block 1", .compressed = true}});
  return Build(container);
}

HostileModel EmptyIndexEntries(std::size_t entries) {
  constexpr std::size_t kEntry = 11;
  ContainerWriter container = CompressedModel().ToContainer();
  const std::string count = ByteWriter().U32(Narrow(entries)).Bytes();
  container.Add(Zeros("\vIndex Block 1", entries * kEntry, count));
  return Build(container);
}

HostileModel StreamsOfShortNames(std::size_t streams) {
  constexpr std::size_t kSizeCompressionOptions = 6;
  ByteWriter entries;
  entries.U32(Narrow(streams));
  for (std::size_t i = 0; i < streams; ++i) {
    // From both ends in turn, so that they are in no order.
    const std::size_t name = i % 2 == 0 ? i : 2 * streams - i;
    entries.U8(0).U32(3).U8(static_cast<std::uint8_t>(name >> 16U));
    entries.U8(static_cast<std::uint8_t>(name >> 8U)).U8(static_cast<std::uint8_t>(name));
    entries.Raw(std::string(kSizeCompressionOptions, '\0'));
  }
  ContainerWriter container = CompressedModel().ToContainer();
  container.Add({.name = "\vIndex Block 1", .payload = entries.Bytes(), .compressed = true});
  return Build(container);
}

HostileModel NamesOfOneHash(std::size_t count) {
  ModelWriter model = CompressedModel();
  const NodeRef group = AddParts(model);
  const NodeRef geometry = model.AddGeometry("g", model.AddShape("S", group, "0.1"));
  for (const std::string& name : StringsOfOneHash(count)) {
    model.AddVariable(geometry, Result(name + '\x1e' + name, 0, 0));
    model.AddGeometry(name, model.AddShape(name, group, "0.1"));
  }
  return Build(model);
}

}  // namespace tevtest
