// tev view: a model as a page.

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "tev/FieldOptions.h"
#include "tev/OpenedModel.h"
#include "tev/Verbs.h"
#include "tev/ViewPage.h"

namespace {

void AnswerView(const Input& input, AnswerWriter& writer, const ViewPageOptions& options) {
  AnswerOutput(options.output).RequireApartFrom({input.source});
  WithModel(input, writer, [&](const LbtTev::Tree& tree) {
    WriteViewPage(LbtTev::Analysis::Model(tree), input, writer, options);
  });
}

Action SetUpView(CLI::App& app) {
  const auto options = std::make_shared<ViewPageOptions>();
  const auto jobs = std::make_shared<unsigned int>(1);
  (void)options->cells.Set("auto");
  const auto run = std::make_shared<FileRun>(FileRun{.verb = "view", .layout = TextLayout::Lines});
  AddModel(app, run);
  AddOutputOptions(app, run);
  app.get_option("--output")->required();
  app.add_option("--cells",
                 "What elements of a number of nodes become, as in tev export; auto without it")
      ->each([options](const std::string& rules) {
        options->cells = {};
        if (const std::string fault = options->cells.Set(rules); !fault.empty()) {
          throw OptionError("--cells: " + fault);
        }
      })
      ->option_text("RULES");
  app.add_flag("--exact", options->isExact, "Keep values as they are, not as 16-bit steps");
  app.add_option("--max-size", "Leave out steps evenly until the page has BYTES at most")
      ->each([options](const std::string& text) {
        if (const std::string fault = WholeNumberFault(text); !fault.empty()) {
          throw OptionError("--max-size: " + fault);
        }
        options->maxSize = std::stoull(text);
      })
      ->option_text("BYTES");
  AddJobsOption(app, jobs);
  return [run, options, jobs] {
    options->output = std::exchange(run->output, {});
    options->jobs = *jobs;
    if (std::filesystem::path(options->output).extension() != ".html") {
      throw UsageError(options->output + ": a page ends in .html");
    }
    run->answer = [options](const Input& input, AnswerWriter& writer) {
      AnswerView(input, writer, *options);
    };
    return RunOverFiles(*run);
  };
}

}  // namespace

Verb ViewVerb() {
  return {.name = "view",
          .summary = "Write a page that shows a model",
          .notes = "Example: tev view bracket.tev -o bracket.html",
          .setUp = SetUpView};
}
