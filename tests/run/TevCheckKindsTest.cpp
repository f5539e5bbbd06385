// One file for each kind of finding of "tev check": its line and its JSON, whole.

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "run/TevCheckRun.h"
#include "support/Hex.h"

namespace tevtest {
namespace {

using Named = std::pair<std::uint64_t, std::string>;

/// A finding, and what a file has to be for it to be the only one.
struct Case {
  std::string name{};
  std::string bytes{};
  std::string kind{};
  std::string text{};
  std::optional<Named> block{};
  std::optional<std::uint64_t> offset{};
  std::optional<Named> node{};
  std::optional<Named> variable{};
  std::optional<std::uint64_t> claimed{};
  std::optional<std::uint64_t> found{};
};

/// Whether findings of that kind are only warnings.
bool IsWarning(const std::string& kind) {
  return kind == "odd-version" || kind == "unused-bytes" || kind == "byte-count" ||
         kind == "not-finite";
}

/// What one finding of a kind takes away; nothing where all is there and yet wrong.
std::string LossBy(const std::string& kind) {
  return kind == "header" || kind == "index" || kind == "missing-tree" ? "the whole model"
         : kind == "block-outside-file" || kind == "unreadable-block"  ? "1 block"
         : kind == "unreadable-record"                                 ? "1 record"
         : kind == "no-geometry"                                       ? "1 part"
         : kind == "unreadable-data"                                   ? "1 variable"
         : kind == "node-range" || kind == "face-lengths"              ? "1 mesh"
                                                                       : "";
}

std::string MessageOf(const Case& one) {
  const std::string loss = LossBy(one.kind);
  return IsWarning(one.kind) ? "1 warning" : loss.empty() ? "1 fault" : loss + " is lost";
}

std::string LinesOf(const Case& one) {
  const auto named = [](const char* what, const Named& thing) {
    return what + std::to_string(thing.first) + " (" + thing.second + ")";
  };
  std::string line = std::string("m.tev: ") + (IsWarning(one.kind) ? "WARNING: " : "DAMAGED: ") +
                     MessageOf(one) + "\n  ";
  if (one.block)
    line += named("block ", *one.block) + " at ";
  if (one.offset)
    line += "byte " + std::to_string(*one.offset);
  if (one.node)
    line += named(", node ", *one.node);
  if (one.variable)
    line += named(", variable ", *one.variable);
  line += (one.offset ? ": " : "") + one.text;
  if (one.claimed)
    line += " (claimed " + std::to_string(*one.claimed);
  if (one.found)
    line += ", found " + std::to_string(*one.found);
  return line + (one.claimed ? ")" : "") + '\n';
}

std::string JsonOf(const std::optional<std::uint64_t>& number) {
  return number ? std::to_string(*number) : "null";
}

/// None of the names here has a character that JSON escapes.
std::string JsonOf(const std::optional<Named>& named, const std::string& number) {
  return named ? "{\n            \"" + number + "\": " + std::to_string(named->first) +
                     ",\n            \"name\": \"" + named->second + "\"\n          }"
               : "null";
}

/// The members of the entry that come before the findings.
std::string HeadOf(const Case& one) {
  if (IsWarning(one.kind)) {
    return "      \"failure\": null,\n      \"complete\": true,\n      \"missing\": [],\n";
  }
  const std::string loss = LossBy(one.kind);
  return "      \"failure\": {\n        \"code\": \"damaged\",\n        \"message\": \"" +
         MessageOf(one) + "\"\n      },\n      \"complete\": " +
         (loss.empty() ? "true,\n      \"missing\": [],\n"
                       : "false,\n      \"missing\": [\n        \"" + loss + "\"\n      ],\n");
}

std::string JsonOf(const Case& one) {
  std::string text;
  for (const char c : one.text)
    text += c == '"' ? std::string("\\\"") : std::string(1, c);
  const std::string severity = IsWarning(one.kind) ? "warning" : "damage";
  return "{\n  \"format\": \"tev.check/1\",\n  \"files\": [\n    {\n      \"file\": \"m.tev\",\n" +
         HeadOf(one) + "      \"findings\": [\n        {\n          \"severity\": \"" + severity +
         "\",\n          \"kind\": \"" + one.kind +
         "\",\n          \"block\": " + (one.block ? std::to_string(one.block->first) : "null") +
         ",\n          \"stream\": " + (one.block ? '"' + one.block->second + '"' : "null") +
         ",\n          \"offset\": " + JsonOf(one.offset) +
         ",\n          \"node\": " + JsonOf(one.node, "id") +
         ",\n          \"variable\": " + JsonOf(one.variable, "index") +
         ",\n          \"text\": \"" + text + "\",\n          \"claimed\": " + JsonOf(one.claimed) +
         ",\n          \"found\": " + JsonOf(one.found) +
         ",\n          \"cause\": null\n        }\n      ],\n      \"more\": {},\n"
         "      \"verdict\": \"" +
         (IsWarning(one.kind) ? "warning" : "damaged") + "\"\n    }\n  ]\n}\n";
}

std::uint64_t OffsetOf(const ModelWriter& model, std::string_view stream, std::size_t within = 0) {
  return model.ToContainer().Build().Block(stream).offset + within;
}

/// Where the record of a node is.
std::uint64_t RecordOf(const ModelWriter& model, NodeRef node) {
  return OffsetOf(model, kTree, model.RecordStart(kTree, node - 1));
}

Named TreeBlock() { return {1, "Tev Tree"}; }
Named LightBlock() { return {2, "Light Data"}; }
Named HeavyBlock() { return {5, "Heavy Data"}; }
Named Mesh1() { return {4, "mesh 1"}; }
Named Mesh2() { return {6, "mesh 2"}; }

std::vector<Case> ContainerCases() {
  std::vector<Case> cases;
  cases.push_back({.name = "CutHeader",
                   .bytes = SmallModel().Build().substr(0, 14),
                   .kind = "header",
                   .text = "the file ends before its header does",
                   .claimed = 16,
                   .found = 14});
  ContainerWriter cut = SmallModel().ToContainer();
  const std::size_t indexSize = cut.Build().indexSize;
  cases.push_back({.name = "CutIndex",
                   .bytes = cut.TruncateTo(30).Build().bytes,
                   .kind = "index",
                   .text = "the index cannot be read: Unable to read from file",
                   .offset = 16,
                   .claimed = indexSize,
                   .found = 14});
  cases.push_back({.name = "UnusedOfTheIndex",
                   .bytes = SmallModel().ToContainer().SetIndexTrailing("12345").Build().bytes,
                   .kind = "unused-bytes",
                   .text = "the index has bytes after its last entry",
                   .offset = 16 + indexSize,
                   .claimed = indexSize + 5,
                   .found = indexSize});
  cases.push_back({.name = "NoTree",
                   .bytes = ContainerWriter().AddRaw("Resources", "1").Build().bytes,
                   .kind = "missing-tree",
                   .text = "there is no stream \"Tev Tree\", so the model is empty"});
  return cases;
}

/// A sound model with one more block, and what is wrong with that.
Case BlockCase(const std::string& name, BlockSpec spare,
               std::optional<std::size_t> cutWithin = {}) {
  ContainerWriter writer = SmallModel().ToContainer();
  spare.name = "Resources";
  writer.Add(spare);
  Case one{.name = name};
  one.block = Named{6, "Resources"};
  one.offset = writer.Build().Block("Resources", 1).offset;
  if (cutWithin)
    writer.TruncateTo(*one.offset + *cutWithin);
  one.bytes = writer.Build().bytes;
  return one;
}

std::vector<Case> BlockCases() {
  Case outside = BlockCase("BlockOutsideFile", {.payload = "1234567890"}, 4);
  outside.kind = "block-outside-file";
  outside.text = "the file ends before the block does";
  outside.claimed = 10;
  outside.found = 4;

  std::string flipped = Compressed("some data that is to be kept");
  flipped.back() = static_cast<char>(flipped.back() ^ 1);
  Case refused = BlockCase("CheckSum", {.compressed = true, .storedBytes = flipped});
  refused.kind = "unreadable-block";
  refused.text = "zlib refuses the data (code -3)";

  Case small =
      BlockCase("RecordedLengthTooSmall",
                {.payload = std::string(100, 'x'), .compressed = true, .recordedLength = 99});
  small.kind = "unreadable-block";
  small.text = "zlib finds more data than the block's recorded length (code -5)";
  small.claimed = 99;

  Case large =
      BlockCase("RecordedLengthTooLarge",
                {.payload = std::string(100, 'x'), .compressed = true, .recordedLength = 101});
  large.kind = "recorded-length";
  large.text = "the recorded length is above what comes out";
  large.claimed = 101;
  large.found = 100;
  return {outside, refused, small, large};
}

/// Something wrong with the record of a node.
Case RecordCase(const std::string& name, const ModelWriter& model, NodeRef node,
                const std::string& nodeName, const std::string& kind, const std::string& text) {
  return {.name = name,
          .bytes = model.Build(),
          .kind = kind,
          .text = text,
          .block = TreeBlock(),
          .offset = RecordOf(model, node),
          .node = Named{node, nodeName}};
}

Case DeadLink() {
  ModelWriter model = SmallModel();
  model.At(kSmallMesh2).lastChild = 99;
  Case one = RecordCase("DeadLink", model, kSmallMesh2, "mesh 2", "link-to-nothing",
                        "its last child is a node that does not exist");
  one.claimed = 99;
  return one;
}

Case RepeatedId() {
  ModelWriter model = SmallModel();
  model.SetRecordOrder({1, 2, 3, 4, 5, 6, 7, 7});
  Case one = RecordCase("RepeatedId", model, kSmallNodeSets, "Sets", "repeated-id",
                        "tree record 7 takes the place of record 6, which has the same id");
  one.offset = OffsetOf(model, kTree, model.RecordStart(kTree, 7));
  return one;
}

Case Ring() {
  ModelWriter model = SmallModel();
  model.At(kSmallGeometryGroup).parent = kSmallShape1;
  return RecordCase("Ring", model, kSmallGeometryGroup, "Geometry", "cycle",
                    "its parents lead back to itself");
}

Case BelowItself() {
  ModelWriter model = SmallModel();
  model.At(kSmallMesh2).firstChild = kSmallGeometryGroup;
  return RecordCase("BelowItself", model, kSmallGeometryGroup, "Geometry", "cycle",
                    "it stands below itself, in the children of node 6");
}

Case SharedChild() {
  // Both meshes stand below the first shape; the second shape begins its list with the first mesh.
  ModelWriter model = SmallModel();
  model.At(kSmallMesh1).nextSibling = kSmallMesh2;
  model.At(kSmallShape2).firstChild = kSmallMesh1;
  return RecordCase("SharedChild", model, kSmallMesh1, "mesh 1", "shared-child",
                    "it stands in the children of node 3 and of node 5");
}

Case BareShape() {
  ModelWriter model = SmallModel();
  model.AddShape("bare", kSmallRoot);
  Case one = RecordCase("BareShape", model, 8, "bare", "no-geometry",
                        "the first child of a shape must be a geometry");
  one.claimed = 0;
  return one;
}

Case Unreferenced() {
  ModelWriter model = SmallModel();
  model.At(kSmallShape1).nextSibling = 0;
  return RecordCase("Unreferenced", model, kSmallShape2, "Panel", "unreferenced-node",
                    "no list of children leads to it from the root");
}

std::vector<Case> RecordCases() {
  return {DeadLink(),    RepeatedId(), Ring(),        BelowItself(),
          SharedChild(), BareShape(),  Unreferenced()};
}

std::vector<Case> StreamCases() {
  std::vector<Case> cases;
  ModelWriter negative = SmallModel();
  negative.ReplaceStream(kTree, Hex("feffffff"));
  cases.push_back({.name = "NegativeCount",
                   .bytes = negative.Build(),
                   .kind = "unreadable-record",
                   .text = "the number of tree records is -2, below 0, so no record is read",
                   .block = TreeBlock(),
                   .offset = OffsetOf(negative, kTree)});

  ModelWriter tail = SmallModel();
  const std::string tree = tail.StreamBytes(kTree);
  tail.ReplaceStream(kTree, tree + "12345");
  cases.push_back({.name = "UnusedOfTheTree",
                   .bytes = tail.Build(),
                   .kind = "unused-bytes",
                   .text = "nothing reads the 5 bytes after the last tree record, from byte " +
                           std::to_string(tree.size()) + " of the stream on",
                   .block = TreeBlock(),
                   .offset = OffsetOf(tail, kTree, tree.size()),
                   .claimed = tree.size() + 5,
                   .found = tree.size()});

  ModelWriter unused = SmallModel();
  const std::string light = unused.StreamBytes(kLightData);
  unused.ReplaceStream(kLightData, light + "rest");
  cases.push_back({.name = "UnusedLightData",
                   .bytes = unused.Build(),
                   .kind = "unused-bytes",
                   .text = "there is light data that no record reads, from byte " +
                           std::to_string(light.size()) + " of its stream on",
                   .block = LightBlock(),
                   .offset = OffsetOf(unused, kLightData, light.size()),
                   .claimed = light.size() + 4,
                   .found = light.size()});

  ModelWriter record = SmallModel();
  record.SetModifierCount(3);
  cases.push_back({.name = "Modifiers",
                   .bytes = record.Build(),
                   .kind = "unreadable-record",
                   .text = "the records of the programs that wrote the file cannot be read: Not "
                           "enough bytes in the block",
                   .block = Named{0, "Global Information"},
                   .offset = OffsetOf(record, kGlobalInformation)});

  ModelWriter node = SmallModel();
  node.At(kSmallNodeSets).lightPosition = 100000;
  const std::size_t length = node.StreamBytes(kLightData).size();
  cases.push_back({.name = "NodeData",
                   .bytes = node.Build(),
                   .kind = "unreadable-record",
                   .text = "its data cannot be read: Invalid block position",
                   .block = LightBlock(),
                   .offset = OffsetOf(node, kLightData, length),
                   .node = Named{7, "Sets"},
                   .claimed = 100000,
                   .found = length});
  return cases;
}

/// Where the data of the variables of the first mesh begins in the heavy data.
constexpr std::size_t kConnectivityData = 20 + 60;
constexpr std::size_t kElementIdsData = kConnectivityData + 32 + 8;

Case VariableCase(const std::string& name, const ModelWriter& model, const Named& variable,
                  std::size_t position) {
  return {.name = name,
          .bytes = model.Build(),
          .block = HeavyBlock(),
          .offset = OffsetOf(model, kHeavyData, position),
          .node = Mesh1(),
          .variable = variable};
}

Case DeadVariableLink() {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh2, 6).name = "Temperature";
  model.VariableAt(kSmallMesh2, 6).linkVariableIndex = 7;
  return {.name = "DeadVariableLink",
          .bytes = model.Build(),
          .kind = "link-to-nothing",
          .text = "it is linked to a variable that node 4 does not have",
          .block = LightBlock(),
          .offset = OffsetOf(model, kLightData, model.RecordStart(kLightData, 3)),
          .node = Mesh2(),
          .variable = Named{6, "Temperature"},
          .claimed = 7,
          .found = 7};
}

Case ByteCount() {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 4).heavyBytes = "123456";
  Case one = VariableCase("ByteCount", model, {4, "Element Ids"}, kElementIdsData);
  one.kind = "byte-count";
  one.text = "its byte count does not fit items of 1 components, 4 bytes each";
  one.claimed = 6;
  one.found = 4;
  return one;
}

