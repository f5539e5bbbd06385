// tev list: one row for each model.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Util/FileAccess.h"
#include "tev/Json.h"
#include "tev/ModelFacts.h"
#include "tev/OpenedModel.h"
#include "tev/Table.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

using LbtTev::Analysis::Model;
using LbtTev::Analysis::StepRange;

constexpr const char* kCsvHeading =
    "file,failure,complete,bytes,title,category,nodes,elements,partCount,resultCount,"
    "stepRange.count,stepRange.label,stepRange.first,stepRange.last";

struct Row {
  std::uint64_t bytes = 0;
  std::optional<std::string> title;
  std::optional<std::string> category;
  std::optional<double> nodes;
  std::optional<double> elements;
  std::optional<std::size_t> partCount;
  std::optional<std::size_t> resultCount;
  std::optional<StepRange> steps;
};

Row RowOf(const LbtTev::Tree& tree, AnswerWriter& writer) {
  const Model model(tree);
  const RootFacts root = RootFactsOf(tree);
  const LostData& lost = writer.Lost();
  const bool areFieldsLost =
      lost.hasRecords || std::ranges::any_of(model.Parts(), [&](const auto& part) {
        return IsLost(model, part, lost);
      });
  const std::size_t parts = model.Parts().size();
  const std::size_t results = model.Results().size();
  const StepRange steps = model.GetStepRange();
  return {.bytes = tree.GetFile().GetSize().value_or(0),
          .title = model.Title(),
          .category = CategoryOf(model, lost),
          .nodes = root.nodes,
          .elements = root.elements,
          .partCount = UnlessLost(lost.hasRecords, parts, parts),
          .resultCount = UnlessLost(areFieldsLost, results, results),
          .steps = UnlessLost(areFieldsLost, steps.count, steps)};
}

/// "20 Time 0.5 ... 10", "1 Load Case 1", "3 mixed".
std::string TextOf(const std::optional<StepRange>& steps) {
  if (!steps || steps->count == 0) {
    return "-";
  }
  std::string text = std::to_string(steps->count) + ' ' + steps->label.value_or("mixed");
  if (steps->first) {
    text += ' ' + NumberText(*steps->first);
  }
  if (steps->last && steps->last != steps->first) {
    text += " ... " + NumberText(*steps->last);
  }
  return VisibleText(text);
}

void WriteFacts(const Row& row, JsonWriter& json) {
  json.Member("bytes", row.bytes);
  json.Member("title", JsonOrNull(row.title));
  json.Member("category", JsonOrNull(row.category));
  json.Member("nodes", JsonOrNull(row.nodes));
  json.Member("elements", JsonOrNull(row.elements));
  json.Member("partCount", JsonOrNull(row.partCount));
  json.Member("resultCount", JsonOrNull(row.resultCount));
  json.Key("stepRange");
  if (!row.steps) {
    json.Value(nullptr);
    return;
  }
  json.OpenObject();
  json.Member("count", row.steps->count);
  json.Member("label", JsonOrNull(row.steps->label));
  json.Member("first", JsonOrNull(row.steps->first));
  json.Member("last", JsonOrNull(row.steps->last));
  json.Close();
}

std::string TextOrNothing(const std::optional<double>& number) {
  return number ? NumberText(*number) : "";
}

std::string TextOrNothing(const std::optional<std::size_t>& count) {
  return count ? std::to_string(*count) : "";
}

void WriteCsv(const std::string& path, const Row& row, AnswerWriter& writer) {
  const std::optional<Failure> failure = writer.GetFailure();
  std::vector<std::string> cells{path,
                                 failure ? std::string(NameOf(failure->Code())) : "",
                                 writer.IsComplete() ? "true" : "false",
                                 std::to_string(row.bytes),
                                 row.title.value_or(""),
                                 row.category.value_or(""),
                                 TextOrNothing(row.nodes),
                                 TextOrNothing(row.elements),
                                 TextOrNothing(row.partCount),
                                 TextOrNothing(row.resultCount)};
  if (row.steps) {
    cells.insert(cells.end(), {std::to_string(row.steps->count), row.steps->label.value_or(""),
                               TextOrNothing(row.steps->first), TextOrNothing(row.steps->last)});
  }
  writer.AddCsvRow(std::move(cells));
}

/// What a count adds to a sum: one that is not finite would leave nothing else of it.
double FiniteOrNothing(const std::optional<double>& count) {
  return count && std::isfinite(*count) ? *count : 0;
}

