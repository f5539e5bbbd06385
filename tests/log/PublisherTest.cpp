#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "Lbt/Log/Publisher.h"
#include "support/TempDir.h"

namespace {

using Lbt::Log::FilePublisher;
using Lbt::Log::Publisher;
using tevtest::TempDir;

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
