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
#include <future>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "run/SmallReport.h"
#include "run/TevInfoRun.h"
#include "support/Mask.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

using namespace std::string_literals;

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
      EXPECT_FALSE(outcome.hung);
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

TEST_F(FailingCalls, ReadThatFailsInADataExtraction_IsToldAsItIsInAReport) {
  const auto check = [&](const Outcome& outcome, long call) {
    EXPECT_EQ(outcome.error,
              ReadError(call <= 3 ? "include/Lbt/Lbf/LbFile" : "include/Lbt/Lbf/Block"));
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output.empty(), call <= 10);  // after the model the data is gathered
  };
  EXPECT_GE(ForEachCall("read-error", {"--extract-data", model}, check), 10);
}

TEST_F(FailingCalls, ReadThatFailsInTheEkmForm_LeavesNoDocument) {
  const auto check = [&](const Outcome& outcome, long) {
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_FALSE(dir.Has("ekm-meta-data.xml"));
  };
  EXPECT_EQ(ForEachCall("read-error", {"--ekm-meta-data", model}, check), 10);
}

/// A model that somebody changes just before a read of the program, whichever it is.
class HeldReads : public FailingCalls {
 protected:
  static constexpr long kReads = 3 + 1 + 6;  // header, index, a block of each stream

  /// Writes a copy of the model, runs TevInfo on it, and calls "change" before read "number".
  [[nodiscard]] RunResult RunChanging(long number, const std::function<void()>& change) const {
    dir.Write("changing.tev", bytes);
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
  const std::string noIndex =
      Notice() + Failure("Out of Bounds", "Not enough bytes in the block", "include/Lbt/Lbf/Block");
  for (long number = 1; number <= kReads; ++number) {
    SCOPED_TRACE(number);
    const RunResult result = RunChanging(number, [&] { fs::resize_file(dir / "changing.tev", 0); });
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    // No version is an old one; what then lacks is the index.
    EXPECT_EQ(result.error, number == 1   ? noTevFile
                            : number <= 3 ? noIndex
                                          : ReadError("include/Lbt/Lbf/Block"));
  }
}

TEST_F(HeldReads, ModelThatIsReplaced_IsReportedAsTheOneThatWasOpened) {
  for (long number = 1; number <= kReads; ++number) {
    SCOPED_TRACE(number);
    const RunResult result = RunChanging(
        number, [&] { fs::rename(dir.Write("other.tev", "no model"), dir / "changing.tev"); });
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, Notice());
    EXPECT_EQ(result.output, std::string(kMemoryLine) + document);
    EXPECT_EQ(dir.Read("changing.tev"), "no model");
  }
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

TEST_F(FailingCalls, FailureInAYearWithoutACalendarForm_HasNoTime) {
  const Outcome outcome = Run({"none.tev"}, Failing("late", 1));
  const std::string_view time = "Time : #\n \n";
  std::string expected =
      Failure("Miscelleneous Error", "Unable to open file \"none.tev\"", "include/Lbt/Lbf/LbFile");
  ASSERT_NE(expected.find(time), std::string::npos) << expected;
  expected.replace(expected.find(time), time.size(), "Time :  \n");
  ExpectFailed(outcome, expected);
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

  /// Runs tev again and again, each time with a later call failing, until a run has no such call.
  /// Every run must have ended by itself with status 0 or 2 and pass "check". Returns the number
  /// of calls.
  long ForEachCallOfTev(std::string_view fault, const std::vector<std::string>& arguments,
                        const std::function<void(const RunResult&, long call)>& check) const {
    long call = 1;
    for (; !HasFailure(); ++call) {
      SCOPED_TRACE(std::string(fault) + ::testing::PrintToString(arguments) + " " +
                   std::to_string(call));
      const RunResult result = RunTev(arguments, Failing(fault, call));
      if (!dir.Has("reached"))
        break;
      EXPECT_EQ(result.signal, 0);
      EXPECT_TRUE(result.status == 0 || result.status == 2) << result.status;
      check(result, call);
    }
    return call - 1;
  }

  /// Returns the number of calls. "known" are further answers that may be had.
  long ExpectAnswerOrFailure(std::string_view fault, std::vector<std::string> arguments,
                             const std::set<std::string>& known = {}) const {
    arguments.push_back(model);
    std::set<std::string> answers = known;
    answers.insert(RunTev(arguments, {}).output);
    return ForEachCallOfTev(fault, arguments, [&](const RunResult& result, long) {
      EXPECT_EQ(answers.contains(result.output), result.status == 0) << result.output;
      if (result.status == 0) {
        EXPECT_EQ(result.error, "");
      } else {
        ExpectReason(result.error);
      }
    });
  }

  static void ExpectReason(const std::string& error) {
    EXPECT_TRUE(error.starts_with("tev: ") ||
                error.starts_with("Error -4 while uncompressing block \ntev: "))
        << error;
    EXPECT_TRUE(error.ends_with("\n"));
  }

  /// What is wrong with the brackets of a JSON text; "" where nothing is.
  [[nodiscard]] static std::string FaultOfJson(const std::string& text) {
    std::string open;
    bool isInString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
      const char c = text[i];
      if (isInString && c == '\\') {
        ++i;
      } else if (c == '"') {
        isInString = !isInString;
      } else if (!isInString && (c == '{' || c == '[')) {
        open += c == '{' ? '}' : ']';
      } else if (!isInString && (c == '}' || c == ']')) {
        if (open.empty() || open.back() != c)
          return "wrong bracket at " + std::to_string(i);
        open.pop_back();
      }
    }
    return open.empty() && !isInString ? "" : "not closed";
  }

