// Memory that runs out and reads that fail, at each call of a run in turn: see preload/Faults.cpp.
//
// Not built with a sanitizer, which has an allocator of its own in the place of that library; the
// build then leaves FAULT_PRELOAD undefined.

#ifdef FAULT_PRELOAD

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "run/SmallReport.h"
#include "run/TevInfoRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kNoMemory = "Exception: std::bad_alloc\n";

class FailingCalls : public TevInfoRun {
 protected:
  FailingCalls() { fs::last_write_time(model, written); }

  ~FailingCalls() override {
    EXPECT_EQ(ReadFile(model), bytes);
    EXPECT_EQ(fs::last_write_time(model), written);
  }

  /// How a run whose call "number" fails is started.
  [[nodiscard]] RunOptions Failing(std::string_view fault, long number) const {
    fs::remove(dir / "reached");
    return {.environment = {{"LD_PRELOAD", FAULT_PRELOAD},
                            {"TEVTEST_FAULT", std::string(fault)},
                            {"TEVTEST_CALL", std::to_string(number)},
                            {"TEVTEST_MARK", dir / "reached"}}};
  }

  /// Runs TevInfo again and again, each time with a later call failing, until a run has no such
  /// call. Every run must have ended by itself and pass "check". Returns the number of calls.
  long ForEachCall(std::string_view fault, const std::vector<std::string>& arguments,
                   const std::function<void(const Outcome&, long call)>& check) const {
    long call = 1;
    for (;; ++call) {
      SCOPED_TRACE(std::string(fault) + " " + std::to_string(call));
      const Outcome outcome = Run(arguments, Failing(fault, call));
      if (!dir.Has("reached"))
        break;
      EXPECT_EQ(outcome.signal, 0);
      EXPECT_FALSE(outcome.timedOut);
      check(outcome, call);
      if (HasFailure())
        break;
    }
    return call - 1;
  }

  [[nodiscard]] bool IsFull(const Outcome& outcome, std::string_view answer) const {
    return outcome.status == 0 && outcome.error == Notice() &&
           outcome.output == std::string(kMemoryLine) + std::string(answer);
  }

  /// What a dump of the model is.
  [[nodiscard]] std::string Dump() const {
    return Run({"--extract-data", model}).output.substr(kMemoryLine.size());
  }

  [[nodiscard]] std::string ReadError(std::string_view file) const {
    return Notice() + Failure("Read Error", "Unable to read from file", file);
  }

  const std::string bytes = SmallModel().Build();
  const std::string model = dir.Write("small.tev", bytes);
  const std::string document = SmallReport().Document(bytes.size());
  const fs::file_time_type written =
      std::chrono::floor<std::chrono::seconds>(fs::last_write_time(model)) - std::chrono::hours(48);
};

/// A run that failed as a whole: status 2, no end of a document, and a text behind the notice. The
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
// goes on without what was not gathered; everywhere else it ends the run.
bool IsToldWhileGathering(const Outcome& outcome, const std::string& notice) {
  return outcome.status == 0 && outcome.error == notice + std::string(kNoMemory);
}

TEST_F(FailingCalls, MallocOfAReport_EndsInTheReportOrInANamedFailure) {
  long reports = 0;
  long failures = 0;
  const long calls = ForEachCall("malloc", {model}, [&](const Outcome& outcome, long) {
    if (IsFull(outcome, document)) {
      ++reports;  // the trace had to do without a line, or the C library found another way
    } else if (IsToldWhileGathering(outcome, Notice())) {
      EXPECT_TRUE(outcome.output.ends_with("</lbt:metadata>\n"));
    } else {
      ExpectNamedFailure(outcome, Notice());
      ++failures;
    }
  });
  EXPECT_GT(calls, 100);
  EXPECT_GT(reports, 0);
  EXPECT_GT(failures, calls / 2);
}

