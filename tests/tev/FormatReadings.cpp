// How the library reads each record that the document of the file format describes.

#include "FormatReadings.h"

#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <utility>
#include <vector>

#include "Lbt/Lbf/CopyFromBlock.h"
#include "Lbt/Lbf/Index.h"
#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Tev/Attributes.h"
#include "Lbt/Tev/BlockVersionedIo.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/OpenModel.h"
#include "ModelOnDisk.h"
#include "RecordBlock.h"
#include "support/ByteWriter.h"
#include "support/ModelEncoder.h"
#include "support/TempDir.h"

namespace LbtTev {
namespace {

using tevtest::BlockOf;
using tevtest::ByteWriter;
using tevtest::ModelOnDisk;

/// Follows every record, so that what is read next shows where the reader stopped.
constexpr char kMark = 'M';

template <class T>
std::string Text(const T& value) {
  std::ostringstream stream;
  stream << value;
  return stream.str();
}

std::string Text(unsigned char value) { return std::to_string(value); }

template <class List>
std::string Texts(const List& list, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    text += (i == 0 ? "" : " ") + Text(list[i]);
  }
  return text;
}

std::string TextOf(const LbtUtil::AttributeMap& attributes) {
  std::string text;
  for (const auto& [name, value] : attributes) {
    text += name + "=" + value.GetAttributeString();
  }
  return text;
}

std::string TextOf(const LbtUtil::SharedAttributes& attributes) {
  std::string text;
  for (const auto& [name, value] : attributes) {
    text += Text(name) + "=" + value.GetAttributeString();
  }
  return text;
}

/// A model of one tree record, id 1, with its light data at the start of that stream. Expects that
/// light data and attributes are read up to the mark after them.
class OneNode {
 public:
  OneNode(std::string_view type, const Record& record, std::string light, std::string_view heavy)
      : disk_({{tevtest::kTree, TreeOf(type, record.version)},
               {tevtest::kLightData, light + kMark},
               {tevtest::kHeavyData, heavy},
               {tevtest::kAttributes, record.attributes + kMark}}) {
    std::map<unsigned int, unsigned int> ids;
    tree_.LoadTree(disk_.File(), ids, 0, true);
    EXPECT_EQ(disk_.NextByte(tevtest::kLightData), kMark);
    EXPECT_EQ(disk_.NextByte(tevtest::kAttributes), kMark);
  }

  template <class Kind>
  [[nodiscard]] Kind& As() {
    return dynamic_cast<Kind&>(*tree_.GetReqNode(1).data);
  }

 private:
  static std::string TreeOf(std::string_view type, std::string_view version) {
    ByteWriter bytes;
    bytes.I32(1).U32(1);
    for (int link = 0; link < 5; ++link) {
      bytes.U32(0);
    }
    return bytes.Text("node").Text(type).Text(version).U64(0).Bytes();
  }

