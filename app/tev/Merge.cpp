// tev merge: makes one catalogue of several.

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tev/Catalogue.h"
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

/// The columns of "models", but for the id.
constexpr const char* kColumns =
    "path, bytes, mtime_ns, inode, scanned_ns, has_stats, has_check, has_hash, gone, version, "
    "title, category, application, application_version, modified, nodes, elements, part_count, "
    "complete, failure_code, failure_message, digest";

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
  database.Execute(
      "DELETE FROM main.texts WHERE rowid IN (SELECT previous FROM temp.moved);"
      "DELETE FROM main.models WHERE id IN (SELECT previous FROM temp.moved);");
  database.Execute(std::string("INSERT INTO main.models(") + kColumns + ") SELECT " + kColumns +
                   " FROM part.models WHERE id IN (SELECT old FROM temp.moved) ORDER BY id");
  database.Execute(
      "UPDATE temp.moved SET new = (SELECT m.id FROM main.models m JOIN part.models p "
      "ON p.path = m.path WHERE p.id = old)");
  for (const std::string& table : TablesOfModels()) {
    std::string columns;
    Statement names = database.Prepare("SELECT name FROM pragma_table_info('" + table +
                                       "') WHERE name <> 'model_id' ORDER BY cid");
    while (names.Step()) {
      columns += ", t." + names.Text(0);
    }
    database.Execute("INSERT INTO main." + table + " SELECT moved.new" + columns + " FROM part." +
                     table + " t JOIN temp.moved ON t.model_id = moved.old ORDER BY t.rowid");
  }
  database.Execute(
      "INSERT INTO main.texts(rowid, title, parts, results) SELECT moved.new, t.title, t.parts, "
      "t.results FROM part.texts t JOIN temp.moved ON t.rowid = moved.old ORDER BY t.rowid");
  return count;
}

/// All parts or none: a part that cannot be read leaves what there was.
std::int64_t MergeAll(const Options& options) {
  for (const std::string& part : options.parts) {
    RequireWhole(part);
  }
  ScanNote note(options.output);
  Catalogue catalogue(options.output);
  const Database& database = catalogue.GetDatabase();
  database.Execute(
      "CREATE TEMP TABLE moved(old INTEGER PRIMARY KEY, previous INTEGER, new INTEGER);");
  std::int64_t count = 0;
  for (const std::string& part : options.parts) {
    database.Prepare("ATTACH DATABASE ? AS part").Run(RawText{part});
    Transaction transaction(database);
    count += TakePart(database);
    transaction.Commit();
    database.Execute("DETACH DATABASE part");
  }
  catalogue.MakeIndexes();
  note.Remove();
  return count;
}

Status Run(const Options& options) {
  try {
    const std::int64_t count = MergeAll(options);
    std::cout << options.output << ": " << Counted(static_cast<std::uint64_t>(count), "model")
              << " taken from " << Counted(options.parts.size(), "catalogue") << '\n'
              << std::flush;
    return Status::Done;
  } catch (const Failure& failure) {
    ReportFailure(options.output, failure.what());
    return Status::FileFailed;
  }
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
