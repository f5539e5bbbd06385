// The script ./dev installs what is missing, and nothing where nothing is. A copy of it runs with
// stand-ins for everything that it calls, so that nothing is built, and nothing of this machine's
// packages matters.

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/Process.h"
#include "support/TempDir.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

class DevScript : public ::testing::Test {
 protected:
  DevScript() {
    dir.MakeDirectory("repository");
    fs::create_directories(dir / "repository/fuzz/targets");
    fs::copy_file(fs::path(TEVINFO_SOURCE_DIR) / "dev", dir / "repository/dev");
    fs::copy(fs::path(TEVINFO_SOURCE_DIR) / "tools", dir / "repository/tools");
    dir.MakeDirectory("bin");
    for (const char* name : {"bash", "cat", "chmod", "cp", "dirname", "env", "find", "grep",
                             "mkdir", "mktemp", "nproc", "rm", "sed", "sort", "xargs"})
      LinkTool(name);
    for (const char* name :
         {"cmake", "ctest", "clang-format", "clang-tidy", "gcovr", "python3", "ninja", "valgrind",
          "openssl", "slurmctld", "munge", "chromium", "chromedriver", "node"})
      WriteTool(name, "exit 0");
    // Headers are looked for by a line of source.
    WriteTool("g++", "exec cat >/dev/null");
    // The way in which the script asks for the sanitizers' library.
    WriteTool("clang++", "echo \"$0\"");
    WriteTool("apt-get", Recorded("apt-get"));
    WriteTool("sudo", Recorded("sudo"));
  }

  /// A program of that name, of one line for the shell.
  void WriteTool(const std::string& name, std::string_view line) const {
    fs::permissions(dir.Write("bin/" + name, "#!/bin/sh\n" + std::string(line) + "\n"),
                    fs::perms::owner_all);
  }

  /// A package manager that has all packages but those named.
  void WritePackageManager(const std::string& missing) const {
    WriteTool("dpkg-query",
              "for name; do case \" " + missing +
                  " \" in *\" $name \"*) ;; *) echo \"installed $name\" ;; esac; done");
  }

