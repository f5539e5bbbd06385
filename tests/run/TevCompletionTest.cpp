// The completion of tev in bash, zsh and fish, by running it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

#include "run/TevRun.h"
#include "support/SmallModel.h"
#include "support/Terminal.h"

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

constexpr const char* kBash = R"(source "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
COMP_LINE="$*"; COMP_POINT=${#COMP_LINE}; _tev tev "${@: -1}"
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
  for (const char* verb :
       {"list", "info", "tree", "results", "values", "diff", "sets", "check", "blocks", "block",
        "cdf", "export", "view", "scan", "merge", "find", "summary", "query", "help"}) {
    EXPECT_TRUE(found.contains(verb)) << verb;
    EXPECT_EQ(Complete({"tev", "help", ""}).contains(verb), true) << verb;
  }
}

TEST_P(TevCompletion, Options_AreThoseOfTheVerb) {
  const std::vector<std::pair<const char*, const char*>> options{
      {"list", "--csv"},      {"info", "--stats"}, {"tree", "--storage"}, {"results", "--part"},
      {"values", "--format"}, {"diff", "--rtol"},  {"sets", "--jsonl"},   {"check", "--all"},
      {"blocks", "--json"},   {"block", "--raw"},  {"cdf", "--output"},   {"export", "--cells"},
      {"scan", "--shard"},    {"find", "--above"}, {"summary", "--csv"},  {"query", "--jsonl"},
      {"view", "--colours"},  {"view", "--range"}};
  const std::set<std::string> lists{"list", "info", "tree", "results", "check", "blocks", "scan"};
  for (const auto& [verb, option] : options) {
    const std::set<std::string> found = Complete({"tev", verb, "--"});
    EXPECT_TRUE(found.contains(option)) << verb;
    EXPECT_TRUE(found.contains("--help")) << verb;
    EXPECT_EQ(found.contains("--raw"), std::string(verb) == "block") << verb;
    EXPECT_EQ(found.contains("--files0-from"), lists.contains(verb)) << verb;
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

TEST_P(TevCompletion, NamesOfFind_AreThoseInTheCatalogue) {
  using Set = std::set<std::string>;
  EXPECT_EQ(Run({"scan", "small.tev", "--catalogue", "a.db"}).status, 0);
  EXPECT_EQ(Complete({"tev", "find", "a.db", "--result", ""}),
            (Set{"Displacement", "Temperature"}));
  EXPECT_EQ(Complete({"tev", "find", "a.db", "--category", ""}), Set{"Transient"});
  EXPECT_EQ(Complete({"tev", "find", "a.db", "--above", ""}), Set{});
}

TEST_P(TevCompletion, Models_AreFiles) {
  for (const char* verb : {"info", "cdf", "values", "sets"}) {
    EXPECT_TRUE(Complete({"tev", verb, ""}).contains("small.tev")) << verb;
  }
}

/// A model with names that bash takes apart.
ModelWriter ModelWithOddNames() {
  ModelWriter model;
  const NodeRef root = model.AddGroup("model", 0);
  const NodeRef group = model.AddGroup("Geometry", root);
  for (const char* name : {"Level = 304", "Level = 310", "Body: left", "a@b"}) {
    const NodeRef mesh = model.AddGeometry(name, model.AddShape(name, group));
    for (const char* step : {"0.5", "1.25"}) {
      model.AddVariable(mesh, Variable::Floats(std::string("Stress: top\x1eTime = ") + step,
                                               kScalarResult, 1, {1}));
    }
  }
  model.AddNodeSets("Sets", root, {{"x=1", {}}, {"x=2:up", {}}, {"y", {}}});
  return model;
}

/// Leaves the terminal that the tests may run on: an interactive shell looks for it otherwise.
void LeaveTerminal() {
  const int terminal = open("/dev/tty", O_RDWR | O_CLOEXEC);
  if (terminal >= 0) {
    ioctl(terminal, TIOCNOTTY);
    close(terminal);
  }
}

class TevInBash : public TevRun {
 protected:
  /// What becomes of a line when the tabulator is pressed after "tev " and these keys, without
  /// "tev ". All keys are there before the shell asks for them.
  [[nodiscard]] Words Completed(const Words& lines) const {
    const std::string file = std::string(TEVINFO_SOURCE_DIR) + "/completions/tev.bash";
    dir.Write("rc", "PATH='" + std::filesystem::path(TEV_PROGRAM).parent_path().string() +
                        ":'$PATH; source '" + file + R"('; show() {
  printf '%s\n' "${READLINE_LINE#tev }" >> lines; READLINE_LINE=; READLINE_POINT=0; }
bind -x '"\C-t": show')");
    const Terminal terminal;
    std::string keys;
    for (const std::string& line : lines) {
      keys += "tev " + line + "\t\x14";
    }
    terminal.Type(keys + "exit\r");
    static_cast<void>(RunProgram(
        {"bash", "--noprofile", "--rcfile", "rc", "-i"},
        {.environment = {{"HOME", dir.Path().string()}, {"INPUTRC", "/dev/null"}, {"TERM", "dumb"}},
         .workingDirectory = dir.Path(),
         .input = Redirect::ToDescriptor(terminal.Slave()),
         .output = Redirect::Null(),
         .error = Redirect::ToDescriptor(terminal.Slave()),
         .hooks = {LeaveTerminal}}));
    std::istringstream shown(dir.Has("lines") ? dir.Read("lines") : terminal.Written());
    Words completed;
    for (std::string line; std::getline(shown, line);) {
      completed.push_back(line);
    }
    return completed;
  }

  /// Expects what each of the keys becomes.
  void ExpectCompleted(const std::vector<std::pair<std::string, std::string>>& lines) const {
    Words typed;
    Words wanted;
    for (const auto& [from, to] : lines) {
      typed.push_back(from);
      wanted.push_back(to);
    }
    EXPECT_EQ(Completed(typed), wanted);
  }

  void SetUp() override { Write("m.tev", ModelWithOddNames()); }
};

TEST_F(TevInBash, NamesThatBashTakesApart_AreCompletedFromEveryPlace) {
  ExpectCompleted({{R"(results m.tev --step T)", R"(results m.tev --step Time\ =\ )"},
                   {R"(results m.tev --step Time\ =)", R"(results m.tev --step Time\ =\ )"},
                   {R"(results m.tev --step Time\ =\ 1)", R"(results m.tev --step Time\ =\ 1.25 )"},
                   {R"(results m.tev --step=Time\ =\ 0)", R"(results m.tev --step=Time\ =\ 0.5 )"},
                   {R"(diff m.tev --part Level\ =\ 31)", R"(diff m.tev --part Level\ =\ 310 )"},
                   {R"(values m.tev --part Body:)", R"(values m.tev --part Body:\ left )"},
                   {R"(values m.tev --part a@)", R"(values m.tev --part a@b )"},
                   {R"(values m.tev --result S)", R"(values m.tev --result Stress:\ top )"},
                   {R"(sets m.tev x=2)", R"(sets m.tev x=2:up )"},
                   {R"(sets m.tev x=2:)", R"(sets m.tev x=2:up )"},
                   {R"(cdf m.tev Level\ =\ 30)", R"(cdf m.tev Level\ =\ 304 )"}});
}

TEST_F(TevInBash, QuotedNames_AreCompletedWithinTheQuotes) {
  ExpectCompleted({{R"(results m.tev --step "Time = 1)", R"(results m.tev --step "Time = 1.25" )"},
                   {R"(results m.tev --part 'Body:)", R"(results m.tev --part 'Body: left' )"}});
}

TEST_F(TevInBash, CursorWithinAName_LeavesWhatFollows) {
  const std::string back = "\x1b[D";
  ExpectCompleted(
      {{R"(results m.tev --part Body:x)" + back, R"(results m.tev --part Body:\ leftx)"},
       {R"(results --step Time\ =\ 1 m.tev)" + back + back + back + back + back + back,
        R"(results --step Time\ =\ 1.25 m.tev)"}});
}

TEST_F(TevInBash, ModelsThatBashTakesApart_AreCompletedAndRead) {
  Write("run=1:b.tev", ModelWithOddNames());
  ExpectCompleted({{"info run=", "info run=1\\:b.tev "},
                   {"info run=1:", "info run=1:b.tev "},
                   {"sets run=1:b.tev y", "sets run=1:b.tev y "},
                   {"list -o run=1", "list -o run=1\\:b.tev "},
                   {"list --output=run=1:", "list --output=run=1:b.tev "}});
}

INSTANTIATE_TEST_SUITE_P(Shells, TevCompletion,
                         testing::Values(Shell{"bash", "tev.bash", kBash},
                                         Shell{"zsh", "_tev", kZsh},
                                         Shell{"fish", "tev.fish", kFish}),
                         [](const auto& shell) { return std::string(shell.param.name); });

}  // namespace
}  // namespace tevtest
