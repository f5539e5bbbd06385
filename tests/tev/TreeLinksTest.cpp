// Variables that share the numbers of others.

#include <gtest/gtest.h>

#include <boost/weak_ptr.hpp>
#include <vector>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Tree.h"
#include "ModelOnDisk.h"
#include "TraceText.h"

namespace LbtTev {
namespace {

using tevtest::LoadedTree;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::Variable;

constexpr unsigned int kSource = 2;
constexpr unsigned int kUser = 3;

/// Two meshes: 2 with the numbers {1, 2} and {3, 4, 5}, of width 3, and 3 with these variables.
ModelWriter Model(const std::vector<Variable>& users, std::string_view version = "0.7") {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0);
  const NodeRef source = model.AddGeometry("source", root, version);
  model.AddVariable(source, Variable::Uints("a", 13, 1, {1, 2}));
  model.AddVariable(source, Variable::Uints("b", 14, 3, {3, 4, 5}));
  const NodeRef user = model.AddGeometry("user", root);
  for (const Variable& variable : users) {
    model.AddVariable(user, variable);
  }
  return model;
}

Variable LinkTo(unsigned int node, unsigned int index) {
  return Variable::Link("link", 13, node, index);
}

const NumericArray& ArrayOf(LoadedTree& loaded, unsigned int node, std::size_t index) {
  return loaded.At<Geometry>(node).variables.at(index).array;
}

void ExpectNoNumbers(const NumericArray& array) {
  EXPECT_EQ(array.GetNumElements(), 0U);
  EXPECT_EQ(array.GetWidth(), 1);
  EXPECT_FALSE(array.hasData);
  EXPECT_EQ(array.loader, nullptr);
}

TEST(TreeLinks, ALinkedVariable_SharesTheArrayOfItsTarget) {
  LoadedTree loaded(Model({LinkTo(kSource, 1), LinkTo(kSource, 0)}));
  loaded.tree.UpdateLinkedBuffers();
  const NumericArray& array = ArrayOf(loaded, kUser, 0);
  EXPECT_EQ(array.loader, ArrayOf(loaded, kSource, 1).loader);
  EXPECT_EQ(array.byteSize, 12U);
  EXPECT_EQ(array.GetWidth(), 3);
  EXPECT_TRUE(array.hasData);
  std::vector<unsigned int> numbers;
  array.loader->LoadTo(numbers);
  EXPECT_EQ(numbers, (std::vector<unsigned int>{3, 4, 5}));
  EXPECT_EQ(ArrayOf(loaded, kUser, 1).loader, ArrayOf(loaded, kSource, 0).loader);
}

TEST(TreeLinks, VariablesThatAreNotLinked_KeepTheirArrays) {
  LoadedTree loaded(Model({Variable::Uints("own", 13, 1, {9}), LinkTo(kSource, 0)}));
  const auto own = ArrayOf(loaded, kUser, 0).loader;
  const auto source = ArrayOf(loaded, kSource, 0).loader;
  loaded.tree.UpdateLinkedBuffers();
  EXPECT_EQ(ArrayOf(loaded, kUser, 0).loader, own);
  EXPECT_EQ(ArrayOf(loaded, kSource, 0).loader, source);
}

TEST(TreeLinks, ALinkToNothing_GivesAnEmptyArray) {
  // A missing node, a missing variable, a group, no node at all.
  LoadedTree loaded(Model({LinkTo(99, 0), LinkTo(kSource, 2), LinkTo(kSource, 0xFFFFFFFF),
                           LinkTo(1, 0), LinkTo(0, 0)}));
  loaded.tree.UpdateLinkedBuffers();
  for (std::size_t i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    ExpectNoNumbers(ArrayOf(loaded, kUser, i));
  }
}

TEST(TreeLinks, ALinkToId0_MeetsNoNodeThatClaimsIt) {
  ModelWriter model = Model({LinkTo(0, 0)});
  model.At(kSource).id = 0;
  LoadedTree loaded(model);
  loaded.tree.UpdateLinkedBuffers();
  ExpectNoNumbers(ArrayOf(loaded, kUser, 0));
}

TEST(TreeLinks, ALinkToALinkedVariable_GetsWhatThatOneHadBefore) {
  // Both directions: to a variable that comes earlier in the walk, and to a later one.
  LoadedTree loaded(Model({LinkTo(kUser, 1), LinkTo(kSource, 0), LinkTo(kUser, 1)}));
  loaded.tree.UpdateLinkedBuffers();
  ExpectNoNumbers(ArrayOf(loaded, kUser, 0));
  EXPECT_EQ(ArrayOf(loaded, kUser, 1).loader, ArrayOf(loaded, kSource, 0).loader);
  ExpectNoNumbers(ArrayOf(loaded, kUser, 2));
}

TEST(TreeLinks, ALinkToItself_KeepsTheArray) {
  LoadedTree loaded(Model({LinkTo(kUser, 0)}));
  loaded.tree.UpdateLinkedBuffers();
  ExpectNoNumbers(ArrayOf(loaded, kUser, 0));
}

TEST(TreeLinks, ASecondUpdate_CopiesTheSameArraysAgain) {
  LoadedTree loaded(Model({LinkTo(kSource, 1)}));
  loaded.tree.UpdateLinkedBuffers();
  loaded.tree.UpdateLinkedBuffers();
  EXPECT_EQ(ArrayOf(loaded, kUser, 0).loader, ArrayOf(loaded, kSource, 1).loader);
}

TEST(TreeLinks, TheLoaderThatALinkedVariableHad_IsReleased) {
  LoadedTree loaded(Model({Variable::Uints("own", 13, 1, {9})}));
  Geometry::VarStruct& variable = loaded.At<Geometry>(kUser).variables[0];
  const boost::weak_ptr<DataLoader> own = variable.array.loader;
  variable.isLinked = true;
  variable.linkNodeId = kSource;
  loaded.tree.UpdateLinkedBuffers();
  EXPECT_TRUE(own.expired());
  EXPECT_EQ(ArrayOf(loaded, kSource, 0).loader.use_count(), 2);
}

TEST(TreeLinks, ALinkToDataThatWasReadAtOnce_SharesTheBytes) {
  LoadedTree loaded(Model({LinkTo(kSource, 0)}, "0.5"));
  loaded.tree.UpdateLinkedBuffers();
  EXPECT_NE(ArrayOf(loaded, kUser, 0).storedBytes, nullptr);
  EXPECT_EQ(ArrayOf(loaded, kUser, 0).storedBytes, ArrayOf(loaded, kSource, 0).storedBytes);
}

TEST(TreeLinks, AnUpdate_IsTracedInTwoLinesThatEndInABlank) {
  Tree tree;
  const tevtest::TraceText trace;
  tree.UpdateLinkedBuffers();
  EXPECT_EQ(trace.Lines(),
            "Tree : 567 @ Updating buffer links ... \n"
            "Tree : 590 @ Buffer links updated. \n");
}

}  // namespace
}  // namespace LbtTev
