// The answers of "tev list", and how folders are walked.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <sstream>

#include "run/TevRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

class TevList : public TevRun {
 protected:
  const std::string bytes = SmallModel().Build();
};

constexpr const char* kCsvHeading =
    "file,failure,complete,bytes,title,category,nodes,elements,partCount,resultCount,"
    "stepRange.count,stepRange.label,stepRange.first,stepRange.last\n";

std::string CsvRow(const std::string& path, std::size_t size) {
  return path + ",,true," + std::to_string(size) +
         ",\"Frame, transient heating\",Transient,10,3,2,2,1,Time,0.5,0.5\n";
}

TEST_F(TevList, Text_HasARowForEachModelAndTheSums) {
  dir.Write("a.tev", bytes);
  std::ostringstream size;
  size << static_cast<float>(bytes.size()) / 1024 << " KB";
  std::ostringstream both;
  both << static_cast<float>(2 * bytes.size()) / 1024 << " KB";
  const std::string row = "a.tev  Transient     10         3      2  1 Time 0.5  " + size.str() +
                          "  Frame, transient heating\n";
  EXPECT_EQ(Answer({"list", "a.tev", "a.tev"}),
            "File   Category   Nodes  Elements  Parts  Steps       " +
                std::string(size.str().size() - 4, ' ') + "Size  Title\n" + row + row +
                "\n2 files: 20 nodes, 6 elements, 4 parts, " + both.str() + "\n");
}

TEST_F(TevList, Csv_HasTheKeysAsItsHeadingAndFailuresInPlace) {
  dir.Write("a,\"b\".tev", bytes);
  dir.Write("c.tev", bytes);
  const RunResult run = Run({"list", "--csv", "a,\"b\".tev", "x", "c.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, kCsvHeading + CsvRow("\"a,\"\"b\"\".tev\"", bytes.size()) +
                            "x,not-found,false,,,,,,,,,,,\n" + CsvRow("c.tev", bytes.size()));
}

TEST_F(TevList, BytesThatAreNoUtf8_AreReplacedInCsvAsInJson) {
  dir.Write("a\xff.tev", bytes);
  EXPECT_EQ(Answer({"list", "--csv", "a\xff.tev"}),
            kCsvHeading + CsvRow("a\xef\xbf\xbd.tev", bytes.size()));
  EXPECT_NE(Answer({"list", "--jsonl", "a\xff.tev"}).find("\"file\": \"a\xef\xbf\xbd.tev\""),
            std::string::npos);
}

/// A model of nothing but these counts.
ModelWriter Counting(double nodes, double elements) {
  ModelWriter model;
  model.AddGroup("root", 0,
                 {Attribute::Double("Number of Nodes in the Model", nodes),
                  Attribute::Double("Number of Elements in the Model", elements)});
  return model;
}

TEST_F(TevList, CountsThatAreNotFinite_HaveTheirSpellingAndSpoilNoSum) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  Write("a.tev", Counting(std::copysign(kNan, -1), kInfinity));
  Write("b.tev", Counting(kNan, -kInfinity));
  Write("c.tev", Counting(100000, -0.0));
  Write("d.tev", Counting(1, 0.5));
  const std::string csv = Answer({"list", "--csv", "a.tev", "b.tev", "c.tev", "d.tev"});
  for (const char* counts : {",nan,inf,", ",nan,-inf,", ",100000,-0,", ",1,0.5,"}) {
    EXPECT_NE(csv.find(counts), std::string::npos) << counts << csv;
  }
  const std::string text = Answer({"list", "a.tev", "b.tev", "c.tev", "d.tev"});
  EXPECT_NE(text.find("\n4 files: 100001 nodes, 0.5 elements, 0 parts, "), std::string::npos)
      << text;
  EXPECT_EQ(text.find("-nan"), std::string::npos) << text;
  const std::string one = Answer({"list", "d.tev"});
  EXPECT_NE(one.find("\n1 file: 1 node, 0.5 elements, 0 parts, "), std::string::npos) << one;
  EXPECT_NE(Answer({"list", "--jsonl", "c.tev"}).find("\"elements\": -0.0,"), std::string::npos);
}

