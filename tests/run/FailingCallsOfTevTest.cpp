// Memory that runs out and reads that fail, at each call of a run of tev in turn: see
// preload/Faults.cpp.
//
// Not built with a sanitizer, as FailingCallsTest.cpp.

#ifdef FAULT_PRELOAD

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "run/FailingCalls.h"

namespace tevtest {
namespace {

using namespace std::string_literals;

namespace fs = std::filesystem;

// The companion program: its answer in full, or its status for a file that failed and one line
// for what did, after zlib's own where that had no memory.
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

  /// Returns the number of calls.
  long ExpectAnswerOrFailure(std::string_view fault,
                             const std::vector<std::string>& arguments) const {
    const std::string answer = RunTev(arguments, {}).output;
    return ForEachCallOfTev(fault, arguments, [&](const RunResult& result, long) {
      EXPECT_EQ(result.output == answer, result.status == 0) << result.output;
      if (result.status == 0) {
        EXPECT_EQ(result.error, "");
      } else {
        ExpectReason(result.error);
      }
    });
  }

  static void ExpectReason(const std::string& error) {
    EXPECT_TRUE(error.starts_with("tev: ")) << error;
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
};

TEST_F(FailingCallsOfTev, MallocOfAnAnswer_EndsInTheAnswerOrInANamedFailure) {
  EXPECT_GT(ExpectAnswerOrFailure("malloc", {"blocks", model}), 100);
  EXPECT_GT(ExpectAnswerOrFailure("malloc", {"tree", model}), 100);
}

// Freeing a JSON value takes memory, too, in a destructor.
TEST_F(FailingCallsOfTev, MallocOfAnAnswerInJson_EndsInTheAnswerOrInANamedFailure) {
  EXPECT_GT(ExpectAnswerOrFailure("malloc", {"info", "--json", model}), 100);
}

// The header and the index, and all blocks, but for "blocks": none of them is compressed, so that
// nothing has to be known of it beside the index.
TEST_F(FailingCallsOfTev, ReadThatFailsOrEndsEarly_IsANamedFailure) {
  for (const char* fault : {"read-error", "read-end"}) {
    EXPECT_EQ(ExpectAnswerOrFailure(fault, {"info", spaced}), kReadsOfSpacedModel);
    EXPECT_EQ(ExpectAnswerOrFailure(fault, {"tree", spaced}), kReadsOfSpacedModel);
    EXPECT_EQ(ExpectAnswerOrFailure(fault, {"blocks", spaced}), 2);
  }
}

TEST_F(FailingCallsOfTev, ReadThatTheSystemRefuses_IsToldWithTheReason) {
  constexpr long kFirstBlock = 3;  // the header and the index come first
  const RunResult result = RunTev({"info", "--jsonl", spaced}, Failing("read-error", kFirstBlock));
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.error, "tev: " + spaced + ": cannot read: Input/output error\n");
  EXPECT_NE(result.output.find("{\"code\": \"io-error\", "), std::string::npos) << result.output;
}

TEST_F(FailingCallsOfTev, ModelOfSmallBlocks_IsOpenedAndReadOnce) {
  for (const char* verb : {"info", "tree", "blocks", "check", "results", "sets"}) {
    EXPECT_EQ(RunTev({verb, model}, Failing("count", 0)).status, 0) << verb;
    EXPECT_EQ(dir.Read("reached"), "opens 1 reads 1") << verb;
  }
}

TEST_F(FailingCallsOfTev, EachOfManyModels_IsOpenedAndReadOnce) {
  fs::create_directory(dir / "many");
  for (const char* name : {"many/a.tev", "many/b.tev", "many/c.tev"})
    dir.Write(name, bytes);
  for (const std::vector<std::string>& paths :
       {std::vector<std::string>{"many"}, {"many/a.tev", "many/b.tev", "many/c.tev"}}) {
    std::vector<std::string> arguments{"list"};
    arguments.insert(arguments.end(), paths.begin(), paths.end());
    EXPECT_EQ(RunTev(arguments, Failing("count", 0)).status, 0);
    EXPECT_EQ(dir.Read("reached"), "opens 3 reads 3");
  }
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
    const auto check = [&](const RunResult& result, long) {
      EXPECT_EQ(result.status, 2);
      ExpectReason(result.error);
      EXPECT_TRUE(result.output.starts_with("spaced.tev: ")) << result.output;
      EXPECT_TRUE(result.output.ends_with("\n"));
    };
    EXPECT_GE(ForEachCallOfTev(fault, {"check", "spaced.tev"}, check), kReadsOfSpacedModel);
  }
}

