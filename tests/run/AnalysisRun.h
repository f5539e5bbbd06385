#pragma once

#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

#include "run/TevRun.h"

namespace tevtest {

/// What a real model was made from.
[[nodiscard]] inline std::string TruthOf(const std::string& model) {
  return std::string(TEVINFO_EXAMPLES_DIR) + "/" + model + ".truth.json.gz";
}

/// Two fields of one name and step in one geometry, the first of the numbers 1 and 2.
[[nodiscard]] inline ModelWriter FieldsOfOneName(std::initializer_list<float> second) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", model.AddShape("P", model.AddGroup("r", 0)));
  model.AddVariable(mesh, Variable::Floats("R\x1eTime = 1", 13, 1, {1, 2}));
  model.AddVariable(mesh, Variable::Floats("R\x1eTime = 1", 13, 1, second));
  return model;
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
