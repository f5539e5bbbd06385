// Paths that are no model: nothing there, something else, a newer file.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "run/SmallReport.h"
#include "run/TevInfoRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

class BadModel : public TevInfoRun {
 protected:
  [[nodiscard]] Outcome RunOn(const std::string& path) const { return Run({path}); }

  void ExpectNoTevFile(const std::string& path) const {
    ExpectFailed(RunOn(path), Failure("Format Not Supported", path + " is not a Tev file",
                                      "include/Lbt/Tev/Tree"));
  }

  void ExpectNotOpened(const Outcome& outcome, const std::string& path) const {
    ExpectFailed(outcome, Failure("Miscelleneous Error", "Unable to open file \"" + path + "\"",
                                  "include/Lbt/Lbf/LbFile"));
  }

  void ExpectVersionRefused(const std::string& version, const std::string& tenths) const {
    const std::string path =
        dir.Write("version.tev", ContainerWriter().SetVersion(version).Build().bytes);
    ExpectFailed(RunOn(path),
                 Failure("Unknown Version",
                         "This file is of tev file version " + tenths +
                             ".\nThis version of Quarlo only supports tev file version upto 13.\n",
                         "include/Lbt/Lbf/LbFile"));
  }

  const std::string bytes = SmallModel().Build();
};

TEST_F(BadModel, MissingFile_CannotBeOpened) {
  ExpectNotOpened(RunOn("none.tev"), "none.tev");
  ExpectNotOpened(RunOn("none/a \"b\" <c>.tev"), "none/a \"b\" <c>.tev");
}

TEST_F(BadModel, FileWithoutPermission_CannotBeOpened) {
  const std::string locked = dir.Write("locked.tev", bytes);
  ::chmod(locked.c_str(), 0);
  ExpectNotOpened(RunUnprivileged({locked}), locked);
}

TEST_F(BadModel, Directory_IsNoTevFile) { ExpectNoTevFile(logDirectory); }

TEST_F(BadModel, Pipe_IsNoTevFileAndIsNotWaitedFor) {
  const std::string pipe = dir / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  ExpectNoTevFile(pipe);
  const int writer = ::open(pipe.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(writer, 0);
  ExpectNoTevFile(pipe);
  EXPECT_EQ(::write(writer, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  ExpectNoTevFile(pipe);
  ::close(writer);
}

TEST_F(BadModel, Devices_AreNoTevFiles) {
  ExpectNoTevFile("/dev/null");
  ExpectNoTevFile("/dev/zero");
}

TEST_F(BadModel, LinkToAModel_IsFollowed) {
  std::filesystem::create_symlink(dir.Write("small.tev", bytes), dir / "link.tev");
  ExpectReport(RunOn("link.tev"), SmallReport().Document(bytes.size()));
}

TEST_F(BadModel, Text_IsNoTevFile) {
  ExpectNoTevFile(dir.Write("text.tev", "a text that is long enough to have a header\n"));
}

TEST_F(BadModel, FileShorterThanTheSignature_IsNoTevFile) {
  for (std::size_t size = 0; size < kSignature.size(); ++size) {
    ExpectNoTevFile(dir.Write("short.tev", bytes.substr(0, size)));
  }
}

TEST_F(BadModel, AnyOtherByteInTheSignature_MakesItNoTevFile) {
  for (std::size_t at = 0; at < kSignature.size(); ++at) {
    SCOPED_TRACE(at);
    std::string other = bytes;
    other[at] = static_cast<char>(other[at] ^ 1);
    ExpectNoTevFile(dir.Write("other.tev", other));
    other[at] = '\0';
    ExpectNoTevFile(dir.Write("other.tev", other));
  }
}

TEST_F(BadModel, NewerVersions_AreRefusedInTenths) {
  ExpectVersionRefused("1.4", "14");
  ExpectVersionRefused("1.4b", "14");
  ExpectVersionRefused("2.0", "20");
  ExpectVersionRefused("9999", "99990");
}

TEST_F(BadModel, VersionsThatAreNoVersion_AreRefused) {
  for (const char* version : {"inf", "nan", "-1.0", "1e99", "9e9"}) {
    ExpectVersionRefused(version, "4294967295");
  }
}

TEST_F(BadModel, VersionsUpToTheNewest_AreAccepted) {
  for (const char* version : {"1.3", "1.3a", "1.2", "0.7", "0.6", "0.1", "0.1a"}) {
    SCOPED_TRACE(version);
    const std::string model = SmallModel().SetFileVersion(version).Build();
    ExpectReport(RunOn(dir.Write("small.tev", model)), SmallReport().Document(model.size()));
  }
}

TEST_F(BadModel, HeaderThatIsCut_HasAnEmptyIndexBlock) {
  for (const std::size_t size : {8U, 9U, 11U, 12U, 15U}) {
    SCOPED_TRACE(size);
    ExpectFailed(
        RunOn(dir.Write("cut.tev", bytes.substr(0, size))),
        Failure("Out of Bounds", "Not enough bytes in the block", "include/Lbt/Lbf/Block"));
  }
}

TEST_F(BadModel, FileThatIsCutAnywhereAfterItsHeader_CannotBeRead) {
  constexpr std::size_t kStep = 61;
  for (std::size_t size = 16; size < bytes.size(); size += kStep) {
    SCOPED_TRACE(size);
    ExpectFailed(RunOn(dir.Write("cut.tev", bytes.substr(0, size))),
                 Failure("Read Error", "Unable to read from file", "include/Lbt/Lbf/Block"));
  }
  ExpectFailed(RunOn(dir.Write("cut.tev", bytes.substr(0, bytes.size() - 1))),
               Failure("Read Error", "Unable to read from file", "include/Lbt/Lbf/Block"));
}

}  // namespace
}  // namespace tevtest
