// Exports that fail, and the files that exports write.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "CdfModel.h"
#include "Lbt/Tev/TevInfo/Given.h"
#include "Lbt/Util/Exception.h"
#include "support/Mask.h"
#include "support/Process.h"

namespace tevtest {
namespace {

using LbtTev::Report::CdfPlace;
using LbtTev::Report::WriteCdf;

/// An export that fails, and what it has written until then.
struct FailingExport {
  const char* name;
  std::vector<Variable> variables;
  std::string written;  ///< after the headings
};

/// The name of a test case is that of its failure.
void PrintTo(const FailingExport& failing, std::ostream* stream) { *stream << failing.name; }

class CdfFailure : public ::testing::TestWithParam<FailingExport> {
 protected:
  const std::string expected = kHeadings + GetParam().written;
  LoadedModel model{ModelOf(GetParam().variables)};
};

TEST_P(CdfFailure, WriteCdf_ThrowsAfterWhatItWrote) {
  std::ostringstream stream;
  EXPECT_THROW(WriteCdf(model.tree, "mesh", stream), std::exception);
  EXPECT_EQ(stream.str(), expected);
}

TEST_P(CdfFailure, WriteCdf_TellsTheVariable) {
  std::ostringstream stream;
  CdfPlace place;
  EXPECT_THROW(WriteCdf(model.tree, "mesh", stream, &place), std::exception);
  EXPECT_EQ(place.geometryId, 3U);
  EXPECT_EQ(place.variableIndex, 1U);
  EXPECT_EQ(place.variableName, GetParam().variables[1].name);
}

TEST_P(CdfFailure, ExportCDF_LeavesThePartialFileWithoutAMessage) {
  const RunResult result = RunForked([&] {
    exportCDF(model.tree, "mesh", model.directory / "out.cdf");
    return 7;
  });
  EXPECT_EQ(result.status, 7);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(model.directory.Read("out.cdf"), expected);
}

const std::string kHeatBlock = "*RESULT,NAME=\"Heat\",STEP=1\n5\n";
const Variable kHeat = Scalar("Heat\x1eTime = 1", {5});
const Variable kAfter = Scalar("After", {6});

INSTANTIATE_TEST_SUITE_P(
    Of, CdfFailure,
    ::testing::Values(
        FailingExport{"StepOfAResult",
                      {kHeat, Scalar("A\x1eTime: 1", {1}), kAfter},
                      kHeatBlock + "*RESULT,NAME=\"A\""},
        FailingExport{"StepWithoutBlanks",
                      {kHeat, Scalar("A\x1eTime=1", {1}), kAfter},
                      kHeatBlock + "*RESULT,NAME=\"A\""},
        FailingExport{"StepOfVertices",
                      {kHeat, Variable::Floats("C\x1eno", kCoordinates, 3, {1, 2, 3}), kAfter},
                      kHeatBlock + "*VERTICES"},
        FailingExport{"StepOfFaces",
                      {kHeat, Faces({0, 1}, "F\x1eno"), Lengths({2}, "L\x1eno"), kAfter},
                      kHeatBlock + "*FACES"},
        FailingExport{"DataOfAResult",
                      {kHeat, Lost(Scalar("A\x1eTime = 2", {1})), kAfter},
                      kHeatBlock + "*RESULT,NAME=\"A\",STEP=2\n"},
        FailingExport{"DataOfVertices",
                      {kHeat, Lost(Variable::Floats("C", kCoordinates, 3, {1, 2, 3})), kAfter},
                      kHeatBlock + "*VERTICES\n"},
        FailingExport{
            "DataOfFaces", {kHeat, Lost(Faces({0, 1})), Lengths({2}), kAfter}, kHeatBlock},
        FailingExport{
            "DataOfLengths", {kHeat, Faces({0, 1}), Lost(Lengths({2})), kAfter}, kHeatBlock}),
    [](const auto& failing) { return std::string(failing.param.name); });

TEST(CdfExport, MissingStep_IsOutOfRange) {
  const LoadedModel model(ModelOf({Scalar("A\x1eTime=1", {1})}));
  EXPECT_THROW(static_cast<void>(model.Text("mesh")), std::out_of_range);
}

TEST(CdfExport, LostData_IsTheFailureOfItsReading) {
  const LoadedModel model(ModelOf({Lost(Scalar("A", {1}))}));
  try {
    static_cast<void>(model.Text("mesh"));
    FAIL() << "no failure";
  } catch (const Lbt::Util::Exception& exception) {
    EXPECT_EQ(
        MaskException(exception.what()),
        ExpectedException("Out of Bounds", "Invalid block position", "include/Lbt/Lbf/Block"));
  }
}

/// Takes nothing.
class FullBuffer : public std::streambuf {};

TEST(CdfExport, WriteCdf_StreamSetToThrow_Throws) {
  const LoadedModel model(ModelOf({Scalar("A", {1})}));
  FullBuffer buffer;
  std::ostream stream(&buffer);
  stream.exceptions(std::ios::badbit);
  EXPECT_THROW(WriteCdf(model.tree, "mesh", stream), std::ios::failure);
}

// ------------------------------------------------------------------ files

class CdfFile : public ::testing::Test {
 protected:
  /// Exports to "output" in a process of its own, which must end well and in silence.
  void Export(const std::string& output) {
    const RunResult result = RunForked([&] {
      exportCDF(model.tree, "mesh", output);
      return 7;
    });
    EXPECT_FALSE(result.hung);
    EXPECT_EQ(result.status, 7);
    EXPECT_EQ(result.output + result.error, "");
  }

