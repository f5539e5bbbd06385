// The completion of tev in bash, zsh and fish, by running it.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

#include "run/TevRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

using Words = std::vector<std::string>;

/// A shell: how it is called, and a script that completes the last of its arguments and writes
/// what it finds, one on each line. "files" stands for the names of files.
struct Shell {
  const char* name;
  const char* completion;
  const char* script;
};

constexpr const char* kBash = R"(source "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _tev
[[ ${#COMPREPLY[@]} == 0 ]] || printf '%s\n' "${COMPREPLY[@]}")";

// The shell's own functions stand for its editor, which needs a terminal.
constexpr const char* kZsh = R"(compadd() { shift; print -rl -- ${(P)1} }
_files() { print -rl -- *(N) }
words=("$@"); CURRENT=$#; source "$0")";

// In fish, the words are one text.
constexpr const char* kFish = R"(set -l line (string join -- ' ' (string escape -- $argv[2..-2]))
source $argv[1]; complete -C "$line $argv[-1]" | string replace -r '\t.*' '')";

class TevCompletion : public TevRun, public testing::WithParamInterface<Shell> {
 protected:
  void SetUp() override {
    const RunResult found =
        RunProgram({"/bin/sh", "-c", std::string("command -v ") + GetParam().name});
    if (found.status != 0) {
      GTEST_SKIP() << GetParam().name << " is not installed";
    }
    Write("small.tev", SmallModel());
  }

  [[nodiscard]] std::set<std::string> Complete(const Words& words) const {
    const std::string file =
        std::string(TEVINFO_SOURCE_DIR) + "/completions/" + GetParam().completion;
    const std::string shell = GetParam().name;
    Words command{shell};
    if (shell == "fish") {
      command.emplace_back("--no-config");
    } else if (shell == "zsh") {
      command.emplace_back("-f");
    }
    command.insert(command.end(), {"-c", GetParam().script, file});
    command.insert(command.end(), words.begin(), words.end());
    const std::string folder = std::filesystem::path(TEV_PROGRAM).parent_path();
    const RunResult run =
        RunProgram(command, {.environment = {{"PATH", folder + ":" + std::getenv("PATH")},
                                             {"HOME", dir.Path().string()}},
                             .workingDirectory = dir.Path()});
    EXPECT_EQ(run.error, "");
    std::istringstream lines(run.output);
    std::set<std::string> found;
    for (std::string line; std::getline(lines, line);) {
      // bash quotes what it puts on the command line.
      std::erase(line, '\\');
      found.insert(line);
    }
    return found;
  }
};

TEST_P(TevCompletion, Verbs_AreThoseOfTheHelp) {
  const std::set<std::string> found = Complete({"tev", ""});
  for (const char* verb : {"list", "info", "tree", "results", "values", "diff", "sets", "check",
                           "blocks", "block", "cdf", "help"}) {
    EXPECT_TRUE(found.contains(verb)) << verb;
    EXPECT_EQ(Complete({"tev", "help", ""}).contains(verb), true) << verb;
  }
}

TEST_P(TevCompletion, Options_AreThoseOfTheVerb) {
  const std::vector<std::pair<const char*, const char*>> options{
      {"list", "--csv"},      {"info", "--stats"}, {"tree", "--storage"}, {"results", "--part"},
      {"values", "--format"}, {"diff", "--rtol"},  {"sets", "--jsonl"},   {"check", "--all"},
      {"blocks", "--json"},   {"block", "--raw"},  {"cdf", "--output"}};
  for (const auto& [verb, option] : options) {
    const std::set<std::string> found = Complete({"tev", verb, "--"});
    EXPECT_TRUE(found.contains(option)) << verb;
    EXPECT_TRUE(found.contains("--help")) << verb;
    EXPECT_EQ(found.contains("--raw"), std::string(verb) == "block") << verb;
  }
}

TEST_P(TevCompletion, Names_AreThoseInTheModel) {
  using Set = std::set<std::string>;
  EXPECT_EQ(Complete({"tev", "cdf", "small.tev", ""}), (Set{"mesh 1", "mesh 2"}));
  EXPECT_EQ(Complete({"tev", "sets", "small.tev", ""}), (Set{"Fixed", "Loaded"}));
  for (const char* verb : {"results", "values", "diff"}) {
    EXPECT_EQ(Complete({"tev", verb, "small.tev", "--part", ""}), (Set{"Frame", "Panel"}));
    EXPECT_EQ(Complete({"tev", verb, "small.tev", "--result", ""}),
              (Set{"Displacement", "Temperature"}));
    EXPECT_EQ(Complete({"tev", verb, "small.tev", "--part", "Frame", "--step", ""}),
              Set{"Time = 0.5"});
  }
  EXPECT_EQ(Complete({"tev", "values", "small.tev", "--format", ""}), (Set{"csv", "npy"}));
}

TEST_P(TevCompletion, Models_AreFiles) {
  for (const char* verb : {"info", "cdf", "values", "sets"}) {
    EXPECT_TRUE(Complete({"tev", verb, ""}).contains("small.tev")) << verb;
  }
}

INSTANTIATE_TEST_SUITE_P(Shells, TevCompletion,
                         testing::Values(Shell{"bash", "tev.bash", kBash},
                                         Shell{"zsh", "_tev", kZsh},
                                         Shell{"fish", "tev.fish", kFish}),
                         [](const auto& shell) { return std::string(shell.param.name); });

}  // namespace
}  // namespace tevtest
