// What a logger is made of: which records pass, how they read, and where their text goes.

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>

#include "Lbt/Log/Parts.h"
#include "support/TempDir.h"

namespace {

using Lbt::Log::FilePublisher;
using Lbt::Log::Publisher;
using Lbt::Util::LogRecord;
using tevtest::TempDir;

template <std::uint16_t N>
bool Passes(std::uint16_t level) {
  Lbt::Log::LevelFilter<N> filter;
  return filter(LogRecord(level, "a/b", 1));
}

TEST(LevelFilter, RecordBelowItsLevel_DoesNotPass) {
  EXPECT_FALSE(Passes<1000>(0));
  EXPECT_FALSE(Passes<1000>(999));
  EXPECT_FALSE(Passes<2000>(1000));
  EXPECT_FALSE(Passes<2000>(1999));
}

TEST(LevelFilter, RecordOfItsLevelOrAbove_Passes) {
  EXPECT_TRUE(Passes<1000>(1000));
  EXPECT_TRUE(Passes<1000>(2000));
  EXPECT_TRUE(Passes<2000>(2000));
  EXPECT_TRUE(Passes<2000>(65535));
}

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

void Publish(Publisher& publisher, const char* text) {
  publisher << text;
  publisher.flush();
}

TEST(NullPublisher, Text_GoesNowhere) {
  Lbt::Log::NullPublisher publisher;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  Publish(publisher, "text");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(StreamPublisher, Text_GoesToTheStream) {
  std::ostringstream stream;
  Lbt::Log::StreamPublisher publisher(stream);
  publisher << "one"
            << "two";
  EXPECT_EQ(stream.str(), "onetwo");
}

/// Counts how often it is flushed.
class CountingBuffer final : public std::stringbuf {
 public:
  int flushes = 0;

 private:
  int sync() override {
    ++flushes;
    return 0;
  }
};

TEST(StreamPublisher, Flush_FlushesTheStream) {
  CountingBuffer buffer;
  std::ostream stream(&buffer);
  Lbt::Log::StreamPublisher publisher(stream);
  publisher << "text";
  EXPECT_EQ(buffer.flushes, 0);
  publisher.flush();
  EXPECT_EQ(buffer.flushes, 1);
}

TEST(FilePublisher, New_CreatesItsFile) {
  const TempDir directory;
  const FilePublisher publisher(directory / "log");
  EXPECT_EQ(directory.Read("log"), "");
}

TEST(FilePublisher, EarlierFile_IsEmptiedAtTheStart) {
  const TempDir directory;
  FilePublisher publisher(directory.Write("log", "Tree : 1 @ the last run\n"));
  EXPECT_EQ(directory.Read("log"), "");
  Publish(publisher, "new\n");
  EXPECT_EQ(directory.Read("log"), "new\n");
}

TEST(FilePublisher, FlushedText_IsInTheFileAtOnce) {
  const TempDir directory;
  FilePublisher publisher(directory / "log");
  Publish(publisher, "one\n");
  EXPECT_EQ(directory.Read("log"), "one\n");
  Publish(publisher, "two\n");
  EXPECT_EQ(directory.Read("log"), "one\ntwo\n");
}

TEST(FilePublisher, Destructor_WritesWhatIsLeft) {
  const TempDir directory;
  { FilePublisher(directory / "log") << "text"; }
  EXPECT_EQ(directory.Read("log"), "text");
}

TEST(FilePublisher, FileThatCannotBeOpened_LosesTextSilently) {
  const TempDir directory;
  FilePublisher publisher(directory / "missing/log");
  testing::internal::CaptureStderr();
  EXPECT_NO_THROW(Publish(publisher, "one"));
  EXPECT_NO_THROW(Publish(publisher, "two"));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(directory.EntryCount(), 0U);
}

TEST(FilePublisher, LinkUnderItsName_LosesTextAndKeepsTheTarget) {
  const TempDir directory;
  directory.Write("precious", "text");
  std::filesystem::create_symlink("precious", directory / "soft");
  FilePublisher publisher(directory / "soft");
  EXPECT_NO_THROW(Publish(publisher, "record"));
  EXPECT_EQ(directory.Read("precious"), "text");
}

}  // namespace