/// What stands in the column of the categories, after a mark where something is missing. In the
/// last column, the edge of a terminal might hide the mark.
std::string CategoryText(const Row& row, bool isComplete) {
  const std::string category = row.category ? VisibleText(*row.category) : "-";
  return isComplete ? category : row.category ? "INCOMPLETE: " + category : "INCOMPLETE";
}

/// The table of all files, and their sums.
class Listing {
 public:
  void Answer(const Input& input, AnswerWriter& writer) {
    std::optional<Row> row;
    try {
      if (input.failure) {
        throw Failure(*input.failure);
      }
      row = WithModel(input, writer,
                      [&writer](const LbtTev::Tree& tree) { return RowOf(tree, writer); });
    } catch (...) {
      writer.FailWithoutFacts(FailureOfCurrentException());
    }
    if (writer.GetForm() == Form::Text) {
      AddRow(input.path, row, writer);
    } else if (row && writer.GetForm() == Form::Csv) {
      WriteCsv(input.path, *row, writer);
    } else if (row) {
      WriteFacts(*row, writer.Facts());
    }
  }

  /// The last line: the sums.
  void Finish(AnswerWriter& writer) {
    if (writer.GetForm() != Form::Text || !table_) {
      return;
    }
    table_->Finish();
    std::string line = Counted(files_, "file");
    line += failed_ == 0 ? "" : ", " + std::to_string(failed_) + " failed";
    line += ": " + CountedOrDash(nodes_, "node") + ", " + CountedOrDash(elements_, "element") +
            ", " + Counted(parts_, "part") + ", " +
            LbtUtil::FileSizeText(static_cast<std::int64_t>(bytes_));
    std::ostream& stream = writer.Text();
    const auto columns = writer.Columns();
    stream << '\n' << (columns ? FirstColumns(line, *columns) : line) << '\n';
  }

 private:
  void AddRow(const std::string& path, const std::optional<Row>& row, AnswerWriter& writer) {
    Table& table = TableOn(writer);
    ++files_;
    const std::optional<Failure> failure = writer.GetFailure();
    failed_ += failure ? 1U : 0U;
    if (!row) {
      table.Add({VisibleText(path), "FAILED: " + std::string(NameOf(failure->Code()))});
      return;
    }
    bytes_ += row->bytes;
    nodes_ += FiniteOrNothing(row->nodes);
    elements_ += FiniteOrNothing(row->elements);
    parts_ += row->partCount.value_or(0);
    table.Add({VisibleText(path), CategoryText(*row, writer.IsComplete()), NumberOrDash(row->nodes),
               NumberOrDash(row->elements), row->partCount ? std::to_string(*row->partCount) : "-",
               TextOf(row->steps), LbtUtil::FileSizeText(static_cast<std::int64_t>(row->bytes)),
               VisibleText(row->title.value_or(""))});
  }

  Table& TableOn(AnswerWriter& writer) {
    using enum Table::Align;
    std::ostream& stream = writer.Text();
    if (!table_) {
      table_.emplace(stream,
                     std::vector<Table::Column>{{"File", Left},
                                                {"Category", Left},
                                                {"Nodes", Right},
                                                {"Elements", Right},
                                                {"Parts", Right},
                                                {"Steps", Left},
                                                {"Size", Right},
                                                {"Title", Left}},
                     Table::Style{.limit = writer.Columns(), .indent = 0});
    }
    return *table_;
  }

  std::optional<Table> table_;
  std::size_t files_ = 0;
  std::size_t failed_ = 0;
  std::uint64_t bytes_ = 0;
  double nodes_ = 0;
  double elements_ = 0;
  std::size_t parts_ = 0;
};

constexpr const char* kNotes =
    "The last line has the sums. In CSV, a file that failed has its code in the second column.\n"
    "Examples:\n"
    "  tev list /archive\n"
    "  find . -type f -name '*.tev' -mtime -7 -print0 | tev list --files0-from - --csv -o "
    "week.csv\n"
    "Exit status: 0 done, 1 bad usage, 2 a file failed.";

Action SetUp(CLI::App& app) {
  const auto listing = std::make_shared<Listing>();
  return RunWithFileOptions(
      app, {.verb = "list",
            .layout = TextLayout::Lines,
            .csvHeading = kCsvHeading,
            .answer = [listing](const Input& input,
                                AnswerWriter& writer) { listing->Answer(input, writer); },
            .takesFailures = true,
            .finish = [listing](AnswerWriter& writer) { listing->Finish(writer); }});
}

}  // namespace

Verb ListVerb() {
  return {.name = "list", .summary = "One row for each model", .notes = kNotes, .setUp = SetUp};
}
