// Runs the examples of the README, so that they stay true.

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "support/Mask.h"
#include "support/Process.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;

/// A command of the README with the lines that stand under it.
struct Example {
  std::string command;
  std::vector<std::string> output;
};

std::vector<std::string> LinesOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

/// The commands of all "console" blocks, each after "$ ".
std::vector<Example> ExamplesOf(const std::string& readme) {
  std::vector<Example> examples;
  bool isInBlock = false;
  for (const std::string& line : LinesOf(readme)) {
    if (line.starts_with("```")) {
      isInBlock = line == "```console";
    } else if (isInBlock && line.starts_with("$ ")) {
      examples.push_back({line.substr(2), {}});
    } else if (isInBlock && !examples.empty()) {
      examples.back().output.push_back(line);
    }
  }
  return examples;
}

/// Whether "printed" is what the README shows, where a line "…" stands for any lines.
bool Matches(const std::vector<std::string>& shown, std::size_t i,
             const std::vector<std::string>& printed, std::size_t j) {
  if (i == shown.size()) {
    return j == printed.size();
  }
  if (shown[i] == "…") {
    for (; j <= printed.size(); ++j) {
      if (Matches(shown, i + 1, printed, j)) {
        return true;
      }
    }
    return false;
  }
  return j < printed.size() && shown[i] == printed[j] && Matches(shown, i + 1, printed, j + 1);
}

/// What a user has whose log goes to the default directory.
std::string WithDefaultLog(std::string text, const std::string& directory) {
  const std::string own = "\"" + directory + "/TevInfo_trace.log\"";
  if (const std::size_t at = text.find(own); at != std::string::npos) {
    text.replace(at, own.size(), "\"/tmp/TevInfo_trace.log\"");
  }
  return tevtest::MaskPeakMemory(text);
}

TEST(Readme, EveryExample_PrintsWhatItShows) {
  const tevtest::TempDir scratch;
  fs::create_directory_symlink(TEVINFO_EXAMPLES_DIR, scratch / "examples");
  const std::string programs = fs::path(TEVINFO_PROGRAM).parent_path().string();
  const auto examples =
      ExamplesOf(tevtest::ReadFile(std::string(TEVINFO_SOURCE_DIR) + "/README.md"));
  ASSERT_GE(examples.size(), 6U) << "the README shows both programs";
  for (const Example& example : examples) {
    const tevtest::RunResult result =
        tevtest::RunProgram({"/bin/sh", "-c", "exec 2>&1; " + example.command},
                            {.environment = {{"PATH", programs + ":/usr/bin:/bin"},
                                             {"QUARLO_TEMP_PATH", scratch.Path().string()}},
                             .workingDirectory = scratch.Path()});
    std::string shown;
    for (const std::string& line : example.output) {
      shown += line + '\n';
    }
    const std::string printed = WithDefaultLog(result.output, scratch.Path().string());
    EXPECT_TRUE(Matches(LinesOf(tevtest::MaskPeakMemory(shown)), 0, LinesOf(printed), 0))
        << example.command << " prints\n"
        << printed << "and the README shows\n"
        << shown;
  }
}

TEST(Readme, Comparison_SeesALineThatDiffers) {
  EXPECT_TRUE(Matches({"a", "…", "c"}, 0, {"a", "b", "b", "c"}, 0));
  EXPECT_FALSE(Matches({"a", "…", "c"}, 0, {"a", "b", "b", "d"}, 0));
  EXPECT_FALSE(Matches({"a"}, 0, {"a", "b"}, 0));
  EXPECT_FALSE(Matches({"a", "b"}, 0, {"a"}, 0));
}

}  // namespace
