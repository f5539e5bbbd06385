// tev results: which results there are, at which steps and where, and how large they get.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Lbt/Tev/Analysis/Statistics.h"
#include "Lbt/Util/NumberText.h"
#include "tev/FieldOptions.h"
#include "tev/Json.h"
#include "tev/ModelFacts.h"
#include "tev/OpenedModel.h"
#include "tev/Table.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

using namespace LbtTev::Analysis;

struct Options {
  std::shared_ptr<Selection> selection = std::make_shared<Selection>();
  bool stats = false;
  std::shared_ptr<unsigned int> jobs = std::make_shared<unsigned int>(1);
};

/// Takes each field that was asked for; with its statistics, or null where they were not.
using TakeField = std::function<void(const FieldOfPart&, const FieldStatistics*)>;

constexpr const char* kCsvHeading =
    "file,failure,complete,part,result,step,location,components,count";
constexpr const char* kCsvStatistics =
    ",counted,notFinite,component,min,minAt,minIndex,max,maxAt,maxIndex,mean,rms";

/// A figure's name in tables: the magnitude, or the number of a component from 1 on.
template <class Take>
void ForFigures(const Statistics& statistics, const Take& take) {
  if (statistics.magnitude) {
    take("magnitude", *statistics.magnitude);
  }
  for (std::size_t i = 0; i < statistics.components.size(); ++i) {
    take(std::to_string(i + 1), statistics.components[i]);
  }
}

// --- JSON ---------------------------------------------------------------------------------------

Json JsonOf(const Figures& figures) {
  const bool has = figures.finite != 0;
  const auto orNull = [has](const auto& value) { return has ? Json(value) : Json(nullptr); };
  const auto id = [has](const std::optional<std::int32_t>& value) {
    return has && value ? Json(*value) : Json(nullptr);
  };
  return {{"min", orNull(figures.min.value)},      {"minAt", id(figures.min.id)},
          {"minIndex", orNull(figures.min.index)}, {"max", orNull(figures.max.value)},
          {"maxAt", id(figures.max.id)},           {"maxIndex", orNull(figures.max.index)},
          {"mean", orNull(figures.mean)},          {"rms", orNull(figures.rms)}};
}

void WriteStatistics(const Statistics& statistics, JsonWriter& json) {
  json.Key("statistics");
  json.OpenObject();
  json.Member("counted", statistics.counted);
  json.Member("notFinite", statistics.notFinite);
  json.Member("magnitude", statistics.magnitude ? JsonOf(*statistics.magnitude) : Json(nullptr));
  json.Key("components");
  json.OpenList();
  for (const Figures& figures : statistics.components) {
    json.Value(JsonOf(figures));
  }
  json.Close();
  json.Close();
}

void WriteResult(const FieldStatistics& result, JsonWriter& json) {
  if (result.statistics) {
    WriteStatistics(*result.statistics, json);
  } else {
    json.Member("statistics", nullptr);
  }
  if (result.failure != nullptr) {
    const Failure failure = FailureOf(result.failure);
    json.Member("failure", {{"code", NameOf(failure.Code())}, {"message", failure.what()}});
  }
}

TakeField JsonFields(const Model& model, JsonWriter& json) {
  return [&model, &json](const FieldOfPart& each, const FieldStatistics* statistics) {
    WriteFieldJson(model, each, statistics, json);
  };
}

// --- CSV ----------------------------------------------------------------------------------------

std::string CodeOf(const std::optional<Failure>& failure) {
  return failure ? std::string(NameOf(failure->Code())) : "";
}

std::vector<std::string> CsvCells(const Figures& figures) {
  if (figures.finite == 0) {
    return std::vector<std::string>(8);
  }
  const auto id = [](const std::optional<std::int32_t>& value) {
    return value ? std::to_string(*value) : "";
  };
  return {ExactText(figures.min.value), id(figures.min.id),    std::to_string(figures.min.index),
          ExactText(figures.max.value), id(figures.max.id),    std::to_string(figures.max.index),
          ExactText(figures.mean),      ExactText(figures.rms)};
}

