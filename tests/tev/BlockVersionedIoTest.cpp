// The envelope of versioned records.

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "Failure.h"
#include "Lbt/Tev/BlockVersionedIo.h"
#include "RecordBlock.h"
#include "TraceText.h"
#include "support/ByteWriter.h"
#include "support/Records.h"

namespace LbtTev {
namespace {

using LbtLbf::Block;
using tevtest::BlockOf;
using tevtest::ByteWriter;
using tevtest::FailureOf;
using tevtest::FileVersion;
using tevtest::kRecordTooShort;
using tevtest::kRecordVersions;
using tevtest::LineNumber;
using tevtest::MaterialRecord;

MaterialRecord Coloured(const std::string& version, bool sized) {
  MaterialRecord record;
  record.version = version;
  record.diffuse = {1, 2, 3, 4};
  record.specular = {5, 6, 7, 8};
  record.emissive = {9, 10, 11};
  record.ambient = {12, 13, 14};
  record.shininess = 15;
  record.factor = 16;
  record.flag = 0;
  record.envelope.sized = sized;
  return record;
}

/// The fields of every version.
void ExpectColours(const Material& material) {
  EXPECT_EQ(material.diffuse, (std::array<float, 4>{1, 2, 3, 4}));
  EXPECT_EQ(material.specular, (std::array<float, 4>{5, 6, 7, 8}));
  EXPECT_EQ(material.emissive, (std::array<float, 4>{9, 10, 11, 0}));
  EXPECT_EQ(material.ambient, (std::array<float, 4>{12, 13, 14, 0.2F}));
  EXPECT_EQ(material.shininess, 15.0F);
}

/// Bytes of fields that a material record of "version" has.
unsigned int FieldBytes(const std::string& version) {
  return version == "0.1" ? 60 : version == "0.2" ? 64 : 65;
}

void ExpectMaterialIsRead(const std::string& version, bool sized) {
  SCOPED_TRACE(version);
  Block block = BlockOf(Coloured(version, sized).Encode() + "after");
  Material material;
  CopyFromBlock_Versioned(block, material);
  ExpectColours(material);
  EXPECT_EQ(material.materialFactor, version == "0.1" ? 0.2F : 16.0F);
  EXPECT_EQ(material.materialFlag, version == "0.1" || version == "0.2");
  const std::size_t envelope = (sized ? 8U : 4U) + version.size();
  EXPECT_EQ(block.GetPosition(), envelope + FieldBytes(version));
}

TEST(MaterialRecord, OfEachVersionInASizedFile_IsRead) {
  for (const std::string& version : kRecordVersions) {
    ExpectMaterialIsRead(version, true);
  }
}

TEST(MaterialRecord, OfEachVersionInAFileWithoutSizes_IsRead) {
  const FileVersion fileVersion("0.1a");
  for (const std::string& version : kRecordVersions) {
    ExpectMaterialIsRead(version, false);
  }
}

TEST(MaterialRecord, CarriesItsSizeByTheExactFileVersion) {
  for (const char* version : {"0.1", "0.1a", "0.1b", "0.2"}) {
    const FileVersion fileVersion(version);
    ExpectMaterialIsRead("0.3", false);
  }
  for (const char* version : {"0.3", "0.7", "1.3", "0.1c", "0.2a", "0.20", ""}) {
    const FileVersion fileVersion(version);
    ExpectMaterialIsRead("0.3", true);
  }
}

TEST(MaterialRecord, FileVersionIsTheNewestFromTheStartOn) {
  EXPECT_EQ(LbtLbf::tev_file_version, "1.3");
}

TEST(MaterialRecord, OfVersion01WithoutSize_IsItsVersionAndSixtyBytes) {
  const FileVersion fileVersion("0.1a");
  ByteWriter record;
  record.Text("0.1");
  for (float value = 1; value <= 15; ++value) {
    record.F32(value);
  }
  ASSERT_EQ(record.Size(), 7U + 60U);
  Block block = BlockOf(record.Bytes());
  Material material;
  CopyFromBlock_Versioned(block, material);
  ExpectColours(material);
  EXPECT_TRUE(block.IsConsumed());
}

TEST(MaterialRecord, FlagIsTrueForAnyByteButZero) {
  MaterialRecord record = Coloured("0.3", true);
  record.flag = 2;
  Block block = BlockOf(record.Encode());
  Material material;
  material.materialFlag = false;
  CopyFromBlock_Versioned(block, material);
  EXPECT_TRUE(material.materialFlag);
}

TEST(MaterialRecord, OfAnUnknownVersionWithMoreFields_IsReadAsVersion03AndSkipsThem) {
  MaterialRecord record = Coloured("2.5", true);
  record.envelope.trailing = "1234567";
  const std::string bytes = record.Encode();
  Block block = BlockOf(bytes + "after");
  Material material;
  CopyFromBlock_Versioned(block, material);
  ExpectColours(material);
  EXPECT_EQ(material.materialFactor, 16.0F);
  EXPECT_FALSE(material.materialFlag);
  EXPECT_EQ(block.GetPosition(), 4U + 4 + 3 + 65 + 7);
  EXPECT_EQ(bytes.size(), block.GetPosition());
}

TEST(MaterialRecord, SizeCountsFromItsOwnFirstByte) {
  MaterialRecord first = Coloured("0.1", true);
  first.envelope.trailing = "xy";
  MaterialRecord second = Coloured("0.3", true);
  second.shininess = 99;
  Block block = BlockOf(first.Encode() + second.Encode());
  Material material;
  CopyFromBlock_Versioned(block, material);
  CopyFromBlock_Versioned(block, material);
  EXPECT_EQ(material.shininess, 99.0F);
  EXPECT_TRUE(block.IsConsumed());
}

TEST(MaterialRecord, ShorterThanItsFields_LogsAndFailsWithUnknownVersion) {
  for (const std::uint32_t size : {0U, 8U, 75U}) {
    MaterialRecord record = Coloured("0.3", true);
    record.envelope.recordSize = size;  // the true one is 76
    Block block = BlockOf(record.Encode());
    Material material;
    const tevtest::TraceText trace;
    EXPECT_EQ(FailureOf([&] { CopyFromBlock_Versioned(block, material); }, LineNumber::Kept),
              kRecordTooShort)
        << size;
    EXPECT_EQ(trace.Lines(), "BlockVersionedIo : 184 @ Unknown Version\n") << size;
    ExpectColours(material);
  }
}

TEST(MaterialRecord, OfItsExactSize_EndsAtTheBlocksEnd) {
  MaterialRecord record = Coloured("0.3", true);
  record.envelope.recordSize = 76;
  Block block = BlockOf(record.Encode());
  Material material;
  CopyFromBlock_Versioned(block, material);
  EXPECT_TRUE(block.IsConsumed());
}

TEST(MaterialRecord, ThatEndsPastItsBlock_FailsWithInvalidPosition) {
  for (const std::uint32_t size : {77U, 0xFFFFFFFFU}) {
    MaterialRecord record = Coloured("0.3", true);
    record.envelope.recordSize = size;
    Block block = BlockOf(record.Encode());
    Material material;
    EXPECT_EQ(FailureOf([&] { CopyFromBlock_Versioned(block, material); }),
              tevtest::kInvalidPosition)
        << size;
  }
}

TEST(MaterialRecord, WhoseEndWrapsIn32Bits_FailsWithUnknownVersion) {
  for (const std::uint32_t size : {0xFFFFFFFCU, 0xFFFFFFFFU}) {  // the end would be 0 and 3
    MaterialRecord record = Coloured("0.3", true);
    record.envelope.recordSize = size;
    Block block = BlockOf("four" + record.Encode() + "more");
    block.SetPosition(4);
    Material material;
    EXPECT_EQ(FailureOf([&] { CopyFromBlock_Versioned(block, material); }, LineNumber::Kept),
              kRecordTooShort)
        << size;
  }
}

TEST(MaterialRecord, WhoseEndIsTheLastOf32Bits_FailsWithInvalidPosition) {
  MaterialRecord record = Coloured("0.3", true);
  record.envelope.recordSize = 0xFFFFFFFBU;
  Block block = BlockOf("four" + record.Encode() + "more");
  block.SetPosition(4);
  Material material;
  EXPECT_EQ(FailureOf([&] { CopyFromBlock_Versioned(block, material); }),
            tevtest::kInvalidPosition);
}

TEST(MaterialRecord, CutAnywhere_FailsWithNotEnoughBytes) {
  const std::string bytes = Coloured("0.3", true).Encode();
  ASSERT_EQ(bytes.size(), 76U);
  for (std::size_t size = 1; size < bytes.size(); ++size) {
    Block block = BlockOf(bytes.substr(0, size));
    Material material;
    EXPECT_EQ(FailureOf([&] { CopyFromBlock_Versioned(block, material); }),
              tevtest::kNotEnoughBytes)
        << size;
  }
}

TEST(MaterialRecord, CutInItsColours_KeepsWhatWasRead) {
  Block block = BlockOf(Coloured("0.3", true).Encode().substr(0, 11 + 16 + 12));
  Material material;
  EXPECT_EQ(FailureOf([&] { CopyFromBlock_Versioned(block, material); }), tevtest::kNotEnoughBytes);
  EXPECT_EQ(material.diffuse, (std::array<float, 4>{1, 2, 3, 4}));
  EXPECT_EQ(material.specular, (std::array<float, 4>{0, 0, 0, 1}));
  EXPECT_EQ(block.GetPosition(), 11U + 16);
}

}  // namespace
}  // namespace LbtTev
