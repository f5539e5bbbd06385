// The command line of tev: help, version, usage errors.

#include <gtest/gtest.h>

#include "run/TevRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

using TevUsage = TevRun;

void ExpectBadUsage(const RunResult& run, const std::string& line) {
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.error, line);
}

TEST_F(TevUsage, NoArguments_IsBadUsageInOneLine) {
  ExpectBadUsage(Run({}), "tev: a verb is missing (see tev --help)\n");
}

TEST_F(TevUsage, UnknownSubcommand_IsNamed) {
  ExpectBadUsage(Run({"fo\x1bo", "x"}), "tev: there is no verb \"fo\\x1bo\" (see tev --help)\n");
}

TEST_F(TevUsage, NoModel_IsBadUsageOfEachSubcommand) {
  for (const std::string command : {"blocks", "tree", "info", "check"}) {
    ExpectBadUsage(Run({command}), "tev: PATH is required (see tev " + command + " --help)\n");
  }
  for (const std::string command : {"cdf", "sets", "block"}) {
    ExpectBadUsage(Run({command}), "tev: MODEL is required (see tev " + command + " --help)\n");
  }
}

TEST_F(TevUsage, VerbThatIsMisspelt_BringsTheNearestOne) {
  ExpectBadUsage(Run({"inof"}),
                 "tev: there is no verb \"inof\", did you mean \"info\"? (see tev --help)\n");
  ExpectBadUsage(Run({"help", "blok"}),
                 "tev: there is no verb \"blok\", did you mean \"block\"? (see tev --help)\n");
}

TEST_F(TevUsage, VerbByItsStartOrInCapitals_BringsTheNearestOne) {
  ExpectBadUsage(Run({"res"}),
                 "tev: there is no verb \"res\", did you mean \"results\"? (see tev --help)\n");
  ExpectBadUsage(Run({"INFO"}),
                 "tev: there is no verb \"INFO\", did you mean \"info\"? (see tev --help)\n");
}

TEST_F(TevUsage, HelpOnHelp_IsTheHelpOfTheProgram) {
  for (const char* help : {"help", "--help", "-h"}) {
    EXPECT_EQ(Answer({"help", help}), Answer({"help"})) << help;
  }
}

TEST_F(TevUsage, HelpWithAnArgumentMore_IsBadUsage) {
  ExpectBadUsage(Run({"help", "info", "extra"}),
                 "tev: The following argument was not expected: extra (see tev --help)\n");
  EXPECT_EQ(Answer({"help", "info", "--help"}), Answer({"help", "info"}));
  EXPECT_EQ(Answer({"help", "-V"}), Answer({"-V"}));
  EXPECT_EQ(Answer({"help", "--version"}), Answer({"-V"}));
}

TEST_F(TevUsage, ValueOfAFlag_IsBadUsage) {
  Write("a.tev", SmallModel());
  for (const std::string flag : {"--json", "--csv", "--progress", "--no-progress"}) {
    ExpectBadUsage(Run({"list", flag + "=false", "a.tev"}),
                   "tev: " + flag + ": takes no value (see tev list --help)\n");
  }
  for (const std::string verb : {"tree", "check"}) {
    ExpectBadUsage(Run({verb, "--verbose=2", "a.tev"}),
                   "tev: --verbose: takes no value (see tev " + verb + " --help)\n");
  }
  EXPECT_EQ(Answer({"tree", "-v", "--verbose", "a.tev"}), Answer({"tree", "-v", "a.tev"}));
}

TEST_F(TevUsage, OptionWithoutItsValue_IsToldAsTheHelpCallsIt) {
  ExpectBadUsage(Run({"info", "a.tev", "--output"}),
                 "tev: --output: 1 required FILE missing (see tev info --help)\n");
  ExpectBadUsage(Run({"tree", "a.tev", "--depth"}),
                 "tev: --depth: 1 required N missing (see tev tree --help)\n");
}

TEST_F(TevUsage, NumberThatIsTooLarge_IsBadUsage) {
  Write("a.tev", SmallModel());
  for (const std::string number : {"18446744073709551616", "99999999999999999999999"}) {
    ExpectBadUsage(Run({"block", "a.tev", number}),
                   "tev: NUMBER: \"" + number + "\" is too large (see tev block --help)\n");
  }
  ExpectBadUsage(Run({"block", "a.tev", "18446744073709551615"}),
                 "tev: a.tev: there is no block 18446744073709551615; there are 6, from 0 on\n");
}

TEST_F(TevUsage, HelpVerb_IsTheHelpOfTheVerb) {
  for (const char* verb : {"list", "info", "tree", "sets", "check", "blocks", "block", "cdf"}) {
    const std::string help = Answer({"help", verb});
    EXPECT_EQ(help, Answer({verb, "--help"}));
    EXPECT_NE(help.find("Example"), std::string::npos) << help;
    EXPECT_EQ(help.find("Excludes"), std::string::npos) << help;
    EXPECT_EQ(help.find(" REQUIRED"), std::string::npos) << help;
  }
}

