// Models with one fault each, and how a run on them ends.

#include "run/DamagedModels.h"

#include <cstdint>
#include <functional>
#include <string_view>

#include "run/TevInfoRun.h"
#include "support/ByteWriter.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

constexpr std::uint32_t kAbsurd = 0xFFFFFFFF;
constexpr std::string_view kBlock = "include/Lbt/Lbf/Block";

std::string TooShort(std::string_view file = kBlock) {
  return Failure("Out of Bounds", "Not enough bytes in the block", file);
}

std::string Unreadable() { return Failure("Read Error", "Unable to read from file", kBlock); }

std::string OutOfPosition() { return Failure("Out of Bounds", "Invalid block position", kBlock); }

std::string RefusedByZlib(int code) {
  return "Error " + std::to_string(code) +
         " while uncompressing block \nException: std::exception\n";
}

std::string UnknownRecord() {
  return Failure("Unknown Version", "Unknown Version", "include/Lbt/Tev/BlockVersionedIo");
}

/// The small model after a change.
std::string Changed(const std::function<void(ModelWriter&)>& change) {
  ModelWriter model = SmallModel();
  change(model);
  return model.Build();
}

/// The small model with a number of one stream replaced.
std::string WithNumber(std::string_view stream, std::size_t offset, std::uint32_t number) {
  return Changed([&](ModelWriter& model) {
    std::string bytes = model.StreamBytes(stream);
    PatchU32(bytes, offset, number);
    model.ReplaceStream(stream, bytes);
  });
}

/// The small model with its stream's block, compressed, after a change.
std::string WithBlock(std::string_view stream, const std::function<void(BlockSpec&)>& change) {
  ContainerWriter container = SmallModel().ToContainer();
  for (BlockSpec& block : container.Blocks()) {
    if (block.name != stream)
      continue;
    block.compressed = true;
    change(block);
  }
  return container.Build().bytes;
}

void AddCorruptBlocks(std::vector<DamagedModel>& models) {
  for (const std::string_view stream :
       {kGlobalInformation, kTree, kLightData, kAttributes, kResources, kHeavyData}) {
    std::string name = "GarbageIn";
    for (const char c : stream)
      name += c == ' ' ? "" : std::string(1, c);
    const auto corrupt = [](BlockSpec& block) {
      block.storedBytes = ByteWriter().U32(100).Raw("this is no zlib stream").Bytes();
    };
    models.push_back({name, WithBlock(stream, corrupt), RefusedByZlib(-3)});
  }
  const auto cut = [](BlockSpec& block) {
    block.storedBytes = Compressed(block.payload);
    block.storedBytes->resize(block.storedBytes->size() / 2);
  };
  models.push_back({"HalfAZlibStream", WithBlock(kTree, cut), RefusedByZlib(-3)});
  const auto flipped = [](BlockSpec& block) {
    block.storedBytes = Compressed(block.payload);
    block.storedBytes->back() = static_cast<char>(block.storedBytes->back() ^ 1);
  };
  models.push_back({"WrongChecksum", WithBlock(kTree, flipped), RefusedByZlib(-3)});
  const auto shortLength = [](BlockSpec& block) { block.recordedLength = 10; };
  models.push_back({"RecordedLengthTooShort", WithBlock(kTree, shortLength), RefusedByZlib(-5)});
  const auto threeBytes = [](BlockSpec& block) { block.storedBytes = "abc"; };
  models.push_back({"CompressedBlockOfThreeBytes", WithBlock(kTree, threeBytes), TooShort()});
}

void AddIndexFaults(std::vector<DamagedModel>& models) {
  const ContainerWriter container = SmallModel().ToContainer();
  models.push_back(
      {"IndexCount", ContainerWriter(container).SetIndexCount(kAbsurd).Build().bytes, TooShort()});
  models.push_back(
      {"IndexSize", ContainerWriter(container).SetIndexSize(kAbsurd).Build().bytes, Unreadable()});
  models.push_back(
      {"IndexSizeTooSmall", ContainerWriter(container).SetIndexSize(30).Build().bytes, TooShort()});
  ContainerWriter oversized = container;
  oversized.Blocks().back().storedSize = kAbsurd;
  models.push_back({"StoredSize", oversized.Build().bytes, Unreadable()});
  ContainerWriter continued = container;
  continued.ContinueAfter({.after = 2, .count = kAbsurd});
  models.push_back({"CountOfASecondIndex", continued.Build().bytes, TooShort()});
}

