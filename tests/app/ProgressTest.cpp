// When the line that tells how far a run is shows, and what it says.

#include <gtest/gtest.h>

#include "support/Process.h"
#include "support/SmallModel.h"
#include "support/TempDir.h"
#include "support/Terminal.h"
#include "tev/OpenedModel.h"
#include "tev/Progress.h"

namespace {

using namespace std::chrono_literals;
using tevtest::Redirect;
using Time = std::chrono::steady_clock::time_point;

/// What "body" has shown on a terminal; "output" is where standard output goes.
std::string ShownBy(const std::function<void()>& body, const Redirect& output = Redirect::Null()) {
  const tevtest::Terminal terminal;
  terminal.SetColumns(80);
  const auto run = tevtest::RunForked(
      [&body] {
        body();
        return 0;
      },
      {.output = output, .error = Redirect::ToDescriptor(terminal.Slave())});
  EXPECT_EQ(run.status, 0);
  return terminal.Written();
}

/// Two files, of which the second is at work from 999 to 1,050 milliseconds on.
void ShowOverOneSecond(Progress::Mode mode) {
  Time now;
  Progress progress(mode, [&now] { return now; });
  progress.Show(0, 2, "a");
  now += 999ms;
  progress.Show(1, 2, "b");
  now += 1ms;
  progress.ShowBlocks(2, 3);
  now += 50ms;
  progress.ShowBlocks(3, 3);
}

constexpr const char* kErase = "\r\x1b[K";

TEST(Progress, BeforeASecond_NothingIsShown) {
  EXPECT_EQ(ShownBy([] { ShowOverOneSecond(Progress::Mode::Auto); }),
            kErase + std::string("1 of 2 files done, at work on b (2 of 3 blocks)\r") + kErase);
}

TEST(Progress, WhenAskedFor_ItIsShownAtOnceAndEveryTenthOfASecond) {
  EXPECT_EQ(ShownBy([] { ShowOverOneSecond(Progress::Mode::Always); }),
            kErase + std::string("0 of 2 files done, at work on a\r") + kErase +
                "1 of 2 files done, at work on b\r" + kErase);
}

TEST(Progress, OutputThatIsAPipe_HasNoneUnlessAskedFor) {
  EXPECT_EQ(ShownBy([] { ShowOverOneSecond(Progress::Mode::Auto); }, Redirect()), "");
  EXPECT_NE(ShownBy([] { ShowOverOneSecond(Progress::Mode::Always); }, Redirect()), "");
}

TEST(Progress, ErrorsThatGoToNoTerminal_HaveNoneUnlessAskedFor) {
  for (const auto mode : {Progress::Mode::Auto, Progress::Mode::Never, Progress::Mode::Always}) {
    const auto run = tevtest::RunForked(
        [mode] {
          ShowOverOneSecond(mode);
          return 0;
        },
        {.output = Redirect::Null()});
    EXPECT_EQ(run.error.empty(), mode != Progress::Mode::Always);
  }
}

TEST(Progress, NotWanted_IsNeverShown) {
  EXPECT_EQ(ShownBy([] { ShowOverOneSecond(Progress::Mode::Never); }), "");
}

TEST(Progress, HeldLine_ComesBackWithTheNextFile) {
  EXPECT_EQ(ShownBy([] {
              Time now;
              Progress progress(Progress::Mode::Always, [&now] { return now += 1s; });
              progress.Hold();
              progress.ShowBlocks(1, 3);
              progress.Show(0, 1, "a");
            }),
            kErase + std::string("0 of 1 file done, at work on a\r") + kErase);
}

TEST(Progress, OneFile_IsToldBlockByBlock) {
  const tevtest::TempDir dir;
  const std::string path = dir.Write("a.tev", tevtest::SmallModel().Build());
  const std::string shown = ShownBy([&path] {
    Time now;
    Progress progress(Progress::Mode::Always, [&now] { return now += 1s; });
    progress.Show(0, 1, "a.tev");
    AnswerOutput output;
    AnswerWriter writer({.verb = "info"}, output, progress);
    writer.BeginFile(path);
    WithModel({path, path, std::nullopt}, writer, [](const LbtTev::Tree&) {});
  });
  // Blocks 0 to 5 are read; the node sets are in the last one.
  EXPECT_TRUE(shown.starts_with(kErase + std::string("0 of 1 file done, at work on a.tev\r") +
                                kErase + "0 of 1 file done, at work on a.tev (0 of 6 blocks)\r"))
      << shown;
  EXPECT_NE(shown.find("a.tev (5 of 6 blocks)\r"), std::string::npos) << shown;
}

}  // namespace
