#pragma once

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "run/AnalysisRun.h"

namespace tevtest {

/// Writes pages by tev, and has them looked at in a browser without a display.
class PageRun : public TevRun {
 protected:
  /// One check of the script after the other, each with its arguments.
  using Checks = std::vector<std::vector<std::string>>;

  /// Writes a page by that name without a word, and returns its path.
  [[nodiscard]] std::string PageOf(const std::string& model,
                                   const std::vector<std::string>& options = {},
                                   const std::string& name = "page.html") const {
    const std::string page = (dir.Path() / name).string();
    std::vector<std::string> arguments{"view", model, "-o", page};
    arguments.insert(arguments.end(), options.begin(), options.end());
    EXPECT_EQ(Answer(arguments), "");
    return page;
  }

  /// What the script finds wrong; "" where it finds nothing. All checks are done in one browser,
  /// which takes longer to start than most of them. Under a sanitizer, which has nothing to say of
  /// what a browser does, the pages are written and not looked at.
  [[nodiscard]] std::string Check(const Checks& checks) const {
#if defined(TEVTEST_SANITIZED)
    return checks.empty() ? "no checks" : "";
#else
    std::vector<std::string> arguments{
        "/usr/bin/python3", std::string(TEVINFO_SOURCE_DIR) + "/tests/run/check_page.py"};
    for (const auto& check : checks) {
      arguments.insert(arguments.end(), check.begin(), check.end());
      arguments.emplace_back("--");
    }
    const RunResult run = RunProgram(arguments, {.environment = {{"PYTHONDONTWRITEBYTECODE", "1"}},
                                                 .workingDirectory = dir.Path()});
    return run.status == 0 ? "" : "status " + std::to_string(run.status) + run.output + run.error;
#endif
  }

  [[nodiscard]] static std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
};

}  // namespace tevtest
