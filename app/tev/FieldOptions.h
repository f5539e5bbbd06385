#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <string>

#include "Lbt/Tev/Analysis/Cells.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"
#include "Lbt/Util/Exception.h"
#include "tev/Answers.h"

namespace CLI {
class App;
}

/// Adds "--part", "--result" and "--step", which set what "selection" has.
void AddSelectionOptions(CLI::App& app,
                         const std::shared_ptr<LbtTev::Analysis::Selection>& selection);

/// Adds "-j", the number of threads that inflate blocks: as many as there are cores, but three at
/// most, without it.
void AddJobsOption(CLI::App& app, const std::shared_ptr<unsigned int>& jobs);

/// Runs "select", which finds what patterns ask for. A pattern that fits nothing becomes a
/// UsageError.
template <class Select>
auto Selecting(const std::string& path, const Select& select) {
  try {
    return select();
  } catch (const Lbt::Util::Exception& exception) {
    if (exception.GetType() != Lbt::Util::Exception::ErrorType::ElementNotFound) {
      throw;
    }
    throw UsageError(path + ": " + exception.GetLogMessage());
  }
}

/// " (id 5)", by which a part is told from others of its name; empty where it has a name of its
/// own.
[[nodiscard]] std::string IdMark(const LbtTev::Analysis::Part& part);

/// "part "Arm", result "Stress", step "Time = 1"": how messages name a field. Parts of one name
/// have their id after it.
[[nodiscard]] std::string NameOfField(const LbtTev::Analysis::Model& model,
                                      const LbtTev::Analysis::FieldOfPart& field);

/// "part "Arm", mesh, step "Time = 1"": the same of a mesh.
[[nodiscard]] std::string NameOfMesh(const LbtTev::Analysis::Model& model, std::size_t part,
                                     std::optional<std::size_t> step);

/// The same of anything of a part, "result "Stress"", at a step of that text.
[[nodiscard]] std::string NameInPart(const LbtTev::Analysis::Part& part, const std::string& what,
                                     const std::optional<std::string>& step);

/// "part "Base": took 5195 elements of 10 nodes for tetra10, 12 of 4 nodes for quad".
[[nodiscard]] std::string TextOnTaken(const LbtTev::Analysis::Model& model, std::size_t part,
                                      const LbtTev::Analysis::TakenShapes& shapes);

/// The text of a step; empty for none.
[[nodiscard]] std::string StepText(const LbtTev::Analysis::Model& model,
                                   std::optional<std::size_t> step);

/// The failure that is kept, by its code and with its text.
[[nodiscard]] Failure FailureOf(const std::exception_ptr& failure);
