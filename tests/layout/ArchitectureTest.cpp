// The pages on the architecture and on contributing name what there is: their files and names are
// looked up in the sources.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "IncludeRules.h"

namespace layout {
namespace {

namespace fs = std::filesystem;

/// What stands between single backquotes in a text of Markdown; blocks of code are left out.
std::vector<std::string> QuotedIn(const std::string& text) {
  std::vector<std::string> quoted;
  bool isInBlock = false;
  for (std::size_t at = 0; (at = text.find('`', at)) != std::string::npos;) {
    if (text.compare(at, 3, "```") == 0) {
      isInBlock = !isInBlock;
      at += 3;
      continue;
    }
    const std::size_t end = isInBlock ? at : text.find('`', at + 1);
    if (!isInBlock) {
      quoted.push_back(text.substr(at + 1, end - at - 1));
    }
    at = end + 1;
  }
  return quoted;
}

bool IsPartOfAWord(char character) {
  return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_';
}

/// All words of the product's sources.
std::set<std::string> WordsOfTheSources() {
  std::set<std::string> words;
  for (const char* folder : {"include", "src", "app", "python"}) {
    for (const std::string& path : SourcesBelow(TEVINFO_SOURCE_DIR, folder)) {
      const std::string text = TextOf(fs::path(TEVINFO_SOURCE_DIR) / path);
      for (std::size_t at = 0; at < text.size();) {
        std::size_t end = at;
        while (end < text.size() && IsPartOfAWord(text[end])) {
          ++end;
        }
        words.insert(text.substr(at, end - at));
        at = end + 1;
      }
    }
  }
  return words;
}

/// Whether each word of a name such as "Lbt::Log::Raise" stands in the sources.
bool IsKnown(std::string_view name, const std::set<std::string>& words) {
  while (!name.empty()) {
    const std::size_t end = std::min(name.find("::"), name.size());
    if (!words.contains(std::string(name.substr(0, end)))) {
      return false;
    }
    name.remove_prefix(std::min(end + 2, name.size()));
  }
  return true;
}

bool IsThere(const std::string& quoted, const std::set<std::string>& words) {
  const bool isCommand = quoted.find(' ') != std::string::npos || quoted.starts_with("./");
  return isCommand || fs::exists(fs::path(TEVINFO_SOURCE_DIR) / quoted) || IsKnown(quoted, words);
}

TEST(Architecture, EveryNameAndFile_IsThere) {
  const std::set<std::string> words = WordsOfTheSources();
  const std::vector<std::string> quoted =
      QuotedIn(TextOf(fs::path(TEVINFO_SOURCE_DIR) / "docs/architecture.md"));
  EXPECT_GT(quoted.size(), 50U);
  for (const std::string& name : quoted) {
    EXPECT_TRUE(IsThere(name, words)) << name;
  }
}

/// The paths among what is quoted, from the root of the sources. Tables write "…" for the folders
/// of the line before, and "<layer>" for any.
std::vector<std::string> PathsAmong(const std::vector<std::string>& quoted) {
  constexpr std::string_view kSameFolders = "…";
  std::vector<std::string> paths;
  for (std::string path : quoted) {
    const bool isPath = path.find('/') != std::string::npos && !path.starts_with("./");
    if (!isPath || path.find(' ') != std::string::npos) {
      continue;
    }
    if (path.starts_with(kSameFolders)) {
      path.replace(0, kSameFolders.size(), "include/Lbt");
    } else if (path.starts_with("Lbt/")) {
      path.insert(0, "include/");
    }
    paths.push_back(path.substr(0, path.find('<')));
  }
  return paths;
}

TEST(Contributing, EveryPath_IsThere) {
  const fs::path root = TEVINFO_SOURCE_DIR;
  const std::vector<std::string> paths = PathsAmong(QuotedIn(TextOf(root / "CONTRIBUTING.md")));
  EXPECT_GT(paths.size(), 15U);
  for (const std::string& path : paths) {
    EXPECT_TRUE(fs::exists(root / path)) << path;
  }
}

TEST(Contributing, Paths_AreReadAsTheyAreMeant) {
  EXPECT_EQ(PathsAmong({"…/Log", "Lbt/Util/Gone.h", "tests/<layer>", "Block::Get", "./dev test",
                        "docs/format.md", "a / b"}),
            (std::vector<std::string>{"include/Lbt/Log", "include/Lbt/Util/Gone.h", "tests/",
                                      "docs/format.md"}));
}

TEST(Architecture, NameThatIsGone_IsSeen) {
  const std::set<std::string> words{"Raise", "Log"};
  EXPECT_EQ(QuotedIn("a `Raise` and\n```\n`none`\n```\n`src/gone.cpp`"),
            (std::vector<std::string>{"Raise", "src/gone.cpp"}));
  EXPECT_TRUE(IsThere("Log::Raise", words));
  EXPECT_FALSE(IsThere("Log::Praise", words));
  EXPECT_FALSE(IsThere("src/gone.cpp", words));
}

}  // namespace
}  // namespace layout
