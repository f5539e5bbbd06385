// Holds SECURITY.md to its word: the tests that it names for its claims are there.

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <set>
#include <string>

#include "support/TempDir.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

/// What the groups of "pattern" find in "text", joined by a dot.
void Collect(const std::string& text, const std::regex& pattern, std::set<std::string>& names) {
  for (std::sregex_iterator found(text.begin(), text.end(), pattern), end; found != end; ++found)
    names.insert((*found)[1].str() + '.' + (*found)[2].str());
}

/// All tests of the project.
std::set<std::string> Tests() {
  const std::regex definition(R"(TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\))");
  std::set<std::string> names;
  for (const auto& file : fs::recursive_directory_iterator(TEVINFO_SOURCE_DIR "/tests")) {
    if (file.path().extension() == ".cpp")
      Collect(ReadFile(file.path()), definition, names);
  }
  return names;
}

TEST(Security, EveryTestThatTheDocumentNames_Exists) {
  std::set<std::string> named;
  Collect(ReadFile(TEVINFO_SOURCE_DIR "/SECURITY.md"), std::regex(R"(`(\w+)\.(\w+_\w+)`)"), named);
  const std::set<std::string> tests = Tests();
  EXPECT_GT(named.size(), 20U);
  EXPECT_GT(tests.size(), 500U);
  for (const std::string& name : named)
    EXPECT_TRUE(tests.contains(name)) << name;
}

// Each row of a table of claims ends with the tests of its claim.
TEST(Security, EveryClaim_NamesATest) {
  const std::string text = ReadFile(TEVINFO_SOURCE_DIR "/SECURITY.md");
  std::size_t claims = 0;
  for (const char* heading : {"## The limits, by name\n", "## The machine\n"}) {
    const std::size_t start = text.find("|---|", text.find(heading));
    ASSERT_NE(start, std::string::npos) << heading;
    const std::string table = text.substr(start, text.find("\n\n", start) - start);
    std::istringstream rows(table.substr(table.find('\n') + 1));
    for (std::string row; std::getline(rows, row); ++claims)
      EXPECT_TRUE(std::regex_search(row, std::regex(R"(`\w+\.\w+_\w+` \|$)"))) << row;
  }
  EXPECT_GT(claims, 15U);
}

}  // namespace
}  // namespace tevtest