  ModelOnDisk disk_;
  Tree tree_;
};

Values ReadFileHeader(const Record& record) {
  const std::string index =
      ByteWriter().U32(1).U8(0).Text("Stream").U32(1).U8(0).U8(0).Raw("skip").Bytes();
  const tevtest::TempDir directory;
  LbtLbf::LbFile file;
  bool wideOffsets = false;
  const std::string path = directory.Write("model.tev", record.bytes + index + kMark);
  const std::string version = OpenContainer(file, path, wideOffsets);
  unsigned char byte = 0;
  file.Get("Stream", byte);
  EXPECT_EQ(byte, kMark);
  return {{"version", version}};
}

Values ReadIndexEntry(const Record& record) {
  LbtLbf::Block block = BlockOf(ByteWriter().U32(1).Raw(record.bytes).Bytes());
  std::vector<LbtLbf::IndexItem> items;
  LbtLbf::CopyFromBlock(block, items);
  EXPECT_TRUE(block.IsConsumed());
  const LbtLbf::IndexItem& item = items.at(0);
  return {{"sequence", Text(item.sequence)},
          {"name", item.name},
          {"stored size", Text(item.size)},
          {"compression", Text(item.compression)},
          {"options", Text(item.options)}};
}

Values ReadCompressedBlock(const Record& record) {
  LbtLbf::Block block = BlockOf(record.bytes);
  LbtLbf::BlockZlibUnCompressor()(block);
  block.SetPosition(0U);
  std::string contents(block.GetSize(), ' ');
  block.Get(contents.data(), block.GetSize());
  return {{"inflated length", Text(block.GetSize())}, {"contents", contents}};
}

Values ReadRecordOfTree(const Record& record) {
  bool wide = false;
  LbtLbf::LbFile::CheckSupport(record.version, wide);
  ModelOnDisk disk({{tevtest::kTree, ByteWriter().I32(1).Raw(record.bytes).Bytes() + kMark},
                    {tevtest::kLightData, "12345" + ByteWriter().U32(1).Raw("x").Bytes() + kMark}});
  Tree tree;
  std::map<unsigned int, unsigned int> ids;
  tree.LoadTree(disk.File(), ids, 0, wide);
  EXPECT_EQ(disk.NextByte(tevtest::kTree), kMark);
  EXPECT_EQ(disk.NextByte(tevtest::kLightData), kMark);  // so it was read from its position on
  const auto& entry = tree.GetReqNode(1);
  return {{"id", Text(entry.id)},
          {"parent", Text(entry.parent)},
          {"previous sibling", Text(entry.previousSibling)},
          {"next sibling", Text(entry.nextSibling)},
          {"first child", Text(entry.firstChild)},
          {"last child", Text(entry.lastChild)},
          {"name", entry.data->name}};
}

Values ReadGroup(const Record& record) {
  OneNode model("Group", record, record.bytes, "");
  const auto& group = model.As<Group>();
  return {{"translation", Texts(group.translation, 3)},
          {"rotation", Texts(group.rotation, 4)},
          {"scale", Texts(group.scale, 3)},
          {"attributes", TextOf(group.attributes)},
          {"graft byte", Text(group.groupByte)}};
}

Values ReadOtherNode(const Record& record) {
  OneNode model("Novelty", record, record.bytes, "");
  return {};
}

Values ReadMaterial(const Record& record) {
  LbtLbf::Block block = BlockOf(record.bytes);
  Material material;
  CopyFromBlock_Versioned(block, material);
  EXPECT_TRUE(block.IsConsumed());
  return {{"diffuse", Texts(material.diffuse, 4)},   {"specular", Texts(material.specular, 4)},
          {"emissive", Texts(material.emissive, 3)}, {"ambient", Texts(material.ambient, 3)},
          {"shininess", Text(material.shininess)},   {"factor", Text(material.materialFactor)},
          {"flag", Text(material.materialFlag)}};
}

Values ReadModifier(const Record& record) {
  LbtLbf::Block block = BlockOf(record.bytes);
  ModifierInfo modifier;
  CopyFromBlock_Versioned(block, modifier);
  EXPECT_TRUE(block.IsConsumed());
  return {{"application name", modifier.applicationName},
          {"application version", modifier.applicationVersion},
          {"Tev version", modifier.tevVersion},
          {"date", modifier.date},
          {"unreported", modifier.unreported},
          {"user name", modifier.userName},
          {"comment", modifier.comment}};
}

Values ReadAttributeSet(const Record& record) {
  ModelOnDisk disk({{tevtest::kAttributes, record.bytes + kMark}});
  LbtUtil::AttributeMap map;
  LbtUtil::ReadAttributesFromLbf(disk.File(), std::string(tevtest::kAttributes), map);
  EXPECT_EQ(disk.NextByte(tevtest::kAttributes), kMark);
  Values values;
  const auto add = [&values](const std::string& field, const std::string& text) {
    values[field] += (values[field].empty() ? "" : " ") + text;
  };
  for (const auto& [name, value] : map) {
    constexpr std::array kLists{"whole numbers", "numbers", "texts", "double numbers"};
    const auto kind = static_cast<std::size_t>(value.GetKind());
    add("names", name);
    add("kinds", std::to_string(kind));
    add(kLists.at(kind), value.GetAttributeString());
  }
  return values;
}

constexpr std::string_view kHeavy = "..ABCDEFGH";  // eight bytes of data at byte 2

/// Where the data of a variable was found.
std::string PositionOf(const NumericArray& array) {
  if (array.loader) {
    return Text(array.loader->GetPosition());
  }
  const std::string data(array.storedBytes->begin(), array.storedBytes->end());
  return Text(kHeavy.find(data));
}

Values ReadVariable(const Record& record) {
  OneNode model("Geometry", record, ByteWriter().U32(1).Raw(record.bytes).Bytes(), kHeavy);
  const Geometry::VarStruct& variable = model.As<Geometry>().variables.at(0);
  const NumericArray& array = variable.array;
  Values values{{"name", variable.name},
                {"type", Text(static_cast<unsigned int>(variable.variableType))},
                {"linked", Text(variable.isLinked)}};
  if (variable.isLinked) {
    values.emplace("linked node", Text(variable.linkNodeId));
    values.emplace("linked variable", Text(variable.linkVariableIndex));
    return values;
  }
  values.merge(Values{{"byte count", Text(array.byteSize)},
                      {"width", Text(array.width)},
                      {"first flag", Text(array.firstFlag)},
                      {"second flag", Text(array.secondFlag)},
                      {"first value", Text(array.firstValue)},
                      {"second value", Text(array.secondValue)},
                      {"third flag", Text(array.thirdFlag)},
                      {"heavy data position", PositionOf(array)},
                      {"attributes", TextOf(variable.attributes)}});
  return values;
}

Values ListsOf(const NodeSets& node) {
  std::vector<std::size_t> names{0};
  std::vector<std::size_t> members{0};
  std::vector<unsigned int> first;
  std::vector<unsigned int> second;
  std::string allNames;
  for (const NodeSets::NodeSet& set : node.sets) {
    allNames += set.name;
    names.push_back(allNames.size());
    members.push_back(members.back() + set.members.size());
    for (const auto& [one, two] : set.members) {
      first.push_back(one);
      second.push_back(two);
    }
  }
  return {{"name offsets", Texts(names, names.size())},
          {"all names", allNames},
          {"member offsets", Texts(members, members.size())},
          {"first values", Texts(first, first.size())},
          {"second values", Texts(second, second.size())}};
}

Values ReadNodeSets(const Record& record) {
  const std::string lists = tevtest::NodeSetLists{.sets = {{"a", {{1, 2}}}, {"b", {}}}}.Encode();
  OneNode model("NodeSets", record, record.bytes, ".." + lists);
  const auto& node = model.As<NodeSets>();
  EXPECT_EQ(node.sets.size(), 2U);
  return {{"set count", Text(node.setCount)},
          {"heavy data position", Text(node.heavyDataPosition)},
          {"reserved", Text(node.reservedCount)}};
}

Values ReadListsOfNodeSets(const Record& record) {
  const std::string light = ByteWriter().U32(16).U32(2).U64(0).U32(0).Bytes();
  OneNode model("NodeSets", record, light, record.bytes);
  return ListsOf(model.As<NodeSets>());
}

}  // namespace