  [[nodiscard]] RunResult Run(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command{"/bin/sh", "-c", "exec bash \"$0\" \"$@\"",
                                     dir / "repository/dev"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunProgram(command, {.environment = {{"PATH", dir / "bin"},
                                                {"CMAKE_CXX_COMPILER_LAUNCHER", std::nullopt}}});
  }

  /// What was asked of the machine's package tools, in order.
  [[nodiscard]] std::string Installed() const {
    return dir.Has("installed") ? dir.Read("installed") : "";
  }

  void ExpectNothingInstalled() const {
    for (const char* verb : {"build", "test", "asan", "format", "lint", "sweep", "fuzz", "coverage",
                             "clean", "help"}) {
      const RunResult result = Run({verb});
      EXPECT_EQ(result.status, 0) << verb << ": " << result.error;
      EXPECT_EQ(Installed(), "") << verb;
    }
  }

  const TempDir dir;

 private:
  void LinkTool(const std::string& name) const {
    for (const char* folder : {"/bin/", "/usr/bin/"}) {
      if (fs::exists(folder + name)) {
        fs::create_symlink(folder + name, dir / ("bin/" + name));
        return;
      }
    }
    FAIL() << "this machine has no " << name;
  }

  [[nodiscard]] std::string Recorded(const std::string& name) const {
    return "echo \"" + name + " $*\" >> '" + (dir / "installed") + "'";
  }
};

TEST_F(DevScript, EveryVerb_InstallsNothingWhereNothingIsMissing) {
  WritePackageManager("");
  ExpectNothingInstalled();
}

TEST_F(DevScript, EveryVerbWithoutDebiansPackageManager_InstallsNothingWhereItsPartsAreThere) {
  ExpectNothingInstalled();
}

TEST_F(DevScript, UnknownVerb_IsNamedAndTheVerbsListed) {
  const RunResult result = Run({"polish"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.output, "");
  EXPECT_TRUE(result.error.starts_with("dev: unknown verb \"polish\"\n\nUsage: ./dev <verb>"))
      << result.error;
}

TEST_F(DevScript, PackageWithAnUnknownArgument_NamesItBeforeAnythingElse) {
  WritePackageManager("debhelper");
  const RunResult result = Run({"package", "--twise"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, "dev: package: unknown argument \"--twise\"\n");
  EXPECT_EQ(Installed(), "");
}

TEST_F(DevScript, MissingPackages_AreInstalledAlone) {
  WritePackageManager("zlib1g-dev clang-format");
  EXPECT_EQ(Run({"build"}).status, 0);
  const std::string installed = Installed();
  EXPECT_NE(installed.find("apt-get install -y --no-install-recommends zlib1g-dev\n"),
            std::string::npos)
      << installed;
  EXPECT_EQ(installed.find("clang-format"), std::string::npos) << installed;
}

TEST_F(DevScript, MissingPartsWithoutDebiansPackageManager_AreInstalled) {
  fs::remove(dir / "bin/ninja");
  EXPECT_EQ(Run({"build"}).status, 0);
  const std::string installed = Installed();
  EXPECT_NE(installed.find("apt-get install -y --no-install-recommends ninja-build\n"),
            std::string::npos)
      << installed;
}

TEST_F(DevScript, CompilerCache_IsUsedWhereItIsInstalled) {
  WritePackageManager("");
  WriteTool("cmake",
            "echo \"${CMAKE_CXX_COMPILER_LAUNCHER-none}\" >> '" + (dir / "launcher") + "'");
  EXPECT_EQ(Run({"build"}).status, 0);
  EXPECT_EQ(dir.Read("launcher").find("ccache"), std::string::npos);
  WriteTool("ccache", "exit 0");
  EXPECT_EQ(Run({"build"}).status, 0);
  EXPECT_NE(dir.Read("launcher").find("ccache"), std::string::npos);
}

/// What has to hold before a change goes in, with a stand-in for ./dev that notes its verbs, prints
/// what a run of the tests ends with, and fails for one of them.
class CiScript : public ::testing::Test {
 protected:
  [[nodiscard]] RunResult RunFailingAt(const std::string& verb) const {
    fs::create_directories(dir / "repository/.ci");
    fs::copy_file(fs::path(TEVINFO_SOURCE_DIR) / ".ci/run", dir / "repository/.ci/run");
    const std::string note = "echo \"$*\" >> '" + (dir / "verbs") + "'\n";
    const std::string summary = "[ \"$1\" != test ] || echo '100% tests passed out of 7'\n";
    const std::string path = dir.Write(
        "repository/dev", "#!/bin/sh\n" + note + summary + "[ \"$1\" != '" + verb + "' ]\n");
    fs::permissions(path, fs::perms::owner_all);
    return RunProgram({"bash", dir / "repository/.ci/run"});
  }

  static constexpr const char* kSteps = "test\nasan\nlint\nfuzz 20\ncounts\n";

  const TempDir dir;
};

TEST_F(CiScript, AllStepsPass_EndsWithTheSummaryOfTheTests) {
  const RunResult result = RunFailingAt("none");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(dir.Read("verbs"), kSteps);
  EXPECT_TRUE(result.output.ends_with("\n100% tests passed out of 7\n")) << result.output;
  EXPECT_EQ(result.output.find("Failed:"), std::string::npos);
}

TEST_F(CiScript, StepThatFails_IsNamedAndTheOthersRun) {
  for (const char* verb : {"test", "lint", "counts"}) {
    SCOPED_TRACE(verb);
    const RunResult result = RunFailingAt(verb);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(dir.Read("verbs"), kSteps);
    EXPECT_NE(result.output.find("\nFailed:\n  ./dev " + std::string(verb) + "\n\n"),
              std::string::npos)
        << result.output;
    EXPECT_TRUE(result.output.ends_with("\n100% tests passed out of 7\n")) << result.output;
    fs::remove_all(dir / "repository");
    fs::remove(dir / "verbs");
  }
}

}  // namespace
}  // namespace tevtest