Case UnreadableData() {
  ModelWriter model = SmallModel();
  const auto length = static_cast<std::uint32_t>(model.StreamBytes(kHeavyData).size());
  model.VariableAt(kSmallMesh1, 4).heavyPosition = length - 4;
  Case one = VariableCase("UnreadableData", model, {4, "Element Ids"}, length - 4);
  one.kind = "unreadable-data";
  one.text = "the data cannot be loaded: Not enough bytes in the block";
  one.claimed = 8;
  one.found = 4;
  return one;
}

Case NodeRange() {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 2) =
      Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 2, 3, 1, 70, 5, 4});
  Case one = VariableCase("NodeRange", model, {2, "Connectivity"}, kConnectivityData);
  one.kind = "node-range";
  one.text = "element 5 of the data is no index of a node; the nodes of the geometry count from 0";
  one.claimed = 70;
  one.found = 5;
  return one;
}

Case FaceLengths() {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 3) = Variable::Uints("Polylength", kPolylength, 1, {4, 5});
  Case one = VariableCase("FaceLengths", model, {3, "Polylength"}, kConnectivityData + 32);
  one.kind = "face-lengths";
  one.text = "the lengths of the faces do not make up the list of their nodes";
  one.claimed = 9;
  one.found = 8;
  return one;
}

