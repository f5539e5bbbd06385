// Memory that runs out and reads that fail, at each call of a run of TevInfo in turn: see
// preload/Faults.cpp.
//
// Not built with a sanitizer, which has an allocator of its own in the place of that library; the
// build then leaves FAULT_PRELOAD undefined.

#ifdef FAULT_PRELOAD

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <string>
#include <string_view>

#include "run/FailingCalls.h"
#include "support/Mask.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kNoMemory = "Exception: std::bad_alloc\n";

/// A run that failed as a whole: status 2, no end of a document, and a text after the notice. The
/// notice itself is missing where its own text found no memory.
void ExpectNamedFailure(const Outcome& outcome, std::string_view notice) {
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.output.find("</"), std::string::npos) << outcome.output;
  if (outcome.error == kNoMemory)
    return;
  EXPECT_TRUE(outcome.error.starts_with(notice)) << outcome.error;
  EXPECT_NE(outcome.error.find("\nException: "), std::string::npos) << outcome.error;
  EXPECT_TRUE(outcome.error.ends_with("\n")) << outcome.error;
}

// A lack of memory while results are gathered is told like every failure there, and the report
// goes on without what was not gathered, but the status is that of a failed run; everywhere else it
// ends the run.
bool IsToldWhileGathering(const Outcome& outcome, const std::string& notice) {
  return outcome.status == 2 && outcome.error == notice + std::string(kNoMemory) &&
         outcome.output.ends_with("</lbt:metadata>\n");
}

TEST_F(FailingCalls, MallocOfAReport_EndsInTheReportOrInANamedFailure) {
  long reports = 0;
  long failures = 0;
  long told = 0;
  const long calls = ForEachCall("malloc", {model}, [&](const Outcome& outcome, long) {
    if (IsFull(outcome, document)) {
      ++reports;  // the trace had to do without a line, or the C library found another way
    } else if (IsToldWhileGathering(outcome, Notice())) {
      ++told;
    } else {
      ExpectNamedFailure(outcome, Notice());
      ++failures;
    }
  });
  EXPECT_GT(calls, 100);
  EXPECT_GT(reports, 0);
  EXPECT_GT(failures, calls / 2);
  EXPECT_GT(told, 0);
}

TEST_F(FailingCalls, MallocOfADataExtraction_EndsInTheDumpOrInANamedFailure) {
  const std::string dump = Dump();
  long dumps = 0;
  const auto check = [&](const Outcome& outcome, long) {
    if (IsFull(outcome, dump)) {
      ++dumps;
    } else {
      EXPECT_EQ(outcome.status, 2);
      EXPECT_NE(outcome.error.find("Exception: "), std::string::npos) << outcome.error;
    }
  };
  EXPECT_GT(ForEachCall("malloc", {"--extract-data", model}, check), 100);
  EXPECT_GT(dumps, 0);
}

TEST_F(FailingCalls, MallocOfAReportIntoAFile_NeverLeavesHalfAReportAsAGoodOne) {
  const auto check = [&](const Outcome& outcome, long) {
    if (outcome.status == 0 && outcome.error == Notice()) {
      // An output that could not be opened is no failure: the report is on standard output then.
      EXPECT_EQ(outcome.output + (dir.Has("report.xml") ? dir.Read("report.xml") : ""),
                std::string(kMemoryLine) + document);
    }
    fs::remove(dir / "report.xml");
  };
  EXPECT_GT(ForEachCall("malloc", {model, "report.xml"}, check), 100);
}

TEST_F(FailingCalls, ReadThatFails_IsAReadErrorOfTheFileOrOfTheBlock) {
  const auto check = [&](const Outcome& outcome, long call) {
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error,
              ReadError(call == 1 ? "include/Lbt/Lbf/LbFile" : "include/Lbt/Lbf/Block"));
  };
  EXPECT_EQ(ForEachCall("read-error", {spaced}, check), kReadsOfSpacedModel);
}

TEST_F(FailingCalls, ReadThatFailsInADataExtraction_IsToldAsItIsInAReport) {
  const auto check = [&](const Outcome& outcome, long call) {
    EXPECT_EQ(outcome.error,
              ReadError(call == 1 ? "include/Lbt/Lbf/LbFile" : "include/Lbt/Lbf/Block"));
    EXPECT_EQ(outcome.status, 2);
    // After the model the data is gathered.
    EXPECT_EQ(outcome.output.empty(), call <= kReadsOfSpacedModel);
  };
  EXPECT_GE(ForEachCall("read-error", {"--extract-data", spaced}, check), kReadsOfSpacedModel);
}

