// What is said about the project in more than one place agrees: its version, and what its build
// needs.

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "IncludeRules.h"

namespace layout {
namespace {

std::string TextIn(const std::string& path) {
  return TextOf(std::filesystem::path(TEVINFO_SOURCE_DIR) / path);
}

/// What the group of "pattern" matches where it does for the first time; empty where it never does.
std::string FirstIn(const std::string& path, const std::string& pattern) {
  const std::string text = TextIn(path);
  std::smatch match;
  const bool isFound = std::regex_search(
      text, match, std::regex(pattern, std::regex::ECMAScript | std::regex::multiline));
  return isFound ? match.str(1) : std::string();
}

/// The version that all others are taken from or compared with.
std::string ProjectVersion() {
  return FirstIn("CMakeLists.txt", "^project\\(TevInfo VERSION (\\S+)");
}

TEST(Packaging, Version_IsThatOfTheNewestChanges) {
  ASSERT_TRUE(std::regex_match(ProjectVersion(), std::regex("\\d+\\.\\d+\\.\\d+")));
  EXPECT_EQ(FirstIn("CHANGELOG.md", "^## (\\d\\S*) \\(\\d{4}-\\d\\d-\\d\\d\\)$"), ProjectVersion());
}

TEST(Packaging, Version_IsThatOfTheDebianPackages) {
  EXPECT_EQ(FirstIn("debian/changelog", "^tevinfo \\((\\S+)\\) "), ProjectVersion());
}

TEST(Packaging, Version_OfThePythonProjectIsNotWrittenAgain) {
  EXPECT_NE(TextIn("python/pyproject.toml").find("\ndynamic = [\"version\"]\n"), std::string::npos);
  EXPECT_EQ(FirstIn("python/pyproject.toml", "^(version\\s*=)"), "");
  EXPECT_EQ(FirstIn("python/setup.py", "(project\\\\\\(TevInfo VERSION)"),
            "project\\(TevInfo VERSION");
}

TEST(Packaging, Version_OfTheProjectOutsideIsTheCurrentInterface) {
  const std::string version = ProjectVersion();
  EXPECT_EQ(FirstIn("tests/install/CMakeLists.txt", "find_package\\(TevInfo (\\S+) REQUIRED\\)"),
            version.substr(0, version.rfind('.')));
}

TEST(Packaging, EveryPackageThatABuildNeeds_IsNeededByTheDebianPackages) {
  std::istringstream needed(FirstIn("tools/packages.sh", "^build_packages=\\(([^)]*)\\)"));
  const std::string control = TextIn("debian/control");
  std::vector<std::string> found;
  for (std::string name; needed >> name;) {
    // Debian has a compiler wherever packages are built.
    if (name != "g++") {
      EXPECT_TRUE(std::regex_search(control, std::regex("\n " + name + "( \\([^)]*\\))?,\n")))
          << name;
      found.push_back(name);
    }
  }
  EXPECT_GE(found.size(), 5U);
}

}  // namespace
}  // namespace layout