/// A row tells whether its field could be read, else what was wrong with the file as far as it was
/// read before the fields.
TakeField CsvFields(const Model& model, const std::string& path, AnswerWriter& writer) {
  const bool wasComplete = writer.IsComplete();
  const std::string code = CodeOf(writer.GetFailure());
  return [=, &model, &path, &writer](const FieldOfPart& each, const FieldStatistics* result) {
    const Field& field = *each.field;
    const bool hasFailed = result != nullptr && result->failure != nullptr;
    const std::vector<std::string> head{path,
                                        hasFailed ? CodeOf(FailureOf(result->failure)) : code,
                                        wasComplete && !hasFailed ? "true" : "false",
                                        std::to_string(model.Parts()[each.part].id),
                                        std::string(field.result),
                                        StepText(model, field.step),
                                        std::string(TextOf(field.location)),
                                        std::to_string(field.components),
                                        std::to_string(field.count)};
    if (result == nullptr || !result->statistics || result->statistics->components.empty()) {
      writer.AddCsvRow(head);
    } else {
      ForFigures(*result->statistics, [&](const std::string& name, const Figures& figures) {
        std::vector<std::string> cells = head;
        cells.push_back(std::to_string(result->statistics->counted));
        cells.push_back(std::to_string(result->statistics->notFinite));
        cells.push_back(name);
        const std::vector<std::string> numbers = CsvCells(figures);
        cells.insert(cells.end(), numbers.begin(), numbers.end());
        writer.AddCsvRow(std::move(cells));
      });
    }
  };
}

// --- Text ---------------------------------------------------------------------------------------

std::string PlaceText(const Figures::Extreme& extreme) {
  return extreme.id ? std::to_string(*extreme.id) : '[' + std::to_string(extreme.index) + ']';
}

TakeField TextFields(const Model& model, Table& table) {
  using Lbt::Util::ToString;
  return [&model, &table](const FieldOfPart& each, const FieldStatistics* result) {
    const Part& part = model.Parts()[each.part];
    std::vector<std::string> head{NameText(part.name) + IdMark(part), NameText(each.field->result),
                                  VisibleText(StepText(model, each.field->step)),
                                  std::string(TextOf(each.field->location))};
    if (!result->statistics) {
      head.emplace_back("damaged");
    }
    if (!result->statistics || result->statistics->components.empty()) {
      table.Add(std::move(head));
      return;
    }
    ForFigures(*result->statistics, [&](const std::string& name, const Figures& figures) {
      std::vector<std::string> cells = head;
      cells.push_back(name);
      if (figures.finite != 0) {
        cells.insert(cells.end(), {ToString(figures.min.value), PlaceText(figures.min),
                                   ToString(figures.max.value), PlaceText(figures.max),
                                   ToString(figures.mean), ToString(figures.rms)});
      }
      if (result->statistics->notFinite != 0) {
        cells.resize(head.size() + 7);
        cells.push_back(std::to_string(result->statistics->notFinite));
      }
      table.Add(std::move(cells));
    });
  };
}

Table StatisticsTable(AnswerWriter& writer) {
  using enum Table::Align;
  return {writer.Text(),
          {{"Part", Left},
           {"Result", Left},
           {"Step", Left},
           {"Location", Left},
           {"Component", Left},
           {"Min", Right},
           {"At", Right},
           {"Max", Right},
           {"At", Right},
           {"Mean", Right},
           {"RMS", Right},
           {"Not finite", Right}},
          {.limit = writer.Columns()}};
}

/// What the fields of one result have in common at one step.
struct Cell {
  Location location = Location::Unknown;
  std::optional<unsigned int> components;
  std::size_t parts = 0;
};

std::string TextOf(const Cell& cell) {
  if (cell.parts == 0) {
    return "-";
  }
  const std::string components = cell.components ? std::to_string(*cell.components) : "mixed";
  return std::string(TextOf(cell.location)) + ' ' + components +
         (cell.parts == 1 ? "" : " x" + std::to_string(cell.parts));
}

void Add(Cell& cell, const Field& field) {
  if (cell.parts++ == 0) {
    cell.location = field.location;
    cell.components = field.components;
    return;
  }
  cell.location = cell.location == field.location ? cell.location : Location::Mixed;
  cell.components = cell.components == field.components ? cell.components : std::nullopt;
}

/// What there is: by step and result.
using Overview = std::map<std::optional<std::size_t>, std::map<std::string_view, Cell>>;

std::string StepCell(const Model& model, std::optional<std::size_t> step) {
  return step ? VisibleText(model.Steps()[*step].text) : "-";
}

/// Steps against results.
void WriteAsTable(const Model& model, const Overview& overview,
                  const std::set<std::string_view>& results, AnswerWriter& writer) {
  std::vector<Table::Column> headings{{"Step", Table::Align::Left}};
  for (const std::string_view name : results) {
    headings.push_back({NameText(name), Table::Align::Left});
  }
  Table table(writer.Text(), std::move(headings), {.limit = writer.Columns()});
  for (const auto& [step, cells] : overview) {
    std::vector<std::string> row{StepCell(model, step)};
    for (const std::string_view name : results) {
      const auto found = cells.find(name);
      row.push_back(TextOf(found == cells.end() ? Cell() : found->second));
    }
    table.Add(std::move(row));
  }
  table.Finish();
}

