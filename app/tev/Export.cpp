// tev export: meshes and fields of a model in formats of other programs.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Tev/Exchange/Contents.h"
#include "Lbt/Tev/Exchange/Hdf5Formats.h"
#include "Lbt/Tev/Exchange/ReplacedFile.h"
#include "Lbt/Tev/Exchange/Vtu.h"
#include "tev/FieldOptions.h"
#include "tev/OpenedModel.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

using namespace LbtTev::Exchange;
using LbtTev::Analysis::FieldOfPart;
using LbtTev::Analysis::Model;
using LbtTev::Analysis::Selection;

/// A format, and how a model is written in it.
struct ExportFormat {
  std::string_view suffix;
  bool hasAllSteps;
  bool needsHdf5;
  std::string_view suffixBeside;  ///< of what is written beside it
};

constexpr ExportFormat kFormats[]{
    {".xdmf", true, true, kXdmfNumbers},
    {".vtu", false, false, ""},
    {".pvd", true, false, ""},
    {".hdf", false, true, ""},
};

struct ExportOptions {
  std::shared_ptr<Selection> selection = std::make_shared<Selection>();
  CellRules cells{};
  std::string output{};
  const ExportFormat* format = nullptr;
};

const ExportFormat& ExportFormatOf(const std::string& path) {
  const auto* format = std::ranges::find_if(kFormats, [&](const ExportFormat& each) {
    return std::filesystem::path(path).extension() == each.suffix;
  });
  if (format == std::end(kFormats)) {
    throw UsageError(path + ": an export ends in .xdmf, .vtu, .pvd or .hdf");
  }
  if (const std::string fault = format->needsHdf5 ? Hdf5Fault() : ""; !fault.empty()) {
    throw UsageError(path + ": " + fault + "; .vtu and .pvd need none");
  }
  return *format;
}

/// Neither what is exported to nor what goes beside it may be a model.
void RequireNoModel(const std::string& output, const ExportFormat& format,
                    const std::string& model) {
  AnswerOutput(output).RequireApartFrom({model});
  if (!format.suffixBeside.empty()) {
    const auto beside = TargetOf(output).replace_extension(format.suffixBeside);
    AnswerOutput(beside.string()).RequireApartFrom({model});
  }
}

/// A line on standard error on what is as it should be, but worth knowing.
void Tell(AnswerWriter& writer, const std::string& line) {
  writer.GetProgress().Clear();
  std::cerr << "tev: " + OneLine(line) + '\n' << std::flush;
}

/// Tells of what an export leaves out or guesses.
class Telling {
 public:
  Telling(const Model& model, std::string path, AnswerWriter& writer)
      : model_(&model), path_(std::move(path)), writer_(&writer) {}

  [[nodiscard]] Listener GetListener() {
    return {.meshFailed =
                [this](std::size_t part, PlaceInTime step, const std::exception_ptr& failure) {
                  AddMissing(NameOfMesh(*model_, part, step), failure);
                },
            .fieldFailed =
                [this](const FieldOfPart& field, const std::exception_ptr& failure) {
                  AddMissing(NameOfField(*model_, field), failure);
                },
            .leftOut =
                [this](const FieldOfPart& field) { leftOut_.insert(NameOfField(*model_, field)); },
            .fewIds =
                [this](std::size_t part, LbtTev::Analysis::Location of) {
                  TellOnce("part " + QuotedText(model_->Parts()[part].name) + " has fewer " +
                           std::string(TextOf(of)) + " ids than " + std::string(TextOf(of)) +
                           "s, and they are left out");
                },
            .taken =
                [this](std::size_t part, PlaceInTime /*step*/, const TakenShapes& shapes) {
                  TellOnce(TextOnTaken(*model_, part, shapes));
                }};
  }

  /// What failed first; empty where nothing did.
  [[nodiscard]] std::string_view FirstMissing() const { return firstMissing_; }

  /// Of very many fields only some are named.
  void TellOfLeftOut(const Contents& contents) const {
    for (const std::size_t part : contents.PartsWithoutPoints()) {
      if (model_->Parts()[part].geometry != nullptr) {
        Tell(*writer_, path_ + ": part " + QuotedText(model_->Parts()[part].name) +
                           " has no points and is left out");
      }
    }
    constexpr std::size_t kMost = 10;
    std::size_t named = 0;
    for (const std::string& field : leftOut_) {
      if (++named > kMost) {
        Tell(*writer_, path_ + ": " + std::to_string(leftOut_.size() - kMost) +
                           " further fields like this are left out");
        break;
      }
      Tell(*writer_, path_ + ": " + field +
                         " has a value neither for each node nor for each element and is left out");
    }
  }

 private:
  /// The same failure may concern the grids of many steps.
  void AddMissing(const std::string& what, const std::exception_ptr& failure) {
    std::string text = what + ": " + FailureOf(failure).what();
    if (missing_.empty()) {
      firstMissing_ = text;
    }
    if (missing_.insert(text).second) {
      writer_->AddMissing(std::move(text));
    }
  }

  /// The grids of many steps may tell the same.
  void TellOnce(const std::string& text) {
    if (told_.insert(text).second) {
      Tell(*writer_, path_ + ": " + text);
    }
  }

