// Numeric arrays and the loaders that they make.

#include <gtest/gtest.h>

#include "Lbt/Tev/NumericArray.h"
#include "ModelOnDisk.h"

namespace LbtTev {
namespace {

using tevtest::ModelOnDisk;

TEST(NumericArray, ANewOne_IsEmptyAndOfWidth1) {
  const NumericArray array;
  EXPECT_EQ(array.GetNumElements(), 0U);
  EXPECT_EQ(array.GetWidth(), 1);
  EXPECT_EQ(array.dataType, 0U);
  EXPECT_EQ(array.loader, nullptr);
  EXPECT_FALSE(array.hasData);
}

TEST(NumericArray, GetNumElements_CountsWholeElementsOf4Bytes) {
  NumericArray array;
  array.width = 3;
  array.byteSize = 27;
  EXPECT_EQ(array.GetNumElements(), 6U);
  array.byteSize = 3;
  EXPECT_EQ(array.GetNumElements(), 0U);
}

TEST(NumericArray, CreateDataLoader_HandsOnWhatTheArrayIs) {
  ModelOnDisk disk({{"Heavy Data", "x"}});
  NumericArray array;
  array.byteSize = 12;
  array.width = 3;
  array.dataType = 5;
  array.CreateDataLoader(disk.File(), "Heavy Data", 77, true);
  EXPECT_EQ(array.loader->GetPosition(), 77U);
  EXPECT_EQ(array.loader->GetByteSize(), 12U);
  EXPECT_EQ(array.loader->GetDataType(), 5U);
  EXPECT_TRUE(array.loader->IsShuffled());
}

TEST(NumericArray, CreateDataLoader_KeepsALoaderThatIsThere) {
  ModelOnDisk disk({{"Heavy Data", "x"}});
  NumericArray array;
  array.CreateDataLoader(disk.File(), "Heavy Data", 1, true);
  const auto first = array.loader;
  array.CreateDataLoader(disk.File(), "Heavy Data", 2, false);
  EXPECT_EQ(array.loader, first);
  EXPECT_EQ(array.loader->GetPosition(), 1U);
}

TEST(NumericArray, CreateDataLoader_AfterAReset_MakesANewOne) {
  ModelOnDisk disk({{"Heavy Data", "x"}});
  NumericArray array;
  array.CreateDataLoader(disk.File(), "Heavy Data", 1, true);
  array.loader.reset();
  array.CreateDataLoader(disk.File(), "Heavy Data", 2, false);
  EXPECT_EQ(array.loader->GetPosition(), 2U);
  EXPECT_FALSE(array.loader->IsShuffled());
}

TEST(NumericArray, ACopy_SharesTheLoader) {
  ModelOnDisk disk({{"Heavy Data", "x"}});
  NumericArray array;
  array.CreateDataLoader(disk.File(), "Heavy Data", 1, true);
  const NumericArray copy = array;
  EXPECT_EQ(copy.loader, array.loader);
}

}  // namespace
}  // namespace LbtTev