  /// What the answer of a verb is where the version of the file is "1." for "1.3".
  [[nodiscard]] std::string AnswerOfCutVersion(const std::string& command,
                                               std::string_view label) const {
    std::string answer = RunTev({command, model}, {}).output;
    const std::size_t at = answer.find(std::string(label) + "1.3");
    EXPECT_NE(at, std::string::npos);
    return answer.erase(at + label.size() + 2, 1);
  }
};

TEST_F(FailingCallsOfTev, MallocOfAnAnswer_EndsInTheAnswerOrInANamedFailure) {
  EXPECT_GT(ExpectAnswerOrFailure("malloc", {"blocks"}), 100);
  EXPECT_GT(ExpectAnswerOrFailure("malloc", {"tree"}), 100);
}

// Freeing a JSON value takes memory, too, in a destructor.
TEST_F(FailingCallsOfTev, MallocOfAnAnswerInJson_EndsInTheAnswerOrInANamedFailure) {
  EXPECT_GT(ExpectAnswerOrFailure("malloc", {"info", "--json"}), 100);
}

TEST_F(FailingCallsOfTev, ReadThatFails_IsANamedFailure) {
  // The header and the index, and for "info" the blocks, too.
  EXPECT_GT(ExpectAnswerOrFailure("read-error", {"info"}), 8);
  EXPECT_GT(ExpectAnswerOrFailure("read-error", {"blocks"}), 3);
}

// As above: a file that ends in the middle of its version has one that is as good.
TEST_F(FailingCallsOfTev, ReadThatEndsEarly_IsANamedFailure) {
  EXPECT_GT(ExpectAnswerOrFailure("read-end", {"info"}, {AnswerOfCutVersion("info", "version ")}),
            8);
  EXPECT_GT(
      ExpectAnswerOrFailure("read-end", {"blocks"}, {AnswerOfCutVersion("blocks", "Version ")}), 3);
  EXPECT_GT(ExpectAnswerOrFailure("read-end", {"tree"}), 8);
}

TEST_F(FailingCallsOfTev, ReadOfATreeThatFails_IsANamedFailure) {
  EXPECT_GT(ExpectAnswerOrFailure("read-error", {"tree"}), 8);
}

/// The check of a sound model, with and without blocks that are compressed.
class FailingCallsOfACheck : public FailingCallsOfTev {
 protected:
  FailingCallsOfACheck() {
    ModelWriter writer = SmallModel();
    writer.SetLayoutOfOthers({.packing = StreamLayout::Packing::Compressed});
    dir.Write("packed.tev", writer.Build());
  }
};

