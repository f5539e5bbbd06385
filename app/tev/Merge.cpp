// tev merge: makes one catalogue of several.

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "tev/Catalogue.h"
#include "tev/CataloguePaths.h"
#include "tev/Output.h"
#include "tev/ScanNote.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

struct Options {
  std::string output;
  std::vector<std::string> parts;
};

/// Throws a Failure that names the part where it is no whole catalogue.
void RequireWhole(const std::string& path) {
  try {
    const Database database = OpenCatalogue(path);
    Statement check = database.Prepare("PRAGMA quick_check(1)");
    if (!check.Step() || check.Text(0) != "ok") {
      throw Failure(FailureCode::Damaged, "damaged: " + check.Text(0));
    }
  } catch (const Failure& failure) {
    throw Failure(failure.Code(), path + ": " + failure.what());
  }
}

/// The columns that a table has in both catalogues, each after "prefix".
std::string ColumnsOf(const Database& database, const std::string& table, const std::string& prefix,
                      const char* exceptFor) {
  std::string columns;
  Statement names = database.Prepare(
      "SELECT p.name FROM pragma_table_info('" + table + "', 'part') p JOIN pragma_table_info('" +
      table + "', 'main') m ON m.name = p.name WHERE p.name <> ? ORDER BY m.cid");
  names.Bind(std::string_view(exceptFor));
  while (names.Step()) {
    columns += (columns.empty() ? "" : ", ") + prefix + names.Text(0);
  }
  return columns;
}

/// Takes all rows of the models in "moved" of a table, and gives them the new ids.
void TakeRows(const Database& database, const std::string& table) {
  database.Execute("INSERT INTO main." + table + "(model_id, " +
                   ColumnsOf(database, table, "", "model_id") + ") SELECT moved.new, " +
                   ColumnsOf(database, table, "t.", "model_id") + " FROM part." + table +
                   " t JOIN temp.moved ON t.model_id = moved.old ORDER BY t.rowid");
}

/// Takes of the part, which is attached as "part", what is newer than what there is, or not there.
/// Returns how many models these are.
std::int64_t TakePart(const Database& database) {
  database.Execute(
      "DELETE FROM temp.moved;"
      "INSERT INTO temp.moved(old, previous) SELECT p.id, m.id FROM part.models p "
      "LEFT JOIN main.models m ON m.path = p.path "
      "WHERE m.id IS NULL OR p.scanned_ns > m.scanned_ns ORDER BY p.id;");
  const std::int64_t count = database.Number("SELECT count(*) FROM temp.moved").value_or(0);
  for (const std::string& table : TablesOfModels()) {
    database.Execute("DELETE FROM main." + table +
                     " WHERE model_id IN (SELECT previous FROM temp.moved)");
  }
  const std::string columns = ColumnsOf(database, "models", "", "id");
  database.Execute(
      "DELETE FROM main.texts WHERE rowid IN (SELECT previous FROM temp.moved);"
      "DELETE FROM main.models WHERE id IN (SELECT previous FROM temp.moved);"
      "INSERT INTO main.models(" +
      columns + ") SELECT " + columns +
      " FROM part.models WHERE id IN (SELECT old FROM temp.moved) ORDER BY id;"
      "UPDATE temp.moved SET new = (SELECT m.id FROM main.models m JOIN part.models p "
      "ON p.path = m.path WHERE p.id = old);");
  for (const std::string& table : TablesOfModels()) {
    TakeRows(database, table);
  }
  database.Execute(
      "INSERT INTO main.texts(rowid, title, parts, results) SELECT moved.new, t.title, t.parts, "
      "t.results FROM part.texts t JOIN temp.moved ON t.rowid = moved.old ORDER BY t.rowid");
  return count;
}

/// The files of the parts: each a whole catalogue, and none of them the output.
std::vector<std::string> PartsOf(const Options& options, const std::string& output) {
  std::vector<std::string> parts;
  for (const std::string& part : options.parts) {
    parts.push_back(CataloguePath(part));
    if (parts.back() == output) {
      throw Failure(FailureCode::NotAFile, part + ": is the catalogue to write to");
    }
    RequireWhole(part);
  }
  return parts;
}

/// Looks at all parts before the first is taken, so that one that cannot be read changes nothing.
std::int64_t MergeAll(const Options& options) {
  const std::string output = CataloguePath(options.output);
  const std::vector<std::string> parts = PartsOf(options, output);
  const ScanNote note(output);
  Catalogue catalogue(output);
  catalogue.WriteAhead(output);
  const Database& database = catalogue.GetDatabase();
  database.Execute(
      "CREATE TEMP TABLE moved(old INTEGER PRIMARY KEY, previous INTEGER, new INTEGER);");
  std::int64_t count = 0;
  for (const std::string& part : parts) {
    database.Prepare("ATTACH DATABASE ? AS part").Run(RawText{part});
    Transaction transaction(database);
    count += TakePart(database);
    transaction.Commit();
    database.Execute("DETACH DATABASE part");
  }
  catalogue.MakeIndexes();
  catalogue.EndWriteAhead();
  return count;
}

Status Run(const Options& options) {
  std::int64_t count = 0;
  try {
    count = MergeAll(options);
  } catch (const Failure& failure) {
    ReportFailure(options.output, failure.what());
    return Status::FileFailed;
  }
  WriteLine(options.output + ": " + Counted(static_cast<std::uint64_t>(count), "model") +
            " taken from " + Counted(options.parts.size(), "catalogue"));
  return Status::Done;
}

constexpr const char* kNotes =
    "A path that several catalogues have is taken from the one that scanned it last. Merging the\n"
    "same again changes nothing.\n"
    "Example: tev merge archive.db part-*.db\n"
    "Exit status: 0 done, 1 bad usage, 2 a catalogue cannot be read or written.";

Action SetUp(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  app.add_option("OUT", options->output, "The catalogue to write to; made where it is missing")
      ->required()
      ->option_text(" ");
  app.add_option("PART", options->parts, "Catalogues to take models from")
      ->required()
      ->option_text("...");
  return [options] { return Run(*options); };
}

}  // namespace

Verb MergeVerb() {
  return {
      .name = "merge", .summary = "Make one catalogue of several", .notes = kNotes, .setUp = SetUp};
}
