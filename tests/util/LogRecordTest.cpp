// Records of the log.

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <type_traits>

#include "Lbt/Util/LogRecord.h"

namespace {

using Lbt::Util::LogRecord;

// Filled where memory is short: nothing of a record may lie outside of it.
static_assert(std::is_trivially_copyable_v<LogRecord>);
static_assert(sizeof(LogRecord) >= 5120);

LogRecord EmptyRecord() { return {LogRecord::kProgress, "a/b", 12}; }

TEST(LogRecord, Levels_AreFixed) {
  EXPECT_EQ(LogRecord::kProgress, 1000);
  EXPECT_EQ(LogRecord::kError, 2000);
}

TEST(LogRecord, New_IsEmptyAndKnowsItsPlaceAndTime) {
  const std::time_t before = std::time(nullptr);
  const LogRecord record(1500, "a/b", 18446744073709551615UL, "Load");
  const std::time_t after = std::time(nullptr);
  EXPECT_EQ(record.level, 1500);
  EXPECT_STREQ(record.message, "");
  EXPECT_STREQ(record.file, "a/b");
  EXPECT_EQ(record.line, 18446744073709551615UL);
  EXPECT_STREQ(record.method, "Load");
  EXPECT_GE(record.time, before);
  EXPECT_LE(record.time, after);
}

TEST(LogRecord, New_WithoutAMethod_SaysUnknown) { EXPECT_STREQ(EmptyRecord().method, "<unknown>"); }

TEST(LogRecord, AppendToMessage_JoinsTexts) {
  LogRecord record = EmptyRecord();
  record.AppendToMessage("one");
  record.AppendToMessage("");
  record.AppendToMessage(", two");
  EXPECT_STREQ(record.message, "one, two");
  EXPECT_EQ(record.Message(), "one, two");
}

TEST(LogRecord, AppendToMessage_WhatDoesNotFit_IsCutAt5120Characters) {
  LogRecord record = EmptyRecord();
  record.AppendToMessage(std::string(5118, 'a').c_str());
  record.AppendToMessage("bcd");
  EXPECT_EQ(record.Message(), std::string(5118, 'a') + "bc");
}

TEST(LogRecord, AppendToMessage_WhatFillsTheMessage_FitsWhole) {
  LogRecord record = EmptyRecord();
  record.AppendToMessage(std::string(5120, 'a').c_str());
  EXPECT_EQ(record.Message(), std::string(5120, 'a'));
}

TEST(LogRecord, AppendToMessage_ToAFullMessage_AddsNothing) {
  LogRecord record = EmptyRecord();
  record.AppendToMessage(std::string(6000, 'a').c_str());
  record.AppendToMessage("b");
  EXPECT_EQ(record.Message(), std::string(5120, 'a'));
  EXPECT_STREQ(record.file, "a/b") << "the field after the message";
  EXPECT_EQ(record.line, 12U);
}

}  // namespace