TEST_F(TevUsage, UnknownOption_IsBadUsageAndNothingIsDone) {
  Write("a.tev", SmallModel());
  ExpectBadUsage(
      Run({"blocks", "--jsno", "a.tev"}),
      "tev: The following argument was not expected: --jsno, did you mean \"--json\"? (see "
      "tev blocks --help)\n");
  ExpectBadUsage(Run({"list", "a.tev", "--files0=x"}),
                 "tev: The following argument was not expected: --files0=x, did you mean "
                 "\"--files0-from\"? (see tev list --help)\n");
  ExpectBadUsage(Run({"list", "--zzz", "a.tev"}),
                 "tev: The following argument was not expected: --zzz (see tev list --help)\n");
}

TEST_F(TevUsage, DepthThatIsNoWholeNumber_IsBadUsage) {
  for (const std::string depth : {"-1", "1.5", "two"}) {
    ExpectBadUsage(Run({"tree", "--depth", depth, "a.tev"}),
                   "tev: --depth: \"" + depth + "\" is no whole number (see tev tree --help)\n");
  }
}

TEST_F(TevUsage, TwoForms_AreBadUsage) {
  Write("a.tev", SmallModel());
  ExpectBadUsage(Run({"list", "--json", "--csv", "a.tev"}),
                 "tev: --json excludes --csv (see tev list --help)\n");
  ExpectBadUsage(Run({"list", "--csv", "--jsonl", "a.tev"}),
                 "tev: --jsonl excludes --csv (see tev list --help)\n");
  ExpectBadUsage(Run({"info", "--jsonl", "--json", "a.tev"}),
                 "tev: --json excludes --jsonl (see tev info --help)\n");
  EXPECT_EQ(Run({"info", "--json", "--json", "a.tev"}).status, 0);
}

TEST_F(TevUsage, CdfWithAFourthArgument_IsBadUsage) {
  ExpectBadUsage(Run({"cdf", "a.tev", "mesh", "out", "more"}),
                 "tev: The following argument was not expected: more (see tev cdf --help)\n");
}

TEST_F(TevUsage, Help_ListsTheSubcommands) {
  const std::string help = Answer({"--help"});
  for (const char* command : {"\n  cdf ", "\n  info ", "\n  blocks ", "\n  tree "}) {
    EXPECT_NE(help.find(command), std::string::npos) << help;
  }
}

TEST_F(TevUsage, HelpOfASubcommand_ShowsHowToCallIt) {
  EXPECT_NE(Answer({"blocks", "--help"}).find("Usage: tev blocks [OPTIONS] PATH...\n"),
            std::string::npos);
  EXPECT_NE(Answer({"info", "--help"}).find("Usage: tev info [OPTIONS] PATH...\n"),
            std::string::npos);
  EXPECT_NE(Answer({"tree", "--help"}).find("--storage"), std::string::npos);
  EXPECT_NE(Answer({"cdf", "--help"}).find("Usage: tev cdf [OPTIONS] MODEL GEOMETRY [OUTPUT]\n"),
            std::string::npos);
}

/// The version in the one place that has it.
std::string ProjectVersion() {
  const std::string text = ReadFile(std::string(TEVINFO_SOURCE_DIR) + "/CMakeLists.txt");
  const std::string start = "\nproject(TevInfo VERSION ";
  const std::size_t from = text.find(start) + start.size();
  return text.substr(from, text.find(' ', from) - from);
}

TEST_F(TevUsage, Version_IsTheProjectsEverywhere) {
  const std::string version = Answer({"--version"});
  EXPECT_EQ(version, "tev " + ProjectVersion() + "\n");
  for (const char* command : {"blocks", "tree", "info", "cdf"}) {
    EXPECT_EQ(Answer({command, "--version"}), version);
  }
}

TEST_F(TevUsage, NamesOfFiles_AreTakenAsTheyAre) {
  // As a list in brackets, as names of verbs, and after the end of the options.
  for (const std::string name : {"[a,b]", "[x]", "blocks", "info", "--json", "++", "%%", "{}"}) {
    Write(name, SmallModel());
    EXPECT_TRUE(Answer({"blocks", "--", name}).starts_with(name + "\n")) << name;
  }
}

TEST_F(TevUsage, AnyRun_WritesNoTraceLogAndAnnouncesNone) {
  Write("a.tev", SmallModel());
  const std::string log = dir.MakeDirectory("log");
  RunOptions options;
  options.environment = {{"QUARLO_TEMP_PATH", log}};
  for (const char* command : {"blocks", "tree", "info"}) {
    EXPECT_EQ(Run({command, "a.tev"}, options).error, "");
  }
  EXPECT_FALSE(dir.Has("log/TevInfo_trace.log"));
}

TEST_F(TevUsage, FullDisk_IsAWriteErrorWithStatus2) {
  Write("a.tev", SmallModel());
  RunOptions options;
  options.output = Redirect::To("/dev/full");
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"info", "a.tev"}, {"blocks", "--json", "a.tev"}, {"--help"}}) {
    const RunResult run = Run(arguments, options);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.error,
              "tev: standard output: cannot write the answer: No space left on device\n");
  }
}

TEST_F(TevUsage, ClosedStandardOutput_IsAWriteErrorAndNoModelIsHarmed) {
  const std::string bytes = SmallModel().Build();
  dir.Write("a.tev", bytes);
  RunOptions options;
  options.output = Redirect{Redirect::Kind::Closed};
  const RunResult run = Run({"info", "a.tev"}, options);
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: standard output: cannot write the answer: Bad file descriptor\n");
  EXPECT_EQ(dir.Read("a.tev"), bytes);
}

}  // namespace
}  // namespace tevtest
