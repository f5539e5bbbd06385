// tev on a terminal: the width of text, and the line that tells how far a run is.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <sstream>
#include <thread>

#include "run/TevRun.h"
#include "support/SmallModel.h"
#include "support/Terminal.h"

namespace tevtest {
namespace {

class TevTerminal : public TevRun {
 protected:
  /// What comes to a terminal that standard error is; standard output goes elsewhere.
  [[nodiscard]] std::string OnTerminal(const std::vector<std::string>& arguments,
                                       unsigned short columns = 80) const {
    const Terminal terminal;
    terminal.SetColumns(columns);
    RunOptions options;
    options.error = Redirect::ToDescriptor(terminal.Slave());
    static_cast<void>(Run(arguments, options));
    return terminal.Written();
  }

  /// The answer as it comes to a terminal that standard output is.
  [[nodiscard]] std::vector<std::string> LinesOn(const std::vector<std::string>& arguments,
                                                 unsigned short columns) const {
    const Terminal terminal;
    terminal.SetColumns(columns);
    const RunResult run = Run(arguments, {.output = Redirect::ToDescriptor(terminal.Slave())});
    EXPECT_EQ(run.error, "");
    return LinesOf(terminal.Written());
  }

  static std::vector<std::string> LinesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
      lines.push_back(line.substr(0, line.find('\r')));
    }
    return lines;
  }
};

TEST_F(TevTerminal, Lines_AreCutToItsWidthAndOnlyThere) {
  constexpr unsigned short kColumns = 30;
  Write("a.tev", SmallModel());
  for (const char* verb : {"list", "tree", "results"}) {
    const std::vector<std::string> whole = LinesOf(Answer({verb, "a.tev"}));
    const std::vector<std::string> cut = LinesOn({verb, "a.tev"}, kColumns);
    ASSERT_EQ(cut.size(), whole.size()) << verb;
    bool isAnyCut = false;
    for (std::size_t i = 0; i < cut.size(); ++i) {
      EXPECT_LE(cut[i].size(), kColumns + 2 * 2 * 3U) << "lines of trees have three bytes";
      EXPECT_TRUE(whole[i].starts_with(cut[i])) << cut[i];
      isAnyCut = isAnyCut || cut[i] != whole[i];
    }
    EXPECT_TRUE(isAnyCut) << verb;
    EXPECT_EQ(LinesOn({verb, "a.tev"}, 500), whole);
  }
}

TEST_F(TevTerminal, MarkOfAModelThatIsIncomplete_IsLeftByTheCut) {
  Write("a-model-with-a-name-of-some-length.tev", SmallModel());
  const std::string bytes = SmallModel().Build();
  dir.Write("cut.tev", bytes.substr(0, bytes.size() - 1));
  const Terminal terminal;
  terminal.SetColumns(80);
  const RunResult run = Run({"list", "a-model-with-a-name-of-some-length.tev", "cut.tev"},
                            {.output = Redirect::ToDescriptor(terminal.Slave())});
  EXPECT_EQ(run.status, 2);
  const std::vector<std::string> lines = LinesOf(terminal.Written());
  ASSERT_GE(lines.size(), 3U);
  EXPECT_EQ(lines[1].find("INCOMPLETE"), std::string::npos) << lines[1];
  EXPECT_TRUE(lines[2].starts_with("cut.tev " + std::string(32, ' ') + "INCOMPLETE: Transient  "))
      << lines[2];
}

TEST_F(TevTerminal, FormsForScripts_AreNeverCut) {
  Write("a.tev", SmallModel());
  for (const char* form : {"--csv", "--jsonl", "--json"}) {
    EXPECT_EQ(LinesOn({"list", form, "a.tev"}, 20), LinesOf(Answer({"list", form, "a.tev"})));
  }
}