TEST_F(TevList, Json_HasTheRangeOfTheSteps) {
  dir.Write("a.tev", bytes);
  const std::string answer = Answer({"list", "--jsonl", "a.tev"});
  EXPECT_EQ(
      answer,
      "{\"format\": \"tev.list/1\", \"file\": \"a.tev\", \"failure\": null, \"complete\": true, "
      "\"missing\": [], \"bytes\": " +
          std::to_string(bytes.size()) +
          ", \"title\": \"Frame, transient heating\", \"category\": \"Transient\", \"nodes\": "
          "10, \"elements\": 3, \"partCount\": 2, \"resultCount\": 2, \"stepRange\": "
          "{\"count\": 1, \"label\": \"Time\", \"first\": 0.5, \"last\": 0.5}}\n");
  EXPECT_EQ(Check(answer, "lines", Schema("list")), "");
}

TEST_F(TevList, StepsOfTwoLabels_HaveNoRange) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("mesh", model.AddShape("part", model.AddGroup("g", 0)));
  model.AddVariable(mesh, Variable::Floats("R\x1eTime = 1", kScalarResult, 1, {1}));
  model.AddVariable(mesh, Variable::Floats("R\x1eMode = 2", kScalarResult, 1, {1}));
  Write("a.tev", model);
  EXPECT_NE(
      Answer({"list", "--jsonl", "a.tev"})
          .find("\"stepRange\": {\"count\": 2, \"label\": null, \"first\": null, \"last\": null}"),
      std::string::npos);
}

TEST_F(TevList, Examples_FitTheSchema) {
  const std::string answer = Answer({"list", "--json", TEVINFO_EXAMPLES_DIR});
  EXPECT_EQ(Check(answer, "schema", Schema("list")), "");
  EXPECT_NE(answer.find("\"last\": 10\n"), std::string::npos);
}

TEST_F(TevList, Folder_GivesItsModelsInTheOrderOfNamesWhateverTheyAreCalled) {
  for (const char* folder : {"d", "d/b", "d/b/deep"}) {
    dir.MakeDirectory(folder);
  }
  for (const char* name : {"d/z", "d/b/deep/.hidden", "d/B.txt", "d/a.tev"}) {
    dir.Write(name, bytes);
  }
  dir.Write("d/text.tev", "no model");
  dir.Write("d/empty.tev", "");
  dir.Write("d/cut.tev", bytes.substr(0, 7));
  fs::create_symlink("../z", dir / "d/b/link");
  fs::create_directory_symlink("b", dir / "d/c");
  ASSERT_EQ(mkfifo((dir / "d/pipe").c_str(), 0600), 0);
  EXPECT_EQ(Answer({"list", "--csv", "d"}),
            kCsvHeading + CsvRow("d/B.txt", bytes.size()) + CsvRow("d/a.tev", bytes.size()) +
                CsvRow("d/b/deep/.hidden", bytes.size()) + CsvRow("d/b/link", bytes.size()) +
                CsvRow("d/z", bytes.size()));
  EXPECT_EQ(Answer({"list", "--csv", "d/b/deep/"}),
            kCsvHeading + CsvRow("d/b/deep/.hidden", bytes.size()));
}