void AddTreeFaults(std::vector<DamagedModel>& models) {
  constexpr std::size_t kFirstNameLength = 28;
  models.push_back({"RecordCount", WithNumber(kTree, 0, 0x7FFFFFFF), TooShort()});
  models.push_back({"OneRecordTooMany", WithNumber(kTree, 0, 8), TooShort()});
  models.push_back({"NameLength", WithNumber(kTree, kFirstNameLength, kAbsurd), TooShort()});
  models.push_back({"LightDataPosition", Changed([](ModelWriter& model) {
                      model.At(kSmallMesh1).lightPosition = 1ULL << 40U;
                    }),
                    OutOfPosition()});
  models.push_back({"SizeOfAnUnknownNode", Changed([](ModelWriter& model) {
                      const NodeRef node = model.AddFuture("Probe", "p", kSmallRoot, "bytes");
                      model.At(node).Future().size = kAbsurd;
                    }),
                    TooShort()});
}

void AddRecordFaults(std::vector<DamagedModel>& models) {
  models.push_back({"ModifierCount",
                    Changed([](ModelWriter& model) { model.SetModifierCount(kAbsurd); }),
                    TooShort()});
  models.push_back({"ModifierSize", Changed([](ModelWriter& model) {
                      model.ModifierAt(0).envelope.recordSize = 4;
                    }),
                    UnknownRecord()});
  models.push_back({"MaterialSize", Changed([](ModelWriter& model) {
                      model.At(kSmallShape1).Shape().material->envelope.recordSize = 4;
                    }),
                    UnknownRecord()});
  models.push_back({"MaterialSizePastTheBlock", Changed([](ModelWriter& model) {
                      model.At(kSmallShape2).Shape().material->envelope.recordSize = 0x7FFFFFFF;
                    }),
                    OutOfPosition()});
  models.push_back({"VariableCount", Changed([](ModelWriter& model) {
                      model.At(kSmallMesh2).Geometry().count = kAbsurd;
                    }),
                    TooShort()});
  models.push_back({"AttributeCount", WithNumber(kAttributes, 0, kAbsurd), TooShort()});
  models.push_back({"AttributeValues", Changed([](ModelWriter& model) {
                      model.At(kSmallRoot).Group().attributes.texts = {"one"};
                    }),
                    TooShort("include/Lbt/Tev/Attributes")});
}

void AddNodeSetFaults(std::vector<DamagedModel>& models) {
  models.push_back({"SetCount", Changed([](ModelWriter& model) {
                      model.At(kSmallNodeSets).NodeSets().setCount = kAbsurd;
                    }),
                    TooShort("include/Lbt/Tev/NodeSets")});
  models.push_back({"SetsPastTheirStream", Changed([](ModelWriter& model) {
                      model.At(kSmallNodeSets).NodeSets().heavyPosition = 1000000;
                    }),
                    OutOfPosition()});
  models.push_back({"SetsFarPastTheirStream", Changed([](ModelWriter& model) {
                      model.At(kSmallNodeSets).NodeSets().heavyPosition = ~0ULL;
                    }),
                    OutOfPosition()});
  models.push_back(
      {"SetNamePastAllNames", Changed([](ModelWriter& model) {
         model.At(kSmallNodeSets).NodeSets().lists.nameOffsets = {100, 105, 111};
       }),
       "Exception: basic_string::substr: __pos (which is 100) > this->size() (which is 11)\n"});
}

}  // namespace

std::vector<DamagedModel> DamagedModels() {
  std::vector<DamagedModel> models;
  AddCorruptBlocks(models);
  AddIndexFaults(models);
  AddTreeFaults(models);
  AddRecordFaults(models);
  AddNodeSetFaults(models);
  return models;
}

}  // namespace tevtest
