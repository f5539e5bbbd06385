// tev find: the models of a catalogue that fit what is asked for.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "tev/Catalogue.h"
#include "tev/CatalogueRows.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

struct Options {
  std::string text;
  std::optional<std::string> category;
  std::optional<std::string> result;
  std::optional<double> above;
  std::optional<double> below;
  bool failed = false;
  bool duplicates = false;
};

/// The words of a text as FTS5 wants them: each in quotes, so that nothing in it means anything
/// else; one that ends in "*" is the beginning of words.
std::string WordsOf(const std::string& text) {
  std::istringstream stream(text);
  std::string words;
  for (std::string word; stream >> word;) {
    const bool isBeginning = word.size() > 1 && word.ends_with('*');
    if (isBeginning) {
      word.pop_back();
    }
    std::string quoted;
    for (const char character : word) {
      quoted += character == '"' ? "\"\"" : std::string(1, character);
    }
    words += (words.empty() ? "\"" : " \"") + quoted + (isBeginning ? "\"*" : "\"");
  }
  return words;
}

/// Conditions of "models", with the values of their parameters.
class Conditions {
 public:
  using Value = std::variant<std::string, double>;

  void Add(const std::string& condition, std::vector<Value> values = {}) {
    text_ += " AND " + condition;
    std::ranges::move(values, std::back_inserter(values_));
  }

  [[nodiscard]] const std::string& Text() const { return text_; }

  void BindTo(Statement& statement) const {
    for (const Value& value : values_) {
      if (const auto* text = std::get_if<std::string>(&value)) {
        statement.Bind(std::string_view(*text));
      } else {
        statement.Bind(std::get<double>(value));
      }
    }
  }

 private:
  std::string text_;
  std::vector<Value> values_;
};

/// Of vectors the magnitude counts, else any component.
void AddResult(const Options& options, Conditions& conditions) {
  if (!options.above && !options.below) {
    conditions.Add("id IN (SELECT model_id FROM results WHERE name = ?)", {*options.result});
    return;
  }
  std::string extremes =
      "id IN (SELECT model_id FROM extremes e WHERE result = ? AND (component = -1 OR NOT EXISTS "
      "(SELECT 1 FROM extremes v WHERE v.model_id = e.model_id AND v.part_id = e.part_id AND "
      "v.result = e.result AND v.component = -1))";
  std::vector<Conditions::Value> values{*options.result};
  if (options.above) {
    extremes += " AND max > ?";
    values.emplace_back(*options.above);
  }
  if (options.below) {
    extremes += " AND min < ?";
    values.emplace_back(*options.below);
  }
  conditions.Add(extremes + ')', std::move(values));
}

void RequireScanned(const Database& database, const char* column, const char* option) {
  const std::string sql = std::string("SELECT 1 FROM models WHERE ") + column + " = 1 LIMIT 1";
  if (!database.Number(sql)) {
    throw UsageError("nothing was scanned with " + std::string(option));
  }
}

Conditions ConditionsOf(const Options& options) {
  Conditions conditions;
  const std::string words = WordsOf(options.text);
  if (!words.empty()) {
    conditions.Add("id IN (SELECT rowid FROM texts WHERE texts MATCH ?)", {words});
  }
  if (options.result) {
    AddResult(options, conditions);
  }
  if (options.failed) {
    conditions.Add("failure_code IS NOT NULL");
  }
  if (options.duplicates) {
    conditions.Add(
        "digest IN (SELECT digest FROM models WHERE digest IS NOT NULL AND gone = 0 "
        "GROUP BY digest HAVING count(*) > 1)");
  }
  if (options.category) {
    // Many models have the same one: whatever else is asked for is the better way in ("+").
    const bool isAlone = words.empty() && !options.result && !options.failed;
    conditions.Add(isAlone ? "category = ?" : "+category = ?", {*options.category});
  }
  return conditions;
}

Statement Ask(const Database& database, const Options& options) {
  if (options.duplicates) {
    RequireScanned(database, "has_hash", "--hash");
  }
  if (options.above || options.below) {
    RequireScanned(database, "has_stats", "--stats");
  }
  const char* order = options.duplicates ? "digest, path"
                      : options.failed   ? "failure_code, path"
                                         : "path";
  const Conditions conditions = ConditionsOf(options);
  Statement statement = database.Prepare(
      std::string("SELECT path AS file, failure_code AS failureCode, bytes, title, "
                  "category, nodes, elements, part_count AS partCount") +
      (options.duplicates ? ", digest" : "") + " FROM models WHERE gone = 0" + conditions.Text() +
      " ORDER BY " + order);
  conditions.BindTo(statement);
  return statement;
}

constexpr const char* kNotes =
    "TEXT is one or more words of titles and of names of parts and results, all of which a model\n"
    "has; one that ends in * is the beginning of a word. --above and --below look at the "
    "magnitude\n"
    "of vectors, else at any component, over all steps.\n"
    "Examples:\n"
    "  tev find archive.db 'bracket steel' --category 'Linear Static'\n"
    "  tev find archive.db --result 'von Mises Stress' --above 300\n"
    "Exit status: 0 done, also where nothing is found; 1 bad usage, or what is asked for was not\n"
    "scanned; 2 the catalogue cannot be read.";

Action SetUp(CLI::App& app) {
  const auto run = std::make_shared<RowRun>(RowRun{.verb = "find"});
  const auto options = std::make_shared<Options>();
  AddCatalogue(app, run);
  app.add_option("TEXT", options->text, "Words to look for")->option_text(" ");
  app.add_option("--category", options->category, "Models of that category")->option_text("C");
  CLI::Option* result =
      app.add_option("--result", options->result, "Models that have it")->option_text("R");
  app.add_option("--above", options->above, "Where it gets above X")
      ->needs(result)
      ->option_text("X");
  app.add_option("--below", options->below, "Where it gets below X")
      ->needs(result)
      ->option_text("X");
  app.add_flag("--failed", options->failed, "Files that failed");
  app.add_flag("--duplicates", options->duplicates, "Models that another one says the same as");
  AddRowForms(app, run);
  return [run, options] {
    return WriteRows(*run, [&](const Database& database) { return Ask(database, *options); });
  };
}

}  // namespace

Verb FindVerb() {
  return {.name = "find",
          .summary = "The models of a catalogue that fit",
          .notes = kNotes,
          .setUp = SetUp};
}