Case NotFinite() {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 5).elements = ElementBytes(
      std::vector<std::uint32_t>{0, 0, 0, 0, 0x7F800000, 0, 0xFFC00000, 0, 0, 0, 0, 0, 0, 0, 0});
  model.VariableAt(kSmallMesh1, 5).name = "Displacement";
  Case one = VariableCase("NotFinite", model, {5, "Displacement"}, kElementIdsData + 8);
  one.kind = "not-finite";
  one.text = "2 numbers are NaN or infinite, the first one component 1 of tuple 1";
  return one;
}

Case OverlappingData() {
  // 16 MiB and 16 times a block of 1,000,000 bytes is room for 32 of 999,000.
  ModelWriter model;
  const NodeRef mesh =
      model.AddGeometry("mesh", model.AddShape("part", model.AddGroup("model", 0)));
  model.SetPrefix(kHeavyData, std::string(1000000, '\0'));
  for (std::uint32_t i = 0; i < 42; ++i) {
    Variable part{.name = std::to_string(i)};
    part.byteCount = 999000;
    part.heavyPosition = 4 * i;
    model.AddVariable(mesh, part);
  }
  return {.name = "OverlappingData",
          .bytes = model.Build(),
          .kind = "overlapping-data",
          .text = "variables share their data so often that the data of 10 was not loaded",
          .claimed = 42 * 999000,
          .found = 1000000};
}

