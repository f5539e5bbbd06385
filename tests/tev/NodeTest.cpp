// What every kind of node is when it is made.

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "Lbt/Tev/BlockVersionedIo.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/NodeSets.h"

namespace LbtTev {
namespace {

std::vector<std::unique_ptr<Node>> OneOfEachKind() {
  std::vector<std::unique_ptr<Node>> nodes;
  nodes.push_back(std::make_unique<Node>());
  nodes.push_back(std::make_unique<Group>());
  nodes.push_back(std::make_unique<Material>());
  nodes.push_back(std::make_unique<Shape>());
  nodes.push_back(std::make_unique<Geometry>());
  nodes.push_back(std::make_unique<NodeSets>());
  nodes.push_back(std::make_unique<FutureNode>());
  return nodes;
}

TEST(Node, EachKind_HasItsTypeAndNewestVersion) {
  std::vector<std::string> kinds;
  for (const auto& node : OneOfEachKind()) {
    kinds.push_back(node->GetType() + " " + node->GetVersion());
  }
  EXPECT_EQ(kinds, (std::vector<std::string>{"Node 0.1", "Group 0.4", "Material 0.3", "Shape 0.2",
                                             "Geometry 0.7", "NodeSets 0.1", "FutureNode 0.1"}));
}

TEST(Node, ANewOne_IsNamelessAndNotLoaded) {
  for (const auto& node : OneOfEachKind()) {
    EXPECT_EQ(node->name, "") << node->GetType();
    EXPECT_FALSE(node->IsLoaded()) << node->GetType();
    EXPECT_FALSE(node->reservedFlag) << node->GetType();
    EXPECT_EQ(node->reservedWord, 0U) << node->GetType();
  }
}

TEST(Node, IsLoaded_IsTheFlag) {
  Node node;
  node.loaded = true;
  EXPECT_TRUE(node.IsLoaded());
}

TEST(Node, LoadAndSave_ChangeNothing) {
  for (const auto& node : OneOfEachKind()) {
    node->name = "kept";
    EXPECT_NO_THROW(node->Load("/no such file"));
    EXPECT_NO_THROW(node->Save());
    EXPECT_EQ(node->name, "kept") << node->GetType();
    EXPECT_FALSE(node->IsLoaded()) << node->GetType();
  }
}

TEST(NodeCast, GivesTheNodeAsItsOwnKindOnly) {
  Group group;
  Node* node = &group;
  const Node* constant = &group;
  EXPECT_EQ(NodeCast<Group>(node), &group);
  EXPECT_EQ(NodeCast<Group>(constant), &group);
  EXPECT_EQ(NodeCast<Shape>(node), nullptr);
  EXPECT_EQ(NodeCast<Geometry>(constant), nullptr);
  EXPECT_EQ(NodeCast<Group>(static_cast<Node*>(nullptr)), nullptr);
}

TEST(Material, BothVersionGetters_SayTheSame) {
  const Material material;
  EXPECT_EQ(material.getVersion(), "0.3");
  EXPECT_EQ(material.GetVersion(), "0.3");
}

TEST(Shape, ANewOne_HasTheDefaultMaterial) {
  const Shape shape;
  const Material& material = shape.material;
  EXPECT_EQ(material.diffuse, (std::array<float, 4>{0.8F, 0.8F, 0.8F, 1.0F}));
  EXPECT_EQ(material.specular, (std::array<float, 4>{0, 0, 0, 1.0F}));
  EXPECT_EQ(material.emissive[0], 0.0F);
  EXPECT_EQ(material.emissive[1], 0.0F);
  EXPECT_EQ(material.emissive[2], 0.0F);
  EXPECT_EQ(material.shininess, 0.0F);
  EXPECT_EQ(material.materialFactor, 0.2F);
  EXPECT_TRUE(material.materialFlag);
  EXPECT_EQ(material.name, "");
}

TEST(Shape, ANewOne_HasAFifthOfTheDiffuseColourAsAmbientColour) {
  const Shape shape;
  const std::array<float, 4>& ambient = shape.material.ambient;
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(ambient[i], 0.8F * 0.2F) << i;  // the product, which 0.16F need not be
    EXPECT_FLOAT_EQ(ambient[i], 0.16F) << i;
  }
  EXPECT_EQ(ambient[3], 0.2F);
}

TEST(Group, ANewOne_LeavesEverythingInItsPlace) {
  const Group group;
  EXPECT_EQ(group.translation, (std::array<float, 3>{0, 0, 0}));
  EXPECT_EQ(group.rotation, (std::array<float, 4>{0, 0, 1, 0}));
  EXPECT_EQ(group.scale, (std::array<float, 3>{1, 1, 1}));
  EXPECT_TRUE(group.attributes.empty());
  EXPECT_EQ(group.groupByte, 0);
}

TEST(NodeSets, ANewOne_IsEmpty) {
  const NodeSets sets;
  EXPECT_TRUE(sets.sets.empty());
  EXPECT_EQ(sets.setCount, 0U);
  EXPECT_EQ(sets.heavyDataPosition, 0U);
  EXPECT_EQ(sets.reservedCount, 0U);
  EXPECT_TRUE(sets.attributes.empty());
}

TEST(ModifierInfo, AValue_IsCopiedWhole) {
  const ModifierInfo original{"", "name", "1.0", "1.3", "today", "hidden", "user", "comment"};
  const ModifierInfo copy = original;
  EXPECT_EQ(copy.applicationName, "name");
  EXPECT_EQ(copy.unreported, "hidden");
  EXPECT_EQ(copy.comment, "comment");
}

}  // namespace
}  // namespace LbtTev
