#pragma once

#include <array>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>

#include "Lbt/Tev/ModelStreams.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/AttributeValue.h"

namespace LbtTev {

/// Base of all nodes of a model tree. Nodes are made by the tree loader, owned by
/// the tree and never copied.
class Node {
 public:
  Node() = default;
  virtual ~Node() = default;
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  /// The name of the node's kind, as tree records have it.
  [[nodiscard]] virtual std::string GetType() const { return "Node"; }

  /// The newest record version of the kind that this build understands.
  [[nodiscard]] virtual std::string GetVersion() const { return "0.1"; }

  [[nodiscard]] virtual bool IsLoaded() const { return loaded; }

  /// Hooks of a writer, which this program does not contain: they do nothing.
  virtual void Load(const std::string& /*source*/) {}
  virtual void Save() {}

  std::string name;
  std::string recordVersion;  ///< version of the record that the node was read from
  bool loaded = false;
  bool reservedFlag = false;      ///< carried, without a meaning here
  unsigned int reservedWord = 0;  ///< carried, without a meaning here
};

/// What dynamic_cast to a class without derived ones gives, in a fraction of its time: the node
/// as one of class T, or null where it is none or is null.
template <class T, class Base>
[[nodiscard]] auto NodeCast(Base* node) {
  static_assert(std::is_final_v<T> && std::is_base_of_v<Node, T>);
  using Target = std::conditional_t<std::is_const_v<Base>, const T, T>;
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-static-cast-downcast): the type is the very one
  return node != nullptr && typeid(*node) == typeid(T) ? static_cast<Target*>(node) : nullptr;
}

/// Stands for a node of a kind that this build does not know: it keeps the node's
/// name and place in the tree.
class FutureNode final : public Node {
 public:
  [[nodiscard]] std::string GetType() const override { return "FutureNode"; }

  std::string storedType;  ///< the kind's name, as the tree record has it
  LbtUtil::AttributeMap attributes;
};

/// How a surface looks. Colours are red, green, blue and alpha from 0 to 1. A new
/// one has the values of a shape without a material record.
class Material final : public Node {
 public:
  [[nodiscard]] std::string GetType() const override { return "Material"; }
  [[nodiscard]] std::string GetVersion() const override { return "0.3"; }
  /// The same as GetVersion().
  [[nodiscard]] virtual std::string getVersion() const { return "0.3"; }

  std::array<float, 4> diffuse{0.8F, 0.8F, 0.8F, 1.0F};
  std::array<float, 4> specular{0, 0, 0, 1.0F};
  std::array<float, 4> emissive{};  ///< records hold the first three
  /// A fifth of diffuse; records hold the first three.
  std::array<float, 4> ambient{0.8F * 0.2F, 0.8F * 0.2F, 0.8F * 0.2F, 1.0F * 0.2F};
  float shininess = 0;
  float materialFactor = 0.2F;  ///< in records from version "0.2" on
  bool materialFlag = true;     ///< in records from version "0.3" on
};

/// A part: its material, and as first child in the tree its geometry.
class Shape final : public Node {
 public:
  [[nodiscard]] std::string GetType() const override { return std::string(NodeType::kShape); }
  [[nodiscard]] std::string GetVersion() const override { return "0.2"; }

  Material material;
};

/// A node that holds others together: a transformation and named attributes.
class Group final : public Node {
 public:
  [[nodiscard]] std::string GetType() const override { return std::string(NodeType::kGroup); }
  [[nodiscard]] std::string GetVersion() const override { return "0.4"; }

  /// Reads the group's data by its record version:
  ///
  ///   "0.0a", "0.1"  nothing
  ///   "0.2"          translation, rotation, scale from the light data
  ///   "0.3"          and one attribute set
  ///   any other      and groupByte from the light data
  ///
  /// Throws what reading streams throws.
  void Read(ModelStreams& streams, std::string_view version);
  /// The same from the streams of these names.
  void ReadVc(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
              std::string_view attributesBlockName, std::string_view version);

  std::array<float, 3> translation{0, 0, 0};
  std::array<float, 4> rotation{0, 0, 1, 0};  ///< axis (x, y, z), then the angle
  std::array<float, 3> scale{1, 1, 1};
  LbtUtil::AttributeMap attributes;
  unsigned char groupByte = 0;  ///< not 0 where a file may be grafted under the group
};

}  // namespace LbtTev
