// tev view: what a model looks like, as a picture or as a page.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Tev/Exchange/ReplacedFile.h"
#include "Lbt/Tev/View/Picture.h"
#include "tev/FieldOptions.h"
#include "tev/OpenedModel.h"
#include "tev/Verbs.h"
#include "tev/ViewPage.h"
#include "tev/VisibleText.h"

namespace {

using namespace LbtTev::View;
using LbtTev::Analysis::CellRules;
using LbtTev::Analysis::FieldOfPart;
using LbtTev::Analysis::Model;
using LbtTev::Analysis::PartKind;
using LbtTev::Analysis::SelectedSteps;
using LbtTev::Analysis::Selection;

struct ViewOptions {
  std::shared_ptr<Selection> selection = std::make_shared<Selection>();
  std::string component{};  ///< as it was asked for; empty for the usual one
  CellRules cells{};
  PictureStyle style{};
  ViewPageOptions page{};
  std::shared_ptr<unsigned int> jobs = std::make_shared<unsigned int>(1);
  std::string output{};
};

// --- What is asked for --------------------------------------------------------------------------

/// A side of a picture.
std::size_t PixelsOf(const std::string& text, const std::string& size) {
  std::size_t pixels = 0;
  if (!WholeNumberFault(text).empty() ||
      std::from_chars(text.data(), text.data() + text.size(), pixels).ec != std::errc() ||
      pixels == 0) {
    throw OptionError("--size: " + QuotedText(size) + " is no size like 1200x900");
  }
  if (pixels > PictureSize::kMost) {
    throw OptionError("--size: " + text + " pixels are more than " +
                      std::to_string(PictureSize::kMost));
  }
  return pixels;
}

PictureSize SizeOf(const std::string& text) {
  const std::size_t cross = std::min(text.find('x'), text.size());
  return {PixelsOf(text.substr(0, cross), text),
          PixelsOf(text.substr(std::min(cross + 1, text.size())), text)};
}

Side SideOfOption(const std::string& text) {
  const std::optional<Side> side = SideOf(text);
  if (!side) {
    throw OptionError("--view: " + QuotedText(text) + " is none of iso, +x, -x, +y, -y, +z and -z");
  }
  return *side;
}

Colours ColoursOfOption(const std::string& text) {
  if (text != "viridis" && text != "cividis") {
    throw OptionError("--colours: " + QuotedText(text) + " is neither viridis nor cividis");
  }
  return text == "viridis" ? Colours::Viridis : Colours::Cividis;
}

void RequireComponentName(const std::string& text) {
  if (text != "magnitude" && (!WholeNumberFault(text).empty() || text == "0")) {
    throw OptionError("--component: " + QuotedText(text) +
                      " is neither magnitude nor a number from 1 on");
  }
}

Component ComponentOf(const std::string& text) {
  std::size_t number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  return read.ec == std::errc() ? Component(number - 1) : Component();
}

// --- What the model has of it -------------------------------------------------------------------

/// The result that is asked for, else the first one that any of the parts has; none where there is
/// none.
std::optional<std::string> ResultOf(const Model& model, const std::vector<std::size_t>& parts,
                                    const Selection& selection) {
  if (!selection.results.empty()) {
    const auto results = SelectResults(model, selection.results);
    if (results.size() > 1) {
      throw UsageError("a picture shows one result, and " + std::to_string(results.size()) +
                       " fit: choose one by --result");
    }
    return std::string(results.front());
  }
  std::optional<std::string> first;
  for (const FieldOfPart& each : FieldsOfParts(model, parts, [](const auto&) { return true; })) {
    if (each.field->components != 0 && (!first || each.field->result < *first)) {
      first = std::string(each.field->result);
    }
  }
  return first;
}

std::optional<std::size_t> StepOf(const Model& model, const Shot& shot,
                                  const Selection& selection) {
  if (selection.steps.empty()) {
    return LastStep(model, shot.parts, shot.result);
  }
  const SelectedSteps selected(model, selection.steps);
  std::vector<std::optional<std::size_t>> fits;
  if (selected.Has(std::nullopt)) {
    fits.emplace_back();
  }
  for (std::size_t step = 0; step < model.Steps().size(); ++step) {
    if (selected.Has(step)) {
      fits.emplace_back(step);
    }
  }
  if (fits.size() != 1) {
    throw UsageError("a picture shows one step, and " + std::to_string(fits.size()) +
                     " fit: choose one by --step");
  }
  return fits.front();
}

/// The component that is asked for, else the usual one of the result's first field.
Component ComponentOf(const Model& model, const Shot& shot, const std::string& asked) {
  std::optional<std::size_t> width;
  for (const FieldOfPart& each : FieldsOfParts(
           model, shot.parts, [&](const auto& field) { return field.result == *shot.result; })) {
    const std::size_t components = each.field->components;
    if (!asked.empty() && HasComponent(components, ComponentOf(asked))) {
      return ComponentOf(asked);
    }
    width = width.value_or(components);
  }
  if (!asked.empty() && width) {
    throw UsageError("result " + QuotedText(*shot.result) + " has " + Counted(*width, "component") +
                     ", and no " + (asked == "magnitude" ? asked : "component " + asked));
  }
  return UsualComponent(width.value_or(1));
}

Shot ShotOf(const Model& model, const ViewOptions& options) {
  const Selection& selection = *options.selection;
  Shot shot{.parts = SelectParts(model, selection.parts), .cells = options.cells};
  shot.result = ResultOf(model, shot.parts, selection);
  shot.step = StepOf(model, shot, selection);
  if (shot.result) {
    shot.component = ComponentOf(model, shot, options.component);
  }
  return shot;
}

// --- The run ------------------------------------------------------------------------------------

/// Draws what is there, and tells "writer" of what is not.
std::string Draw(const Model& model, const Shot& shot, const Input& input, AnswerWriter& writer,
                 const PictureStyle& style) {
  std::string firstMissing;
  const auto addMissing = [&](const std::string& what, const std::exception_ptr& failure) {
    const std::string text = what + ": " + FailureOf(failure).what();
    firstMissing = firstMissing.empty() ? text : firstMissing;
    writer.AddMissing(text);
  };
  const Scene scene =
      GatherScene(model, shot,
                  {.meshFailed =
                       [&](std::size_t part, const std::exception_ptr& failure) {
                         addMissing(NameOfMesh(model, part, shot.step), failure);
                       },
                   .fieldFailed =
                       [&](const FieldOfPart& field, const std::exception_ptr& failure) {
                         addMissing(NameOfField(model, field), failure);
                       }});
  if (scene.parts.empty() && !firstMissing.empty()) {
    throw Failure(FailureCode::Damaged, "no part has a mesh that can be read: " + firstMissing);
  }
  if (scene.parts.empty()) {
    throw UsageError(input.path + ": no part that is asked for has a mesh");
  }
  const std::string name = std::filesystem::path(input.path).filename().string();
  return PngOf(scene, TextsOf(model, shot, scene, name), style);
}

bool IsPage(const std::string& output) {
  return std::filesystem::path(output).extension() == ".html";
}

void WriteWhole(const std::string& path, const std::string& bytes) {
  LbtTev::Exchange::ReplacedFile file(path);
  file.Stream().write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.Finish();
  file.Commit();
}

void DrawPicture(const Model& model, const Input& input, AnswerWriter& writer,
                 const ViewOptions& options) {
  const Shot shot = Selecting(input.path, [&] {
    try {
      return ShotOf(model, options);
    } catch (const UsageError& error) {
      throw UsageError(input.path + ": " + error.what());
    }
  });
  WriteWhole(options.output, Draw(model, shot, input, writer, options.style));
}

/// The picture of a page: the parts that it shows at first, as it shows them. Empty where there is
/// nothing to draw, or no way to; what is damaged is told with the page.
std::string PictureOfPage(const Model& model, const Input& input, const ViewOptions& options) {
  if (!PictureFault().empty()) {
    return "";
  }
  Shot shot = ShotOf(model, {.cells = options.cells});
  const auto& parts = model.Parts();
  if (std::ranges::any_of(parts, [](const auto& part) { return part.kind == PartKind::Part; })) {
    std::erase_if(shot.parts, [&](std::size_t part) { return parts[part].kind != PartKind::Part; });
  }
  const Scene scene =
      GatherScene(model, shot, {.meshFailed = [](auto&&...) {}, .fieldFailed = [](auto&&...) {}});
  const std::string name = std::filesystem::path(input.path).filename().string();
  constexpr PictureSize kSize{600, 450};
  return scene.parts.empty() ? ""
                             : PngOf(scene, TextsOf(model, shot, scene, name), {.size = kSize});
}

void AnswerView(const Input& input, AnswerWriter& writer, const ViewOptions& options) {
  AnswerOutput(options.output).RequireApartFrom({input.source});
  WithModel(input, writer, [&](const LbtTev::Tree& tree) {
    const Model model(tree);
    try {
      if (IsPage(options.output)) {
        ViewPageOptions page = options.page;
        page.cells = options.cells;
        page.picture = PictureOfPage(model, input, options);
        WriteWhole(options.output, PageOf(model, input, writer, page));
      } else {
        DrawPicture(model, input, writer, options);
      }
    } catch (const Lbt::Util::Exception& exception) {
      if (exception.GetType() == Lbt::Util::Exception::ErrorType::WriteError) {
        throw OutputFailure({FailureCode::IoError, options.output + ": " + ReasonOf(exception)});
      }
      throw;
    }
  });
}

/// The file's name says what is written; options of the other are in vain.
void RequireFormat(const CLI::App& app, const std::string& output) {
  const bool isPage = IsPage(output);
  if (!isPage && std::filesystem::path(output).extension() != ".png") {
    throw UsageError(output + ": a view ends in .html or .png");
  }
  if (const std::string fault = isPage ? "" : PictureFault(); !fault.empty()) {
    throw UsageError(output + ": " + fault);
  }
  const std::vector<const char*> vain =
      isPage ? std::vector{"--part", "--result", "--component", "--step",
                           "--size", "--view",   "--colours"}
             : std::vector{"--exact", "--max-size"};
  for (const char* option : vain) {
    if (app.get_option(option)->count() != 0) {
      throw UsageError(output + ": " + option + " is for " + (isPage ? "pictures" : "pages"));
    }
  }
}

/// Adds an option that is read when the command line is.
template <class Take>
void AddText(CLI::App& app, const char* name, const char* description, const char* value,
             const Take& take) {
  app.add_option_function<std::string>(name, take, description)->option_text(value);
}

void AddViewOptions(CLI::App& app, const std::shared_ptr<ViewOptions>& options) {
  AddText(app, "--component", "A component of the result, from 1 on, or magnitude", "C",
          [options](const std::string& text) {
            RequireComponentName(text);
            options->component = text;
          });
  AddText(app, "--size", "Pixels across and down; 1200x900 without it", "WxH",
          [options](const std::string& text) { options->style.size = SizeOf(text); });
  AddText(app, "--view", "From where: iso, or along an axis, +x, -x, +y, -y, +z or -z", "SIDE",
          [options](const std::string& text) { options->style.side = SideOfOption(text); });
  AddText(app, "--colours", "viridis, or cividis", "NAME",
          [options](const std::string& text) { options->style.colours = ColoursOfOption(text); });
  AddText(app, "--cells",
          "What elements of a number of nodes become, as in 4=tetra,10=tetra10; auto guesses",
          "RULES", [options](const std::string& rules) {
            CellRules cells;
            if (const std::string fault = cells.Set(rules); !fault.empty()) {
              throw OptionError("--cells: " + fault);
            }
            options->cells = cells;
          });
  app.add_flag("--exact", options->page.isExact,
               "A page: values as they are, not in 65,535 steps of their range");
  AddText(app, "--max-size", "A page: leave steps out evenly until it has at most BYTES", "BYTES",
          [options](const std::string& text) {
            if (const std::string fault = WholeNumberFault(text); !fault.empty()) {
              throw OptionError("--max-size: " + fault);
            }
            options->page.maxSize = std::stoull(text);
          });
}

Action SetUpView(CLI::App& app) {
  const auto options = std::make_shared<ViewOptions>();
  static_cast<void>(options->cells.Set("auto"));
  const auto run = std::make_shared<FileRun>(FileRun{.verb = "view", .layout = TextLayout::Lines});
  AddModel(app, run);
  AddSelectionOptions(app, options->selection);
  AddViewOptions(app, options);
  AddOutputOptions(app, run);
  AddJobsOption(app, options->jobs);
  app.get_option("--output")->required();
  return [&app, run, options] {
    options->output = std::exchange(run->output, {});
    options->page.jobs = *options->jobs;
    RequireFormat(app, options->output);
    run->answer = [options](const Input& input, AnswerWriter& writer) {
      AnswerView(input, writer, *options);
    };
    return RunOverFiles(*run);
  };
}

constexpr const char* kViewNotes =
    "FILE says by its end what is written, and needs no display:\n"
    "  .html  a page for any browser of today, which asks for no other file: all parts, results\n"
    "         and steps, and the facts of tev info and tev results --stats\n"
    "  .png   a picture of one result at one step; else of the first result by name and its last\n"
    "         step, and of vectors the magnitude\n"
    "Both show the outer faces of the parts, and mark the least and the greatest number as\n"
    "tev results --stats has them. Where a part lacks the result it is grey. Seen along an axis, "
    "z\n"
    "points up; along z, y does. iso is seen from where x, y and z are positive. --cells auto, "
    "which\n"
    "takes elements that are not flat for the solid of their number of nodes, is the rule without\n"
    "--cells.\n"
    "Example: tev view bracket.tev -o bracket.html\n"
    "Example: tev view bracket.tev --result Stress --component 1 --view -y -o bracket.png\n"
    "Exit status: 0 done, 1 bad usage or nothing fits, 2 the model failed or is incomplete, or "
    "FILE\n"
    "could not be written; then an older FILE stays as it was.";

}  // namespace

Verb ViewVerb() {
  return {.name = "view",
          .summary = "Write a page or a picture that shows a model",
          .notes = kViewNotes,
          .setUp = SetUpView};
}
