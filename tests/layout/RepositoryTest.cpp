#include <gtest/gtest.h>

#include <set>

#include "IncludeRules.h"

namespace layout {
namespace {

std::vector<std::string> AllSources() {
  std::vector<std::string> all;
  for (const char* folder : {"include", "src", "app", "tests"}) {
    const std::vector<std::string> some = SourcesBelow(TEVINFO_SOURCE_DIR, folder);
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

std::string TextIn(const std::string& path) {
  return TextOf(std::filesystem::path(TEVINFO_SOURCE_DIR) / path);
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
                            Layer::Tev, Layer::Report, Layer::App}));
}

TEST(Repository, EveryHeader_IsGuardedByPragmaOnce) {
  for (const std::string& path : AllSources()) {
    if (path.ends_with(".h")) {
      EXPECT_NE(TextIn(path).find("#pragma once\n"), std::string::npos) << path;
    }
  }
}

}  // namespace
}  // namespace layout
