#include <gtest/gtest.h>

#include <stdexcept>

#include "Lbt/Log/Formatter.h"

namespace {

using Lbt::Util::LogRecord;

std::string Line(const char* file, unsigned long line, const std::string& message) {
  LogRecord record(LogRecord::kError, file, line, "Method");
  record.AppendToMessage(message.c_str());
  Lbt::Log::DefaultFormatter formatter;
  return formatter(record);
}

TEST(DefaultFormatter, Record_IsBaseNameLineAndMessage) {
  EXPECT_EQ(Line("include/Lbt/Tev/Tree", 729, "model.tev is not a Tev file"),
            "Tree : 729 @ model.tev is not a Tev file\n");
}

TEST(DefaultFormatter, BaseName_BeginsAfterTheLastSeparatorOfEitherKind) {
  EXPECT_EQ(Line("a/b\\c.h", 1, "x"), "c.h : 1 @ x\n");
  EXPECT_EQ(Line("a\\b/c.h", 1, "x"), "c.h : 1 @ x\n");
  EXPECT_EQ(Line("/c", 1, "x"), "c : 1 @ x\n");
  EXPECT_EQ(Line("a/", 1, "x"), " : 1 @ x\n");
}

TEST(DefaultFormatter, LineAndMessage_AreWrittenWhole) {
  EXPECT_EQ(Line("a/b", 18446744073709551615UL, std::string(5120, 'm')),
            "b : 18446744073709551615 @ " + std::string(5120, 'm') + "\n");
  EXPECT_EQ(Line("a/b", 0, ""), "b : 0 @ \n");
}

TEST(DefaultFormatter, FileWithoutASeparator_IsOutOfRange) {
  EXPECT_THROW(static_cast<void>(Line("main.cpp", 1, "x")), std::out_of_range);
  EXPECT_THROW(static_cast<void>(Line("", 1, "x")), std::out_of_range);
}

}  // namespace
