// What the verbs on fields share: their options, and names and numbers in their answers.

#include "tev/FieldOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <thread>

#include "tev/Verbs.h"
#include "tev/VisibleText.h"

using LbtTev::Analysis::FieldOfPart;
using LbtTev::Analysis::Model;
using LbtTev::Analysis::Selection;
using LbtTev::Analysis::TakenShapes;

namespace {

void AddPatterns(CLI::App& app, const char* name, std::vector<std::string>& patterns,
                 const char* description) {
  app.add_option(name, patterns, description)
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false)
      ->option_text("PATTERN");
}

std::optional<std::string> TextOfStep(const Model& model, std::optional<std::size_t> step) {
  return step ? std::optional(model.Steps()[*step].text) : std::nullopt;
}

}  // namespace

void AddSelectionOptions(CLI::App& app, const std::shared_ptr<Selection>& selection) {
  AddPatterns(app, "--part", selection->parts, "Parts by name, glob or id; may be repeated");
  AddPatterns(app, "--result", selection->results, "Results by name or glob; may be repeated");
  AddPatterns(app, "--step", selection->steps,
              "Steps by name or glob; '' is none; may be repeated");
}

void AddJobsOption(CLI::App& app, const std::shared_ptr<unsigned int>& jobs) {
  constexpr unsigned int kMost = 3;
  *jobs = std::clamp(std::thread::hardware_concurrency(), 1U, kMost);
  app.add_option("-j,--jobs", *jobs,
                 "Threads that inflate blocks, at most two blocks ahead; 1: each in its turn")
      ->check([](const std::string& text) {
        return text == "0" ? "there is no work for 0 threads" : WholeNumberFault(text);
      })
      ->option_text("N");
}

std::string IdMark(const LbtTev::Analysis::Part& part) {
  return part.hasNamesake ? " (id " + std::to_string(part.id) + ')' : "";
}

std::string NameInPart(const LbtTev::Analysis::Part& part, const std::string& what,
                       const std::optional<std::string>& step) {
  return "part " + QuotedText(part.name) + IdMark(part) + ", " + what +
         (step ? ", step " + QuotedText(*step) : "");
}

std::string NameOfField(const Model& model, const FieldOfPart& field) {
  return NameInPart(model.Parts()[field.part], "result " + QuotedText(field.field->result),
                    TextOfStep(model, field.field->step));
}

std::string NameOfMesh(const Model& model, std::size_t part, std::optional<std::size_t> step) {
  return NameInPart(model.Parts()[part], "mesh", TextOfStep(model, step));
}

std::string TextOnTaken(const Model& model, std::size_t part, const TakenShapes& shapes) {
  std::string text = "part " + QuotedText(model.Parts()[part].name) + ": took";
  const char* separator = " ";
  for (const auto& [taken, count] : shapes) {
    const auto& [nodes, shape] = taken;
    text += separator + Counted(count, "element") + " of " + Counted(nodes, "node") + " for " +
            std::string(LbtTev::Analysis::FactsOf(shape).name);
    separator = ", ";
  }
  return shapes.empty() ? text + " nothing" : text;
}

std::string StepText(const Model& model, std::optional<std::size_t> step) {
  return TextOfStep(model, step).value_or("");
}

Failure FailureOf(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (...) {
    return FailureOfCurrentException();
  }
}