Case OddVersion() {
  std::string bytes = SmallModel().Build();
  bytes.at(9) = ';';
  return {.name = "OddVersion",
          .bytes = bytes,
          .kind = "odd-version",
          .text = "the version \"1;3\" is no number",
          .offset = 8};
}

std::vector<Case> Cases() {
  std::vector<Case> cases;
  for (const std::vector<Case>& some :
       {ContainerCases(),
        BlockCases(),
        RecordCases(),
        StreamCases(),
        {OddVersion(), DeadVariableLink(), ByteCount(), UnreadableData(), NodeRange(),
         FaceLengths(), NotFinite(), OverlappingData()}}) {
    cases.insert(cases.end(), some.begin(), some.end());
  }
  return cases;
}

class TevCheckKinds : public TevRun, public ::testing::WithParamInterface<Case> {};

TEST_P(TevCheckKinds, Finding_IsOneLineAndOneObject) {
  const Case& one = GetParam();
  const int status = IsWarning(one.kind) ? 0 : 2;
  const std::string summary =
      std::string("tev: 1 file: 1 ") + (IsWarning(one.kind) ? "with warnings\n" : "damaged\n");
  dir.Write("m.tev", one.bytes);
  const RunResult text = Run({"check", "m.tev"});
  EXPECT_EQ(text.status, status);
  EXPECT_EQ(text.error, summary);
  EXPECT_EQ(text.output, LinesOf(one));
  const RunResult json = Run({"check", "--json", "m.tev"});
  EXPECT_EQ(json.status, status);
  EXPECT_EQ(json.error, summary);
  EXPECT_EQ(json.output, JsonOf(one));
  EXPECT_EQ(Check(json.output, "schema", Schema("check")), "");
}

INSTANTIATE_TEST_SUITE_P(Files, TevCheckKinds, ::testing::ValuesIn(Cases()),
                         [](const auto& one) { return one.param.name; });

}  // namespace
}  // namespace tevtest
