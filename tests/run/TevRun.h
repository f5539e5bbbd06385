#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "run/UnchangedModels.h"
#include "support/ModelWriter.h"
#include "support/Process.h"
#include "support/TempDir.h"

namespace tevtest {

/// Runs tev in a scratch directory.
class TevRun : public ::testing::Test {
 protected:
  [[nodiscard]] RunResult Run(std::vector<std::string> arguments, RunOptions options = {}) const {
    arguments.insert(arguments.begin(), TEV_PROGRAM);
    options.workingDirectory = dir.Path();
    const UnchangedModels unchanged(arguments, dir.Path());
    return RunProgram(arguments, options);
  }

  void Write(std::string_view name, const ModelWriter& model) const {
    dir.Write(name, model.Build());
  }

  /// Expects a run that did all, and returns its answer.
  [[nodiscard]] std::string Answer(std::vector<std::string> arguments) const {
    const RunResult run = Run(std::move(arguments));
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.error, "");
    return run.output;
  }

  /// Hands a JSON answer to the checking script; "" where it finds nothing.
  [[nodiscard]] std::string Check(const std::string& answer, const std::string& how,
                                  const std::string& against) const {
    RunOptions options;
    options.input = Redirect::To(dir.Write("answer.json", answer));
    const std::string script = std::string(TEVINFO_SOURCE_DIR) + "/tests/run/check_tev_json.py";
    const RunResult run = RunProgram({"python3", script, how, against}, options);
    return run.status == 0 ? "" : "status " + std::to_string(run.status) + run.output + run.error;
  }

  [[nodiscard]] static std::string Schema(const std::string& command) {
    return std::string(TEVINFO_SOURCE_DIR) + "/docs/schema/" + command + ".schema.json";
  }

  [[nodiscard]] static std::string Example(const std::string& name) {
    return std::string(TEVINFO_EXAMPLES_DIR) + "/" + name;
  }

  const TempDir dir;
};

}  // namespace tevtest