TEST_F(FailingCalls, ReadThatFailsInTheEkmForm_LeavesNoDocument) {
  const auto check = [&](const Outcome& outcome, long) {
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_FALSE(dir.Has("ekm-meta-data.xml"));
  };
  EXPECT_EQ(ForEachCall("read-error", {"--ekm-meta-data", spaced}, check), kReadsOfSpacedModel);
}

TEST_F(FailingCalls, ModelOfSmallBlocks_IsOpenedAndReadOnce) {
  EXPECT_EQ(Run({model}, Failing("count", 0)).status, 0);
  EXPECT_EQ(dir.Read("reached"), "opens 1 reads 1");
  EXPECT_EQ(Run({"--extract-data", model}, Failing("count", 0)).status, 0);
  EXPECT_EQ(dir.Read("reached"), "opens 1 reads 1");
}

TEST_F(FailingCalls, ModelWhoseBlocksLieApart_IsReadOnceForEach) {
  EXPECT_EQ(Run({spaced}, Failing("count", 0)).status, 0);
  EXPECT_EQ(dir.Read("reached"), "opens 1 reads " + std::to_string(kReadsOfSpacedModel));
}

/// A model that somebody changes just before a read of the program, whichever it is.
class HeldReads : public FailingCalls {
 protected:
  /// Writes a copy of the model, runs TevInfo on it, and calls "change" before read "number".
  [[nodiscard]] RunResult RunChanging(long number, const std::function<void()>& change) const {
    dir.Write("changing.tev", spacedBytes);
    RunOptions options = Failing("read-held", number);
    options.environment.emplace("QUARLO_TEMP_PATH", logDirectory);
    auto run = std::async(std::launch::async, [&] {
      return RunProgram({TEVINFO_PROGRAM, dir / "changing.tev"}, options);
    });
    auto state = std::future_status::timeout;
    while (!dir.Has("reached") && state != std::future_status::ready)
      state = run.wait_for(std::chrono::microseconds(200));
    EXPECT_TRUE(dir.Has("reached"));
    change();
    fs::remove(dir / "reached");
    RunResult result = run.get();
    result.output = MaskPeakMemory(result.output);
    result.error = MaskException(result.error);
    return result;
  }
};

TEST_F(HeldReads, ModelThatIsEmptied_IsAFileThatEndsThere) {
  const std::string noTevFile = MaskException(
      Notice() + Failure("Format Not Supported", (dir / "changing.tev") + " is not a Tev file",
                         "include/Lbt/Tev/Tree"));
  for (long number = 1; number <= kReadsOfSpacedModel; ++number) {
    SCOPED_TRACE(number);
    const RunResult result = RunChanging(number, [&] { fs::resize_file(dir / "changing.tev", 0); });
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, number == 1 ? noTevFile : ReadError("include/Lbt/Lbf/Block"));
  }
}

TEST_F(HeldReads, ModelThatIsReplaced_IsReportedAsTheOneThatWasOpened) {
  for (long number = 1; number <= kReadsOfSpacedModel; ++number) {
    SCOPED_TRACE(number);
    const RunResult result = RunChanging(
        number, [&] { fs::rename(dir.Write("other.tev", "no model"), dir / "changing.tev"); });
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, Notice());
    EXPECT_EQ(result.output, std::string(kMemoryLine) + SmallReport().Document(spacedBytes.size()));
    EXPECT_EQ(dir.Read("changing.tev"), "no model");
  }
}

// The half of the first read has a whole header, and an index that ends early.
TEST_F(FailingCalls, FileThatEndsWhileItIsRead_IsAReadErrorOfTheBlock) {
  const auto check = [&](const Outcome& outcome, long) {
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error, ReadError("include/Lbt/Lbf/Block"));
  };
  EXPECT_EQ(ForEachCall("read-end", {spaced}, check), kReadsOfSpacedModel);
}

TEST_F(FailingCalls, FailureInAYearWithoutACalendarForm_HasNoTime) {
  const Outcome outcome = Run({"none.tev"}, Failing("late", 1));
  const std::string_view time = "Time : #\n \n";
  std::string expected =
      Failure("Miscelleneous Error", "Unable to open file \"none.tev\"", "include/Lbt/Lbf/LbFile");
  ASSERT_NE(expected.find(time), std::string::npos) << expected;
  expected.replace(expected.find(time), time.size(), "Time :  \n");
  ExpectFailed(outcome, expected);
}

}  // namespace
}  // namespace tevtest

#endif
