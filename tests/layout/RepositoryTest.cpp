// The files of this repository keep to its rules.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <set>
#include <string>

#include "IncludeRules.h"

namespace layout {
namespace {

constexpr std::array kFolders{"include", "src", "app", "python", "tests", "bench", "fuzz", "view"};

std::vector<std::string> AllSources() {
  std::vector<std::string> all;
  for (const char* folder : kFolders) {
    const std::vector<std::string> some = SourcesBelow(TEVINFO_SOURCE_DIR, folder);
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

std::string TextIn(const std::string& path) {
  return TextOf(std::filesystem::path(TEVINFO_SOURCE_DIR) / path);
}

/// Whether somebody builds there, under whatever name.
bool IsBuildFolder(const std::filesystem::path& folder) {
  return folder.filename() == "build" || std::filesystem::exists(folder / "CMakeCache.txt");
}

TEST(Repository, EveryFolderWithSources_IsRead) {
  std::set<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator(TEVINFO_SOURCE_DIR)) {
    const std::string name = entry.path().filename();
    if (entry.is_directory() && !name.starts_with('.') && !IsBuildFolder(entry.path()) &&
        !SourcesBelow(TEVINFO_SOURCE_DIR, name).empty()) {
      found.insert(name);
    }
  }
  EXPECT_EQ(found, std::set<std::string>(kFolders.begin(), kFolders.end()));
}

TEST(Repository, EveryInclude_KeepsTheOrderOfTheLayers) {
  for (const std::string& path : AllSources()) {
    for (const Violation& violation : CheckIncludes(path, TextIn(path))) {
      ADD_FAILURE() << Describe(violation);
    }
  }
}

TEST(Repository, EveryLayer_IsAmongTheFilesThatAreRead) {
  std::set<Layer> seen;
  for (const std::string& path : AllSources()) {
    if (const auto layer = LayerOfFile(path)) {
      seen.insert(*layer);
    }
  }
  EXPECT_EQ(seen, (std::set{Layer::None, Layer::Util, Layer::Log, Layer::Lbf, Layer::Adt,
                            Layer::Tev, Layer::Report, Layer::Check, Layer::Analysis,
                            Layer::Exchange, Layer::View, Layer::Library, Layer::App}));
}

TEST(Repository, EveryHeader_IsGuardedByPragmaOnce) {
  for (const std::string& path : AllSources()) {
    if (path.ends_with(".h")) {
      EXPECT_NE(TextIn(path).find("#pragma once\n"), std::string::npos) << path;
    }
  }
}

TEST(Repository, EverySource_OpensWithWhatItIsFor) {
  for (const std::string& path : AllSources()) {
    if (path.ends_with(".cpp")) {
      EXPECT_TRUE(TextIn(path).starts_with("// ")) << path;
    }
  }
}

TEST(Repository, NoFile_IsTooLongToBeReadAtOnce) {
  constexpr std::ptrdiff_t kMost = 400;
  for (const std::string& path : AllSources()) {
    if (path.starts_with("include/") || path.starts_with("src/") || path.starts_with("app/") ||
        path.starts_with("python/")) {
      const std::string text = TextIn(path);
      EXPECT_LE(std::count(text.begin(), text.end(), '\n'), kMost) << path;
    }
  }
}

}  // namespace
}  // namespace layout