  const Model* model_;
  std::string path_;
  AnswerWriter* writer_;
  std::string firstMissing_;
  std::set<std::string> missing_;
  std::set<std::string> leftOut_;
  std::set<std::string> told_;
};

void RequireFit(const Contents& contents, const ExportOptions& options, const std::string& path) {
  if (contents.Steps().empty() || (!options.selection->results.empty() && !contents.HasFields())) {
    throw UsageError(path + ": no mesh or field fits all that is asked for");
  }
  if (!options.format->hasAllSteps && contents.Steps().size() != 1) {
    const bool isVtu = options.format->suffix == ".vtu";
    throw UsageError(path + ": " + options.output + " holds one step, and " +
                     std::to_string(contents.Steps().size()) +
                     " fit: choose one by --step, or write " + (isVtu ? ".pvd" : ".xdmf"));
  }
}

void WriteExport(const Contents& contents, const ExportOptions& options, const Listener& listener) {
  const std::string_view suffix = options.format->suffix;
  if (suffix == ".xdmf") {
    WriteXdmf(contents, options.cells, options.output, listener);
  } else if (suffix == ".pvd") {
    WritePvd(contents, options.cells, options.output, listener);
  } else if (suffix == ".vtu") {
    WriteVtu(contents, 0, options.cells, options.output, listener);
  } else {
    WriteVtkHdf(contents, 0, options.cells, options.output, listener);
  }
}

void AnswerExport(const Input& input, AnswerWriter& writer, const ExportOptions& options) {
  RequireNoModel(options.output, *options.format, input.source);
  WithModel(input, writer, [&](const LbtTev::Tree& tree) {
    const Model model(tree);
    const Contents contents =
        Selecting(input.path, [&] { return Contents(model, *options.selection); });
    RequireFit(contents, options, input.path);
    Telling telling(model, input.path, writer);
    try {
      WriteExport(contents, options, telling.GetListener());
    } catch (const Lbt::Util::Exception& exception) {
      if (exception.GetType() == Lbt::Util::Exception::ErrorType::WriteError) {
        throw OutputFailure({FailureCode::IoError, options.output + ": " + ReasonOf(exception)});
      }
      if (telling.FirstMissing().empty()) {
        throw;
      }
      throw Failure(FailureCode::Damaged,
                    ReasonOf(exception) + ": " + std::string(telling.FirstMissing()));
    }
    telling.TellOfLeftOut(contents);
  });
}

Action SetUpExport(CLI::App& app) {
  const auto options = std::make_shared<ExportOptions>();
  const auto run =
      std::make_shared<FileRun>(FileRun{.verb = "export", .layout = TextLayout::Lines});
  AddModel(app, run);
  AddSelectionOptions(app, options->selection);
  app.add_option(
         "--cells",
         "What elements of a number of nodes become, as in 4=tetra,10=tetra10; auto guesses")
      ->each([options](const std::string& rules) {
        if (const std::string fault = options->cells.Set(rules); !fault.empty()) {
          throw OptionError("--cells: " + fault);
        }
      })
      ->option_text("RULES");
  AddOutputOptions(app, run);
  app.get_option("--output")->required();
  return [run, options] {
    options->output = std::exchange(run->output, {});
    options->format = &ExportFormatOf(options->output);
    run->answer = [options](const Input& input, AnswerWriter& writer) {
      AnswerExport(input, writer, *options);
    };
    return RunOverFiles(*run);
  };
}

constexpr const char* kExportNotes =
    "FILE says the format by its end, and is exact in every float:\n"
    "  .xdmf  all steps for ParaView, with the numbers in a .h5 beside it; parts are blocks\n"
    "  .vtu   one step as XML of VTK; all parts are one grid with an array of part ids\n"
    "  .pvd   all steps, as a folder of .vtu beside it\n"
    "  .hdf   one step as VTKHDF; all parts are one grid\n"
    "A field without a step is written with every step. In one grid of all parts, NaN stands "
    "where\n"
    "a part lacks a field, and -1 where it has no ids. Elements have no type in a model: they "
    "become\n"
    "vertices, lines, triangles, quads and polygons, unless --cells names solids by their number "
    "of\n"
    "nodes: vertex, line, line3, triangle, triangle6, quad, quad8, tetra, tetra10, pyramid,\n"
    "pyramid13, wedge, wedge15, hexahedron, hexahedron20, polygon. --cells auto takes elements "
    "that\n"
    "are not flat for the solid of their number of nodes, and tells on standard error what became\n"
    "what; rules beside it win, as in auto,4=quad. What is damaged is named and left out, "
    "and\n"
    "the rest is written.\n"
    "Example: tev export bracket.tev --cells 10=tetra10 -o bracket.xdmf\n"
    "Exit status: 0 done, 1 bad usage or nothing fits, 2 the model failed or is incomplete, or "
    "FILE\n"
    "could not be written; then an older FILE stays as it was.";

}  // namespace

Verb ExportVerb() {
  return {.name = "export",
          .summary = "Write meshes and fields for ParaView and others",
          .notes = kExportNotes,
          .setUp = SetUpExport};
}