  [[nodiscard]] std::string ModelBytes() const { return model.directory.Read("model.tev"); }

  LoadedModel model{ModelOf({Scalar("Heat", {5})})};
  const std::string bytes = ModelBytes();
  const std::string expected = kHeadings + "*RESULT,NAME=\"Heat\"\n5\n";
};

std::size_t OpenDescriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

TEST_F(CdfFile, NewFile_IsMade) {
  Export(model.directory / "new.cdf");
  EXPECT_EQ(model.directory.Read("new.cdf"), expected);
}

TEST_F(CdfFile, LongerFile_IsEmptiedFirst) {
  const std::string path = model.directory.Write("old.cdf", std::string(100000, 'x'));
  Export(path);
  EXPECT_EQ(model.directory.Read("old.cdf"), expected);
}

TEST_F(CdfFile, File_IsClosedAfterSuccessAndFailure) {
  LoadedModel failing(ModelOf({Scalar("A\x1eno", {1})}));
  const std::size_t before = OpenDescriptors();
  exportCDF(model.tree, "mesh", model.directory / "good.cdf");
  exportCDF(failing.tree, "mesh", model.directory / "partial.cdf");
  EXPECT_EQ(OpenDescriptors(), before);
  EXPECT_EQ(model.directory.Read("good.cdf"), expected);
  EXPECT_EQ(model.directory.Read("partial.cdf"), kHeadings + "*RESULT,NAME=\"A\"");
}

TEST_F(CdfFile, ModelAsOutput_IsSpared) {
  Export(model.path);
  EXPECT_EQ(ModelBytes(), bytes);
}

TEST_F(CdfFile, OtherNamesOfTheModel_AreSparedToo) {
  std::filesystem::create_symlink(model.path, model.directory / "link");
  std::filesystem::create_hard_link(model.path, model.directory / "twin");
  Export(model.directory / "link");
  Export(model.directory / "twin");
  Export(model.directory / "./model.tev");
  EXPECT_EQ(ModelBytes(), bytes);
}

TEST_F(CdfFile, ModelAsOutputOfAnUnknownGeometry_IsSparedToo) {
  exportCDF(model.tree, "no such geometry", model.path);
  EXPECT_EQ(ModelBytes(), bytes);
}

TEST_F(CdfFile, FileThatCannotBeMade_IsPassedOver) {
  const std::size_t entries = model.directory.EntryCount();
  Export(model.directory / "missing/out.cdf");
  Export(model.directory.Path().string());
  Export("");
  EXPECT_EQ(model.directory.EntryCount(), entries);
}

TEST_F(CdfFile, PipeWithoutAReader_IsPassedOver) {
  const std::string path = model.directory / "pipe";
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  Export(path);
}

TEST_F(CdfFile, FullDevice_IsPassedOver) { Export("/dev/full"); }

}  // namespace
}  // namespace tevtest
