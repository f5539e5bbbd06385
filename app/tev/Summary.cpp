// tev summary: how many models of a catalogue are of which kind.

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "tev/CatalogueRows.h"
#include "tev/Verbs.h"

namespace {

/// Each part is a group of rows: its name, a value, and how many models have it.
constexpr const char* kSummary = R"(
WITH here AS (SELECT * FROM models WHERE gone = 0),
counts(place, "group", value, rank, models, bytes) AS (
  SELECT 1, 'all', NULL, 0, count(*), ifnull(sum(bytes), 0) FROM here
  UNION ALL SELECT 2, 'category', category, -count(*), count(*), sum(bytes) FROM here
    WHERE category IS NOT NULL GROUP BY category
  UNION ALL SELECT 3, 'application', application, -count(*), count(*), sum(bytes) FROM here
    WHERE application IS NOT NULL GROUP BY application
  UNION ALL SELECT 4, 'year', substr(modified, 1, 4), substr(modified, 1, 4), count(*), sum(bytes)
    FROM here WHERE modified GLOB '[0-9][0-9][0-9][0-9]-*' GROUP BY substr(modified, 1, 4)
  UNION ALL SELECT 5, 'size', size, rank, count(*), sum(bytes) FROM (
    SELECT bytes, CASE WHEN bytes < 1048576 THEN 'below 1 MB' WHEN bytes < 10485760
      THEN '1 to 10 MB' WHEN bytes < 104857600 THEN '10 to 100 MB' WHEN bytes < 1073741824
      THEN '100 MB to 1 GB' ELSE '1 GB and more' END AS size,
      CASE WHEN bytes < 1048576 THEN 1 WHEN bytes < 10485760 THEN 2 WHEN bytes < 104857600
      THEN 3 WHEN bytes < 1073741824 THEN 4 ELSE 5 END AS rank
    FROM here WHERE bytes IS NOT NULL) GROUP BY size
  UNION ALL SELECT 6, 'failure', failure_code, -count(*), count(*), sum(bytes) FROM here
    WHERE failure_code IS NOT NULL GROUP BY failure_code)
SELECT "group", value, models, bytes FROM counts ORDER BY place, rank, value)";

constexpr const char* kNotes =
    "Counted are models by category, application and year of their latest translation, size and\n"
    "failure; those that have vanished are not.\n"
    "Example: tev summary archive.db\n"
    "Exit status: 0 done, 1 bad usage, 2 the catalogue cannot be read.";

Action SetUp(CLI::App& app) {
  const auto run = std::make_shared<RowRun>(RowRun{.verb = "summary"});
  AddCatalogue(app, run);
  AddRowForms(app, run);
  return [run] {
    return WriteRows(*run, [](const Database& database) { return database.Prepare(kSummary); });
  };
}

}  // namespace

Verb SummaryVerb() {
  return {.name = "summary",
          .summary = "How many models of a catalogue are of which kind",
          .notes = kNotes,
          .setUp = SetUp};
}
