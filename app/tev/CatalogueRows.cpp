// Writes what a catalogue answers, as a table, as CSV or as lines of JSON.

#include "tev/CatalogueRows.h"

#include <CLI/CLI.hpp>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "tev/Catalogue.h"
#include "tev/Json.h"
#include "tev/Output.h"
#include "tev/Table.h"
#include "tev/VisibleText.h"

namespace {

/// A number in as few digits as it can be read back from; a text as it is; nothing for null.
std::string CellText(const Statement& row, int column) {
  if (row.IsNull(column)) {
    return "";
  }
  return row.IsReal(column) ? NumberText(row.Real(column)) : row.Text(column);
}

Json CellJson(const Statement& row, int column) {
  if (row.IsNull(column)) {
    return nullptr;
  }
  if (row.IsReal(column)) {
    return row.Real(column);
  }
  return row.IsNumber(column) ? Json(row.Integer(column)) : Json(row.Text(column));
}

void WriteTable(Statement& rows, const std::optional<std::size_t>& limit, std::ostream& stream) {
  const auto count = static_cast<std::size_t>(rows.Columns());
  std::vector<Table::Column> columns;
  columns.reserve(count);
  for (int i = 0; i < rows.Columns(); ++i) {
    columns.push_back({VisibleText(rows.NameOf(i)), Table::Align::Left});
  }
  Table table(stream, std::move(columns), {.limit = limit, .indent = 0});
  while (rows.Step()) {
    std::vector<std::string> cells;
    cells.reserve(count);
    for (int i = 0; i < rows.Columns(); ++i) {
      cells.push_back(rows.IsNull(i) ? "-" : VisibleText(CellText(rows, i)));
    }
    table.Add(std::move(cells));
  }
  table.Finish();
}

void WriteCsv(Statement& rows, std::ostream& stream) {
  std::vector<std::string> cells;
  cells.reserve(static_cast<std::size_t>(rows.Columns()));
  for (int i = 0; i < rows.Columns(); ++i) {
    cells.push_back(rows.NameOf(i));
  }
  WriteCsvRow(stream, cells);
  while (rows.Step()) {
    for (int i = 0; i < rows.Columns(); ++i) {
      cells[static_cast<std::size_t>(i)] = CellText(rows, i);
    }
    WriteCsvRow(stream, cells);
  }
}

/// The names of the columns, each but once: the second "id" is "id 2". No column is "format".
std::vector<std::string> KeysOf(const Statement& rows) {
  std::map<std::string, int> uses{{"format", 1}};
  std::vector<std::string> keys;
  keys.reserve(static_cast<std::size_t>(rows.Columns()));
  for (int i = 0; i < rows.Columns(); ++i) {
    const std::string name = rows.NameOf(i);
    std::string key = name;
    while (++uses[key] != 1) {
      const int use = uses[key];
      key = name;
      key.append(" ").append(std::to_string(use));
    }
    keys.push_back(key);
  }
  return keys;
}

void WriteLines(Statement& rows, const std::string& verb, std::ostream& stream) {
  const std::vector<std::string> keys = KeysOf(rows);
  while (rows.Step()) {
    JsonWriter json(stream, JsonLayout::OneLine);
    json.OpenObject();
    json.Member("format", "tev." + verb + "/1");
    for (int i = 0; i < rows.Columns(); ++i) {
      json.Member(keys[static_cast<std::size_t>(i)], CellJson(rows, i));
    }
    json.Close();
    stream << '\n';
  }
}

}  // namespace

void AddCatalogue(CLI::App& app, const std::shared_ptr<RowRun>& run) {
  app.add_option("CATALOGUE", run->catalogue, "The catalogue that tev scan has filled")
      ->required()
      ->option_text(" ");
}

void AddRowForms(CLI::App& app, const std::shared_ptr<RowRun>& run) {
  CLI::Option* csv = app.add_flag_callback(
      "--csv", [run] { run->form = Form::Csv; }, "Write comma-separated values");
  csv->option_text(" ");
  app.add_flag_callback(
         "--jsonl", [run] { run->form = Form::JsonLines; }, "Write a line of JSON for each row")
      ->excludes(csv)
      ->option_text(" ");
  app.add_option("-o,--output", run->output, "Write to FILE; - is standard output")
      ->option_text("FILE");
}

Status WriteRows(const RowRun& run, const std::function<Statement(const Database&)>& ask) {
  AnswerOutput output(run.output);
  try {
    output.RequireApartFrom({run.catalogue});
    const Database database = OpenCatalogue(run.catalogue);
    Statement rows = ask(database);
    std::ostream& stream = output.Stream();
    if (run.form == Form::Csv) {
      WriteCsv(rows, stream);
    } else if (run.form == Form::JsonLines) {
      WriteLines(rows, run.verb, stream);
    } else {
      WriteTable(rows, output.Columns(), stream);
    }
    output.Finish();
    return Status::Done;
  } catch (const OutputFailure&) {
    throw;
  } catch (const Failure& failure) {
    ReportFailure(run.catalogue, failure.what());
    return Status::FileFailed;
  }
}
