// Numbers that are loaded on demand and put in order.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "Failure.h"
#include "Lbt/Tev/NumericArray.h"
#include "ModelOnDisk.h"
#include "TraceText.h"
#include "support/Hex.h"
#include "support/Variable.h"

namespace LbtTev {
namespace {

using tevtest::ElementBytes;
using tevtest::FailureOf;
using tevtest::Hex;
using tevtest::kHeavyData;
using tevtest::ModelOnDisk;

using Floats = std::vector<float>;
using Uints = std::vector<unsigned int>;

const std::string kBadCasting =
    tevtest::ExpectedException("Bad Casting", "Bad Casting", "include/Lbt/Tev/DataLoader");

/// How an array is stored: what a loader is told of it.
struct Stored {
  unsigned long position = 0;
  unsigned long byteSize = 0;
  unsigned char width = 1;
  bool shuffled = true;
  unsigned int dataType = 0;
};

DataLoader LoaderOf(ModelOnDisk& disk, const Stored& stored) {
  auto stream = std::make_shared<ModelStream>(disk.File(), std::string(kHeavyData));
  return DataLoader(std::move(stream), stored.position, stored.byteSize, stored.width,
                    stored.shuffled, stored.dataType);
}

/// The elements of "bytes" as stored.
template <class T = unsigned int>
std::vector<T> Load(const std::string& bytes, Stored stored) {
  if (stored.byteSize == 0) {
    stored.byteSize = bytes.size();
  }
  ModelOnDisk disk({{kHeavyData, bytes}});
  std::vector<T> out;
  LoaderOf(disk, stored).LoadTo(out);
  return out;
}

TEST(DataLoader, TwoShuffledElements_ArePutRight) {
  EXPECT_EQ(Load(Hex("01 02 03 04 05 06 07 08"), {}), (Uints{0x07050301, 0x08060402}));
}

TEST(DataLoader, ShuffledFloats_ArePutRight) {
  // 1.0 is 3f800000, -2.5 is c0200000.
  EXPECT_EQ(Load<float>(Hex("0000 0000 8020 3fc0"), {}), (Floats{1.0F, -2.5F}));
}

TEST(DataLoader, PlanesOfWidth3_AreInterleaved) {
  // Planes x, y and z of two items; in each byte 0 of both elements, then bytes 1, 2 and 3.
  EXPECT_EQ(
      Load(Hex("1121 1222 1323 1424  3141 3242 3343 3444  5161 5262 5363 5464"), {.width = 3}),
      (Uints{0x14131211, 0x34333231, 0x54535251, 0x24232221, 0x44434241, 0x64636261}));
}

TEST(DataLoader, ElementsLeftOverByTheWidth_StayAsStored) {
  // Five elements of width 2: planes of two, and one more whose bytes nothing moves.
  EXPECT_EQ(Load(Hex("1121 1222 1323 1424  3141 3242 3343 3444  71727374"), {.width = 2}),
            (Uints{0x14131211, 0x34333231, 0x24232221, 0x44434241, 0x74737271}));
}

TEST(DataLoader, FewerElementsThanTheWidth_StayAsStored) {
  EXPECT_EQ(Load(Hex("01020304 05060708"), {.width = 3}), (Uints{0x04030201, 0x08070605}));
  EXPECT_EQ(Load(Hex("01020304 05060708"), {.width = 255}), (Uints{0x04030201, 0x08070605}));
}

TEST(DataLoader, Width0_LeavesElementsAsStored) {
  EXPECT_EQ(Load(Hex("01020304 05060708"), {.width = 0}), (Uints{0x04030201, 0x08070605}));
}

TEST(DataLoader, DataThatIsNotShuffled_IsLeftAsStored) {
  for (const std::uint8_t width : std::array<std::uint8_t, 3>{0, 1, 2}) {
    EXPECT_EQ(Load(Hex("01020304 05060708"), {.width = width, .shuffled = false}),
              (Uints{0x04030201, 0x08070605}));
  }
}

TEST(DataLoader, BytesAfterTheLastWholeElement_AreReadAndDropped) {
  ModelOnDisk disk({{kHeavyData, Hex("01 02 03 04 05 06 07 08 f1 f2 f3 5a")}});
  Uints out;
  LoaderOf(disk, {.byteSize = 11}).LoadTo(out);
  EXPECT_EQ(out, (Uints{0x07050301, 0x08060402}));
  EXPECT_EQ(disk.NextByte(kHeavyData), 0x5AU);
}

TEST(DataLoader, BytesAfterTheLastWholeElementThatAreMissing_FailWithNotEnoughBytes) {
  ModelOnDisk disk({{kHeavyData, Hex("01 02 03 04 05 06 07 08")}});
  Uints out;
  EXPECT_EQ(FailureOf([&] { LoaderOf(disk, {.byteSize = 9}).LoadTo(out); }),
            tevtest::kNotEnoughBytes);
}

TEST(DataLoader, Under4Bytes_SeekAndLoadNothing) {
  ModelOnDisk disk({{kHeavyData, "abcdef"}});
  for (const unsigned long byteSize : {0UL, 1UL, 2UL, 3UL}) {
    Uints out{7, 8};
    LoaderOf(disk, {.position = byteSize + 1, .byteSize = byteSize}).LoadTo(out);
    EXPECT_EQ(out, (Uints{7, 8}));
    EXPECT_EQ(disk.NextByte(kHeavyData), static_cast<unsigned int>("abcdef"[byteSize + 1]));
  }
}

TEST(DataLoader, Under4BytesOutsideTheStream_FailWithInvalidPosition) {
  ModelOnDisk disk({{kHeavyData, "abcdef"}});
  for (const unsigned long byteSize : {0UL, 3UL}) {
    Uints out;
    EXPECT_EQ(FailureOf([&] { LoaderOf(disk, {.position = 7, .byteSize = byteSize}).LoadTo(out); }),
              tevtest::kInvalidPosition);
    LoaderOf(disk, {.position = 6, .byteSize = byteSize}).LoadTo(out);
    EXPECT_TRUE(out.empty());
  }
}

TEST(DataLoader, DataOutsideTheStream_FailsWithInvalidPosition) {
  ModelOnDisk disk({{kHeavyData, "abcdef"}});
  for (const unsigned long position : {7UL, 0x100000000UL, 0xFFFFFFFFFFFFFFFFUL}) {
    Uints out;
    EXPECT_EQ(FailureOf([&] { LoaderOf(disk, {.position = position, .byteSize = 4}).LoadTo(out); }),
              tevtest::kInvalidPosition);
  }
}

TEST(DataLoader, DataThatRunsPastItsBlock_FailsWithNotEnoughBytes) {
  ModelOnDisk disk({{kHeavyData, "abcdef"}, {kHeavyData, "ghijkl"}});
  for (const unsigned long byteSize : {8UL, 0xFFFFFFFFUL, 0x100000004UL}) {
    Uints out;
    EXPECT_EQ(FailureOf([&] { LoaderOf(disk, {.byteSize = byteSize}).LoadTo(out); }),
              tevtest::kNotEnoughBytes)
        << byteSize;
  }
}

TEST(DataLoader, DataThatRunsPastItsBlock_LeavesAsManyElementsAsItClaims) {
  ModelOnDisk disk({{kHeavyData, "abcdef"}});
  Uints out{7};
  EXPECT_EQ(FailureOf([&] { LoaderOf(disk, {.byteSize = 12}).LoadTo(out); }),
            tevtest::kNotEnoughBytes);
  EXPECT_EQ(out, (Uints{7, 0, 0}));
  EXPECT_EQ(FailureOf([&] { LoaderOf(disk, {.byteSize = 24}).LoadTo(out); }),
            tevtest::kNotEnoughBytes);
  EXPECT_EQ(out, (Uints{7, 0, 0, 0, 0, 0}));
}

TEST(DataLoader, DataThatClaimsMoreElementsThanItsBlockHasBytes_LeavesOne) {
  ModelOnDisk disk({{kHeavyData, "abcdef"}});
  for (const unsigned long byteSize : {28UL, 0xFFFFFFFCUL}) {
    Uints out{7, 8};
    EXPECT_EQ(FailureOf([&] { LoaderOf(disk, {.byteSize = byteSize}).LoadTo(out); }),
              tevtest::kNotEnoughBytes);
    EXPECT_EQ(out, Uints{7}) << byteSize;
    EXPECT_LE(out.capacity(), 2U);
  }
}

TEST(DataLoader, WithoutTheStream_FailsByItsPosition) {
  ModelOnDisk disk({{"Other", "x"}});
  Uints out;
  EXPECT_EQ(FailureOf([&] { LoaderOf(disk, {.byteSize = 4}).LoadTo(out); }),
            tevtest::kNotEnoughBytes);
  EXPECT_EQ(FailureOf([&] { LoaderOf(disk, {.position = 1, .byteSize = 4}).LoadTo(out); }),
            tevtest::kInvalidPosition);
}

TEST(DataLoader, AfterTheEndOfAClosedFilesBlocks_LoadsNothing) {
  ModelOnDisk disk({{kHeavyData, Hex("01020304 05060708")}});
  const Stored whole{.byteSize = 8, .shuffled = false};
  Uints out;
  LoaderOf(disk, whole).LoadTo(out);
  disk.File().CloseFile();
  out = {7};
  LoaderOf(disk, {.position = 8, .byteSize = 4}).LoadTo(out);
  EXPECT_EQ(out, Uints{7});
  LoaderOf(disk, whole).LoadTo(out);  // the block itself is still there
  EXPECT_EQ(out, (Uints{0x04030201, 0x08070605}));
}

TEST(DataLoader, Data_CanBeLoadedInAnyOrderAndAgain) {
  const std::string first = ElementBytes(Uints{1});
  const std::string second = ElementBytes(Uints{2});
  ModelOnDisk disk({{kHeavyData, first}, {kHeavyData, second}});
  for (const unsigned int wanted : {2U, 1U, 1U, 2U}) {
    Uints out{9, 9, 9};
    LoaderOf(disk, {.position = 4UL * (wanted - 1), .byteSize = 4}).LoadTo(out);
    EXPECT_EQ(out, Uints{wanted});
  }
}

TEST(DataLoader, ElementTypes_FitTheirOwnKindOfNumbers) {
  const std::string bytes = ElementBytes(Floats{1.0F});
  const auto stored = [](unsigned int type) { return Stored{.shuffled = false, .dataType = type}; };
  EXPECT_EQ(Load<float>(bytes, stored(0)), Floats{1.0F});
  EXPECT_EQ(Load<float>(bytes, stored(1)), Floats{1.0F});
  EXPECT_EQ(Load<unsigned int>(bytes, stored(0)), Uints{0x3F800000});
  EXPECT_EQ(Load<unsigned int>(bytes, stored(5)), Uints{0x3F800000});
}

TEST(DataLoader, OtherElementTypes_FailWithBadCastingBeforeAnyRead) {
  ModelOnDisk disk({{kHeavyData, "abcdefgh"}});
  Floats floats;
  Uints uints;
  const tevtest::TraceText trace;
  for (const unsigned int type : {2U, 3U, 4U, 5U, 6U, 0xFFFFFFFFU}) {
    const Stored stored{.position = 99, .byteSize = 4, .dataType = type};
    EXPECT_EQ(FailureOf([&] { LoaderOf(disk, stored).LoadTo(floats); }), kBadCasting) << type;
  }
  for (const unsigned int type : {1U, 2U, 3U, 4U, 6U, 0xFFFFFFFFU}) {
    const Stored stored{.position = 99, .byteSize = 4, .dataType = type};
    EXPECT_EQ(FailureOf([&] { LoaderOf(disk, stored).LoadTo(uints); }), kBadCasting) << type;
  }
  std::string lines;
  for (int i = 0; i < 12; ++i) {
    lines += "DataLoader : # @ Bad Casting\n";
  }
  EXPECT_EQ(tevtest::MaskLog(trace.Lines()), lines);
}

}  // namespace
}  // namespace LbtTev
