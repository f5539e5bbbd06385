#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "run/TevRun.h"

namespace tevtest {

/// What a real model was made from.
[[nodiscard]] inline std::string TruthOf(const std::string& model) {
  return std::string(TEVINFO_EXAMPLES_DIR) + "/" + model + ".truth.json.gz";
}

/// Hands an answer to the script that compares numbers with the truth; "" where it finds nothing.
[[nodiscard]] inline std::string CheckTruth(const TempDir& dir, const std::string& answer,
                                            std::vector<std::string> arguments) {
  // NumPy comes with the system's Python, which need not be the first in the path.
  const std::string system = "/usr/bin/python3";
  const std::string python = std::filesystem::exists(system) ? system : "python3";
  RunOptions options;
  options.input = Redirect::To(dir.Write("answer", answer));
  arguments.insert(arguments.begin(),
                   {python, std::string(TEVINFO_SOURCE_DIR) + "/tests/run/check_analysis.py"});
  const RunResult run = RunProgram(arguments, options);
  return run.status == 0 ? "" : "status " + std::to_string(run.status) + run.output + run.error;
}

}  // namespace tevtest
