// What the root of a model tells of it.

#include <gtest/gtest.h>

#include <string>

#include "Lbt/Tev/RootFacts.h"
#include "ModelOnDisk.h"
#include "support/ModelWriter.h"

namespace LbtTev {
namespace {

using tevtest::LoadedTree;
using tevtest::ModelWriter;

std::string Reversed(const std::string& path) { return {path.rbegin(), path.rend()}; }

LbtUtil::AttributeMap Attributes() {
  return {{"Path", LbtUtil::AttributeValue("run.inp")}, {"Size", LbtUtil::AttributeValue(12U)}};
}

TEST(NativeFile, PathAndSize_AreTakenByTheirNames) {
  const NativeFile file = NativeFileOf(Attributes(), "Path", "Size", Reversed);
  EXPECT_EQ(file.path, "run.inp");
  EXPECT_EQ(file.type, "pni.nur");
  EXPECT_EQ(file.size, "12");
}

TEST(NativeFile, WithoutAPath_HasNoType) {
  const NativeFile file = NativeFileOf(Attributes(), "Other", "Size", Reversed);
  EXPECT_FALSE(file.path.has_value());
  EXPECT_FALSE(file.type.has_value());
  EXPECT_EQ(file.size, "12");
}

TEST(RootAttributes, OfAGroup_AreItsAttributes) {
  ModelWriter model;
  model.AddGroup("model", 0, {{tevtest::Attribute::Text("Length Unit", "mm")}});
  const LoadedTree loaded(model);
  const LbtUtil::AttributeMap& attributes = RootAttributesOf(loaded.tree);
  ASSERT_EQ(attributes.size(), 1U);
  EXPECT_EQ(attributes.at("Length Unit").GetAttributeString(), "mm");
}

TEST(RootAttributes, OfAnEmptyTree_AreNone) { EXPECT_TRUE(RootAttributesOf(Tree()).empty()); }

}  // namespace
}  // namespace LbtTev
