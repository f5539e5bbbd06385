// tev view: what a model looks like, as a picture or as a page.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Tev/Exchange/ReplacedFile.h"
#include "tev/FieldOptions.h"
#include "tev/OpenedModel.h"
#include "tev/Verbs.h"
#include "tev/ViewPage.h"
#include "tev/ViewPicture.h"
#include "tev/VisibleText.h"

namespace {

using namespace LbtTev::View;
using LbtTev::Analysis::CellRules;
using LbtTev::Analysis::Model;
using LbtTev::Analysis::Selection;

struct ViewOptions {
  CellRules cells{};
  PictureOptions picture{};
  ViewPageOptions page{};
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
  const PictureSize size{PixelsOf(text.substr(0, cross), text),
                         PixelsOf(text.substr(std::min(cross + 1, text.size())), text)};
  if (const std::size_t pixels = size.width * size.height; pixels > PictureSize::kMostInAll) {
    throw OptionError("--size: " + text + ": " + std::to_string(pixels) + " pixels are more than " +
                      std::to_string(PictureSize::kMostInAll));
  }
  return size;
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

/// A finite number, and nothing else.
std::optional<double> NumberIn(const std::string& text) {
  double number = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  return read.ec == std::errc() && read.ptr == end && std::isfinite(number) ? std::optional(number)
                                                                            : std::nullopt;
}

ColourRange RangeOfOption(const std::string& text) {
  if (text == "all" || text == "step") {
    return {.isOfStep = text == "step"};
  }
  const std::size_t colon = std::min(text.find(':'), text.size());
  const std::optional<double> min = NumberIn(text.substr(0, colon));
  const std::optional<double> max = NumberIn(text.substr(std::min(colon + 1, text.size())));
  if (!min || !max || *min > *max) {
    throw OptionError("--range: " + QuotedText(text) + " is none of all, step and MIN:MAX");
  }
  return {.typed = std::pair(*min, *max)};
}

// --- The run ------------------------------------------------------------------------------------

bool IsPage(const std::string& output) {
  return std::filesystem::path(output).extension() == ".html";
}

void WriteWhole(const std::string& path, const std::string& bytes) {
  LbtTev::Exchange::ReplacedFile file(path);
  file.Stream().write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.Finish();
  file.Commit();
}

void AnswerView(const Input& input, AnswerWriter& writer, const ViewOptions& options) {
  AnswerOutput(options.output).RequireApartFrom({input.source});
  WithModel(input, writer, [&](const LbtTev::Tree& tree) {
    const Model model(tree);
    try {
      // Meshes are read for statistics, and for what is seen of them.
      constexpr std::uint64_t kMostKept = std::uint64_t{64} * 1024 * 1024;
      tree.GetStreams().heavy->GetFile().GetIndex().KeepAllContents(kMostKept);
      if (IsPage(options.output)) {
        WriteWhole(options.output, PageOf(model, input, writer, options.cells, options.page));
      } else {
        WriteWhole(options.output, PictureOf(model, input, writer, options.cells, options.picture));
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
      isPage ? std::vector{"--part",  "--result", "--component", "--step",
                           "--range", "--size",   "--view",      "--colours"}
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
            options->picture.component = text;
          });
  AddText(app, "--range", "What colours span: all steps, this step, or MIN:MAX; all without it",
          "RANGE",
          [options](const std::string& text) { options->picture.range = RangeOfOption(text); });
  AddText(app, "--size", "Pixels across and down; 1200x900 without it", "WxH",
          [options](const std::string& text) { options->picture.style.size = SizeOf(text); });
  AddText(app, "--view", "From where: iso, or along an axis, +x, -x, +y, -y, +z or -z", "SIDE",
          [options](const std::string& text) { options->picture.style.side = SideOfOption(text); });
  AddText(app, "--colours", "viridis, or cividis", "NAME", [options](const std::string& text) {
    options->picture.style.colours = ColoursOfOption(text);
  });
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
  const auto selection = std::make_shared<Selection>();
  const auto jobs = std::make_shared<unsigned int>(1);
  AddSelectionOptions(app, selection);
  AddViewOptions(app, options);
  AddOutputOptions(app, run);
  AddJobsOption(app, jobs);
  app.get_option("--output")->required();
  return [&app, run, options, selection, jobs] {
    options->output = std::exchange(run->output, {});
    options->picture.selection = *selection;
    options->picture.jobs = options->page.jobs = *jobs;
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
    "Both show the outer faces of the parts, but at first no cuts and surfaces through others, in\n"
    "colours that span the numbers of all steps, and mark the least and the greatest number as\n"
    "tev results --stats has them. Where a part lacks the result it is grey. Seen along an axis,\n"
    "z points up; along z, y does. iso is seen from where x, y and z are positive. --cells auto,\n"
    "which takes elements that are not flat for the solid of their number of nodes, is the rule\n"
    "without --cells.\n"
    "Example: tev view bracket.tev -o bracket.html\n"
    "Example: tev view bracket.tev --result Stress --component 1 --view -y -o bracket.png\n"
    "Exit status: 0 done, 1 bad usage or nothing fits, 2 the model failed or is incomplete, or\n"
    "FILE could not be written; then an older FILE stays as it was.";

}  // namespace

Verb ViewVerb() {
  return {.name = "view",
          .summary = "Write a page or a picture that shows a model",
          .notes = kViewNotes,
          .setUp = SetUpView};
}