const std::map<std::string, Reading>& FormatReadings() {
  static const Values variable{
      {"type", "14"}, {"linked", "0"}, {"byte count", "8"}, {"heavy data position", "2"}};
  static const std::map<std::string, Reading> readings{
      {"File header", Reading{{{"version", "1.3"}, {"index size", "25"}},
                              {"signature", "index size"},
                              ReadFileHeader}},
      {"Index entry", Reading{{}, {}, ReadIndexEntry}},
      {"Compressed block",
       Reading{{{"inflated length", "8"}, {"contents", "contents"}}, {}, ReadCompressedBlock}},
      {"Tree record", Reading{{{"id", "1"}, {"light data position", "5"}},
                              {"type", "version", "light data position"},
                              ReadRecordOfTree}},
      {"Group", Reading{{}, {}, ReadGroup}},
      {"Other node", Reading{{{"size", "3"}, {"data", "xyz"}}, {"size", "data"}, ReadOtherNode}},
      {"Material record", Reading{{}, {"record size", "version"}, ReadMaterial}},
      {"Modifier record", Reading{{}, {"record size", "version"}, ReadModifier}},
      {"Attribute set", Reading{{{"names", "a b c d e"},
                                 {"kinds", "0 1 3 2 0"},
                                 {"whole numbers", "7 8"},
                                 {"texts", "word"}},
                                {},
                                ReadAttributeSet}},
      {"Variable", Reading{variable, {"further flag"}, ReadVariable}},
      {"Linked variable",
       Reading{{{"type", "14"}, {"linked", "1"}}, {"further flag", "attributes"}, ReadVariable}},
      {"Old variable", Reading{variable, {"further flag"}, ReadVariable}},
      {"Node sets", Reading{{{"size", "16"}, {"set count", "2"}, {"heavy data position", "2"}},
                            {"size"},
                            ReadNodeSets}},
      {"Lists of node sets", Reading{{{"name offsets", "0 2 5"},
                                      {"all names", "abcde"},
                                      {"member offsets", "0 1 3"},
                                      {"first values", "1 2 3"},
                                      {"second values", "4 5 6"}},
                                     {},
                                     ReadListsOfNodeSets}},
  };
  return readings;
}

}  // namespace LbtTev
