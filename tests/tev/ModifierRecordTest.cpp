// The records of programs that wrote a model, one by one and as a list.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Failure.h"
#include "Lbt/Tev/BlockVersionedIo.h"
#include "RecordBlock.h"
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
using tevtest::ModifierRecord;

ModifierRecord Modifier(const std::string& version = "0.7") {
  return {.version = version,
          .applicationName = "translate",
          .applicationVersion = "2.1",
          .tevVersion = "1.3",
          .date = "Mon Mar  4 09:12:44 2024",
          .unreported = "batch",
          .userName = "analyst",
          .comment = "First"};
}

void ExpectModifier(const ModifierInfo& modifier) {
  EXPECT_EQ(modifier.unstored, "");
  EXPECT_EQ(modifier.applicationName, "translate");
  EXPECT_EQ(modifier.applicationVersion, "2.1");
  EXPECT_EQ(modifier.tevVersion, "1.3");
  EXPECT_EQ(modifier.date, "Mon Mar  4 09:12:44 2024");
  EXPECT_EQ(modifier.unreported, "batch");
  EXPECT_EQ(modifier.userName, "analyst");
  EXPECT_EQ(modifier.comment, "First");
}

void ExpectModifierIsRead(bool sized) {
  for (const std::string& version : kRecordVersions) {
    ModifierRecord record = Modifier(version);
    record.envelope.sized = sized;
    Block block = BlockOf(record.Encode());
    ModifierInfo modifier;
    CopyFromBlock_Versioned(block, modifier);
    ExpectModifier(modifier);
    EXPECT_TRUE(block.IsConsumed()) << version;
  }
}

TEST(ModifierRecord, OfEachVersion_HasTheSameSevenTexts) { ExpectModifierIsRead(true); }

TEST(ModifierRecord, InAFileWithoutSizes_HasTheSameSevenTexts) {
  const FileVersion fileVersion("0.2");
  ExpectModifierIsRead(false);
}

TEST(ModifierRecord, WithMoreFields_SkipsThem) {
  ModifierRecord record = Modifier();
  record.envelope.trailing = "of a newer writer";
  Block block = BlockOf(record.Encode());
  ModifierInfo modifier;
  CopyFromBlock_Versioned(block, modifier);
  ExpectModifier(modifier);
  EXPECT_TRUE(block.IsConsumed());
}

TEST(ModifierRecord, ShorterThanItsTexts_FailsWithUnknownVersion) {
  ModifierRecord record = Modifier();
  record.envelope.recordSize = 20;
  Block block = BlockOf(record.Encode());
  ModifierInfo modifier;
  EXPECT_EQ(FailureOf([&] { CopyFromBlock_Versioned(block, modifier); }, LineNumber::Kept),
            kRecordTooShort);
}

TEST(ModifierRecord, EmptyTexts_LeaveTheValuesThatWereThere) {
  Block block = BlockOf(ModifierRecord{.applicationName = "new"}.Encode());
  ModifierInfo modifier;
  modifier.applicationName = "old";
  modifier.comment = "old";
  CopyFromBlock_Versioned(block, modifier);
  EXPECT_EQ(modifier.applicationName, "new");
  EXPECT_EQ(modifier.comment, "old");
}

TEST(ModifierList, Records_AreReadInOrder) {
  ModifierRecord second = Modifier();
  second.applicationName = "tidy";
  Block block = BlockOf(tevtest::EncodeModifiers({Modifier(), second}, std::nullopt));
  std::vector<ModifierInfo> modifiers;
  CopyFromBlock(block, modifiers);
  ASSERT_EQ(modifiers.size(), 2U);
  ExpectModifier(modifiers[0]);
  EXPECT_EQ(modifiers[1].applicationName, "tidy");
  EXPECT_TRUE(block.IsConsumed());
}

TEST(ModifierList, OfNone_EmptiesTheVector) {
  Block block = BlockOf(ByteWriter().U32(0).Bytes());
  std::vector<ModifierInfo> modifiers(3);
  CopyFromBlock(block, modifiers);
  EXPECT_TRUE(modifiers.empty());
}

TEST(ModifierList, ShorterThanTheVector_DropsTheSurplus) {
  Block block = BlockOf(tevtest::EncodeModifiers({Modifier()}, std::nullopt));
  std::vector<ModifierInfo> modifiers(3);
  CopyFromBlock(block, modifiers);
  ASSERT_EQ(modifiers.size(), 1U);
  ExpectModifier(modifiers[0]);
}

TEST(ModifierList, WithoutAWholeCount_FailsWithNotEnoughBytes) {
  Block block = BlockOf("abc");
  std::vector<ModifierInfo> modifiers(2);
  EXPECT_EQ(FailureOf([&] { CopyFromBlock(block, modifiers); }), tevtest::kNotEnoughBytes);
  EXPECT_EQ(modifiers.size(), 2U);
}

TEST(ModifierList, ThatEndsTooEarly_FailsAndKeepsWhatWasRead) {
  Block block = BlockOf(tevtest::EncodeModifiers({Modifier()}, 2));
  std::vector<ModifierInfo> modifiers;
  EXPECT_EQ(FailureOf([&] { CopyFromBlock(block, modifiers); }), tevtest::kNotEnoughBytes);
  ASSERT_EQ(modifiers.size(), 2U);
  ExpectModifier(modifiers[0]);
  EXPECT_EQ(modifiers[1].applicationName, "");
}

TEST(ModifierList, WithACountThatNoBlockCouldHold_TakesNoMemoryForIt) {
  Block block = BlockOf(tevtest::EncodeModifiers({Modifier()}, 0xFFFFFFFFU));
  std::vector<ModifierInfo> modifiers;
  EXPECT_EQ(FailureOf([&] { CopyFromBlock(block, modifiers); }), tevtest::kNotEnoughBytes);
  EXPECT_EQ(modifiers.size(), 2U);
}

}  // namespace
}  // namespace LbtTev
