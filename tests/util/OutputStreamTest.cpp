// Output in large pieces, and its failures.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <string>

#include "Lbt/Util/FileAccess.h"
#include "Lbt/Util/OutputStream.h"
#include "support/Process.h"
#include "support/TempDir.h"
#include "util/OpenFile.h"

namespace {

using Lbt::Util::DescriptorStream;
using Ownership = Lbt::Util::DescriptorStream::Ownership;
using tevtest::IsOpen;
using tevtest::OpenFile;
using tevtest::TempDir;

int NewFile(const std::string& path) {
  return open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
}

/// Text in which no two places look alike.
std::string Text(std::size_t size, unsigned int seed = 1) {
  std::string text(size, '\0');
  for (char& c : text) {
    seed = seed * 1664525U + 1013904223U;
    c = static_cast<char>('!' + (seed >> 24U) % 94U);
  }
  return text;
}

class OutputStream : public testing::Test {
 protected:
  [[nodiscard]] std::string Written() const { return directory_.Read("out"); }

  TempDir directory_;
  const int descriptor_ = NewFile(directory_ / "out");
};

TEST_F(OutputStream, SmallTexts_AreHandedOnInOnePiece) {
  DescriptorStream stream(descriptor_, Ownership::Owned);
  stream << "a" << 12 << ' ' << 0.5 << '\n';
  EXPECT_EQ(Written(), "");
  EXPECT_TRUE(stream.Finish());
  EXPECT_EQ(Written(), "a12 0.5\n");
}

TEST_F(OutputStream, Flush_HandsOnWhatIsBuffered) {
  DescriptorStream stream(descriptor_, Ownership::Owned);
  stream << "one" << std::flush;
  EXPECT_EQ(Written(), "one");
  stream << "two" << std::endl;
  EXPECT_EQ(Written(), "onetwo\n");
}

TEST_F(OutputStream, SmallAndLargeTextsInTurn_KeepTheirOrder) {
  constexpr std::size_t kSizes[] = {0,     1,     65534, 3,      65535, 1,    65536, 2,
                                    65537, 40000, 40000, 200000, 7,     5000, 131072};
  DescriptorStream stream(descriptor_, Ownership::Owned);
  std::string expected;
  unsigned int seed = 0;
  for (const std::size_t size : kSizes) {
    const std::string text = Text(size, ++seed);
    stream << text;
    stream.put('|');
    expected += text + "|";
  }
  EXPECT_TRUE(stream.Finish());
  EXPECT_TRUE(Written() == expected);
}

TEST_F(OutputStream, ManySmallTexts_ArriveWhole) {
  DescriptorStream stream(descriptor_, Ownership::Owned);
  std::string expected;
  for (int i = 0; i < 50000; ++i) {
    stream << i << ' ';
    expected += std::to_string(i) + ' ';
  }
  EXPECT_TRUE(stream.Finish());
  EXPECT_TRUE(Written() == expected);
}

TEST_F(OutputStream, SingleCharacters_ArriveWhole) {
  const std::string text = Text(200001);
  DescriptorStream stream(descriptor_, Ownership::Owned);
  for (const char c : text) {
    stream.put(c);
  }
  EXPECT_TRUE(stream.Finish());
  EXPECT_TRUE(Written() == text);
}

TEST_F(OutputStream, LargeTextFirst_IsWrittenAtOnce) {
  const std::string text = Text(1000000);
  DescriptorStream stream(descriptor_, Ownership::Owned);
  stream << text;
  EXPECT_TRUE(Written() == text);
  EXPECT_TRUE(stream.Finish());
}

TEST_F(OutputStream, Owned_IsClosedByFinish) {
  DescriptorStream stream(descriptor_, Ownership::Owned);
  EXPECT_TRUE(stream.Finish());
  EXPECT_FALSE(IsOpen(descriptor_));
  EXPECT_TRUE(stream.Finish()) << "a second time";
}

TEST_F(OutputStream, Destructor_WritesWhatIsBufferedAndClosesOwned) {
  { DescriptorStream(descriptor_, Ownership::Owned) << "text"; }
  EXPECT_FALSE(IsOpen(descriptor_));
  EXPECT_EQ(Written(), "text");
}

TEST_F(OutputStream, Borrowed_StaysOpen) {
  {
    DescriptorStream stream(descriptor_, Ownership::Borrowed);
    stream << "one";
    EXPECT_TRUE(stream.Finish());
    stream << "two";
  }
  EXPECT_TRUE(IsOpen(descriptor_));
  EXPECT_EQ(Written(), "onetwo");
  close(descriptor_);
}

TEST_F(OutputStream, DescriptorThatCannotBeClosed_IsNotFinished) {
  DescriptorStream stream(descriptor_, Ownership::Owned);
  close(descriptor_);
  EXPECT_FALSE(stream.Finish());
}

TEST(OutputStreamFailure, FullDevice_SmallText_ShowsWhenItIsHandedOn) {
  DescriptorStream stream(open("/dev/full", O_WRONLY), Ownership::Owned);
  stream << "x";
  EXPECT_TRUE(stream.good());
  EXPECT_FALSE(stream.Finish());
  EXPECT_FALSE(stream.Finish()) << "a second time";
}

TEST(OutputStreamFailure, FullDevice_FlushAndLargeText_FailAtOnce) {
  DescriptorStream flushed(open("/dev/full", O_WRONLY), Ownership::Owned);
  flushed << "x" << std::flush;
  EXPECT_TRUE(flushed.bad());
  DescriptorStream large(open("/dev/full", O_WRONLY), Ownership::Owned);
  large << Text(100000);
  EXPECT_TRUE(large.bad());
  EXPECT_FALSE(large.Finish());
}

TEST(OutputStreamFailure, FullDevice_ManySmallTexts_FailOnceTheBufferIsFull) {
  DescriptorStream stream(open("/dev/full", O_WRONLY), Ownership::Owned);
  for (int i = 0; i < 100000; ++i) {
    stream << "text";
  }
  EXPECT_TRUE(stream.bad());
  EXPECT_FALSE(stream.Finish());
}

TEST(OutputStreamFailure, NoDescriptor_LosesTextAndSaysSo) {
  DescriptorStream unused(-1, Ownership::Owned);
  EXPECT_TRUE(unused.Finish()) << "nothing was lost";
  DescriptorStream used(-1, Ownership::Owned);
  used << "x";
  EXPECT_FALSE(used.Finish());
}

/// Sets how large files may become; beyond that, writes fail and are no longer signalled.
void LimitFileSize(rlim_t size) {
  signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = size;
  setrlimit(RLIMIT_FSIZE, &limit);
}

/// Fails a write part-way, makes room, clears the stream and writes again. Ends with one bit for
/// each answer that is not as it should be.
int WriteAfterFailure(int descriptor) {
  LimitFileSize(100000);
  DescriptorStream stream(descriptor, Ownership::Borrowed);
  stream << Text(150000);
  const bool failed = stream.bad();
  LimitFileSize(RLIM_INFINITY);
  stream.clear();
  stream << "small" << Text(150000);
  stream.clear();
  stream << "small";
  return (failed ? 0 : 1) + (stream.Finish() ? 2 : 0);
}

TEST_F(OutputStream, FailedWrite_NothingIsWrittenAfterIt) {
  const auto result = tevtest::RunForked([this] { return WriteAfterFailure(descriptor_); });
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(Written() == Text(150000).substr(0, 100000));
  close(descriptor_);
}

volatile sig_atomic_t interruptions = 0;

/// Has a signal interrupt system calls all the time, without restarting them.
void InterruptWrites() {
  struct sigaction action {};
  action.sa_handler = [](int) { interruptions = interruptions + 1; };
  sigaction(SIGALRM, &action, nullptr);
  const itimerval often{{0, 100}, {0, 100}};
  setitimer(ITIMER_REAL, &often, nullptr);
}

// A pipe of one page has the writer wait all the time, so that some of its writes are cut short and
// some are interrupted before their first byte.
TEST(OutputStreamInterrupted, ShortAndInterruptedWrites_AreContinued) {
  const std::string text = Text(8000000);
  const auto result = tevtest::RunForked([&text] {
    const bool isSmall = fcntl(STDOUT_FILENO, F_SETPIPE_SZ, 4096) > 0;
    InterruptWrites();
    DescriptorStream stream(STDOUT_FILENO, Ownership::Borrowed);
    stream << text.substr(0, 100) << text.substr(100);
    return stream.Finish() && isSmall && interruptions > 0 ? 0 : 1;
  });
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(result.output == text) << result.output.size() << " bytes";
}

// Whoever shares the pipe may have set it so. Of one page, it is full nearly all the time.
TEST(OutputStreamThatWouldBlock, WholeText_IsWaitedFor) {
  const std::string text = Text(3000000);
  const auto result = tevtest::RunForked([&text] {
    const bool isSmall = fcntl(STDOUT_FILENO, F_SETPIPE_SZ, 4096) > 0;
    const bool isSet = fcntl(STDOUT_FILENO, F_SETFL, O_NONBLOCK) == 0;
    DescriptorStream stream(STDOUT_FILENO, Ownership::Borrowed);
    stream << text.substr(0, 100) << text.substr(100);
    return stream.Finish() && isSmall && isSet ? 0 : 1;
  });
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(result.output == text) << result.output.size() << " bytes";
}

TEST(OutputStreamThatWouldBlock, PipeWithoutAReader_IsAFailure) {
  const auto result = tevtest::RunForked([] {
    int ends[2];
    if (pipe2(ends, O_NONBLOCK) != 0) {
      return 2;
    }
    signal(SIGPIPE, SIG_IGN);
    close(ends[0]);
    DescriptorStream stream(ends[1], Ownership::Owned);
    stream << Text(1000000);
    return stream.Finish() ? 1 : 0;
  });
  EXPECT_EQ(result.status, 0);
}

TEST(OutputStreamFailure, LimitOfFileSizes_IsAFailureAndNoSignal) {
  const TempDir directory;
  const std::string path = directory / "out";
  const auto result = tevtest::RunForked(
      [&path] {
        Lbt::Util::IgnoreFileSizeSignal();
        DescriptorStream stream(NewFile(path), Ownership::Owned);
        stream << Text(100);
        return stream.Finish() ? 1 : 0;
      },
      {.hooks = {tevtest::Limit(RLIMIT_FSIZE, 10)}});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(directory.Read("out"), Text(10));
}

TEST(OutputStreamFailure, BrokenPipe_EndsTheProcessByItsSignal) {
  const auto result = tevtest::RunForked(
      [] {
        DescriptorStream stream(STDOUT_FILENO, Ownership::Borrowed);
        stream << "text";
        return stream.Finish() ? 0 : 1;
      },
      {.output = tevtest::Redirect::BrokenPipe()});
  EXPECT_EQ(result.signal, SIGPIPE);
}

}  // namespace
