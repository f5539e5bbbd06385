// tev query: what SQL asks of a catalogue.

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "tev/CatalogueRows.h"
#include "tev/Verbs.h"

namespace {

constexpr const char* kNotes =
    "The catalogue is opened to be read only. The tables stand in docs/catalogue.md.\n"
    "Example: tev query archive.db 'SELECT path, bytes FROM models ORDER BY bytes DESC LIMIT 10'\n"
    "Exit status: 0 done, 1 bad usage, 2 the catalogue or the SQL cannot be read.";

Action SetUp(CLI::App& app) {
  const auto run = std::make_shared<RowRun>(RowRun{.verb = "query"});
  const auto sql = std::make_shared<std::string>();
  AddCatalogue(app, run);
  app.add_option("SQL", *sql, "One statement that only reads")->required()->option_text(" ");
  AddRowForms(app, run);
  return [run, sql] {
    return WriteRows(*run, [sql](const Database& database) {
      Statement statement = database.Prepare(*sql);
      if (!statement.IsReadOnly()) {
        throw UsageError("the statement does not only read");
      }
      return statement;
    });
  };
}

}  // namespace

Verb QueryVerb() {
  return {
      .name = "query", .summary = "What SQL asks of a catalogue", .notes = kNotes, .setUp = SetUp};
}
