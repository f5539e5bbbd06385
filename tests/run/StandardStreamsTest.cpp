// Standard descriptors that are full, broken or closed.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <string>

#include "run/SmallReport.h"
#include "run/TevInfoRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

class StandardStreams : public TevInfoRun {
 protected:
  void ExpectNotWritten(const Outcome& outcome) const {
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.error, Notice() + Failure("Write Error", "Unable to write the report",
                                                "include/Lbt/Tev/TevInfo/TevInfo"));
  }

  const std::string bytes = SmallModel().Build();
  const std::string model = dir.Write("small.tev", bytes);
  const std::string document = SmallReport().Document(bytes.size());
};

TEST_F(StandardStreams, FullStandardOutput_FailsTheRun) {
  ExpectNotWritten(Run({model}, {.output = Redirect::To("/dev/full")}));
}

TEST_F(StandardStreams, FullStandardOutput_FailsARunThatWritesToAFileToo) {
  ExpectNotWritten(Run({model, "report.xml"}, {.output = Redirect::To("/dev/full")}));
  EXPECT_EQ(dir.Read("report.xml"), document);
}

TEST_F(StandardStreams, FullOutputFile_FailsTheRun) {
  const Outcome outcome = Run({model, "/dev/full"});
  ExpectNotWritten(outcome);
  EXPECT_EQ(outcome.output, kMemoryLine);
}

// The limit would cut the files of coverage counters as well.
#if !defined(TEVTEST_COUNTED)

TEST_F(StandardStreams, OutputFileWithoutRoom_FailsTheRun) {
  const Outcome outcome = Run({model, "report.xml"}, {.hooks = {Limit(RLIMIT_FSIZE, 1024)}});
  ExpectNotWritten(outcome);
  EXPECT_EQ(dir.Read("report.xml"), document.substr(0, 1024));
}

#endif

TEST_F(StandardStreams, ReportThatCannotBeWritten_IsInTheLog) {
  EXPECT_EQ(Run({model, "/dev/full"}).log, std::string(kIndexLog) + std::string(kLinksLog) +
                                               "TevInfo : # @ Unable to write the report\n" +
                                               std::string(kClosingLog));
}

TEST_F(StandardStreams, ClosedStandardOutput_FailsTheRun) {
  ExpectNotWritten(Run({model}, {.output = Redirect::Closed()}));
}

TEST_F(StandardStreams, ClosedStandardOutput_DoesNotLetTheReportIntoAnotherFile) {
  ExpectNotWritten(Run({model, "report.xml"}, {.output = Redirect::Closed()}));
  EXPECT_EQ(dir.Read("report.xml"), document);
  EXPECT_EQ(ReadFile(model), bytes);
}

TEST_F(StandardStreams, BrokenPipe_EndsTheRunByItsSignal) {
  EXPECT_EQ(Run({model}, {.output = Redirect::BrokenPipe()}).signal, SIGPIPE);
}

/// A descriptor that the shell's ">>" makes, until its end.
class Appending {
 public:
  explicit Appending(const std::string& path)
      : descriptor_(::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC)) {}
  ~Appending() { ::close(descriptor_); }
  Appending(const Appending&) = delete;
  Appending& operator=(const Appending&) = delete;

  [[nodiscard]] Redirect Stream() const { return Redirect::ToDescriptor(descriptor_); }

 private:
  int descriptor_;
};

TEST_F(StandardStreams, StandardOutputThatIsTheModel_FailsAndLeavesTheModel) {
  const Appending output(model);
  ExpectNotWritten(Run({model}, {.output = output.Stream()}));
  ExpectNotWritten(Run({"--extract-data", model, model}, {.output = output.Stream()}));
  EXPECT_EQ(ReadFile(model), bytes);

  const RunResult tev = RunProgram({TEV_PROGRAM, "blocks", model}, {.output = output.Stream()});
  EXPECT_EQ(tev.status, 2);
  EXPECT_EQ(tev.error, "tev: " + model + ": standard output is this file\n");
  EXPECT_EQ(ReadFile(model), bytes);
}

TEST_F(StandardStreams, ClosedStandardInput_ChangesNothing) {
  ExpectReport(Run({model}, {.input = Redirect::Closed()}), document);
  ExpectReport(Run({model, "report.xml"}, {.input = Redirect::Closed()}), "");
  EXPECT_EQ(dir.Read("report.xml"), document);
}

TEST_F(StandardStreams, StandardErrorThatTakesNothing_ChangesNothingElse) {
  for (const Redirect& error : {Redirect::Closed(), Redirect::To("/dev/full"), Redirect::Null()}) {
    const Outcome outcome = Run({model}, {.error = error});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.output, std::string(kMemoryLine) + document);
    EXPECT_EQ(outcome.log,
              std::string(kIndexLog) + std::string(kLinksLog) + std::string(kClosingLog));
    EXPECT_EQ(Run({"none.tev"}, {.error = error}).status, 2);
    EXPECT_EQ(Run({}, {.error = error}).status, 1);
  }
}

TEST_F(StandardStreams, AllClosed_NothingIsWrittenIntoAFileByMistake) {
  const Outcome outcome =
      Run({model, "report.xml"},
          {.input = Redirect::Closed(), .output = Redirect::Closed(), .error = Redirect::Closed()});
  EXPECT_EQ(outcome.status, 2);  // the memory line is lost
  EXPECT_EQ(dir.Read("report.xml"), document);
  EXPECT_EQ(ReadFile(model), bytes);
  EXPECT_EQ(outcome.log, std::string(kIndexLog) + std::string(kLinksLog) +
                             "TevInfo : # @ Unable to write the report\n" +
                             std::string(kClosingLog));
}

}  // namespace
}  // namespace tevtest