TEST_F(TevList, LinkToNothingInAFolder_IsAFailureInItsPlace) {
  dir.MakeDirectory("d");
  dir.Write("d/a", bytes);
  dir.Write("d/z", bytes);
  fs::create_symlink("nowhere", dir / "d/gone");
  fs::create_symlink("ring", dir / "d/ring");
  const RunResult run = Run({"list", "--csv", "d"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error,
            "tev: d/gone: cannot open: No such file or directory\n"
            "tev: d/ring: cannot open: Too many levels of symbolic links\n");
  EXPECT_EQ(run.output,
            kCsvHeading + CsvRow("d/a", bytes.size()) +
                "d/gone,not-found,false,,,,,,,,,,,\nd/ring,not-found,false,,,,,,,,,,,\n" +
                CsvRow("d/z", bytes.size()));
}

/// Makes folders of this name below "folder", each in the one before, and a model in each.
void MakeDeepFolders(const std::string& folder, const std::string& name, std::size_t depth,
                     const std::string& bytes) {
  int at = open(folder.c_str(), O_RDONLY | O_DIRECTORY);
  for (std::size_t i = 0; i < depth; ++i) {
    ASSERT_EQ(mkdirat(at, name.c_str(), 0755), 0);
    const int below = openat(at, name.c_str(), O_RDONLY | O_DIRECTORY);
    close(at);
    at = below;
    const int model = openat(at, "z", O_WRONLY | O_CREAT, 0644);
    EXPECT_EQ(write(model, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(model);
  }
  close(at);
}

TEST_F(TevList, FolderDeeperThanAPathMayBeLong_IsWalkedToItsEnd) {
  constexpr std::size_t kDepth = 50;
  const std::string name(200, 'd');
  dir.MakeDirectory("d");
  MakeDeepFolders(dir / "d", name, kDepth, bytes);
  std::string expected = kCsvHeading;
  for (std::size_t depth = kDepth; depth > 0; --depth) {
    std::string path = "d";
    for (std::size_t i = 0; i < depth; ++i) {
      path += "/" + name;
    }
    expected += CsvRow(path + "/z", bytes.size());
  }
  EXPECT_EQ(Answer({"list", "--csv", "d"}), expected);
}

TEST_F(TevList, FolderWithoutAModel_SaysSoAndIsNoFailure) {
  dir.MakeDirectory("d");
  dir.MakeDirectory("d/e");
  dir.Write("d/e/text", "no model");
  dir.Write("a.tev", bytes);
  const RunResult run = Run({"list", "--csv", "d", "a.tev"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.error, "tev: d/: there is no Tev file in this folder\n");
  EXPECT_EQ(run.output, kCsvHeading + CsvRow("a.tev", bytes.size()));
  dir.Write("d/e/model", bytes);
  EXPECT_EQ(Answer({"list", "--csv", "d"}), kCsvHeading + CsvRow("d/e/model", bytes.size()));
}

TEST_F(TevList, NamedFilesThatAreNoModels_AlwaysGetAnAnswer) {
  dir.Write("text", "no model");
  ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0600), 0);
  const RunResult run = Run({"list", "--csv", "text", "pipe", "x"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, std::string(kCsvHeading) +
                            "text,not-a-model,false,,,,,,,,,,,\n"
                            "pipe,not-a-file,false,,,,,,,,,,,\n"
                            "x,not-found,false,,,,,,,,,,,\n");
}

TEST_F(TevList, FilesAndFoldersThatCannotBeRead_AreFailuresInPlace) {
  dir.OpenToAll(false);
  for (const char* folder : {"d", "d/closed"}) {
    dir.MakeDirectory(folder);
    fs::permissions(dir / folder, fs::perms(0755));
  }
  dir.Write("d/a", bytes);
  dir.Write("d/b", "anything");
  dir.Write("d/z", bytes);
  fs::permissions(dir / "d/b", fs::perms::none);
  fs::permissions(dir / "d/closed", fs::perms::none);
  const RunResult run = Run({"list", "--csv", "d"}, {.hooks = {RunAsUnprivileged}});
  fs::permissions(dir / "d/closed", fs::perms(0755));
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error,
            "tev: d/b: cannot open: Permission denied\n"
            "tev: d/closed: cannot list: Permission denied\n");
  EXPECT_EQ(run.output, kCsvHeading + CsvRow("d/a", bytes.size()) +
                            "d/b,permission-denied,false,,,,,,,,,,,\n"
                            "d/closed,permission-denied,false,,,,,,,,,,,\n" +
                            CsvRow("d/z", bytes.size()));
}

TEST_F(TevList, NamesFromAList_AreTakenAfterTheArguments) {
  dir.Write("a", bytes);
  dir.Write("b\n", bytes);
  dir.Write("names", std::string("b\n\0x\0a", 6));
  const RunResult run = Run({"list", "--jsonl", "--files0-from", "names", "a"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: x: cannot open: No such file or directory\n");
  std::istringstream lines(run.output);
  std::vector<std::string> starts;
  for (std::string line; std::getline(lines, line);) {
    starts.push_back(line.substr(0, line.find(", \"failure\"")));
  }
  const std::string start = "{\"format\": \"tev.list/1\", \"file\": ";
  EXPECT_EQ(starts, (std::vector<std::string>{start + "\"a\"", start + "\"b\\n\"", start + "\"x\"",
                                              start + "\"a\""}));
  EXPECT_EQ(
      Run({"list", "--jsonl", "--files0-from", "-", "a"}, {.input = Redirect::To(dir / "names")})
          .output,
      run.output);
}

TEST_F(TevList, ListOfNamesThatCannotBeOpened_IsAnError) {
  const RunResult run = Run({"list", "--files0-from", "none"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: none: cannot open: No such file or directory\n");
}

TEST_F(TevList, EmptyName_IsAFailureInItsPlace) {
  dir.Write("a", bytes);
  dir.Write("names", std::string("\0a\0", 3));
  const RunResult run = Run({"list", "--csv", "--files0-from", "names"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: : the name is empty\n");
  EXPECT_EQ(run.output,
            std::string(kCsvHeading) + ",not-found,false,,,,,,,,,,,\n" + CsvRow("a", bytes.size()));
}

TEST_F(TevList, DescriptorThatCannotBeOpenedAgain_IsReadAllTheSame) {
  dir.OpenToAll(false);
  dir.Write("a", bytes);
  dir.Write("names", std::string("-\0a\0", 4));
  fs::permissions(dir / "a", fs::perms(0600));
  fs::permissions(dir / "names", fs::perms(0600));
  const RunResult model = Run({"list", "--csv", "-", "-"},
                              {.input = Redirect::To(dir / "a"), .hooks = {RunAsUnprivileged}});
  EXPECT_EQ(model.error, "");
  EXPECT_EQ(model.output, kCsvHeading + CsvRow("-", bytes.size()) + CsvRow("-", bytes.size()));
  const RunResult list = Run({"list", "--csv", "--files0-from", "/dev/fd/0"},
                             {.input = Redirect::To(dir / "names"), .hooks = {RunAsUnprivileged}});
  EXPECT_EQ(list.status, 2);
  EXPECT_EQ(list.error,
            "tev: -: is the list of names\n"
            "tev: a: cannot open: Permission denied\n");
}

TEST_F(TevList, PipeThatIsNamedTwice_IsAnsweredTwice) {
  dir.Write("a", bytes);
  const std::string tev = TEV_PROGRAM;
  const RunResult run = RunProgram({"/bin/sh", "-c", "cat a | " + tev + " list --csv - -"},
                                   {.workingDirectory = dir.Path()});
  EXPECT_EQ(run.output, kCsvHeading + CsvRow("-", bytes.size()) + CsvRow("-", bytes.size()));
}

TEST_F(TevList, TwoPipesInTurn_AreAnsweredAsOftenAsTheyAreNamed) {
  dir.Write("a", bytes);
  dir.Write("b", Counting(3, 2).Build());
  const RunResult run = RunProgram(
      {"bash", "-c",
       R"("$0" list --csv /dev/fd/8 /dev/fd/9 /dev/fd/8 /dev/fd/7 8< <(cat a) 9< <(cat b) 7<&9)",
       TEV_PROGRAM},
      {.workingDirectory = dir.Path()});
  EXPECT_EQ(run.error, "");
  const std::string b =
      std::string(",,true,") + std::to_string(dir.Read("b").size()) + ",,Unknown,3,2,0,0,0,,,\n";
  EXPECT_EQ(run.output, kCsvHeading + CsvRow("/dev/fd/8", bytes.size()) + "/dev/fd/9" + b +
                            CsvRow("/dev/fd/8", bytes.size()) + "/dev/fd/7" + b);
}

/// A run of which a list of names, "a", "-" and "a", comes through a pipe on standard input.
class TevListFromAPipe : public TevList {
 protected:
  [[nodiscard]] RunResult ListFromPipe(const std::string& arguments) const {
    dir.Write("a", bytes);
    dir.Write("names", std::string("a\0-\0a\0", 6));
    return RunProgram({"sh", "-c", "cat names | \"$0\" list --csv " + arguments, TEV_PROGRAM},
                      {.workingDirectory = dir.Path()});
  }
};

TEST_F(TevListFromAPipe, ThePipeAsAnArgument_IsBadUsage) {
  for (const std::string list : {"-", "/dev/stdin", "/dev/fd/0"}) {
    for (const std::string path : {"-", "/dev/stdin", "/dev/fd/0", "/proc/self/fd/0"}) {
      const RunResult run = ListFromPipe("a " + path + " --files0-from " + list);
      EXPECT_EQ(run.status, 1);
      EXPECT_EQ(run.output, "");
      EXPECT_EQ(
          run.error,
          "tev: " + path + ": is the list of names, so it can be no model (see tev list --help)\n");
    }
  }
}

TEST_F(TevListFromAPipe, ThePipeInTheList_IsAFailureInItsPlaceAndNoNameIsLost) {
  for (const std::string list : {"-", "/dev/stdin", "/dev/fd/0"}) {
    const RunResult run = ListFromPipe("--files0-from " + list);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.error, "tev: -: is the list of names\n");
    EXPECT_EQ(run.output, kCsvHeading + CsvRow("a", bytes.size()) +
                              "-,not-a-model,false,,,,,,,,,,,\n" + CsvRow("a", bytes.size()));
  }
}

TEST_F(TevListFromAPipe, StandardInputApartFromTheList_IsAModel) {
  const RunResult run = ListFromPipe("- --files0-from /dev/fd/5 5<names <a");
  EXPECT_EQ(run.status, 0) << run.error;
  EXPECT_EQ(run.output, kCsvHeading + CsvRow("-", bytes.size()) + CsvRow("a", bytes.size()) +
                            CsvRow("-", bytes.size()) + CsvRow("a", bytes.size()));
}

TEST_F(TevList, ModelFromAPipe_IsAnsweredAsAFile) {
  dir.Write("a", bytes);
  const std::string tev = TEV_PROGRAM;
  for (const std::string path : {"-", "/dev/stdin", "/dev/fd/0"}) {
    const RunResult run = RunProgram({"/bin/sh", "-c", "cat a | " + tev + " list --csv " + path},
                                     {.workingDirectory = dir.Path()});
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_EQ(run.output, kCsvHeading + CsvRow(path, bytes.size()));
  }
}

TEST_F(TevList, OutputFile_IsWrittenAndNeverAModel) {
  dir.Write("a", bytes);
  EXPECT_EQ(Answer({"list", "--csv", "a", "-o", "out"}), "");
  EXPECT_EQ(dir.Read("out"), kCsvHeading + CsvRow("a", bytes.size()));
  EXPECT_EQ(Answer({"list", "--csv", "a", "-o", "-"}), dir.Read("out"));
  dir.Write("other", bytes);
  for (const std::string output : {"a", "other"}) {
    const RunResult run = Run({"list", "a", "-o", output});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(dir.Read(output), bytes);
  }
}

TEST_F(TevList, OutputThatIsTheListOfNames_IsRefused) {
  dir.Write("a", bytes);
  const std::string names("a\0", 2);
  dir.Write("names", names);
  const RunResult run = Run({"list", "--files0-from", "names", "-o", "names"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: names: names is this file\n");
  EXPECT_EQ(dir.Read("names"), names);
}

TEST_F(TevList, OutputThatStandardInputComesFrom_IsRefused) {
  dir.Write("a", bytes);
  const std::string names("a\0", 2);
  dir.Write("names", names);
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"list", "--files0-from", "-", "-o", "names"},
        {"list", "-", "-o", "names"},
        {"check", "-", "-o", "names"}}) {
    const RunResult run = Run(arguments, {.input = Redirect::To(dir / "names")});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.error, "tev: -: names is this file\n");
    EXPECT_EQ(dir.Read("names"), names);
  }
  EXPECT_EQ(
      Run({"list", "--files0-from", "-", "-o", "/dev/null"}, {.input = Redirect::Null()}).error,
      "");
}

TEST_F(TevList, StandardOutputThatAppends_IsNeverEmptied) {
  dir.Write("a", bytes);
  dir.Write("log", "before\n");
  const std::string tev = TEV_PROGRAM;
  const RunResult run = RunProgram({"/bin/sh", "-c", tev + " list --csv a -o /dev/stdout >>log"},
                                   {.workingDirectory = dir.Path()});
  EXPECT_EQ(run.status, 0) << run.error;
  EXPECT_EQ(dir.Read("log"), std::string("before\n") + kCsvHeading + CsvRow("a", bytes.size()));
}

}  // namespace
}  // namespace tevtest
