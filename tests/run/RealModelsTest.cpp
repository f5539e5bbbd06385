// Reports on models of real size, byte for byte. Their entries were written down with the models,
// by a program that shares no code with this one.

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "run/TevInfoRun.h"

namespace tevtest {
namespace {

constexpr std::string_view kNativeHeading = "# entries of the default report, in order\n";
constexpr std::string_view kEkmHeading = "# entries of the other report form, in order\n";

std::string ExamplePath(const std::string& name) {
  return std::string(TEVINFO_EXAMPLES_DIR) + "/" + name;
}

struct Entries {
  std::string native;
  std::string ekm;
};

/// Both lists of a model's "entries.txt".
Entries EntriesOf(const std::string& model) {
  const std::string text = ReadFile(ExamplePath(model + ".entries.txt"));
  const std::size_t second = text.find(kEkmHeading);
  if (!text.starts_with(kNativeHeading) || second == std::string::npos)
    throw std::runtime_error("entries of " + model + " have another form");
  return {text.substr(kNativeHeading.size(), second - kNativeHeading.size()),
          text.substr(second + kEkmHeading.size())};
}

class RealModels : public TevInfoRun, public ::testing::WithParamInterface<const char*> {
 protected:
  const std::string model = ExamplePath(std::string(GetParam()) + ".tev");
  const Entries entries = EntriesOf(GetParam());
};

TEST_P(RealModels, DefaultForm_IsPrintedAfterTheMemoryLine) {
  ExpectReport(Run({model}), NativeDocument(entries.native));
}

TEST_P(RealModels, DefaultFormWithAnOutputPath_GoesToThatFile) {
  ExpectReport(Run({model, "report.xml"}), "");
  EXPECT_EQ(dir.Read("report.xml"), NativeDocument(entries.native));
}

TEST_P(RealModels, EkmForm_GoesToItsOwnFile) {
  ExpectReport(Run({"--ekm-meta-data", model}), "");
  EXPECT_EQ(dir.Read("ekm-meta-data.xml"), EkmDocument(entries.ekm));
}

TEST_P(RealModels, Log_ShowsTheIndexTheLinksAndTheClosing) {
  const std::string expected =
      std::string(kIndexLog) + std::string(kLinksLog) + std::string(kClosingLog);
  EXPECT_EQ(Run({model}).log, expected);
  EXPECT_EQ(Run({"--ekm-meta-data", model}).log, expected);
}

TEST_P(RealModels, DataExtraction_TakesThePlaceOfTheDocument) {
  const Outcome outcome = Run({"--extract-data", model});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.error, Notice());
  EXPECT_TRUE(outcome.output.starts_with(kMemoryLine));
  EXPECT_EQ(outcome.output.find("metadata"), std::string::npos);
}

TEST_P(RealModels, ModelFile_IsLeftAsItIs) {
  const std::string copy = dir.Write("model.tev", ReadFile(model));
  const auto written = std::filesystem::last_write_time(copy);
  for (const char* option : {"--ekm-meta-data", "--extract-data", "--other"}) {
    EXPECT_EQ(Run({option, copy}).status, 0) << option;
  }
  EXPECT_EQ(dir.Read("model.tev"), ReadFile(model));
  EXPECT_EQ(std::filesystem::last_write_time(copy), written);
}

INSTANTIATE_TEST_SUITE_P(Examples, RealModels, ::testing::Values("bracket", "heatsink"),
                         [](const auto& example) { return std::string(example.param); });

}  // namespace
}  // namespace tevtest