class FailingCallsOfAnExport : public FailingCallsOfTev {
 protected:
  /// Returns how many calls there were, and how many of the runs made the export.
  std::pair<long, long> ExpectExportOrFailure(std::string_view fault) const {
    const std::vector<std::string> arguments{"cdf", spaced, "mesh 1", "out.cdf"};
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
        EXPECT_EQ(result.status, 2);
        ExpectReason(result.error);
        // All of it where the faces could not be checked, which comes last.
        EXPECT_TRUE(whole.starts_with(exported)) << exported;
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

TEST_F(FailingCallsOfAnExport, ReadThatFailsOrEndsEarly_IsANamedFailure) {
  for (const char* fault : {"read-error", "read-end"}) {
    const auto [calls, exports] = ExpectExportOrFailure(fault);
    EXPECT_GE(calls, kReadsOfSpacedModel);
    EXPECT_EQ(exports, 0);
  }
}

class FailingCallsOfAPage : public FailingCallsOfTev {
 protected:
  /// Every "stride"-th call fails. Returns how many did, and how many pages were whole all the
  /// same. What cannot be read is left out of a page. Without memory there is none, but for what
  /// fails when it is written.
  std::pair<long, long> ExpectPageOrFailure(std::string_view fault, const std::string& of,
                                            long stride) const {
    const std::vector<std::string> arguments{"view", of, "-o", "page.html"};
    EXPECT_EQ(RunTev(arguments, {}).status, 0);
    const std::string whole = dir.Read("page.html");
    long pages = 0;
    for (long call = 1; !HasFailure(); call += stride) {
      SCOPED_TRACE(std::string(fault) + " " + std::to_string(call));
      fs::remove(dir / "page.html");
      const RunResult result = RunTev(arguments, Failing(fault, call));
      if (!dir.Has("reached"))
        return {call / stride, pages};
      EXPECT_EQ(result.signal, 0);
      EXPECT_EQ(result.output, "");
      const std::string page = dir.Has("page.html") ? dir.Read("page.html") : "";
      EXPECT_TRUE(page.empty() || page.ends_with("</html>\n"));
      if (result.status == 0) {
        ++pages;
        EXPECT_TRUE(page == whole);
        EXPECT_EQ(result.error, "");
      } else {
        EXPECT_EQ(result.status, 2);
        ExpectReason(result.error);
      }
    }
    return {};
  }

  /// The step that is shown at first has no mesh, so that the page has no picture: fontconfig,
  /// which is asked for fonts, does not outlive a lack of memory.
  [[nodiscard]] static std::string ModelWithoutPicture() {
    ModelWriter model;
    const NodeRef group = model.AddGroup("Geometry", model.AddGroup("model", 0));
    const NodeRef mesh = model.AddGeometry("mesh", model.AddShape("Part", group));
    const std::string first = "\x1eT = 1";
    model.AddVariable(mesh, Variable::Floats("Coordinates" + first, kCoordinates, 3,
                                             {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1}));
    model.AddVariable(mesh,
                      Variable::Uints("Connectivity" + first, kConnectivity, 1, {0, 1, 2, 3}));
    model.AddVariable(mesh, Variable::Uints("Polylength" + first, kPolylength, 1, {4}));
    model.AddVariable(mesh, Variable::Floats("B" + first, kScalarResult, 1, {1, 2, 3, 4}));
    model.AddVariable(mesh, Variable::Floats("A\x1eT = 2", kScalarResult, 1, {5}));
    return model.Build();
  }
};

TEST_F(FailingCallsOfAPage, MallocThatFails_IsANamedFailure) {
  const std::string of = dir.Write("none.tev", ModelWithoutPicture());
  constexpr long kStride = 7;  // there are many
  const auto [calls, pages] = ExpectPageOrFailure("malloc", of, kStride);
  EXPECT_GT(calls, 100);
  EXPECT_LT(pages, calls / 2);
  EXPECT_NE(dir.Read("page.html").find("src=\"data:,\""), std::string::npos);
}

TEST_F(FailingCallsOfAPage, ReadThatFailsOrEndsEarly_IsANamedFailure) {
  for (const char* fault : {"read-error", "read-end"}) {
    const auto [calls, pages] = ExpectPageOrFailure(fault, spaced, 1);
    EXPECT_GE(calls, kReadsOfSpacedModel);
    EXPECT_EQ(pages, 0);
  }
}

TEST_F(FailingCallsOfTev, FacesAsCsv_AreReadOnceAsThoseOfNumPyAre) {
  const auto readsOf = [&](const std::vector<std::string>& options) {
    std::vector<std::string> arguments{"values", spaced, "--mesh", "--part", "Frame"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return ForEachCallOfTev("read-error", arguments, [](const RunResult&, long) {});
  };
  EXPECT_EQ(readsOf({}), readsOf({"--format", "npy", "-o", dir / "faces.npy"}));
}

}  // namespace
}  // namespace tevtest

#endif