void WriteAsList(const Model& model, const Overview& overview, AnswerWriter& writer) {
  using enum Table::Align;
  Table table(writer.Text(), {{"Step", Left}, {"Result", Left}, {"Fields", Left}},
              {.limit = writer.Columns()});
  for (const auto& [step, cells] : overview) {
    for (const auto& [name, cell] : cells) {
      table.Add({StepCell(model, step), NameText(name), TextOf(cell)});
    }
  }
  table.Finish();
}

/// Location and components of each result at each step, and how many parts have it.
void WriteOverview(const Model& model, const std::vector<FieldOfPart>& fields,
                   AnswerWriter& writer) {
  Overview overview;
  std::set<std::string_view> results;
  std::size_t count = 0;
  for (const FieldOfPart& each : fields) {
    results.insert(each.field->result);
    const auto [found, isNew] = overview[each.field->step].try_emplace(each.field->result);
    Add(found->second, *each.field);
    count += isNew ? 1U : 0U;
  }
  // A large table that is mostly empty would grow with the square of what there is.
  constexpr std::size_t kAnyCase = 10000;
  constexpr std::size_t kCellsPerResult = 8;
  if (overview.size() * results.size() <= std::max(kAnyCase, kCellsPerResult * count)) {
    WriteAsTable(model, overview, results, writer);
  } else {
    WriteAsList(model, overview, writer);
  }
}

// --- The run ------------------------------------------------------------------------------------

/// Hands the fields out, and tells "writer" of those that could not be read.
void ForFields(const Model& model, const std::vector<FieldOfPart>& fields, const Options& options,
               AnswerWriter& writer, const TakeField& take) {
  if (!options.stats) {
    for (const FieldOfPart& field : fields) {
      take(field, nullptr);
    }
    return;
  }
  GatherStatistics(
      model, fields,
      [&](const FieldOfPart& field, const FieldStatistics& result) {
        if (result.failure != nullptr) {
          writer.AddMissing(NameOfField(model, field) + ": " + FailureOf(result.failure).what());
        }
        take(field, &result);
      },
      *options.jobs - 1);
}

void Answer(const Input& input, AnswerWriter& writer, const Options& options) {
  WithModel(input, writer, [&](const LbtTev::Tree& tree) {
    const Model model(tree);
    const auto fields =
        Selecting(input.path, [&] { return SelectFields(model, *options.selection); });
    if (writer.IsJson()) {
      JsonWriter& json = writer.Facts();
      WriteParts(model, writer.Lost(), json);
      WriteSteps(model, json);
      json.Key("fields");
      json.OpenList();
      ForFields(model, fields, options, writer, JsonFields(model, json));
      json.Close();
    } else if (writer.GetForm() == Form::Csv) {
      ForFields(model, fields, options, writer, CsvFields(model, input.path, writer));
    } else if (fields.empty()) {
      writer.TellNone("results");
    } else if (options.stats) {
      Table table = StatisticsTable(writer);
      ForFields(model, fields, options, writer, TextFields(model, table));
      table.Finish();
    } else {
      WriteOverview(model, fields, writer);
    }
  });
}

Action SetUp(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  const auto run =
      AddFileOptions(app, {.verb = "results",
                           .csvHeading = kCsvHeading,
                           .answer = [options](const Input& input, AnswerWriter& writer) {
                             Answer(input, writer, *options);
                           }});
  AddSelectionOptions(app, options->selection);
  AddJobsOption(app, options->jobs);
  app.add_flag("--stats", options->stats, "Read the values, and tell how large they get");
  return [run, options] {
    run->csvHeading += options->stats ? kCsvStatistics : "";
    return RunOverFiles(*run);
  };
}

constexpr const char* kNotes =
    "Patterns are shell globs of whole names; a name that fits exactly comes first. Without\n"
    "--stats no values are read. With it, only nodes that a part's own faces use take part; At is\n"
    "the id of the node or element, or [its index] where the part has no ids.\n"
    "Example: tev results --stats --result Stress --part 'Arm*' bracket.tev\n"
    "Exit status: 0 done, 1 bad usage or nothing fits, 2 a file failed.";

}  // namespace

void WriteFieldJson(const Model& model, const FieldOfPart& each, const FieldStatistics* statistics,
                    JsonWriter& json) {
  const Field& field = *each.field;
  json.OpenObject();
  json.Member("part", model.Parts()[each.part].id);
  json.Member("result", field.result);
  json.Member("step", StepJson(model, field));
  json.Member("location", TextOf(field.location));
  json.Member("components", field.components);
  json.Member("count", field.count);
  if (statistics != nullptr) {
    WriteResult(*statistics, json);
  }
  json.Close();
}

Verb ResultsVerb() {
  return {.name = "results",
          .summary = "Tell which results models have, and how large they get",
          .notes = kNotes,
          .setUp = SetUp};
}