TEST_F(FailingCalls, MallocOfADataExtraction_EndsInTheDumpOrInANamedFailure) {
  const std::string dump = Dump();
  long dumps = 0;
  const auto check = [&](const Outcome& outcome, long) {
    if (IsFull(outcome, dump)) {
      ++dumps;
    } else if (outcome.status == 0) {
      // Gathering failed, which was told.
      EXPECT_TRUE(outcome.error.starts_with(Notice()));
      EXPECT_NE(outcome.error.find("\nException: "), std::string::npos) << outcome.error;
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
  constexpr long kHeaderReads = 3;  // signature, version, size of the index
  const auto check = [&](const Outcome& outcome, long call) {
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error,
              ReadError(call <= kHeaderReads ? "include/Lbt/Lbf/LbFile" : "include/Lbt/Lbf/Block"));
  };
  // The index and the model's six streams, in one block each.
  EXPECT_EQ(ForEachCall("read-error", {model}, check), kHeaderReads + 1 + 6);
}

// A header that ends early is that of a file which ends there: its signature is wrong, its version
// has fewer digits ("1." for "1.3", as good as it), its index has no bytes.
TEST_F(FailingCalls, ReadThatEndsEarly_IsAFileThatEndsThere) {
  const auto check = [&](const Outcome& outcome, long call) {
    if (call == 2) {
      EXPECT_TRUE(IsFull(outcome, document));
      return;
    }
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    const std::string noTevFile =
        Failure("Format Not Supported", model + " is not a Tev file", "include/Lbt/Tev/Tree");
    const std::string noIndex =
        Failure("Out of Bounds", "Not enough bytes in the block", "include/Lbt/Lbf/Block");
    EXPECT_EQ(outcome.error, call == 1   ? Notice() + noTevFile
                             : call == 3 ? Notice() + noIndex
                                         : ReadError("include/Lbt/Lbf/Block"));
  };
  EXPECT_EQ(ForEachCall("read-end", {model}, check), 10);
}

// The companion program: its answer in full, or its status for a file that failed and one line
// for what did, behind zlib's own where that had no memory.
class FailingCallsOfTev : public FailingCalls {
 protected:
  [[nodiscard]] RunResult RunTev(const std::vector<std::string>& arguments,
                                 RunOptions options) const {
    std::vector<std::string> command{TEV_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    options.workingDirectory = dir.Path().string();
    options.hooks.push_back(Limit(RLIMIT_CORE, 0));
    return RunProgram(command, options);
  }

  /// Returns the number of calls.
  long ExpectAnswerOrFailure(std::string_view fault, std::vector<std::string> arguments) const {
    arguments.push_back(model);
    const std::string answer = RunTev(arguments, {}).output;
    long call = 1;
    for (; !HasFailure(); ++call) {
      SCOPED_TRACE(::testing::PrintToString(arguments) + " " + std::to_string(call));
      const RunResult result = RunTev(arguments, Failing(fault, call));
      if (!dir.Has("reached"))
        break;
      ExpectAnswerOrFailure(result, answer);
    }
    return call - 1;
  }

 private:
  static void ExpectAnswerOrFailure(const RunResult& result, const std::string& answer) {
    EXPECT_EQ(result.signal, 0);
    if (result.status == 0) {
      EXPECT_EQ(result.error, "");
      EXPECT_EQ(result.output, answer);
      return;
    }
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.output, answer);
    EXPECT_TRUE(result.error.starts_with("tev: ") ||
                result.error.starts_with("Error -4 while uncompressing block \ntev: "))
        << result.error;
    EXPECT_TRUE(result.error.ends_with("\n"));
  }
};

TEST_F(FailingCallsOfTev, MallocOfAnAnswer_EndsInTheAnswerOrInANamedFailure) {
  EXPECT_GT(ExpectAnswerOrFailure("malloc", {"ls"}), 100);
  EXPECT_GT(ExpectAnswerOrFailure("malloc", {"tree"}), 100);
}

// Freeing a JSON value takes memory, too, in a destructor.
TEST_F(FailingCallsOfTev, MallocOfAnAnswerInJson_EndsInTheAnswerOrInANamedFailure) {
  EXPECT_GT(ExpectAnswerOrFailure("malloc", {"info", "--json"}), 100);
}

TEST_F(FailingCallsOfTev, ReadThatFails_IsANamedFailure) {
  // The header and the index, and for "info" the blocks, too.
  EXPECT_GT(ExpectAnswerOrFailure("read-error", {"info"}), 8);
  EXPECT_GT(ExpectAnswerOrFailure("read-error", {"ls"}), 3);
}

}  // namespace
}  // namespace tevtest

#endif