TEST_F(FailingCallsOfACheck, MallocThatFails_IsNeverToldAsDamage) {
  for (const char* name : {"small.tev", "packed.tev"}) {
    long failures = 0;
    const auto check = [&](const RunResult& result, long) {
      if (result.status == 0) {
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.error, "tev: 1 file: 1 OK\n");
        return;
      }
      ++failures;
      ExpectReason(result.error);
      if (result.output.empty()) {
        EXPECT_TRUE(result.error.ends_with("not enough memory\n")) << result.error;
      } else {
        EXPECT_TRUE(result.output == name + ": UNREADABLE: not enough memory\n"s ||
                    result.output == name + ": UNREADABLE: cannot open: Cannot allocate memory\n"s)
            << result.output;
      }
    };
    const long calls = ForEachCallOfTev("malloc", {"check", name}, check);
    EXPECT_GT(calls, 200);
    EXPECT_GT(failures, calls / 2);
  }
}

TEST_F(FailingCallsOfACheck, MallocThatFails_LeavesJsonWhole) {
  dir.Write("other.tev", "no model");
  const std::string answer =
      RunTev({"check", "--json", "small.tev", "other.tev", "none"}, {}).output;
  const auto check = [&](const RunResult& result, long) {
    EXPECT_EQ(result.status, 2);
    if (result.output != answer)
      ExpectReason(result.error);
    EXPECT_EQ(result.output.empty() ? "" : FaultOfJson(result.output), "") << result.output;
  };
  EXPECT_GT(
      ForEachCallOfTev("malloc", {"check", "--json", "small.tev", "other.tev", "none"}, check),
      300);
}

TEST_F(FailingCallsOfACheck, ReadThatFailsOrEndsEarly_IsTold) {
  for (const char* fault : {"read-error", "read-end"}) {
    for (const char* name : {"small.tev", "packed.tev"}) {
      long silent = 0;
      const auto check = [&](const RunResult& result, long) {
        ExpectReason(result.error);
        if (result.status == 0) {
          EXPECT_EQ(result.output, "");
          EXPECT_EQ(result.error, "tev: 1 file: 1 OK\n");
          ++silent;
          return;
        }
        EXPECT_TRUE(result.output.starts_with(std::string(name) + ": ")) << result.output;
        EXPECT_TRUE(result.output.ends_with("\n"));
      };
      // A header of three reads, the index and six blocks.
      EXPECT_GE(ForEachCallOfTev(fault, {"check", name}, check), 3 + 1 + 6);
      // A version may be cut, and is as good as whole.
      EXPECT_EQ(silent, fault == std::string("read-end") ? 1 : 0);
    }
  }
}

class FailingCallsOfAnExport : public FailingCallsOfTev {
 protected:
  /// Returns how many calls there were, and how many of the runs made the export.
  std::pair<long, long> ExpectExportOrFailure(std::string_view fault) const {
    const std::vector<std::string> arguments{"cdf", model, "mesh 1", "out.cdf"};
    EXPECT_EQ(RunTev(arguments, {}).status, 0);
    const std::string whole = dir.Read("out.cdf");
    EXPECT_GT(whole.size(), 100U);
    fs::remove(dir / "out.cdf");
    long exports = 0;
    const auto check = [&](const RunResult& result, long) {
      EXPECT_EQ(result.output, "");
      const std::string exported = dir.Has("out.cdf") ? dir.Read("out.cdf") : "";
      if (result.status == 0) {
        EXPECT_EQ(result.error, "");
        EXPECT_EQ(exported, whole);
        ++exports;
      } else {
        ExpectReason(result.error);
        EXPECT_TRUE(whole.starts_with(exported)) << exported;
        EXPECT_NE(exported, whole);
      }
      fs::remove(dir / "out.cdf");
    };
    const long calls = ForEachCallOfTev(fault, arguments, check);
    return {calls, exports};
  }
};

TEST_F(FailingCallsOfAnExport, MallocThatFails_IsANamedFailure) {
  const auto [calls, exports] = ExpectExportOrFailure("malloc");
  EXPECT_GT(calls, 200);
  EXPECT_LT(exports, calls / 2);
}

TEST_F(FailingCallsOfAnExport, ReadThatFails_IsANamedFailure) {
  const auto [calls, exports] = ExpectExportOrFailure("read-error");
  EXPECT_GT(calls, 9);
  EXPECT_EQ(exports, 0);
}

TEST_F(FailingCallsOfAnExport, ReadThatEndsEarly_IsANamedFailureButInTheVersion) {
  const auto [calls, exports] = ExpectExportOrFailure("read-end");
  EXPECT_GT(calls, 9);
  EXPECT_EQ(exports, 1);
}

}  // namespace
}  // namespace tevtest

#endif