TEST_F(TevTerminal, ProgressThatIsWanted_ShowsOneLineThatIsClearedAtTheEnd) {
  Write("a.tev", SmallModel());
  const std::string shown = OnTerminal({"blocks", "--progress", "a.tev", "a.tev"});
  EXPECT_TRUE(shown.starts_with("\r\x1b[K0 of 2 files done, at work on a.tev\r\r\x1b[K")) << shown;
  EXPECT_TRUE(shown.ends_with("\r\r\x1b[K")) << shown;
}

TEST_F(TevTerminal, FailureOnATerminal_StandsOnALineOfItsOwn) {
  EXPECT_TRUE(OnTerminal({"blocks", "--progress", "x", "y"})
                  .starts_with("\r\x1b[K0 of 2 files done, at work on x\r\r\x1b[K"
                               "tev: x: cannot open: No such file or directory\r\n"));
}

TEST_F(TevTerminal, NarrowTerminal_CutsTheLine) {
  Write("a.tev", SmallModel());
  const std::string written = OnTerminal({"blocks", "--progress", "a.tev", "a.tev"}, 21);
  EXPECT_TRUE(written.starts_with("\r\x1b[K0 of 2 files done, a\r\r\x1b[K")) << written;
}

TEST_F(TevTerminal, ProgressThatIsNotWanted_IsNotShown) {
  Write("a.tev", SmallModel());
  EXPECT_EQ(OnTerminal({"blocks", "--no-progress", "a.tev", "a.tev"}), "");
}

#ifdef FAULT_PRELOAD

// Each look at the clock takes a second, so that nothing depends on how fast the machine is.
TEST_F(TevTerminal, OneFileOfMoreThanASecond_TellsItsBlocksWithoutBeingAsked) {
  Write("a.tev", SmallModel());
  for (const char* verb : {"info", "check", "list", "tree"}) {
    const Terminal terminal;
    terminal.SetColumns(80);
    static_cast<void>(Run(
        {verb, "a.tev"}, {.environment = {{"LD_PRELOAD", FAULT_PRELOAD}, {"TEVTEST_FAULT", "slow"}},
                          .output = Redirect::Null(),
                          .error = Redirect::ToDescriptor(terminal.Slave())}));
    const std::string written = terminal.Written();
    for (const char* blocks : {"0 of 6", "1 of 6", "5 of 6"}) {
      EXPECT_NE(written.find("\r\x1b[K0 of 1 file done, at work on a.tev (" + std::string(blocks) +
                             " blocks)\r"),
                std::string::npos)
          << verb << written;
    }
  }
}

#endif

/// Runs a list of names that does not end before "isEnough" says so, or a minute has passed.
class EndlessList : public TevTerminal {
 protected:
  void Feed(const std::string& output, const Terminal& terminal) const {
    Write("a.tev", SmallModel());
    const std::string tev = TEV_PROGRAM;
    std::string script = "i=0; while [ $i -lt 600 ] && [ ! -e stop ]; do printf 'a.tev\\0'; ";
    script += "sleep 0.1; i=$((i+1)); done | " + tev + " list --csv --files0-from - " + output;
    const RunResult run = RunProgram(
        {"/bin/sh", "-c", script},
        {.workingDirectory = dir.Path(), .error = Redirect::ToDescriptor(terminal.Slave())});
    EXPECT_EQ(run.status, 0);
  }
};

TEST_F(EndlessList, RunOfMoreThanASecond_TellsHowFarItIsWithoutBeingAsked) {
  const Terminal terminal;
  std::string written;
  std::atomic<bool> isOver = false;
  std::thread watcher([&] {
    while (written.empty() && !isOver) {
      written = terminal.Written();
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    dir.Write("stop", "");
  });
  Feed("> out", terminal);
  isOver = true;
  watcher.join();
  EXPECT_TRUE(written.starts_with("\r\x1b[K")) << written;
  EXPECT_NE(written.find(" files done, at work on a.tev"), std::string::npos) << written;
}

}  // namespace
}  // namespace tevtest
