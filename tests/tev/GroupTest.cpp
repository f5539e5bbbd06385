// What groups of every version hold.

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "Failure.h"
#include "Lbt/Tev/Node.h"
#include "ModelOnDisk.h"
#include "support/Attributes.h"
#include "support/ByteWriter.h"

namespace LbtTev {
namespace {

using tevtest::Attribute;
using tevtest::AttributeSet;
using tevtest::ByteWriter;
using tevtest::FailureOf;
using tevtest::kAttributes;
using tevtest::kLightData;
using tevtest::ModelOnDisk;

/// The transform, 40 bytes, then a byte for the group and one after it.
std::string LightData() {
  ByteWriter light;
  for (const float value : {1.0F, 2.0F, 3.0F, 0.0F, 1.0F, 0.0F, 0.5F, 4.0F, 5.0F, 6.0F}) {
    light.F32(value);
  }
  return light.U8(0xA1).U8(0xA2).Bytes();
}

std::string OneAttribute() { return AttributeSet{Attribute::Uint("count", 7)}.Encode(); }

void ReadInto(Group& group, ModelOnDisk& disk, std::string_view version) {
  group.ReadVc(disk.File(), kLightData, kAttributes, version);
}

void ExpectTransform(const Group& group) {
  EXPECT_EQ(group.translation, (std::array<float, 3>{1, 2, 3}));
  EXPECT_EQ(group.rotation, (std::array<float, 4>{0, 1, 0, 0.5F}));
  EXPECT_EQ(group.scale, (std::array<float, 3>{4, 5, 6}));
}

void ExpectDefaults(const Group& group) {
  EXPECT_EQ(group.translation, (std::array<float, 3>{0, 0, 0}));
  EXPECT_EQ(group.rotation, (std::array<float, 4>{0, 0, 1, 0}));
  EXPECT_EQ(group.scale, (std::array<float, 3>{1, 1, 1}));
  EXPECT_TRUE(group.attributes.empty());
  EXPECT_EQ(group.groupByte, 0);
}

TEST(Group, OfTheFirstVersions_ReadsNothing) {
  for (const char* version : {"0.0a", "0.1"}) {
    SCOPED_TRACE(version);
    ModelOnDisk disk({{kLightData, "\x5A"}, {kAttributes, "\x5B"}});
    Group group;
    ReadInto(group, disk, version);
    ExpectDefaults(group);
    EXPECT_EQ(disk.NextByte(kLightData), 0x5AU);
    EXPECT_EQ(disk.NextByte(kAttributes), 0x5BU);
  }
}

TEST(Group, OfVersion02_ReadsFortyBytesAndNoAttributes) {
  ModelOnDisk disk({{kLightData, LightData()}, {kAttributes, OneAttribute()}});
  Group group;
  ReadInto(group, disk, "0.2");
  ExpectTransform(group);
  EXPECT_TRUE(group.attributes.empty());
  EXPECT_EQ(group.groupByte, 0);
  EXPECT_EQ(disk.NextByte(kLightData), 0xA1U);
  EXPECT_EQ(disk.NextByte(kAttributes), 1U);  // the set's count of names
}

TEST(Group, OfVersion03_ReadsTheAttributesToo) {
  ModelOnDisk disk({{kLightData, LightData()}, {kAttributes, OneAttribute() + "\x5B"}});
  Group group;
  ReadInto(group, disk, "0.3");
  ExpectTransform(group);
  EXPECT_EQ(group.attributes.at("count").GetAttributeString(), "7");
  EXPECT_EQ(group.groupByte, 0);
  EXPECT_EQ(disk.NextByte(kLightData), 0xA1U);
  EXPECT_EQ(disk.NextByte(kAttributes), 0x5BU);
}

TEST(Group, OfEveryOtherVersion_ReadsTheByteToo) {
  for (const char* version : {"0.4", "0.5", "1.0", "", "0.20", "0.3 "}) {
    SCOPED_TRACE(version);
    ModelOnDisk disk({{kLightData, LightData()}, {kAttributes, OneAttribute()}});
    Group group;
    ReadInto(group, disk, version);
    ExpectTransform(group);
    EXPECT_EQ(group.attributes.size(), 1U);
    EXPECT_EQ(group.groupByte, 0xA1);
    EXPECT_EQ(disk.NextByte(kLightData), 0xA2U);
  }
}

TEST(Group, WithoutItsStreams_KeepsTheDefaults) {
  ModelOnDisk disk({{"Other", "x"}});
  Group group;
  ReadInto(group, disk, "0.4");
  ExpectDefaults(group);
}

TEST(Group, WhoseLightDataEndsWithinAVector_FailsWithNotEnoughBytes) {
  ModelOnDisk disk({{kLightData, LightData().substr(0, 39)}});
  Group group;
  EXPECT_EQ(FailureOf([&] { ReadInto(group, disk, "0.2"); }), tevtest::kNotEnoughBytes);
  EXPECT_EQ(group.rotation, (std::array<float, 4>{0, 1, 0, 0.5F}));
  EXPECT_EQ(group.scale, (std::array<float, 3>{1, 1, 1}));
}

TEST(Group, WhoseVectorsLieInOneBlockEach_IsReadAcrossThem) {
  const std::string light = LightData();
  ModelOnDisk disk({{kLightData, light.substr(0, 12)},
                    {kLightData, light.substr(12, 16)},
                    {kLightData, light.substr(28)}});
  Group group;
  ReadInto(group, disk, "0.2");
  ExpectTransform(group);
}

TEST(Group, WhoseVectorGoesOnInTheNextBlock_FailsWithNotEnoughBytes) {
  const std::string light = LightData();
  ModelOnDisk disk({{kLightData, light.substr(0, 8)}, {kLightData, light.substr(8)}});
  Group group;
  EXPECT_EQ(FailureOf([&] { ReadInto(group, disk, "0.2"); }), tevtest::kNotEnoughBytes);
}

}  // namespace
}  // namespace LbtTev
